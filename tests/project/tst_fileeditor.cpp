#include "fakes.h"

using namespace Kiln;

using FileID = Project::FileID;

class tst_fileeditor : public ProjectTest
{
    Q_OBJECT

private:
    std::unique_ptr<FakeEngine> m_engine;
    std::unique_ptr<FakeEditor> m_editor;
    FakeProject *m_project = nullptr;
    bool m_makesRefusing = false;
    QString base() const { return m_directory->path() + "/project/"; }
    QString outside(const char *name) const
    {
        return m_directory->path() + "/outside/" + QLatin1String(name);
    }

    FakeFile *current(const QByteArray &contents, bool modified = true)
    {
        auto *file = new FakeFile;
        file->contents = contents;
        file->modified = modified;
        m_project->addFile(file, FileID::Sounds);
        m_editor->setCurrentFile(file);
        return file;
    }

private slots:
    void init()
    {
        ProjectTest::init();
        m_engine = std::make_unique<FakeEngine>();
        m_makesRefusing = false;
        m_engine->filters[FileID::Sounds] = "*.snd";
        m_engine->makes = [this] {
            auto *file = new FakeFile;
            file->refuses = m_makesRefusing;
            return file;
        };
        m_host->currentEngine = m_engine.get();
        m_editor = std::make_unique<FakeEditor>();
        writeFile(base() + "d.def");
        m_project = (new FakeParent(base()))->open("d.def");
        m_host->activeProject = m_project;
    }

    void cleanup()
    {
        m_editor.reset();
        m_project->release();
        m_engine.reset();
        ProjectTest::cleanup();
    }

    void createsAFile()
    {
        m_editor->create();
        QCOMPARE(m_project->filesByType(FileID::Sounds).size(), 1);
        QVERIFY(m_editor->isActive());
        QCOMPARE(m_editor->shown, 1);
        m_engine->makes = nullptr;
        m_editor->create();
        m_host->activeProject = nullptr;
        m_editor->create();
        m_host->currentEngine = nullptr;
        m_editor->create();
        m_editor->open();
        QCOMPARE(m_editor->shown, 1);
        QCOMPARE(m_project->filesByType(FileID::Sounds).size(), 1);
    }

    /// An engine may ask for something before it makes a file.
    void closedByTheEngine_data()
    {
        QTest::addColumn<bool>("opens");
        addRow("of a new file", false);
        addRow("of an open", true);
    }

    void closedByTheEngine()
    {
        QFETCH(bool, opens);
        writeFile(base() + "a.snd", "a");
        m_engine->makes = [this] {
            m_project->release();
            m_project = (new FakeParent(base()))->open("d.def");
            m_host->activeProject = m_project;
            return new FakeFile;
        };
        if (opens) {
            m_host->dialogs().expectFiles({base() + "a.snd"});
            m_editor->open();
        } else {
            m_editor->create();
        }
        QCOMPARE(FakeFile::alive, 0);
        QCOMPARE(m_project->files().size(), 1);
        QCOMPARE(m_editor->shown, 0);
    }

    void opensAFile()
    {
        writeFile(base() + "snd/a.snd", "a");
        m_host->options["project_path"] = base();
        m_host->dialogs().expectFiles({base() + "snd/a.snd"});
        m_editor->open();
        QVERIFY(m_editor->isActive());
        auto *file = dynamic_cast<FakeFile *>(m_project->file(FileID::Sounds));
        QVERIFY(file);
        QCOMPARE(file->contents, QByteArray("a"));
        QVERIFY(!file->modified);
        QCOMPARE(m_project->option("sounds_path"), QVariant(base() + "snd"));
        QCOMPARE(m_host->options["sounds_path"], QVariant(base() + "snd"));
        QCOMPARE(m_editor->shown, 1);
        // The next dialogs start where the last one ended, whatever the whole project says.
        m_editor->deactivate();
        m_editor->setCurrentFile(file);
        m_host->dialogs().expectFiles({});
        m_editor->open();
        QVERIFY(!m_editor->isActive());
        m_project->setOption("sounds_path", m_directory->path(), false);
        m_host->dialogs().expectFiles({});
        m_editor->saveAs();
        QVERIFY(m_editor->isActive());
        const QList<DialogScript::Seen> seen = m_host->dialogs().seen();
        const QStringList titles{"Open sounds...", "Open sounds...", "Save sounds as..."};
        const QStringList directories{base(), base() + "snd", m_directory->path()};
        for (int i = 0; i < titles.size(); ++i) {
            QCOMPARE(seen[i].title, titles[i]);
            QCOMPARE(seen[i].nameFilters, QStringList("Sound banks (*.snd)"));
            QCOMPARE(QDir(seen[i].text), QDir(directories[i]));
        }
    }

