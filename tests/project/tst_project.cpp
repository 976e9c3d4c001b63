#include "fakes.h"

using namespace Kiln;

using FileID = Project::FileID;

class tst_project : public ProjectTest
{
    Q_OBJECT

private:
    QPointer<FakeParent> m_parent;
    FakeProject *m_project = nullptr;
    QStringList m_signals;

    void newProject(FakeDocument *document)
    {
        m_parent = new FakeParent(base());
        m_project = new FakeProject(m_parent, document);
        m_project->addToParent();
        connect(m_project, &Project::fileAdded, this, [this](const ProjectFile *file, FileID id) {
            bool isListed = true;
            for (unsigned int bit = 1; bit != 0; bit <<= 1)
                isListed &= !(id.bits & bit) || m_project->file(FileID::Type(bit)) == file;
            m_signals << "added " + QString::number(id.bits) + (isListed ? "" : " too early");
        });
        connect(m_project, &Project::fileRemoved, this, [this](const ProjectFile *, FileID id) {
            const bool isLate = FakeFile::alive == 0;
            m_signals << "removed " + QString::number(id.bits) + (isLate ? " too late" : "");
        });
    }

private slots:
    void init()
    {
        ProjectTest::init();
        m_signals.clear();
        newProject(new FakeDocument);
    }

    void cleanup()
    {
        m_project->release();
        QVERIFY(!m_parent);
        ProjectTest::cleanup();
    }

    void filesByTypeAndSelection()
    {
        auto *first = new FakeFile;
        auto *second = new FakeFile;
        m_project->addFile(first, FileID::Sprites);
        m_project->addFile(second, FileID(FileID::Sprites | FileID::Sounds));
        QCOMPARE(m_project->file(FileID::Sprites), second);
        QCOMPARE(m_project->selectedFile(FileID::Sprites), 1u);
        m_project->setSelectedFile(FileID::Sprites, 0);
        QCOMPARE(m_project->file(FileID::Sprites), first);
        m_project->setSelectedFile(FileID::Sprites, 99);
        QCOMPARE(m_project->file(FileID::Sprites), first);
        QVERIFY(!m_project->file(FileID::Animations));
        QCOMPARE(m_project->selectedFile(FileID::Animations), 0u);

        // The same file again, with one new type.
        m_project->addFile(first, FileID(FileID::Sprites | FileID::Code));
        QCOMPARE(m_project->filesWithIDs().size(), 3);
        QCOMPARE(m_project->fileID(first).bits, 34u);
        QCOMPARE(m_project->filesByType(FileID::Code), QList<ProjectFile *>{first});
        QCOMPARE(m_signals, QStringList({"added 2", "added 6", "added 32"}));

        m_project->moveFile(FileID::Sprites, 0, 1);
        QCOMPARE(m_project->filesByType(FileID::Sprites), QList<ProjectFile *>({second, first}));
        for (const auto &[from, to] : {qMakePair(-1, 0), {0, 2}, {2, 0}, {0, -1}})
            m_project->moveFile(FileID::Sprites, from, to);
        m_project->moveFile(FileID::Commands, 0, 0);
        QCOMPARE(m_project->filesByType(FileID::Sprites), QList<ProjectFile *>({second, first}));

        auto *highest = new FakeFile;
        m_project->addFile(highest, FileID(0x80000000u));
        QCOMPARE(m_project->file(FileID::Type(0x80000000u)), highest);
        m_project->addFile(nullptr, FileID::Code);
        QCOMPARE(m_project->files().size(), 4);
    }

