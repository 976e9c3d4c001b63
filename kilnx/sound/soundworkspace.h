#pragma once

#include <kilnx/project/workspace.h>
#include <kilnx/sound/soundsample.h>

#include <QtCore/QPointer>

namespace Kiln
{

class AudioSampleWidget;

/// The one view of sounds, in which the editor of sounds stands: an AudioSampleWidget. The host
/// makes it before that editor and destroys it with release() after it.
///
/// Without the view, which the host may destroy with its window, nothing is played.
class KILNX_EXPORT SoundWorkspace : public Workspace
{
    Q_OBJECT

public:
    explicit SoundWorkspace(Interface &host);
    ~SoundWorkspace() override;

    /// "sound".
    const char *name() const override;
    QWidget *widget() const override;
    void retranslate() override;
    void release() override;

    /// As the operations of the view, see AudioSampleWidget.
    void setSound(const SoundSample &sample);
    void play(bool loop);
    void stop();
    SoundSample::State currentState() const;

Q_SIGNALS:
    /// As the signal of the view.
    void stateChanged(SoundSample::State state);

private:
    QPointer<AudioSampleWidget> m_view;
};

} // namespace Kiln
