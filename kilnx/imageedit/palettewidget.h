#pragma once

#include <kilnx/export.h>

#include <QtWidgets/QWidget>

#include <memory>

namespace Kiln
{

class PaletteObject;
class PaletteWidgetPrivate;
struct RGBA;

/// Shows up to 256 colours as a grid of square cells, in which colours are picked, selected and
/// dragged to other places, and keeps up to eleven steps of undo of its palette.
///
/// By keys: the arrows, Home and End go to another cell and select it, with Shift all up to it;
/// Ctrl+A selects all; Space clicks the cell with the left button, Ctrl+Space with the right.
///
/// The colours are edited through palette(). Each edit starts on a copy of all 256 entries, except
/// the first one after the start and after reset() and flatten(), which gives the state that undo()
/// ends at. Whoever shows another palette calls load().
class KILNX_EXPORT PaletteWidget : public QWidget
{
    Q_OBJECT

public:
    explicit PaletteWidget(QWidget *parent = nullptr);
    ~PaletteWidget() override;

    /// The colours on show, which live as long as the widget.
    PaletteObject *palette() const;

    /// Side of a cell in pixels, 12 at the start; brought into 1 to 255.
    void setCellSize(int size);
    /// Cells in a row, 16 at the start; brought into 1 to 255.
    void setColumnCount(int count);
    /// How many colours show, 256 at the start and at most. The others are deselected.
    void setColorCount(unsigned short count);
    /// Whether Ctrl and Shift select several cells. True at the start.
    void setMultiSelect(bool enabled);
    bool multiSelect() const;
    /// Whether clicks select. True at the start.
    void setSelect(bool enabled);
    /// Whether the other cells show where a drop would put them while a colour is dragged. False
    /// at the start: they stay where they are.
    void setRedistributable(bool enabled);

    /// While locked, edits leave no step, and undo(), redo(), reset() and flatten() do nothing.
    void lock();
    void unlock();
    bool isLocked() const;

    bool isSelected(unsigned char index) const { return selection[index]; }
    /// The lowest selected index, or -1.
    int firstSelection() const;
    /// Both repaint and emit nothing.
    void clearSelection();
    /// Selects one cell alone, unless it is selected already.
    void select(unsigned char index);
    /// The index of the cell at a point of the widget, or -1.
    int cellAt(QPoint point) const;

    /// Both emit changed() if there is a step to take.
    void undo();
    void redo();
    /// Forgets all steps and clears every colour, alpha too. Emits nothing.
    void reset();
    /// Forgets all steps and keeps the colours.
    void flatten();
    /// Shows another palette, 256 entries: forgets all steps, also while locked, and takes these
    /// colours as the state that undo() ends at. Emits nothing.
    void load(const RGBA *colors);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    /// What is selected: a mask for the operations of palette().
    bool selection[256] = {};

Q_SIGNALS:
    /// The colours are others.
    void changed();
    /// A cell was clicked, after the selection has changed.
    void colorClick(unsigned short index, Qt::MouseButton button);
    void colorDblClick(unsigned short index);
    /// A colour was dragged from one cell to another; those between have moved by one.
    void colorMoved(unsigned short from, unsigned short to);
    /// A range was selected.
    void multiColorClick();
    void selectionChanged();

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

private:
    std::unique_ptr<PaletteWidgetPrivate> d;
};

} // namespace Kiln
