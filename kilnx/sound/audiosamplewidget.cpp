#include <kilnx/sound/audiosamplewidget.h>

#include <kilnx/project/interface.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QPointer>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QtEndian>
#include <QtGui/QPainter>
#include <QtMultimedia/QAudioDeviceInfo>
#include <QtMultimedia/QAudioOutput>

namespace Kiln
{

namespace
{

/// Dots below the wave, where the line about the device stands.
constexpr int footHeight = 30;
constexpr int notifyMs = 10;
/// How much longer than the sound a device is given, which hears of it later than we do.
constexpr int deviceDelayMs = 150;
/// The same for one that does not tell when it has done.
constexpr int deviceTimeoutMs = 2000;
constexpr QRgb waveColor = qRgb(185, 175, 55);
constexpr int cursorWidth = 3;

/// A sound starts again, or comes to its end: what its output tells meanwhile is no news.
bool isRestarting = false;

/// The bytes of one sample in the data. 20 bits are the upper ones of three bytes.
int bytesOf(int bits)
{
    return bits == 20 ? 3 : bits / 8;
}

double level(const char *sample, int bits)
{
    const auto *bytes = reinterpret_cast<const uchar *>(sample);
    switch (bits) {
    case 8:
        return (bytes[0] - 128) / 256.0;
    case 16:
        return qFromLittleEndian<qint16>(bytes) / 65536.0;
    case 20:
    case 24: {
        const auto wide =
            qint32(quint32(bytes[0]) << 8 | quint32(bytes[1]) << 16 | quint32(bytes[2]) << 24);
        return (wide >> 8) / 16777216.0;
    }
    default:
        return qFromLittleEndian<qint32>(bytes) / 4294967296.0;
    }
}

QAudioFormat formatOf(const SampleInfo &info)
{
    QAudioFormat format;
    format.setSampleRate(int(info.sampleRate));
    format.setChannelCount(info.channels);
    format.setSampleSize(info.bits);
    format.setCodec(QStringLiteral("audio/pcm"));
    format.setByteOrder(QAudioFormat::LittleEndian);
    format.setSampleType(info.bits == 8 ? QAudioFormat::UnSignedInt : QAudioFormat::SignedInt);
    return format;
}

bool isSameFormat(const SampleInfo &a, const SampleInfo &b)
{
    return a.channels == b.channels && a.sampleRate == b.sampleRate && a.bits == b.bits;
}

/// What cannot be used any more: it was refused, or its device is gone.
bool isBroken(const QAudioOutput *output)
{
    return output->error() == QAudio::OpenError || output->error() == QAudio::FatalError;
}

} // namespace

QVector<double> waveLevels(const SampleInfo &info, const QByteArray &data, int columns)
{
    QVector<double> levels(qMax(0, columns) * info.channels);
    const bool isKnown =
        info.bits == 8 || info.bits == 16 || info.bits == 20 || info.bits == 24 || info.bits == 32;
    const int width = bytesOf(info.bits);
    const qint64 frameBytes = qint64(width) * info.channels;
    if (!isKnown || frameBytes == 0)
        return levels;
    qint64 frames = data.size() / frameBytes;
    if (info.bits != 20 && info.samples > 0)
        frames = qMin(frames, qint64(info.samples));
    for (int column = 0; frames > 0 && column < columns; ++column) {
        const char *frame = data.constData() + column * frames / columns * frameBytes;
        for (int channel = 0; channel < info.channels; ++channel)
            levels[columns * channel + column] = level(frame + channel * width, info.bits);
    }
    return levels;
}

AudioSampleWidget::AudioSampleWidget(Interface &host, QWidget *parent)
    : QWidget(parent)
    , m_host(host)
{
    setObjectName(QStringLiteral("wave"));
    setAccessibleName(tr("Wave"));
    setFocusPolicy(Qt::StrongFocus);
    m_endTimer.setInterval(notifyMs);
    connect(&m_endTimer, &QTimer::timeout, this, &AudioSampleWidget::checkEnd);
    measure();
}

AudioSampleWidget::~AudioSampleWidget()
{
    dropOutput();
}

QSize AudioSampleWidget::sizeHint() const
{
    return {400, 200};
}

void AudioSampleWidget::setSound(const SoundSample &sample)
{
    const QPointer<AudioSampleWidget> alive(this);
    if (m_output)
        m_output->stop();
    if (!alive)
        return;
    const bool isUsable = m_output && !isBroken(m_output) && isSameFormat(m_info, sample);
    m_info = sample;
    m_data = sample.data;
    m_buffer.close();
    m_buffer.setData(m_data);
    m_buffer.open(QIODevice::ReadOnly);
    m_buffer.seek(0);
    m_bytesPerFrame = m_info.frameSize();
    if (!isUsable)
        makeOutput();
    measure();
    update();
}

/// A format that makes no frames has nothing to be played, and needs no device.
void AudioSampleWidget::makeOutput()
{
    dropOutput();
    setFault(QString());
    if (m_data.isEmpty() || m_bytesPerFrame == 0 || m_info.sampleRate == 0)
        return;
    const QAudioDeviceInfo device = QAudioDeviceInfo::defaultOutputDevice();
    if (device.isNull()) {
        setFault(tr("There is no sound device: nothing can be heard."));
        return;
    }
    m_output = new QAudioOutput(device, formatOf(m_info), this);
    m_output->setNotifyInterval(notifyMs);
    connect(m_output, &QAudioOutput::notify, this, &AudioSampleWidget::outputNotified);
    connect(m_output, &QAudioOutput::stateChanged, this, &AudioSampleWidget::outputChanged);
}

/// It may be in the middle of telling something, and must outlast that.
void AudioSampleWidget::dropOutput()
{
    if (!m_output)
        return;
    m_endTimer.stop();
    m_output->disconnect(this);
    m_output->stop();
    m_output->setParent(nullptr);
    m_output->deleteLater();
    m_output = nullptr;
}

void AudioSampleWidget::play(bool loop)
{
    if (m_data.isEmpty() || isPlaying())
        return;
    if (!m_output || isBroken(m_output))
        makeOutput();
    if (!m_output)
        return;
    const QPointer<AudioSampleWidget> alive(this);
    m_loop = loop;
    m_output->stop();
    if (!alive || !m_output)
        return;
    m_buffer.seek(0);
    m_clock.start();
    m_endTimer.start();
    m_output->start(&m_buffer);
    if (alive && m_output && isBroken(m_output))
        setFault(tr("The sound device is not there, or does not play this format."));
}

void AudioSampleWidget::stop()
{
    if (!m_output)
        return;
    update();
    m_output->stop();
}

bool AudioSampleWidget::isPlaying() const
{
    return m_output && m_output->state() == QAudio::ActiveState;
}

void AudioSampleWidget::outputNotified()
{
    showNow();
}

/// Paints at once. What the user does waits for the event loop: a box that opened in here would
/// keep the output from being fed while it is open.
void AudioSampleWidget::showNow()
{
    repaint();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void AudioSampleWidget::outputChanged(int state)
{
    switch (state) {
    case QAudio::ActiveState:
        if (!isRestarting)
            setState(m_loop ? SoundSample::Looping : SoundSample::Playing);
        break;
    case QAudio::SuspendedState:
        if (!isRestarting)
            setState(SoundSample::Paused);
        break;
    case QAudio::StoppedState:
        m_endTimer.stop();
        m_buffer.seek(0);
        if (m_output && m_output->error() == QAudio::FatalError)
            setFault(tr("The sound device has gone."));
        update();
        setState(SoundSample::Stopped);
        break;
    case QAudio::IdleState:
        checkEnd();
        break;
    default:
        break;
    }
}

/// All bytes have been handed over. An output that waits for more is idle, but it is so on a busy
/// machine as well, and in a short sound before that is heard: to stop then would cut it off. And
/// it may not tell of the end of a sound that is shorter than its own buffer.
void AudioSampleWidget::checkEnd()
{
    if (!m_output || !m_buffer.atEnd())
        return;
    if (m_loop) {
        startAgain();
        return;
    }
    // By the bytes: a format may announce more frames than there are.
    const qint64 frames = m_data.size() / m_bytesPerFrame;
    const qint64 late = m_clock.elapsed() - frames * 1000 / m_info.sampleRate;
    const bool isIdle = m_output->state() == QAudio::IdleState;
    if (late < (isIdle ? deviceDelayMs : deviceTimeoutMs))
        return;
    {
        const QScopedValueRollback<bool> restarting(isRestarting, true);
        m_output->suspend();
    }
    m_output->stop();
}

/// Before the output has run dry, so that no gap is heard. If it has, it is woken.
void AudioSampleWidget::startAgain()
{
    const QScopedValueRollback<bool> restarting(isRestarting, true);
    const bool isIdle = m_output->state() == QAudio::IdleState;
    if (isIdle)
        m_output->suspend();
    m_buffer.seek(0);
    if (isIdle)
        m_output->resume();
}

/// Who hears of it may destroy the view.
void AudioSampleWidget::setState(SoundSample::State state)
{
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT stateChanged(state);
}

void AudioSampleWidget::setFault(const QString &fault)
{
    m_fault = fault;
    setAccessibleDescription(fault);
    update();
}

/// All that follows from the size and the sound.
void AudioSampleWidget::measure()
{
    m_framesPerPixel = double(m_info.samples) / qMax(width(), 1);
    m_pixelsPerFrame = double(width()) / qMax(m_info.samples, 1U);
    m_channelHeight = double(qMax(0, height() - footHeight)) / qMax<int>(m_info.channels, 1);
    m_columnWidth = m_host.scaled(2);
    m_columns = width() / qMax(m_columnWidth, 1);
    m_levels = waveLevels(m_info, m_data, m_columns);
}

void AudioSampleWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    measure();
}

int AudioSampleWidget::cursorX() const
{
    if (m_bytesPerFrame == 0)
        return 0;
    const int x = int(m_pixelsPerFrame * (double(m_buffer.pos()) / m_bytesPerFrame)) - 1;
    return x > width() ? 0 : x;
}

void AudioSampleWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().window());
    if (m_data.isEmpty())
        return;
    painter.setPen(QPen(QColor(waveColor), 1));
    QVector<QPointF> points(m_columns);
    // Of channels thinner than a dot, which a damaged header can announce, one a dot.
    const int step = qMax(1, m_info.channels / qMax(1, height() - footHeight));
    for (int channel = 0; channel < m_info.channels; channel += step) {
        for (int column = 0; column < m_columns; ++column) {
            const double level = m_levels[m_columns * channel + column];
            points[column] = {double(column * m_columnWidth), m_channelHeight / 2 * level +
                                                                  m_channelHeight / 2 +
                                                                  channel * m_channelHeight};
        }
        painter.drawPolyline(points.constData(), points.size());
    }
    if (m_output)
        painter.fillRect(QRect(cursorX() - cursorWidth / 2, 0, cursorWidth, height()), Qt::yellow);
    if (m_fault.isEmpty())
        return;
    const QRect foot(6, height() - footHeight, width() - 12, footHeight);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(foot, Qt::AlignVCenter,
                     fontMetrics().elidedText(m_fault, Qt::ElideRight, foot.width()));
}

} // namespace Kiln