    void filesLeave()
    {
        auto *file = new FakeFile;
        m_project->addFile(file, FileID(FileID::Sprites | FileID::Sounds));
        QCOMPARE(file->project(), m_project);
        m_project->removeFile(FileID::Sprites, 1);
        m_project->removeFile(FileID::Sprites, -1);
        m_project->removeFile(FileID::Animations, 0);
        m_project->removeFile(FileID::Sprites, 0);
        QCOMPARE(FakeFile::alive, 1);
        QCOMPARE(m_project->fileID(file).bits, 4u);
        QVERIFY(!m_project->file(FileID::Sprites));
        m_project->removeFile(FileID::Sounds, 0);
        QCOMPARE(FakeFile::alive, 0);
        QCOMPARE(m_signals, QStringList({"added 6", "removed 6", "removed 4"}));

        m_signals.clear();
        file = new FakeFile;
        m_project->addFile(file, FileID(FileID::Sprites | FileID::Code));
        QCOMPARE(m_project->takeFile(file), file);
        QVERIFY(!m_project->takeFile(file));
        QVERIFY(!file->project());
        QVERIFY(m_project->filesByType(FileID::Code).isEmpty());
        file->release();
        file = new FakeFile;
        m_project->addFile(file, FileID::Code);
        m_project->removeFile(file);
        m_project->removeFile(static_cast<ProjectFile *>(nullptr));
        QCOMPARE(m_signals, QStringList({"added 34", "removed 34", "added 32", "removed 32"}));
        QCOMPARE(FakeFile::alive, 0);
    }

    /// Whoever hears that a file leaves may close the project.
    void closedAsAFileLeaves_data()
    {
        QTest::addColumn<bool>("isTaken");
        QTest::newRow("taken") << true;
        QTest::newRow("removed") << false;
    }

    void closedAsAFileLeaves()
    {
        QFETCH(bool, isTaken);
        auto *file = new FakeFile;
        m_project->addFile(file, FileID::Sounds);
        connect(m_project, &Project::fileRemoved, this, [this] {
            disconnect(m_project, &Project::fileRemoved, this, nullptr);
            m_project->release();
        });
        if (isTaken) {
            QCOMPARE(m_project->takeFile(file), file);
            QVERIFY(!file->project());
            file->release();
        } else {
            m_project->removeFile(file);
        }
        QCOMPARE(FakeFile::alive, 0);
        QCOMPARE(FakeProject::alive, 0);
        newProject(new FakeDocument);
    }

    void messagesOfAllFilesAreOneTable()
    {
        auto *file = new FakeFile;
        static_cast<SimpleMessages *>(file->fileMessages())->add(Message::Error, "one", 0, 0);
        m_project->addFile(file, FileID::Sounds);
        QCOMPARE(m_project->messages()->errorCount(), 1u);
        QCOMPARE(m_project->messages()->project(), m_project);
        m_project->addFile(file, FileID::Code);
        QCOMPARE(m_project->messages()->rowCount(), 1);
        m_project->takeFile(file);
        QCOMPARE(m_project->messages()->rowCount(), 0);
        file->release();
    }

    void emptyModifiedAndSingle()
    {
        QVERIFY(m_project->isEmpty() && !m_project->isModified() && m_project->isSingle());
        auto *file = new FakeFile;
        m_project->addFile(file, FileID::Sounds);
        QVERIFY(m_project->isEmpty() && m_project->isSingle());
        file->contents = "x";
        QVERIFY(!m_project->isEmpty());
        file->modified = true;
        QVERIFY(m_project->isModified());
        m_project->addFile(new FakeDocument, FileID::Definition);
        QVERIFY(!m_project->isSingle());
        while (!m_project->files().isEmpty())
            m_project->removeFile(m_project->files().first());
        QVERIFY(m_project->isEmpty() && !m_project->isModified() && !m_project->isSingle());
        QCOMPARE(m_project->fileName(), QString());
    }

    void optionsFallThrough()
    {
        auto *file = new FakeFile;
        m_project->addFile(file, FileID::Sounds);
        const QString key = "key";
        QVERIFY(!file->option(key).isValid());
        m_host->options[key] = "host";
        QCOMPARE(file->option(key), QVariant("host"));
        file->setOption(key, "project", true, false);
        QCOMPARE(m_host->options[key], QVariant("host"));
        QCOMPARE(m_project->option(key), QVariant("project"));
        QCOMPARE(file->option(key), QVariant("project"));
        file->setOption(key, "file", false, true);
        QCOMPARE(file->option(key), QVariant("file"));
        QCOMPARE(m_project->option(key), QVariant("project"));
        file->setOption(key, QVariant(), false, false);
        QCOMPARE(file->option(key), QVariant("project"));
        file->setOption(key, "all", true, true);
        QCOMPARE(m_host->options[key], QVariant("all"));
        m_project->setOption(key, QVariant(), false);
        QCOMPARE(file->option(key), QVariant("all"));

        setGlobalInterface(nullptr);
        QVERIFY(!file->option(key).isValid());
        file->setOption(key, 3, true, true);
        QCOMPARE(file->option(key), QVariant(3));
        setGlobalInterface(m_host.get());

        auto *alone = new FakeFile;
        alone->setOption(key, 1, true, true);
        QCOMPARE(alone->option(key), QVariant(1));
        QCOMPARE(m_host->options[key], QVariant("all"));
        alone->release();
    }

