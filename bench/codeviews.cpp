#include "codeviews.h"

#include <ember/emberdocument.h>
#include <ember/emberwords.h>
#include <kilnx/codeedit/codeeditor.h>
#include <kilnx/codeedit/codefileeditor.h>
#include <kilnx/codeedit/codeworkspace.h>
#include <tests/support/testhost.h>

#include <KActionCollection>
#include <KTextEditor/Document>
#include <KTextEditor/Editor>
#include <KTextEditor/View>

#include <Qsci/qscilexerproperties.h>
#include <Qsci/qsciscintilla.h>

#include <QtTest/QTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QVBoxLayout>

namespace
{

/// A file editor, for its search and its node tree.
class Searcher : public Kiln::CodeFileEditor
{
public:
    explicit Searcher(Kiln::CodeWorkspace *workspace)
        : CodeFileEditor(workspace, "code_tree")
    {
    }
    QAction *action() const override { return nullptr; }
    const char *name() const override { return "bench"; }
    Kiln::Project::FileID::Type canEditFileType() override { return Kiln::Project::FileID::Code; }
    void hostReserved15() override {}
};

class Kilnx : public CodeBenchView
{
public:
    Kilnx()
        : m_workspace(m_host)
        , m_searcher(&m_workspace)
        , m_document(new EmberDocument(EmberDocument::States))
    {
        Kiln::CodeEditor::SyntaxFormatting formatting;
        formatting.highlightBlocks = true;
        editor()->setSyntaxFormatting(formatting);
        m_searcher.setCurrentFile(m_document);
    }
    ~Kilnx() override
    {
        m_searcher.setCurrentFile(nullptr);
        m_document->release();
    }
    QWidget *widget() override { return m_workspace.widget(); }
    QWidget *input() override { return editor(); }
    QWidget *canvas() override { return editor()->viewport(); }
    void load(const QString &text) override { m_document->fromString(text); }
    void goTo(int line) override { editor()->setCurrentLine(line, Kiln::CodeEditor::TopPlacement); }
    bool foldAll() override
    {
        editor()->foldAll();
        return true;
    }
    bool unfoldAll() override
    {
        editor()->unfoldAll();
        return true;
    }
    int lastLineOnScreen() override
    {
        return editor()->cursorForPosition(canvas()->rect().bottomLeft()).blockNumber();
    }
    bool find(const QString &text) override
    {
        return m_searcher.Kiln::CodeFileEditor::find(m_document, text, 0);
    }

    /// The words to offer, and the node tree, which is always at the cursor's row.
    void standInAWindow() override
    {
        if (m_searcher.isActive())
            return;
        new EmberWords(editor());
        m_host.options[QStringLiteral("auto_expand_tree")] = true;
        m_searcher.activate();
    }

private:
    Kiln::CodeEditor *editor() { return m_workspace.editor(); }

