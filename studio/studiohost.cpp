#include "studiohost.h"

#include "actionregistry.h"
#include "controlpanels.h"
#include "editordeck.h"
#include "menus.h"
#include "progressindicator.h"
#include "projectsession.h"
#include "settings.h"
#include "statusfields.h"
#include "theme.h"

#include <kilnx/project/editor.h>
#include <kilnx/project/fileeditor.h>

#include <QAction>
#include <QCoreApplication>
#include <QMenu>
#include <QStandardPaths>

namespace Studio
{

Paths Paths::standard()
{
    const QString config = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    return {QCoreApplication::applicationDirPath(),
            QStandardPaths::writableLocation(QStandardPaths::AppDataLocation), config,
            config + QLatin1String("/studio.ini")};
}

Paths Paths::below(const QString &directory)
{
    return {QCoreApplication::applicationDirPath(), directory + QLatin1String("/data"),
            directory + QLatin1String("/config"), directory + QLatin1String("/config/studio.ini")};
}

QString StudioHost::text(int id) const
{
    const char *context = "Studio::StudioHost";
    switch (id) {
    case XmlErrorTitle:
        return QCoreApplication::translate(context, "Engine configuration");
    case XmlErrorText:
        return QCoreApplication::translate(
            context, "The engine configuration is malformed: %1 (line %2, column %3)");
    case NothingFoundTitle:
        return QCoreApplication::translate(context, "Find");
    case DefinitionText:
        return QCoreApplication::translate(context, "Definition");
    case CodeText:
        return QCoreApplication::translate(context, "Code");
    case AnimationText:
        return QCoreApplication::translate(context, "Animations");
    case CommandText:
        return QCoreApplication::translate(context, "Commands");
    default:
        return QString();
    }
}

QWidget *StudioHost::mainWindow() const
{
    return parts.window;
}

QString StudioHost::dataPath() const
{
    return parts.paths.data;
}

QString StudioHost::userPath() const
{
    return parts.paths.user;
}

QString StudioHost::configPath() const
{
    return parts.paths.config;
}

Kiln::Progress *StudioHost::progress(const QString &text, bool cancellable)
{
    return new ProgressIndicator(parts.window, text, cancellable);
}

Kiln::Engine *StudioHost::engine() const
{
    return parts.engine;
}

Kiln::Editor *StudioHost::currentEditor() const
{
    return parts.deck ? parts.deck->current() : nullptr;
}

Kiln::FileEditor *StudioHost::editorForFile(Kiln::ProjectFile *, Kiln::Project::FileID id) const
{
    return parts.deck ? parts.deck->editorForFile(id) : nullptr;
}

Kiln::Editor *StudioHost::editor(const char *name) const
{
    return parts.deck ? parts.deck->editor(name) : nullptr;
}

Kiln::ExtraEditor *StudioHost::currentExtraEditor() const
{
    return parts.deck ? parts.deck->currentSidePanel() : nullptr;
}

unsigned int StudioHost::projectCount() const
{
    return parts.session ? unsigned(parts.session->projects().size()) : 0;
}

Kiln::Project *StudioHost::project(unsigned int index) const
{
    return parts.session ? parts.session->projects().value(int(index)) : nullptr;
}

Kiln::Project *StudioHost::currentProject() const
{
    return parts.session ? parts.session->currentProject() : nullptr;
}

// Qt scales logical pixels itself; what is left is a display whose fonts are set larger.
int StudioHost::scaled(int pixels) const
{
    const int scaled = qRound(pixels * parts.window->logicalDpiX() / 96.0);
    return pixels > 0 ? qMax(1, scaled) : scaled;
}

QIcon StudioHost::icon(const QString &key) const
{
    if (key == QLatin1String("warning"))
        return ActionRegistry::icon(QStringLiteral("warn"));
    if (key == QLatin1String("information"))
        return ActionRegistry::icon(QStringLiteral("info"));
    return ActionRegistry::icon(key);
}

QColor StudioHost::colorOption(const QString &key) const
{
    return parts.theme->color(key);
}

QColor StudioHost::colorOption2(const QString &key) const
{
    return parts.theme->color(key, true);
}

QVariant StudioHost::option(const QString &key, const QVariant &fallback) const
{
    return parts.settings->value(key, fallback);
}

// A definition without a value of its own says so with an invalid one: the setting stays.
void StudioHost::setOption(const QString &key, const QVariant &value)
{
    if (value.isValid())
        parts.settings->setValue(key, value);
}

void StudioHost::setStatusText(int field, const QString &text)
{
    if (parts.status)
        parts.status->setField(field, text);
}

QWidget *StudioHost::addControl(const QString &key, const Kiln::Control &control)
{
    return parts.panels->add(key, control);
}

QWidget *StudioHost::control(const QString &key) const
{
    return parts.panels->control(key);
}

QMenu *StudioHost::menu(const char *name) const
{
    return parts.menus->menu(QLatin1String(name));
}

QAction *StudioHost::addAction(QWidget *container,
                               const QString &key,
                               Kiln::Translator *translator,
                               int textId,
                               bool checkable,
                               QObject *receiver,
                               const char *slot,
                               const char *enabler,
                               const char *checker)
{
    return parts.actions->add(
        {container, key, translator, textId, checkable, receiver, slot, enabler, checker});
}

QAction *StudioHost::actionByKey(const char *key) const
{
    return parts.actions->action(QLatin1String(key));
}

QAction *StudioHost::editorAction(const QString &key, Kiln::Translator *translator, int textId)
{
    ActionRequest request;
    request.container = parts.menus->menu(QStringLiteral("editors"));
    request.key = key;
    request.translator = translator;
    request.textId = textId;
    request.checkable = true;
    return parts.actions->add(request);
}

Kiln::ExtraEditor *StudioHost::extraEditor(int index) const
{
    return parts.deck ? parts.deck->sidePanel(index) : nullptr;
}

void StudioHost::refreshEditors()
{
    Kiln::FileEditor *editor = parts.deck ? parts.deck->currentFileEditor() : nullptr;
    if (!editor)
        return;
    Kiln::ProjectFile *file = editor->currentFile();
    editor->setCurrentFile(nullptr);
    editor->setCurrentFile(file);
}

void StudioHost::switchTo(Kiln::Editor *editor)
{
    parts.deck->switchTo(editor);
}

void StudioHost::setExtraEditor(Kiln::ExtraEditor *editor)
{
    parts.deck->showSidePanel(editor);
}

void StudioHost::setEditorWidget(QWidget *widget)
{
    parts.deck->showWidget(widget);
}

} // namespace Studio
