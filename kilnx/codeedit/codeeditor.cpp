#include <kilnx/codeedit/codeeditor.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/codelayout_p.h>
#include <kilnx/codeedit/codeeditor_p.h>
#include <kilnx/codeedit/hitsearch_p.h>

#include <QtCore/QFile>
#include <QtCore/QMimeData>
#include <QtCore/QPointer>
#include <QtGui/QHelpEvent>
#include <QtGui/QTextDocument>
#include <QtGui/QTextLayout>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCompleter>
#include <QtWidgets/QPlainTextDocumentLayout>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QToolTip>

#include <cmath>

namespace Kiln
{

namespace
{
constexpr int ParenDelay = 50;  // milliseconds
constexpr int BlockDelay = 100; // milliseconds
} // namespace

const CodeBlockData *blockRecord(const QTextBlock &block)
{
    return block.isValid() ? CodeBlockData::testBlockData(block) : nullptr;
}

unsigned int blockDepth(const QTextBlock &block)
{
    const CodeBlockData *record = blockRecord(block);
    return record ? record->foldingIndent() : 0;
}

bool isFoldHead(const QTextBlock &block)
{
    const QTextBlock next = block.next();
    return next.isValid() && blockDepth(next) > blockDepth(block);
}

QString plainToolTip(const QString &text)
{
    return Qt::mightBeRichText(text)
               ? QStringLiteral("<span style='white-space:pre'>%1</span>").arg(text.toHtmlEscaped())
               : text;
}

CodeEditor::SyntaxFormatting::SyntaxFormatting()
    : lineColor(QColor(Qt::yellow).lighter(160))
    , blockColor(QApplication::palette().color(QPalette::Base))
{
    parenMatch.setForeground(Qt::red);
    parenError.setBackground(Qt::magenta);
    parenRange.setBackground(QColor(Qt::magenta).lighter(190));
    hitColor = QColor(Qt::yellow).lighter(130);
}

CodeEditorPrivate::CodeEditorPrivate(CodeEditor *editor)
    : QObject(editor)
    , q(editor)
    , contractIcon(QStringLiteral(":/kiln_icons/icons/contract.png"))
    , expandIcon(QStringLiteral(":/kiln_icons/icons/expand.png"))
{
    format.blockColor = q->palette().color(QPalette::Base);
    parenTimer.setSingleShot(true);
    blockTimer.setSingleShot(true);
    connect(&parenTimer, &QTimer::timeout, this, &CodeEditorPrivate::matchParens);
    connect(&blockTimer, &QTimer::timeout, this, &CodeEditorPrivate::findBlocks);
    extraArea = new CodeEditorExtraArea(q, this);
    setUpCompleter();
    hits = new HitSearch(
        [this] {
            q->viewport()->update();
            emit q->hitsChanged();
        },
        this);
    connect(q, &QPlainTextEdit::blockCountChanged, this, &CodeEditorPrivate::updateMarginGeometry);
    connect(q, &QPlainTextEdit::updateRequest, this, &CodeEditorPrivate::viewUpdated);
    connect(q, &QPlainTextEdit::cursorPositionChanged, this, &CodeEditorPrivate::cursorMoved);
}

QPlainTextDocumentLayout *CodeEditorPrivate::layout() const
{
    return qobject_cast<QPlainTextDocumentLayout *>(q->document()->documentLayout());
}

void CodeEditorPrivate::updateTabStop()
{
    const qreal blank = QFontMetricsF(q->font()).horizontalAdvance(QLatin1Char(' '));
    q->setTabStopDistance(std::ceil(indentation.tabWidth * blank));
}

void CodeEditorPrivate::attach(CodeDocument *newDocument)
{
    for (const QMetaObject::Connection &connection : qAsConst(documentSignals))
        disconnect(connection);
    documentSignals.clear();
    reloadPlace.reset();
    document = newDocument;
    hits->setDocument(document);
    if (!document)
        return;
    QTextDocument *text = document;
    documentSignals << connect(
        text, &QTextDocument::contentsChange, this,
        [this](int from, int, int added) { charactersChanged(from, from + added); });
    documentSignals << connect(static_cast<CodeLayout *>(text->documentLayout()),
                               &CodeLayout::depthChanged, this, [this](const QTextBlock &line) {
                                   depthChangedTo = qMax(depthChangedTo, line.position());
                                   charactersChanged(line.position(), changedTo);
                               });
    documentSignals << connect(text, &QTextDocument::contentsChanged, this,
                               &CodeEditorPrivate::restoreFolds);
    documentSignals << connect(text, &QTextDocument::contentsChanged, this,
                               &CodeEditorPrivate::updateMarkers);
    // A file that is loaded again keeps the place in it; one that is only parsed again has not
    // lost it.
    documentSignals << connect(document->model(), &QAbstractItemModel::modelAboutToBeReset, this,
                               [this] { reloadPlace = q->currentLine(); });
    documentSignals << connect(document->model(), &QAbstractItemModel::modelReset, this, [this] {
        const CodeEditor::LinePos now = q->currentLine();
        if (reloadPlace && (now.line != reloadPlace->line || now.column != reloadPlace->column ||
                            now.scroll != reloadPlace->scroll))
            q->setCurrentLine(*reloadPlace);
        reloadPlace.reset();
    });
    // The model is a later base of the document than the text: while it is being destroyed, the
    // text is whole.
    documentSignals << connect(document->model(), &QObject::destroyed, this,
                               [this] { q->setDocument(nullptr); });
}

void CodeEditorPrivate::cursorMoved()
{
    if (!q->textCursor().block().isVisible()) {
        if (q->document()->revision() == navigatedRevision) {
            stepOverFold(); // which comes here again
            return;
        }
        reveal(q->textCursor().block());
    }
    const QTextCursor cursor = q->textCursor();
    const QTextBlock block = cursor.block();
    if (format.parenMatching && q->hasFocus())
        parenTimer.start(parenSelections.isEmpty() ? 0 : ParenDelay);
    updateSelections();
    const int line = block.blockNumber();
    if (line != lastLine) {
        updateMarginStrip(q->document()->findBlockByNumber(lastLine));
        updateMarginStrip(block);
        lastLine = line;
        emit q->currentLineChanged(line);
    }
    if (document)
        document->setPlace(cursor.position());
    emit q->cursorChanged(QPoint(line, cursor.positionInBlock()));
    if (format.highlightBlocks) {
        blockLine = line;
        blockTimer.start(BlockDelay);
    }
}

void CodeEditorPrivate::updateSelections()
{
    QList<QTextEdit::ExtraSelection> selections;
    if (format.highlightLine) {
        QTextEdit::ExtraSelection line;
        line.cursor = q->textCursor();
        line.cursor.clearSelection();
        line.format.setBackground(format.lineColor);
        line.format.setProperty(QTextFormat::FullWidthSelection, true);
        selections.append(line);
    }
    q->setExtraSelections(selections + parenSelections);
}

QString CodeEditorPrivate::messageAt(const QPoint &position) const
{
    const QTextCursor cursor = q->cursorForPosition(position);
    // Below the last line the nearest place is not what the mouse is over.
    if (position.y() > q->blockBoundingGeometry(cursor.block()).bottom() + q->contentOffset().y())
        return QString();
    const CodeBlockData *record = blockRecord(cursor.block());
    if (!record || !document)
        return QString();
    const int column = cursor.positionInBlock();
    QString text;
    for (const CodeBlockData::SyntaxMessage &message : record->syntaxMessages()) {
        if (message.begin <= column && column <= message.end)
            text = message.text;
    }
    return text;
}

CodeEditor::CodeEditor(QWidget *parent)
    : QPlainTextEdit(parent)
    , d(new CodeEditorPrivate(this))
{
    setLineWrapMode(NoWrap);
    viewport()->setMouseTracking(true); // brings back the mouse cursor that typing hides
    d->updateTabStop();
    d->updateMarginGeometry();
}

CodeEditor::~CodeEditor()
{
    // Qt's part of the editor still sends signals while it is being destroyed.
    d->attach(nullptr);
    delete d;
}

void CodeEditor::setDocument(CodeDocument *document)
{
    d->attach(nullptr);
    d->blockTimer.stop();
    d->parenTimer.stop();
    d->clearBlocks();
    d->endDrag();
    d->marginLeft();
    d->parenSelections.clear();
    d->lastLine = -1;
    d->changedFrom = d->changedTo = -1;
    d->completer->popup()->hide();
    setExtraSelections({});
    QPlainTextEdit::setDocument(document);
    d->attach(document);
    // It may have changed while it was not shown, all of it.
    const int last = QPlainTextEdit::document()->characterCount() - 1;
    d->charactersChanged(0, last);
    d->depthChangedTo = last;
    d->foldedBlocks = -1;
    d->restoreFolds();
    d->updateTabStop();
    d->updateMarginGeometry();
    d->extraArea->update();
    d->cursorMoved();
}

CodeDocument *CodeEditor::codeDocument() const
{
    return d->document;
}

void CodeEditor::setSyntaxFormatting(const SyntaxFormatting &formatting)
{
    d->format = formatting;
    d->matchParens();
    d->updateSelections();
    d->updateMarginGeometry();
    d->extraArea->update();
    viewport()->update();
    updateBlockHighlight();
}

const CodeEditor::SyntaxFormatting &CodeEditor::syntaxFormatting() const
{
    return d->format;
}

void CodeEditor::setParenRangePainted(bool painted)
{
    d->paintParenRange = painted;
    d->parenTimer.start(0);
}

void CodeEditor::updateBlockHighlight()
{
    if (d->format.highlightBlocks) {
        d->cursorMoved();
        return;
    }
    d->clearBlocks();
}

void CodeEditor::markHits(const QString &text, unsigned int flags)
{
    d->hits->search(text, flags);
}

CodeEditor::HitState CodeEditor::hitState() const
{
    return HitState(d->hits->state());
}

int CodeEditor::hitCount() const
{
    return d->hits->hits().size();
}

int CodeEditor::selectedHit() const
{
    const int start = textCursor().selectionStart();
    const int length = textCursor().selectionEnd() - start;
    const int index = d->hits->firstBehind(start);
    const TextMatch hit = d->hits->hits().value(index);
    return length > 0 && hit.position == start && hit.length == length ? index + 1 : 0;
}

CodeEditor::LinePos CodeEditor::currentLine() const
{
    const QTextCursor cursor = textCursor();
    return {cursor.blockNumber(), cursor.positionInBlock(), verticalScrollBar()->value()};
}

void CodeEditor::setCurrentLine(const LinePos &place)
{
    const int line = qBound(0, place.line, document()->blockCount() - 1);
    const QTextBlock block = document()->findBlockByNumber(line);
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + qBound(0, place.column, block.length() - 1));
    const QPointer<QTextDocument> shown(document());
    setTextCursor(cursor);
    if (!shown || document() != shown) // closed by who heard of the line
        return;
    const int middle = block.firstLineNumber() - displayedLineCount() / 2;
    verticalScrollBar()->setValue(place.scroll < 0 ? middle : place.scroll);
    d->parenTimer.start(ParenDelay);
    emit cursorChanged(QPoint(line, cursor.positionInBlock()));
}

