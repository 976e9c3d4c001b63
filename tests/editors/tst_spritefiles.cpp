#include "randomsprites.h"

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

    /// By threads of a pool, and yet in the files' order; one is no picture.
    void addsManyFiles()
    {
        Bench bench;
        bench.show({somePicture({4, 4}), somePicture({4, 4}, 5)});
        QStringList files, names{"sprite 0"};
        for (unsigned int i = 0; i < 120; ++i) {
            files << bench.path(QString("p%1.png").arg(i));
            if (i != 17) {
                QVERIFY(somePicture({3 + int(i % 4), 4}, i + 20).save(files.last()));
                names << QFileInfo(files.last()).baseName();
            }
        }
        writeFile(files[17], "no picture");
        names << "sprite 1";
        bench.expectAccept();
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        QVERIFY(bench.drop(files));
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QVERIFY(!bench.drop({}));
        QVERIFY(!bench.host.options.contains("spr_path"));
        QCOMPARE(bench.names(), names);
        for (int i = 1; i + 1 < names.size(); ++i)
            QCOMPARE(bytesOf(bench.sprite(unsigned(i))),
                     bytesOf(QImage(bench.path(names[i] + ".png"))));
        QCOMPARE(bench.host.progresses.value(0)->finished, 1);
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
        bench.file->at(2)->setProperty("Identifier", "a/b");
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
        const Act text = [](Bench &) { QApplication::clipboard()->setText("no picture"); };
        add("larger, same colours", set(somePicture({12, 3}, 9)), {12, 6}, 2, true);
        add("smaller, two colours", set(somePicture({2, 2}, 9, 2)), {8, 6}, 2, true);
        QImage other = somePicture({8, 6}, 9);
        other.setColorTable(someColors(55));
        add("other colours", set(other), {8, 6}, 2, false);
        add("true colour", set(somePicture({8, 6}, 9).convertToFormat(QImage::Format_ARGB32)),
            {8, 6}, 2, false);
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
    }

    /// A cancel takes back what is in already, and tells nothing. A name is edited on the way.
    void importsFromAProject()
    {
        Bench bench;
        bench.host.currentEngine = &EmberEngine::instance();
        copyFolder(KILN_SOURCE_DIR "/examples/hero/", bench.path("hero/"));
        auto *parent = EmberParentProject::open(bench.path("hero/"), FileSystemArchive::instance());
        QVERIFY(parent);
        bench.host.projects = parent->openedProjects();
        QMap<QString, EmberSprites *> files;
        for (Project *project : parent->openedProjects()) {
            auto *list = dynamic_cast<EmberSprites *>(project->file(Project::FileID::Sprites));
            files.insert(QFileInfo(project->fileName()).baseName(), list);
        }
        EmberSprites *source = files["wren"];
        EmberSprites *target = files["moss"];
        const QString name = source->at(0)->identifier();
        target->at(0)->setProperty("Identifier", name);
        const QImage old = target->at(0)->image();
        const unsigned int before = target->itemCount();
        bench.editor->setCurrentFile(target);
        for (const bool cancels : {true, false}) {
            bench.host.cancelAt = cancels ? 2 : 0;
            bench.host.dialogs().expectDialog([&](QDialog *dialog) {
                auto *projects = dialog->findChild<QComboBox *>("projects");
                QVERIFY(projects->findText(target->project()->displayName()) < 0);
                projects->setCurrentIndex(projects->findText(source->project()->displayName()));
                auto *list = dialog->findChild<QListView *>("source");
                QTRY_VERIFY(isColoredBeforeText(list, 1));
                for (int i = 0; i < 2; ++i)
                    list->selectionModel()->select(list->model()->index(i, 0),
                                                   QItemSelectionModel::Select);
                dialog->findChild<QPushButton *>("add")->click();
                auto *chosen = dialog->findChild<QListView *>("destination");
                const QModelIndex second = chosen->model()->index(1, 0);
                chosen->edit(second);
                auto *field = chosen->findChild<QLineEdit *>();
                QCOMPARE(field->text(), source->at(1)->identifier());
                field->setText("renamed");
                QTest::keyClick(field, Qt::Key_Return);
                QTRY_COMPARE(second.data().toString(), QString("renamed"));
                dialog->findChild<QRadioButton *>(cancels ? "policy1" : "policy3")->click();
                dialog->accept();
            });
            if (!cancels)
                bench.host.dialogs().expectBox(QMessageBox::Ok);
            bench.trigger("spr_import_proj");
            QCOMPARE(bench.host.dialogs().finish(), QString());
            QCOMPARE(target->itemCount(), before + (cancels ? 0 : 2));
            QCOMPARE(target->at(0)->image(), old);
        }
        QCOMPARE(target->at(1)->identifier(), name);
        QCOMPARE(target->at(2)->identifier(), QString("renamed"));
        QCOMPARE(bytesOf(target->at(2)->image()), bytesOf(source->at(1)->image()));
        bench.editor->setCurrentFile(nullptr);
        parent->close();
    }
};

QTEST_MAIN(tst_SpriteFiles)
#include "tst_spritefiles.moc"
