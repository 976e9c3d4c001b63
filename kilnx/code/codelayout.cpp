#include <QtCore/QScopedValueRollback>
#include <QtGui/QTextLayout>
#include <kilnx/code/codelayout_p.h>

namespace Kiln
{
namespace
{
constexpr int longLine = 10000; // characters
} // namespace

void CodeLayout::documentChanged(int from, int charsRemoved, int charsAdded)
{
    const QScopedValueRollback<bool> changing(m_isChanging, true);
    const int blockCount = document()->blockCount();
    const bool sameLines = blockCount == m_blockCount;
    m_blockCount = blockCount;
    if (!sameLines) {
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
    // A change of the text has taken the old layout away. What is not known of a long line is not
    // worth a layout.
    const bool isGone = m_keptLine.isValid() && line.isVisible() && line.layout()->lineCount() == 0;
    if (isGone && (m_keptHeight >= 0 || isLong)) {
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
        line.layout()->setCacheEnabled(true);
}

QRectF CodeLayout::blockBoundingRect(const QTextBlock &block) const
{
    if (!m_isChanging && block.isValid() && block.layout()->lineCount() == 0)
        block.layout()->setCacheEnabled(true);
    return QPlainTextDocumentLayout::blockBoundingRect(block);
}
} // namespace Kiln
