#pragma once

#include <kilnx/export.h>
#include <kilnx/project/projectfile.h>

#include <QtCore/QChar>
#include <QtCore/QString>

namespace Kiln
{
class CodeNode;
class RootCode;

/// Where a parser paints its line and reports what it found. Ranges are character offsets in the
/// line, `end` not included.
class KILNX_EXPORT CodeParserSyntax
{
public:
    /// The entry of the table of formats; CodeDocument::setSyntaxFormat() changes one. Apart from
    /// the comment, which token is painted as what is the engine's choice.
    enum TokenType {
        Default = 0,  ///< normal, black
        Comment = 1,  ///< italic, gray; the one token that leaves a line counted as not parsed
        Invalid = 2,  ///< normal, red
        Keyword = 3,  ///< normal, blue
        Name = 4,     ///< bold, black
        Section = 5,  ///< bold, dark green
        Number = 6,   ///< bold, orange
        Constant = 7, ///< bold, teal
        String = 8,   ///< normal, violet
        Function = 9  ///< normal, magenta
    };

    /// Paints a range.
    virtual void setToken(TokenType type, int begin, int end) = 0;
    /// Paints a range, underlines it in red and reports `text` as an error.
    virtual void setError(TokenType type, const QString &text, int begin, int end) = 0;
    /// The same in orange, for an outdated spelling; it counts as a warning.
    virtual void setDeprecation(TokenType type, const QString &text, int begin, int end) = 0;
    /// The same in yellow, for a warning.
    virtual void setWarning(TokenType type, const QString &text, int begin, int end) = 0;
    /// Records a bracket; the editor's matching works on these records only, in the order of the
    /// calls.
    virtual void addParenthesis(bool open, QChar character, int position) = 0;
    virtual ~CodeParserSyntax();
};

/// Turns one line of text into nodes. An engine derives from it; a document borrows it.
class KILNX_EXPORT CodeParser
{
public:
    /// Parses one line.
    /// \param text the line without its end
    /// \param old the node that the line had, or null
    /// \param previous the last node before the line; the root for the first
    /// \param root the tree's root; RootCode::groupEnabled() tells which sections are wanted
    /// \param syntax where to paint and report; null when nothing is to be painted
    /// \return the line's head node, never another line's; null for a line that makes none
    ///
    /// The parser makes its node with `previous` as predecessor, a second node of the line with the
    /// first as predecessor. It returns `old`, after updating it, whenever the line still means the
    /// same in the same place; a changed value is told through CodeNode::valueChanged(). It
    /// releases nothing: the document releases `old` if the result differs. The line is its only
    /// input, and what encloses the line is learned by walking `previous`. It does not change the
    /// text. The same line may be parsed more than once for one edit.
    virtual CodeNode *parse(const QString &text,
                            CodeNode *old,
                            CodeNode *previous,
                            RootCode *root,
                            CodeParserSyntax *syntax) = 0;

protected:
    ~CodeParser() = default;
};

/// A file that mirrors one kind of node of a document, such as its animations. Once registered by
/// CodeDocument::registerDocumentEditor() it belongs to the document, which calls release() on it
/// when it is destroyed. The operations are called for children of the root.
class KILNX_EXPORT CodeDocumentEditor : public ProjectFile
{
public:
    /// `node` joined the tree; `index` is how many nodes of its kind stand before it.
    virtual void insertChild(CodeNode *node, unsigned int index) = 0;
    /// `node` is about to leave the tree.
    virtual void removeChild(CodeNode *node) = 0;
    /// The value of `node` changed, or `node` is complete: insertChild() comes from its
    /// constructor, before the parser's part of it is there. What happened inside a bracket of
    /// changes is told once more when it has closed.
    virtual void childChanged(CodeNode *node) = 0;
};
} // namespace Kiln
