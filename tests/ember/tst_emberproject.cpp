#include <ember/emberengine.h>
#include <ember/emberparentproject.h>

#include <enginetest/treedump.h>
#include <kilnx/code/messages.h>
#include <kilnx/code/valuecode.h>
#include <kilnx/project/archive.h>
#include <tests/support/files.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>

#include <memory>

namespace TreeDump = EngineTest::TreeDump;

namespace
{

Kiln::Archive &disk()
{
    return Kiln::FileSystemArchive::instance();
}

/// A copy of examples/hero below `directory`; its base path.
QString copyOfHero(const QString &directory)
{
    const QString to = directory + "/hero/";
    copyFolder(KILN_SOURCE_DIR "/examples/hero/", to);
    return to;
}

EmberProject *projectNamed(EmberParentProject *parent, const QString &name)
{
    for (Kiln::Project *project : parent->openedProjects()) {
        if (project->displayName() == name)
            return static_cast<EmberProject *>(project);
    }
    return nullptr;
}

/// All messages of all projects, one a line: file, line from 1, type, text.
QStringList allMessages(EmberParentProject *parent)
{
    QStringList lines;
    for (Kiln::Project *project : parent->openedProjects()) {
        const Kiln::MessageList *list = project->messages();
        for (int row = 0; row < list->rowCount(); ++row) {
            const Kiln::Messages *source = nullptr;
            const Kiln::Message message = list->messageAt(row, source);
            lines.append(QString("%1:%2 %3 %4")
                             .arg(QFileInfo(source->file()->fileName()).fileName())
                             .arg(message.line + 1)
                             .arg(message.type)
                             .arg(message.text));
        }
    }
    lines.sort();
    return lines;
}

} // namespace

/// Projects on real files: the sample project, odd definitions, running, and closing it all.

/// The life of a process of returnsEveryNode().
static int openAndClose(int rounds, const QString &path)
{
    TestHost host;
    for (int round = 0; round < rounds; ++round) {
        EmberParentProject *parent = EmberParentProject::open(path, disk());
        if (!parent)
            return 1;
        for (Kiln::Project *project : parent->openedProjects()) {
            EmberDocument *definition = static_cast<EmberProject *>(project)->definition();
            definition->insertBefore(nullptr, "@about\ntitle: \"new\"", false);
            definition->undo();
            definition->reload();
        }
        parent->close();
    }
    return 0;
}

