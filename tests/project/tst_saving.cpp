#include "fakes.h"

#include <kilnx/project/fileeditor.h>
#include <kilnx/project/savereport.h>
#include <tests/support/testhost.h>

#include <QAction>
#include <QtTest>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace Kiln;

using FileID = Project::FileID;

namespace
{

class FakeEditor : public FileEditor
{
    Q_OBJECT

public:
    QAction *action() const override { return nullptr; }
    const char *name() const override { return "bytes"; }
    unsigned int areas() const override { return 0; }
    void retranslate() override {}
    void replace(const QString &, const QString &, unsigned int, bool) override {}
    void hostReserved15() override {}
    FileID::Type canEditFileType() override { return FileID::Sounds; }
    bool find(const ProjectFile *, const QString &, unsigned int) override { return false; }
};

CodeDocument *definitionOf(Project *project)
{
    return dynamic_cast<CodeDocument *>(project->file(FileID::Definition));
}

using Files = QMap<QString, QByteArray>;

/// "name: contents" of everything below a directory, sorted.
QStringList filesBelow(const QString &directory)
{
    QStringList lines;
    QDirIterator iterator(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        lines << path.mid(directory.size()) + ": " +
                     QString::fromUtf8(contentsOf(path)).simplified();
    }
    lines.sort();
    return lines;
}

constexpr int killRounds = 200;

/// Contents that can be told whole from cut-off: a header, a body of one character, a footer.
QByteArray numbered(int number)
{
    const QByteArray text = QByteArray::number(number);
    return "begin " + text + '\n' + QByteArray(20000, char('a' + number % 26)) + "\nend " + text;
}

/// The number of whole contents; -1 for anything else.
int numberOf(const QByteArray &contents)
{
    const int line = contents.indexOf('\n');
    const int number = contents.mid(6, line - 6).toInt();
    return line > 6 && contents == numbered(number) ? number : -1;
}

FakeFile *openFile(Project *project, const QString &path)
{
    auto *file = new FakeFile;
    if (!file->fromFile(project->archive(), path, false))
        qFatal("cannot open %s", qPrintable(path));
    project->addFile(file, FileID::Sounds);
    return file;
}

void change(FakeFile *file, const QByteArray &contents)
{
    file->contents = contents;
    file->modified = true;
}

/// The child of the kill test: changes and saves for ever, here and there, and tells through
/// `report` the number of each file that counts as saved.
[[noreturn]] void saveForEver(const QString &directory, int report)
{
    setGlobalInterface(nullptr);
    if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0)
        _exit(1);
    auto *parent = new FakeParent(directory + "a/");
    FakeProject *one = parent->open("one.def");
    FakeProject *two = parent->open("two.def");
    const QList<FakeFile *> files{
        openFile(one, directory + "a/own"),    openFile(one, directory + "a/shared"),
        openFile(one, directory + "a/locked"), openFile(one, directory + "outside"),
        openFile(two, directory + "a/shared"), openFile(two, directory + "a/deep/x"),
    };
    for (int number = 1;; ++number) {
        // The second instance of what is shared stays as it is.
        for (int i : {0, 1, 2, 3, 5})
            change(files[i], numbered(number));
        if (number % 2 == 1)
            parent->save();
        else
            parent->saveAs(directory + (number % 4 == 2 ? "b" : "a"));
        QByteArray told;
        for (FakeFile *file : files) {
            if (!file->modified)
                told += QByteArray::number(number) + ' ' + file->name.toUtf8() + '\n';
        }
        if (write(report, told.constData(), size_t(told.size())) != told.size())
            _exit(1);
    }
}

} // namespace

class tst_saving : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<QTemporaryDir> m_elsewhere;
    std::unique_ptr<TestHost> m_host;
    QPointer<FakeParent> m_parent;
    QString base() const { return m_directory->path() + '/'; }
    QString other() const { return m_elsewhere->path() + '/'; }

