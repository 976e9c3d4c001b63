#include <kilnx/forms/resampledlg.h>

#include <QtWidgets/QComboBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QVBoxLayout>

namespace
{

constexpr unsigned int sampleRates[] = {8000,  11000, 11025, 12000, 16000, 22050,
                                        24000, 32000, 44100, 48000, 96000, 192000};

QComboBox *makeCombo(QWidget *parent, const char *name)
{
    auto *combo = new QComboBox(parent);
    combo->setObjectName(QLatin1String(name));
    return combo;
}

int nearestRow(unsigned int rate)
{
    int nearest = 0;
    for (int row = 0; row < int(std::size(sampleRates)); ++row) {
        if (qAbs(qint64(sampleRates[row]) - rate) < qAbs(qint64(sampleRates[nearest]) - rate))
            nearest = row;
    }
    return nearest;
}

} // namespace

ResampleDlg::ResampleDlg(QWidget *parent,
                         QAbstractItemModel *sounds,
                         int row,
                         unsigned int sampleRate,
                         int bits,
                         int channels)
    : ItemsDialog(parent, tr("Resample"), sounds)
    , m_sampleRate(makeCombo(this, "sampleRate"))
    , m_bits(makeCombo(this, "bits"))
    , m_channels(makeCombo(this, "channels"))
{
    for (const unsigned int rate : sampleRates)
        m_sampleRate->addItem(tr("%1 Hz").arg(rate), rate);
    m_bits->addItem(tr("8 bits"), 8);
    m_bits->addItem(tr("16 bits"), 16);
    m_channels->addItems({tr("Mono"), tr("Stereo")});
    m_sampleRate->setCurrentIndex(nearestRow(sampleRate));
    m_bits->setCurrentIndex(bits > 8);
    m_channels->setCurrentIndex(channels > 1);
    auto *fields = new QFormLayout;
    fields->addRow(tr("Sample rate: "), m_sampleRate);
    fields->addRow(tr("Bits per sample: "), m_bits);
    fields->addRow(tr("Channels: "), m_channels);
    auto *rows = static_cast<QVBoxLayout *>(layout());
    rows->insertLayout(rows->count() - 1, fields);
    selectRow(row);
}

unsigned int ResampleDlg::sampleRate() const
{
    return m_sampleRate->currentData().toUInt();
}

int ResampleDlg::bits() const
{
    return m_bits->currentData().toInt();
}

int ResampleDlg::channels() const
{
    return m_channels->currentIndex() + 1;
}
