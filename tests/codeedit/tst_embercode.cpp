// Ember in the code view: the snippets that it delivers, and the words that it offers.

#include "editortest.h"

#include <engines/ember/emberdocument.h>
#include <engines/ember/embersnippets.h>
#include <engines/ember/emberwords.h>
#include <kilnx/code/messages.h>
#include <kilnx/codeedit/snippets.h>
#include <tests/support/files.h>
#include <tests/support/testhost.h>

using namespace Kiln;

class TestEmberCode : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_host = std::make_unique<TestHost>(); }

    void cleanup()
    {
        QCOMPARE(m_host->dialogs().finish(), QString());
        m_host.reset();
    }

    void snippetsAreDeliveredOnce()
    {
        const QString folder = m_directory.filePath("once/snippets");
        QVERIFY(EmberSnippets::deliver(folder));
        const QStringList names = QDir(folder).entryList(QDir::Files);
        QCOMPARE(names.size(), 6);
        QVERIFY(QFile::remove(folder + '/' + names.first()));
        QVERIFY(EmberSnippets::deliver(folder));
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 5);
        writeFile(m_directory.filePath("file"), "");
        QVERIFY(!EmberSnippets::deliver(m_directory.filePath("file/snippets")));
    }

    void snippetsAreGoodCode_data()
    {
        const auto add = columns<int>("fileType");
        add("Character", int(EmberDocument::Character));
        add("Command", int(EmberDocument::Commands));
        add("Layer", int(EmberDocument::Stage));
        add("Rule", int(EmberDocument::States));
        add("State", int(EmberDocument::States));
        add("Step with harm", int(EmberDocument::States));
    }

    void snippetsAreGoodCode()
    {
        QFETCH(int, fileType);
        const QString folder = m_directory.filePath("snippets");
        QVERIFY(EmberSnippets::deliver(folder));
        SnippetManager *manager = SnippetManager::instance();
        manager->setDirectory(folder);
        const QString name = QTest::currentDataTag();
        const QModelIndexList rows =
            manager->match(manager->index(0), Qt::DisplayRole, name, 1, Qt::MatchExactly);
        QCOMPARE(rows.size(), 1);
        m_host->dialogs().expectDialog([](QDialog *dialog) {
            for (QLineEdit *text : dialog->findChildren<QLineEdit *>()) {
                if (!text->objectName().startsWith("qt_"))
                    text->setText("lantern");
            }
            for (QSpinBox *number : dialog->findChildren<QSpinBox *>())
                number->setValue(12);
            dialog->accept();
        });
        QString code = manager->snippet(m_host->mainWindow(), rows.first().row());
        QCOMPARE(code.count("CURSOR"), 1);
        code.remove("CURSOR");
        // An inner section needs a state above it.
        if (code.startsWith("@@"))
            code.prepend("@state lantern\n    cel: x\n\n");
        auto *document = new EmberDocument(EmberDocument::FileType(fileType));
        document->fromString(code);
        const auto *messages = static_cast<ProjectFile *>(document)->messages();
        QCOMPARE(messages->count(Message::All), 0u);
        QVERIFY(document->rowCount() > 0);
        document->release();
    }

    void wordsAreOffered_data()
    {
        const auto add = columns<int, QString, QStringList>("line", "typed", "words");
        add("words of an enumeration", 1,
            "posture: ", QStringList{"airborne", "crouching", "lying", "standing"});
        add("states of the file", 5, "then: ", QStringList{"rest", "walk"});
        add("pictures of the file", 1, "cel: ", QStringList{"wren_a"});
        add("what was typed in other lines", 1,
            "cel: new_b\n cel: ", QStringList{"new_b", "wren_a"});
        add("entries of the section", 5, " ",
            QStringList{"after:", "chance:", "say:", "set:", "then:", "when:"});
        add("outer sections", 5, "@s",
            QStringList{"about", "body", "command", "files", "ground", "layer", "match", "note",
                        "sketch", "state"});
        add("inner sections", 5, "@@o", QStringList{"on", "step"});
        add("nothing for free text", 1, "say: ", QStringList());
    }

    void wordsAreOffered()
    {
        const auto [line, typed, words] = row<int, QString, QStringList>();
        auto *document = new EmberDocument(EmberDocument::States);
        document->fromString("@state walk\n\ncel: wren_a\n@state rest\n@@on tired\n\nwhen: (1)");
        CodeEditor view;
        new EmberWords(&view);
        view.setDocument(document);
        QVERIFY(showActive(view));
        view.setFocus();
        view.setCurrentLine(line, CodeEditor::NoPlacement);
        for (const QChar key : typed) {
            if (key == '\n')
                QTest::keyClick(&view, Qt::Key_Return);
            else
                QTest::keyClick(&view, key.toLatin1());
        }
        const QAbstractItemView *popup = view.findChild<QCompleter *>()->popup();
        QCOMPARE(popup->isVisible(), !words.isEmpty());
        QStringList offered;
        for (int row = 0; popup->isVisible() && row < popup->model()->rowCount(); ++row)
            offered << popup->model()->index(row, 0).data().toString();
        QCOMPARE(offered, words);
        view.setDocument(nullptr);
        document->release();
    }

private:
    std::unique_ptr<TestHost> m_host;
    QTemporaryDir m_directory;
};

QTEST_MAIN(TestEmberCode)
#include "tst_embercode.moc"
