#pragma once

#include <kilnx/export.h>
#include <kilnx/imageedit/imagecanvas.h>
#include <kilnx/render/graphicsrenderer.h>

#include <memory>

namespace Kiln
{

class ImagePalette;
class ImageRendererPrivate;
class ImageTool;
class RasterLayer;

/// The drawing surface of the sprite editor: shows an ImageCanvas at steps from an eighth to 32
/// times its size, and hands mouse and keys to one of nine tools.
///
/// What it shows is kept composed: a change of the canvas composes and repaints its own area. It
/// has the keys that the tool leaves: + and - zoom, the arrows move the pointer from pixel to pixel
/// (with Shift eight at once, with Ctrl whatever the tool does with arrows), and Space is the left
/// button under it, with Ctrl the right one. All painting is in imagerenderer_paint.cpp.
class KILNX_EXPORT ImageRenderer : public QObject, public GraphicsRendererBase
{
    Q_OBJECT

public:
    /// The tools, in the order of the host's tool box.
    enum ToolPosition {
        CanvasMove = 0,
        SelMove = 1,
        RectSel = 2,
        PenSel = 3,
        Picker = 4,
        Pen = 5,
        Eraser = 6,
        Replace = 7,
        FloodFill = 8,
        ToolCount = 9
    };
    Q_ENUM(ToolPosition)

    /// `palette` must outlive the renderer.
    explicit ImageRenderer(ImagePalette *palette, QObject *parent = nullptr);
    ~ImageRenderer() override;

    /// Null out of range.
    ImageTool *tool(int position) const;
    ImageTool *activeTool() const;
    /// The position of the current tool, CanvasMove at the start.
    int activePosition() const;
    /// Chooses a tool and shows its options; a drag of the old one ends where it stands. Nothing
    /// out of range.
    void setActiveTool(int position);
    /// The options of the current tool, at most 26 pixels high: for the host's bar. Belongs to the
    /// renderer; null when the host has destroyed it.
    QWidget *toolOptions() const;

    /// The layer that tools paint on; null for none, and after it has left the canvas.
    ImageLayer *currentLayer() const;
    /// Nothing for a layer that is not in the canvas.
    void setCurrentLayer(ImageLayer *layer);
    /// The current layer, if it can be painted: it is visible and has the canvas's format.
    RasterLayer *paintedLayer() const;
    /// The canvas's painter on that layer; null without one.
    ImagePainter *painter();
    /// For tools: begins a step of undo on that layer. Null, and nothing begun, without one.
    RasterLayer *beginEdit();

    /// The screen position of the picture's upper left, in the widget's pixels.
    QPoint offset() const;
    void setOffset(QPoint offset);
    double zoom() const;
    /// Goes to the nearest step; the middle of the view stays.
    void setZoom(double factor);
    QPoint toImage(QPoint screen) const;
    QPoint toScreen(QPoint image) const;

    /// All layers, or the current one alone.
    void setShowLayers(bool shown);
    bool showLayers() const;
    /// Whether what is not selected is dimmed.
    void setShowSelection(bool shown);
    bool showSelection() const;
    /// Whether lines part the pixels, from zoom 8 on.
    void setShowGrid(bool shown);
    bool showGrid() const;
    /// Whether the picture stands in its own size at the left of the view.
    void setViewOriginal(bool shown);
    bool viewOriginal() const;
    /// The two colours of the check behind transparent pixels.
    void setChecks(const QColor &first, const QColor &second);
    /// What is around the canvas.
    void setBackground(const QColor &color);

    /// The composed picture as it shows, of the canvas's size and format.
    const QImage &picture();

    float zoomFactor() const override;
    void addZoom() override;
    void subZoom() override;
    void zoomActual() override;
    void centralize() override;

    void keyPressed(int key, Qt::KeyboardModifiers modifiers) override;
    void keyReleased(int key, Qt::KeyboardModifiers modifiers) override;
    void
    mousePressed(QPoint position, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) override;
    void mouseReleased(QPoint position,
                       Qt::MouseButton button,
                       Qt::KeyboardModifiers modifiers) override;
    void mouseMoved(QPoint position, Qt::KeyboardModifiers modifiers) override;
    /// One zoom step a notch; what is under the pointer stays there.
    void mouseWheel(int delta) override;
    void sizeChanged(int width, int height) override;
    void render(QPainter &painter) override;
    QColor clearColor() const override;

    bool eventFilter(QObject *watched, QEvent *event) override;

    ImageCanvas canvas;

Q_SIGNALS:
    /// The pointer is over another pixel of the picture, or (outside) next to it.
    void cursorChanged(QPoint image);
    void zoomChanged();
    void activeToolChanged(int position);
    /// Another layer, or none, is painted on.
    void currentLayerChanged();

private:
    void connectCanvas();
    void makeTools();
    void toolChanged(ImageTool *tool);
    void endDrag();
    void layersChanged();
    void imageChanged(const QRect &area);
    void selectionChanged();
    void setZoomStep(int step, QPoint fixed);
    bool moveByKey(int key, Qt::KeyboardModifiers modifiers);
    void showCursor(const QCursor &cursor);
    void moveCursor(QPoint position);

    std::unique_ptr<ImageRendererPrivate> d;
};

} // namespace Kiln
