#include "freshdocument.h"
#include "modelmirror.h"
#include "randomeditor.h"

#include <ember/emberanimations.h>
#include <ember/emberparentproject.h>
#include <kilnx/project/archive.h>
#include <tests/support/testhost.h>
#include <tests/support/treedump.h>

#include <QAbstractItemModelTester>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

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

/// Indexes of all rows, as a view with everything unfolded and selected holds them.
class HeldIndexes
{
public:
    explicit HeldIndexes(const QAbstractItemModel *model)
        : m_model(model)
    {
    }

    void holdAll()
    {
        m_indexes.clear();
        hold(QModelIndex());
    }
    /// A row that one of the indexes means although it isn't there; empty if all are right.
    QString fault() const;

private:
    void hold(const QModelIndex &parent);

    const QAbstractItemModel *m_model;
    QList<QPersistentModelIndex> m_indexes;
};

QString HeldIndexes::fault() const
{
    for (const QPersistentModelIndex &index : m_indexes) {
        if (!index.isValid())
            continue;
        const QModelIndex there = m_model->index(index.row(), 0, index.parent());
        if (there != index || there.internalPointer() != index.internalPointer())
            return QStringLiteral("a held index lost its row: %1").arg(index.row());
    }
    return QString();
}

void HeldIndexes::hold(const QModelIndex &parent)
{
    for (int row = 0; row < m_model->rowCount(parent); ++row) {
        const QModelIndex index = m_model->index(row, 0, parent);
        m_indexes.append(index);
        hold(index);
    }
}

/// A model, as tests and views know it.
struct WatchedModel {
    WatchedModel(QAbstractItemModel *watched, bool keepsTexts)
        : model(watched)
        , mirror(watched)
        , held(watched)
    {
        if (keepsTexts) {
            tester = std::make_unique<QAbstractItemModelTester>(
                watched, QAbstractItemModelTester::FailureReportingMode::QtTest);
        }
    }
    QString fault()
    {
        const QString rows = mirror.text();
        return held.fault() + (rows == TreeDump::rows(*model)
                                   ? QString()
                                   : QStringLiteral("by the signals the rows are:\n") + rows);
    }

    QAbstractItemModel *model;
    ModelMirror mirror;
    HeldIndexes held;
    std::unique_ptr<QAbstractItemModelTester> tester;
};

} // namespace

Q_DECLARE_METATYPE(EmberDocument::FileType)

/// However the text of a document came about, its tree, its messages and its model rows are those
/// of a document that was given the same text at once.
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
    document->setOption(QStringLiteral("parseCode"), !document->animations() || seed % 3 != 0,
                        false, false);
    std::vector<std::unique_ptr<WatchedModel>> models;
    // The tree shows a frame without a name by its row, so rows say something else as others come.
    models.push_back(std::make_unique<WatchedModel>(document->model(), !document->animations()));
    if (document->animations())
        models.push_back(std::make_unique<WatchedModel>(document->animations(), true));
    RandomEditor editor(document, seed);
    for (int step = 0; step < steps; ++step) {
        const QString before = document->toPlainText();
        for (const auto &model : models) {
            if (holdsIndexes)
                model->held.holdAll();
        }
        if (step % 200 == 199)
            document->fromString(before);
        const QString action = editor.step();
        QString fault = editor.fault() + difference(*document);
        for (const auto &model : models)
            fault += model->fault();
        if (!fault.isEmpty() || QTest::currentTestFailed()) {
            qWarning().noquote() << "step" << step << action << "\nbefore:\n" + before
                                 << "\nafter:\n" + document->toPlainText() << '\n' + fault;
            QFAIL("the document differs from a fresh one");
        }
    }
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
    EmberDocument *document = open.get();
    const QString start = document->toPlainText();
    RandomEditor editor(document, seed);
    for (int step = 0; step < 100; ++step)
        editor.step();
    while (document->isRedoAvailable())
        document->redo();
    QStringList stages{TreeDump::all(*document)};
    while (document->isUndoAvailable()) {
        document->undo();
        stages.append(TreeDump::all(*document));
    }
    QVERIFY(stages.size() > 20);
    QCOMPARE(document->toPlainText(), start);
    for (int stage = stages.size() - 2; stage >= 0; --stage) {
        QVERIFY(document->isRedoAvailable());
        document->redo();
        QCOMPARE(TreeDump::all(*document), stages.at(stage));
    }
    QVERIFY(!document->isRedoAvailable());
}

QTEST_MAIN(TestRandomEditor)
#include "tst_randomeditor.moc"
