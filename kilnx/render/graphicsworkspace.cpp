#include <kilnx/render/graphicsworkspace.h>

#include <kilnx/project/interface.h>
#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/graphicsrenderer.h>
#include <kilnx/render/renderwidget.h>
#include <kilnx/render/timelinewidget.h>

#include <QtCore/QPointer>
#include <QtWidgets/QAction>
#include <QtWidgets/QMenu>
#include <QtWidgets/QVBoxLayout>

#include <cmath>

namespace Kiln
{

namespace
{

/// An action of the menu "view".
struct ViewAction {
    const char *key;
    int textId;
    const char *option; // of its state; null for none
};

constexpr ViewAction viewActions[] = {
    {"view_main_cross", KilnTranslator::MainCrossText, "show_cross1"},
    {"view_secondary_cross", KilnTranslator::SecondaryCrossText, "show_cross2"},
    {"view_extra_cross", KilnTranslator::ExtraCrossText, nullptr},
    {"view_rulers", KilnTranslator::RulersText, "show_rulers"},
    {"view_guide_lines", KilnTranslator::GuideLinesText, "show_guides"},
    {"view_attack_box", KilnTranslator::AttackBoxText, "show_attack_box"},
    {"view_collision_box", KilnTranslator::CollisionBoxText, "show_collision_box"},
};
enum { MainCross, SecondaryCross, ExtraCross, Rulers, GuideLines, AttackBox, CollisionBox, Count };

/// Keeps the renderer until there is a widget that can show it.
class WaitingRoom : public RenderWidgetBase
{
public:
    ~WaitingRoom() override { setRenderer(nullptr); }
    Renderer *renderer() const override { return m_renderer; }
    void setRenderer(Renderer *renderer) override
    {
        if (m_renderer)
            m_renderer->renderWidget = nullptr;
        m_renderer = renderer;
        if (m_renderer && m_renderer->renderWidget)
            m_renderer->renderWidget->setRenderer(nullptr);
        if (m_renderer)
            m_renderer->renderWidget = this;
    }
    void update() override {}

private:
    Renderer *m_renderer = nullptr;
};

int divided(int length, double scale)
{
    const double result = scale == 0 ? length : length / scale;
    return std::isfinite(result) ? int(qBound(0.0, result, 65535.0)) : length;
}

/// The stage of a project without the factors that it is scaled by.
QSize stageOf(Project *project)
{
    if (!project)
        return {320, 240};
    const QSize size = project->stageSize();
    const QSizeF scale = project->stageScale();
    return {divided(size.width(), scale.width()), divided(size.height(), scale.height())};
}

} // namespace

class GraphicsWorkspacePrivate
{
public:
    Interface *host = nullptr;
    QPointer<QWidget> shown; // a RenderWidget or a GLRenderWidget, kept in `face`, too
    RenderWidgetBase *face = nullptr;
    WaitingRoom waiting;
    QPointer<QWidget> widget;
    QWidget *container = nullptr; // of the render widget
    QPointer<TimeLineWidget> timeLine;
    QPointer<QAction> actions[Count];
    bool settingUp = false;
    bool openGLFailed = false; // until the user asks for native painting
    QPoint extraAxis;

