// What the sprite editor declares to its host: commands, tools, fields, menus, and what the status
// bar tells.

#include <kilnx/editors/layerdrag_p.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/editors/paletteeditor.h>
#include <kilnx/editors/spriteeditor_p.h>
#include <kilnx/editors/thumbnailseditor.h>
#include <kilnx/forms/colorwidget.h>
#include <kilnx/imageedit/imagetool.h>
#include <kilnx/imageedit/palettewidget.h>
#include <kilnx/project/controls.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/translator.h>
#include <kilnx/render/graphicsworkspace.h>

#include <QtCore/QCoreApplication>
#include <QtWidgets/QAction>
#include <QtWidgets/QActionGroup>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QListView>
#include <QtWidgets/QMenu>

namespace Kiln
{

namespace
{

/// The menus that the commands stand in.
enum Place { SpritesMenu, LayersMenu, ImageMenu, RotationMenu, SelectMenu };

struct EditorAction {
    const char *key;
    int textId;
    bool checkable;
    const char *slot;
    const char *enabler;
    Place place;
    bool isButton; ///< in the bar, too
};

const char thereIsAFile[] = "2noFile(bool)";
const char thereIsASprite[] = "2enabled(bool)";
const char thereIsALayer[] = "2enabled2(bool)";
const char layersBlend[] = "2blendingEnabled(bool)";

const EditorAction actions[] = {
    {"spr_add", 108, false, "1add()", thereIsAFile, SpritesMenu, true},
    {"spr_delete", 126, false, "1del()", thereIsASprite, SpritesMenu, true},
    {"spr_duplicate", 131, false, "1duplicate()", thereIsASprite, SpritesMenu, true},
    {"spr_openimg", 127, false, "1openImg()", thereIsASprite, SpritesMenu, true},
    {"spr_saveimg", 128, false, "1saveImg()", thereIsASprite, SpritesMenu, true},
    {"spr_saveimgas", 129, false, "1saveImgAs()", thereIsASprite, SpritesMenu, false},
    {"spr_resize", 139, false, "1resize()", thereIsALayer, ImageMenu, false},
    {"spr_crop", 130, false, "1crop()", thereIsALayer, ImageMenu, false},
    {"spr_split_channels", 144, false, "1splitRGB()", thereIsALayer, ImageMenu, false},
    {"spr_layer_add", 121, false, "1layerAdd()", thereIsASprite, LayersMenu, false},
    {"spr_layer_delete", 122, false, "1layerDel()", thereIsALayer, LayersMenu, false},
    {"spr_layer_duplicate", 123, false, "1layerClone()", thereIsALayer, LayersMenu, false},
    {"spr_layer_mergevis", 124, false, "1layerMergeVis()", thereIsALayer, LayersMenu, false},
    {"spr_layer_mergeall", 125, false, "1layerMergeAll()", thereIsALayer, LayersMenu, false},
    {"spr_view_original", 136, true, "1imgViewOrig(bool)", thereIsASprite, ImageMenu, true},
    {"spr_image_properties", 138, false, "1imgProps()", thereIsASprite, ImageMenu, false},
    {"spr_select_all", 146, false, "1selAll()", thereIsALayer, SelectMenu, false},
    {"spr_select_none", 147, false, "1selNone()", thereIsALayer, SelectMenu, false},
    {"spr_select_invert", 148, false, "1selInv()", thereIsALayer, SelectMenu, false},
    {"spr_image_rotate", 141, false, "1imgRotate()", thereIsALayer, RotationMenu, false},
    {"spr_image_fliph", 142, false, "1imgFlipH()", thereIsALayer, RotationMenu, false},
    {"spr_image_flipv", 143, false, "1imgFlipV()", thereIsALayer, RotationMenu, false},
    {"spr_import_proj", 134, false, "1projImport()", thereIsAFile, SpritesMenu, false},
    {"spr_frame_spr", 135, true, "1frameSpr(bool)", nullptr, SpritesMenu, false},
    {"spr_prev", 96, false, "1previous()", thereIsASprite, SpritesMenu, true},
    {"spr_next", 97, false, "1next()", thereIsASprite, SpritesMenu, true},
    {"spr_new", 24, false, "1addNew()", thereIsAFile, SpritesMenu, true},
};

struct ToolAction {
    const char *key;
    int textId;
    const char *hint; ///< what buttons and keys do
};

const ToolAction tools[ImageRenderer::ToolCount] = {
    {"spr_tool_canvasmove", 98, QT_TRANSLATE_NOOP("Kiln::SpriteEditor", "Drag: move the canvas")},
    {"spr_tool_selmove", 99,
     QT_TRANSLATE_NOOP("Kiln::SpriteEditor", "Drag, arrow keys: move the selected pixels")},
    {"spr_tool_rectsel", 100,
     QT_TRANSLATE_NOOP("Kiln::SpriteEditor", "Drag: select. Click: select all")},
    {"spr_tool_freesel", 101,
     QT_TRANSLATE_NOOP("Kiln::SpriteEditor", "Left: add to the selection. Right: take away")},
    {"spr_tool_picker", 102,
     QT_TRANSLATE_NOOP("Kiln::SpriteEditor", "Left: take the foreground. Right: the background")},
    {"spr_tool_pen", 103,
     QT_TRANSLATE_NOOP("Kiln::SpriteEditor",
                       "Left: foreground. Right: background. Shift: line from the last stroke")},
    {"spr_tool_eraser", 104,
     QT_TRANSLATE_NOOP("Kiln::SpriteEditor", "Left: erase. Right: only the foreground color")},
    {"spr_tool_remap_pen", 105,
     QT_TRANSLATE_NOOP("Kiln::SpriteEditor",
                       "Left: first by second. Right: second by first. Shift: set the pair")},
    {"spr_tool_paintbucket", 106,
     QT_TRANSLATE_NOOP("Kiln::SpriteEditor", "Click: fill with the foreground color")},
};

/// The texts of the blend modes.
constexpr int firstBlendText = 107;
constexpr int blendModes = 13;
/// From the second row on, the rows of the list are the modes of QPainter.
constexpr int blendShift = 11;

QString text(int id)
{
    return KilnTranslator::instance()->text(id);
}

template<class Record>
Record connected(QObject *receiver, Record record)
{
    record.receiver = receiver;
    return record;
}

} // namespace

SpriteEditorPrivate::SpriteEditorPrivate(SpriteEditor *owner,
                                         Interface *host,
                                         GraphicsWorkspace &place,
                                         PaletteEditor *panel)
    : QObject(owner)
    , editor(owner)
    , palettes(panel)
    , fields(owner->active)
    , interface(host)
    , colors(panel ? panel->widget() : nullptr)
    , workspace(place)
{
    if (!colors) {
        colors = new PaletteWidget;
        colors->setColumnCount(64);
        colors->setCellSize(10);
    }
    palette = new ColorPalette(colors, this);
    if (palettes)
        connect(palettes, &PaletteEditor::paletteShown, this, &SpriteEditorPrivate::colorsShown);
    renderer = new ImageRenderer(palette, this);
    declare();
    workspace.widget()->setAcceptDrops(true);
    workspace.widget()->installEventFilter(this);
    connect(&canvas().undoStack, &QUndoStack::indexChanged, editor, &SpriteEditor::modified);
    connect(&canvas(), &ImageCanvas::imageChanged, this, &SpriteEditorPrivate::tellLayer);
    connect(&canvas().layers, &ImageLayers::layersChanged, this, [this] { selectRow(-1); });
    connect(&canvas(), &ImageCanvas::sizeChanged, this, &SpriteEditorPrivate::sizeChanged);
    connect(renderer, &ImageRenderer::currentLayerChanged, this, &SpriteEditorPrivate::tellLayer);
    connect(renderer, &ImageRenderer::cursorChanged, this, &SpriteEditorPrivate::tellCursor);
    connect(renderer, &ImageRenderer::activeToolChanged, this, &SpriteEditorPrivate::tellTool);
    connect(&workspace, &GraphicsWorkspace::paintingChanged, this,
            &SpriteEditorPrivate::tellRenderer);
}

void SpriteEditorPrivate::declare()
{
    editorAction =
        interface->editorAction(QStringLiteral("editor_spr"), KilnTranslator::instance(), 95);
    QMenu *sprites = interface->menu("sprites");
    layerMenu = new QMenu(window());
    imageMenu = new QMenu(window());
    rotationMenu = new QMenu(window());
    selectMenu = new QMenu(window());
    QMenu *const menus[] = {sprites, layerMenu, imageMenu, rotationMenu, selectMenu};
    for (const EditorAction &entry : actions) {
        const QString key = QLatin1String(entry.key);
        QMenu *menu = menus[entry.place];
        QAction *action =
            interface->addAction(entry.isButton ? nullptr : menu, key, KilnTranslator::instance(),
                                 entry.textId, entry.checkable, this, entry.slot, entry.enabler);
        if (entry.isButton && menu)
            interface->actionControl(key, action, menu);
        if (entry.place == SelectMenu && action) // keys that count on the canvas
            workspace.widget()->addAction(action);
    }
    frameAction = interface->actionByKey("spr_frame_spr");
    originalAction = interface->actionByKey("spr_view_original");
    layerMenu->setIcon(interface->icon(QStringLiteral("layers")));
    imageMenu->addMenu(rotationMenu);
    if (sprites) {
        for (QMenu *menu : {imageMenu, layerMenu, selectMenu})
            sprites->addMenu(menu);
    }
    WidgetControl place = connected(this, WidgetControl(Control::PositionSelector));
    place.slot = "1selPosChanged(int)";
    place.setter = "2setSelPos(int)";
    place.enabler = thereIsASprite;
    interface->addControl(QStringLiteral("spr_sel"), place);
    WidgetControl label = connected(this, WidgetControl(Control::Label));
    label.setter = "2setPosText(QString)";
    interface->addControl(QStringLiteral("spr_sel_lb"), label);
    trWidgetControl follows = connected(this, trWidgetControl(Control::CheckBox));
    follows.translator = KilnTranslator::instance();
    follows.textId = 149;
    follows.slot = "1switchPalChanged(bool)";
    follows.setter = "2setSwitchPal(bool)";
    interface->addControl(QStringLiteral("spr_switch_pal"), follows);
    declareLayers();
    declareTools();
}

void SpriteEditorPrivate::declareLayers()
{
    ComboBoxControl blending = connected(this, ComboBoxControl());
    blending.slot = "1layerBlending(int)";
    blending.setter = "2setLayerBlending(int)";
    blending.enabler = layersBlend;
    interface->addControl(QStringLiteral("spr_layers_blendmode"), blending);
    SpinEditControl opacity = connected(this, SpinEditControl());
    opacity.minimum = 0;
    opacity.maximum = 100;
    opacity.slot = "1layerOpacity(int)";
    opacity.setter = "2setLayerOpacity(int)";
    opacity.enabler = layersBlend;
    interface->addControl(QStringLiteral("spr_layers_opacity"), opacity);
    interface->addControl(QStringLiteral("spr_layers_menu"),
                          MenuToolButtonControl(layerMenu->menuAction(), layerMenu));
    ListViewControl list = connected(this, ListViewControl());
    list.slot = "1layerChosen(QModelIndex)";
    layerView =
        qobject_cast<QListView *>(interface->addControl(QStringLiteral("spr_layers_list"), list));
    if (!layerView)
        return;
    layerView->setSelectionMode(QAbstractItemView::SingleSelection);
    layerView->setEditTriggers(QAbstractItemView::EditKeyPressed |
                               QAbstractItemView::DoubleClicked);
    layerView->setModel(&canvas().layers);
    connect(layerView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &SpriteEditorPrivate::layerChosen);
    layerDrag = new LayerDrag(layerView, this);
}

void SpriteEditorPrivate::declareTools()
{
    auto *group = new QActionGroup(this);
    for (int i = 0; i < ImageRenderer::ToolCount; ++i) {
        const QString key = QLatin1String(tools[i].key);
        QAction *action =
            interface->addAction(workspace.widget(), key, KilnTranslator::instance(),
                                 tools[i].textId, true, this, "1chooseTool()", thereIsASprite);
        toolActions[size_t(i)] = action;
        if (action) {
            group->addAction(action);
            interface->addControl(key, ToolButtonControl(action));
        }
    }
    interface->addControl(QStringLiteral("spr_foreground"),
                          EmbeddedControl(palette->foregroundWidget()));
    interface->addControl(QStringLiteral("spr_background"),
                          EmbeddedControl(palette->backgroundWidget()));
    interface->addControl(QStringLiteral("spr_tool_options"),
                          EmbeddedControl(renderer->toolOptions()));
    if (colors && !palettes)
        interface->addControl(QStringLiteral("spr_colors"), EmbeddedControl(colors));
    renderer->setActiveTool(ImageRenderer::Pen);
}

void SpriteEditorPrivate::setTexts()
{
    layerMenu->setTitle(text(120));
    imageMenu->setTitle(text(137));
    rotationMenu->setTitle(text(140));
    selectMenu->setTitle(text(145));
    if (layerView) {
        layerView->setAccessibleName(text(120));
        if (QWidget *dock = layerView->parentWidget())
            dock->setWindowTitle(text(120));
    }
    if (auto *combo =
            qobject_cast<QComboBox *>(interface->control(QStringLiteral("spr_layers_blendmode")))) {
        const int row = combo->currentIndex();
        combo->clear();
        for (int i = 0; i < blendModes; ++i)
            combo->addItem(text(firstBlendText + i));
        combo->setCurrentIndex(qMax(0, row));
        combo->setAccessibleName(SpriteEditor::tr("Blend mode"));
        combo->setToolTip(combo->accessibleName());
    }
    if (QWidget *opacity = interface->control(QStringLiteral("spr_layers_opacity"))) {
        opacity->setAccessibleName(SpriteEditor::tr("Opacity of the layer in percent"));
        opacity->setToolTip(opacity->accessibleName());
    }
    for (QWidget *color : {static_cast<QWidget *>(palette->foregroundWidget()),
                           static_cast<QWidget *>(palette->backgroundWidget())}) {
        if (color)
            color->setAccessibleName(color->toolTip());
    }
    if (QWidget *options = renderer->toolOptions())
        options->setAccessibleName(SpriteEditor::tr("Options of the tool"));
    tellTool();
}

void SpriteEditorPrivate::tellEnabled()
{
    const bool active = editor->isActive();
    Q_EMIT noFile(active && sprites);
    Q_EMIT enabled(active && sprite());
    tellLayer();
}

void SpriteEditorPrivate::tellPosition()
{
    const unsigned int count = sprites ? sprites->itemCount() : 0;
    const int at = row.isValid() ? row.row() : 0;
    fields.beginProgramChange();
    Q_EMIT setSelPos(at);
    fields.endProgramChange();
    Q_EMIT setPosText(QStringLiteral("%1 / %2").arg(count > 0 ? at + 1 : 0).arg(count));
    OrganizerEditor *list = organizer();
    if (list && editor->isActive())
        list->setCurrentRow(row);
    ThumbnailsEditor *panel = thumbnails();
    if (panel && row.isValid())
        panel->showSprite(at);
}

void SpriteEditorPrivate::tellLayer()
{
    const ImageLayer *shownLayer = layer();
    const bool isThere = editor->isActive() && shownLayer;
    Q_EMIT enabled2(isThere);
    Q_EMIT blendingEnabled(isThere && canvas().format == RGBACanvas);
    if (!shownLayer)
        return;
    fields.beginProgramChange();
    Q_EMIT setLayerBlending(shownLayer->blendMode > 0 ? shownLayer->blendMode - blendShift : 0);
    Q_EMIT setLayerOpacity(qRound(shownLayer->opacity * 100));
    fields.endProgramChange();
}

void SpriteEditorPrivate::layerBlending(int blendRow)
{
    if (layer() && fields.canChangeFieldValue())
        layer()->setBlendMode(blendRow > 0 ? blendRow + blendShift : 0, true);
}

void SpriteEditorPrivate::layerOpacity(int percent)
{
    if (layer() && fields.canChangeFieldValue())
        layer()->setOpacity(percent / 100.0, true);
}

void SpriteEditorPrivate::tellTool()
{
    const int tool = renderer->activePosition();
    if (QAction *action = toolActions[size_t(tool)])
        action->setChecked(true);
    if (editor->isActive())
        interface->setStatusText(
            Interface::GuidesField,
            QCoreApplication::translate("Kiln::SpriteEditor", tools[tool].hint));
}

void SpriteEditorPrivate::chooseTool()
{
    for (int i = 0; i < ImageRenderer::ToolCount; ++i) {
        if (toolActions[size_t(i)] && toolActions[size_t(i)]->isChecked() &&
            renderer->activePosition() != i) {
            renderer->setActiveTool(i);
            break;
        }
    }
}

/// Where the mouse is in the picture, and in which colour.
void SpriteEditorPrivate::tellCursor(QPoint at)
{
    if (!editor->isActive())
        return;
    QString told = SpriteEditor::tr("X: %1, Y: %2").arg(at.x()).arg(at.y());
    const QImage &picture = renderer->picture();
    if (picture.valid(at)) {
        const bool isIndexed = picture.format() == QImage::Format_Indexed8;
        const int index = isIndexed ? picture.pixelIndex(at) : -1;
        const QRgb color = isIndexed ? palette->rgbAt(uchar(index)) : picture.pixel(at);
        told += QStringLiteral("  ") + (isIndexed ? SpriteEditor::tr("Color %1: ").arg(index)
                                                  : SpriteEditor::tr("Color: "));
        told += QStringLiteral("%1, %2, %3, %4")
                    .arg(qRed(color))
                    .arg(qGreen(color))
                    .arg(qBlue(color))
                    .arg(qAlpha(color));
    }
    interface->setStatusText(Interface::PositionField, told);
}

void SpriteEditorPrivate::tellRenderer()
{
    if (!editor->isActive())
        return;
    interface->setStatusText(Interface::RendererField,
                             SpriteEditor::tr("Renderer: %1")
                                 .arg(workspace.isOnOpenGL() ? SpriteEditor::tr("OpenGL")
                                                             : SpriteEditor::tr("Native painter")));
}

void SpriteEditorPrivate::clearStatus()
{
    for (const int field :
         {Interface::PositionField, Interface::GuidesField, Interface::RendererField})
        interface->setStatusText(field, QString());
}

OrganizerEditor *SpriteEditorPrivate::organizer() const
{
    return qobject_cast<OrganizerEditor *>(interface->extraEditor(0));
}

/// Null while it shows the sprites of another file.
ThumbnailsEditor *SpriteEditorPrivate::thumbnails() const
{
    auto *panel = qobject_cast<ThumbnailsEditor *>(interface->extraEditor(2));
    return panel && sprites && panel->sprites() == sprites ? panel : nullptr;
}

/// The organizer has the sprites, or by "org_palette" their palettes, and lets go of them before
/// they end.
void SpriteEditorPrivate::showPanels(bool isShown)
{
    OrganizerEditor *panel = organizer();
    if (panel) {
        const QAction *choice = interface->actionByKey("org_palette");
        OrganizableObject *list = sprites;
        if (sprites && choice && choice->isChecked())
            list = sprites->palettes();
        panel->setObject(isShown ? list : nullptr);
        connect(panel, &OrganizerEditor::itemClicked, this, &SpriteEditorPrivate::organizerClicked,
                Qt::UniqueConnection);
    }
    auto *pictures = qobject_cast<ThumbnailsEditor *>(interface->extraEditor(2));
    if (pictures && isShown) {
        pictures->setSprites(sprites);
        connect(pictures, &ThumbnailsEditor::spriteChosen, this,
                &SpriteEditorPrivate::thumbnailChosen, Qt::UniqueConnection);
    }
    if (isShown)
        tellPosition();
    const bool isWanted = interface->option(QStringLiteral("show_organizer"), false).toBool();
    if (isShown && !(panel && isWanted))
        interface->setExtraEditor(interface->extraEditor(1));
}

void SpriteEditorPrivate::organizerClicked(int clicked)
{
    if (editor->isActive() && organizer()->object() == sprites)
        setCurrent(unsigned(clicked));
}

void SpriteEditorPrivate::thumbnailChosen(int chosen)
{
    if (editor->isActive() && thumbnails())
        setCurrent(unsigned(chosen));
}

ImageLayer *SpriteEditorPrivate::layer() const
{
    return renderer->currentLayer();
}

/// Makes a row of the list the current layer; -1 keeps the current layer, or takes the first.
void SpriteEditorPrivate::selectRow(int wanted)
{
    const ImageLayers &layers = canvas().layers;
    const int now = layers.indexOf(layer());
    const int rowToShow = wanted >= 0 ? wanted : qMax(0, now);
    if (ImageLayer *chosen = layers.at(rowToShow))
        renderer->setCurrentLayer(chosen);
    if (layerView && layerView->model() == &layers)
        layerView->setCurrentIndex(layers.index(rowToShow));
}

void SpriteEditorPrivate::layerChosen(const QModelIndex &index)
{
    if (ImageLayer *chosen = canvas().layers.at(index.row()))
        renderer->setCurrentLayer(chosen);
}

} // namespace Kiln
