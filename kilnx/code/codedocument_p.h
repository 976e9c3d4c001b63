#pragma once

#include <kilnx/code/codeblockdata.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/code/codeparser.h>
#include <kilnx/code/originalbytes_p.h>
#include <kilnx/project/messages.h>

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QVector>
#include <QtGui/QSyntaxHighlighter>
#include <QtGui/QTextCursor>

namespace Kiln
{
/// What CodeBlockData keeps.
struct CodeBlockRecord {
    CodeBlockData *nextMessageBlock = nullptr;
    CodeDocumentPrivate *documentPrivate = nullptr;
    CodeNode *node = nullptr;
    bool folded = false;
    bool parsed = false;
    unsigned int foldingIndent = 0;
    QTextBlock block;
    QVector<CodeBlockData::SyntaxMessage> syntaxMessages;
    /// How many of them, the last ones, are CodeDocument::setRemarks().
    int remarkCount = 0;
    QVector<CodeBlockData::Parenthesis> parenthesis;
    /// What CodeDocument::foldingKind() said of the line when it was parsed last.
    int foldingKind = 0;
    /// What the line was when it was parsed and painted last. A revision alone does not tell: two
    /// lines that become one keep the revision of the first.
    struct Parsed {
        int revision = -1;
        int stateAbove = 0;
        uint textHash = 0;
        bool operator==(const Parsed &other) const
        {
            return revision == other.revision && stateAbove == other.stateAbove &&
                   textHash == other.textHash;
        }
    };
    Parsed parsedAs;
    /// The block state that came out of it. Qt gives a line that another is joined to the state of
    /// that other.
    int state = 0;
    /// See CodeDocumentPrivate::originalLineOf(), from 1 on; 0 for none.
    int originalLine = 0;
    bool isParsedNow = false;
    /// The last parse set formats.
    bool isPainted = false;
    bool isFoldingKnown = false;

    static void *operator new(std::size_t size);
    static void operator delete(void *record);
};

/// The working part of a document: it parses lines as their highlighter, is the list of their
/// messages, and is what the parser paints and reports to. No Q_OBJECT: two bases are QObjects.
///
/// It and the document are defined in codedocument.cpp, codedocument_file.cpp (loading, saving,
/// searching), codedocument_highlighter.cpp (parsing) and codedocument_messages.cpp.
class CodeDocumentPrivate : public QSyntaxHighlighter, public Messages, public CodeParserSyntax
{
public:
    explicit CodeDocumentPrivate(CodeDocument *owner);
    ~CodeDocumentPrivate() override;

    // The list of messages.
    ProjectFile *file() const override;
    unsigned int count(Message::Type type) const override;
    Message at(unsigned int index, Message::Type type) const override;

    // The parser's sink.
    void setToken(TokenType type, int begin, int end) override;
    void setError(TokenType type, const QString &text, int begin, int end) override;
    void setDeprecation(TokenType type, const QString &text, int begin, int end) override;
    void setWarning(TokenType type, const QString &text, int begin, int end) override;
    void addParenthesis(bool open, QChar character, int position) override;

    /// Between these two the list of all messages is not told; the last one tells it once. Options
    /// of parsing are read once within.
    void beginUpdate();
    void endUpdate();

    bool option(const QString &key) const;
    bool isModelShown() const;
    bool isHighlighting() const;

    /// Parses what a change of the text has changed, where the base is not there to do it.
    void visitChanged(int from, int removed, int added);
    /// Visits all lines and parses each, also those that have not changed.
    void parseAll();
    /// Parses a line outside the highlighter, without painting.
    void parseQuietly(const QTextBlock &block);
    /// Parses the lines from `first` to before `end`, if the document is to be parsed inside
    /// brackets of changes and one is open: Qt tells the highlighter only when it closes.
    void parseInBracket(const QTextBlock &first, const QTextBlock &end);
    /// Gives line `to`, which has no data, that of line `from`. Text that comes in above the first
    /// line would have it otherwise: Qt leaves the data with the line that is first then.
    void moveData(const QTextBlock &from, const QTextBlock &to);
    /// Releases the head nodes of all lines. Without a parser, which would report anew, messages
    /// and brackets go too.
    void releaseNodes();
    /// A line's data is about to go.
    void leaveBlock(CodeBlockData *data);
    /// Adds a message to a line that was found outside its parse; it goes with the next parse.
    void addMessage(const QTextBlock &block, const CodeBlockData::SyntaxMessage &message);
    void setRemarks(const QTextBlock &block, const QVector<CodeBlockData::SyntaxMessage> &remarks);
    /// How many children of the root of the kind of `node` stand before it; it is counted itself
    /// from then on.
    unsigned int insertOfKind(CodeNode *node);
    void removeOfKind(CodeNode *node);

