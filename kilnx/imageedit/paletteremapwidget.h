#pragma once

#include <kilnx/export.h>

#include <QtCore/QPoint>
#include <QtWidgets/QWidget>

namespace Kiln
{

class ImagePalette;

/// Shows up to twelve pairs of palette indices, a colour and what it becomes, and lets one of them
/// be the current one, by mouse or by the arrow keys.
class KILNX_EXPORT PaletteRemapWidget : public QWidget
{
    Q_OBJECT

public:
    static constexpr int pairCount = 12;

    /// Horizontal: the pairs stand side by side, the second colour of each below the first.
    /// Otherwise one below the other, with the second colour on the right.
    explicit PaletteRemapWidget(bool horizontal, QWidget *parent = nullptr);
    ~PaletteRemapWidget() override;

    /// Where the colours come from, borrowed; null shows black. Who sets it repaints when they
    /// change.
    void setColors(ImagePalette *palette);
    /// How many pairs there are, 1 at the start; brought into 1 to 12.
    void setCount(int count);
    int count() const { return m_count; }
    /// The pair that a click in the palette goes to; false, and nothing changed, out of range.
    bool setCurrent(int cell);
    int current() const { return m_current; }

    /// x is the first index of the pair, y the second; (0, 0) out of range.
    QPoint pair(int cell) const;
    /// Sets one index of the current pair and repaints.
    void setFirst(unsigned char index);
    void setSecond(unsigned char index);
    /// The pair at a point of the widget, or -1.
    int cellAt(QPoint point) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void currentChanged(int cell);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QPoint m_pairs[pairCount];
    bool m_horizontal;
    int m_count = 1;
    int m_current = 0;
    int m_cellSize = 12;
    ImagePalette *m_palette = nullptr;
};

} // namespace Kiln
