#include "savetest.h"

#include <kilnx/project/archive_p.h>
#include <kilnx/project/saveprogress_p.h>
#include <kilnx/project/savereport.h>
#include <tests/support/fulldisk.h>

#include <QScopeGuard>

#include <csignal>
#include <poll.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Kiln;
using namespace SaveTest;

using FileID = Project::FileID;

class tst_saving : public ProjectTest
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_elsewhere;
    QPointer<FakeParent> m_parent;
    QString other() const { return m_elsewhere->path() + '/'; }

private slots:
    void init()
    {
        ProjectTest::init();
        m_elsewhere = std::make_unique<QTemporaryDir>();
        m_host->options["enable_file_watcher"] = true;
        m_parent = new FakeParent(base());
    }

    void cleanup()
    {
        if (m_parent) {
            for (Project *project : m_parent->openedProjects())
                project->release();
        }
        delete m_parent;
        ProjectTest::cleanup();
    }

    void savesWhatIsModified()
    {
        make({{"d.def", "4 a\n4 b"}, {"a", "old"}, {"b", "old"}, {"c", "old"}});
        FakeProject *project = m_parent->open("d.def");
        change(openFile(project, path("a")), "new");
        openFile(project, path("b"))->contents = "not saved";
        FakeFile *unsavable = openFile(project, path("c"));
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
        m_host->dialogs().expectFiles({path("later")});
        m_parent->save();
        QCOMPARE(filesBelow(base()),
                 QStringList({"a: new", "b: old", "c: old", "d.def: 4 a 4 b", "later: named"}));
        QVERIFY(!unnamed->modified && withoutEditor->modified);
        QCOMPARE(m_parent->saveReport().written, QStringList({path("a"), path("later")}));
        QCOMPARE(m_parent->saveReport().text(),
                 QString("A new file was given no name, and its changes are not saved."));
        QCOMPARE(m_host->progresses.size(), 1);
        const auto progress = m_host->progresses.first();
        QCOMPARE(progress->text, QString("Saving..."));
        QCOMPARE(progress->total, 1u);
        QCOMPARE(progress->steps, QList<unsigned int>({0, 1}));
        QCOMPARE(progress->finished, 1);
    }

    /// Called by an engine, without a saving of the whole.
    void oneProjectIsSavedByItself()
    {
        make({{"d.def", "4 a\n4 deep/b"}, {"a", "old"}, {"deep/b", "on disk"}});
        FakeProject *project = m_parent->open("d.def");
        change(openFile(project, path("a")), "new");
        QStringList copied;
        project->saveAll(other(), true, &copied);
        QCOMPARE(filesBelow(other()),
                 QStringList({"a: new", "d.def: 4 a 4 deep/b", "deep/b: on disk"}));
        QCOMPARE(copied, QStringList({"a", "deep/b", "d.def"}));
        QCOMPARE(project->fileName(), path("d.def"));
        QCOMPARE(readFile(path("a")), QByteArray("old"));
    }

    void oneDefinitionMoves_data()
    {
        columns<QString, bool>("folder", "isLink");
        addRow("from the base", "", false);
        addRow("from below the base", "sub/", false);
        addRow("over files behind a link", "", true);
    }

    void oneDefinitionMoves()
    {
        const auto [folder, isLink] = row<QString, bool>();
        const QString own = base() + folder;
        if (isLink) {
            writeFile(other() + "real/new.def", "replaced");
            writeFile(other() + "real/snd/a", "replaced");
            QVERIFY(QFile::link(other() + "far", other() + "real/data"));
            QVERIFY(QFile::link(other() + "real", other() + "to"));
        }
        const QString text = "4 snd/a\n4 snd/data\n4 data\n4 all/\n4 /etc/passwd\n4 ../out";
        make({{folder + "d.def", text.toUtf8()},
              {folder + "snd/a", "open"},
              {folder + "data", "closed"},
              {folder + "snd/data", "also open"},
              {folder + "all/of/it", "x"},
              {folder + "stranger", "not named"}});
        writeFile(other() + "before", "stays");
        const QFile::Permissions rights = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
        QVERIFY(QFile::setPermissions(own + "data", rights));
        FakeProject *project = m_parent->open(folder + "d.def");
        change(openFile(project, own + "snd/a"), "in memory");
        openFile(project, own + "snd/data");
        const FakeFile *outside = openFile(project, other() + "before");
        QTextCursor cursor = definitionOf(project)->cursor();
        cursor.movePosition(QTextCursor::Start);
        cursor.insertText("4 more\n");
        const QString to = other() + "to/";
        m_parent->saveAs(to + "new.def");
        QCOMPARE(filesBelow(to), QStringList({"all/of/it: x", "data: closed",
                                              "new.def: 4 more " + QString(text).replace('\n', ' '),
                                              "snd/a: in memory", "snd/data: also open"}));
        QCOMPARE(readFile(own + "snd/a"), QByteArray("open"));
        QVERIFY(QFileInfo(to + "data").isExecutable() && !QFileInfo(to + "snd/a").isExecutable());
        QCOMPARE(QFileInfo(to + "data").isSymLink(), isLink);
        QCOMPARE(m_parent->basePath(), to);
        QCOMPARE(project->fileName(), to + "new.def");
        QCOMPARE(outside->name, other() + "before");
        QCOMPARE(dump(*m_parent), QString("all/\nsnd/\n  a+4\n  data+4\n"
                                          "data+4\nmore+4\nnew.def+1\n"));
        QVERIFY(m_parent->filePath(to + "snd/a"));
    }

    /// What is opened is "definition name ...". After a name, "!" says that it is changed, "?" that
    /// it cannot be written, too, and "~" that memory has other bytes, but counts as unchanged.
    void eachTargetHasOneSource_data()
    {
        columns<Files, QStringList, QString, QStringList, int>("disk", "opened", "target",
                                                               "expected", "failures");
        const QString backup;
        const Files twice{{"d.def", "4 a\n8 a"}, {"a", "disk"}};
        const Files shared{{"d.def", "4 a"}, {"e.def", "4 a"}, {"a", "disk"}};
        const Files below{{"d.def", "4 all/"}, {"all/a", "disk"}, {"all/.b", "b"}};
        for (const QString &target : {backup, QString("x")}) {
            const QString kind = target.isEmpty() ? "backup" : "moved";
            const QString alone = target.isEmpty() ? target : "x/d.def";
            const auto add = [&kind](const char *name, auto... values) {
                addRow(qPrintable(name + (' ' + kind)), values..., 0);
            };
            const auto addShared = [&](const char *name, const QStringList &opened, const char *a) {
                add(name, shared, opened, target,
                    QStringList({QString("a: ") + a, "d.def: 4 a", "e.def: 4 a"}));
            };
            add("named twice", twice, QStringList{"d.def a!"}, alone,
                QStringList({"a: changed 0", "d.def: 4 a 8 a"}));
            addShared("shared, changed in the first", {"d.def a!", "e.def a"}, "changed 0");
            addShared("shared, changed in the second", {"d.def a", "e.def a!"}, "changed 1");
            addShared("shared, not open in the second", {"d.def a!", "e.def"}, "changed 0");
            addShared("shared, not open in the first", {"d.def", "e.def a!"}, "changed 1");
            add("a directory that is named", below, QStringList{"d.def all/a!"}, alone,
                QStringList({"all/.b: b", "all/a: changed 0", "d.def: 4 all/"}));
        }
        const Files far{{"one/d.def", "4 ../notes/a.txt\n4 ../away"},
                        {"two/e.def", ""},
                        {"notes/a.txt", "disk"},
                        {"away", "not scanned"}};
        const auto farRow = [&far](const char *name, const char *opened, const char *notes,
                                   int failures) {
            addRow(name, far, QStringList({opened, "two/e.def"}), "x",
                   QStringList({QString("notes/a.txt: ") + notes,
                                "one/d.def: 4 ../notes/a.txt 4 ../away", "two/e.def: "}),
                   failures);
        };
        farRow("outside, scanned and named", "one/d.def", "disk", 0);
        farRow("outside, scanned, named and changed", "one/d.def notes/a.txt!", "changed 0", 0);
        farRow("outside, changed and not scanned", "one/d.def away!", "disk", 1);
        addRow("one definition of a game",
               Files{{"sub/d.def", "4 a"}, {"sub/a", "disk"}, {"notes/n.txt", "n"}, {"game", "x"}},
               QStringList{"sub/d.def"}, "x",
               QStringList({"notes/n.txt: n", "sub/a: disk", "sub/d.def: 4 a"}), 0);
        addRow("into a directory of its own",
               Files{{"d.def", "4 x/a\n4 a\n4 x/x/a"},
                     {"e.def", ""},
                     {"a", "upper"},
                     {"x/a", "lower"},
                     {"x/x/a", "lowest"}},
               QStringList({"d.def", "e.def"}), "./x",
               QStringList({"a: upper", "d.def: 4 x/a 4 a 4 x/x/a", "e.def: ", "x/a: lower",
                            "x/x/a: lowest"}),
               0);
        addRow("onto itself", Files{{"d.def", "4 a"}, {"e.def", ""}, {"a", "disk"}},
               QStringList({"d.def", "e.def"}), "./",
               QStringList({"a: disk", "d.def: 4 a", "e.def: "}), 0);
        const Files scanned{{"one/d.def", "4 a"},        {"one/a", "first"},
                            {"two/e.def", "4 a"},        {"two/a", "second"},
                            {"notes/deep/n.txt", "low"}, {"notes/n.txt", "top"},
                            {"notes/n.bin", "-"},        {"backup/old/n.txt", "kept"}};
        for (const QString &target : {backup, QString("x")}) {
            QStringList expected{"notes/deep/n.txt: low", "notes/n.txt: changed 0",
                                 "one/a: changed 0",      "one/d.def: 4 a",
                                 "two/a: second",         "two/e.def: 4 a"};
            if (!target.isEmpty())
                expected.prepend("backup/old/n.txt: kept");
            addRow(target.isEmpty() ? "backup with what is scanned below"
                                    : "several with what is scanned below",
                   scanned,
                   QStringList({QString("one/d.def one/a! notes/n.txt!") +
                                    (target.isEmpty() ? " notes/deep/n.txt~" : ""),
                                "two/e.def"}),
                   target, expected, 0);
        }
        addRow("backup of names with dots and all letters",
               Files{{"ä.b.def", "4 a.b.c\n4 .ünï/日本.x\n4 n.\n4 ..a"},
                     {"a.b.c", "1"},
                     {".ünï/日本.x", "2"},
                     {"n.", "3"},
                     {"..a", "4"}},
               QStringList{"ä.b.def a.b.c!"}, backup,
               QStringList({"..a: 4", ".ünï/日本.x: 2", "a.b.c: changed 0", "n.: 3",
                            "ä.b.def: 4 a.b.c 4 .ünï/日本.x 4 n. 4 ..a"}),
               0);
        addRow("backup of what is in memory",
               Files{{"sub/d.def", "4 a\n4 b\n4 closed\n4 missing"},
                     {"sub/a", "disk"},
                     {"sub/b", "disk"},
                     {"sub/closed", "disk"},
                     {"out", "far"}},
               QStringList{"sub/d.def! sub/a! sub/b~ sub/closed? out!"}, backup,
               QStringList({"sub/a: changed 0", "sub/b: disk", "sub/closed: disk",
                            "sub/d.def: 4 a 4 b 4 closed 4 missing"}),
               2);
    }

    /// On the disk, and on an archive that is none.
    void eachTargetHasOneSource()
    {
        const auto [disk, opened, target, expected, failures] =
            row<Files, QStringList, QString, QStringList, int>();
        const bool isInside = target.startsWith("./");
        for (const bool isOnDisk : {true, false}) {
            if (target == "./" && !isOnDisk)
                continue; // nothing is copied to the same name in another archive
            MemoryArchive memory;
            memory.addOwner();
            const QString root = other() + (isOnDisk ? "disk/" : "memory/");
            for (auto file = disk.begin(); file != disk.end(); ++file) {
                if (isOnDisk || file.key().contains(".txt"))
                    writeFile(root + file.key(), *file);
                memory.files[root + file.key()] = *file;
            }
            FakeEngine engine;
            engine.program = "game";
            auto *parent = isOnDisk ? new FakeParent(root) : new FakeParent(root, memory);
            parent->fakeEngine = &engine;
            parent->addPath("notes", scanAll, {"*.txt"});
            parent->addPath("backup", scanAll, {"*.txt"});
            QList<ProjectFile *> changed;
            for (int i = 0; i < opened.size(); ++i) {
                QStringList names = opened[i].split(' ');
                const auto hasMark = [](QString &name, const char *marks) {
                    const bool isMarked = QString(marks).contains(name.right(1));
                    name.chop(isMarked);
                    return isMarked;
                };
                const bool isEdited = hasMark(names[0], "!");
                FakeProject *project = parent->open(names.takeFirst());
                if (isEdited) {
                    definitionOf(project)->cursor().insertText("\n");
                    changed << definitionOf(project);
                }
                for (QString &name : names) {
                    const bool isUnnoticed = hasMark(name, "~");
                    const bool isRefusing = hasMark(name, "?");
                    const bool isChanged = hasMark(name, "!") || isRefusing;
                    FakeFile *file = openFile(project, root + name);
                    file->refuses = isRefusing;
                    if (isUnnoticed || isChanged)
                        file->contents = "changed " + QByteArray::number(i);
                    file->modified = isChanged;
                    if (isChanged)
                        changed << file;
                }
            }
            const QString tree = dump(*parent);
            const QString to = isInside ? root + target.mid(2) : base() + (isOnDisk ? "1" : "2");
            const QString place = target.contains("d.def") ? to + "/d.def" : to;
            QString made = QDir::cleanPath(to) + '/';
            if (target.isEmpty()) {
                QVERIFY(parent->backup("b"));
                const QString name = QDir(root + "backup").entryList({"*_b"}).value(0);
                const QRegularExpression pattern("^\\d\\d\\.\\d\\d\\.\\d{4}_"
                                                 "\\d{1,2}\\.\\d{1,2}\\.\\d{1,2}_[a-z]+_b$");
                QVERIFY2(pattern.match(name).hasMatch(), qPrintable(name));
                made = root + "backup/" + name + '/';
            } else {
                QStringList replaced;
                for (const QString &name : disk.keys()) {
                    if (isInside && isOnDisk && disk.contains("x/" + name))
                        replaced << to + '/' + name;
                }
                QCOMPARE(parent->replacedBySaveAs(place), replaced);
                parent->saveAs(place);
                QCOMPARE(parent->basePath(), made);
                QVERIFY(place != to || dump(*parent) == tree);
            }
            for (Project *project : parent->openedProjects())
                QVERIFY(project->fileName().startsWith(target.isEmpty() ? root : made));
            const QStringList found = filesBelow(made);
            QCOMPARE(found, expected);
            const SaveReport report = parent->saveReport();
            QCOMPARE(report.failures.size() + report.leftOut.size(), failures);
            QCOMPARE(report.text().count('\n') + !report.isComplete(), failures);
            const bool staysOne = made == root; // the file that is not open
            QCOMPARE(report.written.size() + report.copied.size(), found.size() - staysOne);
            for (const QString &name : report.written + report.copied)
                QVERIFY2(found.filter(name.mid(made.size()) + ':').size() > 0, qPrintable(name));
            for (ProjectFile *file : qAsConst(changed))
                QVERIFY(file->isModified() == (target.isEmpty() || failures != 0));
            for (auto file = disk.begin(); isOnDisk && file != disk.end(); ++file)
                QVERIFY(isInside || readFile(root + file.key()) == *file);
            const auto progress = m_host->progresses.last();
            QCOMPARE(progress->text,
                     QString(target.isEmpty() ? "Backup in progress..." : "Saving..."));
            QCOMPARE(progress->steps.last(), progress->total);
            for (Project *project : parent->openedProjects())
                project->release();
            QCOMPARE(memory.refCount, 1);
        }
    }

    void savesTellWhatDidNotWorkOut()
    {
        make({{"d.def", "4 a\n4 b\n4 gone"}, {"e.def", "4 b"}});
        make({{"a", "old"}, {"b", "old"}, {"gone", "old"}});
        FakeProject *one = m_parent->open("d.def");
        FakeFile *failing = openFile(one, path("a"));
        FakeFile *first = openFile(one, path("b"));
        FakeFile *second = openFile(m_parent->open("e.def"), path("b"));
        openFile(one, path("gone"));
        change(failing, "lost");
        change(first, "first");
        change(second, "second");
        failing->refuses = true;
        QVERIFY(QFile::remove(path("gone")));
        m_parent->save();
        const SaveReport report = m_parent->saveReport();
        QCOMPARE(report.failures.size(), 2);
        QCOMPARE(report.missing, QStringList(path("gone")));
        QCOMPARE(report.text().count('\n'), 2);
        QCOMPARE(report.written, QStringList(path("b")));
        QVERIFY(failing->modified && first->modified != second->modified);
        QCOMPARE(readFile(path("b")), QByteArray(first->modified ? "second" : "first"));
        QVERIFY(!QFile::exists(path("gone")));
        second->modified = first->modified = failing->refuses = false;
        m_parent->save();
        QVERIFY(m_parent->saveReport().failures.isEmpty());
        QCOMPARE(readFile(path("a")), QByteArray("lost"));
    }

    void whatCannotBeWrittenDoesNotMove_data()
    {
        columns<QString, bool, bool>("target", "refuses", "isAlone");
        addRow("below a file", "FILE/below", false, false);
        addRow("a definition that cannot be saved", "DIR/to", true, false);
        addRow("the only definition", "DIR/to/new.def", true, true);
        addRow("nowhere", "", false, false);
    }

    void whatCannotBeWrittenDoesNotMove()
    {
        auto [target, refuses, isAlone] = row<QString, bool, bool>();
        make({{"d.def", "4 a"}, {"e.def", "4 a"}, {"a", "old"}});
        writeFile(other() + "file", "in the way");
        writeFile(other() + "to/d.def", "of another project");
        const QStringList others = filesBelow(other());
        FakeProject *project = m_parent->open("d.def");
        FakeFile *file = openFile(project, path("a"));
        definitionOf(isAlone ? project : m_parent->open("e.def"))->refuses = refuses;
        change(file, "new");
        const QString before = dump(*m_parent);
        m_parent->saveAs(target.replace("FILE", other() + "file").replace("DIR/", other()));
        QCOMPARE(m_parent->basePath(), base());
        QCOMPARE(dump(*m_parent), before);
        QCOMPARE(m_parent->saveReport().failures.size(), target.isEmpty() ? 0 : 1);
        QVERIFY(file->modified && file->name == path("a"));
        QCOMPARE(filesBelow(other()), others);
    }

    /// Relative places are from here. The new place is watched, the old one no more.
    void newPlaceIsWatched()
    {
        make({{"d.def", ""}, {"e.def", ""}, {"notes/n.txt", ""}});
        m_parent->addPath("notes", scanAll, {"*.txt"});
        m_parent->open("d.def");
        m_parent->open("e.def");
        const QString here = QDir::currentPath();
        QVERIFY(QDir::setCurrent(other()));
        m_parent->saveAs("to");
        QVERIFY(QDir::setCurrent(here));
        QCOMPARE(m_parent->basePath(), other() + "to/");
        writeFile(path("notes/old.txt"));
        writeFile(other() + "to/notes/new.txt");
        QTRY_COMPARE(dump(*m_parent), QString("notes/\n  n.txt\n  new.txt\nd.def+1\ne.def+1\n"));
    }

    /// Behind a box.
    void projectClosedInTheMiddle_data()
    {
        columns<bool>("restores");
        addRow("of a save", false);
        addRow("of a restore", true);
    }

    void projectClosedInTheMiddle()
    {
        QFETCH(bool, restores);
        make({{"d.def", "4 a\n4 b"},
              {"backup/x/a", "backup"},
              {"backup/x/c", "backup"},
              {"a", "old"},
              {"b", "old"}});
        FakeProject *project = m_parent->open("d.def");
        for (const char *name : {"a", "b"}) {
            FakeFile *file = openFile(project, path(name));
            change(file, "new");
            file->inBox = [project] { project->release(); };
        }
        if (restores)
            QVERIFY(m_parent->restoreBackup("x"));
        else
            m_parent->save();
        QVERIFY(!m_parent);
        QCOMPARE(readFile(path("a")), QByteArray(restores ? "backup" : "old"));
        QCOMPARE(QFile::exists(path("c")), restores);
    }

    /// By a user who sees the progress of each file. "A" comes first, in three portions.
    void stoppedInTheMiddle_data()
    {
        columns<QString, unsigned int>("operation", "cancelAt");
        for (const char *operation : {"save", "save as", "backup", "restore"}) {
            addRow(qPrintable(operation + QString(", project closed")), operation, 0u);
            addRow(qPrintable(operation + QString(", cancelled")), operation, 1u);
        }
        addRow("save as, cancelled after the last copy", "save as", 5u);
        addRow("backup, cancelled after the last file", "backup", 8u);
        addRow("restore, cancelled after the last file", "restore", 5u);
    }

    void stoppedInTheMiddle()
    {
        const auto [operation, cancelAt] = row<QString, unsigned int>();
        const bool isCancelled = cancelAt > 0;
        const int patience = SaveProgress::setPatience(0);
        const auto restorePatience = qScopeGuard([=] { SaveProgress::setPatience(patience); });
        make({{"d.def", "4 a\n4 b\n4 c/d\n4 e\n4 A"}, {"a", "old"}, {"b", "old"}});
        make({{"c/d", "old"}, {"e", "old"}, {"backup/x/a", "kept"}, {"backup/x/new", "kept"}});
        for (const char *name : {"A", "backup/x/A"}) {
            QFile huge(path(name));
            QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(3 * copiedPortion));
        }
        FakeProject *project = m_parent->open("d.def");
        const QList<FakeFile *> changed{openFile(project, path("a")), openFile(project, path("b"))};
        for (FakeFile *file : changed)
            change(file, "new");
        const QStringList before = filesBelow(base());
        const auto run = [&, name = operation] {
            if (name == "save")
                m_parent->save();
            else if (name == "save as")
                m_parent->saveAs(other() + "deep/to/d.def");
            return name == "backup"    ? m_parent->backup("y")
                   : name == "restore" ? m_parent->restoreBackup("x")
                                       : true;
        };
        m_host->cancelAt = cancelAt;
        bool isInHugeFile = false;
        m_host->duringProgress = [&, project = QPointer<Project>(project)] {
            isInHugeFile = hasPart(base()) || hasPart(other());
            QCOMPARE(backups(), QStringList{"x"});
            if (!isCancelled)
                project->release();
        };
        const bool isSave = operation.startsWith("save");
        QCOMPARE(run(), isSave);
        QVERIFY(m_host->progresses.last()->cancellable && m_host->progresses.last()->finished);
        QCOMPARE(m_parent.isNull(), !isCancelled);
        if (operation == "save")
            QCOMPARE(filesBelow(base()).filter("new").size(), 2); // with the name of a directory
        else
            QCOMPARE(filesBelow(base()), before);
        QCOMPARE(isInHugeFile, operation != "save");
        QVERIFY(QDir(other()).isEmpty());
        QCOMPARE(backups(), QStringList{"x"});
        if (!isCancelled)
            return;
        QVERIFY(m_parent->saveReport().isCancelled && m_parent->saveReport().isComplete());
        QCOMPARE(m_host->progresses.last()->steps.size(), int(cancelAt) + 1);
        QCOMPARE(m_host->progresses.last()->steps.last(), cancelAt);
        QCOMPARE(changed[0]->modified + changed[1]->modified, operation == "save" ? 1 : 2);
        QCOMPARE(m_parent->basePath(), base());
        // The second try is not cancelled.
        m_host->cancelAt = 0;
        QVERIFY(run());
        QVERIFY(!m_parent->saveReport().isCancelled && m_parent->saveReport().isComplete());
        const auto progress = m_host->progresses.last();
        QCOMPARE(progress->steps.last(), progress->total);
        // The project, its files, and what is more than one portion.
        const QMap<QString, unsigned int> totals{
            {"save", 2}, {"save as", 9}, {"backup", 9}, {"restore", 6}};
        QCOMPARE(progress->total, totals[operation]);
    }

    void archiveOutlivesItsProject()
    {
        const int patience = SaveProgress::setPatience(0);
        const auto restorePatience = qScopeGuard([=] { SaveProgress::setPatience(patience); });
        for (const bool isBackup : {true, false}) {
            MemoryArchive memory;
            for (const char *name : {"a", "b", "c"})
                memory.files[path(name)] = name;
            memory.files[path("d.def")] = "4 a\n4 b\n4 c";
            auto *parent = new FakeParent(base(), memory);
            FakeProject *project = parent->open("d.def");
            m_host->duringProgress = [&] {
                project->release();
                QCOMPARE(memory.freed, 0);
            };
            if (isBackup)
                QVERIFY(!parent->backup("x"));
            else
                parent->saveAs(other() + "d.def");
            QVERIFY(memory.freed == 1 && !memory.isUsedWhenFreed);
        }
    }

    /// Two of one second, one whose name is taken meanwhile, and one for which there is no place.
    void backupsHaveNamesOfTheirOwn()
    {
        make({{"d.def", "4 a"}, {"a", "a"}, {"backup/.kiln-part-old/a", "of one that was killed"}});
        m_parent->open("d.def");
        for (int i = 0; i < 2; ++i)
            QVERIFY(m_parent->backup("x"));
        const QStringList made = backups();
        QCOMPARE(made.size(), 2);
        for (const QString &name : made)
            QCOMPARE(filesBelow(path("backup/") + name + '/'), QStringList({"a: a", "d.def: 4 a"}));
        const QDir kept(path("backup"));
        const auto parts = [&] { return kept.entryList({".*"}, QDir::Dirs | QDir::Hidden); };
        QCOMPARE(parts().filter("kiln"), QStringList());
        m_host->duringProgress = [&] {
            for (const QString &part : parts().filter("kiln"))
                make({{"backup/" + part.mid(int(qstrlen(".kiln-part-"))) + "/b", "another's"}});
        };
        QVERIFY(m_parent->backup("y"));
        QCOMPARE(m_parent->saveReport().failures.size(), 1);
        QCOMPARE(m_parent->saveReport().copied, QStringList());
        QCOMPARE(parts().filter("kiln"), QStringList());
        QCOMPARE(backups().size(), 3);
        QCOMPARE(filesBelow(path("backup/")).filter("another's").size(), 1);
        QVERIFY(QDir(path("backup")).removeRecursively());
        make({{"backup", "in the way"}});
        QVERIFY(m_parent->backup("z"));
        QCOMPARE(m_parent->saveReport().failures.size(), 1);
        QCOMPARE(readFile(path("backup")), QByteArray("in the way"));
    }

    /// A file, and a directory of files.
    void whatCannotBeReadIsTold()
    {
        make({{"d.def", "4 all/"}, {"all/a", "a"}, {"all/locked", "b"}, {"all/shut/c", "c"}});
        m_parent->open("d.def");
        giveAway(m_directory->path());
        for (const char *name : {"all/locked", "all/shut"})
            QVERIFY(QFile::setPermissions(path(name), QFile::Permissions()));
        const uid_t user = geteuid();
        const bool isNobody = user != 0 || setresuid(65534, 65534, 0) == 0;
        const bool isMade = m_parent->backup("x");
        QVERIFY(user != 0 || setresuid(0, 0, 0) == 0);
        QVERIFY(QFile::setPermissions(path("all/shut"), QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(isNobody && isMade);
        QStringList told;
        for (const SaveReport::Failure &failure : m_parent->saveReport().failures)
            told << failure.fileName.section(path("backup/") + backups().value(0) + '/', 1);
        told.sort();
        QCOMPARE(told, QStringList({"all/locked", "all/shut"}));
    }

    /// What does not fit is told, and is the old file or none.
    void fullDiskInTheMiddle_data()
    {
        columns<QString>("operation");
        for (const char *operation : {"save as", "backup", "restore"})
            addRow(operation, operation);
    }

    void fullDiskInTheMiddle()
    {
        QFETCH(QString, operation);
        const QByteArray big(100000, 'b');
        make({{"d.def", "4 a\n4 big\n4 z"}, {"a", "a"}, {"big", "old"}, {"z", "z"}});
        make({{"backup/x/a", "kept"}, {"backup/x/big", big}, {"backup/x/z", "kept"}});
        if (operation != "restore")
            make({{"big", big}});
        m_parent->open("d.def");
        QString place = base();
        {
            const FullDisk full(50000);
            if (operation == "save as")
                m_parent->saveAs(place = other() + "d.def");
            else if (operation == "backup")
                m_parent->backup("y");
            else
                m_parent->restoreBackup("x");
        }
        if (operation == "backup")
            place = path("backup/") + QDir(path("backup")).entryList({"*_y"}).value(0) + '/';
        place = place.left(place.lastIndexOf('/') + 1);
        QStringList found = filesBelow(place).filter(QRegularExpression("^[a-z.]+:"));
        const QByteArray kept = operation == "restore" ? "kept" : QByteArray();
        QStringList expected{"a: " + (kept.isEmpty() ? "a" : kept), "d.def: 4 a 4 big 4 z",
                             "z: " + (kept.isEmpty() ? "z" : kept)};
        if (!kept.isEmpty())
            expected.insert(1, "big: old");
        QCOMPARE(found, expected);
        QCOMPARE(m_parent->saveReport().failures.size(), 1);
        QVERIFY(m_parent->saveReport().failures[0].fileName.endsWith("/big"));
        QVERIFY(m_parent->saveReport().failures[0].reason.contains("File too large"));
        QVERIFY(QDir(place).entryList({".kiln-*"}, QDir::AllEntries | QDir::Hidden).isEmpty());
    }

    /// A disk that fills up on the way: the definition still goes, and each file is in one place.
    void definitionKeepsItsRoom()
    {
        const QString target = other() + "disk/";
        const QByteArray mountPoint = QFile::encodeName(target);
        QVERIFY(QDir().mkpath(target));
        if (mount("none", mountPoint.constData(), "tmpfs", 0, "size=64k") != 0)
            QSKIP("No right to mount a small disk.");
        const auto unmount = qScopeGuard([&] { umount(mountPoint.constData()); });
        QByteArray definition;
        for (int i = 0; i < 30; ++i) {
            make({{QString::number(i), "old"}});
            definition += "4 " + QByteArray::number(i) + '\n';
        }
        make({{"d.def", definition}});
        FakeProject *project = m_parent->open("d.def");
        QList<FakeFile *> files;
        for (int i = 0; i < 30; ++i) {
            files << openFile(project, path(QByteArray::number(i)));
            change(files.last(), QByteArray(4000, 'x'));
        }
        m_parent->saveAs(target + "d.def");
        QCOMPARE(m_parent->basePath(), target);
        const QStringList there =
            QDir(target).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
        QVERIFY(there.contains("d.def") && there.size() < 30);
        QCOMPARE(m_parent->saveReport().failures.size(), 31 - there.size());
        for (FakeFile *file : qAsConst(files)) {
            QVERIFY(file->modified == file->name.startsWith(base()));
            QVERIFY(file->modified != there.contains(QFileInfo(file->name).fileName()));
        }
    }

    void killedSavesLoseNothing()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        const Files definitions{{"one.def", "4 own\n4 shared\n8 shared\n4 locked\n4 ./own"},
                                {"two.def", "4 shared\n4 deep/x"}};
        const QStringList names{"own", "shared", "locked", "deep/x"};
        const QRegularExpression afterName(":.*");
        int told = 0;
        int restored = 0;
        for (int round = 0; round < killRounds; ++round) {
            const QTemporaryDir directory;
            const QString root = directory.path() + '/';
            QMap<QString, int> saved{{root + "outside", 0}};
            writeFile(root + "outside", numbered(0));
            for (const QString &place : {root + "a/", root + "b/"}) {
                for (auto text = definitions.begin(); text != definitions.end(); ++text)
                    writeFile(place + text.key(), *text);
                for (const QString &name : names) {
                    writeFile(place + name, numbered(0));
                    saved[place + name] = 0;
                }
                QFile::setPermissions(place + "locked", QFile::ReadOwner);
            }
            giveAway(directory.path());
            int pipes[2];
            QCOMPARE(pipe(pipes), 0);
            const pid_t child = fork();
            if (child == 0)
                saveForEver(root, 1 + round / 2 % 4, pipes[1]);
            ::close(pipes[1]);
            QFile reader;
            QVERIFY(reader.open(pipes[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
            // Every second child has told of a save before its time runs, however slow the machine.
            pollfd first{pipes[0], POLLIN, 0};
            if (round % 2)
                poll(&first, 1, 20000);
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
                const int newest = numberOf(readFile(file.key()));
                QVERIFY2(newest >= 0, qPrintable(file.key() + " is cut off or gone"));
                const bool isLocked =
                    file.key() == root + "a/locked" || file.key() == root + "b/locked";
                QVERIFY(!isLocked || newest == 0);
                QVERIFY2(newest >= *file, qPrintable(QString("%1: %2 was saved, %3 is there")
                                                         .arg(file.key())
                                                         .arg(*file)
                                                         .arg(newest)));
            }
            // Wherever they are: in new places, too, and in backups.
            QDirIterator all(root, QDir::Files, QDirIterator::Subdirectories);
            while (all.hasNext()) {
                const QString name = all.next();
                const QByteArray contents = readFile(name);
                const QByteArray text = definitions.value(all.fileName());
                const bool isNumbered = names.contains(all.fileName()) || all.fileName() == "x";
                QVERIFY2(text.isEmpty() || contents.simplified() == text.simplified(),
                         qPrintable(name));
                QVERIFY2(!isNumbered || numberOf(contents) >= 0, qPrintable(name + " is cut off"));
            }
            for (const QString &place : QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                const QDir kept(root + place + "/backup");
                for (const QString &name : kept.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                    const QStringList files =
                        filesBelow(kept.filePath(name) + '/').replaceInStrings(afterName, "");
                    QCOMPARE(files.join(' '), QString("deep/x locked one.def own shared two.def"));
                }
                restored += restoreAgain(root + place + '/', definitions.keys());
            }
        }
        QVERIFY(restored > killRounds / 10);
        QVERIFY(told > killRounds);
        qInfo("%d files told as saved, %d restored again, %d kills", told, restored, killRounds);
    }

private:
    QStringList backups() const
    {
        return QDir(path("backup")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }

    /// Whether somewhere below is the first portion of a file alone.
    static bool hasPart(const QString &directory)
    {
        QDirIterator all(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        bool isThere = false;
        while (all.hasNext())
            isThere |= QFileInfo(all.next()).size() == copiedPortion;
        return isThere;
    }

    /// Restores the newest backup of what a killed process has left. Returns how many there were.
    static int restoreAgain(const QString &place, const QStringList &definitions)
    {
        const QString newest = newestBackup(place);
        if (newest.isEmpty())
            return 0;
        auto *parent = new FakeParent(place);
        for (const QString &definition : definitions)
            parent->open(definition);
        [&] {
            QVERIFY(parent->restoreBackup(newest));
            QVERIFY(parent->saveReport().isComplete());
        }();
        for (Project *project : parent->openedProjects())
            project->release();
        const QStringList found = filesBelow(place);
        for (const QString &line : filesBelow(place + "backup/" + newest + '/'))
            [&] { QVERIFY2(found.contains(line), qPrintable(line.left(40))); }();
        [&] { QVERIFY(found.filter(".kiln-restore-").isEmpty()); }();
        return 1;
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
    void restoreBringsFilesBackWithoutAQuestion()
    {
        make({{"d.def", "4 a"}, {"a", "old"}});
        FakeProject *project = m_parent->open("d.def");
        FakeFile *file = openFile(project, path("a"));
        make({{"backup/night/a", "from the night"},
              {"backup/night/d.def", "4 a\n4 b"},
              {"backup/night/deep/b", "deep"},
              {"backup/night/.hidden", "seen"},
              {"backup/night/.kiln-part-AbCdEf", "of a copy that was killed"},
              {"backup/night/.kiln-part-dir/a", "of another"},
              {".kiln-restore-AbCdEf/a", "of a restore that was killed"}});
        const QFile::Permissions rights = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOther;
        QVERIFY(QFile::setPermissions(path("d.def"), rights));
        const QString linked = other() + "linked";
        writeFile(linked, "from that day!"); // of the same size
        QVERIFY(QFile::link(linked, path("link")));
        writeFile(path("backup/night/link"), "from the night");
        change(file, "to be lost");
        QCOMPARE(m_parent->replacedByRestore("night"),
                 QStringList({path("a"), path("d.def"), path("link")}));
        QVERIFY(m_parent->restoreBackup("night"));
        QVERIFY(m_parent->saveReport().isComplete());
        QCOMPARE(m_parent->replacedByRestore("night"), QStringList());
        QCOMPARE(readFile(path(".hidden")), QByteArray("seen"));
        QVERIFY(QDir(base()).entryList({".kiln-*"}, QDir::AllEntries | QDir::Hidden).isEmpty());
        QVERIFY(QFile::permissions(path("d.def")).testFlag(QFile::ExeOther));
        QVERIFY(QFileInfo(path("link")).isSymLink());
        QCOMPARE(readFile(linked), QByteArray("from the night"));
        QCOMPARE(file->contents, QByteArray("from the night"));
        QCOMPARE(readFile(path("a")), QByteArray("from the night"));
        QCOMPARE(readFile(path("deep/b")), QByteArray("deep"));
        QCOMPARE(dump(*m_parent), QString("a+4\nb+4\nd.def+1\n"));
        QVERIFY(!file->isWatchPaused());
        QVERIFY(m_host->log.contains("refreshEditors"));
        const auto progress = m_host->progresses.last();
        QCOMPARE(progress->text, QString("Restoring backup..."));
        QCOMPARE(progress->total, 6u);
        QCOMPARE(progress->steps.last(), 6u);
        // A change from outside is noticed as before.
        m_host->dialogs().expectBox(QMessageBox::Yes);
        writeFile(path("a"), "outside");
        QTRY_COMPARE(file->contents, QByteArray("outside"));
        QCOMPARE(m_host->dialogs().seen().size(), 1);
    }

    void restoreRefusesWhatItDoesNotKnow_data()
    {
        columns<QString>("name");
        for (const char *name : {"", "/", "unknown", "..", "night/../..", ".", ".kiln-part-night"})
            addRow(name, name);
    }

    void restoreRefusesWhatItDoesNotKnow()
    {
        QFETCH(QString, name);
        make({{"d.def", "4 a"}, {"a", "kept"}, {"backup/night/a", "from the night"}});
        make({{"backup/.kiln-part-night/a", "of a backup that was killed"}});
        FakeProject *project = m_parent->open("d.def");
        FakeFile *file = openFile(project, path("a"));
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
        writeFile(path("backup/night/a"), "from the night");
        QVERIFY(!FakeParent(base(), archive).restoreBackup("night"));
        QCOMPARE(archive.refCount, 0);
        QVERIFY(archive.files.isEmpty() && !QFile::exists(path("a")));
    }
};

QTEST_MAIN(tst_saving)
#include "tst_saving.moc"
