#pragma once

#include <QtGui/QImage>
#include <QtWidgets/QWidget>

namespace Kiln
{

/// Shows a picture over a check, as large as it fits; small ones in whole multiples of their size.
class PicturePreview : public QWidget
{
public:
    explicit PicturePreview(QWidget *parent);

    void setPicture(const QImage &picture);
    const QImage &picture() const { return m_picture; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QImage m_picture;
};

} // namespace Kiln
