#include <ember/emberanimations.h>
#include <ember/emberline.h>
#include <ember/emberparentproject.h>
#include <enginetest/randomrun.h>
#include <kilnx/project/archive.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>

#include <memory>

using EngineTest::LineMaker;

namespace
{

const char *const startText = "@state stand\n"
                              "    posture: standing\n"
                              "    drift: 0, 0\n"
                              "\n"
                              "@@on landing ; a rule\n"
                              "    when: (height <= 0)\n"
                              "    then: stand\n";

const char *const startAnimations = "; He walks.\n"
                                    "@animation walk, title Walking\n"
                                    "    body: -10, -60, 10, 0\n"
                                    "    frame: w1, at 2 0, for 6 ; left\n"
                                    "    strike: 4, -50, 20, -40\n"
                                    "    frame: w2\n";

bool isHeader(const QString &text)
{
    return EmberLine::read(text).kind == EmberLine::Header;
}

bool isAnimation(const QString &text)
{
    return isHeader(text) && EmberLine::read(text).word == QLatin1String("animation");
}

const QString characters = QString("@@;:+\n\nabd ,.\"()[]{}159");

const QStringList values{"1",          "2, 3", "1, 2, 3", "lying", "a \"quoted\" ; comment",
                         "two\nlines", "(open"};

const QStringList names{"drift", "velocity", "cel", "then", "new name", "x"};

const QStringList searches{"stan(d)", "@(\\w)(\\w+)", ": *(\\w+)\\n", "drift: (\\d)"};

const QStringList replacements{"drift: 1", "@st%1"};

const LineMaker codeLines{
    isHeader,
    {
        "@state stand\n    posture: standing\n    drift: 0, 0\n    ticks: 4, 4\n",
        "@state leap ; up\n  drift + pull: 1\n  cost: 3 ; breath\n  box: 1, 2, 3, 4\n",
        "@@on landing\n    when: (height <= 0) and [tide > 2]\n    then: stand\n",
        "@@step reach\n    lasts: 4\n    velocity: 1, 0\n    harm: 1200\n    cel: a\n",
        "@note\nthe drift: is free text\n(nobody minds\n",
        "@sketch tiptoe\n    drift: 0, 1\n",
        "@about\n    title: \"x\"\n",
        "@nothing known\n    drift: 1, 1\n",
        "    spark + cel: glint\n",
        // More lines without a node than anything should ever walk one by one.
        QString("\n; a comment").repeated(70) + QLatin1Char('\n'),
        "\n; a comment\n\n",
        "@state twins\n    steered: yes\n    say: \"now; then\"\n    glow + "
        "ticks: 1, 2, 3\n",
    },
    {"@state walk", "@@on a rule", "@@step one", "@note", "@sketch", "@sketch x", "@files", "@",
     "@@@step three", "@on one sign", "@@state two", "@state", "@unheard of", "@step\tb"},
    {"    drift: 1.5, -2", "drift: 1", "    when: (a or [b", "    cel: wren",
     "    cel + spark: both", "    cel + posture: clash", "    lasts: 12",
     "    posture: lying ; ill", "    : no key", "no colon", "    say: \"text\"", ""},
    characters,
    values,
    names,
    searches,
    replacements};

const LineMaker animationLines{
    isAnimation,
    {"@animation 3, title T, once\n body: 1, 2, 3, 4\n frame: s, at 1 2, loop\n",
     "; comment\n@animation a\n\n    strike: 1, 2, 3, 4\n; its frame\n    frame:\n",
     "    frame: s\n    body: 1, 2\n    frame: t, loop ; note\n",
     QString("\n; a comment").repeated(70) + QLatin1Char('\n'), "frame:\nframe: x\nframe:\n",
     "\n; a comment\n\n"},
    {"@animation 7", "@animation a, title T, once", "@animation", "@@animation b", "@state stand"},
    {"    frame: s, at 1 2, for 3", "    frame: s, loop ; note", "frame: , for x, at 1",
     "    body: 1, 2, 3, 4", "    strike: 1, 2", "; comment", "junk", "    strike: 5, 6, 7, 8", ""},
    characters,
    values,
    names,
    searches,
    replacements};

/// A document in a project, as an editor has it.
class OpenDocument
{
public:
    explicit OpenDocument(EmberDocument::FileType type)
        : m_parent(EmberParentProject::create(m_directory.path(),
                                              Kiln::FileSystemArchive::instance(),
                                              EmberDocument::Character))
        , m_document(new EmberDocument(type))
    {
        const bool isCode = type == EmberDocument::States;
        m_parent->openedProjects().first()->addFile(
            m_document, isCode ? Kiln::Project::FileID::Code : Kiln::Project::FileID::Animations);
        m_document->fromString(isCode ? startText : startAnimations);
    }
    ~OpenDocument() { m_parent->close(); }
    EmberDocument *get() const { return m_document; }

private:
    TestHost m_host;
    QTemporaryDir m_directory;
    EmberParentProject *m_parent;
    EmberDocument *m_document;
};

} // namespace

