#pragma once

#include <hostkit/hostbase.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/project.h>
#include <tests/support/dialogscript.h>

#include <QColor>
#include <QMainWindow>
#include <QMap>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <memory>

/// The window that a host stands in, made before it and destroyed after it.
struct TestWindow {
    QMainWindow window;
};

/// A host for tests: the kit's, with actions, controls and menus as every host has them, but what
/// the library asks about settings, projects and editors is answered from public fields, and every
/// call that changes something is noted in `log`.
class TestHost : private TestWindow, public HostKit::HostBase
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

    TestHost();

    DialogScript &dialogs() { return m_dialogs; }
    QAction *action(const char *key) const { return actionByKey(key); }

    // Answers, set by the test.
    QMap<QString, QVariant> options;
    QMap<QString, QColor> colors;
    QMap<QString, QColor> secondColors;
    QString dataDirectory;
    QString userDirectory;
    QString configDirectory;
    Kiln::Engine *currentEngine = nullptr;
    Kiln::Project *activeProject = nullptr;
    Kiln::Editor *activeEditor = nullptr;
    QList<Kiln::Project *> projects;             ///< all that are open
    QMap<int, Kiln::FileEditor *> fileEditors;   ///< by one type bit
    QMap<int, Kiln::ExtraEditor *> extraEditors; ///< instead of the deck's, by their index
    std::function<void()> duringProgress;        ///< called once, at the first step that is shown
    unsigned int cancelAt = 0; ///< the step at which progress is canceled; 0: none

    // Records, read by the test.
    QStringList log;
    QMap<int, QString> statusTexts;
    QList<std::shared_ptr<ProgressRecord>> progresses;
    Kiln::ExtraEditor *shownExtraEditor = nullptr;
    QWidget *editorWidget = nullptr;

    QString text(int id) const override;
    QString dataPath() const override { return dataDirectory; }
    QString userPath() const override { return userDirectory; }
    QString configPath() const override { return configDirectory; }
    Kiln::Progress *progress(const QString &text, bool cancellable) override;
    Kiln::Engine *engine() const override { return currentEngine; }
    Kiln::Editor *currentEditor() const override { return activeEditor; }
    Kiln::FileEditor *editorForFile(Kiln::ProjectFile *file,
                                    Kiln::Project::FileID id) const override;
    Kiln::ExtraEditor *currentExtraEditor() const override { return shownExtraEditor; }
    Kiln::ExtraEditor *extraEditor(int index) const override;
    unsigned int projectCount() const override { return unsigned(projects.size()); }
    Kiln::Project *project(unsigned int index) const override;
    Kiln::Project *currentProject() const override { return activeProject; }
    QColor colorOption(const QString &key) const override { return colors.value(key); }
    QColor colorOption2(const QString &key) const override { return secondColors.value(key); }
    QVariant option(const QString &key, const QVariant &fallback) const override;
    void setOption(const QString &key, const QVariant &value) override;
    void setStatusText(int field, const QString &text) override;
    QWidget *addControl(const QString &key, const Kiln::Control &control) override;
    void refreshEditors() override;
    void switchTo(Kiln::Editor *editor) override;
    void setExtraEditor(Kiln::ExtraEditor *editor) override;
    void setEditorWidget(QWidget *widget) override;

private:
    DialogScript m_dialogs;
};