    TestHost m_host;
    Kiln::CodeWorkspace m_workspace;
    Searcher m_searcher;
    EmberDocument *m_document;
};

class Bare : public CodeBenchView
{
public:
    Bare() { m_edit.setLineWrapMode(QPlainTextEdit::NoWrap); } // as the others
    QWidget *widget() override { return &m_edit; }
    QWidget *input() override { return &m_edit; }
    QWidget *canvas() override { return m_edit.viewport(); }
    void load(const QString &text) override { m_edit.setPlainText(text); }
    void goTo(int line) override
    {
        m_edit.setTextCursor(QTextCursor(m_edit.document()->findBlockByNumber(line)));
    }
    bool find(const QString &text) override { return m_edit.find(text); }

private:
    QPlainTextEdit m_edit;
};

class Scintilla : public CodeBenchView
{
public:
    Scintilla()
    {
        m_edit.setLexer(new QsciLexerProperties(&m_edit));
        m_edit.setFolding(QsciScintilla::BoxedTreeFoldStyle);
        m_edit.setMarginLineNumbers(0, true);
        m_edit.setCaretLineVisible(true);
        m_edit.setBraceMatching(QsciScintilla::SloppyBraceMatch);
    }
    QWidget *widget() override { return &m_edit; }
    QWidget *input() override { return &m_edit; }
    QWidget *canvas() override { return m_edit.viewport(); }
    void load(const QString &text) override { m_edit.setText(text); }
    void goTo(int line) override
    {
        m_edit.setCursorPosition(line, 0);
        m_edit.setFirstVisibleLine(line);
    }
    bool foldAll() override
    {
        m_edit.SendScintilla(QsciScintillaBase::SCI_FOLDALL, 0ul);
        return true;
    }
    bool unfoldAll() override
    {
        m_edit.SendScintilla(QsciScintillaBase::SCI_FOLDALL, 1ul);
        return true;
    }
    int lastLineOnScreen() override
    {
        const long onScreen = m_edit.SendScintilla(QsciScintillaBase::SCI_LINESONSCREEN);
        return int(m_edit.SendScintilla(QsciScintillaBase::SCI_DOCLINEFROMVISIBLE,
                                        m_edit.firstVisibleLine() + onScreen));
    }
    bool find(const QString &text) override
    {
        return m_edit.findFirst(text, false, false, false, false, true, 0, 0);
    }

private:
    QsciScintilla m_edit;
};

class Kate : public CodeBenchView
{
public:
    Kate()
        : m_document(KTextEditor::Editor::instance()->createDocument(nullptr))
        , m_view(m_document->createView(&m_frame))
    {
        auto *layout = new QVBoxLayout(&m_frame);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(m_view);
        m_document->setHighlightingMode(QStringLiteral("INI Files"));
        m_document->setMode(QStringLiteral("INI Files"));
    }
    ~Kate() override
    {
        delete m_view;
        delete m_document;
    }
    QWidget *widget() override { return &m_frame; }
    QWidget *input() override { return m_view->focusProxy() ? m_view->focusProxy() : m_view; }
    QWidget *canvas() override { return input(); }
    void load(const QString &text) override
    {
        m_document->setText(text);
        m_view->setCursorPosition({0, 0}); // where the others have theirs after it
    }
    void goTo(int line) override { m_view->setCursorPosition({line, 0}); }
    bool pageDown() override { return act("scroll_page_down"); } // its key is that of the action
    /// Nearly half a millisecond a line: the turns on 100,000 would take minutes.
    bool foldAll() override { return m_document->lines() < 50000 && act("folding_toplevel"); }
    bool unfoldAll() override
    {
        return m_document->lines() < 50000 && (act("folding_expandtoplevel") || act("unfold_all"));
    }
    int lastLineOnScreen() override
    {
        return m_view->lastDisplayedLine(KTextEditor::View::RealLine);
    }
    bool find(const QString &text) override
    {
        const auto found =
            m_document->searchText(m_document->documentRange(), text, KTextEditor::Default);
        if (found.isEmpty() || !found.first().isValid())
            return false;
        m_view->setCursorPosition(found.first().start());
        m_view->setSelection(found.first());
        return true;
    }

private:
    bool act(const char *name)
    {
        QAction *action = m_view->actionCollection()->action(QLatin1String(name));
        if (action)
            action->trigger();
        return action;
    }

    QWidget m_frame;
    KTextEditor::Document *m_document;
    KTextEditor::View *m_view;
};

} // namespace

bool CodeBenchView::pageDown()
{
    QTest::keyClick(input(), Qt::Key_PageDown);
    return true;
}

std::unique_ptr<CodeBenchView> makeView(CodeViewKind kind)
{
    switch (kind) {
    case KilnView:
        return std::make_unique<Kilnx>();
    case BareView:
        return std::make_unique<Bare>();
    case ScintillaView:
        return std::make_unique<Scintilla>();
    default:
        return std::make_unique<Kate>();
    }
}
