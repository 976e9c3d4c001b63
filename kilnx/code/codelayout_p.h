#pragma once

#include <QtGui/QTextBlock>
#include <QtWidgets/QPlainTextDocumentLayout>
#include <array>

namespace Kiln
{
/// The layout of a code document: Qt's own, with less to do for each key.
///
/// Qt looks for the end of a change behind all characters that were removed, as if they still stood
/// there. With the whole line that a highlighter marks, that reaches into the lines below, and the
/// view repaints all of itself. Qt also lays a changed line out twice, the first time to learn how
/// high it was before, and then forgets the shapes of its characters: to paint the line and its
/// cursor it finds them again each time. Here the height and the shapes of the line that is being
/// typed in are kept.
class CodeLayout : public QPlainTextDocumentLayout
{
public:
    using QPlainTextDocumentLayout::QPlainTextDocumentLayout;

protected:
    void documentChanged(int from, int charsRemoved, int charsAdded) override;

private:
    void keep(const QTextBlock &line);

    int m_blockCount = 1;               ///< at the last change
    QTextBlock m_lastLine;              ///< that alone was changed last
    QTextBlock m_keptLine;              ///< that was changed twice running, or is long
    qreal m_keptHeight = -1;            ///< not known at first
    std::array<QTextBlock, 3> m_shaped; ///< whose characters keep their shapes
};
} // namespace Kiln
