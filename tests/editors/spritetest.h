#pragma once

#include <ember/embersprites.h>
#include <hostkit/spriteview.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/editors/paletteeditor.h>
#include <kilnx/editors/thumbnailseditor.h>
#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/imagerenderer.h>
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
        host.setEditorWidget(workspace->widget());
        auto *window = qobject_cast<QMainWindow *>(host.mainWindow());
        window->setCentralWidget(workspace->widget());
        window->resize(700, 500);
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        file = make();
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
    QAction *action(const char *key) { return host.action(key); }
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
    bool drop(const QStringList &files) const
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString &file : files)
            urls.append(QUrl::fromLocalFile(file));
        data.setUrls(urls);
        const Qt::DropActions all = Qt::CopyAction | Qt::MoveAction;
        QDragEnterEvent enter({40, 40}, all, &data, Qt::LeftButton, {});
        QApplication::sendEvent(view(), &enter);
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
};

using Act = std::function<void(Bench &)>;

} // namespace SpriteTest

Q_DECLARE_METATYPE(SpriteTest::Act)
