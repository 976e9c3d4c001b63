#include <ember/emberanimations.h>
#include <ember/emberline.h>
#include <ember/emberparentproject.h>
#include <enginetest/randomrun.h>
#include <kilnx/project/archive.h>
#include <tests/support/testhost.h>

#include <QAbstractItemModelTester>
#include <QTemporaryDir>
#include <QTest>

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

const QString characters = QStringLiteral("@@;:+\n\nabd ,.\"()[]{}159");

const QStringList values{QStringLiteral("1"),
                         QStringLiteral("2, 3"),
                         QStringLiteral("1, 2, 3"),
                         QStringLiteral("lying"),
                         QStringLiteral("a \"quoted\" ; comment"),
                         QStringLiteral("two\nlines"),
                         QStringLiteral("(open")};

const QStringList names{QStringLiteral("drift"), QStringLiteral("velocity"), QStringLiteral("cel"),
                        QStringLiteral("then"),  QStringLiteral("new name"), QStringLiteral("x")};

const QStringList searches{QStringLiteral("stan(d)"), QStringLiteral("@(\\w)(\\w+)"),
                           QStringLiteral(": *(\\w+)\\n"), QStringLiteral("drift: (\\d)")};

const QStringList replacements{QStringLiteral("drift: 1"), QStringLiteral("@st%1")};

const LineMaker codeLines{
    isHeader,
    {
        QStringLiteral("@state stand\n    posture: standing\n    drift: 0, 0\n    ticks: 4, 4\n"),
        QStringLiteral(
            "@state leap ; up\n  drift + pull: 1\n  cost: 3 ; breath\n  box: 1, 2, 3, 4\n"),
        QStringLiteral("@@on landing\n    when: (height <= 0) and [tide > 2]\n    then: stand\n"),
        QStringLiteral(
            "@@step reach\n    lasts: 4\n    velocity: 1, 0\n    harm: 1200\n    cel: a\n"),
        QStringLiteral("@note\nthe drift: is free text\n(nobody minds\n"),
        QStringLiteral("@sketch tiptoe\n    drift: 0, 1\n"),
        QStringLiteral("@about\n    title: \"x\"\n"),
        QStringLiteral("@nothing known\n    drift: 1, 1\n"),
        QStringLiteral("    spark + cel: glint\n"),
        // More lines without a node than anything should ever walk one by one.
        QStringLiteral("\n; a comment").repeated(70) + QLatin1Char('\n'),
        QStringLiteral("\n; a comment\n\n"),
        QStringLiteral("@state twins\n    steered: yes\n    say: \"now; then\"\n    glow + "
                       "ticks: 1, 2, 3\n"),
    },
    {QStringLiteral("@state walk"), QStringLiteral("@@on a rule"), QStringLiteral("@@step one"),
     QStringLiteral("@note"), QStringLiteral("@sketch"), QStringLiteral("@sketch x"),
     QStringLiteral("@files"), QStringLiteral("@"), QStringLiteral("@@@step three"),
     QStringLiteral("@on one sign"), QStringLiteral("@@state two"), QStringLiteral("@state"),
     QStringLiteral("@unheard of"), QStringLiteral("@step\tb")},
    {QStringLiteral("    drift: 1.5, -2"), QStringLiteral("drift: 1"),
     QStringLiteral("    when: (a or [b"), QStringLiteral("    cel: wren"),
     QStringLiteral("    cel + spark: both"), QStringLiteral("    cel + posture: clash"),
     QStringLiteral("    lasts: 12"), QStringLiteral("    posture: lying ; ill"),
     QStringLiteral("    : no key"), QStringLiteral("no colon"),
     QStringLiteral("    say: \"text\""), QStringLiteral("")},
    characters,
    values,
    names,
    searches,
    replacements};

const LineMaker animationLines{
    isAnimation,
    {QStringLiteral("@animation 3, title T, once\n body: 1, 2, 3, 4\n frame: s, at 1 2, loop\n"),
     QStringLiteral("; comment\n@animation a\n\n    strike: 1, 2, 3, 4\n; its frame\n    frame:\n"),
     QStringLiteral("    frame: s\n    body: 1, 2\n    frame: t, loop ; note\n"),
     QStringLiteral("\n; a comment").repeated(70) + QLatin1Char('\n'),
     QStringLiteral("frame:\nframe: x\nframe:\n"), QStringLiteral("\n; a comment\n\n")},
    {QStringLiteral("@animation 7"), QStringLiteral("@animation a, title T, once"),
     QStringLiteral("@animation"), QStringLiteral("@@animation b"), QStringLiteral("@state stand")},
    {QStringLiteral("    frame: s, at 1 2, for 3"), QStringLiteral("    frame: s, loop ; note"),
     QStringLiteral("frame: , for x, at 1"), QStringLiteral("    body: 1, 2, 3, 4"),
     QStringLiteral("    strike: 1, 2"), QStringLiteral("; comment"), QStringLiteral("junk"),
     QStringLiteral("    strike: 5, 6, 7, 8"), QStringLiteral("")},
    characters,
    values,
    names,
    searches,
    replacements};

