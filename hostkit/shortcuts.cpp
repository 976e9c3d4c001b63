#include <hostkit/shortcuts.h>

#include <hostkit/actionregistry.h>
#include <hostkit/settings.h>

#include <QAction>
#include <QMenu>

#include <algorithm>

namespace HostKit
{

namespace
{

QString optionOf(const QAction *command)
{
    return QLatin1String("keys/") + command->objectName();
}

/// The views in which the keys of a command count; none for the whole window.
QList<QWidget *> placesOf(const QAction *command)
{
    if (command->shortcutContext() == Qt::WindowShortcut ||
        command->shortcutContext() == Qt::ApplicationShortcut)
        return {};
    QList<QWidget *> places = command->associatedWidgets();
    places.erase(std::remove_if(places.begin(), places.end(),
                                [](QWidget *widget) { return qobject_cast<QMenu *>(widget); }),
                 places.end());
    return places;
}

} // namespace

Shortcuts::Shortcuts(ActionRegistry &actions, Settings &settings)
    : m_actions(actions)
    , m_settings(settings)
{
    connect(&actions, &ActionRegistry::added, this, &Shortcuts::follow);
}

void Shortcuts::follow(QAction *command)
{
    m_delivered.insert(command->objectName(), command->shortcuts());
    const QVariant own = m_settings.value(optionOf(command));
    if (own.isValid())
        m_actions.setKeys(command, QKeySequence::listFromString(own.toString()));
}

QList<QAction *> Shortcuts::commands() const
{
    return m_actions.actions();
}

QList<QKeySequence> Shortcuts::delivered(const QAction *command) const
{
    return m_delivered.value(command->objectName());
}

void Shortcuts::setKeys(QAction *command, const QList<QKeySequence> &keys)
{
    m_actions.setKeys(command, keys);
    m_settings.setValue(optionOf(command),
                        keys == delivered(command) ? QVariant() : QKeySequence::listToString(keys));
}

bool Shortcuts::meet(const QAction *one, const QAction *other)
{
    const QList<QWidget *> places = placesOf(one);
    const QList<QWidget *> others = placesOf(other);
    return places.isEmpty() || others.isEmpty() ||
           std::any_of(places.begin(), places.end(),
                       [&others](QWidget *place) { return others.contains(place); });
}

} // namespace HostKit
