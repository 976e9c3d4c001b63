#include <ember/emberengine.h>
#include <ember/emberparentproject.h>
#include <ember/emberproject.h>
#include <ember/embersprites.h>
#include <hostkit/spriteview.h>
#include <kilnx/editors/paletteeditor.h>
#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/imagerenderer.h>
#include <kilnx/project/archive.h>
#include <kilnx/render/graphicsworkspace.h>
#include <tests/support/files.h>
#include <tests/support/fulldisk.h>
#include <tests/support/release.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <random>

using namespace Kiln;

namespace
{

using SpritesPointer = std::unique_ptr<EmberSprites, Release>;

/// A table of 256 colours of which the first is clear.
QVector<QRgb> someColors(unsigned int seed = 7)
{
    std::mt19937 random(seed);
    QVector<QRgb> table(256);
    for (QRgb &color : table)
        color = random() | 0xff000000U;
    table[0] &= 0xffffffU;
    return table;
}

QImage somePicture(QSize size, unsigned int seed = 3, int colors = 256)
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
QByteArray bytesOf(const QImage &image)
{
    QByteArray bytes;
    for (int y = 0; y < image.height(); ++y)
        bytes.append(reinterpret_cast<const char *>(image.constScanLine(y)),
                     image.width() * image.depth() / 8);
    return bytes;
}

/// A PNG file taken apart without the library: an indexed one of 8 bits, whose rows use any filter.
struct PlainPng {
    explicit PlainPng(const QByteArray &file)
    {
        QByteArray packed;
        for (int at = 8; at + 12 <= file.size();) {
            const int length = qFromBigEndian<int>(file.constData() + at);
            const QByteArray kind = file.mid(at + 4, 4);
            const QByteArray data = file.mid(at + 8, length);
            if (kind == "IHDR")
                size = {qFromBigEndian<int>(data.constData()),
                        qFromBigEndian<int>(data.constData() + 4)};
            else if (kind == "PLTE")
                colors = data;
            else if (kind == "tRNS")
                alpha = data;
            else if (kind == "IDAT")
                packed += data;
            at += 12 + length;
        }
        const quint32 length = qToBigEndian(quint32((size.width() + 1) * size.height()));
        const QByteArray raw =
            qUncompress(QByteArray(reinterpret_cast<const char *>(&length), 4) + packed);
        unfilter(raw);
    }
    void unfilter(const QByteArray &raw)
    {
        const int width = size.width();
        QByteArray above(width, '\0');
        for (int at = 0; at + width < raw.size(); at += width + 1) {
            QByteArray row = raw.mid(at + 1, width);
            for (int x = 0; x < width; ++x) {
                const int left = x > 0 ? uchar(row[x - 1]) : 0;
                const int up = uchar(above[x]);
                const int corner = x > 0 ? uchar(above[x - 1]) : 0;
                const int guess = left + up - corner;
                const int a = qAbs(guess - left), b = qAbs(guess - up), c = qAbs(guess - corner);
                const int paeth = a <= b && a <= c ? left : b <= c ? up : corner;
                const int parts[] = {0, left, up, (left + up) / 2, paeth};
                row[x] = char(uchar(row[x]) + parts[int(raw[at])]);
            }
            indexes += row;
            above = row;
        }
    }

    QSize size;
    QByteArray colors, alpha, indexes;
};

QString convertProgram()
{
    for (const char *name : {"convert-im6.q16", "convert-im7.q16"}) {
        const QString path = QStandardPaths::findExecutable(name, {QString("/usr/bin")});
        if (!path.isEmpty())
            return path;
    }
    return QString();
}

class Host : public TestHost
{
public:
    unsigned int projectCount() const override { return unsigned(projects.size()); }
    Project *project(unsigned int index) const override { return projects.value(int(index)); }

    QList<Project *> projects;
};

/// An editor in a window, on a file of its own, and the hands of its user.
struct Bench {
    explicit Bench(bool withPanel = true)
    {
        host.options = {{"native_painting", true}, {"confirm_delete", true}};
        workspace = std::make_unique<GraphicsWorkspace>(host);
        workspace->reconfig();
        panel = withPanel ? new PaletteEditor : nullptr;
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
        auto *window = qobject_cast<QMainWindow *>(host.mainWindow());
        window->takeCentralWidget();
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
    /// The next dialog is one of ours: its fields get these values, by their object names.
    void expectFields(const QVariantMap &values)
    {
        host.dialogs().expectDialog([values](QDialog *dialog) {
            for (auto value = values.cbegin(); value != values.cend(); ++value) {
                auto *field = dialog->findChild<QWidget *>(value.key());
                QVERIFY2(field, qPrintable(value.key()));
                const char *name = qobject_cast<QListWidget *>(field)       ? "currentRow"
                                   : qobject_cast<QComboBox *>(field)       ? "currentIndex"
                                   : qobject_cast<QAbstractButton *>(field) ? "checked"
                                                                            : "value";
                QVERIFY(field->setProperty(name, value.value()));
            }
            dialog->accept();
        });
    }

    Host host;
    std::unique_ptr<GraphicsWorkspace> workspace;
    PaletteEditor *panel = nullptr;
    std::unique_ptr<HostKit::SpriteView> editor;
    SpritesPointer file;
    QTemporaryDir directory;
};

using Act = std::function<void(Bench &)>;

/// A picture under work as plain as it can be: layers of bytes, what is selected, and all states.
struct PlainCanvas {
    struct State {
        QVector<QImage> layers;
        int current = 0;
        QPoint origin;
    };

    explicit PlainCanvas(const QImage &image)
    {
        now.layers = {image};
        mask.fill(true, image.width() * image.height());
    }
    void change(const std::function<void()> &edit)
    {
        before.append(now);
        after.clear();
        edit();
    }
    void each(const std::function<QImage(const QImage &)> &edit)
    {
        for (QImage &layer : now.layers)
            layer = edit(layer);
    }
    QSize size() const { return now.layers.first().size(); }
    bool canPaint(int x, int y) const { return !active || mask[y * size().width() + x]; }
    /// What shows: colours with alpha 0 let through what is below.
    QByteArray flat(const QVector<QRgb> &table) const
    {
        QByteArray bytes(size().width() * size().height(), '\0');
        for (int i = now.layers.size() - 1; i >= 0; --i) {
            const QByteArray layer = bytesOf(now.layers[i]);
            for (int at = 0; at < bytes.size(); ++at) {
                if (qAlpha(table[uchar(layer[at])]) > 0)
                    bytes[at] = layer[at];
            }
        }
        return bytes;
    }

