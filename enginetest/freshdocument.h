#pragma once

#include <QString>

#include <functional>

namespace Kiln
{
class CodeDocument;
}

namespace EngineTest
{
/// Makes an empty document of the engine's.
using DocumentMaker = std::function<Kiln::CodeDocument *()>;

/// What differs between a document and a fresh one that was given the same text at once: nodes,
/// messages, rows, brackets, depths, colours, and what animations say. Both are written out, and at
/// the end the first line in which they part. Empty if nothing differs.
QString difference(Kiln::CodeDocument &document, const DocumentMaker &makeFresh);
} // namespace EngineTest
