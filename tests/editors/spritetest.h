#pragma once

#include <ember/embersprites.h>
#include <hostkit/spriteview.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/editors/paletteeditor.h>
#include <kilnx/editors/thumbnailseditor.h>
#include <kilnx/forms/colorwidget.h>
#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/colorpalette.h>
#include <kilnx/imageedit/imagerenderer.h>
#include <kilnx/imageedit/palettewidget.h>
#include <kilnx/render/graphicsworkspace.h>
#include <tests/support/release.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <random>

/// What the tests of the sprite editor share.
namespace SpriteTest
{

using namespace Kiln;

using RowList = QVector<int>;
using SpritesPointer = std::unique_ptr<EmberSprites, Release>;

/// A table of 256 colours of which the first is clear.
inline QVector<QRgb> someColors(unsigned int seed = 7)
{
    std::mt19937 random(seed);
    QVector<QRgb> table(256);
    for (QRgb &color : table)
        color = random() | 0xff000000U;
    table[0] &= 0xffffffU;
    return table;
}

inline QImage somePicture(QSize size, unsigned int seed = 3, int colors = 256)
{
    std::mt19937 random(seed);
    QImage image(size, QImage::Format_Indexed8);
    image.setColorTable(someColors().mid(0, colors));
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, random() % unsigned(colors));
    }
    return image;
}

/// The pixels without padding.
inline QByteArray bytesOf(const QImage &image)
{
    QByteArray bytes;
    for (int y = 0; y < image.height(); ++y)
        bytes.append(reinterpret_cast<const char *>(image.constScanLine(y)),
                     image.width() * image.depth() / 8);
    return bytes;
}