    State now;
    QVector<State> before, after;
    QVector<bool> mask;
    bool active = false;
};

} // namespace

Q_DECLARE_METATYPE(Act)

class tst_SpriteEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void declaresItsCommands();
    void drawsWithTheMouseAndSaves_data();
    void drawsWithTheMouseAndSaves();
    void keepsIndexesAndPaletteOfAnotherTool();
    void followsThePlainCanvas_data();
    void followsThePlainCanvas();
    void asksAtEveryWayOut_data();
    void asksAtEveryWayOut();
    void changesTheWholePicture_data();
    void changesTheWholePicture();
    void asksForThePalette_data();
    void asksForThePalette();
    void addsFiles_data();
    void addsFiles();
    void stopsReading_data();
    void stopsReading();
    void exportsPictures();
    void copiesAndPastes_data();
    void copiesAndPastes();
    void movesLayers();
    void survives_data();
    void survives();
    void importsFromAProject_data();
    void importsFromAProject();
    void findsAndReplaces_data();
    void findsAndReplaces();
};

void tst_SpriteEditor::declaresItsCommands()
{
    const QStringList keys =
        QString("add delete duplicate openimg saveimg saveimgas resize crop "
                "split_channels layer_add layer_delete layer_duplicate "
                "layer_mergevis layer_mergeall view_original image_properties "
                "select_all select_none select_invert image_rotate image_fliph "
                "image_flipv import_proj frame_spr prev next new")
            .split(' ');
    const QStringList texts =
        QString("Add,Delete,Duplicate,Change image...,Save image changes,Save image...,Resize,"
                "Crop image,Split channels,Add,Delete,Duplicate,Merge visible,Merge all,Original,"
                "Properties,All,Deselect,Invert,Rotate,Flip horizontally,Flip vertically,Import "
                "from another project...,Switch to the frame's sprite,Previous sprite,Next sprite")
            .split(',');
    Bench bench;
    QStringList declared;
    const QList<QAction *> actions = bench.host.mainWindow()->findChildren<QAction *>(
        QRegularExpression("^spr_(?!tool_)"), Qt::FindDirectChildrenOnly);
    for (const QAction *action : actions)
        declared << action->objectName().mid(4);
    QCOMPARE(declared, keys);
    for (int i = 0; i < texts.size(); ++i)
        QCOMPARE(actions[i]->text(), texts[i]);
    QVERIFY(!actions[0]->isEnabled() && !actions[1]->isEnabled());
    bench.editor->setCurrentFile(bench.file.get());
    QVERIFY(actions[0]->isEnabled() && !actions[1]->isEnabled() && !actions[9]->isEnabled());
    bench.show({somePicture({5, 4})});
    QVERIFY(actions[1]->isEnabled() && actions[10]->isEnabled());
    bench.trigger("spr_layer_delete");
    QVERIFY(actions[1]->isEnabled() && !actions[10]->isEnabled());
    bench.editor->deactivate();
    QVERIFY(!actions[0]->isEnabled() && !actions[1]->isEnabled());
    // Every tool has a key of its own, which counts in the view.
    bench.editor->activate();
    QSet<QKeySequence> toolKeys;
    for (const QString key : {"canvasmove", "selmove", "rectsel", "freesel", "picker", "pen",
                              "eraser", "remap_pen", "paintbucket"}) {
        QAction *tool = bench.action(("spr_tool_" + key).toLatin1());
        toolKeys.insert(tool->shortcut());
        QVERIFY(tool->toolTip().contains('(' + tool->shortcut().toString() + ')'));
        bench.view()->setFocus();
        QTest::keyClicks(bench.view(), tool->shortcut().toString().toLower());
        QVERIFY2(tool->isChecked(), qPrintable(key));
        QCOMPARE(bench.renderer().activePosition(), toolKeys.size() - 1);
        QVERIFY(!bench.host.statusTexts.value(Interface::GuidesField).isEmpty());
    }
    QCOMPARE(toolKeys.size(), 9);
}

void tst_SpriteEditor::drawsWithTheMouseAndSaves_data()
{
    columns<bool>("withPanel");
    addRow("with the panel of palettes", true);
    addRow("with a grid of its own", false);
}

void tst_SpriteEditor::drawsWithTheMouseAndSaves()
{
    const auto [withPanel] = row<bool>();
    Bench bench(withPanel);
    bench.show({somePicture({12, 9}), somePicture({3, 3})});
    QImage wanted = bench.sprite();
    bench.trigger("spr_tool_pen");
    bench.setColor(40, 41);
    bench.drag({2, 3}, {7, 3});
    bench.click({1, 1}, Qt::RightButton);
    for (int x = 2; x <= 7; ++x)
        wanted.setPixel(x, 3, 40);
    wanted.setPixel(1, 1, 41);
    QVERIFY(!bench.canvas().undoStack.isClean());
    QCOMPARE(bench.canvas().flatten(), wanted);
    QVERIFY(bench.sprite() != wanted);
    bench.mouse(QEvent::MouseMove, {5, 3}, Qt::NoButton);
    const QRgb color = someColors()[40];
    QCOMPARE(bench.host.statusTexts.value(Interface::PositionField),
             QString("X: 5, Y: 3  Color 40: %1, %2, %3, 255")
                 .arg(qRed(color))
                 .arg(qGreen(color))
                 .arg(qBlue(color)));
    bench.trigger("spr_saveimg");
    QCOMPARE(bench.sprite(), wanted);
    QVERIFY(bench.file->isModified());
    QVERIFY(bench.canvas().undoStack.isClean() && bench.canvas().undoStack.count() == 0);
    // The canvas's steps are gone, and undo is the file's: the old picture is back and shown.
    bench.editor->undo();
    QCOMPARE(bench.canvas().flatten(), somePicture({12, 9}));
    bench.editor->redo();
    QCOMPARE(bench.canvas().flatten(), wanted);
    bench.trigger("spr_next");
    bench.trigger("spr_next");
    QCOMPARE(bench.editor->currentSprite(), bench.file->at(1));
    bench.trigger("spr_prev");
    QCOMPARE(bench.editor->currentSprite(), bench.file->at(0));
    QCOMPARE(bench.host.dialogs().finish(), QString());
}

