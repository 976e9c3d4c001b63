#include "fakes.h"

#include <kilnx/project/fileeditor.h>
#include <tests/support/testhost.h>

#include <QAction>
#include <QtTest>

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

} // namespace

class tst_saving : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<QTemporaryDir> m_elsewhere;
    std::unique_ptr<TestHost> m_host;
    FakeParent *m_parent = nullptr;
    QString base() const { return m_directory->path() + '/'; }
    QString other() const { return m_elsewhere->path() + '/'; }

    FakeFile *openFile(FakeProject *project, const QString &path)
    {
        auto *file = new FakeFile;
        if (!file->fromFile(project->archive(), path, false))
            qFatal("cannot open %s", qPrintable(path));
        project->addFile(file, FileID::Sounds);
        return file;
    }

    static void change(FakeFile *file, const QByteArray &contents)
    {
        file->contents = contents;
        file->modified = true;
    }

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
        const QList<Project *> projects = m_parent->openedProjects();
        for (Project *project : projects)
            project->release();
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
        QCOMPARE(m_host->progresses.size(), 1);
        QCOMPARE(m_host->progresses.first()->text, QString("Saving..."));
        QCOMPARE(m_host->progresses.first()->total, 1u);
        QCOMPARE(m_host->progresses.first()->steps, QList<unsigned int>({0, 1}));
        QCOMPARE(m_host->progresses.first()->finished, 1);
    }

    void oneDefinitionMoves_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("from the base") << "";
        QTest::newRow("from below the base") << "sub/";
    }

    void oneDefinitionMoves()
    {
        QFETCH(QString, folder);
        const QString own = base() + folder;
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
    }

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
        change(file, "to be lost");
        QVERIFY(m_parent->restoreBackup("night"));
        QCOMPARE(file->contents, QByteArray("from the night"));
        QCOMPARE(contentsOf(base() + "a"), QByteArray("from the night"));
        QCOMPARE(contentsOf(base() + "deep/b"), QByteArray("deep"));
        QCOMPARE(dump(*m_parent), QString("a+4\nb+4\nd.def+1\n"));
        QVERIFY(!file->isWatchPaused());
        QVERIFY(m_host->log.contains("refreshEditors"));
        const auto progress = m_host->progresses.last();
        QCOMPARE(progress->text, QString("Restoring backup..."));
        QCOMPARE(progress->total, 4u);
        QCOMPARE(progress->steps.last(), 4u);
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
        struct ReadOnly : FileSystemArchive {
            ReadOnly()
                : FileSystemArchive(instance())
            {
                refCount = 0;
            }
            bool isReadOnly() const override { return true; }
        };
        ReadOnly archive;
        makeFile(base() + "backup/night/a", "from the night");
        {
            FakeParent parent(base(), archive);
            QVERIFY(!parent.restoreBackup("night"));
        }
        QCOMPARE(archive.refCount, 0);
        QVERIFY(!QFile::exists(base() + "a"));
        makeFile(base() + "d.def");
        m_parent->open("d.def");
    }
};

QTEST_MAIN(tst_saving)
#include "tst_saving.moc"
