// Snippet files, those of Ember too, the dialog of their fields, and the snippet editor.

#include <engines/ember/emberdocument.h>
#include <engines/ember/embersnippets.h>
#include <kilnx/code/messages.h>
#include <kilnx/codeedit/snipdlg.h>
#include <kilnx/codeedit/snippets.h>

#include <tests/support/files.h>
#include <tests/support/modeltester.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

using namespace Kiln;

namespace
{
const char *const Stored =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<snippet>\r\n\r\n"
    "\t<field name=\"width\" title=\"Width &amp; more\" type=\"integer\" />\r\n"
    "\t<field name=\"who\" title=\"Who\" type=\"string\" column=\"15\" />\r\n"
    "\t<field name=\"dir\" title=\"Direction\" type=\"items\" value=\"l;r\" "
    "value_title=\"To the left;To the &lt;right&gt;\"/>\r\n"
    "\r\n\t<code>\r\n"
    "\t\t@step @who\r\n"
    "\t\t\tsize: @width, @width &lt;CURSOR&gt;\r\n"
    "\t\t\r\n"
    "\t\tface: @dir\r\n"
    "\t</code>\r\n\r\n</snippet>";

QByteArray snippetOf(const QByteArray &fields, const QByteArray &code)
{
    return "<snippet>" + fields + "<code>" + code + "</code></snippet>";
}
} // namespace

