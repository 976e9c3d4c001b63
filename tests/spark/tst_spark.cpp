#include <enginetest/randomrun.h>
#include <enginetest/treedump.h>
#include <kilnx/code/groupcode.h>
#include <kilnx/code/messages.h>
#include <kilnx/code/valuecode.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>
#include <kilnx/project/parentproject.h>
#include <tests/support/files.h>
#include <tests/support/rows.h>
#include <tests/support/sparkplugin.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>

using namespace Kiln;
namespace TreeDump = EngineTest::TreeDump;

namespace
{

QString page()
{
    return QString::fromUtf8(readFile(KILN_SOURCE_DIR "/docs/writing-an-engine.md"));
}

/// The files of a project tree in the order of its rows, with their type bits.
QStringList filesOf(const ParentProject::Path *path)
{
    QStringList names;
    for (const ParentProject::Path *child : path->children()) {
        if (child->isFile())
            names.append(QString("%1 %2").arg(child->name()).arg(child->fileID().bits));
        names += filesOf(child);
    }
    return names;
}

/// A directory with files of Spark, open as a project.
class OpenProject
{
public:
    explicit OpenProject(const QMap<QString, QByteArray> &files, const QString &chosen = QString())
    {
        for (auto i = files.begin(); i != files.end(); ++i)
            writeFile(m_directory.filePath(i.key()), i.value());
        parent = sparkPlugin().openProject(m_directory.filePath(chosen));
    }
    ~OpenProject()
    {
        const QList<Project *> projects = parent ? parent->openedProjects() : QList<Project *>();
        for (Project *project : projects)
            project->release();
        if (parent)
            qFatal("the directory outlives its projects");
    }
    CodeDocument *definition() const
    {
        ProjectFile *file = parent->openedProjects().first()->file(Project::FileID::Definition);
        return dynamic_cast<CodeDocument *>(file);
    }
    QStringList files() const { return filesOf(parent->filePath(parent->basePath())); }

    TestHost host;
    QPointer<ParentProject> parent;

private:
    QTemporaryDir m_directory;
};

} // namespace

/// The smallest engine, through the entry by which a host loads it. That its tree is right however
/// the text came about is spark-check's part.

class TestSpark : public QObject
{
    Q_OBJECT

private slots:
    void parses_data()
    {
        columns<QString, QString>("text", "rows");
        QTest::addColumn<QString>("errors"); ///< line, column and the first word of each
        addRow("sections and values", "[a]\nx = 1.50 # slow\ny = two  words\n\n [ b_2 ] #",
               "a\n  x = 1.5\n  y = two words\nb_2\n", "");
        addRow("a value that holds the sign of equality", "[a]\nx = y = 1", "a\n  x = y = 1\n", "");
        addRow("no section", "# none\nx = 1\n[a]", "a\n", "1 0 A");
        addRow("broken lines", "[]\n[a b]\n[a] b\nx\n= 1\nx =\nx y = 1", "",
               "0 0 '[name]',1 0 '[name]',2 0 '[name]',3 0 '[name]',4 0 "
               "'[name]',5 0 '[name]',6 0 '[name]'");
        addRow("behind blanks", "[a]\n    x # y", "a\n", "1 4 '[name]'");
        addRow("nothing", "", "", "");
    }

    void parses()
    {
        QFETCH(QString, text);
        const SparkFile file = sparkFile(text);
        QTEST(TreeDump::rows(*file->model()), "rows");
        QStringList errors;
        const Messages *messages = static_cast<const ProjectFile *>(file.get())->messages();
        for (unsigned int i = 0; i < messages->count(Message::Error); ++i) {
            const Message message = messages->at(i, Message::Error);
            errors.append(QString("%1 %2 %3")
                              .arg(message.line)
                              .arg(message.column)
                              .arg(message.text.section(QLatin1Char(' '), 0, 0)));
        }
        QTEST(errors.join(QLatin1Char(',')), "errors");
    }

    /// What an author's own check is told, who has given it no lines yet.
    void tellsWhereTreesPart()
    {
        const SparkFile file = sparkFile("[a]\nx = 1");
        const auto fresh = [] {
            return dynamic_cast<CodeDocument *>(
                sparkPlugin().engine().createFile(Project::FileID::Code, nullptr));
        };
        QCOMPARE(EngineTest::runEdits(*file, fresh, {}, {1, 60}), QString());
        file->fromString("[a]\nx = 1");
        file->setSyntaxHighlight(false);
        const QString told = EngineTest::difference(*file, fresh);
        const QString parted = "found    0 a indent 0\nexpected 0 a indent 0 [0/0 ]2/1";
        QVERIFY2(told.section("where they part:\n", 1).startsWith(parted), qPrintable(told));
    }

    /// Setters write the line, keep its comment and the rows, and refuse what would break it.
    void keepsRowsAndComments()
    {
        OpenProject open({{"a.spark", "[hero] # he\nspeed = 1 # slow\n"}});
        CodeDocument *document = open.definition();
        auto *hero = static_cast<GroupCode *>(document->childs().first());
        ValueCode *speed = hero->valueAt(0);
        const QPersistentModelIndex row = document->model()->index(0, 0, document->index(0, 0));
        speed->setValue(2.5);
        speed->setName(QString("pace"));
        hero->setName(QString("Wren"));
        for (const char *name : {"", "two words", "a=b", "#"}) {
            speed->setName(QString::fromLatin1(name));
            hero->setName(QString::fromLatin1(name));
            QVERIFY(!hero->addValue(QString::fromLatin1(name), 1));
        }
        QVERIFY(hero->addValue(QString("calls"), QString("now\n# then")));
        QCOMPARE(document->toPlainText(),
                 QString("[Wren] # he\npace = 2.5 # slow\ncalls = now then\n"));
        QCOMPARE(hero->valueAt(0), speed);
        QCOMPARE(row.data().toString(), QString("pace = 2.5"));
        QCOMPARE(speed->value(), QVariant(2.5));
        QCOMPARE(hero->headerText(), QString("[Wren]"));
        hero->removeValue(1);
        QCOMPARE(TreeDump::rows(*document->model()), QString("Wren\n  pace = 2.5\n"));
    }

