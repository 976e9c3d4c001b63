#pragma once

#include <kilnx/export.h>

#include <QtCore/QPoint>
#include <QtGui/QColor>
#include <QtGui/QTextBlock>
#include <QtGui/QTextCharFormat>
#include <QtWidgets/QPlainTextEdit>

class QAbstractItemModel;

namespace Kiln
{

class CodeDocument;
class CodeEditorPrivate;

/// The text view of a CodeDocument: line numbers, folding, matching of brackets, a highlight of the
/// current line and of the blocks around it, tool tips of syntax messages, and completion.
///
/// It parses nothing. What folds comes from CodeBlockData::foldingIndent(), what matches from
/// CodeBlockData::parenthesis(), both written by the engine's parser. The editor borrows its
/// document and shows an empty text when that is destroyed first. Lines and columns count from 0; a
/// line is a block of the document, shown or folded away. Lines are not wrapped unless
/// setLineWrapMode() says so. Files that are dropped on it are left to the host.
class KILNX_EXPORT CodeEditor : public QPlainTextEdit
{
    Q_OBJECT

public:
    /// Where setCurrentLine() puts the line in the view.
    enum LineType {
        NoPlacement = 0,  ///< the view scrolls as little as it must
        TopPlacement = 1, ///< at the top
        MiddlePlacement = 2
    };

    /// A place in the text and the view of it: block number, offset in the block, and the value of
    /// the vertical scroll bar, or less than 0 to have the line in the middle.
    struct LinePos {
        int line = 0;
        int column = 0;
        int scroll = 0;
    };

    /// What the editor shows, and in which colours. Default-constructed it holds the defaults.
    struct KILNX_EXPORT SyntaxFormatting {
        SyntaxFormatting();

        bool lineNumbers = true;
        bool iconArea = false; ///< reserves room for an icon of one line height in the margin
        bool reserved = false; ///< not read by the editor
        bool foldingMarkers = true;
        bool highlightLine = true;
        bool highlightBlocks = false;
        bool enabled = true; ///< stays true
        bool parenMatching = true;
        QColor lineColor;           ///< behind the line of the cursor
        QColor blockColor;          ///< the base of the shades behind nested blocks
        QTextCharFormat parenMatch; ///< on each of two brackets that match
        QTextCharFormat parenError; ///< from bracket to bracket when they don't
        QTextCharFormat parenRange; ///< from bracket to bracket when they do
        QColor hitColor;            ///< behind the hits of markHits()
    };

    /// Where the search for the hits of markHits() is.
    enum HitState {
        NotSearched, ///< there is no text, no document, or the expression is not valid
        Searching,
        Searched,
        OutOfTime ///< the expression takes too long
    };

    /// What the Return and Tab keys do to the blanks that lines begin with.
    struct Indentation {
        bool keep = false;   ///< a new line begins with the blanks of the line above
        bool spaces = false; ///< the Tab key inserts blanks up to the next tab stop
        int tabWidth = 4;    ///< in characters, 1 to 32
    };

    explicit CodeEditor(QWidget *parent = nullptr);
    ~CodeEditor() override;

    /// Shows another document, or an empty text for null. Folds belong to the document's lines and
    /// are found again when it comes back; the place of the cursor is the caller's to keep, with
    /// currentLine().
    void setDocument(CodeDocument *document);
    /// The document shown; null if there is none.
    CodeDocument *codeDocument() const;

    void setSyntaxFormatting(const SyntaxFormatting &formatting);
    const SyntaxFormatting &syntaxFormatting() const;
    /// Whatever it says, Tab and Shift+Tab move the lines of a selection that goes over several.
    void setIndentation(const Indentation &indentation);
    const Indentation &indentation() const;
    /// Whether the text between two matching brackets takes `parenRange`; true at first.
    void setParenRangePainted(bool painted);
    /// Finds the blocks around the cursor anew after a delay, or forgets them when
    /// `highlightBlocks` is false.
    void updateBlockHighlight();

    /// Marks every place that Editor::find() comes to with this text and these bits of
    /// Editor::FindFlag; an empty text marks nothing. The places are looked for on another thread;
    /// from then on they follow the text and the document shown. A hundred thousand are marked at
    /// most.
    void markHits(const QString &text, unsigned int flags);
    HitState hitState() const;
    int hitCount() const;
    /// Which of the hits is selected, from 1 on; 0 for none of them.
    int selectedHit() const;

    LinePos currentLine() const;
    /// Goes back to a place that currentLine() gave; places that no longer exist are cut to the
    /// nearest. Emits cursorChanged().
    void setCurrentLine(const LinePos &place);
    /// Puts the cursor at the start of a line, cut to the lines there are. On the first page the
    /// view only scrolls as far as it must. A folded line is unfolded.
    void setCurrentLine(int line, LineType type);
    /// How many lines fit in the view, at least 1.
    int displayedLineCount() const;

    /// Folds or unfolds what stands deeper than `block` right below it; nothing when there is no
    /// such line. Sections folded inside stay folded, the document's last line always stays
    /// visible, and a cursor in the folded text moves to the end of `block`.
    void toggleBlockVisible(const QTextBlock &block);
    /// Folds every outermost section, all in one refresh of the view.
    void foldAll();
    /// Shows every line and opens every fold.
    void unfoldAll();

    /// Sets the words that complete what follows `prefix`, a piece of code without blanks such as
    /// "type=" or "play(". Blanks in the line do not count: the prefix has to stand at the line's
    /// start, or the last character before it that is no blank must not be a letter, a digit or
    /// ".". A prefix that may follow a word opens with a blank, as " ->" does for "go on -> ".
    /// Case does not matter, and of several prefixes that fit the longest counts; the empty one
    /// stands for the blanks that a line begins with.
    ///
    /// The first column of `words` is offered when a blank is typed behind the prefix, or a key
    /// that ends it and is no mark such as "@", or Control and the space bar are pressed there;
    /// letters that follow choose among them. Words that are to be offered without a blank have the
    /// prefix end with their first letter, as in "@s". Keys with Shift close the list. Sort the
    /// words without regard to case. The model stays the caller's, may change at any time, and
    /// leaves by itself when it is destroyed; null takes the prefix away.
    void setWordList(const QString &prefix, QAbstractItemModel *words);
    void clearWordLists();
    /// Whether a completion file can be read. Its contents are not used: engines give their words
    /// to setWordList().
    bool completerFromFile(const QString &path);

Q_SIGNALS:
    /// The cursor went to another line.
    void currentLineChanged(int line);
    /// The cursor moved; x is the line and y the column.
    void cursorChanged(const QPoint &place);
    /// hitState(), or the hits, are others.
    void hitsChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    /// The selected text alone, with the no-break spaces that it holds.
    QMimeData *createMimeDataFromSelection() const override;

private:
    friend class CodeEditorPrivate;
    CodeEditorPrivate *d;
};

} // namespace Kiln
