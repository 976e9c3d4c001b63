#pragma once

#include <kilnx/codeedit/codeeditor.h>
#include <kilnx/export.h>
#include <kilnx/project/workspace.h>

#include <QtCore/QPointer>
#include <QtGui/QFont>

#include <memory>

class QAbstractItemModel;
class QTextDocument;

namespace Kiln
{

class CodeDocument;
class CodeWorkspacePrivate;

/// The one code view of the application, in which all editors of code show their documents: a
/// CodeEditor, a tool bar with the actions of code, a list of the document's messages and one of
/// the snippets. The host makes it before the editors and destroys it with release() after them.
///
/// It makes the code actions of the host's menus "edit" and "view", and writes field 2 of the
/// status bar, the encoding; the host calls statusClicked() when the user clicks there. Actions do
/// nothing while the view is read-only or has no document.
class KILNX_EXPORT CodeWorkspace : public Workspace
{
    Q_OBJECT

public:
    explicit CodeWorkspace(Interface &host);
    ~CodeWorkspace() override;

    /// "code".
    const char *name() const override;
    QWidget *widget() const override;
    CodeEditor *editor() const;
    /// Puts a widget below the text. The workspace owns it from here on.
    void addWidget(QWidget *widget);

    /// Shows another document, or none for null. Each document keeps its place: line, column and
    /// scroll bar are stored with the old one and taken up again from the new one.
    void setDocument(CodeDocument *document);
    /// Stores the place at which a document will be shown next.
    static void rememberPlace(QTextDocument *document, const CodeEditor::LinePos &place);

    /// When true, lists the engine's snippets, Interface::userPath() + its path + "/snippets".
    void engineSwitched(bool switched) override;
    /// Shows the tool bar if the option "show_code_bar" is true.
    void activate() override;
    void deactivate() override;
    /// Reads the options "code_line_numbers", "code_highlight_line", "code_highlight_blocks",
    /// "code_folding_markers", "code_paren_matching", "code_auto_indent", "code_tab_spaces" and
    /// "code_tab_width" (characters, 4 by default), the colours "line", "block_range" and
    /// "paren_range", the second colour of "paren", and the font as zoomActual() does.
    void reconfig() override;
    void retranslate() override;
    /// Asks for the document's encoding, and whether to load the file again in it.
    void statusClicked() override;
    /// The font of the options "font_name" and "font_size", in points.
    void zoomActual() override;
    void zoomIn() override;
    void zoomOut() override;
    void release() override;

public Q_SLOTS:
    /// Shows or hides the tool bar, and keeps that as the option "show_code_bar".
    void showTextBar(bool shown);
    /// Inserts the chosen snippet, after asking for its fields; the word "CURSOR" in it becomes the
    /// place of the cursor.
    void snipInsert();
    void snipNew();
    void snipEdit();
    void goToLine();
    void nextError();
    void prevError();
    void nextDepr();
    void prevDepr();
    /// Comments the selected lines or, where the first is a comment, takes the comment character
    /// from every line that starts with it.
    void comment();
    void foldAll();
    void unfoldAll();

private:
    void createActions();
    void enableBarAction(bool enabled);
    void createToolBar();
    void goToMessage(int type, bool forward);
    void setCodeFont(const QFont &font);
    void updateStatus();
    bool canEdit() const;
    bool showsStill(const QPointer<QAbstractItemModel> &model) const;
    void editSnippet(const QString &file);

    std::unique_ptr<CodeWorkspacePrivate> d;
};

} // namespace Kiln
