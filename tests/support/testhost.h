#pragma once

#include <kilnx/project/engine.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/project.h>
#include <tests/support/dialogscript.h>

#include <QColor>
#include <QIcon>
#include <QMap>
#include <QStringList>
#include <QVariant>

#include <map>
#include <memory>
#include <string>

class QMainWindow;

/// A host for tests: it answers from its public fields, builds small real widgets for what is
/// registered, and notes every call that changes something in `log`.
///
/// It installs itself as the process-wide interface and takes itself away again when it ends.
class TestHost : public Kiln::Interface
{
public:
    /// How one progress indicator was driven.
    struct ProgressRecord {
        QString text;
        bool cancellable = false;
        unsigned int total = 0;
        QList<unsigned int> steps;
        int finished = 0;
    };

    /// What `addAction` was told about an action.
    struct ActionRecord {
        QAction *action = nullptr;
        QWidget *container = nullptr;
        int textId = -1;
        bool checkable = false;
    };

    TestHost();
    ~TestHost() override;

    DialogScript &dialogs() { return m_dialogs; }
    const std::map<std::string, ActionRecord> &actions() const { return m_actions; }
    QAction *action(const char *key) const;

    // Answers, set by the test.
    QMap<QString, QVariant> options;
    QMap<QString, QColor> colors;
    QMap<QString, QColor> secondColors;
    QString dataDirectory;
    QString userDirectory;
    QString configDirectory;
    Kiln::Engine *currentEngine = nullptr;
    QList<Kiln::Project *> projects;
    Kiln::Project *activeProject = nullptr;
    Kiln::Editor *activeEditor = nullptr;
    QList<Kiln::Editor *> editors;
    QMap<int, Kiln::FileEditor *> fileEditors; ///< by one type bit
    QList<Kiln::ExtraEditor *> extraEditors;
    bool cancelProgress = false;

    // Records, read by the test.
    QStringList log;
    QMap<int, QString> statusTexts;
    QList<std::shared_ptr<ProgressRecord>> progresses;
    Kiln::ExtraEditor *shownExtraEditor = nullptr;
    QWidget *editorWidget = nullptr;

    // Translator
    QString text(int id) override;

    // Interface
    QWidget *mainWindow() override;
    QString dataPath() override;
    QString userPath() override;
    QString configPath() override;
    Kiln::Progress *progress(const QString &text, bool cancellable) override;
    Kiln::Engine *engine() override;
    Kiln::Editor *currentEditor() override;
    Kiln::FileEditor *editorForFile(Kiln::ProjectFile *file, Kiln::Project::FileID id) override;
    Kiln::Editor *editor(const char *name) override;
    Kiln::ExtraEditor *currentExtraEditor() override;
    unsigned int projectCount() override;
    Kiln::Project *project(unsigned int index) override;
    Kiln::Project *currentProject() override;
    int scaled(int pixels) override;
    QIcon icon(const QString &key) override;
    QColor colorOption(const QString &key) override;
    QColor colorOption2(const QString &key) override;
    QVariant option(const QString &key, const QVariant &fallback) override;
    void setOption(const QString &key, const QVariant &value) override;
    void setStatusText(int field, const QString &text) override;
    QWidget *addControl(const QString &key, const Kiln::Control &control) override;
    QWidget *control(const QString &key) override;
    QMenu *menu(const char *name) override;
    QAction *addAction(QWidget *container,
                       const QString &key,
                       Kiln::Translator *translator,
                       int textId,
                       bool checkable,
                       QObject *receiver,
                       const char *slot,
                       const char *enabler = nullptr,
                       const char *checker = nullptr) override;
    QAction *actionByKey(const char *key) override;
    QAction *editorAction(const QString &key, Kiln::Translator *translator, int textId) override;
    Kiln::ExtraEditor *extraEditor(int index) override;
    void refreshEditors() override;
    void switchTo(Kiln::Editor *editor) override;
    void setExtraEditor(Kiln::ExtraEditor *editor) override;
    void setEditorWidget(QWidget *widget) override;

private:
    std::unique_ptr<QMainWindow> m_window;
    DialogScript m_dialogs;
    std::map<std::string, ActionRecord> m_actions;
    QMap<QString, QWidget *> m_controls;
    QMap<QString, QMenu *> m_menus;
};
