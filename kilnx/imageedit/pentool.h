#pragma once

#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/imagepainter.h>
#include <kilnx/imageedit/imagetool.h>

#include <QtWidgets/QSlider>

namespace Kiln
{

class PaletteRemapWidget;

/// What all pens share: a square pen of 1 to 24 pixels, and a stroke from the press to the release
/// that is one step of undo. Without a visible current layer nothing is painted.
class KILNX_EXPORT BasePenTool : public ImageTool
{
    Q_OBJECT

public:
    explicit BasePenTool(ImageRenderer *renderer);
    bool keyPressed(int key) override;
    void mousePressed(Qt::KeyboardModifiers modifiers,
                      Qt::MouseButton button,
                      QPoint screen,
                      QPoint image,
                      QCursor &cursor) override;
    void mouseReleased(Qt::KeyboardModifiers modifiers,
                       Qt::MouseButton button,
                       QPoint screen,
                       QPoint image,
                       QCursor &cursor) override;
    void mouseMoved(Qt::KeyboardModifiers modifiers,
                    Qt::MouseButton button,
                    QPoint screen,
                    QPoint image,
                    QCursor &cursor) override;
    void paintCursor(QPainter &painter, QPoint at, double zoom) override;
    /// Paints on to a point of the picture.
    virtual void apply(const QPoint &image);
    /// Paints one piece: a point where the last piece ended, else a line from there.
    virtual void stroke(const QPoint &image, ImagePainter *painter) = 0;

    /// Side of the pen in pixels.
    int penSize() const;
    /// What paintCursor() draws on.
    QRect cursorArea(QPoint at, double zoom) const;

    QPointer<QSlider> size;
    bool undoable = true;
    bool leftButton = false;
    bool shiftDown = false;
    QPoint lastPos; ///< where the last stroke ended

protected:
    /// A point where the last piece ended, else a line from there.
    void drawPiece(const QPoint &image, ImagePainter &painter) const;
    /// Paints with the painter and tells what was touched.
    void applyWith(const QPoint &image, ImagePainter &painter);

    bool joinsStrokes = false; ///< with Shift, a stroke begins where the last one ended

private:
    QRect pieceArea(const QPoint &image) const;
    bool openStep(const QPoint &image);

    bool m_hasStep = false; ///< of undo, for the stroke under way
};

/// Draws with the foreground colour, and with other buttons than the left one with the background.
/// With Shift from where the last stroke ended.
class KILNX_EXPORT PenTool : public BasePenTool
{
    Q_OBJECT

public:
    explicit PenTool(ImageRenderer *renderer);
    void stroke(const QPoint &image, ImagePainter *painter) override;
};

/// Draws with the background colour; with other buttons than the left one only over pixels of the
/// foreground colour.
class KILNX_EXPORT EraserTool : public BasePenTool
{
    Q_OBJECT

public:
    explicit EraserTool(ImageRenderer *renderer);
    void stroke(const QPoint &image, ImagePainter *painter) override;
};

/// Exchanges colours by up to twelve pairs: first by second with the left button, second by first
/// with others. Clicks in the palette, and with Shift in the picture, set the current pair.
class KILNX_EXPORT ReplaceTool : public BasePenTool
{
    Q_OBJECT

public:
    explicit ReplaceTool(ImageRenderer *renderer);
    /// Null when the host has destroyed the options.
    PaletteRemapWidget *pairs() const;
    bool keyPressed(int key) override;
    void mousePressed(Qt::KeyboardModifiers modifiers,
                      Qt::MouseButton button,
                      QPoint screen,
                      QPoint image,
                      QCursor &cursor) override;
    bool paletteClicked(bool rightButton, unsigned char index) override;
    void stroke(const QPoint &image, ImagePainter *painter) override;

public Q_SLOTS:
    /// Shows the pairs in the colours as they are now.
    void palChanged();

private:
    QPointer<PaletteRemapWidget> m_pairs;
};

/// Draws into the selection: the left button adds pixels, the right one takes them out and makes
/// the selection active. While pixels are added it is not active. No step of undo.
class KILNX_EXPORT PenSelTool : public BasePenTool
{
    Q_OBJECT

public:
    explicit PenSelTool(ImageRenderer *renderer);
    /// Whether pixels are being added to a selection that was active.
    bool isAdding() const { return m_isAdding; }
    void layerChanged() override;
    void selectionChanged() override;
    void mousePressed(Qt::KeyboardModifiers modifiers,
                      Qt::MouseButton button,
                      QPoint screen,
                      QPoint image,
                      QCursor &cursor) override;
    void mouseReleased(Qt::KeyboardModifiers modifiers,
                       Qt::MouseButton button,
                       QPoint screen,
                       QPoint image,
                       QCursor &cursor) override;
    void apply(const QPoint &image) override;
    void stroke(const QPoint &image, ImagePainter *painter) override;

private:
    void endAdding();

    MonoPalette m_colors;
    IndexPainter m_painter;
    bool m_isAdding = false;
};

} // namespace Kiln