    void openThatEndsInNothing_data()
    {
        columns<bool>("isCancelled");
        addRow("cancelled", true);
        addRow("cannot be loaded", false);
    }

    void openThatEndsInNothing()
    {
        QFETCH(bool, isCancelled);
        writeFile(base() + "a.snd", "a");
        m_makesRefusing = true;
        current("first", false);
        current("second", false);
        m_project->setSelectedFile(FileID::Sounds, 0);
        m_host->dialogs().expectFiles(isCancelled ? QStringList() : QStringList(base() + "a.snd"));
        m_editor->open();
        QCOMPARE(m_project->selectedFile(FileID::Sounds), 0u);
        QCOMPARE(m_project->files().size(), 3);
        QCOMPARE(FakeFile::alive, 2);
        QCOMPARE(m_editor->shown, 0);
        QVERIFY(!m_project->option("sounds_path").isValid());
    }

    void filesFromOutside_data()
    {
        columns<bool, bool, bool>("opens", "isSingle", "asCopy");
        addRow("opened as a copy", true, false, true);
        addRow("opened where it is", true, false, false);
        addRow("opened in a new project", true, true, false);
        addRow("saved as a copy", false, false, true);
        addRow("saved there from now on", false, false, false);
        addRow("saved from a new project", false, true, false);
    }

    void filesFromOutside()
    {
        const auto [opens, isSingle, asCopy] = row<bool, bool, bool>();
        if (isSingle) {
            auto *parent = new FakeParent(base());
            auto *project = new FakeProject(parent, new FakeDocument);
            project->addToParent();
            m_project->release();
            m_project = project;
            m_host->activeProject = project;
        }
        if (opens)
            writeFile(outside("a.snd"), "outside");
        else
            QVERIFY(QDir().mkpath(outside("")));
        m_host->dialogs().expectFiles({outside("a.snd")});
        if (!isSingle)
            m_host->dialogs().expectBox(asCopy ? QMessageBox::Yes : QMessageBox::No);
        if (opens) {
            m_editor->open();
        } else {
            current("inside");
            m_editor->saveAs();
        }
        auto *file = dynamic_cast<FakeFile *>(m_project->file(FileID::Sounds));
        QCOMPARE(file->contents, opens ? QByteArray("outside") : QByteArray("inside"));
        QCOMPARE(readFile(outside("a.snd")), file->contents);
        QCOMPARE(file->name, asCopy ? QString() : outside("a.snd"));
        QCOMPARE(file->modified, asCopy);
        const QList<DialogScript::Seen> seen = m_host->dialogs().seen();
        QCOMPARE(seen.size(), isSingle ? 1 : 2);
        if (isSingle)
            return;
        QCOMPARE(seen[1].title, QString("External file!"));
        QCOMPARE(seen[1].icon, QMessageBox::Warning);
        QCOMPARE(seen[1].defaultButton, QMessageBox::No);
        QCOMPARE(seen[1].text,
                 QString("This file isn't a child of the project directory, so will be ignored on "
                         "'Run in engine', 'Backup' and 'Save as' functions. Do you want to ") +
                     (opens ? "load it as copy?\nNote: As copy, if you save it the previous file "
                              "will be overwritten!"
                            : "save it as copy?\nNote: As copy, we keep the reference to the "
                              "previous file!"));
    }

    void closedBehindTheBox_data()
    {
        columns<bool, bool>("opens", "discards");
        addRow("of an open", true, false);
        addRow("of a save as", false, false);
        addRow("of a discard", false, true);
    }

    void closedBehindTheBox()
    {
        auto [opens, discards] = row<bool, bool>();
        writeFile(outside("a.snd"), "outside");
        if (!opens) {
            current("first");
            current("second");
        }
        if (!discards)
            m_host->dialogs().expectFiles({outside(opens ? "a.snd" : "b.snd")});
        m_host->dialogs().expectDialog([this](QDialog *box) {
            m_project->release();
            m_project = (new FakeParent(base()))->open("d.def");
            m_host->activeProject = m_project;
            m_editor->setCurrentFile(nullptr);
            static_cast<QMessageBox *>(box)->button(QMessageBox::Yes)->click();
        });
        if (opens)
            m_editor->open();
        else if (discards)
            QVERIFY(m_editor->FileEditor::canDiscard());
        else
            m_editor->saveAs();
        QCOMPARE(FakeFile::alive, 0);
        QCOMPARE(m_project->files().size(), 1);
        QVERIFY(!QFile::exists(outside("b.snd")));
        QVERIFY(!m_project->option("sounds_path").isValid());
    }

