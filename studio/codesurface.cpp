#include "codesurface.h"

#include "widgets.h"

#include <kilnx/code/codedocument.h>
#include <kilnx/code/messages.h>
#include <kilnx/code/textcodecs.h>
#include <kilnx/editors/controls.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/interface.h>

#include <QInputDialog>
#include <QScrollBar>
#include <QTextBlock>
#include <QTreeView>

namespace Studio
{

CodeText::CodeText(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setLineWrapMode(QPlainTextEdit::NoWrap);
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, &CodeText::markLine);
}

void CodeText::setLineColor(const QColor &color)
{
    m_lineColor = color;
    markLine();
}

void CodeText::markLine()
{
    QList<QTextEdit::ExtraSelection> selections;
    if (m_lineColor.isValid()) {
        QTextEdit::ExtraSelection line;
        line.format.setBackground(m_lineColor);
        line.format.setProperty(QTextFormat::FullWidthSelection, true);
        line.cursor = textCursor();
        line.cursor.clearSelection();
        selections.append(line);
    }
    setExtraSelections(selections);
}

CodeSurface::CodeSurface(Kiln::Interface &host)
    : Kiln::Workspace(host)
    , m_text(named(new CodeText, "code_text", tr("Code")))
{
    Kiln::ListViewControl tree;
    tree.receiver = this;
    tree.slot = "1selectedItem(QModelIndex)";
    m_tree = qobject_cast<QTreeView *>(host.addControl(QStringLiteral("code_tree"), tree));
    m_tree->setAccessibleName(tr("Nodes of the file"));
    connect(m_text, &QPlainTextEdit::cursorPositionChanged, this, &CodeSurface::followCursor);
}

CodeSurface::~CodeSurface() = default;

void CodeSurface::release()
{
    setDocument(nullptr);
    delete this;
}

void CodeSurface::reconfig()
{
    updateSyntaxFormats();
    m_text->setLineColor(interface->option(QStringLiteral("code_highlight_line"), {}).toBool()
                             ? interface->colorOption(QStringLiteral("line"))
                             : QColor());
    zoomActual();
}

void CodeSurface::zoomActual()
{
    setFontSize(interface->option(QStringLiteral("font_size"), 10).toInt());
}

void CodeSurface::zoomIn()
{
    setFontSize(m_text->font().pointSize() + 2);
}

void CodeSurface::zoomOut()
{
    setFontSize(m_text->font().pointSize() - 2);
}

void CodeSurface::statusClicked()
{
    if (!m_document)
        return;
    QStringList names;
    for (int id = 0; id < Kiln::TextCodecs::count(); ++id)
        names.append(Kiln::TextCodecs::name(id));
    bool accepted = false;
    const QString name =
        QInputDialog::getItem(interface->mainWindow(), tr("Encoding"), tr("Encoding of the file:"),
                              names, m_document->codecId(), false, &accepted);
    if (accepted)
        chooseEncoding(names.indexOf(name));
}

void CodeSurface::chooseEncoding(int codecId)
{
    m_document->setCodecId(codecId);
    if (m_document->fileExists() &&
        Kiln::askQuestion(interface->mainWindow(), tr("Reload"),
                          tr("Do you want to reload the file using the specified encoding?"))) {
        m_document->reload();
    }
    updateStatus();
}

void CodeSurface::setDocument(Kiln::CodeDocument *document)
{
    if (document == m_document)
        return;
    disconnect(m_contents);
    disconnect(m_replaced);
    if (m_document) {
        m_places.insert(m_document,
                        {m_text->textCursor().position(), m_text->verticalScrollBar()->value()});
    }
    // The view tells of a cursor as soon as it has the document: the tree must be there by then.
    QItemSelectionModel *oldSelection = m_tree->selectionModel();
    m_tree->setModel(document ? document->model() : nullptr);
    delete oldSelection;
    m_document = document;
    m_line = -1;
    m_text->setDocument(document);
    m_text->setReadOnly(!document);
    if (!document) {
        updateStatus();
        return;
    }
    setFontSize(m_text->font().pointSize());
    const QPoint place = m_places.value(document);
    QTextCursor cursor(document);
    cursor.setPosition(qBound(0, place.x(), document->characterCount() - 1));
    m_text->setTextCursor(cursor);
    m_text->verticalScrollBar()->setValue(place.y());
    m_replaced = connect(static_cast<QTextDocument *>(document), &QTextDocument::contentsChange,
                         this, &CodeSurface::keepPlace);
    m_contents = connect(static_cast<QTextDocument *>(document), &QTextDocument::contentsChanged,
                         this, &CodeSurface::followCursor);
    followCursor();
}

