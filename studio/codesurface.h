#pragma once

#include <kilnx/project/workspace.h>

#include <QHash>
#include <QPlainTextEdit>
#include <QPoint>

class QTreeView;

namespace Kiln
{
class CodeDocument;
}

namespace Studio
{

/// The text view of a code file: a plain one that marks the current line.
class CodeText : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit CodeText(QWidget *parent = nullptr);

    /// The ground of the current line; an invalid colour marks none.
    void setLineColor(const QColor &color);

private:
    void markLine();

    QColor m_lineColor;
};

/// The one view of code in Studio, shared by the editors of all code files.
///
/// It remembers the place in each document, shows the tree of nodes in a dock of the host, lets
/// the tree follow the cursor and jumps to a node that is activated there.
class CodeSurface : public Kiln::Workspace
{
    Q_OBJECT

public:
    explicit CodeSurface(Kiln::Interface &host);

    const char *name() const override { return "code"; }
    QWidget *widget() const override { return m_text; }
    void reconfig() override;
    void retranslate() override {}
    void statusClicked() override;
    void zoomActual() override;
    void zoomIn() override;
    void zoomOut() override;
    void release() override;

    CodeText *text() const { return m_text; }
    Kiln::CodeDocument *document() const { return m_document; }

    /// Shows another document, null for none. A document must be taken away before it ends.
    void setDocument(Kiln::CodeDocument *document);

    /// Puts the cursor on a place and the place in the middle of the view; both from 0. Beyond
    /// the text it is the last line, or the end of the line.
    void showPlace(int line, int column);

public slots:
    /// The tree's row was activated.
    void selectedItem(const QModelIndex &index);

private:
    ~CodeSurface() override;
    void setFontSize(int points);
    void followCursor();
    void keepPlace(int position, int removed, int added);
    void updateStatus();
    void updateSyntaxFormats();
    void chooseEncoding(int codecId);

    CodeText *m_text;
    QTreeView *m_tree;
    Kiln::CodeDocument *m_document = nullptr;
    QHash<const void *, QPoint> m_places; ///< cursor position and scroll value by document
    QMetaObject::Connection m_contents;
    QMetaObject::Connection m_replaced;
    QPoint m_place; ///< column and line of the cursor, as last seen
    int m_line = -1;
};

} // namespace Studio
