#pragma once

#include <kilnx/code/codeblockdata.h>
#include <kilnx/code/codeparser.h>
#include <kilnx/code/rootcode.h>
#include <kilnx/export.h>
#include <kilnx/project/filewatch.h>
#include <kilnx/project/projectfile.h>

#include <QtGui/QTextCharFormat>
#include <QtGui/QTextCursor>
#include <QtGui/QTextDocument>

#include <initializer_list>

namespace Kiln
{
class LoadProgress;

/// A code file: its text, its tree of nodes and the item model of the tree in one object, which is
/// also a file of a project and watches its path.
///
/// Text is the master. A highlighter parses each line that changed, and the lines below for as long
/// as what encloses them comes out different, with the engine's CodeParser; nodes, model rows,
/// messages and folding follow. Without a parser it is plain text.
///
/// An engine derives from it, calls setParser() and destroys it by release(), which deletes it. The
/// class has two QObject bases and no meta object of its own: connect through the base that has the
/// signal, `static_cast<QTextDocument *>(document)` for the text, `document->model()` for the tree.
///
/// Options, read through option() on each use: "parseCode" lets lines be parsed within a bracket of
/// changes and groups be enabled; "modelCode" shows the tree as a model, which has no rows without
/// it; "highlightCode" has the parser paint and report. All are off until somebody sets them, so an
/// engine's document calls followHostOptions(). Everything runs on the GUI thread.
class KILNX_EXPORT CodeDocument : public QTextDocument,
                                  public RootCode,
                                  public ProjectFile,
                                  public FileWatchObject
{
public:
    using CodeNode::lineNo;
    using RootCode::parent;

    /// The name of the language, for people. The library never calls it.
    virtual QString language() const = 0;
    /// Replaces the text: an unnamed, unmodified file in UTF-8.
    virtual void fromString(const QString &text);

    // The file.
    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    /// An empty, unnamed, unmodified file in UTF-8.
    void reset() override;
    /// Writes the text with carriage return and line feed at each line end. False if the file could
    /// not be opened or written. A character that the file's encoding cannot say is never lost: the
    /// file is then written, and from then on kept, in UTF-8. But for its line ends, what was
    /// loaded and not edited is written byte for byte as it was, also what is not in the encoding.
    bool toFile(Archive &archive, const QString &name, bool asCopy) override;
    /// Loads a file in the encoding that is detected. False if it could not be opened, and then
    /// nothing changes. With `asCopy` the document keeps its name and counts as modified. Lines
    /// whose bytes are not in the encoding get a warning.
    bool fromFile(Archive &archive, const QString &name, bool asCopy) override;
    /// The same in the encoding of `codecId`, detected if that is negative; see TextCodecs.
    bool fromFile(Archive &archive, const QString &name, int codecId, bool asCopy);
    /// What the text of a document gets beside itself.
    enum Detail {
        WithColors, ///< all there is
        WithNodes,  ///< no colours; half the memory and time
        TextOnly    ///< no colours, folds, nodes and messages; hardly more than the text costs
    };
    /// Takes away what a later one of these has not, for good, from an empty document that no view
    /// shows yet. Where a file of 8 MB or more is loaded into it, the colours go by themselves.
    void setDetail(Detail detail);
    Detail detail() const;
    /// Whether long loads, into the empty document or by reloadAsEdit(), open a Progress, which
    /// handles events. A load that the user cancels fails, and leaves the document as it was.
    void setShowsProgress(bool shows);
    /// Whether that has happened to the last load.
    bool wasLoadCancelled() const;
    /// Loads the file again in the encoding that it has now.
    void reload() override;
    /// The same as one step of undo, by replaceText(), also for a document with changes: it is
    /// unmodified after that. False, with nothing changed, if the file cannot be read.
    bool reloadAsEdit();
    /// From here on the file of another name in the same archive, which is neither read nor
    /// written.
    void rename(const QString &name);
    QString fileName() override;
    QAbstractItemModel *model() override;
    void release() override = 0;
    QVariant option(const QString &key) override;
    QString title() const;
    void setTitle(const QString &title);
    QString toString() const;
    void setVersion(unsigned short version);

    /// The encoding, an id of TextCodecs.
    int codecId() const;
    void setCodecId(int id);
    /// The character that opens a comment, that of its project's engine; null without one.
    QChar commentCharacter() const;
    /// By name; an unknown name is the system's encoding.
    void setCodec(const QString &name);
    QString codecName() const;

    // Changes.
    /// What happens up to the matching endChange() is one step of undo. Lines that are inserted
    /// through this class are parsed at once all the same.
    void beginChange() override;
    void endChange() override;
    /// Opens a bracket that belongs to the step of undo of the one before, for long work that lets
    /// events through between its brackets. Where the text has become another one since, it is a
    /// step of its own.
    void continueChange();
    /// Takes back what the last bracket, and those that it continued, have written, with nothing to
    /// redo. Nothing where the text has become another one since.
    void dropChange();
    bool isCodeBeingChanged() const;
    /// Within a bracket of changes and without "parseCode", parses what the bracket has edited so
    /// far, for callers that go on with rows and nodes. Undo still takes the bracket back in one
    /// step. Nothing elsewhere, where the tree is up to date anyway.
    void catchUp();
    /// The document's own cursor is at the change afterwards.
    void undo() override;
    void redo() override;
    /// A copy of the document's own cursor.
    QTextCursor cursor() const;
    /// Where the user is in the text: undoing a bracket of changes leads back there.
    void setPlace(int position);
    /// Replaces the selection of `cursor`. When it returns, the tree is up to date with the text.
    void insertOnCursor(const QString &text, QTextCursor cursor);
    /// At the end of the text.
    void insert(const QString &text);
    /// Makes the text another one, in one step of undo. What both have in common at their start and
    /// at their end stays as it is, with its folds and the cursors in it.
    void replaceText(const QString &text);
    /// As lines of their own below the node's last line, or, with `ownLine`, below its own line.
    /// With a null node at the end of the text, with a line end after it.
    void insertAfter(const CodeNode *node, const QString &text, bool ownLine);
    /// As lines of their own above the node's first line, or, with `ownLine`, above its own line.
    /// With a null node at the start of the text.
    void insertBefore(const CodeNode *node, const QString &text, bool ownLine);
    /// Every match. A match may be empty.
    QList<SearchResult> search(const QRegularExpression &expression) override;
    /// Replaces matches that search() found in the present text. "%1" in `text` stands for the
    /// second capture of the match, "%2" for the third, and so on.
    void replace(const QList<SearchResult> &results, const QString &text) override;

    // The tree.
    CodeDocument *document() const override;
    /// The head node of a line, null if it has none.
    CodeNode *nodeInBlock(const QTextBlock &block) const;
    /// The block number of the line of the index's node, 0 for an invalid index.
    int lineNo(const QModelIndex &index) const;
    /// The index of the node that covers a line: a node on the line, or the group or animation that
    /// it lies in. Invalid for lines above the first of these.
    QModelIndex indexInLine(int line) const;
    int rowCount(const QModelIndex &parent = {}) const override;
    /// Adds section types to those that become nodes, and parses the text again.
    void enableGroups(std::initializer_list<unsigned int> subTypes);
    bool groupEnabled(unsigned int subType) const override;
    void insertChild(CodeNode *child, unsigned int index) override;
    void removeChild(CodeNode *child) override;
    void childChanged(CodeNode *child) override;

    /// Hands the children of the root of one type, and subtype if they are groups, to an editor.
    /// The document releases the editor when it is destroyed, unless it was unregistered or
    /// replaced.
    void
    registerDocumentEditor(CodeDocumentEditor *editor, CodeNode::Type type, unsigned int subType);
    void unregisterDocumentEditor(CodeDocumentEditor *editor);
    CodeDocumentEditor *documentEditor(CodeNode::Type type, unsigned int subType) const;

    // Parsing and painting.
    /// The parser stays the caller's and must outlive the document or be taken away by null.
    void setParser(CodeParser *parser);
    bool hasSyntaxHighlight() const;
    /// Sets "highlightCode" for this file and parses the text again.
    void setSyntaxHighlight(bool enabled);
    /// Replaces the format of a token for all documents, for lines that are parsed from now on.
    static void setSyntaxFormat(CodeParserSyntax::TokenType type, const QTextCharFormat &format);
    static QTextCharFormat syntaxFormat(CodeParserSyntax::TokenType type);
    /// Gives a line messages that its text alone does not tell, such as a name that is taken
    /// elsewhere, in place of those given before. They stand behind the parser's, are not painted,
    /// and go when the line is parsed again.
    void setRemarks(const QTextBlock &line, const QVector<CodeBlockData::SyntaxMessage> &remarks);
    /// Parses every line again with the node that it has.
    void rehighlight();

protected:
    explicit CodeDocument(short fileType = -1);
    ~CodeDocument() override;

    /// From here on "parseCode", "modelCode" and "highlightCode" are those of the host where
    /// neither the file nor its project tells them, and true where the host has no say. For the
    /// constructor of an engine's document, before enableGroups() and setParser().
    void followHostOptions();

    /// Called at the end of the parse of each line.
    virtual void blockHighlighted();
    /// What `line` is to the folding of the view: 0 a plain line, 1 a section's head, 2 a line of a
    /// section's body; plus 4 on a head for an outermost section.
    virtual int foldingKind(const QString &line) = 0;
    /// Called once after each edit, load or reparse, when tree and text are in step, with the range
    /// of lines that were visited. A line that went lay in or beside it. The place for
    /// setRemarks(). A file that is being loaded has no fileName() yet.
    virtual void linesHighlighted(const QTextBlock &first, const QTextBlock &last);

    /// Releases all nodes and parses every line anew.
    void reparse();
    void setFileName(const QString &name);
    Messages *fileMessages() const override;

    void beginInsert(const ParentCode *parent, int row) override;
    void endInsert() override;
    void beginRemove(const ParentCode *parent, int row) override;
    void endRemove() override;

private:
    friend class CodeDocumentPrivate;
    void announceRows();
    void createCodecData();
    int &codecData() const;
    bool loadText(const QString &text, LoadProgress *progress);
    bool putPieces(const QString &text, LoadProgress &progress);
    bool load(Archive &archive, const QString &name, int codecId, bool asCopy, bool watch);
    void bindOriginal();
    void warnOfBytes(const QString &text);
    void warnOfEncoding();
    QModelIndex indexOfNode(const CodeNode *node) const;
    QTextBlock lineOfNode(const CodeNode *node, int line) const;

    CodeDocumentPrivate *d = nullptr;
};
} // namespace Kiln
