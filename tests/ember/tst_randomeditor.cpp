#include "modelmirror.h"
#include "randomeditor.h"

#include <ember/emberparentproject.h>
#include <kilnx/code/codeblockdata.h>
#include <kilnx/project/archive.h>
#include <tests/support/testhost.h>
#include <tests/support/treedump.h>

#include <QAbstractItemModelTester>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>

#include <memory>

namespace
{

const char *const startText = "@state stand\n"
                              "    posture: standing\n"
                              "    drift: 0, 0\n"
                              "\n"
                              "@@on landing ; a rule\n"
                              "    when: (height <= 0)\n"
                              "    then: stand\n";

/// The brackets and the row of each line.
QString lines(EmberDocument *document)
{
    QString text;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const int line = block.blockNumber();
        text += QString::number(line) + QLatin1Char(' ');
        text += document->indexInLine(line).data().toString();
        for (const auto &bracket : Kiln::CodeBlockData::testBlockData(block)->parenthesis()) {
            text += QStringLiteral(" %1%2/%3")
                        .arg(bracket.character)
                        .arg(bracket.position)
                        .arg(bracket.type);
        }
        text += QLatin1Char('\n');
    }
    return text;
}

/// A document of states in a project, as an editor has it.
class OpenDocument
{
public:
    OpenDocument();
    ~OpenDocument();
    EmberDocument *get() const { return m_document; }

private:
    TestHost m_host;
    QTemporaryDir m_directory;
    EmberParentProject *m_parent;
    EmberDocument *m_document;
};

OpenDocument::OpenDocument()
    : m_parent(EmberParentProject::create(m_directory.path(),
                                          Kiln::FileSystemArchive::instance(),
                                          EmberDocument::Character))
    , m_document(new EmberDocument(EmberDocument::States))
{
    m_parent->openedProjects().first()->addFile(m_document, Kiln::Project::FileID::Code);
    m_document->fromString(QString::fromLatin1(startText));
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

} // namespace

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

private:
    static QString difference(EmberDocument *document);
};

void TestRandomEditor::equalsFreshDocument_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<bool>("holdsIndexes");
    for (quint32 seed = 1; seed <= 8; ++seed)
        QTest::addRow("seed %u", seed) << seed << (seed % 2 == 0);
}

/// Set KILN_RANDOM_STEPS for more or fewer than 600 steps a seed.
void TestRandomEditor::equalsFreshDocument()
{
    QFETCH(quint32, seed);
    QFETCH(bool, holdsIndexes);
    const int steps = qEnvironmentVariableIsSet("KILN_RANDOM_STEPS")
                          ? qEnvironmentVariableIntValue("KILN_RANDOM_STEPS")
                          : 600;
    const OpenDocument open;
    EmberDocument *document = open.get();
    QAbstractItemModelTester tester(document->model(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    ModelMirror mirror(document->model());
    HeldIndexes held(document->model());
    RandomEditor editor(document, seed);
    for (int step = 0; step < steps; ++step) {
        const QString before = document->toPlainText();
        if (holdsIndexes)
            held.holdAll();
        const QString action = editor.step();
        QString fault = editor.fault() + held.fault() + difference(document);
        if (fault.isEmpty() && mirror.text() != TreeDump::rows(*document->model()))
            fault = QStringLiteral("by the signals the rows are:\n") + mirror.text();
        if (!fault.isEmpty() || QTest::currentTestFailed()) {
            qWarning().noquote() << "step" << step << action << "\nbefore:\n" + before
                                 << "\nafter:\n" + document->toPlainText() << '\n' + fault;
            QFAIL("the document differs from a fresh one");
        }
    }
}

void TestRandomEditor::undoesAndRedoesAll_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 101; seed <= 104; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

/// Back to the start step by step, and forth again: text and tree pass through the same stages.
void TestRandomEditor::undoesAndRedoesAll()
{
    QFETCH(quint32, seed);
    const OpenDocument open;
    EmberDocument *document = open.get();
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
    QCOMPARE(document->toPlainText(), QString::fromLatin1(startText));
    for (int stage = stages.size() - 2; stage >= 0; --stage) {
        QVERIFY(document->isRedoAvailable());
        document->redo();
        QCOMPARE(TreeDump::all(*document), stages.at(stage));
    }
    QVERIFY(!document->isRedoAvailable());
}

/// What is wrong with the document, empty if nothing is.
QString TestRandomEditor::difference(EmberDocument *document)
{
    auto *fresh = new EmberDocument(EmberDocument::States);
    fresh->fromString(document->toPlainText());
    const QString found = TreeDump::all(*document) + lines(document);
    const QString expected = TreeDump::all(*fresh) + lines(fresh);
    fresh->release();
    if (found == expected)
        return QString();
    return QStringLiteral("found:\n") + found + QStringLiteral("\nexpected:\n") + expected;
}

QTEST_MAIN(TestRandomEditor)
#include "tst_randomeditor.moc"