Q_DECLARE_METATYPE(EmberDocument::FileType)

/// However the text of a document came about, its tree, its messages and its model rows are
/// those of a document that was given the same text at once.

class TestRandomEditor : public QObject
{
    Q_OBJECT

private slots:
    void equalsFreshDocument_data()
    {
        columns<EmberDocument::FileType, quint32, bool>("type", "seed", "holdsIndexes");
        for (quint32 seed = 1; seed <= 8; ++seed) {
            for (const auto type : {EmberDocument::States, EmberDocument::Animations})
                QTest::addRow("%s, seed %u", EmberDocument::suffix(type), seed)
                    << type << seed << (seed % 2 == 0);
        }
    }

    /// Set KILN_RANDOM_STEPS for more or fewer than 600 steps a seed.
    void equalsFreshDocument()
    {
        auto [type, seed, holdsIndexes] = row<EmberDocument::FileType, quint32, bool>();
        const int steps = qEnvironmentVariableIsSet("KILN_RANDOM_STEPS")
                              ? qEnvironmentVariableIntValue("KILN_RANDOM_STEPS")
                              : 600;
        const OpenDocument open(type);
        EmberDocument *document = open.get();
        const bool isCode = type == EmberDocument::States;
        document->setOption("parseCode", isCode || seed % 3 != 0, false, false);
        QAbstractItemModel *model = document->model();
        // The tree shows a frame without a name by its row, so rows say something else as others
        // come.
        if (!isCode)
            model = document->animations();
        const QAbstractItemModelTester tester(
            model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QString fault =
            EngineTest::runEdits(*document, [type] { return new EmberDocument(type); },
                                 isCode ? codeLines : animationLines, {seed, steps, holdsIndexes});
        QVERIFY2(fault.isEmpty(), qPrintable(fault));
    }

    void undoesAndRedoesAll_data()
    {
        columns<EmberDocument::FileType, quint32>("type", "seed");
        for (quint32 seed = 101; seed <= 104; ++seed) {
            for (const auto type : {EmberDocument::States, EmberDocument::Animations})
                QTest::addRow("%s, seed %u", EmberDocument::suffix(type), seed) << type << seed;
        }
    }

    /// Back to the start step by step, and forth again: text and tree pass through the same stages.
    void undoesAndRedoesAll()
    {
        auto [type, seed] = row<EmberDocument::FileType, quint32>();
        const OpenDocument open(type);
        const QString fault = EngineTest::runUndo(
            *open.get(), type == EmberDocument::States ? codeLines : animationLines, {seed, 100});
        QVERIFY2(fault.isEmpty(), qPrintable(fault));
    }
};

QTEST_MAIN(TestRandomEditor)
#include "tst_randomeditor.moc"