void CodeEditor::setCurrentLine(int line, LineType type)
{
    const int last = document()->blockCount() - 1;
    line = qBound(0, line, last);
    const QTextBlock block = document()->findBlockByNumber(line);
    d->reveal(block);
    if (line >= displayedLineCount() && type != NoPlacement) {
        const int above = type == TopPlacement ? 0 : displayedLineCount() / 2;
        // The scroll bar cuts the value near the end, so that no view runs past the last line.
        verticalScrollBar()->setValue(block.firstLineNumber() - above);
    }
    setTextCursor(QTextCursor(block));
    d->parenTimer.start(ParenDelay);
}

int CodeEditor::displayedLineCount() const
{
    const QTextLayout *first = firstVisibleBlock().layout();
    const qreal height =
        first->lineCount() ? first->lineAt(0).height() : fontMetrics().lineSpacing();
    return qMax(1, static_cast<int>(viewport()->height() / qMax(qreal(1), height)));
}

bool CodeEditor::completerFromFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly);
}

void CodeEditor::resizeEvent(QResizeEvent *event)
{
    const int bottom = cursorRect().bottom();
    QPlainTextEdit::resizeEvent(event);
    d->updateMarginGeometry();
    // A bar or a panel that takes room does not cover the line that is being edited.
    if (bottom >= viewport()->height() && bottom < event->oldSize().height())
        ensureCursorVisible();
}

