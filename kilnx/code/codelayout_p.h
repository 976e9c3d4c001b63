#pragma once

#include <QtCore/QTimer>
#include <QtCore/QVector>
#include <QtGui/QTextBlock>
#include <QtWidgets/QPlainTextDocumentLayout>

namespace Kiln
{
/// The layout of a code document: Qt's own, with less to do for each key.
///
/// Qt looks for the end of a change behind all characters that were removed, as if they still stood
/// there. With the whole line that a highlighter marks, that reaches into the lines below, and the
/// view repaints all of itself. Qt also lays a changed line out twice, the first time to learn how
/// high it was before; here the height of the line that is being typed in is kept.
///
/// A line that a view asks for keeps the shapes of its characters. Qt forgets them once it knows
/// their places, and finds them again to paint the line, from when on they stay all the same.
class CodeLayout : public QPlainTextDocumentLayout
{
    Q_OBJECT

public:
    explicit CodeLayout(QTextDocument *document);

    QRectF blockBoundingRect(const QTextBlock &block) const override;

Q_SIGNALS:
    /// The folding indent of a line is another, also of one behind the edit that led to it: the
    /// edit is not told as done yet.
    void depthChanged(const QTextBlock &line);

protected:
    void documentChanged(int from, int charsRemoved, int charsAdded) override;

private:
    void keep(const QTextBlock &line);
    void keepShapes(const QTextBlock &line) const;
    void moveNumbers(int from, int by);
    void dropShapes();

    int m_blockCount = 1;    ///< at the last change
    QTextBlock m_lastLine;   ///< that alone was changed last
    QTextBlock m_keptLine;   ///< that was changed twice running, or is long
    qreal m_keptHeight = -1; ///< not known at first
    bool m_isChanging = false;
    /// Numbers of the lines that keep their shapes, the latest last. After a change of the text
    /// some may tell another line, which then loses its layout early.
    mutable QVector<int> m_shapedLines;
    mutable QTimer m_dropTimer; ///< a paint may still need what is dropped
};
} // namespace Kiln
