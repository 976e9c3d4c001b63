#pragma once

#include <kilnx/export.h>
#include <kilnx/project/workspace.h>

#include <QtCore/QPoint>

#include <memory>

namespace Kiln
{

class GraphicsRendererBase;
class GraphicsWorkspacePrivate;
class TimeLineWidget;

/// The one viewport of the application, in which the editors of animations and sprites show their
/// renderers, and the actions of the host's menu "view" for crosses, rulers, guides and boxes. The
/// host makes it before the editors, calls reconfig() after that and after each change of settings,
/// and destroys it with release() after the editors.
///
/// It paints through OpenGL or natively, as the option "native_painting" says. Where OpenGL does
/// not work, or stops working, it goes over to native painting by itself, and tells it in field 5
/// of the status bar; choosing native painting and then OpenGL again tries anew.
class KILNX_EXPORT GraphicsWorkspace : public Workspace
{
    Q_OBJECT

public:
    enum Cross { CrossMain = 0, CrossSecondary = 1, CrossExtra = 2 };

    /// Makes the actions. The first states of those that can be checked are the options
    /// "show_cross1", "show_cross2", "show_rulers", "show_guides", "show_attack_box" and
    /// "show_collision_box", which follow the actions from there on.
    explicit GraphicsWorkspace(Interface &host);
    ~GraphicsWorkspace() override;

    /// "graphics".
    const char *name() const override;
    QWidget *widget() const override;
    /// The strip below the viewport, which is hidden while it has no rows. Null once the host has
    /// destroyed it.
    TimeLineWidget *timeLine() const;

    /// What the viewport shows; null for nothing.
    GraphicsRendererBase *renderer() const;
    /// Shows another renderer, or none for null. It stays the caller's, and may be destroyed at any
    /// time.
    void setRenderer(GraphicsRendererBase *renderer);
    /// Whether the viewport is painted through OpenGL.
    bool isOnOpenGL() const;

    /// Whether the action of a cross can be used.
    void enableCross(Cross cross, bool enabled);
    /// Where the extra cross stands, in image pixels.
    void setExtraAxis(QPoint position);
    /// Repaints the viewport.
    void update();

    /// Takes the origin of all viewports from the options "origin_x" and "origin_y".
    void activate() override;
    /// Keeps the origin of all viewports as the options "origin_x" and "origin_y".
    void deactivate() override;
    /// Reads the options "native_painting", "background_file", "background_x", "background_y",
    /// "background_type", "box_opacity", "crosshair_type", "crosshair_main",
    /// "crosshair_secondary", "crosshair_extra", "contact_over_cross", "sprite_over_guides",
    /// "zoom_mode", "zoom_center" (the row of zoom factors) and "zoom_level", and the colours
    /// "back_start", "back_end", "attackbox" and "collisionbox". The stage is that of the current
    /// project.
    void reconfig() override;
    void retranslate() override;
    void statusClicked() override;
    void zoomActual() override;
    void zoomIn() override;
    void zoomOut() override;
    void release() override;

public Q_SLOTS:
    /// An action of the menu "view" was switched.
    void visibilityChanged(bool visible);
    /// Brings the origin to the middle of the viewport.
    void centralizeOrigin();

Q_SIGNALS:
    void extraAxisChanged(QPoint position);
    /// The viewport is painted in the other way now; see isOnOpenGL().
    void paintingChanged();
    /// The user clicked the workspace's field of the status bar.
    void statusBarClicked();

private:
    void createActions();
    void showActions();
    void useWidget(bool openGL);
    void openGLFailed();
    void readStyle();

    std::unique_ptr<GraphicsWorkspacePrivate> d;
    bool active = false;
};

} // namespace Kiln