class TestSnippets : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_host = std::make_unique<TestHost>();
        m_directory = std::make_unique<QTemporaryDir>();
    }

    void cleanup()
    {
        QCOMPARE(m_host->dialogs().finish(), QString());
        SnippetManager::instance()->setDirectory(QString());
        m_host.reset();
    }

    void readsAndWritesTheSameBytes()
    {
        std::optional<Snippet> snippet = Snippet::read(Stored);
        QVERIFY(snippet);
        QCOMPARE(snippet->fields.size(), size_t(3));
        QCOMPARE(snippet->fields[0]->title, QString("Width & more"));
        QCOMPARE(snippet->fields[1]->column.value_or(-1), 15);
        const auto *items = dynamic_cast<ComboSnipField *>(snippet->fields[2].get());
        QVERIFY(items);
        QCOMPARE(items->titles, QStringList({"To the left", "To the <right>"}));
        QCOMPARE(snippet->code,
                 QString("@step @who\n\tsize: @width, @width <CURSOR>\n\nface: @dir"));
        QList<SnipField *> fields;
        for (const auto &field : snippet->fields)
            fields << field.get();
        QCOMPARE(snippetToXml(fields, snippet->code), QByteArray(Stored));
        // Cancelling the dialog of its fields inserts nothing.
        m_host->dialogs().expectDialog([](QDialog *dialog) { dialog->reject(); });
        QCOMPARE(SnippetManager::build(m_host->mainWindow(), Stored), QString());
    }

    void codeIsRead_data()
    {
        const auto add = columns<QByteArray, QString>("code", "text");
        add("on one line", QByteArray("a: 1"), "a: 1");
        add("with its own indentation", QByteArray("\n  a\n    b\n"), "  a\n    b");
        add("a blank line at the end", QByteArray("\n\t\ta\n\t\t\n\t"), "a\n");
        add("characters by number", QByteArray("&#228;&lt;&#x20ac;"), QString::fromUtf8("ä<€"));
        add("marked as data", QByteArray("<![CDATA[a <b> &c;]]>"), "a <b> &c;");
        add("indented by tabs of its own", QByteArray("\n\tif\n\t\tjump\n\t"), "\tif\n\t\tjump");
        add("nothing", QByteArray(), "");
        add("among marks of other programs", QByteArray("a</code><x:note y:z='1'/><code>b"), "b");
    }

    void codeIsRead()
    {
        QFETCH(QByteArray, code);
        // Without fields no dialog opens; the script would tell.
        QTEST(SnippetManager::build(m_host->mainWindow(), snippetOf("", code)), "text");
    }

    void fieldsBecomeControls_data()
    {
        const auto add = columns<QByteArray, QByteArray, QVariant, QString>("field", "className",
                                                                            "value", "code");
        add("string", QByteArray("type='string'"), QByteArray("QLineEdit"), QVariant("x y"),
            "<x y|x yz>");
        add("no type is a string", QByteArray(), QByteArray("QLineEdit"), QVariant("q"), "<q|qz>");
        add("another word is an integer", QByteArray("type='whatever'"), QByteArray("QSpinBox"),
            QVariant(-12), "<-12|-12z>");
        add("items give the value", QByteArray("type='items' value='l;r' value_title='Left;Right'"),
            QByteArray("QComboBox"), QVariant("Right"), "<r|rz>");
        add("an item without a text", QByteArray("type='items' value='one;two'"),
            QByteArray("QComboBox"), QVariant("two"), "<two|twoz>");
        add("a fraction gives a character", QByteArray("type='float'"),
            QByteArray("QDoubleSpinBox"), QVariant(65.9), "<A|Az>");
        add("a large one, too", QByteArray("type='float'"), QByteArray("QDoubleSpinBox"),
            QVariant(960.0), QString::fromUtf8("<\u03c0|\u03c0z>"));
    }

    void fieldsBecomeControls()
    {
        auto [field, className, value] = row<QByteArray, QByteArray, QVariant>();
        m_host->dialogs().expectDialog([&](QDialog *dialog) {
            auto *control = dialog->findChild<QWidget *>("f");
            QVERIFY(control);
            QCOMPARE(QByteArray(control->metaObject()->className()), className);
            QStringList places;
            const auto *grid = static_cast<const QGridLayout *>(dialog->layout());
            const QList<QLabel *> labels = dialog->findChildren<QLabel *>();
            for (QLabel *label : labels) {
                int row, column, rows, columns;
                grid->getItemPosition(grid->indexOf(label), &row, &column, &rows, &columns);
                places << QString("%1 %2 %3").arg(label->text()).arg(row).arg(column);
                QCOMPARE(grid->itemAtPosition(row, column + 1)->widget(), label->buddy());
            }
            QCOMPARE(places, QStringList({"F 0 20", "G 1 0", "H 1 6"}));
            // A list shows what it is told, which is no property of its user's.
            if (auto *list = qobject_cast<QComboBox *>(control)) {
                QCOMPARE(list->count(), 2);
                list->setCurrentText(value.toString());
            } else
                QVERIFY(control->setProperty(control->metaObject()->userProperty().name(), value));
            dialog->accept();
        });
        // A field without a name takes the place of nothing.
        QTEST(SnippetManager::build(m_host->mainWindow(),
                                    snippetOf("<field name='f' title='F' column='99' " + field +
                                                  "/><field title='G' column='-7'/>"
                                                  "<field title='H' column='3'/>",
                                              "&lt;@f|@fz>")),
              "code");
    }

    void fieldsStayInTheirList()
    {
        SnipFieldsModel model;
        const ModelTester tester(&model);
        for (const char *name : {"a", "b", "c"}) {
            model.append(std::make_unique<RegularSnipField>("string"));
            auto field = std::make_unique<RegularSnipField>("string");
            field->name = name;
            model.replace(model.rowCount() - 1, std::move(field));
        }
        for (const int row : {-1, 2, 3}) { // nothing is there, or nothing below
            model.moveDown(row);
            model.remove(row == 2 ? 9 : row);
            model.replace(row == 2 ? 9 : -1, nullptr);
            QCOMPARE(model.at(0)->name + model.at(1)->name + model.at(2)->name, QString("abc"));
        }
    }

    void badFiles_data()
    {
        const auto add = columns<QByteArray>("xml");
        const QByteArray whole(Stored);
        add("empty", QByteArray());
        add("cut off in a field", whole.left(100));
        add("cut off in the code", whole.left(whole.indexOf("size")));
        add("an unknown entity", snippetOf("", "&nothing;"));
        add("an element in the code", snippetOf("", "a<b/>c"));
        add("no XML", QByteArray("\x89PNG\r\n\x1a\n\0\0", 10));
    }

    void badFiles()
    {
        QFETCH(QByteArray, xml);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        QCOMPARE(SnippetManager::build(m_host->mainWindow(), xml), QString());
        // The box tells the line and the column.
        const QString told = m_host->dialogs().seen().last().text;
        QVERIFY2(told.contains("line") && told.contains("column"), qPrintable(told));
    }

    void listsTheFolder()
    {
        SnippetManager *manager = SnippetManager::instance();
        const ModelTester tester(manager);
        writeFile(m_directory->filePath("b.c.xml"), snippetOf("", "second"));
        writeFile(m_directory->filePath("a.xml"), snippetOf("", "first"));
        writeFile(m_directory->filePath("notes.txt"), "no");
        QSignalSpy inserted(manager, &QAbstractItemModel::rowsInserted);
        manager->setDirectory(m_directory->path());
        QCOMPARE(inserted.size(), 1);
        QCOMPARE(manager->rowCount(), 2);
        QCOMPARE(manager->data(manager->index(0)).toString(), QString("a"));
        QCOMPARE(manager->data(manager->index(1)).toString(), QString("b.c"));
        QVERIFY(!manager->data(manager->index(0), Qt::DecorationRole).isValid());
        QVERIFY(!manager->data(QModelIndex()).isValid());
        QCOMPARE(manager->snippet(m_host->mainWindow(), 1), QString("second"));
        QFile::remove(m_directory->filePath("a.xml"));
        for (int row : {-1, 0, 2})
            QCOMPARE(manager->snippet(m_host->mainWindow(), row), QString());
        manager->setDirectory(m_directory->filePath("none"));
        QCOMPARE(manager->rowCount(), 0);
        QCOMPARE(inserted.size(), 1);
        const SnipDlg gone(m_host->mainWindow(), m_directory->filePath("a.xml")); // no word
        writeFile(m_directory->filePath("a.xml"), "<snippet");
        m_host->dialogs().expectBox(QMessageBox::Ok);
        const SnipDlg damaged(m_host->mainWindow(), m_directory->filePath("a.xml"));
        QCOMPARE(m_host->dialogs().finish(), QString());
    }

    void dialogChangesNothing()
    {
        const QString from = m_directory->filePath("from.xml");
        const QString to = m_directory->filePath("to.xml");
        writeFile(from, Stored);
        SnipDlg dialog(m_host->mainWindow(), from);
        const QFontMetrics letters(dialog.findChild<QPlainTextEdit *>("snipEdit")->font());
        QCOMPARE(letters.horizontalAdvance("iii"), letters.horizontalAdvance("MMM"));
        // Opening every field and closing it again is no change either.
        auto *list = dialog.findChild<QListView *>("snipFields");
        for (int row = 0; row < list->model()->rowCount(); ++row) {
            list->setCurrentIndex(list->model()->index(row, 0));
            m_host->dialogs().expectDialog([](QDialog *field) { field->accept(); });
            dialog.findChild<QPushButton *>("editBut")->click();
        }
        // A preview is no change, and its code stands in columns.
        m_host->dialogs().expectDialog([](QDialog *fields) { fields->accept(); });
        m_host->dialogs().expectDialog([&letters](QDialog *preview) {
            const QFontMetrics shown(preview->findChild<QPlainTextEdit *>("previewText")->font());
            QCOMPARE(shown.horizontalAdvance("iiiM"), letters.horizontalAdvance("iiiM"));
            preview->reject();
        });
        dialog.findChild<QPushButton *>("previewBut")->click();
        // Nor does a cancelled box: one for a new field, and those for the places of files.
        m_host->dialogs().expectDialog([](QDialog *field) { field->reject(); });
        dialog.findChild<QPushButton *>("addBut")->click();
        QCOMPARE(list->model()->rowCount(), 3);
        const QString here = QDir::currentPath();
        QDir::setCurrent(m_directory->path());
        for (const char *button : {"saveBut", "saveTSBut"}) {
            m_host->dialogs().expectFiles({});
            dialog.findChild<QPushButton *>(button)->click();
        }
        QDir::setCurrent(here);
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{"from.xml"});
        m_host->dialogs().expectFiles({to});
        dialog.findChild<QPushButton *>("saveBut")->click();
        QCOMPARE(readFile(to), QByteArray(Stored));
        QCOMPARE(m_host->dialogs().seenTitles().last(), QString("Save code snippet"));
        list->setCurrentIndex(list->model()->index(1, 0));
        dialog.findChild<QPushButton *>("insertBut")->click();
        auto *code = dialog.findChild<QPlainTextEdit *>("snipEdit");
        QVERIFY(code->toPlainText().startsWith("@who@step"));
        QCOMPARE(dialog.focusWidget(), code); // to go on typing
    }

    void translationSource()
    {
        const QString from = m_directory->filePath("jump.xml");
        const QString to = m_directory->filePath("jump.ts");
        writeFile(from, Stored);
        SnipDlg dialog(m_host->mainWindow(), from);
        m_host->dialogs().expectFiles({to});
        dialog.findChild<QPushButton *>("saveTSBut")->click();
        const QByteArray source = readFile(to);
        QVERIFY(
            source.startsWith("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n"
                              "<TS version=\"2.0\">\n<context>\n\t<name>QSnippetManager</name>\n"
                              "\t<message>\n\t\t<source>jump</source>\n\t\t<comment>"));
        QCOMPARE(source.count("</comment>\n\t\t<translation type=\"unfinished\"></translation>\n"
                              "\t</message>\n"),
                 6);
        QVERIFY(source.endsWith("\t</message>\n</context>\n</TS>\n"));
        QStringList texts;
        QXmlStreamReader reader(source);
        while (!reader.atEnd()) {
            if (reader.readNext() == QXmlStreamReader::StartElement &&
                reader.name() == QLatin1String("source"))
                texts << reader.readElementText();
        }
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        QCOMPARE(texts, QStringList({"jump", "Width & more", "Who", "Direction", "To the left",
                                     "To the <right>"}));
    }

    void emberSnippetsAreDelivered()
    {
        const QString folder = m_directory->filePath("once/snippets");
        QVERIFY(EmberSnippets::deliver(folder));
        const QStringList names = QDir(folder).entryList(QDir::Files);
        QCOMPARE(names.size(), 6);
        QVERIFY(QFile::remove(folder + '/' + names.first()));
        QVERIFY(EmberSnippets::deliver(folder));
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 5);
        writeFile(m_directory->filePath("file"), "");
        QVERIFY(!EmberSnippets::deliver(m_directory->filePath("file/snippets")));
    }

    void emberSnippetsAreGoodCode_data()
    {
        const auto add = columns<int>("fileType");
        add("Character", int(EmberDocument::Character));
        add("Command", int(EmberDocument::Commands));
        add("Layer", int(EmberDocument::Stage));
        add("Rule", int(EmberDocument::States));
        add("State", int(EmberDocument::States));
        add("Step with harm", int(EmberDocument::States));
    }

    void emberSnippetsAreGoodCode()
    {
        QFETCH(int, fileType);
        const QString folder = m_directory->filePath("snippets");
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

private:
    std::unique_ptr<TestHost> m_host;
    std::unique_ptr<QTemporaryDir> m_directory;
};

QTEST_MAIN(TestSnippets)
#include "tst_snippets.moc"
