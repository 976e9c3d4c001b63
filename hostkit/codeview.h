#pragma once

#include <hostkit/export.h>

#include <kilnx/codeedit/codefileeditor.h>

namespace HostKit
{

/// The editor of one type of code file, on the surface that all of them share.
class HOSTKIT_EXPORT CodeView : public Kiln::CodeFileEditor
{
    Q_OBJECT

public:
    /// `name` must outlive the editor; it is the editor's key and `textId`, a text of the host,
    /// its name for the user.
    CodeView(Kiln::CodeWorkspace *surface,
             Kiln::Project::FileID::Type type,
             const char *name,
             int textId);
    ~CodeView() override;

    QAction *action() const override { return m_action; }
    const char *name() const override { return m_name; }
    void activate() override;
    void retranslate() override;
    void navigateTo(unsigned int line, unsigned int column) override;
    void hostReserved15() override {}

    Kiln::Project::FileID::Type canEditFileType() override { return m_type; }
    void setCurrentFile(Kiln::ProjectFile *file) override;

protected:
    void contentsChanged() override;

private:
    Kiln::Project::FileID::Type m_type;
    const char *m_name;
    int m_textId;
    QAction *m_action;
};

} // namespace HostKit
