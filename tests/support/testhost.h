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
    QString text(int id) const override;

    // Interface
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

private:
    std::unique_ptr<QMainWindow> m_window;
    DialogScript m_dialogs;
    std::map<std::string, ActionRecord> m_actions;
    QMap<QString, QWidget *> m_controls;
    mutable QMap<QString, QMenu *> m_menus;
};