void tst_SpriteEditor::keepsIndexesAndPaletteOfAnotherTool()
{
    const QString convert = convertProgram();
    QVERIFY2(!convert.isEmpty(), "needs the package imagemagick");
    Bench bench;
    const QString in = bench.directory.filePath("in.png");
    const QString recipe = "-size 24x16 plasma:red-blue -alpha set -region 6x5+3+2 -channel A "
                           "-evaluate set 0 +channel +region -colors 60 PNG8:";
    QCOMPARE(QProcess::execute(convert, (recipe + in).split(' ')), 0);
    const PlainPng before(readFile(in));
    QCOMPARE(before.indexes.size(), 24 * 16);
    bench.editor->setCurrentFile(bench.file.get());
    bench.host.dialogs().expectFiles({in});
    bench.expectAccept();
    bench.trigger("spr_add");
    QCOMPARE(bench.names(), QStringList("in"));

    bench.renderer().setOffset({4, 4});
    bench.renderer().setZoom(8);
    bench.renderer().setOffset({4, 4});
    bench.trigger("spr_tool_pen");
    bench.setColor(9);
    bench.click({20, 12});
    QByteArray indexes = before.indexes;
    indexes[12 * 24 + 20] = 9;
    bench.trigger("spr_saveimg");
    const QString saved = bench.directory.filePath("saved.gleam");
    bench.file->toFile(FileSystemArchive::instance(), saved, false);
    const SpritesPointer again = Bench::make();
    QVERIFY(again->fromFile(FileSystemArchive::instance(), saved, false));
    bench.editor->setCurrentFile(again.get());
    const QString out = bench.directory.filePath("out.png");
    bench.expectAccept();
    bench.host.dialogs().expectFiles({out});
    bench.trigger("spr_saveimgas");
    QCOMPARE(bench.host.dialogs().finish(), QString());

    const PlainPng after(readFile(out));
    QCOMPARE(after.indexes, indexes);
    QCOMPARE(after.colors.left(before.colors.size()), before.colors);
    const auto alphaAt = [](const PlainPng &png, int index) {
        return index < png.alpha.size() ? uchar(png.alpha[index]) : uchar(255);
    };
    bool anyClear = false;
    for (int i = 0; i < before.colors.size() / 3; ++i) {
        QCOMPARE(alphaAt(after, i), alphaAt(before, i));
        anyClear |= alphaAt(before, i) == 0;
    }
    QVERIFY(anyClear);
    bench.editor->setCurrentFile(nullptr);
}