private slots:
    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        m_elsewhere = std::make_unique<QTemporaryDir>();
        m_host = std::make_unique<TestHost>();
        m_host->options["enable_file_watcher"] = true;
        m_parent = new FakeParent(base());
    }

    void cleanup()
    {
        const QList<Project *> projects =
            m_parent ? m_parent->openedProjects() : QList<Project *>();
        for (Project *project : projects)
            project->release();
        delete m_parent;
        QCOMPARE(m_host->dialogs().finish(), QString());
        m_host.reset();
        QCOMPARE(FakeParent::alive, 0);
        QCOMPARE(FakeFile::alive, 0);
        QCOMPARE(FileSystemArchive::instance().refCount, 0);
    }

    void savesWhatIsModified()
    {
        makeFile(base() + "d.def", "4 a\n4 b");
        for (const char *name : {"a", "b", "c"})
            makeFile(base() + name, "old");
        FakeProject *project = m_parent->open("d.def");
        FakeFile *modified = openFile(project, base() + "a");
        FakeFile *untouched = openFile(project, base() + "b");
        FakeFile *unsavable = openFile(project, base() + "c");
        change(modified, "new");
        untouched->contents = "not saved";
        change(unsavable, "not saved");
        unsavable->savable = false;
        FakeEditor editor;
        m_host->fileEditors[FileID::Sounds] = &editor;
        auto *unnamed = new FakeFile;
        change(unnamed, "named");
        project->addFile(unnamed, FileID::Sounds);
        auto *withoutEditor = new FakeFile;
        change(withoutEditor, "nowhere");
        project->addFile(withoutEditor, FileID::Animations);
        m_host->dialogs().expectFiles({base() + "later"});
        m_parent->save();
        QCOMPARE(filesBelow(base()),
                 QStringList({"a: new", "b: old", "c: old", "d.def: 4 a 4 b", "later: named"}));
        QVERIFY(!unnamed->modified && withoutEditor->modified);
        QCOMPARE(m_parent->saveReport().written, QStringList({base() + "a", base() + "later"}));
        QCOMPARE(m_parent->saveReport().leftOut.size(), 1);
        QCOMPARE(m_host->progresses.size(), 1);
        QCOMPARE(m_host->progresses.first()->text, QString("Saving..."));
        QCOMPARE(m_host->progresses.first()->total, 1u);
        QCOMPARE(m_host->progresses.first()->steps, QList<unsigned int>({0, 1}));
        QCOMPARE(m_host->progresses.first()->finished, 1);
    }

    void oneDefinitionMoves_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("isLink");
        QTest::newRow("from the base") << "" << false;
        QTest::newRow("from below the base") << "sub/" << false;
        QTest::newRow("over files behind a link") << "" << true;
    }

    void oneDefinitionMoves()
    {
        QFETCH(QString, folder);
        QFETCH(bool, isLink);
        const QString own = base() + folder;
        if (isLink) {
            makeFile(other() + "real/new.def", "replaced");
            makeFile(other() + "real/snd/a", "replaced");
            QVERIFY(QFile::link(other() + "real", other() + "to"));
        }
        makeFile(own + "d.def", "4 snd/a\n4 snd/data\n4 data\n4 all/\n4 /etc/passwd\n4 ../out");
        makeFile(own + "snd/a", "open");
        makeFile(own + "data", "closed");
        makeFile(own + "snd/data", "also open");
        makeFile(own + "all/of/it", "x");
        makeFile(own + "stranger", "not named");
        makeFile(other() + "before", "stays");
        FakeProject *project = m_parent->open(folder + "d.def");
        change(openFile(project, own + "snd/a"), "in memory");
        openFile(project, own + "snd/data");
        FakeFile *outside = openFile(project, other() + "before");
        QTextCursor cursor = definitionOf(project)->cursor();
        cursor.movePosition(QTextCursor::Start);
        cursor.insertText("4 more\n");
        m_parent->saveAs(other() + "to/new.def");
        QCOMPARE(filesBelow(other() + "to/"),
                 QStringList({"all/of/it: x", "data: closed",
                              "new.def: 4 more 4 snd/a 4 snd/data 4 data 4 all/ 4 /etc/passwd 4 "
                              "../out",
                              "snd/a: in memory", "snd/data: also open"}));
        QCOMPARE(contentsOf(own + "snd/a"), QByteArray("open"));
        QCOMPARE(m_parent->basePath(), other() + "to/");
        QCOMPARE(project->fileName(), other() + "to/new.def");
        QCOMPARE(outside->name, other() + "before");
        QCOMPARE(dump(*m_parent),
                 QString("all/\nsnd/\n  a+4\n  data+4\ndata+4\nmore+4\nnew.def+1\n"));
        QVERIFY(m_parent->filePath(other() + "to/snd/a"));
    }

    void failedMoveStaysWhereItIs()
    {
        makeFile(base() + "d.def", "4 a");
        FakeProject *project = m_parent->open("d.def");
        static_cast<FakeDocument *>(definitionOf(project))->refuses = true;
        m_parent->saveAs(other() + "to/new.def");
        QCOMPARE(m_parent->basePath(), base());
        QCOMPARE(dump(*m_parent), QString("a+4\nd.def+1\n"));
        QCOMPARE(filesBelow(other()), QStringList());
        QCOMPARE(m_parent->saveReport().failures.size(), 1);
    }

    void eachTargetHasOneSource_data()
    {
        QTest::addColumn<Files>("disk");
        QTest::addColumn<QStringList>("opened"); // "definition name", and "!" where it is changed
        QTest::addColumn<QString>("target");     // empty: a backup
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<int>("failures");
        const Files twice{{"d.def", "4 a\n8 a"}, {"a", "disk"}};
        const QStringList twiceMoved{"a: changed 0", "d.def: 4 a 8 a"};
        QTest::newRow("named twice, backup")
            << twice << QStringList{"d.def a!"} << "" << twiceMoved << 0;
        QTest::newRow("named twice")
            << twice << QStringList{"d.def a!"} << "x/d.def" << twiceMoved << 0;
        const Files shared{{"d.def", "4 a"}, {"e.def", "4 a"}, {"a", "disk"}};
        for (const QString target : {"", "x"}) {
            const QByteArray kind = target.isEmpty() ? "backup" : "moved";
            const auto row = [&](const char *name, const QStringList &opened, const char *a,
                                 int failures) {
                QTest::newRow(name + (' ' + kind))
                    << shared << opened << target
                    << QStringList({QString("a: ") + a, "d.def: 4 a", "e.def: 4 a"}) << failures;
            };
            row("shared, changed in the first", {"d.def a!", "e.def a"}, "changed 0", 0);
            row("shared, changed in the second", {"d.def a", "e.def a!"}, "changed 1", 0);
            row("shared, not open in the second", {"d.def a!", "e.def -"}, "changed 0", 0);
            row("shared, not open in the first", {"d.def -", "e.def a!"}, "changed 1", 0);
            const Files below{{"d.def", "4 all/"}, {"all/a", "disk"}, {"all/.b", "b"}};
            QTest::newRow("a directory that is named " + kind)
                << below << QStringList{"d.def all/a!"} << (target.isEmpty() ? target : "x/d.def")
                << QStringList({"all/.b: b", "all/a: changed 0", "d.def: 4 all/"}) << 0;
        }
        const Files far{{"one/d.def", "4 ../notes/a.txt\n4 ../away"},
                        {"two/e.def", ""},
                        {"notes/a.txt", "disk"},
                        {"away", "not scanned"}};
        QTest::newRow("outside, scanned and named")
            << far << QStringList({"one/d.def -", "two/e.def -"}) << "x"
            << QStringList(
                   {"notes/a.txt: disk", "one/d.def: 4 ../notes/a.txt 4 ../away", "two/e.def: "})
            << 0;
        QTest::newRow("outside, scanned, named and changed")
            << far << QStringList({"one/d.def notes/a.txt!", "two/e.def -"}) << "x"
            << QStringList({"notes/a.txt: changed 0", "one/d.def: 4 ../notes/a.txt 4 ../away",
                            "two/e.def: "})
            << 0;
        QTest::newRow("outside, changed and not scanned")
            << far << QStringList({"one/d.def away!", "two/e.def -"}) << "x"
            << QStringList(
                   {"notes/a.txt: disk", "one/d.def: 4 ../notes/a.txt 4 ../away", "two/e.def: "})
            << 1;
        QTest::newRow("one definition of a game")
            << Files{{"sub/d.def", "4 a"}, {"sub/a", "disk"}, {"notes/n.txt", "n"}, {"game", "x"}}
            << QStringList{"sub/d.def -"} << "x"
            << QStringList({"notes/n.txt: n", "sub/a: disk", "sub/d.def: 4 a"}) << 0;
        QTest::newRow("into a directory of its own")
            << Files{{"d.def", "4 x/a\n4 a"}, {"e.def", ""}, {"a", "upper"}, {"x/a", "lower"}}
            << QStringList({"d.def -", "e.def -"}) << "./x"
            << QStringList({"a: upper", "d.def: 4 x/a 4 a", "e.def: ", "x/a: lower"}) << 0;
    }

    /// On the disk, and on an archive that is none.
    void eachTargetHasOneSource()
    {
        QFETCH(Files, disk);
        QFETCH(QStringList, opened);
        QFETCH(QString, target);
        QFETCH(QStringList, expected);
        QFETCH(int, failures);
        const bool isInside = target.startsWith("./");
        for (const bool isOnDisk : {true, false}) {
            MemoryArchive memory;
            memory.addOwner();
            const QString root = other() + (isOnDisk ? "disk/" : "memory/");
            for (auto file = disk.begin(); file != disk.end(); ++file) {
                if (isOnDisk || file.key().startsWith("notes"))
                    makeFile(root + file.key(), *file);
                memory.files[root + file.key()] = *file;
            }
            FakeEngine engine;
            engine.program = "game";
            auto *parent = isOnDisk ? new FakeParent(root) : new FakeParent(root, memory);
            parent->fakeEngine = &engine;
            parent->addPath("notes", ParentProject::ScanFiles, {"*.txt"});
            QList<FakeFile *> changed;
            for (int i = 0; i < opened.size(); ++i) {
                FakeProject *project = parent->open(opened[i].section(' ', 0, 0));
                QString name = opened[i].section(' ', 1);
                const bool isChanged = name.endsWith('!');
                name.remove('!');
                FakeFile *file = name == "-" ? nullptr : openFile(project, root + name);
                if (isChanged) {
                    change(file, "changed " + QByteArray::number(i));
                    changed << file;
                }
            }
            const QString to = isInside ? root + target.mid(2) : base() + (isOnDisk ? "1" : "2");
            const QString path = target.contains("d.def") ? to + "/d.def" : to;
            QString made = to + '/';
            if (target.isEmpty()) {
                QVERIFY(parent->backup("b"));
                made = root + "backup/" + QDir(root + "backup").entryList({"*_b"}).value(0) + '/';
            } else {
                QStringList replaced;
                if (isInside && isOnDisk)
                    replaced << to + "/a";
                QCOMPARE(parent->replacedBySaveAs(path), replaced);
                parent->saveAs(path);
                QCOMPARE(parent->basePath(), made);
                for (Project *project : parent->openedProjects())
                    QVERIFY(project->fileName().startsWith(made));
            }
            const QStringList found = filesBelow(made);
            QCOMPARE(found, expected);
            const SaveReport report = parent->saveReport();
            QCOMPARE(report.failures.size() + report.leftOut.size(), failures);
            QCOMPARE(report.text().count('\n') + !report.isComplete(), failures);
            QCOMPARE(report.written.size() + report.copied.size(), found.size());
            for (const FakeFile *file : qAsConst(changed)) {
                const bool isSaved = !target.isEmpty() && failures == 0;
                QVERIFY(file->modified != isSaved);
            }
            for (Project *project : parent->openedProjects())
                project->release();
            QCOMPARE(memory.refCount, 1);
        }
    }

    void savesTellWhatDidNotWorkOut()
    {
        makeFile(base() + "d.def", "4 a\n4 b\n4 gone");
        makeFile(base() + "e.def", "4 b");
        for (const char *name : {"a", "b", "gone"})
            makeFile(base() + name, "old");
        FakeProject *one = m_parent->open("d.def");
        FakeProject *two = m_parent->open("e.def");
        FakeFile *failing = openFile(one, base() + "a");
        FakeFile *first = openFile(one, base() + "b");
        FakeFile *second = openFile(two, base() + "b");
        openFile(one, base() + "gone");
        change(failing, "lost");
        change(first, "first");
        change(second, "second");
        failing->refuses = true;
        QVERIFY(QFile::remove(base() + "gone"));
        m_parent->save();
        const SaveReport report = m_parent->saveReport();
        QCOMPARE(report.failures.size(), 2);
        QCOMPARE(report.missing, QStringList(base() + "gone"));
        QCOMPARE(report.text().count('\n'), 2);
        QCOMPARE(report.written, QStringList(base() + "b"));
        QVERIFY(failing->modified && first->modified != second->modified);
        QCOMPARE(contentsOf(base() + "b"), QByteArray(first->modified ? "second" : "first"));
        QVERIFY(!QFile::exists(base() + "gone"));
        second->modified = first->modified = false;
        failing->refuses = false;
        m_parent->save();
        QVERIFY(m_parent->saveReport().failures.isEmpty());
        QCOMPARE(contentsOf(base() + "a"), QByteArray("lost"));
    }

    void whatCannotBeWrittenDoesNotMove_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("refuses");
        QTest::newRow("below a file") << "FILE/below" << false;
        QTest::newRow("a definition that cannot be saved") << "DIR/to" << true;
        QTest::newRow("nowhere") << "" << false;
    }

    void whatCannotBeWrittenDoesNotMove()
    {
        QFETCH(QString, target);
        QFETCH(bool, refuses);
        makeFile(base() + "d.def", "4 a");
        makeFile(base() + "e.def", "4 a");
        makeFile(base() + "a", "old");
        makeFile(other() + "file", "in the way");
        FakeFile *file = openFile(m_parent->open("d.def"), base() + "a");
        FakeProject *last = m_parent->open("e.def");
        for (Project *project : m_parent->openedProjects())
            static_cast<FakeDocument *>(definitionOf(project))->refuses =
                refuses && project == last;
        change(file, "new");
        const QString before = dump(*m_parent);
        m_parent->saveAs(target.replace("FILE", other() + "file").replace("DIR/", other()));
        QCOMPARE(m_parent->basePath(), base());
        QCOMPARE(dump(*m_parent), before);
        QCOMPARE(m_parent->saveReport().failures.size(), target.isEmpty() ? 0 : 1);
        QVERIFY(file->modified && file->name == base() + "a");
        QCOMPARE(filesBelow(other()), QStringList("file: in the way"));
    }

    void relativePlacesAreFromHere()
    {
        makeFile(base() + "d.def", "");
        makeFile(base() + "e.def", "");
        m_parent->open("d.def");
        m_parent->open("e.def");
        const QString here = QDir::currentPath();
        QVERIFY(QDir::setCurrent(other()));
        m_parent->saveAs("to");
        QVERIFY(QDir::setCurrent(here));
        QCOMPARE(m_parent->basePath(), other() + "to/");
        QCOMPARE(dump(*m_parent), QString("d.def+1\ne.def+1\n"));
    }

    void projectClosedInTheMiddle_data()
    {
        QTest::addColumn<bool>("restores");
        QTest::newRow("of a save") << false;
        QTest::newRow("of a restore") << true;
    }

    void projectClosedInTheMiddle()
    {
        QFETCH(bool, restores);
        makeFile(base() + "d.def", "4 a\n4 b");
        makeFile(base() + "backup/x/a", "backup");
        FakeProject *project = m_parent->open("d.def");
        for (const char *name : {"a", "b"}) {
            makeFile(base() + name, "old");
            FakeFile *file = openFile(project, base() + name);
            change(file, "new");
            file->inBox = [project] { project->release(); };
        }
        if (restores)
            QVERIFY(m_parent->restoreBackup("x"));
        else
            m_parent->save();
        QVERIFY(!m_parent);
        QCOMPARE(contentsOf(base() + "a"), QByteArray(restores ? "backup" : "old"));
    }

    void killedSavesLoseNothing()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        const Files definitions{{"one.def", "4 own\n4 shared\n8 shared\n4 locked\n4 ./own"},
                                {"two.def", "4 shared\n4 deep/x"}};
        const QStringList names{"own", "shared", "locked", "deep/x"};
        int told = 0;
        int between = 0;
        for (int round = 0; round < killRounds; ++round) {
            const QTemporaryDir directory;
            const QString root = directory.path() + '/';
            QMap<QString, int> saved{{root + "outside", 0}};
            makeFile(root + "outside", numbered(0));
            for (const QString &place : {root + "a/", root + "b/"}) {
                for (auto text = definitions.begin(); text != definitions.end(); ++text)
                    makeFile(place + text.key(), *text);
                for (const QString &name : names) {
                    makeFile(place + name, numbered(0));
                    saved[place + name] = 0;
                }
                QFile::setPermissions(place + "locked", QFile::ReadOwner);
            }
            giveAway(directory.path());
            int pipes[2];
            QCOMPARE(pipe(pipes), 0);
            const pid_t child = fork();
            if (child == 0)
                saveForEver(root, pipes[1]);
            ::close(pipes[1]);
            QFile reader;
            QVERIFY(reader.open(pipes[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
            QThread::usleep(random.bounded(60000));
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
            const QByteArray lines = reader.readAll();
            for (const QByteArray &line : lines.split('\n')) {
                const int blank = line.indexOf(' ');
                if (blank > 0)
                    saved[QString::fromUtf8(line.mid(blank + 1))] = line.left(blank).toInt();
            }
            told += lines.count('\n');
            for (auto file = saved.begin(); file != saved.end(); ++file) {
                const bool isThere = QFile::exists(file.key());
                between += !isThere;
                int newest = isThere ? numberOf(contentsOf(file.key())) : 0;
                QVERIFY2(newest >= 0, qPrintable(file.key() + " is cut off"));
                QVERIFY(!file.key().endsWith("locked") || newest == 0);
                for (const QString &left : leftBeside(file.key()))
                    newest = qMax(newest, numberOf(contentsOf(left)));
                QVERIFY2(newest >= *file, qPrintable(QString("%1: %2 was saved, %3 is there")
                                                         .arg(file.key())
                                                         .arg(*file)
                                                         .arg(newest)));
            }
            for (auto text = definitions.begin(); text != definitions.end(); ++text) {
                for (const QString &place : {root + "a/", root + "b/"}) {
                    QStringList found = leftBeside(place + text.key());
                    if (QFile::exists(place + text.key()))
                        found = QStringList(place + text.key());
                    const bool isWhole =
                        std::any_of(found.begin(), found.end(), [&](const QString &name) {
                            return contentsOf(name).simplified() == text->simplified();
                        });
                    QVERIFY2(isWhole, qPrintable(place + text.key()));
                }
            }
        }
        QVERIFY(told > killRounds);
        qInfo("%d files told as saved, %d kills, %d between removal and renaming", told, killRounds,
              between);
    }

private:
    /// The temporaries of a file.
    static QStringList leftBeside(const QString &fileName)
    {
        const QFileInfo info(fileName);
        QStringList found = info.dir().entryList({info.fileName() + "??????"}, QDir::Files);
        for (QString &name : found)
            name.prepend(info.path() + '/');
        return found;
    }

    /// The child is nobody: to root nothing is locked.
    static void giveAway(const QString &directory)
    {
        QDirIterator all(directory, QDir::AllEntries | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
        QStringList paths{directory};
        while (all.hasNext())
            paths << all.next();
        for (const QString &path : qAsConst(paths)) {
            if (geteuid() == 0 && chown(QFile::encodeName(path).constData(), 65534, 65534) != 0)
                qFatal("cannot give %s away", qPrintable(path));
        }
    }

private slots:
    void severalDefinitionsMove()
    {
        makeFile(base() + "one/d.def", "4 a");
        makeFile(base() + "one/a", "first");
        makeFile(base() + "two/e.def", "4 a");
        makeFile(base() + "two/a", "second");
        makeFile(base() + "notes/deep/n.txt", "note");
        makeFile(base() + "notes/other.bin", "not collected");
        m_parent->addPath("notes", ParentProject::ScanDirectories | ParentProject::ScanFiles,
                          {"*.txt"});
        FakeProject *one = m_parent->open("one/d.def");
        FakeProject *two = m_parent->open("two/e.def");
        change(openFile(one, base() + "one/a"), "changed");
        makeFile(base() + "notes/n.txt", "top note");
        QTRY_VERIFY(m_parent->filePath(base() + "notes/n.txt"));
        m_parent->saveAs(other() + "moved");
        QCOMPARE(filesBelow(other()),
                 QStringList({"moved/notes/deep/n.txt: note", "moved/notes/n.txt: top note",
                              "moved/one/a: changed", "moved/one/d.def: 4 a", "moved/two/a: second",
                              "moved/two/e.def: 4 a"}));
        QCOMPARE(m_parent->basePath(), other() + "moved/");
        QCOMPARE(one->fileName(), other() + "moved/one/d.def");
        QCOMPARE(two->basePath(), QString("two/"));
        QCOMPARE(dump(*m_parent), QString("notes/\n  deep/\n    n.txt\n  n.txt\none/\n  a+4\n  "
                                          "d.def+1\ntwo/\n  a+4\n  e.def+1\n"));
        // The new place is watched, the old one no more.
        makeFile(base() + "notes/old.txt");
        makeFile(other() + "moved/notes/new.txt");
        QTRY_VERIFY(m_parent->filePath(other() + "moved/notes/new.txt"));
        QVERIFY(!dump(*m_parent).contains("old.txt"));
        const auto progress = m_host->progresses.last();
        QCOMPARE(progress->text, QString("Saving..."));
        QCOMPARE(progress->steps.last(), progress->total);
    }

    void backupHoldsWhatIsInMemory()
    {
        makeFile(base() + "sub/d.def", "4 a\n4 b\n4 closed\n4 missing");
        for (const char *name : {"sub/a", "sub/b", "sub/closed"})
            makeFile(base() + name, "disk");
        makeFile(other() + "outside", "far");
        FakeProject *project = m_parent->open("sub/d.def");
        FakeFile *a = openFile(project, base() + "sub/a");
        openFile(project, base() + "sub/b")->contents = "unmodified";
        FakeFile *failing = openFile(project, base() + "sub/closed");
        change(a, "memory");
        change(failing, "cannot be written");
        failing->refuses = true;
        change(openFile(project, other() + "outside"), "stays out");
        definitionOf(project)->cursor().insertText("\n");
        QVERIFY(m_parent->backup("night"));

        const QStringList made =
            QDir(base() + "backup").entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QCOMPARE(made.size(), 1);
        QVERIFY2(QRegularExpression("^\\d\\d\\.\\d\\d\\.\\d{4}_\\d{1,2}\\.\\d{1,2}\\.\\d{1,2}_"
                                    "[a-z]+_night$")
                     .match(made.first())
                     .hasMatch(),
                 qPrintable(made.first()));
        QCOMPARE(filesBelow(base() + "backup/" + made.first() + "/"),
                 QStringList({"sub/a: memory", "sub/b: disk", "sub/closed: disk",
                              "sub/d.def: 4 a 4 b 4 closed 4 missing"}));
        QVERIFY(a->modified && a->name == base() + "sub/a");
        QVERIFY(definitionOf(project)->isModified());
        QCOMPARE(project->fileName(), base() + "sub/d.def");
        QCOMPARE(contentsOf(base() + "sub/a"), QByteArray("disk"));
        QCOMPARE(m_host->progresses.last()->text, QString("Backup in progress..."));
    }

    void restoreBringsFilesBackWithoutAQuestion()
    {
        makeFile(base() + "d.def", "4 a");
        makeFile(base() + "a", "old");
        FakeProject *project = m_parent->open("d.def");
        FakeFile *file = openFile(project, base() + "a");
        makeFile(base() + "backup/night/a", "from the night");
        makeFile(base() + "backup/night/d.def", "4 a\n4 b");
        makeFile(base() + "backup/night/deep/b", "deep");
        makeFile(base() + "backup/night/.hidden", "seen");
        change(file, "to be lost");
        QCOMPARE(m_parent->replacedByRestore("night"),
                 QStringList({base() + "a", base() + "d.def"}));
        QVERIFY(m_parent->restoreBackup("night"));
        QVERIFY(m_parent->saveReport().isComplete());
        QCOMPARE(m_parent->replacedByRestore("night"), QStringList());
        QCOMPARE(contentsOf(base() + ".hidden"), QByteArray("seen"));
        QCOMPARE(file->contents, QByteArray("from the night"));
        QCOMPARE(contentsOf(base() + "a"), QByteArray("from the night"));
        QCOMPARE(contentsOf(base() + "deep/b"), QByteArray("deep"));
        QCOMPARE(dump(*m_parent), QString("a+4\nb+4\nd.def+1\n"));
        QVERIFY(!file->isWatchPaused());
        QVERIFY(m_host->log.contains("refreshEditors"));
        const auto progress = m_host->progresses.last();
        QCOMPARE(progress->text, QString("Restoring backup..."));
        QCOMPARE(progress->total, 5u);
        QCOMPARE(progress->steps.last(), 5u);
        // A change from outside is noticed as before.
        m_host->dialogs().expectBox(QMessageBox::Yes);
        makeFile(base() + "a", "outside");
        QTRY_COMPARE(file->contents, QByteArray("outside"));
        QCOMPARE(m_host->dialogs().seen().size(), 1);
    }

    void restoreRefusesWhatItDoesNotKnow_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"", "/", "unknown", "..", "night/../..", "."})
            QTest::newRow(name) << name;
    }

    void restoreRefusesWhatItDoesNotKnow()
    {
        QFETCH(QString, name);
        makeFile(base() + "d.def", "4 a");
        makeFile(base() + "a", "kept");
        makeFile(base() + "backup/night/a", "from the night");
        FakeProject *project = m_parent->open("d.def");
        FakeFile *file = openFile(project, base() + "a");
        change(file, "in memory");
        const QStringList before = filesBelow(base());
        QVERIFY(!m_parent->restoreBackup(name));
        QCOMPARE(filesBelow(base()), before);
        QCOMPARE(file->contents, QByteArray("in memory"));
    }

    void readOnlyArchiveRestoresNothing()
    {
        MemoryArchive archive;
        archive.readOnly = true;
        makeFile(base() + "backup/night/a", "from the night");
        QVERIFY(!FakeParent(base(), archive).restoreBackup("night"));
        QCOMPARE(archive.refCount, 0);
        QVERIFY(archive.files.isEmpty() && !QFile::exists(base() + "a"));
    }
};

QTEST_MAIN(tst_saving)
#include "tst_saving.moc"