/// An editor in a window, on a file of its own, and the hands of its user.
struct Bench {
    explicit Bench(bool withPanel = true)
    {
        host.options = {{"native_painting", true}, {"confirm_delete", true}};
        workspace = std::make_unique<GraphicsWorkspace>(host);
        workspace->reconfig();
        panel = withPanel ? new PaletteEditor : nullptr;
        host.extraEditors[0] = organizer = new OrganizerEditor;
        host.extraEditors[2] = thumbnails = new ThumbnailsEditor;
        editor = std::make_unique<HostKit::SpriteView>(*workspace, panel);
        QObject::connect(editor.get(), &Editor::modified, host.mainWindow(),
                         [this] { isMarked = editor->isModified(); });
        host.setEditorWidget(workspace->widget());
        auto *window = qobject_cast<QMainWindow *>(host.mainWindow());
        window->setCentralWidget(workspace->widget());
        window->resize(700, 500);
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        file = make();
        QCOMPARE(differences(), QString());
        host.switchTo(editor.get());
        QCoreApplication::processEvents();
    }
    ~Bench()
    {
        if (editor)
            editor->setCurrentFile(nullptr);
        file.reset();
        editor.reset();
        if (panel)
            panel->release();
        organizer->release();
        thumbnails->release();
        qobject_cast<QMainWindow *>(host.mainWindow())->takeCentralWidget();
        workspace.reset();
    }
    static SpritesPointer make() { return SpritesPointer(new EmberSprites(StreamCache::Memory)); }
    void insert(const QString &name, const QImage &image)
    {
        file->insert(file->itemCount(), name, image);
    }
    /// Shows the file with these sprites, of which the first is current.
    void show(const QList<QImage> &pictures)
    {
        for (int i = 0; i < pictures.size(); ++i)
            insert(QString("sprite %1").arg(i), pictures[i]);
        editor->setCurrentFile(file.get());
        editor->setCurrent(0);
        QCoreApplication::processEvents();
        QVERIFY(pictures.isEmpty() || renderer().zoom() == 8); // as large as it may be
        magnify();
    }
    /// Eight dots of the screen a pixel, for mouse().
    void magnify() const
    {
        renderer().setZoom(8);
        renderer().setOffset({4, 4});
    }
    ImageRenderer &renderer() const { return *editor->renderer(); }
    ImageCanvas &canvas() const { return renderer().canvas; }
    QWidget *view() const { return renderer().widget(); }
    QAction *action(const char *key) const { return host.action(key); }
    template<class T>
    T *field(const char *key) const
    {
        return qobject_cast<T *>(host.control(key));
    }
    QString differences() const;
    void trigger(const char *key) { action(key)->trigger(); }
    /// Not by the display's own mouse, whose moves come when they like.
    void mouse(QEvent::Type type, QPoint image, Qt::MouseButton button = Qt::LeftButton)
    {
        const bool moves = type == QEvent::MouseMove;
        const QPoint at = renderer().toScreen(image) + QPoint(4, 4);
        QMouseEvent event(type, at, moves ? Qt::NoButton : button,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : button, {});
        QApplication::sendEvent(view(), &event);
    }
    void click(QPoint image, Qt::MouseButton button = Qt::LeftButton)
    {
        mouse(QEvent::MouseButtonPress, image, button);
        mouse(QEvent::MouseButtonRelease, image, button);
    }
    void drag(QPoint from, QPoint to)
    {
        mouse(QEvent::MouseButtonPress, from);
        mouse(QEvent::MouseMove, to);
        mouse(QEvent::MouseButtonRelease, to);
    }
    /// Drops files on the view. Whether it took them, as a copy.
    bool drop(const QStringList &files)
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString &file : files)
            urls.append(QUrl::fromLocalFile(file));
        data.setUrls(urls);
        const Qt::DropActions all = Qt::CopyAction | Qt::MoveAction;
        QDragEnterEvent enter({40, 40}, all, &data, Qt::LeftButton, {});
        QApplication::sendEvent(view(), &enter);
        const int asked = host.dialogs().seen().size();
        QCoreApplication::processEvents();
        if (host.dialogs().seen().size() > asked)
            return false; // too early
        QDropEvent drop({40, 40}, all, &data, Qt::LeftButton, {});
        drop.setDropAction(Qt::MoveAction);
        drop.ignore();
        if (enter.isAccepted())
            QApplication::sendEvent(view(), &drop);
        QCoreApplication::processEvents();
        return drop.isAccepted() && drop.dropAction() == Qt::CopyAction;
    }
    QString path(const QString &name) const { return directory.filePath(name); }
    QImage sprite(unsigned int row = 0) const { return file->at(row)->image(); }
    QStringList names() const
    {
        QStringList list;
        for (unsigned int i = 0; i < file->itemCount(); ++i)
            list << file->at(i)->identifier();
        return list;
    }
    void setColor(int foreground, int background = 0)
    {
        canvas().palette->setForegroundIndex(uchar(foreground));
        canvas().palette->setBackgroundIndex(uchar(background));
    }
    void expectAccept()
    {
        host.dialogs().expectDialog([](QDialog *dialog) { dialog->accept(); });
    }
    /// The next dialog is one of ours: its fields get these values, by their object names. What its
    /// preview shows then is kept in `preview`.
    void expectFields(const QVariantMap &values)
    {
        host.dialogs().expectDialog([this, values](QDialog *dialog) {
            for (auto value = values.cbegin(); value != values.cend(); ++value) {
                auto *field = dialog->findChild<QWidget *>(value.key());
                QVERIFY2(field, qPrintable(value.key()));
                const char *name = qobject_cast<QListWidget *>(field)       ? "currentRow"
                                   : qobject_cast<QComboBox *>(field)       ? "currentIndex"
                                   : qobject_cast<QAbstractButton *>(field) ? "checked"
                                                                            : "value";
                QVERIFY(field->setProperty(name, value.value()));
            }
            if (auto *shown = dialog->findChild<QWidget *>("preview"))
                preview = shown->grab().toImage();
            QVERIFY(dialog->frameSize().height() < 540); // it stands on a small screen
            dialog->accept();
        });
    }

    TestHost host;
    std::unique_ptr<GraphicsWorkspace> workspace;
    PaletteEditor *panel = nullptr;
    OrganizerEditor *organizer;
    ThumbnailsEditor *thumbnails;
    std::unique_ptr<HostKit::SpriteView> editor;
    SpritesPointer file;
    QTemporaryDir directory;
    QImage preview;
    bool isMarked = false; ///< as a title shows that there are changes
};