/// A document in a project, as an editor has it.
class OpenDocument
{
public:
    explicit OpenDocument(EmberDocument::FileType type);
    ~OpenDocument();
    EmberDocument *get() const { return m_document; }

private:
    TestHost m_host;
    QTemporaryDir m_directory;
    EmberParentProject *m_parent;
    EmberDocument *m_document;
};

OpenDocument::OpenDocument(EmberDocument::FileType type)
    : m_parent(EmberParentProject::create(m_directory.path(),
                                          Kiln::FileSystemArchive::instance(),
                                          EmberDocument::Character))
    , m_document(new EmberDocument(type))
{
    const bool isCode = type == EmberDocument::States;
    m_parent->openedProjects().first()->addFile(
        m_document, isCode ? Kiln::Project::FileID::Code : Kiln::Project::FileID::Animations);
    m_document->fromString(QString::fromLatin1(isCode ? startText : startAnimations));
}

OpenDocument::~OpenDocument()
{
    m_parent->close();
}

} // namespace

Q_DECLARE_METATYPE(EmberDocument::FileType)

/// However the text of a document came about, its tree, its messages and its model rows are
/// those of a document that was given the same text at once.
class TestRandomEditor : public QObject
{
    Q_OBJECT

private slots:
    void equalsFreshDocument_data();
    void equalsFreshDocument();
    void undoesAndRedoesAll_data();
    void undoesAndRedoesAll();
};

void TestRandomEditor::equalsFreshDocument_data()
{
    QTest::addColumn<EmberDocument::FileType>("type");
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<bool>("holdsIndexes");
    for (quint32 seed = 1; seed <= 8; ++seed) {
        for (const auto type : {EmberDocument::States, EmberDocument::Animations})
            QTest::addRow("%s, seed %u", EmberDocument::suffix(type), seed)
                << type << seed << (seed % 2 == 0);
    }
}

/// Set KILN_RANDOM_STEPS for more or fewer than 600 steps a seed.
void TestRandomEditor::equalsFreshDocument()
{
    QFETCH(EmberDocument::FileType, type);
    QFETCH(quint32, seed);
    QFETCH(bool, holdsIndexes);
    const int steps = qEnvironmentVariableIsSet("KILN_RANDOM_STEPS")
                          ? qEnvironmentVariableIntValue("KILN_RANDOM_STEPS")
                          : 600;
    const OpenDocument open(type);
    EmberDocument *document = open.get();
    const bool isCode = type == EmberDocument::States;
    document->setOption(QStringLiteral("parseCode"), isCode || seed % 3 != 0, false, false);
    QAbstractItemModel *model = document->model();
    // The tree shows a frame without a name by its row, so rows say something else as others
    // come.
    if (!isCode)
        model = document->animations();
    const QAbstractItemModelTester tester(model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    const QString fault =
        EngineTest::runEdits(*document, [type] { return new EmberDocument(type); },
                             isCode ? codeLines : animationLines, {seed, steps, holdsIndexes});
    QVERIFY2(fault.isEmpty(), qPrintable(fault));
}

void TestRandomEditor::undoesAndRedoesAll_data()
{
    QTest::addColumn<EmberDocument::FileType>("type");
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 101; seed <= 104; ++seed) {
        for (const auto type : {EmberDocument::States, EmberDocument::Animations})
            QTest::addRow("%s, seed %u", EmberDocument::suffix(type), seed) << type << seed;
    }
}

/// Back to the start step by step, and forth again: text and tree pass through the same stages.
void TestRandomEditor::undoesAndRedoesAll()
{
    QFETCH(EmberDocument::FileType, type);
    QFETCH(quint32, seed);
    const OpenDocument open(type);
    const QString fault = EngineTest::runUndo(
        *open.get(), type == EmberDocument::States ? codeLines : animationLines, {seed, 100});
    QVERIFY2(fault.isEmpty(), qPrintable(fault));
}

QTEST_MAIN(TestRandomEditor)
#include "tst_randomeditor.moc"