    void definitionOptionsMoveUp()
    {
        m_project->release();
        m_host->log.clear();
        m_host->options["highlightCode"] = "kept";
        auto *document = new FakeDocument(Project::Level);
        document->setOption("modelCode", true, false, false);
        document->setOption("parseCode", false, false, false);
        newProject(document);
        QCOMPARE(m_project->type(), Project::Level);
        QCOMPARE(m_host->log, QStringList({"setOption parseCode=false", "setOption highlightCode=",
                                           "setOption modelCode=true"}));
        // What a definition does not say is told as an invalid value, which this host passes over.
        QCOMPARE(document->option("highlightCode"), QVariant("kept"));
        m_project->setOption("modelCode", QVariant(), false);
        m_host->options["modelCode"] = 7;
        QCOMPARE(document->option("modelCode"), QVariant(7));
    }

    void namesAndReload()
    {
        m_project->release();
        make({{"sub/d.def", "2 a"}, {"sub/a", "one"}});
        m_parent = new FakeParent(base());
        m_project = m_parent->open("sub/d.def");
        QCOMPARE(m_project->fileName(), base() + "sub/d.def");
        QCOMPARE(m_project->absolutePath(), base() + "sub/");
        QCOMPARE(m_project->basePath(), QString("sub/"));
        auto *file = new FakeFile;
        auto *vanished = new FakeFile;
        QVERIFY(file->fromFile(m_project->archive(), base() + "sub/a", false));
        QCOMPARE(&file->archive(), &FileSystemArchive::instance());
        vanished->name = base() + "gone";
        vanished->contents = "in memory";
        m_project->addFile(file, FileID::Sprites);
        m_project->addFile(vanished, FileID::Sprites);
        bool isAsked = false;
        vanished->inBox = [&isAsked] { isAsked = true; };
        writeFile(base() + "sub/a", "two");
        m_project->reload();
        QVERIFY(!isAsked);
        QCOMPARE(file->contents, QByteArray("two"));
        QCOMPARE(vanished->contents, QByteArray("in memory"));
        // What is loaded is the file itself, not a copy of it.
        QVERIFY(!file->modified && !m_project->isModified());
    }

    void archiveOfAProjectIsFlushedAtItsEnd()
    {
        MemoryArchive archive;
        archive.files[base() + "d.def"] = "2 a";
        (new FakeParent(base(), archive))->open("d.def")->release();
        QCOMPARE(archive.flushes, 1);
        QCOMPARE(archive.freed, 1);
    }

    void archiveOfAFileIsCounted()
    {
        FileSystemArchive other = FileSystemArchive::instance();
        other.refCount = 0;
        writeFile(base() + "a", "x");
        auto *file = new FakeFile;
        const int before = FileSystemArchive::instance().refCount;
        QVERIFY(file->fromFile(FileSystemArchive::instance(), base() + "a", true));
        QCOMPARE(FileSystemArchive::instance().refCount, before);
        QVERIFY(file->fromFile(FileSystemArchive::instance(), base() + "a", false));
        QVERIFY(file->toFile(FileSystemArchive::instance(), base() + "a", false));
        QCOMPARE(FileSystemArchive::instance().refCount, before + 1);
        QVERIFY(!file->ProjectFile::toFile(FileSystemArchive::instance(), "a", false));
        QVERIFY(file->fromFile(other, base() + "a", false));
        QCOMPARE(FileSystemArchive::instance().refCount, before);
        QCOMPARE(other.refCount, 1);
        QVERIFY(file->fileExists());
        file->release();
        QCOMPARE(other.refCount, 0);
    }
};

QTEST_MAIN(tst_project)
#include "tst_project.moc"
