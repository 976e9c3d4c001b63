#pragma once

#include <kilnx/codeedit/codeeditor.h>

#include <QtCore/QBasicTimer>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QTimer>
#include <QtCore/QVector>
#include <QtGui/QAbstractTextDocumentLayout>
#include <QtGui/QIcon>
#include <QtGui/QTextLayout>
#include <QtWidgets/QTextEdit>
#include <QtWidgets/QWidget>

#include <optional>

class QCompleter;
class QPlainTextDocumentLayout;

namespace Kiln
{

class CodeBlockData;
class CodeEditorPrivate;
class HitSearch;

/// The margin beside the text: a bare widget that hands its events to the editor's private object.
class CodeEditorExtraArea : public QWidget
{
public:
    CodeEditorExtraArea(CodeEditor *editor, CodeEditorPrivate *d);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    bool event(QEvent *event) override;

private:
    CodeEditorPrivate *d;
};

class CodeEditorPrivate : public QObject
{
public:
    /// What a search for the partner of a bracket found.
    enum ParenResult { NoPartner = 0, Partner = 1, WrongPartner = 2 };

    /// A head whose lines are hidden, down to the last one that was looked at; invalid for none.
    struct Fold {
        QTextBlock head;
        int lastHidden = -1;
    };

    /// A line on the screen, and where it stands in the view.
    struct ShownLine {
        QTextBlock block;
        qreal top;
        qreal height;

        qreal bottom() const { return top + height; }
    };

    explicit CodeEditorPrivate(CodeEditor *editor);

    // Margin: codeeditor_margin.cpp
    int markerWidth() const;
    int marginWidth() const;
    void updateMarginGeometry();
    void updateMarginStrip(const QTextBlock &block);
    void updateMarkers();
    void viewUpdated(const QRect &rect, int dy);
    void paintMargin(QPaintEvent *event);
    void paintMarker(QPainter &painter, const QTextBlock &block, const QRect &column);
    void paintConnection(QPainter &painter, int number, const QRect &column);
    void marginMouse(QMouseEvent *event);
    void marginPress(QMouseEvent *event);
    void marginHover(const QPoint &position);
    void marginDrag(const QPoint &position);
    void marginLeft();
    void endDrag();
    void marginToolTip(QHelpEvent *event);
    void setHoveredMarker(int block);
    QTextBlock blockAt(int y) const;
    QRect markerColumn() const;

    // Text: codeeditor.cpp
    void cursorMoved();
    void updateSelections();
    QString messageAt(const QPoint &position) const;
    void updateTabStop();
    void attach(CodeDocument *document);
    QPlainTextDocumentLayout *layout() const;

    // Nested blocks and their shades: codeeditor_blocks.cpp
    void findBlocks();
    void clearBlocks();
    qreal visualIndent(const QTextBlock &block) const;
    QColor levelColor(int level, int count) const;
    void paintBlocks(QPainter &painter, const QVector<ShownLine> &lines) const;

    // Painting of the text: codeeditor_paint.cpp
    using PaintContext = QAbstractTextDocumentLayout::PaintContext;
    QVector<QTextLayout::FormatRange> hitsIn(const QTextBlock &block) const;
    QVector<ShownLine> linesBetween(int first, int last) const;
    void paintText(QPainter &painter, const QRect &strip);
    void paintCurrentLine(QPainter &painter,
                          const ShownLine &line,
                          const PaintContext &context,
                          const QRect &clip) const;
    void paintLine(QPainter &painter,
                   const ShownLine &line,
                   const PaintContext &context,
                   const QRect &clip) const;
    void paintFolded(QPainter &painter, const ShownLine &line, const QPointF &origin) const;
    void paintBelow(QPainter &painter, qreal top, const QRect &clip) const;

    // Folding: codeeditor_folding.cpp
    bool toggle(const QTextBlock &block);
    void show(QTextBlock block, unsigned int indent);
    void hide(QTextBlock block, unsigned int indent);
    void foldingChanged();
    void moveCursorOut();
    void stepOverFold();
    void reveal(const QTextBlock &block);
    void charactersChanged(int from, int to);
    void restoreFolds();
    bool restoreFold(const QTextBlock &block, Fold &fold, int limit);
    static Fold foldFrom(const QTextBlock &head, QTextBlock block, int limit);
    static QTextBlock foldOf(QTextBlock block);
    void setVisible(QTextBlock &block, bool visible) const;

    // Brackets: codeeditor_brackets.cpp
    void matchParens();
    void selectParens(const QTextCursor &cursor, ParenResult result);
    ParenResult findOpening(QTextCursor &cursor) const;
    ParenResult findClosing(QTextCursor &cursor) const;

    // Completion: codeeditor_completion.cpp
    void setUpCompleter();
    QAbstractItemModel *wordsBefore(const QTextCursor &cursor) const;
    void offerWords(QKeyEvent *event);
    void complete(const QString &word);

    // Indentation: codeeditor_indent.cpp
    bool indentKey(const QKeyEvent *event);
    void shiftLines(QTextCursor cursor, bool back);
    void keepIndentation();

    CodeEditor *const q;
    CodeDocument *document = nullptr;
    QVector<QMetaObject::Connection> documentSignals;
    QCompleter *completer = nullptr;
    QMap<QString, QAbstractItemModel *> wordLists; ///< by prefix, none of them owned
    CodeEditor::SyntaxFormatting format;
    CodeEditor::Indentation indentation;
    bool paintParenRange = true;
    HitSearch *hits = nullptr;
    std::optional<CodeEditor::LinePos> reloadPlace; ///< while the text is being loaded again
    QList<QTextEdit::ExtraSelection> parenSelections;
    QTimer parenTimer;
    QTimer blockTimer;
    QList<int> blockStart;   ///< the heads of the blocks around the cursor, the innermost first
    QList<int> blockEnd;     ///< their last lines
    QVector<int> shownHeads; ///< the lines in the view that can be folded, by number
    QList<int> blockIndent;  ///< where their text starts, in pixels of the unscrolled view
    int lastLine = -1;
    int blockLine = 0; ///< the line that the blocks are searched for
    int hoveredMarker = -1;
    int pendingMarker = -1;
    QBasicTimer markerTimer;
    QBasicTimer scrollTimer;
    QPoint dragPosition;
    int dragAnchor = -1; ///< the block where a drag in the margin began
    CodeEditorExtraArea *extraArea = nullptr;
    QIcon contractIcon;
    QIcon expandIcon;
    int navigatedRevision = -1; ///< the text's revision while a key moves the cursor in it
    int navigatedFrom = 0;
    int changedFrom = -1; ///< the characters of the last change, until the folds were looked after
    int changedTo = -1;
    int depthChangedTo = -1; ///< the last line, by its start, that has another depth since
    int foldedBlocks = 0;    ///< how many lines there were when the folds were looked after

protected:
    void timerEvent(QTimerEvent *event) override;
};

/// The record of a block; null if it has none.
const CodeBlockData *blockRecord(const QTextBlock &block);
/// The depth of a block, 0 without a record.
unsigned int blockDepth(const QTextBlock &block);
/// Whether a block has something to fold below it.
bool isFoldHead(const QTextBlock &block);
/// A text for QToolTip that shows as it stands, also if it looks like markup.
QString plainToolTip(const QString &text);
/// The next line that is not folded away; invalid behind the last.
QTextBlock shownBelow(const QTextBlock &block);

} // namespace Kiln