    /// Which of OriginalBytes::keptLines() a line is, -1 for none of them.
    static int originalLineOf(const QTextBlock &block);

    static unsigned int kindOf(const CodeNode *node);
    static CodeBlockData *dataOf(const QTextBlock &block)
    {
        return static_cast<CodeBlockData *>(block.userData());
    }

    CodeDocument *document;
    CodeParser *parser = nullptr;
    CodeBlockData *current = nullptr;
    QTextCursor cursor;
    OriginalBytes original;
    quint16 changeDepth = 0;
    /// QTextDocument::availableUndoSteps() when the outermost bracket opened.
    int undoStepsBefore = 0;
    /// QTextDocument::revision() when it closed.
    int revisionBehind = -1;
    quint16 updateLock = 0;
    int messageCounts[3] = {0, 0, 0};
    QVector<CodeBlockData::SyntaxMessage> pendingMessages;
    CodeBlockData *firstMessageBlock = nullptr;
    QVector<unsigned int> enabledGroups;
    QMap<unsigned int, CodeDocumentEditor *> documentEditors;
    bool resetting = false;
    bool followsHostOptions = false;
    CodeDocument::Detail detail = CodeDocument::WithColors;
    bool showsProgress = false;
    bool wasCancelled = false;
    /// Lines are parsed whether they have changed or not.
    bool parsingAll = false;

    /// The children of the root of each kind that has an editor, in text order.
    struct KindList {
        QList<CodeNode *> nodes;
        int last = 0;
    };
    QHash<unsigned int, KindList> kinds;
    /// Children of the root that have an editor and came or changed inside a bracket. The editor is
    /// told once more when it has closed and the rows can be read.
    QSet<CodeNode *> changedInBracket;
    bool rowChangeOpen = false;

protected:
    void highlightBlock(const QString &text) override;

private:
    /// A place in the list of blocks with messages: the block before it, null at the head, and the
    /// number of messages up to there. Edits come close to each other, so it is where the search
    /// for the next place starts.
    struct MessagePlace {
        CodeBlockData *before = nullptr;
        unsigned int row = 0;
    };

    CodeNode *lastNodeBefore(const QTextBlock &block) const;
    CodeNode *lastNodeAboveLine(int line) const;
    static CodeNode *lastOfLine(CodeNode *head);
    /// Calls the parser for a line. Returns the old node if it was replaced, for the caller to
    /// release.
    CodeNode *parseLine(CodeBlockData *data, const QString &text, CodeParserSyntax *syntax);
    void forgetSequence() { sequenceBlock = QTextBlock(); }
    void visit(QTextBlock block, const QString &text);
    static int stateAbove(const QTextBlock &block);
    static int blockState(const CodeNode *node, int above);
    void mark(int kind, TokenType type, const QString &text, int begin, int end);
    void linkMessages(CodeBlockData *data, QVector<CodeBlockData::SyntaxMessage> &messages);
    void dropMessages(CodeBlockData *data);
    void replaceMessages(CodeBlockData *data,
                         QVector<CodeBlockData::SyntaxMessage> messages,
                         int remarkCount);
    void tellOfVisit();
    CodeBlockData *nextOf(const MessagePlace &place) const;
    bool isUnchanged(const CodeBlockRecord *line, const QString &text) const;
    static CodeBlockRecord::Parsed present(const QTextBlock &block, const QString &text);
    void keepFormats();
    void setFoldingKind(CodeBlockRecord *line, int kind);
    void noteFolding(bool isHead);
    void updateFoldingAround();
    void updateFoldingIndent(CodeBlockRecord *line) const;
    unsigned int plainIndent(const QTextBlock &line, int above, unsigned int indent) const;

    MessagePlace messagePlace;
    mutable MessagePlace readPlace;
    mutable Message::Type readType = Message::All;
    /// The line parsed last and the last node up to its end, for the line below.
    QTextBlock sequenceBlock;
    CodeNode *sequenceNode = nullptr;
    mutable int highlighting = -1;
    /// Positions of the first and the last line that were visited since the last update; -1 for
    /// none.
    int firstVisited = -1;
    int lastVisited = -1;
    /// Since the last update, a line came, went or changed its folding kind; one of them is or was
    /// a head.
    bool isFoldingTouched = false;
    bool isHeadTouched = false;
};
} // namespace Kiln