void CodeSurface::showPlace(int line, int column)
{
    if (!m_document)
        return;
    const QTextBlock block =
        m_document->findBlockByNumber(qBound(0, line, m_document->blockCount() - 1));
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + qBound(0, column, block.length() - 1));
    m_text->setTextCursor(cursor);
    m_text->centerCursor();
    m_text->setFocus(Qt::OtherFocusReason);
}

void CodeSurface::selectedItem(const QModelIndex &index)
{
    if (m_document && index.isValid())
        showPlace(m_document->lineNo(index), 0);
}

void CodeSurface::setFontSize(int points)
{
    QFont font(
        interface->option(QStringLiteral("font_name"), QStringLiteral("Courier")).toString());
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    font.setPointSize(qBound(5, points, 72));
    m_text->setFont(font);
    m_text->setTabStopDistance(4 * QFontMetricsF(font).horizontalAdvance(QLatin1Char(' ')));
    if (m_document)
        m_document->setDefaultFont(font);
}

// After a change of text the line may be another node's although the cursor has not left it.
void CodeSurface::followCursor()
{
    updateStatus();
    if (!m_document || !interface->option(QStringLiteral("auto_expand_tree"), {}).toBool())
        return;
    const int line = m_text->textCursor().blockNumber();
    const QModelIndex index = m_document->indexInLine(line);
    if (line == m_line && index == m_tree->currentIndex())
        return;
    m_line = line;
    if (!index.isValid()) {
        m_tree->selectionModel()->clear();
        return;
    }
    m_tree->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    m_tree->expand(index);
    m_tree->scrollTo(index);
}

// A document that is loaded again leaves the cursor at its end. It is told from an edit of the
// whole text by the undo stack, which a load empties.
void CodeSurface::keepPlace(int position, int removed, int added)
{
    const bool whole = position == 0 && removed > 1 && added >= m_document->characterCount() - 1;
    if (!whole || m_document->isUndoAvailable() || m_document->isRedoAvailable())
        return;
    const auto restore = [this, document = m_document, place = m_place] {
        if (m_document == document)
            showPlace(place.y(), place.x());
    };
    QMetaObject::invokeMethod(this, restore, Qt::QueuedConnection);
}

void CodeSurface::updateStatus()
{
    if (!m_document) {
        for (int field = 0; field < 3; ++field)
            interface->setStatusText(field, QString());
        return;
    }
    const QTextCursor cursor = m_text->textCursor();
    m_place = QPoint(cursor.positionInBlock(), cursor.blockNumber());
    interface->setStatusText(0, tr("Line: %1, Column: %2, Line count: %3")
                                    .arg(cursor.blockNumber() + 1)
                                    .arg(cursor.positionInBlock() + 1)
                                    .arg(m_document->blockCount()));
    interface->setStatusText(
        1, tr("Syntax error count: %1").arg(m_document->messages()->count(Kiln::Message::Error)));
    interface->setStatusText(2, tr("Encoding: %1").arg(m_document->codecName()));
}

// Family and size are left out, so that they follow the font of the document.
void CodeSurface::updateSyntaxFormats()
{
    using Syntax = Kiln::CodeParserSyntax;
    for (int type = Syntax::Default; type <= Syntax::Function; ++type) {
        QTextCharFormat format;
        format.setForeground(interface->colorOption(QStringLiteral("token%1").arg(type)));
        format.setFontItalic(type == Syntax::Comment);
        const bool bold = type >= Syntax::Name && type <= Syntax::Constant;
        format.setFontWeight(bold ? QFont::Bold : QFont::Normal);
        Kiln::CodeDocument::setSyntaxFormat(Syntax::TokenType(type), format);
    }
}

} // namespace Studio
