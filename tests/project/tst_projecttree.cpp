#include "fakes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <map>

using namespace Kiln;

namespace
{

/// The tree as it must look, worked out the plain way from the disk and from the definitions.
struct Expected {
    std::map<QString, Expected> directories;
    std::map<QString, unsigned int> files;

    Expected &at(const QString &directory)
    {
        Expected *node = this;
        for (const QString &part : directory.split('/', Qt::SkipEmptyParts))
            node = &node->directories[part];
        return *node;
    }
    void name(const QString &path, unsigned int id)
    {
        const int slash = path.lastIndexOf('/');
        unsigned int &known = at(path.left(qMax(slash, 0))).files[path.mid(slash + 1)];
        known = known == 0 ? id : qMin(known, id);
    }
    void scan(const QString &base, const QString &directory)
    {
        at(directory);
        const QDir dir(base + directory);
        for (const QString &file : dir.entryList({"*.txt"}, QDir::Files))
            at(directory).files.insert({file, 0});
        for (const QString &below : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            scan(base, directory + below + '/');
    }
    QString text(int depth = 0) const
    {
        QString out;
        for (const auto &[name, below] : directories)
            out += QString(2 * depth, ' ') + name + "/\n" + below.text(depth + 1);
        for (const auto &[name, id] : files)
            out += QString(2 * depth, ' ') + name + (id ? '+' + QString::number(id) : QString()) +
                   '\n';
        return out;
    }
};

QStringList allRows(const ParentProject &project, const QModelIndex &parent = QModelIndex())
{
    QStringList paths;
    for (int row = 0; row < project.rowCount(parent); ++row) {
        const QModelIndex index = project.index(row, 0, parent);
        paths << project.itemPath(index)->path() << allRows(project, index);
    }
    return paths;
}

QModelIndex indexOf(const ParentProject &project, const QStringList &names)
{
    QModelIndex index;
    for (const QString &name : names) {
        QModelIndex found;
        for (int row = 0; row < project.rowCount(index); ++row) {
            if (project.index(row, 0, index).data().toString() == name)
                found = project.index(row, 0, index);
        }
        if (!found.isValid())
            return QModelIndex();
        index = found;
    }
    return index;
}

} // namespace

/// A view that closes projects when the rows change, once.
class Closer : public QObject
{
    Q_OBJECT

public:
    std::function<void()> close;

public slots:
    void run()
    {
        std::exchange(close, [] {})();
    }
};

class tst_projecttree : public ProjectTest
{
    Q_OBJECT

private slots:
    void addedPathsAndScans()
    {
        make(
            {{"art/a.txt", ""}, {"art/deep/b.txt", ""}, {"art/skip.bin", ""}, {"plain/c.txt", ""}});
        QVERIFY(QFile::link(base() + "art/a.txt", base() + "art/link.txt"));
        QVERIFY(QFile::link(base() + "art", base() + "art/loop"));
        FakeParent parent(base());
        const ModelTester tester(&parent);
        parent.addPath("/zoo/one/", ParentProject::NotScanned, {});
        parent.addPath("art", scanAll, {"*.txt"});
        parent.addPath("plain", ParentProject::ScanDirectories, {"*.txt"});
        parent.addPath("zoo/two", ParentProject::NotScanned, {});
        QCOMPARE(dump(parent),
                 QString("zoo/\n  one/\n  two/\nart/\n  deep/\n    b.txt\n  a.txt\nplain/\n"));
        QCOMPARE(parent.basePath(), base());

        for (const QString &path : allRows(parent)) {
            const ParentProject::Path *found = parent.filePath(path);
            QVERIFY2(found, qPrintable(path));
            QCOMPARE(found->path(), path);
        }
        QVERIFY(!parent.filePath(base() + "art/none"));
        QVERIFY(!parent.filePath(base() + "ART/a.txt"));
        QVERIFY(!parent.filePath("/elsewhere"));
        QVERIFY(!parent.itemPath(QModelIndex()));
        QVERIFY(!parent.index(9, 0).isValid() && !parent.index(0, 1).isValid());

        parent.removePath(base() + "zoo/one");
        parent.removePath("plain");
        parent.removePath("unknown/path");
        parent.removePath("");
        QCOMPARE(dump(parent), QString("zoo/\n  two/\nart/\n  deep/\n    b.txt\n  a.txt\n"));
    }