    void listsFiles_data()
    {
        columns<QString, QStringList>("line", "files");
        const QString own = QString("a.spark 1");
        addRow("another", "include = b.tune", QStringList{own, "b.tune 32"});
        addRow("in a directory", "include = x/b.tune", QStringList{"b.tune 32", own});
        addRow("itself", "include = a.spark", QStringList{own});
        addRow("absolute", "include = /b.tune", QStringList{own});
        addRow("a number", "include = 5", QStringList{own});
        addRow("another value", "includes = b.tune", QStringList{own});
    }

    /// What is typed in the definition is in the tree at once.
    void listsFiles()
    {
        QFETCH(QString, line);
        OpenProject open({{"a.spark", "[game]\n"}});
        QCOMPARE(open.files(), QStringList{"a.spark 1"});
        open.definition()->insert(line);
        QTEST(open.files(), "files");
    }

    void opens_data()
    {
        columns<QString, QStringList>("chosen", "names");
        addRow("the directory", "", QStringList{"a", "aa"});
        addRow("one definition", "a.spark", QStringList{"a"});
        addRow("another file", "b.tune", QStringList());
        addRow("no file", "none.spark", QStringList());
    }

    void opens()
    {
        QFETCH(QString, chosen);
        OpenProject open({{"a.spark", ""}, {"aa.spark", ""}, {"b.tune", ""}}, chosen);
        QStringList names;
        for (Project *project : open.parent ? open.parent->openedProjects() : QList<Project *>())
            names.append(project->displayName());
        names.sort();
        QTEST(names, "names");
        QCOMPARE(open.parent.isNull(), names.isEmpty());
    }

    /// The options of code: on without a host, the host's with one, and the project's in a project.
    void followsOptions()
    {
        const QString key = QString("modelCode");
        const SparkFile file = sparkFile(QString("[a]"));
        QCOMPARE(file->model()->rowCount(), 1);
        QVERIFY(!file->option(QString("else")).isValid());
        OpenProject open({{"a.spark", "[a]\n"}});
        open.host.options[key] = false;
        QCOMPARE(file->model()->rowCount(), 0);
        QCOMPARE(open.definition()->model()->rowCount(), 1);
        open.parent->openedProjects().first()->setOption(key, false, false);
        QCOMPARE(open.definition()->model()->rowCount(), 0);
        open.host.options.clear();
        file->setOption(key, false, false, false);
        QCOMPARE(file->model()->rowCount(), 0);
        file->setOption(key, QVariant(), false, false);
        QCOMPARE(file->model()->rowCount(), 1);
    }

    /// The page for engine authors shows the whole engine, piece by piece and in its order.
    void standsInThePage()
    {
        QString shown;
        for (const QString &piece : page().split(QString("```cpp spark.cpp\n")).mid(1))
            shown += piece.section(QString("```"), 0, 0);
        QCOMPARE(shown, QString::fromUtf8(readFile(KILN_SOURCE_DIR "/engines/spark/spark.cpp")));
    }

    void pageNamesPureOperations_data()
    {
        columns<QString, int>("header", "count");
        addRow("NamedCode", "code/namedcode.h", 1);
        addRow("ValueCode", "code/valuecode.h", 2);
        addRow("GroupCode", "code/groupcode.h", 2);
        addRow("CodeParser", "code/codeparser.h", 1);
        addRow("CodeDocument", "code/codedocument.h", 3);
        addRow("Project", "project/project.h", 9);
        addRow("ParentProject", "project/parentproject.h", 4);
        addRow("Engine", "project/engine.h", 6);
        addRow("EnginePlugin", "project/engineplugin.h", 2);
    }

    /// The table of what must be overridden is whole: it names what the headers leave open.
    void pageNamesPureOperations()
    {
        auto [header, count] = row<QString, int>();
        const QString name = QString::fromLatin1(QTest::currentDataTag());
        const QString source = QString::fromUtf8(readFile(KILN_SOURCE_DIR "/kilnx/" + header));
        const QString members =
            source.section(QRegularExpression("class KILNX_EXPORT " + name + "\\b"), 1);
        const QString own = members.left(members.indexOf("\n};"));
        const QRegularExpression pure("^    (?! )[^;{}/]*?(\\w+)\\([^;{}]*\\)[\\w ]* = 0;",
                                      QRegularExpression::MultilineOption);
        const QString table =
            page().section("## What must be overridden", 1).section("\n## ", 0, 0);
        for (auto i = pure.globalMatch(own); i.hasNext(); --count) {
            const QString operation = i.next().captured(1);
            QVERIFY2(table.contains('`' + operation + '`'), qPrintable(operation));
        }
        QCOMPARE(count, 0);
    }
};

QTEST_MAIN(TestSpark)
#include "tst_spark.moc"