void tst_SpriteEditor::followsThePlainCanvas_data()
{
    columns<unsigned int>("seed");
    for (unsigned int seed = 1; seed <= 6; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

/// A user at random, beside the plain canvas: commands, drawing, the clipboard, undo and redo.
void tst_SpriteEditor::followsThePlainCanvas()
{
    const auto [seed] = row<unsigned int>();
    std::mt19937 random(seed);
    const auto below = [&random](int limit) { return int(random() % unsigned(limit)); };
    Bench bench;
    bench.show({somePicture({11, 7}, seed)});
    bench.file->at(0)->setProperty("Origin", QPoint(5, 3));
    const QVector<QRgb> table = someColors();
    PlainCanvas plain(bench.sprite());
    plain.now.origin = {5, 3};
    bench.trigger("spr_tool_pen");
    QVector<QByteArray> states;
    const auto check = [&] {
        QCOMPARE(bench.canvas().layers.rowCount(), plain.now.layers.size());
        QCOMPARE(bytesOf(bench.canvas().flatten()), plain.flat(table));
        QCOMPARE(bench.file->at(0)->origin(), plain.now.origin);
    };
    for (int step = 0; step < 220; ++step) {
        const QSize size = plain.size();
        const auto current = [&]() -> QImage & { return plain.now.layers[plain.now.current]; };
        switch (below(11)) {
        case 0:
            bench.trigger("spr_image_fliph");
            plain.change([&] {
                plain.each([](const QImage &layer) { return layer.mirrored(true, false); });
                plain.now.origin.setX(size.width() - plain.now.origin.x() - 1);
            });
            break;
        case 1:
            bench.trigger("spr_image_flipv");
            plain.change([&] {
                plain.each([](const QImage &layer) { return layer.mirrored(false, true); });
                plain.now.origin.setY(size.height() - plain.now.origin.y() - 1);
            });
            break;
        case 2:
            if (plain.now.layers.size() > 3)
                break;
            bench.trigger("spr_layer_add");
            plain.change([&] {
                QImage clear(size, QImage::Format_Indexed8);
                clear.setColorTable(table);
                clear.fill(0);
                plain.now.layers.prepend(clear);
                plain.now.current = 0;
            });
            break;
        case 3:
            if (plain.now.layers.size() < 2 || plain.now.current > 0)
                break;
            bench.trigger("spr_layer_delete");
            plain.change([&] { plain.now.layers.removeFirst(); });
            break;
        case 4:
            if (plain.now.layers.size() > 3)
                break;
            bench.trigger("spr_layer_duplicate");
            plain.change([&] { plain.now.layers.insert(plain.now.current, QImage(current())); });
            break;
        case 5:
            bench.trigger("spr_layer_mergeall");
            plain.change([&] {
                const QByteArray flat = plain.flat(table);
                QImage merged = current();
                for (int i = 0; i < flat.size(); ++i)
                    merged.setPixel(i % size.width(), i / size.width(), uchar(flat[i]));
                plain.now.layers = {merged};
                plain.now.current = 0;
            });
            break;
        case 6: {
            const QPoint from(below(size.width()), below(size.height()));
            const QPoint to(below(size.width()), below(size.height()));
            bench.trigger("spr_tool_rectsel");
            bench.drag(from, to);
            bench.trigger("spr_tool_pen");
            const QRect chosen(QPoint(qMin(from.x(), to.x()), qMin(from.y(), to.y())),
                               QPoint(qMax(from.x(), to.x()) - 1, qMax(from.y(), to.y()) - 1));
            const bool all = from.x() == to.x() || from.y() == to.y();
            for (int i = 0; i < plain.mask.size(); ++i)
                plain.mask[i] = all || chosen.contains(i % size.width(), i / size.width());
            plain.active = true;
            break;
        }
        case 7:
            bench.trigger(below(2) ? "spr_select_none" : "spr_select_invert");
            if (bench.canvas().selection.active) {
                for (bool &selected : plain.mask)
                    selected = !plain.active || !selected;
                plain.active = true;
            } else {
                plain.active = false;
                plain.mask.fill(true);
            }
            break;
        case 8:
            bench.setColor(below(256), 0);
            bench.editor->cut();
            plain.change([&] {
                for (int i = 0; i < plain.mask.size(); ++i) {
                    if (plain.canPaint(i % size.width(), i / size.width()))
                        current().setPixel(i % size.width(), i / size.width(), 0);
                }
            });
            break;
        case 9: {
            const int count = below(5);
            for (int i = 0; i < count && !plain.before.isEmpty(); ++i) {
                bench.editor->undo();
                plain.after.append(plain.now);
                plain.now = plain.before.takeLast();
            }
            for (int i = below(3); i > 0 && !plain.after.isEmpty(); --i) {
                bench.editor->redo();
                plain.before.append(plain.now);
                plain.now = plain.after.takeLast();
            }
            plain.now.current = bench.canvas().layers.indexOf(bench.renderer().currentLayer());
            break;
        }
        default: {
            const QPoint at(below(size.width()), below(size.height()));
            const int color = below(256);
            bench.setColor(color);
            bench.click(at);
            plain.change([&] {
                if (plain.canPaint(at.x(), at.y()))
                    current().setPixel(at, uint(color));
            });
        }
        }
        check();
        if (QTest::currentTestFailed())
            return;
    }
    while (!plain.before.isEmpty()) {
        bench.editor->undo();
        plain.after.append(plain.now);
        plain.now = plain.before.takeLast();
        check();
    }
    QVERIFY(bench.canvas().undoStack.isClean());
    while (!plain.after.isEmpty()) {
        bench.editor->redo();
        plain.before.append(plain.now);
        plain.now = plain.after.takeLast();
    }
    check();
    QVERIFY(!bench.canvas().undoStack.canRedo());
}

void tst_SpriteEditor::asksAtEveryWayOut_data()
{
    columns<Act, bool, bool>("way", "yes", "kept");
    const Act next = [](Bench &bench) { bench.trigger("spr_next"); };
    const Act slider = [](Bench &bench) {
        static_cast<QSlider *>(bench.host.control("spr_sel"))->setValue(1);
    };
    const Act otherFile = [](Bench &bench) {
        const SpritesPointer other = Bench::make();
        bench.editor->setCurrentFile(other.get());
        bench.editor->setCurrentFile(nullptr);
    };
    const Act close = [](Bench &bench) {
        if (bench.editor->canDiscard(bench.file.get()))
            bench.editor->setCurrentFile(nullptr);
    };
    const Act engine = [](Bench &bench) { bench.editor->engineSwitched(false); };
    const Act reload = [](Bench &bench) {
        bench.file->fromFile(FileSystemArchive::instance(), bench.directory.filePath("kept.gleam"),
                             false);
        QCoreApplication::processEvents();
    };
    // "Kept" is what the canvas or the sprite has of the drawing in the end.
    addRow("next sprite, yes", next, true, false);
    addRow("next sprite, no", next, false, true);
    addRow("slider, yes", slider, true, false);
    addRow("slider, no", slider, false, true);
    addRow("another file, yes", otherFile, true, false);
    addRow("another file, no", otherFile, false, true);
    addRow("close, yes", close, true, false);
    addRow("close, no", close, false, true);
    addRow("engine switch, yes", engine, true, false);
    addRow("engine switch, no", engine, false, true);
    addRow("reload, yes", reload, true, false);
    addRow("reload, no", reload, false, true);
}

void tst_SpriteEditor::asksAtEveryWayOut()
{
    const auto [way, yes, kept] = row<Act, bool, bool>();
    Bench bench;
    bench.show({somePicture({8, 8}, 1), somePicture({8, 8}, 2)});
    bench.file->toFile(FileSystemArchive::instance(), bench.directory.filePath("kept.gleam"),
                       false);
    bench.setColor(77);
    bench.trigger("spr_tool_pen");
    bench.click({4, 4});
    QImage drawn = somePicture({8, 8}, 1);
    drawn.setPixel(4, 4, 77);
    bench.host.dialogs().expectBox(yes ? QMessageBox::Yes : QMessageBox::No);
    way(bench);
    QCOMPARE(bench.host.dialogs().finish(), QString());
    QCOMPARE(bench.host.dialogs().seen().size(), 1);
    QCOMPARE(bench.host.dialogs().seen()[0].title, QString("Discard changes?"));
    QCOMPARE(bench.host.dialogs().seen()[0].text,
             QString("Do you want to discard the changes made in the current sprite?"));
    QCOMPARE(bench.host.dialogs().seen()[0].defaultButton, QMessageBox::No);
    const bool onCanvas = bench.editor->currentSprite() == bench.file->at(0) &&
                          bytesOf(bench.canvas().flatten()) == bytesOf(drawn);
    const bool inSprite = bytesOf(bench.sprite()) == bytesOf(drawn);
    QCOMPARE(onCanvas || inSprite, kept);
    QVERIFY(!yes || !bench.editor->isModified());
}

void tst_SpriteEditor::changesTheWholePicture_data()
{
    columns<QByteArray, QVariantMap, QSize, QPoint>("command", "fields", "size", "origin");
    addRow("properties, larger", QByteArray("spr_image_properties"),
           QVariantMap{{"width", 26}, {"height", 13}}, QSize(26, 13), QPoint(7, 3));
    addRow("properties, smaller", QByteArray("spr_image_properties"),
           QVariantMap{{"width", 17}, {"height", 3}}, QSize(17, 3), QPoint(3, -1));
    addRow("properties, format", QByteArray("spr_image_properties"), QVariantMap{{"format", 0}},
           QSize(20, 10), QPoint(4, 2));
    addRow("resize", QByteArray("spr_resize"),
           QVariantMap{{"keep", false}, {"width", 35}, {"height", 40}, {"filter", 2}},
           QSize(35, 40), QPoint(7, 8));
    addRow("resize in proportion", QByteArray("spr_resize"), QVariantMap{{"width", 60}},
           QSize(60, 30), QPoint(12, 6));
    addRow("rotate", QByteArray("spr_image_rotate"), QVariantMap{{"degrees", 90.0}}, QSize(10, 20),
           QPoint(4, 2));
    addRow("flip horizontally", QByteArray("spr_image_fliph"), QVariantMap(), QSize(20, 10),
           QPoint(15, 2));
    addRow("flip vertically", QByteArray("spr_image_flipv"), QVariantMap(), QSize(20, 10),
           QPoint(4, 7));
    addRow("crop", QByteArray("spr_crop"), QVariantMap(), QSize(6, 4), QPoint(-3, -1));
}

void tst_SpriteEditor::changesTheWholePicture()
{
    const auto [command, fields, size, origin] = row<QByteArray, QVariantMap, QSize, QPoint>();
    QImage picture(20, 10, QImage::Format_Indexed8);
    picture.setColorTable(someColors());
    picture.fill(0);
    for (int y = 3; y < 7; ++y) {
        for (int x = 7; x < 13; ++x)
            picture.setPixel(x, y, uint(10 * y + x));
    }
    Bench bench;
    bench.insert("sprite", picture);
    bench.file->at(0)->setProperty("Origin", QPoint(4, 2));
    bench.show({});
    if (!fields.isEmpty())
        bench.expectFields(fields);
    bench.trigger(command.constData());
    QCOMPARE(bench.host.dialogs().finish(), QString());
    QCOMPARE(bench.canvas().size, size);
    QCOMPARE(bench.file->at(0)->origin(), origin);
    QCOMPARE(bench.canvas().undoStack.index(), 1);
    QVERIFY(!bench.canvas().selection.rect.isValid());
    if (command == "spr_crop")
        QCOMPARE(bytesOf(bench.canvas().flatten()), bytesOf(picture.copy(7, 3, 6, 4)));
    bench.editor->undo();
    QCOMPARE(bench.canvas().flatten(), picture);
    QCOMPARE(bench.file->at(0)->origin(), QPoint(4, 2));
    bench.editor->redo();
    QCOMPARE(bench.canvas().size, size);
    QCOMPARE(bench.file->at(0)->origin(), origin);
    bench.trigger("spr_saveimg");
    QCOMPARE(bench.sprite().size(), size);
}

void tst_SpriteEditor::asksForThePalette_data()
{
    columns<int, int, bool>("colors", "mode", "asked");
    addRow("all 256 equal", 256, 0, false);
    addRow("a shorter table", 255, 1, true);
    addRow("two entries", -2, 2, true);
    addRow("same indexes", -256, 3, true);
    addRow("cancelled", -256, 0, true);
}

void tst_SpriteEditor::asksForThePalette()
{
    const auto [colors, mode, asked] = row<int, int, bool>();
    Bench bench;
    bench.show({somePicture({6, 6})});
    const QByteArray path = bench.directory.filePath("new.png").toUtf8();
    QImage picture = somePicture({9, 5}, 8, qAbs(colors));
    if (colors < 0)
        picture.setColorTable(someColors(99).mid(0, -colors)); // as many, others
    QVERIFY(picture.save(path));
    bench.host.dialogs().expectFiles({path});
    bench.host.dialogs().expectBox(QMessageBox::No);
    if (asked && mode > 0)
        bench.expectFields({{"palette_modes", mode - 1}});
    else if (asked)
        bench.host.dialogs().expectDialog([](QDialog *dialog) { dialog->reject(); });
    Palette *before = bench.file->at(0)->palette();
    bench.trigger("spr_openimg");
    QCOMPARE(bench.host.dialogs().finish(), QString());
    QCOMPARE(bench.sprite().size(), picture.size());
    const bool keepsPalette = !asked || mode > 1;
    QCOMPARE(bench.file->at(0)->palette() == before, keepsPalette);
    QCOMPARE(bytesOf(bench.sprite()) == bytesOf(picture), mode != 2);
    QCOMPARE(bytesOf(bench.canvas().flatten()), bytesOf(bench.sprite()));
    QCOMPARE(bench.host.dialogs().seen()[1].title, QString("Crop image"));
    QCOMPARE(bench.host.options.value("spr_path").toString(), bench.directory.path());
}

void tst_SpriteEditor::addsFiles_data()
{
    columns<int, QList<int>, int>("count", "bad", "mode");
    addRow("one", 1, QList<int>(), 1);
    addRow("three, one bad", 3, QList<int>{1}, 1);
    addRow("two bad ones, forced palette", 5, QList<int>{0, 4}, 2);
    addRow("all bad", 2, QList<int>{0, 1}, 1);
    addRow("many", 120, QList<int>{17}, 1);
}

void tst_SpriteEditor::addsFiles()
{
    const auto [count, bad, mode] = row<int, QList<int>, int>();
    Bench bench;
    bench.show({somePicture({4, 4}), somePicture({4, 4}, 5)});
    QStringList files, names{"sprite 0"};
    for (int i = 0; i < count; ++i) {
        files << bench.directory.filePath(QString("p%1.png").arg(i, 3, 10, QChar('0')));
        const bool isBad = bad.contains(i);
        if (isBad)
            writeFile(files[i], "no picture");
        else
            QVERIFY(somePicture({3 + i % 4, 4}, unsigned(i + 20)).save(files[i]));
        if (!isBad)
            names << QFileInfo(files[i]).baseName();
    }
    names << "sprite 1";
    bench.host.dialogs().expectFiles(files);
    bench.expectFields({{"palette_modes", mode - 1}});
    for (int i = 0; i < bad.size(); ++i)
        bench.host.dialogs().expectBox(QMessageBox::Ok);
    bench.trigger("spr_add");
    QCOMPARE(bench.host.dialogs().finish(), QString());
    QCOMPARE(bench.names(), names);
    for (int i = 1; i + 1 < names.size() && mode == 1; ++i) {
        const QImage original(bench.directory.filePath(names[i] + ".png"));
        QCOMPARE(bytesOf(bench.sprite(unsigned(i))), bytesOf(original));
    }
    QCOMPARE(bench.editor->currentSprite(), bench.file->at(unsigned(names.size() - 2)));
    QCOMPARE(bench.host.progresses.value(0)->finished, 1);
    bench.editor->undo();
    QCOMPARE(bench.names(),
             count == bad.size() ? QStringList("sprite 0") : QStringList({"sprite 0", "sprite 1"}));
}

void tst_SpriteEditor::stopsReading_data()
{
    columns<Act>("during");
    addRow("the user cancels", Act([](Bench &) {}));
    addRow("the file is closed", Act([](Bench &bench) {
               bench.editor->setCurrentFile(nullptr);
               bench.file.reset();
           }));
    addRow("the editor is destroyed", Act([](Bench &bench) {
               bench.editor->setCurrentFile(nullptr);
               bench.host.activeEditor = nullptr;
               bench.editor.reset();
           }));
}

void tst_SpriteEditor::stopsReading()
{
    const auto [during] = row<Act>();
    Bench bench;
    bench.show({somePicture({4, 4})});
    QStringList files;
    for (int i = 0; i < 40; ++i) {
        files << bench.directory.filePath(QString("%1.png").arg(i));
        QVERIFY(somePicture({200, 200}, unsigned(i)).save(files[i]));
    }
    bench.host.dialogs().expectFiles(files);
    bench.expectAccept();
    bench.host.cancelAt = QString(QTest::currentDataTag()) == "the user cancels" ? 1 : 0;
    bench.host.duringProgress = [&bench, during = during] { during(bench); };
    bench.trigger("spr_add");
    QCOMPARE(bench.host.dialogs().finish(), QString());
    QCOMPARE(bench.host.progresses.last()->finished, 1);
    if (bench.file) {
        QCOMPARE(bench.names(), QStringList("sprite 0"));
        QVERIFY(!bench.file->isModified() || bench.file->itemCount() == 1);
    }
}

void tst_SpriteEditor::exportsPictures()
{
    Bench bench;
    bench.show({somePicture({7, 5}, 1), somePicture({6, 5}, 2), somePicture({5, 5}, 3)});
    bench.file->at(2)->setProperty("Identifier", "a/b");
    bench.trigger("spr_tool_pen");
    bench.setColor(33);
    bench.click({1, 1}); // what is drawn is exported, too
    const auto selectAll = [&bench] {
        bench.host.dialogs().expectDialog([](QDialog *dialog) {
            dialog->findChild<QListView *>("items")->selectAll();
            dialog->accept();
        });
    };
    const auto path = [&bench](const char *name) { return bench.directory.filePath(name); };
    selectAll();
    bench.host.dialogs().expectFiles({path("set.png")});
    bench.trigger("spr_saveimgas");
    QCOMPARE(bench.host.dialogs().finish(), QString());
    QCOMPARE(PlainPng(readFile(path("set_sprite 1.png"))).indexes, bytesOf(bench.sprite(1)));
    QCOMPARE(PlainPng(readFile(path("set_sprite 0.png"))).indexes,
             bytesOf(bench.canvas().flatten()));
    QCOMPARE(PlainPng(readFile(path("set_a_b.png"))).indexes, bytesOf(bench.sprite(2)));

    // A full disk: a message with all names, and the old files as they were.
    const QByteArray before = readFile(path("set_sprite 1.png"));
    selectAll();
    bench.host.dialogs().expectFiles({path("set.png")});
    bench.host.dialogs().expectBox(QMessageBox::Yes); // they exist
    bench.host.dialogs().expectDialog([](QDialog *dialog) {
        const QString text = qobject_cast<QMessageBox *>(dialog)->text();
        QVERIFY(text.contains("set_sprite 0.png") && text.contains("set_a_b.png"));
        dialog->accept();
    });
    {
        const FullDisk full(64);
        bench.trigger("spr_saveimgas");
    }
    QCOMPARE(bench.host.dialogs().finish(), QString());
    QCOMPARE(readFile(path("set_sprite 1.png")), before);
}

void tst_SpriteEditor::copiesAndPastes_data()
{
    columns<Act, QSize, int, bool>("clip", "size", "layers", "sameIndexes");
    const auto set = [](const QImage &image) {
        return [image](Bench &) { QApplication::clipboard()->setImage(image); };
    };
    addRow("the layer itself", Act([](Bench &bench) { bench.editor->copy(); }), QSize(8, 6), 2,
           true);
    addRow("larger, same colours", Act(set(somePicture({12, 3}, 9))), QSize(12, 6), 2, true);
    addRow("smaller, two colours", Act(set(somePicture({2, 2}, 9, 2))), QSize(8, 6), 2, true);
    QImage other = somePicture({8, 6}, 9);
    other.setColorTable(someColors(55));
    addRow("other colours", Act(set(other)), QSize(8, 6), 2, false);
    addRow("true colour", Act(set(somePicture({8, 6}, 9).convertToFormat(QImage::Format_ARGB32))),
           QSize(8, 6), 2, false);
    addRow("one pixel", Act(set(somePicture({1, 1}, 9))), QSize(8, 6), 2, true);
    addRow("text", Act([](Bench &) { QApplication::clipboard()->setText("no picture"); }),
           QSize(8, 6), 1, false);
    addRow("a null picture", Act(set(QImage())), QSize(8, 6), 1, false);
}

void tst_SpriteEditor::copiesAndPastes()
{
    const auto [clip, size, layers, sameIndexes] = row<Act, QSize, int, bool>();
    Bench bench;
    bench.show({somePicture({8, 6}, 1)});
    const QImage before = bench.sprite();
    clip(bench);
    const QImage clipped = QApplication::clipboard()->image();
    bench.editor->paste();
    QCOMPARE(bench.canvas().size, size);
    QCOMPARE(bench.canvas().layers.rowCount(), layers);
    if (layers == 2) {
        const auto *top = dynamic_cast<RasterLayer *>(bench.canvas().layers.at(0));
        QCOMPARE(top->name, QString("Layer 2"));
        QImage pasted = top->image.copy(QRect(QPoint(), clipped.size()));
        if (sameIndexes) {
            QCOMPARE(bytesOf(pasted), bytesOf(clipped));
        } else { // each pixel has the nearest colour
            const QVector<QRgb> table = someColors();
            const QRgb wanted = clipped.pixel(3, 2);
            const auto distance = [wanted](QRgb color) {
                const int r = qRed(color) - qRed(wanted), g = qGreen(color) - qGreen(wanted);
                const int b = qBlue(color) - qBlue(wanted), a = qAlpha(color) - qAlpha(wanted);
                return (r * r + g * g + b * b) * qAlpha(wanted) / 255 + a * a;
            };
            int nearest = 0;
            for (int i = 1; i < 256; ++i)
                nearest = distance(table[i]) < distance(table[nearest]) ? i : nearest;
            QCOMPARE(int(pasted.constScanLine(2)[3]), nearest);
        }
        QCOMPARE(bench.canvas().undoStack.index(), 1);
        bench.editor->undo();
    }
    QCOMPARE(bench.canvas().flatten(), before);
}

void tst_SpriteEditor::movesLayers()
{
    Bench bench;
    bench.show({somePicture({8, 6}, 1)});
    bench.trigger("spr_layer_add");
    bench.trigger("spr_layer_duplicate");
    const auto order = [&bench] {
        QStringList list;
        for (const ImageLayer *layer : qAsConst(bench.canvas().layers.list))
            list << layer->name;
        return list.join(", ");
    };
    QCOMPARE(order(), QString("Layer 2 copy, Layer 2, sprite 0"));
    auto *list = qobject_cast<QListView *>(bench.host.control("spr_layers_list"));
    list->resize(200, 200);
    list->show();
    const auto place = [list](int row) {
        return list->visualRect(list->model()->index(row, 0)).center();
    };
    const auto send = [list](QEvent::Type type, QPoint at, Qt::MouseButtons held) {
        QMouseEvent event(type, at, type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, held,
                          {});
        QApplication::sendEvent(list->viewport(), &event);
    };
    const auto startDrag = [&] {
        send(QEvent::MouseButtonPress, place(2), Qt::LeftButton);
        send(QEvent::MouseMove, place(0), Qt::LeftButton);
        send(QEvent::MouseMove, place(0) - QPoint(0, 6), Qt::LeftButton);
    };
    startDrag();
    send(QEvent::MouseButtonRelease, place(0) - QPoint(0, 6), Qt::NoButton);
    QCOMPARE(order(), QString("sprite 0, Layer 2 copy, Layer 2"));
    bench.editor->undo();
    QCOMPARE(order(), QString("Layer 2 copy, Layer 2, sprite 0"));
    list->setCurrentIndex(list->model()->index(0, 0));
    QTest::keyClick(list, Qt::Key_Down, Qt::AltModifier);
    QCOMPARE(order(), QString("Layer 2, Layer 2 copy, sprite 0"));
    QCOMPARE(bench.renderer().currentLayer()->name, QString("Layer 2 copy"));
    // A layer that goes while it is dragged takes the drag with it.
    startDrag();
    bench.canvas().layers.removeLayer(2, true);
    send(QEvent::MouseButtonRelease, place(0) - QPoint(0, 6), Qt::NoButton);
    QCOMPARE(order(), QString("Layer 2, Layer 2 copy"));
    // Fields follow the current layer and its undo.
    auto *opacity = qobject_cast<QSpinBox *>(bench.host.control("spr_layers_opacity"));
    auto *blending = qobject_cast<QComboBox *>(bench.host.control("spr_layers_blendmode"));
    opacity->setValue(40);
    blending->setFocus();
    QTest::keyClick(blending, Qt::Key_Down);
    QTest::keyClick(blending, Qt::Key_Down);
    QCOMPARE(bench.renderer().currentLayer()->opacity, 0.4);
    QCOMPARE(bench.renderer().currentLayer()->blendMode, int(QPainter::CompositionMode_Multiply));
    bench.editor->undo();
    QCOMPARE(blending->currentText(), QString("Add"));
    bench.editor->undo();
    bench.editor->undo();
    QCOMPARE(opacity->value(), 100);
}

void tst_SpriteEditor::survives_data()
{
    columns<Act>("act");
    const auto closeIn = [](Bench &bench) {
        bench.host.dialogs().expectDialog([&bench](QDialog *dialog) {
            bench.editor->setCurrentFile(nullptr);
            bench.file.reset();
            dialog->accept();
        });
    };
    for (const char *command : {"spr_image_properties", "spr_resize", "spr_image_rotate",
                                "spr_delete", "spr_new", "spr_saveimgas"})
        addRow(QByteArray("file closed under ") + command, Act([closeIn, command](Bench &bench) {
                   closeIn(bench);
                   bench.trigger(command);
               }));
    addRow("file closed under the palette's choice", Act([closeIn](Bench &bench) {
               closeIn(bench);
               bench.editor->setSpriteImage(somePicture({5, 5}, 4, 9));
           }));
    addRow("a file that vanishes", Act([](Bench &bench) {
               const QString path = bench.directory.filePath("gone.png");
               writeFile(path);
               bench.click({2, 2}); // there is something to ask about
               bench.host.dialogs().expectFiles({path});
               bench.host.dialogs().expectDialog([path](QDialog *dialog) {
                   QFile::remove(path);
                   qobject_cast<QMessageBox *>(dialog)->button(QMessageBox::No)->click();
               });
               bench.host.dialogs().expectBox(QMessageBox::Ok);
               bench.trigger("spr_openimg");
           }));
    addRow("one pixel", Act([](Bench &bench) {
               bench.insert("one", somePicture({1, 1}));
               bench.trigger("spr_next");
               for (const char *command : {"spr_crop", "spr_image_fliph", "spr_split_channels",
                                           "spr_layer_mergeall", "spr_select_invert"})
                   bench.trigger(command);
               bench.editor->cut();
               bench.trigger("spr_saveimg");
               QCOMPARE(bench.sprite(1).size(), QSize(1, 1));
               QCOMPARE(bench.file->itemCount(), 5U);
           }));
    addRow("a huge picture", Act([](Bench &bench) {
               QImage huge(16384, 600, QImage::Format_Indexed8);
               huge.setColorTable(someColors());
               huge.fill(5);
               bench.insert("huge", huge);
               bench.trigger("spr_next");
               bench.expectFields({{"degrees", 180.0}});
               bench.trigger("spr_image_rotate");
               bench.editor->undo();
               QCOMPARE(bench.canvas().size, huge.size());
           }));
    addRow("no layer", Act([](Bench &bench) {
               bench.trigger("spr_layer_delete");
               bench.editor->copy();
               bench.editor->cut();
               bench.click({2, 2});
               bench.trigger("spr_crop");
               bench.editor->undo();
               QCOMPARE(bench.canvas().layers.rowCount(), 1);
           }));
    addRow("a stroke that a deletion cuts off", Act([](Bench &bench) {
               bench.mouse(QEvent::MouseButtonPress, {2, 2});
               bench.trigger("spr_layer_delete");
               bench.mouse(QEvent::MouseMove, {4, 4});
               bench.mouse(QEvent::MouseButtonRelease, {4, 4});
           }));
    addRow("the current sprite is removed elsewhere", Act([](Bench &bench) {
               bench.insert("other", somePicture({3, 2}));
               bench.file->remove(0);
               QCOMPARE(bench.editor->currentSprite(), bench.file->at(0));
               QCOMPARE(bench.canvas().size, QSize(3, 2));
               bench.file->remove(0);
               QVERIFY(!bench.editor->currentSprite());
               bench.editor->undo();
               QCOMPARE(bench.canvas().size, QSize(3, 2));
           }));
    addRow("a first sprite in an empty file", Act([](Bench &bench) {
               bench.file->remove(0);
               bench.expectFields({{"format", 1}, {"width", 9}, {"height", 7}});
               bench.trigger("spr_new");
               bench.renderer().setZoom(8);
               bench.renderer().setOffset({4, 4});
               bench.setColor(12);
               bench.click({3, 3});
               bench.trigger("spr_saveimg");
               QCOMPARE(bench.sprite().pixelIndex(3, 3), 12);
               QCOMPARE(bench.sprite().size(), QSize(9, 7));
           }));
}

void tst_SpriteEditor::survives()
{
    const auto [act] = row<Act>();
    Bench bench;
    bench.show({somePicture({8, 6}, 1)});
    bench.trigger("spr_tool_pen");
    act(bench);
    QCoreApplication::processEvents();
    QCOMPARE(bench.host.dialogs().finish(), QString());
}

void tst_SpriteEditor::importsFromAProject_data()
{
    columns<int, int, int, int>("policy", "answer", "added", "mode");
    addRow("ask, yes", 0, int(QMessageBox::Yes), 1, 0);
    addRow("ask, no", 0, int(QMessageBox::No), 2, 0);
    addRow("replace", 1, 0, 1, 0);
    addRow("replace, in another palette", 1, 0, 1, 2);
    addRow("skip", 2, 0, 1, 0);
    addRow("add anyway", 3, 0, 2, 0);
    addRow("from no project", -1, 0, 0, 0);
}

void tst_SpriteEditor::importsFromAProject()
{
    const auto [policy, answer, added, mode] = row<int, int, int, int>();
    Bench bench;
    bench.host.currentEngine = &EmberEngine::instance();
    copyFolder(KILN_SOURCE_DIR "/examples/hero/", bench.directory.filePath("hero/"));
    EmberParentProject *parent =
        EmberParentProject::open(bench.directory.filePath("hero/"), FileSystemArchive::instance());
    QVERIFY(parent);
    QMap<QString, EmberSprites *> files;
    for (Project *project : parent->openedProjects()) {
        auto *list = dynamic_cast<EmberSprites *>(project->file(Project::FileID::Sprites));
        files.insert(QFileInfo(project->fileName()).baseName(), list);
    }
    EmberSprites *source = files["wren"];
    EmberSprites *target = files["moss"];
    bench.host.projects = parent->openedProjects();
    if (policy < 0)
        bench.host.projects = {target->project()};
    target->at(0)->setProperty("Identifier", source->at(0)->identifier());
    const QImage old = target->at(0)->image();
    const unsigned int before = target->itemCount();
    bench.editor->setCurrentFile(target);
    if (policy < 0)
        bench.host.dialogs().expectBox(QMessageBox::Ok);
    bench.host.dialogs().expectDialog([&, policy = policy, mode = mode](QDialog *dialog) {
        auto *projects = dialog->findChild<QComboBox *>("projects");
        QVERIFY(projects->findText(target->project()->displayName()) < 0);
        if (policy < 0) {
            QCOMPARE(projects->count(), 0);
            dialog->reject();
            return;
        }
        projects->setCurrentIndex(projects->findText(source->project()->displayName()));
        auto *list = dialog->findChild<QListView *>("source");
        for (int i = 0; i < 2; ++i)
            list->selectionModel()->select(list->model()->index(i, 0), QItemSelectionModel::Select);
        dialog->findChild<QPushButton *>("add")->click();
        dialog->findChild<QComboBox *>("mode")->setCurrentIndex(mode);
        dialog->findChild<QRadioButton *>(QString("policy%1").arg(policy))->click();
        dialog->accept();
    });
    if (answer)
        bench.host.dialogs().expectBox(QMessageBox::StandardButton(answer));
    if (policy >= 0)
        bench.host.dialogs().expectBox(QMessageBox::Ok);
    bench.trigger("spr_import_proj");
    QCOMPARE(bench.host.dialogs().finish(), QString());
    const DialogScript::Seen last = bench.host.dialogs().seen().last();
    if (policy >= 0)
        QCOMPARE(last.text, QString("%1 sprite(s) were imported!").arg(added));
    else
        QCOMPARE(bench.host.dialogs().seen()[0].text,
                 QString("You can't import from the destination project!"));
    QCOMPARE(target->itemCount(), before + unsigned(added));
    const bool replaced = policy == 1 || answer == QMessageBox::Yes;
    QCOMPARE(target->at(0)->image() == old, !replaced);
    for (int i = 0; i < added; ++i) {
        const QImage image = target->at(unsigned(i + 1))->image();
        const EmberSprite *original = source->at(unsigned(added == 2 ? i : 1));
        QCOMPARE(target->at(unsigned(i + 1))->identifier(), original->identifier());
        QCOMPARE(bytesOf(image), bytesOf(original->image()));
        QVERIFY(mode > 0 || image.colorTable() == original->image().colorTable());
    }
    bench.editor->setCurrentFile(nullptr);
    parent->close();
}

void tst_SpriteEditor::findsAndReplaces_data()
{
    columns<QString, unsigned int, int>("text", "flags", "found");
    using Flag = Editor::FindFlag;
    addRow("whole name", QString("walk_2"), 0U | Flag::Silent, 2);
    addRow("part of a name", QString("walk"), 0U | Flag::Silent, 0);
    addRow("pattern", QString("^walk_\\d$"), 0U | Flag::RegularExpression, 1);
    addRow("backward around", QString("^walk"),
           0U | Flag::RegularExpression | Flag::Backward | Flag::WrapAround, 3);
    addRow("case", QString("Walk_1"), 0U | Flag::CaseSensitive | Flag::Silent, 0);
    addRow("no case", QString("Walk_1"), 0U, 1);
    addRow("broken pattern", QString("(walk"), 0U | Flag::RegularExpression | Flag::Silent, 0);
}

void tst_SpriteEditor::findsAndReplaces()
{
    const auto [text, flags, found] = row<QString, unsigned int, int>();
    Bench bench;
    for (const char *name : {"stand", "walk_1", "walk_2", "walk_3"})
        bench.insert(name, somePicture({2, 2}));
    bench.show({});
    bench.editor->find(text, flags);
    QCOMPARE(bench.editor->currentSprite(), bench.file->at(unsigned(found)));
    const QStringList before = bench.names();
    bench.editor->setCurrent(0);
    bench.editor->replace(text, "new", flags, true);
    const int replaced = bench.names().count("new");
    QCOMPARE(replaced > 0, found > 0);
    bench.editor->undo();
    QCOMPARE(bench.names(), replaced > 0 ? before : QStringList(before.mid(0, 3)));
}

QTEST_MAIN(tst_SpriteEditor)
#include "tst_spriteeditor.moc"
