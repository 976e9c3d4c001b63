#pragma once

#include <kilnx/forms/itemsdialog.h>

class QComboBox;

/// "Resample": which sounds of a list come to which format. Run it with exec().
class KILNX_EXPORT ResampleDlg : public Kiln::ItemsDialog
{
    Q_OBJECT

public:
    /// `row` is selected at first, and the fields have the values given: of a rate that is not
    /// offered the nearest, in hertz; 16 bits for more than 8; stereo for more than one channel.
    ResampleDlg(QWidget *parent,
                QAbstractItemModel *sounds,
                int row,
                unsigned int sampleRate,
                int bits,
                int channels);

    unsigned int sampleRate() const;
    /// 8 or 16.
    int bits() const;
    /// 1 or 2.
    int channels() const;

private:
    QComboBox *m_sampleRate;
    QComboBox *m_bits;
    QComboBox *m_channels;
};