class TestEmberProject : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_host = std::make_unique<TestHost>();
        m_host->currentEngine = &EmberEngine::instance();
        m_directory = std::make_unique<QTemporaryDir>();
    }

    void cleanup()
    {
        if (m_parent)
            m_parent->close();
        QVERIFY(!m_parent);
        m_directory.reset();
        m_host.reset();
    }

    void opensTheSample()
    {
        QVERIFY(openHero());
        QStringList names;
        for (Kiln::Project *project : m_parent->openedProjects())
            names.append(QString("%1 %2 %3")
                             .arg(project->type())
                             .arg(project->displayName())
                             .arg(project->files().size()));
        names.sort();
        QCOMPARE(names, (QStringList{"0 Moss 7", "0 Wren 11", "1 Above the tide 3", "1 The quay 3",
                                     "6 Tidewater 4"}));
        QVERIFY(!projectNamed(m_parent, "Wren")->isModified());
        const Kiln::ParentProject::Path *definition =
            m_parent->filePath(m_parent->basePath() + "heroes/wren/wren.wisp");
        QVERIFY(definition && definition->fileID() == Kiln::Project::FileID::Definition);

        const QStringList messages = allMessages(m_parent);
        QVERIFY(messages.size() >= 5);
        for (const QString &message : messages) {
            QVERIFY2(message.startsWith("showcase.glow:"), qPrintable(message));
            QVERIFY2(message.section(' ', 1, 1) == "1", qPrintable(message));
        }
    }

    void opensWhatTheUserChose_data()
    {
        columns<QString, QStringList>("path", "names");
        const QStringList all{"Above the tide", "Moss", "The quay", "Tidewater", "Wren"};
        const QStringList none;
        addRow("a directory with a game", QString(), all);
        addRow("the game", "tidewater.hearth", all);
        addRow("a character", "heroes/wren/wren.wisp", QStringList("Wren"));
        addRow("a directory of characters", "heroes", QStringList{"Moss", "Wren"});
        addRow("a directory of one, with a closing slash", "stages/harbour/",
               QStringList("The quay"));
        addRow("a file that is no definition", "shared/rules.glow", none);
        addRow("a directory without any", "notes", none);
        addRow("nothing", "no/such/place", none);
    }

    void opensWhatTheUserChose()
    {
        auto [path, names] = row<QString, QStringList>();
        const int owners = disk().refCount;
        m_parent = EmberParentProject::open(copyOfHero(m_directory->path()) + path, disk());
        QCOMPARE(!m_parent, names.isEmpty());
        QStringList found;
        if (m_parent) {
            for (Kiln::Project *project : m_parent->openedProjects())
                found.append(project->displayName());
        } else {
            QCOMPARE(disk().refCount, owners);
        }
        found.sort();
        QCOMPARE(found, names);
    }

    void opensFilesOnDemand()
    {
        QVERIFY(openHero());
        const QString base = m_parent->basePath();
        Kiln::ProjectFile *air = m_parent->openFile(base + "heroes/wren/air.glow");
        QVERIFY(air);
        QCOMPARE(air->project()->displayName(), "Wren");
        QCOMPARE(air, m_parent->openFile(base + "heroes/moss/../wren/air.glow"));

        Kiln::ProjectFile *gallery = m_parent->openFile(base + "shared/gallery.glow");
        QVERIFY(gallery);
        QCOMPARE(gallery->project()->displayName(), "Tidewater");
        QCOMPARE(gallery->project()->files().size(), 5);
        QVERIFY(gallery->option("parseCode").toBool());
        QCOMPARE(gallery, m_parent->openFile(base + "shared/gallery.glow"));

        QVERIFY(!m_parent->openFile(base + "notes/design.txt"));
        QVERIFY(!m_parent->openFile(base + "shared/none.glow"));
        QVERIFY(!m_parent->openFile(QString()));
    }

    /// What is typed in a definition is in the tree at once, and so is the word on a missing file.
    void followsTheDefinition()
    {
        QVERIFY(openHero());
        EmberProject *harbour = projectNamed(m_parent, "The quay");
        EmberDocument *definition = harbour->definition();
        const QString added = harbour->absolutePath() + "code/new.glow";
        const QPersistentModelIndex kept = m_parent->index(0, 0);
        const QString before = TreeDump::rows(*m_parent);
        QVERIFY(!m_parent->filePath(added));

        const QTextCursor place = definition->find("    states: tide.glow");
        QVERIFY(!place.isNull());
        definition->insertOnCursor("    states: code/new.glow\n    states: tide.glow", place);
        QVERIFY(m_parent->filePath(added));
        QVERIFY(kept.isValid());
        QCOMPARE(allMessages(m_parent).filter("harbour.glade"),
                 QStringList("harbour.glade:12 1 There is no readable file 'code/new.glow'"));
        definition->undo();
        QCOMPARE(TreeDump::rows(*m_parent), before);
        QVERIFY(allMessages(m_parent).filter("harbour.glade").isEmpty());
    }

    void readsOddDefinitions_data()
    {
        const auto row = columns<QByteArray, QStringList, QStringList>("text", "files", "messages");
        const QString outside = "odd.wisp:2 1 '../far.glow' may lie outside the project";
        row("itself", "@files\nstates: odd.wisp\nbrain: ./odd.wisp\nrules: ../odd/odd.wisp", {},
            {"odd.wisp:4 1 '../odd/odd.wisp' may lie outside the project"});
        row("itself as its cast", "@files\ncast: odd.wisp", {}, {});
        row("a file above", "@files\nstates: ../far.glow", {"32 ../far.glow"}, {outside});
        row("an absolute name", "@files\nstates: /etc/passwd", {},
            {"odd.wisp:2 0 The name of a file must be relative to this file"});
        row("no name", "@files\nstates:", {}, {"odd.wisp:2 0 'states' has no value"});
        row("the same twice", "@files\nstates: a.glow\nstates: a.glow", {"32 a.glow", "32 a.glow"},
            {});
        row("a file that is missing", "@files\nstates: b.glow", {"32 b.glow"},
            {"odd.wisp:2 1 There is no readable file 'b.glow'"});
        row("a directory is missing", "@files\nstates: c/d.glow", {"32 c/d.glow"},
            {"odd.wisp:2 1 There is no readable file 'c/d.glow'"});
        row("a directory for a file", "@files\nstates: sub.glow", {"32 sub.glow"},
            {"odd.wisp:2 1 There is no readable file 'sub.glow'"});
        row("a file of another kind", "@files\nstates: picture.png", {"32 picture.png"}, {});
        row("an empty file", "", {}, {});
        row("binary", QByteArray("\0\xff\xfe\x01 @files\0", 13), {},
            {"odd.wisp:1 0 A line of code needs a section above it"});
    }

    void readsOddDefinitions()
    {
        auto [text, files] = row<QByteArray, QStringList>();
        const QString base = m_directory->path() + "/odd/";
        writeFile(base + "odd.wisp", text);
        writeFile(base + "a.glow", "@state a");
        writeFile(base + "picture.png", "\x89PNG");
        writeFile(base + "sub.glow/b.glow", "@state b");
        writeFile(base + "sub.glow/b.glow", "@state b");
        writeFile(base + "../far.glow", "@state far");
        m_parent = EmberParentProject::open(base, disk());
        QVERIFY(m_parent);
        QCOMPARE(m_parent->refCount(), 1u);
        QList<Kiln::ReferencedFile> listed;
        m_parent->openedProjects().first()->fileList(listed);
        QStringList found;
        for (const Kiln::ReferencedFile &file : qAsConst(listed))
            found.append(QString("%1 %2").arg(file.id).arg(file.path));
        QCOMPARE(found, files);
        QTEST(allMessages(m_parent), "messages");
        const QString rows = TreeDump::rows(*m_parent);
        QCOMPARE(rows.count("odd.wisp\n"), 1);
        QVERIFY(rows.count("a.glow\n") <= 1);
        // What is missing may come later, and nobody touches the definition for that.
        writeFile(base + "b.glow", "@state b");
        writeFile(base + "c/d.glow", "@state d");
        QTRY_VERIFY(allMessages(m_parent).filter(QRegularExpression("'(b|c/d).glow'")).isEmpty());
    }

    void readsTheStage()
    {
        QVERIFY(openHero());
        EmberProject *stage = projectNamed(m_parent, "The quay");
        QCOMPARE(stage->stageSize(), QSize(960, 540));
        QCOMPARE(stage->stageScale(), QSizeF(1.5, 1.5));
        EmberProject *character = projectNamed(m_parent, "Wren");
        QCOMPARE(character->stageSize(), QSize(640, 360));
        QCOMPARE(character->stageScale(), QSizeF(1, 1));
        stage->definition()->fromString("@ground\nsize: 0, 5\nscale: -1, 1\n@about\ntitle: \"\"");
        QCOMPARE(stage->stageSize(), QSize(640, 360));
        QCOMPARE(stage->stageScale(), QSizeF(1, 1));
    }

    void changeKeepsTheComment_data()
    {
        columns<QString, QString>("before", "after");
        addRow("after one blank", "chance: 0.6 ; dear", "chance: 1 ; dear");
        addRow("written close", "chance: 0.6;dear", "chance: 1 ;dear");
        addRow("written far", "chance: 0.6 \t  ;  dear  ", "chance: 1 ;  dear  ");
        addRow("from the first mark on", "chance: 0.6 ; dear ; very", "chance: 1 ; dear ; very");
        addRow("an empty comment", "chance: 0.6 ;", "chance: 1 ;");
        addRow("no comment", "chance: 0.6", "chance: 1");
    }

    /// In a file of a project, whose engine tells what opens a comment.
    void changeKeepsTheComment()
    {
        auto [before, after] = row<QString, QString>();
        QVERIFY(openHero());
        auto *brain = static_cast<EmberDocument *>(
            m_parent->openFile(m_parent->basePath() + "heroes/wren/brain.glow"));
        QVERIFY(brain);
        const QString head = "@state think\n";
        brain->fromString(head + before + '\n' + before);
        Kiln::CodeNode *const node = brain->nodeInBlock(brain->findBlockByNumber(1));
        Kiln::CodeNode *const last = brain->nodeInBlock(brain->lastBlock());
        QVERIFY(node && last);
        brain->beginChange();
        last->change("chance: 1");
        node->change("chance: 1");
        brain->endChange();
        QCOMPARE(brain->toPlainText(), head + after + '\n' + after);
        QCOMPARE(brain->nodeInBlock(brain->findBlockByNumber(1)), node);
        // Doing it again adds no blanks.
        node->change("chance: 1");
        QCOMPARE(brain->toPlainText(), head + after + '\n' + after);
        brain->undo();
        brain->undo();
        QCOMPARE(brain->toPlainText(), head + before + '\n' + before);
    }

    void makesFiles()
    {
        EmberEngine &engine = EmberEngine::instance();
        m_parent = EmberParentProject::create(m_directory->path(), disk(), EmberDocument::Stage);
        Kiln::Project *project = m_parent->openedProjects().first();
        QVERIFY(project->isSingle());
        QCOMPARE(project->type(), Kiln::Project::Background);
        QVERIFY(!engine.createFile(Kiln::Project::FileID::Definition, project));
        const QMap<int, QString> filters = engine.singleFileFilters();
        for (auto i = filters.begin(); i != filters.end(); ++i) {
            const auto type = Kiln::Project::FileID::Type(i.key());
            Kiln::ProjectFile *file = engine.createFile(type, project);
            QVERIFY(file);
            project->addFile(file, type);
            auto *document = dynamic_cast<EmberDocument *>(file);
            QCOMPARE(document == nullptr, type == Kiln::Project::FileID::Sounds ||
                                              type == Kiln::Project::FileID::Sprites);
            if (!document)
                continue;
            QCOMPARE(i.value(), QString("*.") + EmberDocument::suffix(
                                                    EmberDocument::FileType(document->fileType())));
            QCOMPARE(document->option("modelCode"), QVariant(true));
            project->setOption("modelCode", false, false);
            QCOMPARE(document->option("modelCode"), QVariant(false));
            project->setOption("modelCode", true, false);
        }
        QCOMPARE(project->files().size(), 6);
    }

    void collectsFiles()
    {
        QVERIFY(openHero());
        QStringList notes;
        m_parent->collectFiles("notes", notes);
        notes.sort();
        QCOMPARE(notes, (QStringList{"notes/design.txt", "notes/names.txt"}));
        QStringList one;
        m_parent->collectFiles("shared/rules.glow", one);
        QCOMPARE(one, QStringList("shared/rules.glow"));
        QStringList none;
        m_parent->collectFiles("nothing", none);
        QVERIFY(none.isEmpty());
    }

    void sampleUsesEveryValueType()
    {
        QVERIFY(openHero());
        QSet<int> types;
        for (Kiln::Project *project : m_parent->openedProjects()) {
            for (Kiln::ProjectFile *file : project->files()) {
                const Kiln::CodeNode *node = dynamic_cast<EmberDocument *>(file);
                while (node && (node = node->next(Kiln::CodeNode::Value, 0)))
                    types.insert(static_cast<const Kiln::ValueCode *>(node)->valueType());
            }
        }
        for (int type = Kiln::ValueCode::Plain; type <= Kiln::ValueCode::IntVector2; ++type)
            QVERIFY2(types.contains(type), qPrintable(QString::number(type)));
    }

    void runsTheGame()
    {
        QVERIFY(openHero());
        EmberEngine &engine = EmberEngine::instance();
        engine.clear();
        engine.add("game", QString(KILN_BINARY_DIR "/bin/ember-game"), "--window small", QString());
        QString output;
        QVERIFY(m_parent->run(&output));
        engine.clear();
        const QStringList lines = output.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.mid(0, 3),
                 (QStringList{"Ember game", "argument --window", "argument small"}));
        QCOMPARE(lines.size(), 3 + 5);
        QCOMPARE(lines.last(),
                 QString("loaded %1tidewater.hearth, 4 sections").arg(m_parent->basePath()));
        const QString list = QString::fromLocal8Bit(qgetenv("EMBER_DEFINITIONS"));
        QVERIFY(!list.isEmpty() && !QFile::exists(list));
    }

    /// A game beside the definitions is run without asking which, and is told of the same files.
    void runsTheGameOfTheProject()
    {
        QVERIFY(openHero());
        EmberEngine::instance().clear();
        QVERIFY(!m_parent->isGame());
        QVERIFY(QFile::copy(QString(KILN_BINARY_DIR "/bin/ember-game"),
                            m_parent->basePath() + "ember-game"));
        QVERIFY(m_parent->isGame());
        QString output;
        QVERIFY(m_parent->run(&output));
        QVERIFY2(output.contains(QString("loaded %1tidewater.hearth").arg(m_parent->basePath())),
                 qPrintable(output));
    }

    void closesEverything()
    {
        const int owners = disk().refCount;
        QVERIFY(openHero());
        QVERIFY(disk().refCount > owners);
        QList<QPointer<QObject>> objects;
        for (Kiln::Project *project : m_parent->openedProjects()) {
            objects.append(project);
            for (Kiln::ProjectFile *file : project->files())
                objects.append(dynamic_cast<QObject *>(file->model()));
        }
        QCOMPARE(objects.size(), 5 + 28);
        QVERIFY(!objects.contains(nullptr));

        const QList<Kiln::Project *> projects = m_parent->openedProjects();
        projects.first()->release();
        QVERIFY(m_parent);
        QCOMPARE(m_parent->refCount(), 4u);
        // Another goes on without its definition.
        auto *orphan = static_cast<EmberProject *>(projects.last());
        orphan->removeFile(orphan->definition());
        QVERIFY(m_parent->backup("orphan"));
        m_parent->save();
        QCOMPARE(orphan->displayName(), "Untitled");
        QCOMPARE(orphan->cast(), QStringList());
        QCOMPARE(orphan->stageSize(), QSize(640, 360));
        m_parent->close();
        QVERIFY(!m_parent);
        for (const QPointer<QObject> &object : qAsConst(objects))
            QVERIFY(object.isNull());
        QCOMPARE(disk().refCount, owners);
    }

    /// At its end a process tells how much memory nodes ever took. One that opens, edits and closes
    /// the sample ten times takes no more than one that does so once.
    void returnsEveryNode()
    {
        const QString hero = copyOfHero(m_directory->path());
        const auto report = [&hero](int rounds) {
            QProcess process;
            process.setProcessChannelMode(QProcess::MergedChannels);
            process.start(QCoreApplication::applicationFilePath(),
                          {"--rounds", QString::number(rounds), hero});
            if (!process.waitForFinished(120000) || process.exitCode() != 0)
                return QString::fromLocal8Bit(process.readAll()) + process.errorString();
            const QString output = QString::fromLocal8Bit(process.readAll());
            return output.mid(output.indexOf("maximum allocated")).trimmed();
        };
        const QString once = report(1);
        QVERIFY2(once.startsWith("maximum allocated memory for nodes:"), qPrintable(once));
        QCOMPARE(report(10), once);
    }

private:
    EmberParentProject *openHero()
    {
        m_parent = EmberParentProject::open(copyOfHero(m_directory->path()), disk());
        return m_parent;
    }

    std::unique_ptr<TestHost> m_host;
    std::unique_ptr<QTemporaryDir> m_directory;
    QPointer<EmberParentProject> m_parent;
};

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == "--rounds")
        return openAndClose(arguments.value(2).toInt(), arguments.value(3));
    TestEmberProject test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_emberproject.moc"