    void suffixes_data()
    {
        const auto add = columns<QString, QString, QString>("pattern", "chosen", "saved");
        add("appended", "*.snd", "a", "a.snd");
        add("there already", "*.snd", "a.snd", "a.snd");
        add("there in capitals", "*.snd", "a.SND", "a.SND.snd");
        add("another one", "*.snd", "a.wav", "a.wav.snd");
        add("the last of several", "*.snd*.bank", "a", "a.bank");
        add("with blanks there is none", "*.snd *.bank", "a", "a");
        add("with digits there is none", "*.s3m", "a", "a");
        add("no pattern", "", "a", "a");
    }

    void suffixes()
    {
        const auto [pattern, chosen, saved] = row<QString, QString, QString>();
        m_engine->filters[FileID::Sounds] = pattern;
        FakeFile *file = current("new");
        QSignalSpy modified(m_editor.get(), &Editor::modified);
        m_host->dialogs().expectFiles({base() + chosen});
        m_editor->saveAs();
        QCOMPARE(readFile(base() + saved), QByteArray("new"));
        QCOMPARE(file->name, base() + saved);
        QCOMPARE(modified.count(), 1);
        QCOMPARE(m_host->dialogs().seen().first().title, QString("Save sounds as..."));
    }

    void saves()
    {
        m_editor->save();
        FakeFile *file = current("new");
        file->name = base() + "a.snd";
        m_editor->deactivate();
        m_editor->save();
        QVERIFY(m_editor->isActive());
        QCOMPARE(readFile(base() + "a.snd"), QByteArray("new"));
        QVERIFY(!m_editor->isModified());
        QCOMPARE(m_editor->shown, 1);
        file->contents = "unmodified";
        m_editor->save();
        file->modified = true;
        file->savable = false;
        m_editor->save();
        m_editor->saveAs();
        QCOMPARE(readFile(base() + "a.snd"), QByteArray("new"));
        // A place that fails ends in the question for another; cancelled, all stays as it was.
        file->savable = true;
        file->refuses = true;
        m_host->dialogs().expectFiles({});
        m_editor->save();
        QVERIFY(m_editor->isModified());
        QCOMPARE(readFile(base() + "a.snd"), QByteArray("new"));
    }

    void discards()
    {
        QVERIFY(m_editor->canDiscard(nullptr));
        FakeFile *first = current("a");
        FakeFile *second = current("b", false);
        FakeFile *third = current("c");
        QVERIFY(m_editor->canDiscard(second));
        m_host->dialogs().expectBox(QMessageBox::No);
        m_host->dialogs().expectBox(QMessageBox::Yes);
        QVERIFY(!m_editor->canDiscard());
        m_host->dialogs().expectBox(QMessageBox::Yes);
        m_host->dialogs().expectBox(QMessageBox::Yes);
        QVERIFY(m_editor->canDiscard());
        first->capabilityBits = 1;
        third->capabilityBits = 3;
        QVERIFY(m_editor->canDiscard());
        const DialogScript::Seen seen = m_host->dialogs().seen().first();
        QCOMPARE(seen.title, QString("Discard changes?"));
        QCOMPARE(seen.text, QString("Do you want to discard the changes made in sounds?"));
        QCOMPARE(seen.defaultButton, QMessageBox::No);
        QCOMPARE(seen.icon, QMessageBox::Question);
    }

    void finds()
    {
        current("needle");
        m_editor->find(QString(), 0);
        QVERIFY(m_editor->searched.isEmpty());
        m_editor->find("needle", 0);
        m_editor->find("straw", 16);
        QCOMPARE(m_host->dialogs().seen().size(), 0);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        m_editor->find("straw", 1);
        const DialogScript::Seen seen = m_host->dialogs().seen().first();
        QCOMPARE(seen.text, QString("Nothing found!"));
        QCOMPARE(seen.title, m_host->text(8));
        QCOMPARE(seen.icon, QMessageBox::Information);
    }

    void withoutAFile()
    {
        QVERIFY(!m_editor->isModified());
        m_editor->undo();
        m_editor->redo();
        m_editor->saveAs();
        FileEditor::saveFileAs(nullptr, m_editor.get(), m_host.get());
        FakeFile *file = current("x");
        QVERIFY(m_editor->isModified());
        m_editor->undo();
        m_editor->redo();
        m_editor->redo();
        QCOMPARE(file->undos, 1);
        QCOMPARE(file->redos, 2);
    }
};

QTEST_MAIN(tst_fileeditor)
#include "tst_fileeditor.moc"
