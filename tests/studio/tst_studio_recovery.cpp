#include "windowtest.h"

#include <hostkit/bytesarchive.h>
#include <hostkit/outsidechanges.h>
#include <hostkit/recoverydesk.h>
#include <hostkit/recoveryjournal.h>
#include <hostkit/textcompare.h>

#include <kilnx/editors/spriteeditor.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/engine.h>
#include <kilnx/sound/sounds.h>
#include <tests/support/fulldisk.h>
#include <tests/support/release.h>

#include <unistd.h>

using namespace HostKit;

namespace
{
const char editedFiles[3][24] = {"heroes/wren/air.glow", "heroes/wren/hurt.glow",
                                 "heroes/wren/brain.glow"};

const char soundFile[] = "heroes/wren/wren.peal";

/// What a killed program does: types into several files, and saves one now and then; or adds a
/// sound. Each change is told before it is made: the file, where, how many characters go, what
/// comes, and when; of a sound, what is its name.
[[noreturn]] void typeForEver(const QString &directory, quint32 seed)
{
    Studio::MainWindow window(Paths::below(directory));
    window.host().openProject(directory + "/hero");
    QVector<Kiln::CodeDocument *> documents;
    for (const char *name : editedFiles)
        documents += dynamic_cast<Kiln::CodeDocument *>(
            window.host().session().loadFile(directory + "/hero/" + name, 0));
    auto *sounds = dynamic_cast<Kiln::Sounds *>(
        window.host().session().loadFile(directory + "/hero/" + soundFile, 0));
    const auto tell = [](const QByteArray &change) {
        const QByteArray line =
            change + ' ' + QByteArray::number(QDateTime::currentMSecsSinceEpoch()) + '\n';
        if (write(STDOUT_FILENO, line.constData(), size_t(line.size())) != line.size())
            _exit(1);
    };
    QRandomGenerator random(seed);
    for (int count = 1;;) {
        if (random.bounded(10) == 0) {
            const QByteArray name = QByteArray::number(count++);
            tell("3 0 0 " + name);
            sounds->insert(0, name, {});
        }
        const int file = random.bounded(3);
        Kiln::CodeDocument *document = documents[file];
        const int at = random.bounded(document->characterCount());
        const int removed = qMin(random.bounded(3), document->characterCount() - 1 - at);
        const bool saves = random.bounded(60) == 0;
        const QByteArray added(random.bounded(4), char('a' + random.bounded(26)));
        tell(QByteArray::number(file) + ' ' + (saves ? "-1" : QByteArray::number(at)) + ' ' +
             QByteArray::number(removed) + ' ' + added);
        if (saves) {
            document->toFile(document->archive(), document->fileName(), false);
        } else {
            QTextCursor cursor(document);
            cursor.setPosition(at);
            cursor.setPosition(at + removed, QTextCursor::KeepAnchor);
            document->insertOnCursor(QString::fromLatin1(added), cursor);
        }
        QTest::qWait(2 + random.bounded(8));
    }
}

QString textOnDisk(const QString &path)
{
    return QString::fromUtf8(readFile(path)).replace("\r\n", "\n");
}

/// The text of one file after each change, and when that came.
struct Story {
    QStringList texts;
    QVector<qint64> times;
    QSet<QString> saved;
};

/// The most lines that two texts have in common in one order, by the plain table.
int commonLines(const QStringList &one, const QStringList &other)
{
    QVector<QVector<int>> best(one.size() + 1, QVector<int>(other.size() + 1, 0));
    for (int i = one.size() - 1; i >= 0; --i) {
        for (int k = other.size() - 1; k >= 0; --k)
            best[i][k] =
                one[i] == other[k] ? best[i + 1][k + 1] + 1 : qMax(best[i + 1][k], best[i][k + 1]);
    }
    return best[0][0];
}

QString randomText(QRandomGenerator &random, int most)
{
    QString text;
    for (int i = random.bounded(most); i > 0; --i)
        text += QStringLiteral("ab\n\u2029\u4e2d")[random.bounded(5)];
    return text;
}
} // namespace

