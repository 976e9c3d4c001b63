#pragma once

#include <kilnx/project/interface.h>

#include <QString>

namespace Studio
{

class ActionRegistry;
class ControlPanels;
class EditorDeck;
class Menus;
class ProjectSession;
class Settings;
class StatusFields;
class Theme;

/// Where Studio's own files are.
struct Paths {
    QString data;     ///< delivered with the application
    QString user;     ///< the user's data
    QString config;   ///< the settings and the engine configuration
    QString settings; ///< the INI file

    /// The platform's places.
    static Paths standard();
    /// Everything below one directory, for the tour and for tests.
    static Paths below(const QString &directory);
};

/// The parts of the window that the host leads the library to.
struct HostParts {
    QWidget *window = nullptr;
    Settings *settings = nullptr;
    Theme *theme = nullptr;
    Menus *menus = nullptr;
    ActionRegistry *actions = nullptr;
    ControlPanels *panels = nullptr;
    EditorDeck *deck = nullptr;
    StatusFields *status = nullptr;
    ProjectSession *session = nullptr;
    Kiln::Engine *engine = nullptr;
    Paths paths;
};

/// The host as the library sees it: every operation is handed on to the part of Studio that knows.
class StudioHost : public Kiln::Interface
{
public:
    /// Numbers of Studio's own texts, beside those that the library reads.
    enum TextId {
        XmlErrorTitle = 0,
        XmlErrorText = 1,
        NothingFoundTitle = 8,
        DefinitionText = 100,
        CodeText,
        AnimationText,
        CommandText
    };

    /// Parts may be missing at first; set them before the library asks for them.
    HostParts parts;

    QString text(int id) const override;

    QWidget *mainWindow() const override;
    QString dataPath() const override;
    QString userPath() const override;
    QString configPath() const override;
    Kiln::Progress *progress(const QString &text, bool cancellable) override;
    Kiln::Engine *engine() const override;
    Kiln::Editor *currentEditor() const override;
    Kiln::FileEditor *editorForFile(Kiln::ProjectFile *file,
                                    Kiln::Project::FileID id) const override;
    Kiln::Editor *editor(const char *name) const override;
    Kiln::ExtraEditor *currentExtraEditor() const override;
    unsigned int projectCount() const override;
    Kiln::Project *project(unsigned int index) const override;
    Kiln::Project *currentProject() const override;
    int scaled(int pixels) const override;
    QIcon icon(const QString &key) const override;
    QColor colorOption(const QString &key) const override;
    QColor colorOption2(const QString &key) const override;
    QVariant option(const QString &key, const QVariant &fallback) const override;
    void setOption(const QString &key, const QVariant &value) override;
    void setStatusText(int field, const QString &text) override;
    QWidget *addControl(const QString &key, const Kiln::Control &control) override;
    QWidget *control(const QString &key) const override;
    QMenu *menu(const char *name) const override;
    QAction *addAction(QWidget *container,
                       const QString &key,
                       Kiln::Translator *translator,
                       int textId,
                       bool checkable,
                       QObject *receiver,
                       const char *slot,
                       const char *enabler = nullptr,
                       const char *checker = nullptr) override;
    QAction *actionByKey(const char *key) const override;
    QAction *editorAction(const QString &key, Kiln::Translator *translator, int textId) override;
    Kiln::ExtraEditor *extraEditor(int index) const override;
    void refreshEditors() override;
    void switchTo(Kiln::Editor *editor) override;
    void setExtraEditor(Kiln::ExtraEditor *editor) override;
    void setEditorWidget(QWidget *widget) override;
};

} // namespace Studio