    void itemsAndIcons()
    {
        writeFile(base() + "art/deep/b.txt");
        writeFile(base() + "hero/hero.def",
                  "2 hero.spr\n4 a.snd\n8 a.anm\n16 a.cmd\n32 a.code\n64 x");
        auto *parent = new FakeParent(base());
        parent->addPath("art", scanAll, {"*.txt"});
        FakeProject *project = parent->open("hero/hero.def");
        const auto path = [&](const char *name) { return parent->filePath(base() + name); };

        QVERIFY(!path("art")->isItem() && path("art/deep")->isItem());
        QVERIFY(path("art/deep/b.txt")->isItem());
        QCOMPARE(path("art/deep/b.txt")->fileID().bits, 1u);
        QCOMPARE(path("art")->fileID().bits, 0u);
        QVERIFY(path("hero/hero.def")->isItem() && !path("hero/hero.spr")->isItem());
        QCOMPARE(path("hero/hero.spr")->fileID().bits, 2u);
        QCOMPARE(parent->projectForFile(path("art/deep/b.txt")), path("art/deep/b.txt"));
        QCOMPARE(parent->projectForFile(path("art/deep")), path("art/deep/b.txt"));
        // No item above: the place of the first project.
        QCOMPARE(parent->projectForFile(path("hero/hero.spr")), path("hero"));

        const QMap<QString, QString> keys{
            {"art", "icon_folder"},         {"art/deep/b.txt", "icon_code"},
            {"hero/hero.def", "icon_code"}, {"hero/hero.spr", "icon_sprite"},
            {"hero/a.snd", "icon_sound"},   {"hero/a.anm", "icon_animation"},
            {"hero/a.cmd", "icon_command"}, {"hero/a.code", "icon_code"},
            {"hero/x", "icon_file"},
        };
        for (auto key = keys.begin(); key != keys.end(); ++key) {
            const QModelIndex index = indexOf(*parent, key.key().split('/'));
            QVERIFY2(index.isValid(), qPrintable(key.key()));
            QCOMPARE(index.data(Qt::DecorationRole).value<QIcon>().name(),
                     m_host->icon(key.value()).name());
            QCOMPARE(index.data(Qt::ToolTipRole), index.data(Qt::DisplayRole));
            QVERIFY(!index.data(Qt::EditRole).isValid());
        }
        project->release();
    }

    void namesOfDefinitions_data()
    {
        columns<QString, QString>("text", "expected");
        const QString own = "  d.def+1\n";
        addRow("files and directories, each once", "2 b.spr\n4 snd/a.snd\n2 a.spr\n4 snd/a.snd",
               "sub/\n  snd/\n    a.snd+4\n  a.spr+2\n  b.spr+2\n" + own);
        addRow("the same file as two types", "4 a\n2 a", "sub/\n  a+2\n" + own);
        addRow("itself", "32 d.def", "sub/\n" + own);
        addRow("a directory", "4 snd/", "sub/\n  snd/\n" + own);
        addRow("one above", "4 ../common/x", "common/\n  x+4\nsub/\n" + own);
        addRow("outside the base", "4 ../../x\n4 ../..\n4 ..", "sub/\n" + own);
        addRow("dots and slashes", "4 ./a//b/../c", "sub/\n  a/\n    c+4\n" + own);
        addRow("dots name directories", "4 a/.\n4 b/c/..", "sub/\n  a/\n  b/\n" + own);
        addRow("absolute, elsewhere", "4 /etc/passwd", "sub/\n" + own);
        addRow("absolute, inside", "4 BASE/abs", "sub/\n" + own + "abs+4\n");
        addRow("empty", "4 \n4", "sub/\n" + own);
        addRow("a file and a directory of one name", "4 a\n4 a/b",
               "sub/\n  a/\n    b+4\n  a+4\n" + own);
    }