void CodeEditor::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    switch (event->type()) {
    case QEvent::FontChange:
        d->extraArea->setFont(font());
        d->updateTabStop();
        d->updateMarginGeometry();
        if (d->format.highlightBlocks)
            d->blockTimer.start(BlockDelay);
        break;
    case QEvent::ReadOnlyChange:
        d->matchParens();
        break;
    case QEvent::LayoutDirectionChange:
        d->updateMarginGeometry();
        break;
    default:
        break;
    }
}

void CodeEditor::mouseMoveEvent(QMouseEvent *event)
{
    viewport()->setCursor(Qt::IBeamCursor);
    QPlainTextEdit::mouseMoveEvent(event);
}

bool CodeEditor::viewportEvent(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QPlainTextEdit::viewportEvent(event);
    if (QApplication::keyboardModifiers() & Qt::ControlModifier)
        return true;
    const auto *help = static_cast<QHelpEvent *>(event);
    const QString text = d->messageAt(help->pos());
    if (text.isEmpty())
        QToolTip::hideText();
    else
        QToolTip::showText(help->globalPos(), plainToolTip(text), viewport());
    return true;
}

// The address of a file is nothing to insert in code; the window may open it.
void CodeEditor::dragEnterEvent(QDragEnterEvent *event)
{
    if (!event->mimeData()->hasUrls())
        QPlainTextEdit::dragEnterEvent(event);
}

QMimeData *CodeEditor::createMimeDataFromSelection() const
{
    auto *data = new QMimeData;
    data->setText(
        textCursor().selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n')));
    return data;
}

} // namespace Kiln