    /// Where a renderer belongs now.
    RenderWidgetBase *place()
    {
        const auto *card = qobject_cast<GLRenderWidget *>(shown);
        const bool ready = shown && (!card || card->context());
        return ready ? face : &waiting;
    }
    Renderer *current() const
    {
        Renderer *inView = shown ? face->renderer() : nullptr;
        return inView ? inView : waiting.renderer();
    }
    GraphicsRenderer *view() const { return dynamic_cast<GraphicsRenderer *>(current()); }
    bool checked(int action) const { return actions[action] && actions[action]->isChecked(); }
};

GraphicsWorkspace::GraphicsWorkspace(Interface &host)
    : Workspace(host)
    , d(std::make_unique<GraphicsWorkspacePrivate>())
{
    d->host = &host;
    d->widget = new QWidget;
    d->widget->setObjectName(QStringLiteral("graphics_workspace"));
    auto *layout = new QVBoxLayout(d->widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    d->container = new QWidget(d->widget);
    layout->addWidget(d->container, 1);
    d->timeLine = new TimeLineWidget(d->widget);
    layout->addWidget(d->timeLine);
    createActions();
}

GraphicsWorkspace::~GraphicsWorkspace()
{
    setRenderer(nullptr);
    delete d->widget;
}

void GraphicsWorkspace::createActions()
{
    d->settingUp = true;
    QMenu *menu = d->host->menu("view");
    Translator *texts = KilnTranslator::instance();
    d->host->addAction(menu, QStringLiteral("view_center_origin"), texts,
                       KilnTranslator::CentralizeText, false, this, SLOT(centralizeOrigin()));
    for (int i = 0; i < Count; ++i) {
        const ViewAction &action = viewActions[i];
        d->actions[i] = d->host->addAction(menu, QLatin1String(action.key), texts, action.textId,
                                           true, this, SLOT(visibilityChanged(bool)));
    }
    for (int i = 0; i < Count; ++i) {
        const ViewAction &action = viewActions[i];
        if (!d->actions[i])
            continue;
        d->host->actionControl(QLatin1String(action.key), d->actions[i], nullptr);
        if (action.option) {
            const QVariant state = d->host->option(QLatin1String(action.option), QVariant());
            d->actions[i]->setChecked(state.toBool());
        }
    }
    d->settingUp = false;
}

const char *GraphicsWorkspace::name() const
{
    return "graphics";
}

QWidget *GraphicsWorkspace::widget() const
{
    return d->widget;
}

TimeLineWidget *GraphicsWorkspace::timeLine() const
{
    return d->timeLine;
}

GraphicsRendererBase *GraphicsWorkspace::renderer() const
{
    return dynamic_cast<GraphicsRendererBase *>(d->current());
}

void GraphicsWorkspace::setRenderer(GraphicsRendererBase *renderer)
{
    if (d->shown)
        d->face->setRenderer(nullptr);
    d->waiting.setRenderer(nullptr);
    const QPointer<GraphicsWorkspace> alive(this);
    d->place()->setRenderer(renderer);
    if (!alive)
        return;
    if (GraphicsRenderer *view = d->view())
        view->setItemPosition(GraphicsRenderer::ItemCrossExtra, d->extraAxis);
    showActions();
    update();
}

bool GraphicsWorkspace::isOnOpenGL() const
{
    return qobject_cast<GLRenderWidget *>(d->shown);
}

void GraphicsWorkspace::enableCross(Cross cross, bool enabled)
{
    if (cross >= CrossMain && cross <= CrossExtra && d->actions[cross])
        d->actions[cross]->setEnabled(enabled);
}

void GraphicsWorkspace::setExtraAxis(QPoint position)
{
    if (position == d->extraAxis)
        return;
    d->extraAxis = position;
    if (GraphicsRenderer *view = d->view())
        view->setItemPosition(GraphicsRenderer::ItemCrossExtra, position);
    Q_EMIT extraAxisChanged(position);
}

void GraphicsWorkspace::update()
{
    if (d->shown)
        d->face->update();
}

void GraphicsWorkspace::visibilityChanged(bool)
{
    if (d->settingUp)
        return;
    for (int i = 0; i < Count; ++i) {
        if (viewActions[i].option && d->actions[i])
            d->host->setOption(QLatin1String(viewActions[i].option), d->checked(i));
    }
    showActions();
}

void GraphicsWorkspace::showActions()
{
    GraphicsRenderer *view = d->view();
    for (QAction *action : d->actions) {
        if (action)
            action->setVisible(view || !d->current()); // a picture has no such marks
    }
    if (view) {
        view->setVisibility(d->checked(MainCross), d->checked(SecondaryCross),
                            d->checked(ExtraCross), d->checked(AttackBox), d->checked(CollisionBox),
                            d->checked(Rulers), d->checked(GuideLines));
    }
}

void GraphicsWorkspace::centralizeOrigin()
{
    if (GraphicsRendererBase *shown = renderer())
        shown->centralize();
}

void GraphicsWorkspace::activate()
{
    active = true;
    showActions();
    const auto number = [this](const char *key) {
        return d->host->option(QLatin1String(key), QVariant()).toInt();
    };
    GraphicsRenderer::setOrigin({number("origin_x"), number("origin_y")});
    update();
}

void GraphicsWorkspace::deactivate()
{
    active = false;
    const QPoint origin = GraphicsRenderer::origin();
    d->host->setOption(QStringLiteral("origin_x"), origin.x());
    d->host->setOption(QStringLiteral("origin_y"), origin.y());
}

void GraphicsWorkspace::reconfig()
{
    const QPointer<GraphicsWorkspace> alive(this);
    const bool native = d->host->option(QStringLiteral("native_painting"), QVariant()).toBool();
    if (native)
        d->openGLFailed = false;
    else if (!d->openGLFailed && !GLRenderWidget::isSupported())
        openGLFailed();
    if (alive)
        useWidget(!native && !d->openGLFailed);
    if (alive)
        readStyle();
}

/// Makes the widget of the wanted kind and moves the renderer there. That ends a drag, before there
/// is a new widget: what is told of it may destroy the workspace.
void GraphicsWorkspace::useWidget(bool openGL)
{
    if (!d->widget || (d->shown && openGL == isOnOpenGL()))
        return;
    const QPointer<GraphicsWorkspace> alive(this);
    d->waiting.setRenderer(d->current());
    const QPointer<QWidget> old = d->shown;
    const bool hadFocus = old && old->hasFocus();
    if (old) {
        // This may come from one of its own events.
        old->deleteLater();
        old->hide();
        if (alive && d->waiting.renderer())
            d->waiting.renderer()->sizeChanged(old->width(), old->height());
        if (!alive)
            return;
    }
    delete d->container->layout();
    if (openGL) {
        auto *card = new GLRenderWidget(d->container);
        d->face = card;
        d->shown = card;
        connect(card, &GLRenderWidget::initialize, this, [this, card] {
            if (card == d->shown && d->waiting.renderer())
                card->setRenderer(d->waiting.renderer());
        });
        connect(card, &GLRenderWidget::failed, this, [this, card] {
            if (card == d->shown)
                openGLFailed();
        });
    } else {
        auto *native = new RenderWidget(d->container);
        d->face = native;
        d->shown = native;
    }
    d->shown->setObjectName(QStringLiteral("viewport"));
    d->shown->setAccessibleName(tr("Viewport"));
    d->shown->setFocusPolicy(Qt::StrongFocus);
    auto *layout = new QVBoxLayout(d->container);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(d->shown);
    if (hadFocus)
        d->shown->setFocus(Qt::OtherFocusReason);
    if (!alive)
        return;
    if (!openGL)
        d->face->setRenderer(d->waiting.renderer());
    Q_EMIT paintingChanged();
}

void GraphicsWorkspace::openGLFailed()
{
    const QPointer<GraphicsWorkspace> alive(this);
    d->openGLFailed = true;
    useWidget(false);
    if (!alive)
        return;
    d->host->setStatusText(Interface::RendererField,
                           tr("OpenGL does not work here. Renderer: %1").arg(tr("Native painter")));
}

/// Takes what all viewports share from the settings.
void GraphicsWorkspace::readStyle()
{
    const auto option = [this](const char *key) {
        return d->host->option(QLatin1String(key), QVariant());
    };
    const auto color = [this](const char *key) { return d->host->colorOption(QLatin1String(key)); };
    const QPoint position(option("background_x").toInt(), option("background_y").toInt());
    GraphicsRenderer::setBackground(
        color("back_start"), color("back_end"),
        GraphicsRenderer::BackgroundType(option("background_type").toInt()), position,
        option("background_file").toString(), stageOf(d->host->currentProject()));
    GraphicsRenderer::setupContactBoxes(color("attackbox"), color("collisionbox"),
                                        option("box_opacity").toFloat());
    GraphicsRenderer::setCrossHair(
        GraphicsRenderer::CrossHairType(option("crosshair_type").toInt()),
        option("crosshair_main").toString(), option("crosshair_secondary").toString(),
        option("crosshair_extra").toString());
    GraphicsRenderer::setPriority(option("sprite_over_guides").toBool(),
                                  option("contact_over_cross").toBool());
    GraphicsRenderer::setZoomMode(GraphicsRenderer::ZoomMode(option("zoom_mode").toInt()));
    GraphicsRenderer::setZoomTable(
        static_cast<unsigned char>(qBound(0, option("zoom_center").toInt(), 1)));
    if (GraphicsRenderer *view = d->view()) {
        const int level = qBound(0, option("zoom_level").toInt(), 255);
        view->setZoomLevel(static_cast<unsigned char>(level));
    }
    // The gradient takes the height of the view again.
    const QPointer<GraphicsWorkspace> alive(this);
    if (d->shown && d->face->renderer())
        d->face->renderer()->sizeChanged(d->shown->width(), d->shown->height());
    if (alive)
        update();
}

void GraphicsWorkspace::retranslate()
{
}

void GraphicsWorkspace::statusClicked()
{
    Q_EMIT statusBarClicked();
}

void GraphicsWorkspace::zoomActual()
{
    if (GraphicsRendererBase *shown = renderer())
        shown->zoomActual();
}

void GraphicsWorkspace::zoomIn()
{
    if (GraphicsRendererBase *shown = renderer())
        shown->addZoom();
}

void GraphicsWorkspace::zoomOut()
{
    if (GraphicsRendererBase *shown = renderer())
        shown->subZoom();
}

void GraphicsWorkspace::release()
{
    delete this;
}

} // namespace Kiln
