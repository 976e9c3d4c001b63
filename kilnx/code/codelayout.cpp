#include <QtGui/QTextLayout>
#include <kilnx/code/codelayout_p.h>

namespace Kiln
{
void CodeLayout::documentChanged(int from, int charsRemoved, int charsAdded)
{
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
    // A change of the text has taken the old layout away.
    if (line.isValid() && line == m_keptLine && line.isVisible() &&
        line.layout()->lineCount() == 0) {
        const qreal height = blockBoundingRect(line).height();
        if (height == m_keptHeight)
            emit updateBlock(line);
        else
            emit update();
        m_keptHeight = height;
        return;
    }
    keep(line == m_lastLine ? line : QTextBlock());
    m_lastLine = line;
    QPlainTextDocumentLayout::documentChanged(from, 0, length);
    if (m_keptLine.isValid())
        m_keptHeight = blockBoundingRect(m_keptLine).height();
}

void CodeLayout::keep(const QTextBlock &line)
{
    if (line == m_keptLine)
        return;
    if (m_keptLine.isValid()) {
        m_keptLine.layout()->setCacheEnabled(false);
        m_keptLine.clearLayout();
        blockBoundingRect(m_keptLine); // lays it out anew and forgets the shapes
    }
    m_keptLine = line;
    if (line.isValid())
        line.layout()->setCacheEnabled(true);
}
} // namespace Kiln
