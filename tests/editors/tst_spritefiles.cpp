#include "randomsprites.h"

#include <kilnx/code/animationcode.h>
#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/code/framecode.h>

#include <ember/emberengine.h>
#include <ember/emberparentproject.h>
#include <ember/emberproject.h>
#include <kilnx/project/archive.h>
#include <tests/support/coloredrow.h>
#include <tests/support/files.h>
#include <tests/support/fulldisk.h>

using namespace SpriteTest;

namespace
{

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

} // namespace

class tst_SpriteFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsIndexesAndPaletteOfAnotherTool()
    {
        const QString convert = convertProgram();
        QVERIFY2(!convert.isEmpty(), "needs the package imagemagick");
        Bench bench;
        const QString in = bench.path("in.png");
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

        bench.magnify();
        bench.trigger("spr_tool_pen");
        bench.setColor(9);
        bench.click({20, 12});
        QByteArray indexes = before.indexes;
        indexes[12 * 24 + 20] = 9;
        bench.trigger("spr_saveimg");
        const QString saved = bench.path("saved.gleam");
        bench.file->toFile(FileSystemArchive::instance(), saved, false);
        const SpritesPointer again = Bench::make();
        QVERIFY(again->fromFile(FileSystemArchive::instance(), saved, false));
        bench.editor->setCurrentFile(again.get());
        const QString out = bench.path("out.png");
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

    void asksForThePalette_data()
    {
        columns<int, int, bool>("colors", "mode", "asked");
        addRow("all 256 equal", 256, 0, false);
        addRow("a shorter table", 255, 1, true);
        addRow("two entries", -2, 2, true);
        addRow("same indexes", -256, 3, true);
        addRow("cancelled", -256, 0, true);
    }

    void asksForThePalette()
    {
        const auto [colors, mode, asked] = row<int, int, bool>();
        Bench bench;
        bench.show({somePicture({6, 6})});
        const QByteArray path = bench.path("new.png").toUtf8();
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

    void addsFiles_data()
    {
        const auto add = columns<int, QList<int>, int>("count", "bad", "mode");
        add("one", 1, {}, 1);
        add("three that are dropped, one bad", 3, {1}, 1);
        add("two bad ones, forced palette", 5, {0, 4}, 2);
        add("all bad", 2, {0, 1}, 1);
        add("many", 120, {17}, 1);
    }

    void addsFiles()
    {
        const auto [count, bad, mode] = row<int, QList<int>, int>();
        Bench bench;
        bench.show({somePicture({4, 4}), somePicture({4, 4}, 5)});
        QStringList files, names{"sprite 0"};
        for (int i = 0; i < count; ++i) {
            files << bench.path(QString("p%1.png").arg(i, 3, 10, QChar('0')));
            const bool isBad = bad.contains(i);
            if (isBad)
                writeFile(files[i], "no picture");
            else
                QVERIFY(somePicture({3 + i % 4, 4}, unsigned(i + 20)).save(files[i]));
            if (!isBad)
                names << QFileInfo(files[i]).baseName();
        }
        names << "sprite 1";
        const bool isDrop = count == 3;
        if (!isDrop)
            bench.host.dialogs().expectFiles(files);
        bench.expectFields({{"palette_modes", mode - 1}});
        for (int i = 0; i < bad.size(); ++i)
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        if (isDrop)
            QVERIFY(bench.drop(files));
        else
            bench.trigger("spr_add");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QVERIFY(!bench.drop({}));
        QCOMPARE(bench.names(), names);
        QCOMPARE(bench.host.options.contains("spr_path"), !isDrop);
        for (int i = 1; i + 1 < names.size() && mode == 1; ++i) {
            const QImage original(bench.path(names[i] + ".png"));
            QCOMPARE(bytesOf(bench.sprite(unsigned(i))), bytesOf(original));
        }
        QCOMPARE(bench.editor->currentSprite(), bench.file->at(unsigned(names.size() - 2)));
        QCOMPARE(bench.host.progresses.value(0)->finished, 1);
        bench.editor->undo();
        QCOMPARE(bench.names(), count == bad.size() ? QStringList("sprite 0")
                                                    : QStringList({"sprite 0", "sprite 1"}));
    }

    void stopsAdding_data()
    {
        const auto add = columns<Act, bool>("during", "isRead");
        for (const bool isRead : {false, true}) {
            const QByteArray when = isRead ? ", pictures come in" : ", files are read";
            add("the user cancels" + when, {}, isRead);
            add(
                "the file is closed" + when,
                [](Bench &bench) {
                    bench.editor->setCurrentFile(nullptr);
                    bench.file.reset();
                },
                isRead);
            add(
                "the editor is destroyed" + when,
                [](Bench &bench) {
                    bench.editor->setCurrentFile(nullptr);
                    bench.host.activeEditor = nullptr;
                    bench.editor.reset();
                },
                isRead);
        }
    }

    /// Nothing has come, and the file's steps are as they were.
    void stopsAdding()
    {
        const auto [during, isRead] = row<Act, bool>();
        Bench bench;
        bench.show({somePicture({4, 4})});
        const auto save = [&bench] {
            return bench.file->toFile(FileSystemArchive::instance(), bench.path("a.gleam"), false);
        };
        QVERIFY(save());
        bench.file->at(0)->setProperty("Identifier", "renamed");
        bench.file->undo();
        QStringList files;
        for (int i = 0; i < 40; ++i) {
            files << bench.path(QString("%1.png").arg(i));
            QImage picture = somePicture({200, 200}, unsigned(i));
            picture.setColorTable(someColors(unsigned(i)));
            QVERIFY(picture.save(files[i]));
        }
        bench.host.dialogs().expectFiles(files);
        bench.expectFields({{"palette_modes", isRead ? 1 : 0}});
        const auto stop = [&bench, during = during] {
            if (during && bench.file && bench.editor)
                during(bench);
        };
        bench.host.cancelAt = during ? 0 : isRead ? 80 : 1;
        if (isRead)
            connect(bench.file.get(), &EmberSprites::rowsInserted, bench.host.mainWindow(),
                    [stop] { QTimer::singleShot(0, stop); });
        else
            bench.host.duringProgress = stop;
        bench.trigger("spr_add");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.host.progresses.last()->total, 80U);
        QCOMPARE(bench.host.progresses.last()->finished, 1);
        if (!bench.file)
            return;
        QCOMPARE(bench.names(), QStringList("sprite 0"));
        QCOMPARE(bench.file->palettes()->count(), 1U);
        QVERIFY(!bench.file->isModified());
        bench.file->redo();
        QCOMPARE(bench.names(), QStringList("renamed"));
    }

    void exportsPictures()
    {
        Bench bench;
        bench.show({somePicture({7, 5}, 1), somePicture({6, 5}, 2), somePicture({5, 5}, 3)});
        bench.trigger("spr_tool_pen");
        bench.setColor(33);
        const auto expectAll = [&bench] {
            bench.host.dialogs().expectDialog([](QDialog *dialog) {
                dialog->findChild<QListView *>("items")->selectAll();
                dialog->accept();
            });
            bench.host.dialogs().expectFiles({bench.path("set.png")});
        };
        // The dialog starts beside the file, under the sprite's name.
        QVERIFY(bench.file->toFile(FileSystemArchive::instance(), bench.path("a.gleam"), false));
        bench.file->at(2)->setProperty("Identifier", "a/b");
        bench.editor->setCurrent(2);
        QStringList offered;
        bench.expectAccept();
        bench.host.dialogs().expectDialog([&](QDialog *dialog) {
            offered = static_cast<QFileDialog *>(dialog)->selectedFiles();
            dialog->reject();
        });
        bench.trigger("spr_saveimgas");
        QCOMPARE(offered, QStringList(bench.path("a_b.png")));
        bench.editor->setCurrent(0);
        bench.click({1, 1}); // what is drawn is exported, too
        writeFile(bench.path("behind.png"), "old");
        const auto rights = QFile::ReadOwner | QFile::WriteOwner;
        QVERIFY(QFile::setPermissions(bench.path("behind.png"), rights));
        QVERIFY(QFile::link(bench.path("behind.png"), bench.path("set_sprite 1.png")));
        expectAll();
        bench.host.dialogs().expectBox(QMessageBox::Yes);
        bench.trigger("spr_saveimgas");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(PlainPng(readFile(bench.path("behind.png"))).indexes, bytesOf(bench.sprite(1)));
        QVERIFY(QFileInfo(bench.path("set_sprite 1.png")).isSymLink());
        QVERIFY(!QFile::permissions(bench.path("behind.png")).testFlag(QFile::ReadOther));
        QCOMPARE(PlainPng(readFile(bench.path("set_sprite 0.png"))).indexes,
                 bytesOf(bench.canvas().flatten()));
        QCOMPARE(PlainPng(readFile(bench.path("set_a_b.png"))).indexes, bytesOf(bench.sprite(2)));

        // A cancel leaves the folder as it was. On a full disk a message names what it has no room
        // for, and tells of the rest.
        const auto contents = [&bench] {
            QMap<QString, QByteArray> all;
            const QDir folder(bench.directory.path());
            for (const QString &name : folder.entryList(QDir::Files | QDir::Hidden))
                all.insert(name, readFile(folder.filePath(name)));
            return all;
        };
        writeFile(bench.path("set_sprite 1.png"), "old");
        QVERIFY(QFile::remove(bench.path("set_a_b.png")));
        bench.file->at(1)->setImage(somePicture({1, 1}).convertToFormat(QImage::Format_ARGB32));
        const auto before = contents();
        for (const QString how : {"refused", "canceled", "full"}) {
            const bool isFull = how == "full";
            expectAll();
            bench.host.dialogs().expectBox(how == "refused" ? QMessageBox::No : QMessageBox::Yes);
            const std::unique_ptr<FullDisk> disk(isFull ? new FullDisk(200) : nullptr);
            bench.host.cancelAt = how == "canceled" ? 2 : 0;
            if (isFull) { // and a folder stands in the way of the last one
                QVERIFY(QDir(bench.directory.path()).mkdir("set_a_b.png"));
                bench.host.dialogs().expectBox(QMessageBox::Ok);
            }
            bench.host.duringProgress = [&bench] { bench.trigger("spr_saveimgas"); }; // one at once
            bench.trigger("spr_saveimgas");
            QCOMPARE(bench.host.dialogs().finish(), QString());
            QCOMPARE(bench.host.progresses.last()->total, 3U);
            if (!isFull)
                QCOMPARE(contents(), before);
        }
        auto after = contents();
        QVERIFY(!QImage::fromData(after.take("behind.png")).isNull());
        const QString told = bench.host.dialogs().seen().last().text;
        QVERIFY2(told.contains("set_sprite 0.png") && told.contains("set_a_b.png"),
                 qPrintable(told));
        QVERIFY2(told.endsWith("1 image(s) were saved."), qPrintable(told));
    }

    void showsWhatIsThere_data()
    {
        columns<unsigned int>("seed");
        const int wanted = qEnvironmentVariableIntValue("KILN_SPRITE_SEEDS");
        for (unsigned int seed = 1; seed <= unsigned(wanted > 0 ? wanted : 4); ++seed)
            QTest::addRow("%u", seed) << seed;
    }

    void showsWhatIsThere()
    {
        const auto [seed] = row<unsigned int>();
        RandomUser(seed).walk(250);
    }

    void copiesAndPastes_data()
    {
        const auto add = columns<Act, QSize, int, bool>("clip", "size", "layers", "sameIndexes");
        const auto set = [](const QImage &image) {
            return [image](Bench &) { QApplication::clipboard()->setImage(image); };
        };
        const Act copy = [](Bench &bench) { bench.editor->copy(); };
        const Act text = [](Bench &) { QApplication::clipboard()->setText("no picture"); };
        add("the layer itself", copy, {8, 6}, 2, true);
        add("larger, same colours", set(somePicture({12, 3}, 9)), {12, 6}, 2, true);
        add("smaller, two colours", set(somePicture({2, 2}, 9, 2)), {8, 6}, 2, true);
        QImage other = somePicture({8, 6}, 9);
        other.setColorTable(someColors(55));
        add("other colours", set(other), {8, 6}, 2, false);
        add("true colour", set(somePicture({8, 6}, 9).convertToFormat(QImage::Format_ARGB32)),
            {8, 6}, 2, false);
        add("one pixel", set(somePicture({1, 1}, 9)), {8, 6}, 2, true);
        add("text", text, {8, 6}, 1, false);
        add("a null picture", set(QImage()), {8, 6}, 1, false);
    }

    void copiesAndPastes()
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
        QCOMPARE(bench.canvas().undoStack.index(), layers - 1);
        if (layers == 2) {
            const auto *top = dynamic_cast<RasterLayer *>(bench.canvas().layers.at(0));
            QCOMPARE(top->name, QString("Layer 2"));
            QCOMPARE(bench.renderer().currentLayer(), top);
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
            bench.editor->undo();
        }
        QCOMPARE(bench.canvas().flatten(), before);
        bench.editor->cut();
        QCOMPARE(QApplication::clipboard()->image(), before);
        QVERIFY(bench.canvas().flatten() != before);
        QCOMPARE(bench.renderer().picture(), bench.canvas().flatten());
    }

    /// The sprite of the frame that the project's animations show, while the button is down: when
    /// it is pressed, when the editor comes up, and when the file is shown.
    void followsTheFrame()
    {
        Bench bench;
        bench.host.currentEngine = &EmberEngine::instance();
        copyFolder(KILN_SOURCE_DIR "/examples/hero/heroes/wren/", bench.path("wren/"));
        auto *parent = EmberParentProject::open(bench.path("wren/"), FileSystemArchive::instance());
        QVERIFY(parent);
        Project *project = parent->openedProjects().value(0);
        auto *sprites = dynamic_cast<EmberSprites *>(project->file(Project::FileID::Sprites));
        auto *text = dynamic_cast<CodeDocument *>(project->file(Project::FileID::Animations));
        auto *list = dynamic_cast<Animations *>(text->documentEditor(CodeNode::Animation, 0));
        QVERIFY(sprites && list);
        const auto choose = [&](unsigned int animation, unsigned int frame) {
            list->setSelected(animation);
            list->at(animation)->setSelectedFrame(frame);
            return list->at(animation)->frameAt(frame)->identifier();
        };
        const auto shown = [&] { return bench.editor->currentSprite()->property("Identifier"); };
        bench.editor->setCurrentFile(sprites);
        bench.editor->setCurrent(0);
        const QVariant first = shown();
        const QVariant wanted = choose(1, 2);
        QVERIFY(wanted != first);
        bench.editor->deactivate();
        bench.editor->activate();
        QCOMPARE(shown(), first); // nobody has asked for it
        bench.trigger("spr_frame_spr");
        QCOMPARE(shown(), wanted);
        const QVariant next = choose(0, 1);
        QVERIFY(next != wanted);
        bench.editor->deactivate();
        bench.editor->activate();
        QCOMPARE(shown(), next);
        bench.editor->setCurrentFile(nullptr);
        choose(1, 2);
        bench.editor->setCurrentFile(sprites);
        QCOMPARE(shown(), wanted);
        // A frame whose sprite the file does not have changes nothing.
        list->at(1)->frameAt(2)->setIdentifier("nobody");
        bench.editor->deactivate();
        bench.editor->activate();
        QCOMPARE(shown(), wanted);
        bench.editor->setCurrentFile(nullptr);
        parent->close();
    }

    void importsFromAProject_data()
    {
        // Two sprites, the first under a name that is there, and the second once more.
        const auto add =
            columns<bool, int, int, int, int>("isSaved", "policy", "answer", "added", "mode");
        for (const bool isSaved : {false, true}) {
            const QByteArray how = isSaved ? ", source saved" : ", source modified";
            add("ask, yes" + how, isSaved, 0, int(QMessageBox::Yes), 1, 0);
            add("ask, no" + how, isSaved, 0, int(QMessageBox::No), 3, 0);
            add("replace" + how, isSaved, 1, 0, 1, 0);
            add("replace, in another palette" + how, isSaved, 1, 0, 1, 2);
            add("skip" + how, isSaved, 2, 0, 1, 0);
            add("add anyway" + how, isSaved, 3, 0, 3, 0);
        }
        add("skip, into an empty file", true, 2, 0, 2, 0);
        add("from no project", true, -1, 0, 0, 0);
    }

    void importsFromAProject()
    {
        const auto [isSaved, policy, answer, added, mode] = row<bool, int, int, int, int>();
        Bench bench;
        bench.host.currentEngine = &EmberEngine::instance();
        copyFolder(KILN_SOURCE_DIR "/examples/hero/", bench.path("hero/"));
        auto *parent = EmberParentProject::open(bench.path("hero/"), FileSystemArchive::instance());
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
        const bool isEmpty = QByteArray(QTest::currentDataTag()).endsWith("empty file");
        while (isEmpty && target->itemCount() > 0)
            target->remove(0);
        if (!isEmpty)
            target->at(0)->setProperty("Identifier", source->at(0)->identifier());
        if (!isSaved)
            source->at(1)->setImage(somePicture({9, 7}), false, Sprite::ImagePalette, nullptr);
        QCOMPARE(source->isModified(), !isSaved);
        const QImage old = isEmpty ? QImage() : target->at(0)->image();
        const unsigned int before = target->itemCount();
        bench.editor->setCurrentFile(target);
        const auto choose = [&, policy = policy, mode = mode](QDialog *dialog) {
            auto *projects = dialog->findChild<QComboBox *>("projects");
            QVERIFY(projects->findText(target->project()->displayName()) < 0);
            if (policy < 0) {
                QCOMPARE(projects->count(), 0);
                dialog->reject();
                return;
            }
            projects->setCurrentIndex(projects->findText(source->project()->displayName()));
            auto *list = dialog->findChild<QListView *>("source");
            QTRY_VERIFY(isColoredBeforeText(list, 1));
            for (int i = 0; i < 4; ++i)
                list->selectionModel()->select(list->model()->index(i, 0),
                                               QItemSelectionModel::Select);
            dialog->findChild<QPushButton *>("add")->click();
            auto *chosen = dialog->findChild<QListView *>("destination");
            QAbstractItemModel *names = chosen->model();
            for (int i : {2, 3})
                chosen->selectionModel()->select(names->index(i, 0), QItemSelectionModel::Select);
            dialog->findChild<QPushButton *>("remove")->click();
            QCOMPARE(names->rowCount(), 2);
            list->setCurrentIndex(list->model()->index(1, 0));
            dialog->findChild<QPushButton *>("add")->click();
            QCOMPARE(names->index(1, 0).data(), source->at(1)->property("Identifier"));
            if (policy == 3) {
                chosen->edit(names->index(1, 0));
                auto *field = chosen->findChild<QLineEdit *>();
                QVERIFY(field);
                QCOMPARE(field->text(), names->index(1, 0).data().toString());
                field->setText("renamed");
                QTest::keyClick(field, Qt::Key_Return);
                QTRY_COMPARE(names->index(1, 0).data().toString(), QString("renamed"));
            }
            dialog->findChild<QComboBox *>("mode")->setCurrentIndex(mode);
            dialog->findChild<QRadioButton *>(QString("policy%1").arg(policy))->click();
            dialog->accept();
        };
        const auto ask = [&, answer = answer] {
            for (int i = 0; answer && i < 2; ++i)
                bench.host.dialogs().expectBox(QMessageBox::StandardButton(answer));
        };
        if (policy < 0) {
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        } else if (policy != 2 || isEmpty) { // one alone has no indicator
            // A cancel takes back what is in already, and tells nothing.
            bench.host.cancelAt = 2;
            bench.host.dialogs().expectDialog(choose);
            ask();
            bench.trigger("spr_import_proj");
            QCOMPARE(bench.host.dialogs().finish(), QString());
            QCOMPARE(target->itemCount(), before);
            QVERIFY(before == 0 || target->at(0)->image() == old);
            bench.host.cancelAt = 0;
        }
        bench.host.dialogs().expectDialog(choose);
        ask();
        if (policy >= 0)
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("spr_import_proj");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        const QList<DialogScript::Seen> &seen = bench.host.dialogs().seen();
        if (policy >= 0)
            QCOMPARE(seen.last().text, QString("%1 sprite(s) were imported!").arg(added));
        else
            QCOMPARE(seen[0].text, QString("You can't import from the destination project!"));
        QCOMPARE(target->itemCount(), before + unsigned(added));
        const bool replaced = policy == 1 || answer == QMessageBox::Yes;
        QCOMPARE(target->at(0)->image() == old, !replaced && !isEmpty);
        const int first = isEmpty ? 0 : 1;
        QCOMPARE(bench.editor->currentSprite(), target->at(unsigned(added > 0 ? first : 0)));
        for (int i = 0; i < added; ++i) {
            const QImage image = target->at(unsigned(i + first))->image();
            const EmberSprite *original = source->at(added > 1 && i == 0 ? 0 : 1);
            QCOMPARE(target->at(unsigned(i + first))->identifier(),
                     policy == 3 && i == 1 ? QString("renamed") : original->identifier());
            QCOMPARE(bytesOf(image), bytesOf(original->image()));
            QVERIFY(mode > 0 || image.colorTable() == original->image().colorTable());
        }
        QVERIFY(mode == 0 || target->at(0)->palette() == target->at(1)->palette());
        QCOMPARE(target->palettes()->removeDuplicates(), 0U);
        if (policy == 2) { // now all is there
            bench.host.dialogs().expectDialog(choose);
            bench.host.dialogs().expectBox(QMessageBox::Ok);
            bench.trigger("spr_import_proj");
            QCOMPARE(seen.last().text, QString("No sprite imported!"));
        }
        bench.editor->setCurrentFile(nullptr);
        parent->close();
    }
};

QTEST_MAIN(tst_SpriteFiles)
#include "tst_spritefiles.moc"
