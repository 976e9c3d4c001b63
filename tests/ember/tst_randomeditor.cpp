#include "modelmirror.h"
#include "randomeditor.h"

#include <ember/emberparentproject.h>
#include <kilnx/project/archive.h>
#include <tests/support/testhost.h>
#include <tests/support/treedump.h>

#include <QAbstractItemModelTester>
#include <QTemporaryDir>
#include <QTest>

namespace
{

const char *const startText = "@state stand\n"
                              "    posture: standing\n"
                              "    drift: 0, 0\n"
                              "\n"
                              "@@on landing ; a rule\n"
                              "    when: (height <= 0)\n"
                              "    then: stand\n";

} // namespace

/// However the text of a document came about, its tree, its messages and its model rows are those
/// of a document that was given the same text at once.
class TestRandomEditor : public QObject
{
    Q_OBJECT

private slots:
    void equalsFreshDocument_data();
    void equalsFreshDocument();

private:
    static QString difference(EmberDocument *document, ModelMirror &mirror);
};

void TestRandomEditor::equalsFreshDocument_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<int>("steps");
    for (quint32 seed = 1; seed <= 8; ++seed)
        QTest::addRow("seed %u", seed) << seed << 1000;
}

void TestRandomEditor::equalsFreshDocument()
{
    QFETCH(quint32, seed);
    QFETCH(int, steps);
    TestHost host;
    QTemporaryDir directory;
    EmberParentProject *parent = EmberParentProject::create(
        directory.path(), Kiln::FileSystemArchive::instance(), EmberDocument::Character);
    auto *document = new EmberDocument(EmberDocument::States);
    parent->openedProjects().first()->addFile(document, Kiln::Project::FileID::Code);
    document->fromString(QString::fromLatin1(startText));
    {
        QAbstractItemModelTester tester(document->model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        ModelMirror mirror(document->model());
        RandomEditor editor(document, seed);
        for (int step = 0; step < steps && !QTest::currentTestFailed(); ++step) {
            const QString before = document->toPlainText();
            const QString action = editor.step();
            const QString fault = difference(document, mirror);
            if (!fault.isEmpty() || QTest::currentTestFailed()) {
                qWarning().noquote() << "step" << step << action << "\nbefore:\n" + before
                                     << "\nafter:\n" + document->toPlainText() << fault;
                QVERIFY2(fault.isEmpty(), "the document differs from a fresh one");
            }
        }
    }
    parent->close();
}

/// What is wrong with the document, empty if nothing is.
QString TestRandomEditor::difference(EmberDocument *document, ModelMirror &mirror)
{
    auto *fresh = new EmberDocument(EmberDocument::States);
    fresh->fromString(document->toPlainText());
    const QString found = TreeDump::all(*document);
    const QString expected = TreeDump::all(*fresh);
    fresh->release();
    if (found != expected)
        return QStringLiteral("\nfound:\n") + found + QStringLiteral("\nexpected:\n") + expected;
    const QString rows = TreeDump::rows(*document->model());
    const QString mirrored = mirror.text();
    if (mirrored != rows)
        return QStringLiteral("\nmirror:\n") + mirrored + QStringLiteral("\nmodel:\n") + rows;
    return QString();
}

QTEST_MAIN(TestRandomEditor)
#include "tst_randomeditor.moc"
