#include <kilnx/sound/soundworkspace.h>

#include <kilnx/sound/audiosamplewidget.h>

namespace Kiln
{

SoundWorkspace::SoundWorkspace(Interface &host)
    : Workspace(host)
    , m_view(new AudioSampleWidget(host))
{
    connect(m_view, &AudioSampleWidget::stateChanged, this, &SoundWorkspace::stateChanged);
}

SoundWorkspace::~SoundWorkspace()
{
    delete m_view;
}

const char *SoundWorkspace::name() const
{
    return "sound";
}

QWidget *SoundWorkspace::widget() const
{
    return m_view;
}

void SoundWorkspace::retranslate()
{
}

void SoundWorkspace::release()
{
    delete this;
}

void SoundWorkspace::setSound(const SoundSample &sample)
{
    if (m_view)
        m_view->setSound(sample);
}

void SoundWorkspace::play(bool loop)
{
    if (m_view)
        m_view->play(loop);
}

void SoundWorkspace::stop()
{
    if (m_view)
        m_view->stop();
}

SoundSample::State SoundWorkspace::currentState() const
{
    return m_view ? m_view->state() : SoundSample::Stopped;
}

} // namespace Kiln
