#pragma once

#include <kilnx/project/fileeditor.h>

#include <QTextCursor>

namespace Kiln
{
class CodeDocument;
class OrganizerEditor;
} // namespace Kiln

namespace Studio
{

class CodeSurface;

/// The editor of one type of code file, on the surface that all of them share.
class CodeView : public Kiln::FileEditor
{
    Q_OBJECT

public:
    /// `name` must outlive the editor; it is the editor's key and `textId`, a text of the host,
    /// its name for the user.
    CodeView(CodeSurface *surface, Kiln::Project::FileID::Type type, const char *name, int textId);
    ~CodeView() override;

    QAction *action() const override { return m_action; }
    const char *name() const override { return m_name; }
    unsigned int areas() const override;
    void activate() override;
    void deactivate() override;
    void retranslate() override;
    void navigateTo(unsigned int line, unsigned int column) override;
    using Kiln::FileEditor::find;
    bool find(const Kiln::ProjectFile *file, const QString &text, unsigned int flags) override;
    void
    replace(const QString &text, const QString &replacement, unsigned int flags, bool all) override;
    void hostReserved15() override {}

    Kiln::Project::FileID::Type canEditFileType() override { return m_type; }
    void cut() override;
    void copy() override;
    void paste() override;
    void setCurrentFile(Kiln::ProjectFile *file) override;

protected:
    void contentsChanged() override;

private Q_SLOTS:
    void goToAnimation(int row);

private:
    Kiln::OrganizerEditor *organizer() const;
    void showAnimations();
    QTextCursor findFrom(const QTextCursor &start, const QString &text, unsigned int flags) const;

    CodeSurface *m_surface;
    Kiln::Project::FileID::Type m_type;
    const char *m_name;
    int m_textId;
    QAction *m_action;
    Kiln::CodeDocument *m_document = nullptr;
};

} // namespace Studio
