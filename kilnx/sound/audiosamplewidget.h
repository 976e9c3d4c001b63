#pragma once

#include <kilnx/sound/soundsample.h>

#include <QtCore/QBuffer>
#include <QtCore/QElapsedTimer>
#include <QtCore/QMetaType>
#include <QtCore/QTimer>
#include <QtCore/QVector>
#include <QtWidgets/QWidget>

class QAudioOutput;

namespace Kiln
{

class Interface;

/// Shows the wave of one sound, and plays it on the system's default device.
///
/// The wave is a sampling: one frame for each column of dots is looked at, so a sound of ten
/// minutes is painted as fast as one of a second. One output is kept for all sounds of a format.
/// Where there is no device, where it refuses a format, and where it goes away, everything else
/// works, and a line below the wave tells why nothing is heard; each play() tries anew.
class KILNX_EXPORT AudioSampleWidget : public QWidget
{
    Q_OBJECT

public:
    explicit AudioSampleWidget(Interface &host, QWidget *parent = nullptr);
    ~AudioSampleWidget() override;

    /// Stops, and shows another sound; one without data clears the view. The bytes are shared.
    void setSound(const SoundSample &sample);
    /// Plays from the start, once or until stop(). Nothing while it is playing, without a sound and
    /// without a device.
    void play(bool loop);
    void stop();

    SoundSample::State state() const { return m_state; }
    /// Why nothing is heard; empty while the device works.
    QString fault() const { return m_fault; }
    /// What is drawn: for each channel one level a column, from -0.5 to 0.5, at
    /// `columns() * channel + column`.
    const QVector<double> &levels() const { return m_levels; }
    int columns() const { return m_columns; }
    double framesPerPixel() const { return m_framesPerPixel; }
    double pixelsPerFrame() const { return m_pixelsPerFrame; }
    /// Where the sound is being played, as a place of the 3 dots wide cursor.
    int cursorX() const;

    QSize sizeHint() const override;

Q_SIGNALS:
    /// Playback has started, was suspended or has ended. A loop that starts again tells nothing.
    void stateChanged(SoundSample::State state);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void makeOutput();
    void dropOutput();
    void measure();
    void outputNotified();
    void outputChanged(int state);
    void checkEnd();
    void startAgain();
    void showNow();
    void setState(SoundSample::State state);
    void setFault(const QString &fault);
    bool isPlaying() const;

    SampleInfo m_info;
    QByteArray m_data;
    QBuffer m_buffer; ///< on m_data
    QAudioOutput *m_output = nullptr;
    QVector<double> m_levels;
    int m_columnWidth = 1; ///< in dots
    int m_columns = 1;
    bool m_loop = false;
    int m_bytesPerFrame = 0;
    double m_framesPerPixel = 0;
    double m_pixelsPerFrame = 0;
    double m_channelHeight = 0;
    Interface &m_host;
    QElapsedTimer m_clock; ///< since the sound was started
    QTimer m_endTimer;     ///< runs while it is playing
    SoundSample::State m_state = SoundSample::Stopped;
    QString m_fault;
};

/// The levels of `columns` frames of a sound, in equal steps from its first one, as
/// AudioSampleWidget::levels() tells them. The widths are 8, 16, 24 and 32 bits, and 20, whose
/// samples are the upper bits of three bytes; others give zeros, and so does what `data` has not.
KILNX_EXPORT QVector<double>
waveLevels(const SampleInfo &info, const QByteArray &data, int columns);

} // namespace Kiln

Q_DECLARE_METATYPE(Kiln::SoundSample::State)
