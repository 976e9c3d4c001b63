#pragma once

#include <QString>

class QAbstractItemModel;

namespace Kiln
{
class CodeDocument;
}

namespace EngineTest
{
/// A code document as text, so that two of them can be compared, and a difference be read.
namespace TreeDump
{

/// One line a node in the order of the node list: type, line, container and row in it, name, and
/// for values the type and the stored value. A broken link of the list shows as "BROKEN".
QString nodes(const Kiln::CodeDocument &document);
/// The counts of each type of message, then one line a message.
QString messages(const Kiln::CodeDocument &document);
/// The texts of all rows of a model, indented by level.
QString rows(const QAbstractItemModel &model);
/// The three above, one after the other.
QString all(const Kiln::CodeDocument &document);

} // namespace TreeDump
} // namespace EngineTest
