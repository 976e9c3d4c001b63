#pragma once

#include <kilnx/export.h>

#include <QtCore/QObject>
#include <QtCore/QPoint>
#include <QtCore/QPointer>
#include <QtCore/QRect>
#include <QtGui/QCursor>
#include <QtGui/QImage>
#include <QtWidgets/QWidget>

class QPainter;

namespace Kiln
{

class ImagePainter;
class ImageRenderer;

/// What the mouse and some keys do in an ImageRenderer, with a widget of options for the host's
/// bar. Derive from it for another tool; the pens are in pentool.h, the two selection tools are
/// defined in imagetool_selection.cpp.
///
/// `screen` positions are in the widget's pixels, `image` positions in the picture's, and may lie
/// outside of it. A tool that has changed pixels calls touch() and emits changed(). It may outlive
/// its renderer and does nothing then.
class KILNX_EXPORT ImageTool : public QObject
{
    Q_OBJECT

public:
    /// The renderer becomes the parent.
    explicit ImageTool(ImageRenderer *renderer);
    /// Destroys the options, too, wherever the host has put them.
    ~ImageTool() override;

    /// The pixels of the current layer changed otherwise than by this tool, or another layer is
    /// current.
    virtual void layerChanged();
    /// The selection changed otherwise than by this tool.
    virtual void selectionChanged();
    /// The tool became the current one.
    virtual void activate();
    /// Whether the tool used the key; otherwise the view takes it.
    virtual bool keyPressed(int key);
    /// `cursor` is what the view shows; the tool may change it.
    virtual void mousePressed(Qt::KeyboardModifiers modifiers,
                              Qt::MouseButton button,
                              QPoint screen,
                              QPoint image,
                              QCursor &cursor);
    virtual void mouseReleased(Qt::KeyboardModifiers modifiers,
                               Qt::MouseButton button,
                               QPoint screen,
                               QPoint image,
                               QCursor &cursor);
    /// Also without a button held.
    virtual void mouseMoved(Qt::KeyboardModifiers modifiers,
                            Qt::MouseButton button,
                            QPoint screen,
                            QPoint image,
                            QCursor &cursor);
    /// Draws what goes with the pointer; `at` is the screen position of the upper left of the
    /// picture's pixel under it.
    virtual void paintCursor(QPainter &painter, QPoint at, double zoom);
    /// A colour of the palette was clicked. Whether the tool took it.
    virtual bool paletteClicked(bool rightButton, unsigned char index);

    /// Ends a drag where it stands: what it painted stays, as one step of undo.
    void interrupt();
    /// The part of the picture that was touched since the last call.
    QRect takeTouched();

    QPointer<QWidget> options;
    QPointer<ImageRenderer> renderer;
    bool pressed = false;
    QPoint screenPos; ///< where the button was pressed
    QPoint imagePos;

Q_SIGNALS:
    /// The picture, or the selection, is another in what was touched.
    void changed();

protected:
    void touch(const QRect &area) { m_touched |= area; }
    /// Notes a press.
    void press(QPoint screen, QPoint image);

private:
    QRect m_touched;
};

/// Moves the canvas in the view.
class KILNX_EXPORT CanvasMoveTool : public ImageTool
{
    Q_OBJECT

public:
    explicit CanvasMoveTool(ImageRenderer *renderer);
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

private:
    QPoint m_start; ///< the canvas's offset at the press
};

/// Moves the selected pixels of the current layer, by drags and by the arrow keys. Where they were
/// the background is left. What leaves the canvas comes back when it is moved back, until the tool
/// is chosen anew or the layer changes otherwise.
class KILNX_EXPORT SelMoveTool : public ImageTool
{
    Q_OBJECT

public:
    explicit SelMoveTool(ImageRenderer *renderer);
    void layerChanged() override;
    void selectionChanged() override;
    void activate() override;
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

private:
    bool split();
    bool place(QPoint offset);

    bool m_isSplit = false;
    bool m_stepOpen = false; ///< the drag has its undo step
    QImage m_lifted;         ///< the layer at the split, of which the selected pixels count
    QImage m_rest;           ///< the same with the background where pixels are selected
    QImage m_mask;           ///< null for all
    QRect m_bounds;          ///< around the selected pixels
    QPoint m_position;       ///< how far they are moved, for good
    QPoint m_placed;         ///< how far they are moved in the layer
};

/// Selects a rectangle, or everything without a drag.
class KILNX_EXPORT RectSelTool : public ImageTool
{
    Q_OBJECT

public:
    explicit RectSelTool(ImageRenderer *renderer);
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
    /// What a release would select, without the bounds of the canvas; empty without a drag.
    QRect dragged() const;

private:
    QPoint m_size; ///< of the drag
};

/// Takes the foreground colour, or with the right button the background, from the current layer.
class KILNX_EXPORT PickerTool : public ImageTool
{
    Q_OBJECT

public:
    explicit PickerTool(ImageRenderer *renderer);
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
    /// Acts where the button was pressed; the painter has the visible current layer's picture.
    virtual void apply(ImagePainter *painter);

protected:
    Qt::MouseButton button = Qt::NoButton; ///< the one that was released
};

/// Fills with the foreground colour.
class KILNX_EXPORT FloodFillTool : public PickerTool
{
    Q_OBJECT

public:
    explicit FloodFillTool(ImageRenderer *renderer);
    void apply(ImagePainter *painter) override;
};

} // namespace Kiln
