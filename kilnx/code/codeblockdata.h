#pragma once

#include <kilnx/export.h>

#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtGui/QTextBlock>

#include <cstddef>
#include <memory>

namespace Kiln
{
class CodeDocumentPrivate;
class CodeNode;
struct CodeBlockRecord;

/// What a code document keeps for one line: its node, its messages, its brackets and its folding.
///
/// It is the user data of the line's QTextBlock and dies with it: the messages leave the document's
/// list, and the head node, which it owns, is released. A view reads it; only the document writes,
/// apart from the folded mark.
class KILNX_EXPORT CodeBlockData : public QTextBlockUserData
{
public:
    /// A report on characters `begin` to `end` of the line, `end` not included.
    struct SyntaxMessage {
        enum Type { Error = 0, Deprecation = 1, Warning = 2, Information = 3 };
        int type;
        int begin;
        int end;
        QString text;
    };

    struct Parenthesis {
        enum Type { Open = 0, Close = 1 };
        int type;
        QChar character;
        int position; ///< offset in the line
    };

    ~CodeBlockData() override;

    /// The data of a line of the document that `documentPrivate` belongs to, made if there is none
    /// yet. Null for an invalid block.
    static CodeBlockData *blockData(const QTextBlock &block, CodeDocumentPrivate *documentPrivate);
    /// The data of a line, null if there is none.
    static CodeBlockData *testBlockData(const QTextBlock &block);

    /// The line's head node, what the parser returned last; may be null.
    CodeNode *codeNode() const;
    /// Whether the parser ever painted more than a comment on the line.
    bool isParsed() const;
    /// Whether the view has folded away the lines below that are indented deeper.
    bool isFolded() const;
    void setFolded(bool folded);
    /// How deep the line is nested, 0 for the outermost.
    unsigned int foldingIndent() const;
    /// The brackets of the line in the order in which the parser reported them.
    const QVector<Parenthesis> &parenthesis() const;
    /// The messages of the line in the order in which the parser reported them.
    const QVector<SyntaxMessage> &syntaxMessages() const;

    static void *operator new(std::size_t size);
    static void operator delete(void *data);

private:
    Q_DISABLE_COPY(CodeBlockData)
    friend class CodeDocument;
    friend class CodeDocumentPrivate;
    CodeBlockData(const QTextBlock &block, CodeDocumentPrivate *documentPrivate);

    std::unique_ptr<CodeBlockRecord> d;
};
} // namespace Kiln