// What is left of unsaved work when the program ends as it should not, or its file changes.
class tst_studio_recovery : public WindowTest
{
    Q_OBJECT

private:
    QString kept() const { return m_directory->filePath("data/recovery"); }

    /// The directory of this host's journal as one that a dead host has left.
    void leaveBehind()
    {
        host().journal().flush();
        const QStringList own = QDir(kept()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QCOMPARE(own.size(), 1);
        copyFolder(kept() + '/' + own.first(), kept() + "/of a dead host");
        writeFile(kept() + "/of a dead host.lock"); // as a power cut leaves it
    }

    /// What this host's journal holds of files of items.
    QList<QByteArray> journaled() const
    {
        QList<QByteArray> found;
        QDirIterator files(kept(), {"*.journal"}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            JournalFile::Contents contents;
            if (JournalFile::read(files.next(), &contents) && !contents.isText)
                found += contents.items.bytes;
        }
        return found;
    }

    void reopen()
    {
        m_window.reset();
        makeWindow();
        m_window->show();
        QVERIFY(host().openProject(hero()));
    }

private Q_SLOTS:
    void isOfferedAndRestored()
    {
        open("heroes/wren/air.glow");
        const QString before = document()->toPlainText();
        type("; not saved\n");
        const QString after = document()->toPlainText();
        open("heroes/wren/hurt.glow");
        type("; left for later\n");
        // Another host sees nothing while this one runs.
        host().journal().flush();
        QVERIFY(RecoveryJournal(session(), kept()).leftBehind().isEmpty());
        leaveBehind();

        QString compared;
        m_dialogs->expectDialog([&](QDialog *dialog) {
            auto *list = dialog->findChild<QTreeWidget *>("recovery_files");
            QCOMPARE(list->topLevelItemCount(), 2);
            for (int i = 0; i < 2; ++i) {
                QTreeWidgetItem *item = list->topLevelItem(i);
                const bool isAir = item->text(0) == "heroes/wren/air.glow";
                item->setCheckState(0, isAir ? Qt::Checked : Qt::Unchecked);
                if (isAir)
                    list->setCurrentItem(item);
            }
            compared = dialog->findChild<CompareView *>("recovery_compare")->toPlainText();
            dialog->findChild<QPushButton *>("recovery_restore")->click();
        });
        reopen();
        QVERIFY2(compared.startsWith("+ ; not saved\n  "), qPrintable(compared));
        QCOMPARE(document()->fileName(), path("heroes/wren/air.glow"));
        QCOMPARE(document()->toPlainText(), after);
        QVERIFY(document()->isModified());
        document()->undo();
        QCOMPARE(document()->toPlainText(), before);
        QVERIFY(!document()->isModified());

        // What was put off is offered again; what is discarded is not.
        m_dialogs->expectDialog([](QDialog *dialog) {
            QCOMPARE(dialog->findChild<QTreeWidget *>("recovery_files")->topLevelItemCount(), 1);
            dialog->findChild<QPushButton *>("recovery_discard")->click();
        });
        reopen();
        QVERIFY(session().modifiedFiles().isEmpty());
        reopen();
        m_window.reset();
        QVERIFY(QDir(kept()).isEmpty());
    }

    void itemsComeBack_data()
    {
        const auto add = columns<QByteArray, QByteArray>("file", "change");
        add("a sound", "wren.peal", "insert");
        add("the name of a sprite", "wren.gleam", "name");
        add("a palette", "wren.gleam", "colors");
        add("which palettes stand in", "wren.gleam", "pairs");
        add("what is drawn on a sprite", "wren.gleam", "draw");
        add("what is drawn on a changed sprite file", "wren.gleam", "name, draw");
        add("a file that is gone", "wren.peal", "insert, remove");
    }

    /// The file as it would have been saved, and the picture that was not in it yet.
    void itemsComeBack()
    {
        const auto [file, change] = row<QByteArray, QByteArray>();
        const QString name = path("heroes/wren/" + file);
        const QByteArray onDisk = readFile(name);
        QVERIFY(host().desk().openFile(name, 0));
        host().journal().flush();
        const auto sprites = [this] {
            return dynamic_cast<Kiln::Sprites *>(host().deck().currentFile());
        };
        const auto *editor = qobject_cast<Kiln::SpriteEditor *>(host().deck().editor("sprites"));
        // Each change behind a look at the one before: the journal hears of all of them.
        if (auto *list = dynamic_cast<Kiln::Sounds *>(session().findFile(name))) {
            QVERIFY(list->insert(0, "first", list->itemAt(0)->sample()));
            host().journal().flush();
            QVERIFY(list->insert(0, "new", list->itemAt(0)->sample()));
        } else if (change != "draw") { // which stands on its own
            sprites()->at(1)->setProperty("Identifier", "first");
            host().journal().flush();
        }
        if (change.contains("name"))
            sprites()->at(0)->setProperty("Identifier", "new");
        if (change.contains("colors"))
            sprites()->palettes()->at(0)->setProperty("Identifier", "new");
        if (change.contains("pairs"))
            QVERIFY(sprites()->palettes()->remapModel()->insertRow(0));
        if (change.contains("draw")) {
            host().journal().flush();
            m_window->findChild<QAction *>("spr_image_fliph")->trigger();
        }
        BytesArchive wanted;
        QVERIFY(host().deck().currentFile()->toFile(wanted, name, true));
        const QImage drawn = editor->unsavedPicture();
        QCOMPARE(!drawn.isNull(), change.contains("draw"));
        leaveBehind();
        if (change.contains("remove"))
            QVERIFY(QFile::remove(name));
        m_dialogs->expectDialog([](QDialog *dialog) {
            QCOMPARE(dialog->findChild<QTreeWidget *>("recovery_files")->topLevelItemCount(), 1);
            dialog->findChild<QPushButton *>("recovery_restore")->click();
        });
        reopen();
        Kiln::ProjectFile *back = host().deck().currentFile();
        QCOMPARE(back->fileName(), change.contains("remove") ? QString() : name);
        QVERIFY(back->isModified());
        if (!drawn.isNull()) {
            QCOMPARE(sprites()->at(0)->image(), drawn);
            back->undo();
        }
        BytesArchive found;
        QVERIFY(back->toFile(found, name, true));
        QVERIFY(found.bytes == wanted.bytes);
        if (!change.contains("remove"))
            QCOMPARE(readFile(name), onDisk);
        host().journal().flush();
    }

    void keptPicturesAreAskedAbout_data()
    {
        const auto add = columns<QByteArray>("what");
        for (const char *what : {"save", "save all", "close", "close window", "changed again",
                                 "changed back", "another changed"})
            add(what, what);
    }

    /// A picture without changes that another program has written, and the user keeps as it is
    /// here: that is nowhere else.
    void keptPicturesAreAskedAbout()
    {
        const auto [what] = row<QByteArray>();
        const QString name = path("heroes/wren/wren.gleam");
        const QByteArray mine = readFile(name);
        const QByteArray theirs = readFile(path("heroes/moss/moss.gleam"));
        set("reload_unchanged", false);
        QVERIFY(host().desk().openFile(name, 0));
        QCoreApplication::processEvents(); // reads the bytes for later
        replaceFile(name, theirs);
        auto &changes = host().outsideChanges();
        QTRY_COMPARE(changes.waiting().size(), 1);
        QTest::mouseClick(changes.bar()->findChild<QPushButton *>("changes_keep"), Qt::LeftButton);
        QVERIFY(changes.waiting().isEmpty());
        QCOMPARE(host().tabs().tabText(host().tabs().currentIndex()), "wren.gleam •");
        QVERIFY(host().journal().flush());
        BytesArchive held;
        QVERIFY(host().deck().currentFile()->toFile(held, name, true));
        QCOMPARE(journaled(), QList<QByteArray>{held.bytes});
        if (what.startsWith("save")) {
            (what == "save" ? actions()->save : actions()->saveAll)->trigger();
            QCOMPARE(readFile(name), mine);
            QCOMPARE(host().tabs().tabText(host().tabs().currentIndex()), "wren.gleam");
            QVERIFY(m_window->close());
            return;
        }
        if (what == "changed again") {
            set("reload_unchanged", true);
            auto *moss = dynamic_cast<Kiln::Sprites *>(
                session().loadFile(path("heroes/moss/moss.gleam"), 0));
            moss->at(0)->setProperty("Identifier", "other");
            BytesArchive archive;
            QVERIFY(moss->toFile(archive, name, true));
            replaceFile(name, archive.bytes);
            QTRY_COMPARE(changes.waiting().size(), 1);
        } else if (what == "another changed") { // which is no news of this one
            replaceFile(path("heroes/wren/air.glow"), "; outside\r\n");
            QTRY_COMPARE(changes.waiting().size(), 1);
            QCOMPARE(changes.waiting().first()->fileName(), path("heroes/wren/air.glow"));
        } else if (what == "changed back") {
            replaceFile(name, mine);
            QTRY_COMPARE(host().tabs().tabText(host().tabs().currentIndex()), "wren.gleam");
            QVERIFY(m_window->close());
            return;
        }
        for (const bool discards : {false, true}) {
            m_dialogs->expectBox(discards ? QMessageBox::Yes : QMessageBox::No);
            if (what == "close window") {
                QCOMPARE(m_window->close(), discards);
            } else {
                actions()->closeFile->trigger();
                QCOMPARE(host().tabs().indexOf(session().findFile(name)) < 0, discards);
            }
        }
        if (what == "close") { // it is what is on disk again
            auto *sprites = dynamic_cast<Kiln::Sprites *>(session().findFile(name));
            BytesArchive archive;
            QVERIFY(sprites && sprites->toFile(archive, name, true));
            QCOMPARE(archive.bytes, theirs);
        }
    }

    /// A project that is not opened anyway is asked for; a file that is gone comes back; what was
    /// saved before the end is not offered.
    void findsItsProject()
    {
        settings().setValue("reopen_last_project", false);
        open("heroes/wren/air.glow");
        type("; saved\n");
        open("heroes/wren/hurt.glow");
        type("; gone\n");
        const QString after = document()->toPlainText();
        // One without changes, too, once it is gone.
        const QString ground = path("heroes/wren/ground.glow");
        open("heroes/wren/ground.glow");
        const QString goneText = document()->toPlainText();
        QVERIFY(QFile::remove(ground));
        QTRY_COMPARE(host().outsideChanges().waiting().size(), 1);
        leaveBehind();
        QVERIFY(QFile::remove(path("heroes/wren/hurt.glow")));
        open("heroes/wren/air.glow");
        actions()->save->trigger();
        m_window.reset();
        makeWindow();
        m_window->show();
        m_dialogs->expectBox(QMessageBox::Yes);
        m_dialogs->expectDialog([](QDialog *dialog) {
            QCOMPARE(dialog->findChild<QTreeWidget *>("recovery_files")->topLevelItemCount(), 2);
            dialog->findChild<QPushButton *>("recovery_restore")->click();
        });
        m_window->reopenLast();
        for (const QString &name : {path("heroes/wren/hurt.glow"), ground}) {
            auto *back = dynamic_cast<Kiln::CodeDocument *>(session().findFile(name));
            QVERIFY(back && static_cast<Kiln::ProjectFile *>(back)->isModified());
            QCOMPARE(back->toPlainText(), name == ground ? goneText : after);
            QVERIFY(!QFile::exists(name)); // until it is saved
        }
        m_window->reopenLast();
    }

    void isKeptWhereItCannotBeOpened_data()
    {
        const auto add = columns<bool>("isDirectory");
        add("behind a directory", true);
        add("behind bytes", false);
    }

    /// What cannot be opened is named and offered again.
    void isKeptWhereItCannotBeOpened()
    {
        const auto [isDirectory] = row<bool>();
        open("shared/gallery.glow");
        type("; behind a directory\n");
        leaveBehind();
        const QString name = path("shared/gallery.glow");
        m_dialogs->expectBox(QMessageBox::Discard);
        host().desk().closeCurrentFile();
        QVERIFY(QFile::remove(name));
        if (isDirectory)
            QVERIFY(QDir().mkpath(name));
        else
            writeFile(name, QByteArray(20, '\0'));
        const auto expect = [this](const char *button) {
            m_dialogs->expectDialog([button](QDialog *dialog) {
                QCOMPARE(dialog->findChild<QTreeWidget *>("recovery_files")->topLevelItemCount(),
                         1);
                dialog->findChild<QPushButton *>(button)->click();
            });
        };
        expect("recovery_restore");
        m_dialogs->expectBox(QMessageBox::Ok);
        reopen();
        QVERIFY(m_dialogs->seen().last().text.contains(name));
        expect("recovery_discard");
        reopen();
    }

    /// What nobody has named yet is a file without a name again; on a full disk nothing is given up
    /// that is nowhere else; what dead hosts had no text in is cleared away.
    void isKeptUntilItIsSafe()
    {
        actions()->newMenu->actions().first()->trigger();
        type("; never saved");
        const QString text = document()->toPlainText();
        leaveBehind();
        QVERIFY(QDir().mkpath(kept() + "/of another"));
        std::unique_ptr<FullDisk> disk;
        for (int i = 0; i < 2; ++i) {
            m_dialogs->expectDialog([&](QDialog *dialog) {
                if (i == 0)
                    disk = std::make_unique<FullDisk>(16);
                dialog->findChild<QPushButton *>("recovery_restore")->click();
            });
            reopen();
            disk.reset();
            QVERIFY(document());
            QCOMPARE(document()->toPlainText(), text);
            QCOMPARE(document()->fileName(), QString());
            QVERIFY(document()->isModified());
        }
        // The journal goes on where the disk has room again, without another key.
        host().journal().flush();
        m_window.reset();
        QVERIFY(QDir(kept()).isEmpty());
    }

    /// Another project that is closed takes nothing with it, not for a moment.
    void othersCloseWithoutIt()
    {
        open("heroes/wren/air.glow");
        type("; kept\n");
        copyFolder(KILN_SOURCE_DIR "/engines/spark/sample", m_directory->filePath("arcade"));
        QVERIFY(host().openBeside(m_directory->filePath("arcade")));
        type("lonely = 1\n");
        QVERIFY(host().journal().flush());
        const QString own = kept() + '/' + QDir(kept()).entryList(QDir::AllDirs).last();
        QCOMPARE(QDir(own).entryList(QDir::Files).size(), 2);
        session().close(session().parentProject());
        QVERIFY(host().journal().flush());
        const QStringList left = QDir(own).entryList(QDir::Files);
        QCOMPARE(left.size(), 1);
        QVERIFY(left.first() == "1.journal" || left.first() == "2.journal");
        session().close(session().parentProject());
    }

    void whatWasOpenComesBack()
    {
        open("heroes/wren/air.glow");
        view()->foldAll();
        const auto folded = [this] {
            QVector<int> lines;
            for (QTextBlock line = document()->begin(); line.isValid(); line = line.next()) {
                if (!line.isVisible())
                    lines += line.blockNumber();
            }
            return lines;
        };
        const QVector<int> lines = folded();
        QVERIFY(lines.size() > 5);
        open("heroes/wren/ground.glow");
        view()->setCurrentLine({40, 3, 35});
        QVERIFY(host().desk().openFile(path("heroes/wren/wren.gleam"), 0));
        open("heroes/wren/hurt.glow");
        view()->setCurrentLine({3, 2, 0});
        QTabBar &tabs = host().tabs();
        tabs.moveTab(0, 3); // the definition
        const auto titles = [this] {
            QStringList texts;
            for (Kiln::ProjectFile *file : host().tabs().files())
                texts += FileTabs::title(file);
            return texts;
        };
        const QStringList before = titles();
        reopen();
        QCOMPARE(titles(), before);
        QCOMPARE(document()->fileName(), path("heroes/wren/hurt.glow"));
        QCOMPARE(view()->currentLine().line, 3);
        QCOMPARE(view()->currentLine().column, 2);
        host().desk().openFile(path("heroes/wren/ground.glow"), 0);
        QCOMPARE(view()->currentLine().line, 40);
        QCOMPARE(view()->currentLine().scroll, 35);
        host().desk().openFile(path("heroes/wren/air.glow"), 0);
        QCOMPARE(folded(), lines);
        QVERIFY(session().modifiedFiles().isEmpty());

        // What was closed stays closed, what is gone is passed over.
        host().desk().closeCurrentFile();
        host().desk().showFile(session().findFile(path("heroes/wren/hurt.glow")));
        host().desk().closeFile(session().findFile(path("tidewater.hearth")));
        m_window.reset();
        QVERIFY(QFile::remove(path("heroes/wren/ground.glow")));
        reopen();
        QCOMPARE(titles(), QStringList({"wren.gleam", "hurt.glow"}));
        m_window.reset();
        for (const QFileInfo &file :
             QDir(m_directory->filePath("data/sessions")).entryInfoList(QDir::Files))
            writeFile(file.filePath(), "{\"files\": [3, {\"file\": []}], \"current\": 7");
        reopen();
        QCOMPARE(titles(), QStringList("tidewater.hearth"));
    }

    /// Items are not taken in the middle of a stroke; text goes on.
    void strokesAreNotDisturbed()
    {
        open("heroes/wren/air.glow");
        auto *sounds =
            dynamic_cast<Kiln::Sounds *>(session().findFile(path("heroes/wren/wren.peal")));
        QVERIFY(sounds && sounds->insert(0, "new", {}));
        QWindow *window = m_window->windowHandle();
        QTest::mousePress(window, Qt::LeftButton, {}, {2, 2});
        QDirIterator::IteratorFlags below = QDirIterator::Subdirectories;
        const auto sizeOfAll = [&] {
            qint64 size = 0;
            for (QDirIterator files(kept(), {"*.journal"}, QDir::Files, below); files.hasNext();)
                size += QFileInfo(files.next()).size();
            return size;
        };
        for (int look = 0; look < 2; ++look) {
            const qint64 before = sizeOfAll();
            document()->insert("; more\n");
            QTRY_VERIFY(sizeOfAll() > before);
        }
        QVERIFY(journaled().isEmpty());
        QTest::mouseRelease(window, Qt::LeftButton, {}, {2, 2});
        QTRY_COMPARE(journaled().size(), 1);
    }

    /// Only what cannot hold any text goes.
    void whatCannotBeReadStays()
    {
        for (const char *file :
             {"a/1.journal", "a/1.journal.new", "b/1.journal", "b/2.journal.new"})
            writeFile(kept() + '/' + file, file[0] == 'a' ? "of a later version" : "");
        writeFile(kept() + "/c.lock", "2147483646\nkiln\n\n");
        QVERIFY(RecoveryJournal(session(), kept()).leftBehind().isEmpty());
        QCOMPARE(QDir(kept()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList("a"));
        QCOMPARE(QDir(kept() + "/a").entryList(QDir::Files), QStringList("1.journal"));
    }

    void nothingStaysOfWhatIsSavedOrDiscarded()
    {
        open("heroes/wren/air.glow");
        type("; saved\n");
        host().journal().flush();
        const QStringList own = QDir(kept()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        const QDir directory(kept() + '/' + own.value(0));
        QCOMPARE(directory.entryList(QDir::Files).size(), 1);
        actions()->save->trigger();
        host().journal().flush();
        QCOMPARE(directory.entryList(QDir::Files).size(), 0);
        type("; thrown away\n");
        host().journal().flush();
        QCOMPARE(directory.entryList(QDir::Files).size(), 1);
        m_dialogs->expectBox(QMessageBox::Discard);
        host().desk().closeCurrentFile();
        host().journal().flush();
        QCOMPARE(directory.entryList(QDir::Files).size(), 0);
    }

    /// However a file is cut off or damaged, it reads as a text that was once written, the last one
    /// before the damage; a full disk leaves the old text.
    void filesAreWholeOrOlder()
    {
        QRandomGenerator random(7);
        const QString name = m_directory->filePath("one.journal");
        const JournalFile::Head head{"/a/b", 32, "/a/"};
        JournalFile file(name);
        QStringList texts{QString()};
        QVector<qint64> sizes{0};
        QString text = "one\u2029two";
        for (int i = 0; i < 40; ++i) {
            QVERIFY(file.write(head, text));
            texts += text;
            sizes += QFileInfo(name).size();
            const int at = random.bounded(text.size() + 1);
            text.replace(at, random.bounded(text.size() - at + 1), randomText(random, 30));
        }
        const QByteArray whole = readFile(name);
        for (int i = 0; i < 400; ++i) {
            QByteArray bytes = whole;
            const int at = random.bounded(bytes.size());
            if (i % 2)
                bytes.truncate(at);
            else
                bytes[at] = char(bytes[at] ^ (1 + random.bounded(255)));
            writeFile(m_directory->filePath("damaged"), bytes);
            const int held = int(std::upper_bound(sizes.begin(), sizes.end(), at) - sizes.begin());
            JournalFile::Contents contents;
            QCOMPARE(JournalFile::read(m_directory->filePath("damaged"), &contents), held > 1);
            QVERIFY(contents.head == head || held <= 1);
            if (held > 1)
                QCOMPARE(contents.text, texts[held - 1]);
        }
        const auto read = [&] {
            JournalFile::Contents contents;
            return JournalFile::read(name, &contents) ? contents.text : QString("unreadable");
        };
        {
            const FullDisk disk(rlim_t(whole.size() + 5));
            QVERIFY(!file.write(head, text + QString(400, 'x')));
            QVERIFY(!file.error().isEmpty());
            QCOMPARE(read(), texts.last());
        }
        QVERIFY(file.write(head, text));
        QCOMPARE(file.error(), QString());
        QCOMPARE(read(), text);
        // Long after, and still as short as the text asks for.
        for (int i = 0; i < 1200; ++i)
            QVERIFY(file.write(head, text = QString::number(i)));
        QCOMPARE(read(), text);
        QVERIFY(QFileInfo(name).size() < 60000);
    }

    void comparisonsAreShortest()
    {
        QRandomGenerator random(3);
        for (int i = 0; i < 500; ++i) {
            QStringList before;
            QStringList after;
            for (int k = random.bounded(12); k > 0; --k)
                before += QString(QChar('a' + random.bounded(4)));
            for (int k = random.bounded(12); k > 0; --k)
                after += QString(QChar('a' + random.bounded(4)));
            QStringList old;
            QStringList changed;
            int same = 0;
            for (const ComparedLine &line : compareLines(before, after)) {
                if (line.kind != ComparedLine::Added)
                    old += line.text;
                if (line.kind != ComparedLine::Removed)
                    changed += line.text;
                same += line.kind == ComparedLine::Same;
            }
            QCOMPARE(old, before);
            QCOMPARE(changed, after);
            QCOMPARE(same, commonLines(before, after));
        }
    }

    /// A kill at any moment loses the last two seconds at most, and never harms a file on disk.
    /// KILNX_KILLS asks for another number of kills.
    void killsLoseTwoSeconds()
    {
        const int kills = qEnvironmentVariableIsSet("KILNX_KILLS")
                              ? qEnvironmentVariableIntValue("KILNX_KILLS")
                              : 12;
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        qint64 longest = 0;
        for (int done = 0; done < kills; done += 4) {
            std::vector<std::unique_ptr<QTemporaryDir>> directories;
            std::vector<std::unique_ptr<QProcess>> programs;
            QVector<qint64> ends;
            for (int i = 0; i < 4; ++i) {
                directories.push_back(std::make_unique<QTemporaryDir>());
                copyFolder(hero(), directories.back()->filePath("hero"));
                programs.push_back(std::make_unique<QProcess>());
                programs.back()->start(
                    QCoreApplication::applicationFilePath(),
                    {"--type", directories.back()->path(), QString::number(random.generate())});
            }
            for (auto &program : programs)
                QVERIFY(program->waitForReadyRead(60000));
            for (auto &program : programs) {
                QTest::qWait(int(random.bounded(1200)));
                ends += QDateTime::currentMSecsSinceEpoch();
                program->kill();
            }
            for (int i = 0; i < 4; ++i) {
                QTRY_COMPARE(programs[size_t(i)]->state(), QProcess::NotRunning);
                longest =
                    qMax(longest, lost(*directories[size_t(i)],
                                       programs[size_t(i)]->readAllStandardOutput(), ends[i]));
            }
        }
        qInfo("%d kills, at most the last %lld ms lost", kills, longest);
    }

private:
    /// Sounds are kept less often than text, by so many milliseconds.
    static constexpr qint64 soundsMayWait = 2000;

    /// The number of the newest sound in the journal, 0 for none, while the project is open. The
    /// file itself was never saved.
    int newest(const QTemporaryDir &directory)
    {
        const QString name = directory.filePath("hero/") + soundFile;
        if (readFile(name) != readFile(path(soundFile)))
            QTest::qFail("the sounds were harmed", __FILE__, __LINE__);
        for (const RecoveryJournal::Entry &entry :
             RecoveryJournal(session(), directory.filePath("data/recovery")).leftBehind()) {
            if (entry.isText)
                continue;
            BytesArchive archive(entry.items.bytes);
            const std::unique_ptr<Kiln::Sounds, Release> sounds(dynamic_cast<Kiln::Sounds *>(
                host().engine()->createFile(Kiln::Project::FileID::Sounds, nullptr)));
            if (!sounds->fromFile(archive, name, true))
                QTest::qFail("the journal has no sounds", __FILE__, __LINE__);
            return sounds->itemAt(0)->property("Identifier").toInt();
        }
        return 0;
    }

    /// How old the oldest change is that is neither in a file nor in the journal. Fails when a text
    /// never stood in the editor.
    qint64 lost(const QTemporaryDir &directory, const QByteArray &told, qint64 end)
    {
        QVector<qint64> soundTimes;
        QMap<QString, Story> stories;
        for (const char *name : editedFiles)
            stories[name].texts += textOnDisk(path(name));
        for (const QByteArray &line : told.split('\n')) {
            const QList<QByteArray> words = line.split(' ');
            if (words.size() != 5 || words[4].size() != 13)
                continue;
            if (words[0] == "3") {
                soundTimes += words[4].toLongLong();
                continue;
            }
            Story &story = stories[editedFiles[words[0].toInt()]];
            QString text = story.texts.last();
            if (words[1] == "-1") {
                story.saved += text;
                continue;
            }
            text.replace(words[1].toInt(), words[2].toInt(), QString::fromLatin1(words[3]));
            story.texts += text;
            story.times += words[4].toLongLong();
        }
        const int newestSound = newest(directory);
        qint64 oldest =
            newestSound < soundTimes.size() ? end - soundTimes.at(newestSound) - soundsMayWait : 0;
        if (newestSound > soundTimes.size())
            QTest::qFail("a sound that never was", __FILE__, __LINE__);
        session().close();
        const QList<RecoveryJournal::Entry> left =
            RecoveryJournal(session(), directory.filePath("data/recovery")).leftBehind();
        for (auto story = stories.begin(); story != stories.end(); ++story) {
            const QString name = directory.filePath("hero/") + story.key();
            const QString onDisk = textOnDisk(name);
            if (onDisk != story->texts.first() && !story->saved.contains(onDisk))
                QTest::qFail(qPrintable(name + " was harmed"), __FILE__, __LINE__);
            QString found = onDisk;
            for (const RecoveryJournal::Entry &entry : left) {
                if (entry.head.fileName == name)
                    found = QString(entry.text).replace(QChar::ParagraphSeparator, '\n');
            }
            const int held = story->texts.lastIndexOf(found);
            if (held < 0)
                QTest::qFail(qPrintable(name + " has a text that never was"), __FILE__, __LINE__);
            else if (held < story->times.size())
                oldest = qMax(oldest, end - story->times[held]);
        }
        if (oldest > 2000)
            QTest::qFail(qPrintable(QString("%1 ms are lost").arg(oldest)), __FILE__, __LINE__);
        return oldest;
    }
};

int main(int argc, char **argv)
{
    if (argc == 4 && !qstrcmp(argv[1], "--type"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    if (argc == 4 && !qstrcmp(argv[1], "--type"))
        typeForEver(argv[2], QByteArray(argv[3]).toUInt());
    tst_studio_recovery test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_studio_recovery.moc"
