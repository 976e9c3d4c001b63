#pragma once

#include <kilnx/export.h>

#include <QtGui/QColor>
#include <QtWidgets/QWidget>

namespace Kiln
{

/// Shows one colour in a sunken frame, over a checkerboard where it is translucent.
class KILNX_EXPORT ColorWidget : public QWidget
{
    Q_OBJECT

public:
    explicit ColorWidget(QWidget *parent = nullptr);
    ~ColorWidget() override;

    QColor color() const { return m_color; }
    /// Shows another colour and repaints.
    void setColor(const QColor &color);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_color = Qt::black;
};

} // namespace Kiln
