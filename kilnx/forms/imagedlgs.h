#pragma once

#include <kilnx/export.h>

#include <QtCore/QSize>
#include <QtGui/QImage>
#include <QtWidgets/QDialog>

#include <functional>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QSpinBox;

namespace Kiln
{
class PicturePreview;
}

// The dialogs of the operations on a picture. What they show of the result comes from a function
// that is called on every choice of the user, so it should work on a copy that is small enough; a
// null function, or a null picture from it, shows nothing.

/// "Properties": the colour format and the size of a canvas. It asks for a new picture, too.
class KILNX_EXPORT ImgInfoDlg : public QDialog
{
    Q_OBJECT

public:
    /// `format` is 0 for indexed colours and 1 for RGBA.
    ImgInfoDlg(QWidget *parent, const QString &title, int format, QSize size);

    int format() const;
    /// 1 to 16,384 a side.
    QSize imageSize() const;

private:
    QComboBox *m_format;
    QSpinBox *m_width;
    QSpinBox *m_height;
};

/// "Resize": a new size, in the old proportions unless the user frees them, and how to scale.
class KILNX_EXPORT ImgResizeDlg : public QDialog
{
    Q_OBJECT

public:
    using Preview = std::function<QImage(QSize size, int filter)>;

    ImgResizeDlg(QWidget *parent, QSize size, const Preview &preview = Preview());

    /// 1 to 16,384 a side.
    QSize imageSize() const;
    /// An ImageResizeFilter.
    int filter() const;

private:
    void follow(QSpinBox *changed, QSpinBox *other, double factor);
    void showPreview();

    const QSize m_size;
    const Preview m_preview;
    QSpinBox *m_width;
    QSpinBox *m_height;
    QCheckBox *m_keep;
    QComboBox *m_filter;
    Kiln::PicturePreview *m_picture;
};

/// "Rotate": an angle, clockwise, and how to scale on the way.
class KILNX_EXPORT RotImgDlg : public QDialog
{
    Q_OBJECT

public:
    using Preview = std::function<QImage(float degrees, int filter)>;

    explicit RotImgDlg(QWidget *parent, const Preview &preview = Preview());

    /// -360 to 360.
    float degrees() const;
    /// An ImageResizeFilter.
    int filter() const;

private:
    void showPreview();

    const Preview m_preview;
    QDoubleSpinBox *m_degrees;
    QComboBox *m_filter;
    Kiln::PicturePreview *m_picture;
};