    void namesOfDefinitions()
    {
        auto [text, expected] = row<QString, QString>();
        text.replace("BASE", m_directory->path());
        writeFile(base() + "sub/d.def", text.toUtf8());
        auto *parent = new FakeParent(base());
        const ModelTester tester(parent);
        FakeProject *project = parent->open("sub/d.def");
        QCOMPARE(dump(*parent), expected);
        definitionOf(project)->setText("2 other");
        QCOMPARE(dump(*parent), QString("sub/\n  d.def+1\n  other+2\n"));
        definitionOf(project)->setText(text);
        QCOMPARE(dump(*parent), expected);
        project->release();
    }

    void typingFollowsAndKeepsRows()
    {
        writeFile(base() + "d.def", "2 b\n2 d");
        auto *parent = new FakeParent(base());
        FakeProject *project = parent->open("d.def");
        const QPersistentModelIndex kept = indexOf(*parent, {"d"});
        QItemSelectionModel selection(parent, this);
        selection.select(kept, QItemSelectionModel::Select);
        QSignalSpy inserted(parent, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(parent, &QAbstractItemModel::rowsRemoved);
        QTextCursor cursor = definitionOf(project)->cursor();
        cursor.movePosition(QTextCursor::Start);
        cursor.insertText("2 a\n4 c\n");
        QCOMPARE(dump(*parent), QString("a+2\nb+2\nc+4\nd+2\nd.def+1\n"));
        cursor.document()->undo();
        QCOMPARE(dump(*parent), QString("b+2\nd+2\nd.def+1\n"));
        QVERIFY(kept.isValid() && kept.data() == "d");
        QCOMPARE(selection.selectedIndexes(), QModelIndexList{kept});
        QVERIFY(inserted.count() <= 3 && removed.count() <= 3);
        // Text that names no other file is no change of the tree.
        inserted.clear();
        removed.clear();
        QSignalSpy changed(parent, &QAbstractItemModel::dataChanged);
        cursor.insertText("\n\n");
        QCOMPARE(inserted.count() + removed.count() + changed.count(), 0);
        // Another type of the same file.
        definitionOf(project)->setText("2 b\n4 d");
        QCOMPARE(changed.count(), 1);
        QCOMPARE(dump(*parent), QString("b+2\nd+4\nd.def+1\n"));
        project->release();
    }

    void scanAndDefinitionShareRows()
    {
        make({{"art/a.txt", ""},
              {"art/b.txt", ""},
              {"one.def", "2 art/a.txt\n2 art/only.spr"},
              {"two.def", "4 art/a.txt"}});
        auto *parent = new FakeParent(base());
        const ModelTester tester(parent);
        parent->addPath("art", scanAll, {"*.txt"});
        const QPersistentModelIndex row = indexOf(*parent, {"art", "a.txt"});
        FakeProject *one = parent->open("one.def");
        QCOMPARE(dump(*parent), QString("art/\n  a.txt+2\n  b.txt\n  only.spr+2\none.def+1\n"));
        QVERIFY(row.isValid() && row.data() == "a.txt");
        FakeProject *two = parent->open("two.def");
        // The definition forgets the file; the other one and the scan still have it.
        definitionOf(one)->setText(QString());
        QCOMPARE(dump(*parent), QString("art/\n  a.txt+4\n  b.txt\none.def+1\ntwo.def+1\n"));
        // The file goes from the disk; a definition names it all the same.
        QVERIFY(QFile::remove(base() + "art/a.txt") && QFile::remove(base() + "art/b.txt"));
        QTRY_COMPARE(dump(*parent), QString("art/\n  a.txt+4\none.def+1\ntwo.def+1\n"));
        make({{"art/a.txt", ""}, {"art/c.txt", ""}});
        QTRY_COMPARE(dump(*parent), QString("art/\n  a.txt+4\n  c.txt\none.def+1\ntwo.def+1\n"));
        two->release();
        QCOMPARE(dump(*parent), QString("art/\n  a.txt\n  c.txt\none.def+1\n"));
        QVERIFY(row.isValid() && row.data() == "a.txt");
        one->release();
    }

    void projectsBelowEachOther()
    {
        make({{"a/a.def", "2 x\n2 b/y"}, {"a/b/b.def", "2 x"}, {"a/b/c.def", "2 x"}});
        auto *parent = new FakeParent(base());
        const ModelTester tester(parent);
        FakeProject *a = parent->open("a/a.def");
        FakeProject *b = parent->open("a/b/b.def");
        FakeProject *c = parent->open("a/b/c.def");
        QCOMPARE(parent->refCount(), 3u);
        QCOMPARE(dump(*parent), QString("a/\n  b/\n    b.def+1\n    c.def+1\n    x+2\n    y+2\n"
                                        "  a.def+1\n  x+2\n"));
        a->release();
        QCOMPARE(dump(*parent), QString("a/\n  b/\n    b.def+1\n    c.def+1\n    x+2\n"));
        b->release();
        QCOMPARE(dump(*parent), QString("a/\n  b/\n    c.def+1\n    x+2\n"));
        const QPointer<ParentProject> guard(parent);
        QCOMPARE(FakeParent::alive, 1);
        c->release();
        QVERIFY(!guard);
    }

    void untitledProjectFindsItsPlaceWhenItIsSaved()
    {
        auto *parent = new FakeParent(base());
        auto *project = new FakeProject(parent, new FakeDocument);
        project->addToParent();
        project->addToParent();
        QCOMPARE(parent->refCount(), 1u);
        QVERIFY(project->isSingle());
        definitionOf(project)->setText("2 a");
        QCOMPARE(dump(*parent), QString("a+2\n"));
        parent->removePath("a");
        QCOMPARE(dump(*parent), QString());
        definitionOf(project)->cursor().insertText("\n");
        QCOMPARE(dump(*parent), QString("a+2\n"));
        QVERIFY(!project->isSingle());
        QVERIFY(QDir().mkpath(base() + "sub"));
        definitionOf(project)->setModified(true);
        QVERIFY(definitionOf(project)->toFile(parent->archive(), base() + "sub/d.def", false));
        QTRY_COMPARE(dump(*parent), QString("sub/\n  a+2\n  d.def+1\n"));
        QCOMPARE(project->basePath(), QString("sub/"));
        // Under another name, with nothing modified.
        QVERIFY(definitionOf(project)->toFile(parent->archive(), base() + "e.def", false));
        QTRY_COMPARE(dump(*parent), QString("a+2\ne.def+1\n"));
        project->release();
    }

    void watchedDirectoriesComeAndGo()
    {
        FakeParent parent(base());
        const ModelTester tester(&parent);
        parent.addPath("late/art", scanAll, {"*.txt"});
        QCOMPARE(dump(parent), QString("late/\n  art/\n"));
        for (int round = 0; round < 3; ++round) {
            writeFile(base() + "late/art/deep/a.txt");
            QTRY_COMPARE(dump(parent), QString("late/\n  art/\n    deep/\n      a.txt\n"));
            writeFile(base() + "late/art/deep/b.txt");
            QTRY_COMPARE(dump(parent),
                         QString("late/\n  art/\n    deep/\n      a.txt\n      b.txt\n"));
            QVERIFY(QDir(base() + "late").removeRecursively());
            QTRY_COMPARE(dump(parent), QString("late/\n  art/\n"));
        }
    }

    void closingInTheMiddleOfAScan_data()
    {
        columns<QByteArray, bool>("signal", "closesAll");
        for (const char *signal : {SIGNAL(rowsAboutToBeInserted(QModelIndex, int, int)),
                                   SIGNAL(rowsInserted(QModelIndex, int, int)),
                                   SIGNAL(rowsRemoved(QModelIndex, int, int))}) {
            QTest::addRow("one of two in %s", signal) << QByteArray(signal) << false;
            QTest::addRow("all in %s", signal) << QByteArray(signal) << true;
        }
    }

    void closingInTheMiddleOfAScan()
    {
        auto [signal, closesAll] = row<QByteArray, bool>();
        make({{"art/c.txt", ""},
              {"art/one.def", "2 a.txt\n2 d.txt\n2 f.txt\n2 deep/x"},
              {"two.def", "2 art/d.txt"}});
        QPointer<FakeParent> parent = new FakeParent(base());
        const ModelTester tester(parent);
        parent->addPath("art", scanAll, {"*.txt"});
        FakeProject *one = parent->open("art/one.def");
        FakeProject *two = parent->open("two.def");
        Closer closer;
        closer.close = [&] {
            one->release();
            if (closesAll)
                two->release();
            else
                QCOMPARE(parent->refCount(), 1u);
        };
        connect(parent, signal, &closer, SLOT(run()));
        QVERIFY(QFile::remove(base() + "art/c.txt"));
        make({{"art/b.txt", ""}, {"art/e.txt", ""}});
        if (closesAll)
            QTRY_VERIFY(!parent);
        else
            QTRY_COMPARE(dump(*parent), QString("art/\n  b.txt\n  d.txt+2\n  e.txt\ntwo.def+1\n"));
        if (parent)
            two->release();
    }

    void closingInTheMiddleOfACall_data()
    {
        columns<QByteArray>("signal");
        addRow("that opens the project", QByteArray(SIGNAL(rowsInserted(QModelIndex, int, int))));
        addRow("that removes a path",
               QByteArray(SIGNAL(rowsAboutToBeRemoved(QModelIndex, int, int))));
    }

    void closingInTheMiddleOfACall()
    {
        QFETCH(QByteArray, signal);
        writeFile(base() + "art/a.txt");
        writeFile(base() + "one.def", "2 b.txt");
        QPointer<FakeParent> parent = new FakeParent(base());
        parent->addPath("art", scanAll, {"*.txt"});
        auto *document = new FakeDocument;
        QPointer<FakeProject> project = new FakeProject(parent, document);
        QVERIFY(document->fromFile(parent->archive(), base() + "one.def", false));
        Closer closer;
        closer.close = [&] { project->release(); };
        connect(parent, signal, &closer, SLOT(run()));
        project->addToParent();
        if (project)
            parent->removePath("art");
        QVERIFY(!project);
        QTRY_VERIFY(!parent);
    }

    void directoryWithoutPermission()
    {
        make({{"art/shut/a.txt", ""}, {"art/open/b.txt", ""}});
        QVERIFY(QFile::setPermissions(base() + "art/shut", {}));
        const bool isRoot = geteuid() == 0;
        // Root may read everything: look at the disk as somebody else.
        if (isRoot) {
            QVERIFY(chmod(qPrintable(m_directory->path()), 0755) == 0);
            QVERIFY(setresuid(65534, 65534, 0) == 0);
        }
        QString seen;
        {
            FakeParent parent(base());
            parent.addPath("art", scanAll, {"*.txt"});
            seen = dump(parent);
        }
        if (isRoot)
            QVERIFY(setresuid(0, 0, 0) == 0);
        QFile::setPermissions(base() + "art/shut",
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(seen, QString("art/\n  open/\n    b.txt\n"));
    }

    void endsWithItsProjectsOrByItself()
    {
        writeFile(base() + "d.def", "2 a");
        auto *parent = new FakeParent(base());
        const int owners = parent->archive().refCount;
        FakeProject *project = parent->open("d.def");
        QCOMPARE(parent->archive().refCount, owners + 2);
        QVERIFY(project->parent() == parent);
        // A host that is in a hurry: the projects go along.
        delete parent;
        QCOMPARE(FakeProject::alive, 0);
        QCOMPARE(FakeDocument::alive, 0);
        QCOMPARE(FileSystemArchive::instance().refCount, owners - 1);
    }

    void randomChangesEqualAFreshLook()
    {
        const quint32 seed = qEnvironmentVariableIsSet("KILN_SEED")
                                 ? qgetenv("KILN_SEED").toUInt()
                                 : QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        for (const QString &definition : definitions)
            writeFile(base() + definition);
        auto *parent = new FakeParent(base());
        const ModelTester tester(parent);
        parent->addPath("art", scanAll, {"*.txt"});
        // Keeps the parent alive while the others come and go.
        writeFile(base() + "keeper.def");
        m_opened["keeper.def"] = parent->open("keeper.def");
        QMap<QString, QPersistentModelIndex> known;
        for (int step = 0; step < 400; ++step) {
            changeSomething(*parent, random);
            QTRY_COMPARE(dump(*parent), expectedTree().text());
            checkKeptRows(*parent, known);
            if (QTest::currentTestFailed()) {
                qWarning("step %d\n%s", step, qPrintable(dump(*parent)));
                break;
            }
        }
        const QMap<QString, FakeProject *> opened = std::exchange(m_opened, {});
        for (FakeProject *project : opened)
            project->release();
    }

private:
    const QStringList definitions{"a.def", "art/b.def", "sub/c.def", "sub/d.def"};
    QMap<QString, FakeProject *> m_opened;

    void changeSomething(FakeParent &parent, QRandomGenerator &random)
    {
        static const QStringList places{"",           "x.txt",         "y.txt",     "deep/",
                                        "deep/z.txt", "deep/w.spr",    "../up.txt", "v.spr",
                                        "/etc/hosts", "deep/er/q.txt", "./y.txt",   "../art/x.txt"};
        const QString definition = definitions[random.bounded(definitions.size())];
        FakeProject *project = m_opened.value(definition);
        switch (random.bounded(4)) {
        case 0:
            if (project)
                m_opened.take(definition)->release();
            else
                m_opened[definition] = parent.open(definition);
            break;
        case 1: {
            QString text;
            for (int i = random.bounded(5); i > 0; --i)
                text += QString("%1 %2\n")
                            .arg(1 << random.bounded(1, 6))
                            .arg(places[random.bounded(places.size())]);
            if (project)
                definitionOf(project)->setText(text);
            break;
        }
        case 2: {
            toggle("art/" + places[random.bounded(1, 5)]);
            toggle("art/tick.txt");
            break;
        }
        default:
            QDir(base() + "art/deep").removeRecursively();
            toggle("art/tick.txt");
        }
    }

    /// A change of a file that a definition names, too, does not show at once; the tick that
    /// follows each change of the disk does, and comes after it.
    void toggle(const QString &file) const
    {
        if (file.endsWith('/') || QFile::exists(base() + file))
            QFile::remove(base() + file);
        else
            writeFile(base() + file);
    }

    /// From the disk and the open definitions, with no regard to what was there before.
    Expected expectedTree() const
    {
        Expected expected;
        expected.scan(base(), "art/");
        for (auto opened = m_opened.begin(); opened != m_opened.end(); ++opened) {
            const QString folder = QFileInfo(base() + opened.key()).absolutePath() + '/';
            QList<ReferencedFile> files{{1, QFileInfo(opened.key()).fileName()}};
            (*opened)->fileList(files);
            expected.at(folder.mid(base().size()));
            for (const ReferencedFile &file : qAsConst(files)) {
                const QString full =
                    QDir::cleanPath(file.path.startsWith('/') ? file.path : folder + file.path);
                if (file.path.isEmpty() || !full.startsWith(base()))
                    continue;
                if (file.path.endsWith('/'))
                    expected.at(full.mid(base().size()));
                else
                    expected.name(full.mid(base().size()), unsigned(file.id));
            }
        }
        return expected;
    }

    /// What stayed is still where it was pointed at, and what went is pointed at no more.
    void checkKeptRows(const FakeParent &parent, QMap<QString, QPersistentModelIndex> &known) const
    {
        const QStringList paths = allRows(parent);
        for (auto row = known.begin(); row != known.end();) {
            QVERIFY2(row->isValid() == paths.contains(row.key()), qPrintable(row.key()));
            if (row->isValid()) {
                QCOMPARE(parent.itemPath(*row)->path(), row.key());
                ++row;
            } else {
                row = known.erase(row);
            }
        }
        for (const QString &path : paths) {
            const QModelIndex index =
                indexOf(parent, path.mid(base().size()).split('/', Qt::SkipEmptyParts));
            if (parent.itemPath(index)->path() == path)
                known[path] = index;
        }
    }
};

QTEST_MAIN(tst_projecttree)
#include "tst_projecttree.moc"