/// What is shown otherwise than the file, the canvas and the tool have it; empty if all is right.
inline QString Bench::differences() const
{
    QString found;
    const auto differ = [&found](const QByteArray &what, auto got, auto wanted) {
        if (!(got == wanted))
            QDebug(&found) << what << got << "instead of" << wanted << ';';
    };
    const auto *list = dynamic_cast<EmberSprites *>(editor->currentFile());
    const int count = list ? int(list->itemCount()) : 0;
    const int at = count > 0 ? int(list->current()) : -1;
    const EmberSprite *sprite = at < 0 ? nullptr : list->at(unsigned(at));
    const ImageLayer *layer = renderer().currentLayer();
    const bool isActive = editor->isActive(), isClean = canvas().undoStack.isClean();
    differ("sprite", editor->currentSprite() == sprite, true);
    const auto *place = field<QSlider>("spr_sel");
    differ("rows", QRect(place->minimum(), place->value(), place->maximum(), 0),
           QRect(0, qMax(0, at), qMax(0, count - 1), 0));
    differ("place", field<QLabel>("spr_sel_lb")->text(), QString("%1 / %2").arg(at + 1).arg(count));
    const QPair<QByteArray, bool> commands[] = {
        {"add new import_proj", isActive && list},
        {"delete duplicate openimg saveimg saveimgas layer_add view_original image_properties prev "
         "next sel tool_canvasmove tool_pen tool_paintbucket",
         isActive && sprite},
        {"resize crop split_channels layer_delete layer_duplicate layer_mergevis layer_mergeall "
         "select_all select_none select_invert image_rotate image_fliph image_flipv",
         isActive && layer},
        {"layers_blendmode layers_opacity", isActive && layer && canvas().format == RGBACanvas},
        {"frame_spr", true}};
    for (const auto &[keys, isOn] : commands) {
        for (const QByteArray &key : keys.split(' ')) {
            const QAction *command = action("spr_" + key);
            differ(key, command ? command->isEnabled() : host.control("spr_" + key)->isEnabled(),
                   isOn);
        }
    }
    const QAction *choice = action("org_palette");
    const bool hasPalettes = choice && choice->isChecked();
    const OrganizableObject *organized = list;
    if (list && hasPalettes)
        organized = list->palettes();
    differ("organized", organizer->object() == (isActive ? organized : nullptr), true);
    if (isActive && sprite && !hasPalettes)
        differ("in the organizer", organizer->selectedRows(), RowList{at});
    if (isActive && thumbnails->sprites() == list)
        differ("thumbnail", field<QListView>("thumb_list")->currentIndex().row(), at);
    const auto *rows = field<QListView>("spr_layers_list");
    differ("layer", rows->currentIndex().row(), canvas().layers.indexOf(layer));
    differ("there is a layer", layer != nullptr, canvas().layers.rowCount() > 0);
    if (layer) {
        differ("opacity", field<QSpinBox>("spr_layers_opacity")->value(),
               qRound(layer->opacity * 100));
        const int mode = layer->blendMode;
        differ("blending", field<QComboBox>("spr_layers_blendmode")->currentIndex(),
               mode == 0 ? 0 : 1 + mode - QPainter::CompositionMode_Plus);
    }
    const QPair<const char *, const char *> tools[] = {
        {"canvasmove", "Drag: move"}, {"selmove", "Drag, arro"},   {"rectsel", "Drag: sele"},
        {"freesel", "Left: add "},    {"picker", "Left: take"},    {"pen", "Left: fore"},
        {"eraser", "Left: eras"},     {"remap_pen", "Left: firs"}, {"paintbucket", "Click: fil"}};
    const auto &tool = tools[renderer().activePosition()];
    for (const auto &each : tools) {
        const QByteArray key = QByteArray("spr_tool_") + each.first;
        const auto *button = field<QAbstractButton>(key.constData());
        differ(each.first, action(key)->isChecked(), each == tool);
        differ("its button", button && button->isChecked(), each == tool);
    }
    differ("hint", host.statusTexts.value(Interface::GuidesField).left(10),
           QString(isActive ? tool.second : ""));
    if (!isActive)
        differ("position", host.statusTexts.value(Interface::PositionField), QString());
    differ("original", renderer().viewOriginal(), action("spr_view_original")->isChecked());
    differ("renderer", host.statusTexts.value(Interface::RendererField),
           QString(isActive ? "Renderer: Native painter" : ""));
    differ("modified", editor->isModified(), list && (list->isModified() || !isClean));
    differ("mark", isMarked, editor->isModified());
    differ("nothing unsaved", editor->unsavedPicture().isNull(), isClean || !sprite);
    differ("picture", renderer().picture() == canvas().flatten(), true);
    const ImageSelection &selection = canvas().selection;
    differ("mask", selection.mask.size(), canvas().size);
    for (int i = 0; selection.rect.isValid() && i < canvas().size.width(); ++i) {
        for (int k = 0; k < canvas().size.height(); ++k)
            differ("selected", selection.contains(i, k), selection.rect.contains(i, k));
    }
    ImagePalette *colors = canvas().palette;
    const bool follows = field<QAbstractButton>("spr_switch_pal")->isChecked();
    const Palette *palette = panel               ? panel->currentPalette()
                             : sprite && follows ? sprite->palette()
                                                 : nullptr;
    differ("follows", follows, host.option("switch_to_imgpal", true).toBool());
    for (int i = 0; palette && i < 256; ++i)
        differ("color", colors->rgbAt(uchar(i)), toQRgb(palette->colors()[i]));
    const QColor chosen = static_cast<ColorPalette *>(colors)->foregroundWidget()->color();
    differ("foreground", chosen.rgba(), colors->rgbAt(colors->foregroundIndex()));
    if (sprite && isClean) {
        const QImage image = sprite->image();
        differ("size", canvas().size, image.size());
        if (palette == sprite->palette() || canvas().format == RGBACanvas)
            differ("pixels", bytesOf(canvas().flatten()) == bytesOf(image), true);
        differ("steps", canvas().undoStack.index(), 0);
        if (sprite->palette() && panel && follows)
            differ("palette", panel->currentPalette() == sprite->palette(), true);
    }
    return found;
}

using Act = std::function<void(Bench &)>;

} // namespace SpriteTest

Q_DECLARE_METATYPE(SpriteTest::Act)
