#pragma once

#include "editortest.h"

#include <engines/ember/emberengine.h>
#include <kilnx/codeedit/codefileeditor.h>
#include <kilnx/codeedit/codeworkspace.h>
#include <kilnx/codeedit/snippets.h>
#include <tests/support/release.h>
#include <tests/support/testhost.h>

using Document = std::unique_ptr<Kiln::CodeDocument, Release>;

constexpr unsigned int Quiet = 16;

class TestedEditor : public Kiln::CodeFileEditor
{
public:
    explicit TestedEditor(Kiln::CodeWorkspace *workspace, const char *treeKey = "code_tree")
        : CodeFileEditor(workspace, treeKey)
    {
    }
    QAction *action() const override { return nullptr; }
    const char *name() const override { return "states"; }
    Kiln::Project::FileID::Type canEditFileType() override
    {
        return Kiln::Project::FileID::Type(32);
    }
    void hostReserved15() override {}
};

/// A test of the shared view: a host, and an editor that shows a plain document in it.
class WorkspaceTest : public QObject
{
protected:
    void open()
    {
        m_host = std::make_unique<TestHost>();
        m_directory = std::make_unique<QTemporaryDir>();
        m_host->userDirectory = m_directory->path();
        m_host->dataDirectory = m_directory->path();
        m_host->currentEngine = &EmberEngine::instance();
        m_host->options["font_size"] = 11;
        m_host->options["font_name"] = "Courier";
        m_workspace = std::make_unique<Kiln::CodeWorkspace>(*m_host);
        m_workspace->reconfig();
        m_workspace->widget()->resize(700, 500);
        QVERIFY(showActive(*m_workspace->widget()));
        m_editor = std::make_unique<TestedEditor>(m_workspace.get());
        m_document.reset(new PlainDocument);
        m_editor->activate();
        m_editor->setCurrentFile(m_document.get());
    }

    void close()
    {
        QCOMPARE(m_host->dialogs().finish(), QString());
        m_editor.reset();
        m_workspace.reset();
        m_document.reset();
        Kiln::SnippetManager::instance()->setDirectory(QString());
        m_host.reset();
    }

    Kiln::CodeEditor *view() const { return m_workspace->editor(); }
    void select(int anchor, int position)
    {
        QTextCursor cursor = view()->textCursor();
        cursor.setPosition(anchor);
        cursor.setPosition(position, QTextCursor::KeepAnchor);
        view()->setTextCursor(cursor);
    }

    QPoint place() const { return {view()->currentLine().line, view()->currentLine().column}; }

    std::unique_ptr<TestHost> m_host;
    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<Kiln::CodeWorkspace> m_workspace;
    std::unique_ptr<TestedEditor> m_editor;
    Document m_document;
};
