#include <kilnx/code/codelayout_p.h>

#include <QtCore/QScopedValueRollback>
#include <QtGui/QTextLayout>

namespace Kiln
{
namespace
{
constexpr int longLine = 10000;  // characters
constexpr int shapedLines = 500; // more than the views of a text show at once
} // namespace

CodeLayout::CodeLayout(QTextDocument *document)
    : QPlainTextDocumentLayout(document)
{
    m_dropTimer.setSingleShot(true);
    connect(&m_dropTimer, &QTimer::timeout, this, &CodeLayout::dropShapes);
}

void CodeLayout::documentChanged(int from, int charsRemoved, int charsAdded)
{
    const QScopedValueRollback<bool> changing(m_isChanging, true);
    const int blockCount = document()->blockCount();
    const bool sameLines = blockCount == m_blockCount;
    if (!sameLines) {
        moveNumbers(document()->findBlock(from).blockNumber(), blockCount - m_blockCount);
        m_blockCount = blockCount;
        m_lastLine = QTextBlock();
        keep(m_lastLine);
        QPlainTextDocumentLayout::documentChanged(from, charsRemoved, charsAdded);
        return;
    }
    const int length = qMax(1, charsAdded);
    QTextBlock line = document()->findBlock(from);
    if (!line.contains(from + length - 1))
        line = QTextBlock(); // more than one
    const bool isLong = line.length() > longLine;
    keep(line == m_lastLine || isLong ? line : QTextBlock());
    m_lastLine = line;
    // A change of the text, or of what an input method composes in it, has taken the old layout
    // away, and Qt takes the height that the line has now for the one that it had.
    const bool isGone = line.isValid() && line.isVisible() && line.layout()->lineCount() == 0;
    if (isGone) {
        if (blockBoundingRect(line).height() == m_keptHeight)
            emit updateBlock(line);
        else
            emit update();
    } else {
        QPlainTextDocumentLayout::documentChanged(from, 0, length);
    }
    if (m_keptLine.isValid())
        m_keptHeight = blockBoundingRect(m_keptLine).height();
}

void CodeLayout::keep(const QTextBlock &line)
{
    if (line == m_keptLine)
        return;
    m_keptLine = line;
    m_keptHeight = -1;
    if (line.isValid())
        keepShapes(line);
}

void CodeLayout::keepShapes(const QTextBlock &line) const
{
    if (line.layout()->cacheEnabled())
        return;
    line.layout()->setCacheEnabled(true);
    m_shapedLines.append(line.blockNumber());
    if (m_shapedLines.size() == 2 * shapedLines)
        m_dropTimer.start(0);
}

void CodeLayout::moveNumbers(int from, int by)
{
    for (int &number : m_shapedLines) {
        if (number > from)
            number = qMax(from, number + by);
    }
}

// A text that is set on the layout of a document's line is not used, but frees all that was made of
// the one before.
void CodeLayout::dropShapes()
{
    const int count = m_shapedLines.size() - shapedLines;
    for (int i = 0; i < count; ++i) {
        const QTextBlock line = document()->findBlockByNumber(m_shapedLines.at(i));
        if (!line.isValid())
            continue;
        line.layout()->setCacheEnabled(false);
        line.layout()->setText(QString());
    }
    m_shapedLines.remove(0, qMax(0, count));
}

QRectF CodeLayout::blockBoundingRect(const QTextBlock &block) const
{
    if (!m_isChanging && block.isValid() && block.layout()->lineCount() == 0)
        keepShapes(block);
    return QPlainTextDocumentLayout::blockBoundingRect(block);
}
} // namespace Kiln
