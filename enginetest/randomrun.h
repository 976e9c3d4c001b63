#pragma once

#include <enginetest/freshdocument.h>
#include <enginetest/linemaker.h>

#include <QString>

namespace EngineTest
{
/// How long a RandomEditor edits, and what is looked at.
struct RandomRun {
    quint32 seed = 1;
    int steps = 600;
    /// Whether an index is held on each row during each step, as a view does that shows them all.
    bool holdsIndexes = false;
    /// What else is to hold after each step: tells what does not, empty if all does. May be null.
    std::function<QString()> check = nullptr;
};

/// Edits a document without sense and compares it after each step with a fresh one of the same text
/// (difference()), the rows with what their signals told (ModelMirror), and the nodes inside a
/// bracket with the lines. What was wrong first, with the step and the text before it; empty if
/// nothing was. The same run does the same.
QString runEdits(Kiln::CodeDocument &document,
                 const DocumentMaker &makeFresh,
                 const LineMaker &lines,
                 const RandomRun &run);

/// Edits a document without sense, takes all of it back and does it again: text and tree must pass
/// through the same stages both ways. What was wrong first, empty if nothing was.
QString runUndo(Kiln::CodeDocument &document, const LineMaker &lines, const RandomRun &run);
} // namespace EngineTest
