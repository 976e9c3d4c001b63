#include <enginetest/randomrun.h>

#include <enginetest/modelmirror.h>
#include <enginetest/randomeditor.h>
#include <enginetest/treedump.h>

#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>

#include <memory>
#include <vector>

namespace EngineTest
{
namespace
{

/// The tree's model, and that of the animations where there is a list.
std::vector<std::unique_ptr<ModelMirror>> mirrorsOf(Kiln::CodeDocument &document)
{
    std::vector<std::unique_ptr<ModelMirror>> mirrors;
    mirrors.push_back(std::make_unique<ModelMirror>(document.model()));
    auto *list =
        dynamic_cast<Kiln::Animations *>(document.documentEditor(Kiln::CodeNode::Animation, 0));
    if (list)
        mirrors.push_back(std::make_unique<ModelMirror>(list));
    return mirrors;
}

} // namespace

QString runEdits(Kiln::CodeDocument &document,
                 const DocumentMaker &makeFresh,
                 const LineMaker &lines,
                 const RandomRun &run)
{
    const auto mirrors = mirrorsOf(document);
    RandomEditor editor(&document, lines, run.seed);
    for (int step = 0; step < run.steps; ++step) {
        const QString before = document.toPlainText();
        for (const auto &mirror : mirrors) {
            if (run.holdsIndexes)
                mirror->holdIndexes();
        }
        // Now and then without a past, as a file that was just opened.
        if (step % 200 == 199)
            document.fromString(before);
        const QString action = editor.step();
        QString fault = editor.fault() + difference(document, makeFresh);
        if (run.check)
            fault += run.check();
        for (const auto &mirror : mirrors)
            fault += mirror->fault();
        if (!fault.isEmpty())
            return QStringLiteral("step %1, %2\nbefore:\n%3\nafter:\n%4\n%5")
                .arg(QString::number(step), action, before, document.toPlainText(), fault);
    }
    return QString();
}

QString runUndo(Kiln::CodeDocument &document, const LineMaker &lines, const RandomRun &run)
{
    const QString start = document.toPlainText();
    document.fromString(start); // without a past
    RandomEditor editor(&document, lines, run.seed);
    for (int step = 0; step < run.steps; ++step)
        editor.step();
    while (document.isRedoAvailable())
        document.redo();
    QStringList stages{TreeDump::all(document)};
    while (document.isUndoAvailable()) {
        document.undo();
        stages.append(TreeDump::all(document));
    }
    if (stages.size() <= run.steps / 5)
        return QStringLiteral("only %1 steps of undo").arg(stages.size());
    if (document.toPlainText() != start)
        return QStringLiteral("undone, the text is\n") + document.toPlainText();
    for (int stage = stages.size() - 2; stage >= 0; --stage) {
        document.redo();
        if (TreeDump::all(document) != stages.at(stage))
            return QStringLiteral("redone, stage %1 is\n%2\nand was\n%3")
                .arg(QString::number(stage), TreeDump::all(document), stages.at(stage));
    }
    return document.isRedoAvailable() ? QStringLiteral("more to redo than was undone") : QString();
}
} // namespace EngineTest
