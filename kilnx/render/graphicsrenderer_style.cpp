#include <kilnx/render/graphicsrenderer_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtGui/QLinearGradient>

namespace Kiln
{

namespace
{

GraphicsStyle *style = nullptr;

void deleteStyle()
{
    delete style;
    style = nullptr;
}

/// A built-in stage: its picture and the image pixel of its upper left. The origin is the middle of
/// its ground.
struct Stage {
    int below; // of the stage's width
    const char *picture;
    QPoint position;
};

Stage stageFor(int width)
{
    static const Stage stages[] = {
        {640, ":/kiln_icons/icons/240p.png", {-212, -207}},
        {1280, ":/kiln_icons/icons/480p.png", {-424, -415}},
        {1920, ":/kiln_icons/icons/720p.png", {-638, -623}},
    };
    for (const Stage &stage : stages) {
        if (width < stage.below)
            return stage;
    }
    return {0, ":/kiln_icons/icons/1080p.png", {-958, -936}};
}

} // namespace

GraphicsStyle &GraphicsStyle::instance()
{
    if (!style) {
        style = new GraphicsStyle;
        style->setGradient(256);
        qAddPostRoutine(deleteStyle);
        GraphicsRenderer::setCrossHair(GraphicsRenderer::CrossHairBuiltIn, {}, {}, {});
    }
    return *style;
}

void GraphicsStyle::setGradient(int height)
{
    QLinearGradient gradient(0, 0, 0, height);
    gradient.setColorAt(0, backgroundTop);
    gradient.setColorAt(1, backgroundBottom);
    backgroundBrush = gradient;
}

void GraphicsStyle::updateViews() const
{
    for (GraphicsRenderer *view : views)
        view->update();
}

QPoint GraphicsRenderer::origin()
{
    return GraphicsStyle::instance().origin;
}

void GraphicsRenderer::setOrigin(QPoint origin)
{
    GraphicsStyle &style = GraphicsStyle::instance();
    style.origin = origin;
    style.updateViews();
}

void GraphicsRenderer::setBackground(const QColor &top,
                                     const QColor &bottom,
                                     BackgroundType type,
                                     QPoint position,
                                     const QString &file,
                                     QSize stage)
{
    GraphicsStyle &style = GraphicsStyle::instance();
    style.backgroundPosition = position;
    if (type == BackgroundStage) {
        const Stage builtIn = stageFor(stage.width());
        style.backgroundPixmap = QPixmap(QLatin1String(builtIn.picture));
        style.backgroundPosition = builtIn.position;
    } else {
        style.backgroundPixmap = type == BackgroundFile ? QPixmap(file) : QPixmap();
    }
    style.backgroundTop = top;
    style.backgroundBottom = bottom;
    style.setGradient(256);
    style.updateViews();
}

void GraphicsRenderer::setCrossHair(CrossHairType type,
                                    const QString &main,
                                    const QString &secondary,
                                    const QString &extra)
{
    if (type == CrossHairKept)
        return;
    const QString files[] = {main, secondary, extra};
    static const char *const builtIn[] = {
        ":/kiln_icons/icons/sff.png",
        ":/kiln_icons/icons/air.png",
        ":/kiln_icons/icons/extra.png",
    };
    GraphicsStyle &style = GraphicsStyle::instance();
    for (int i = 0; i < 3; ++i) {
        const bool own = type == CrossHairFiles && QFile::exists(files[i]);
        style.crossHairs[i] = QPixmap(own ? files[i] : QLatin1String(builtIn[i]));
    }
    style.updateViews();
}

void GraphicsRenderer::setupContactBoxes(const QColor &first, const QColor &second, float opacity)
{
    GraphicsStyle &style = GraphicsStyle::instance();
    style.boxColors[0] = first;
    style.boxColors[1] = second;
    style.boxOpacity = qBound(0.0F, opacity, 1.0F);
    style.updateViews();
}

void GraphicsRenderer::setPriority(bool spriteOverGuides, bool contactOverCross)
{
    GraphicsStyle &style = GraphicsStyle::instance();
    style.spriteOverGuides = spriteOverGuides;
    style.contactOverCross = contactOverCross;
    style.updateViews();
}

bool GraphicsRenderer::spriteOverGuides()
{
    return GraphicsStyle::instance().spriteOverGuides;
}

bool GraphicsRenderer::contactOverCross()
{
    return GraphicsStyle::instance().contactOverCross;
}

void GraphicsRenderer::setZoomMode(ZoomMode mode)
{
    GraphicsStyle::instance().zoomMode = mode;
}

void GraphicsRenderer::setZoomTable(unsigned char row)
{
    GraphicsStyle::instance().zoomTable = qMin<unsigned char>(row, 1);
}

} // namespace Kiln
