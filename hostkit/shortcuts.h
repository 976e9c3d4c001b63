#pragma once

#include <hostkit/export.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtGui/QKeySequence>

class QAction;

namespace HostKit
{

class ActionRegistry;
class Settings;

/// The keys of all commands: those that are delivered, and those that the user has set instead,
/// which the settings keep under "keys/" and the name of the command.
class HOSTKIT_EXPORT Shortcuts : public QObject
{
    Q_OBJECT

public:
    /// Commands that the registry has already keep their keys until it tells of them again.
    Shortcuts(ActionRegistry &actions, Settings &settings);

    /// Everything that can have a key, by name.
    QList<QAction *> commands() const;
    /// What a command has unless the user wishes otherwise.
    QList<QKeySequence> delivered(const QAction *command) const;
    /// Sets the keys of a command from now on and for the next start.
    void setKeys(QAction *command, const QList<QKeySequence> &keys);

    /// Whether two commands with the same key get in each other's way: those of the window do so
    /// everywhere, those of a list or a picture only with those of the same one.
    static bool meet(const QAction *one, const QAction *other);

private:
    void follow(QAction *command);

    ActionRegistry &m_actions;
    Settings &m_settings;
    QHash<QString, QList<QKeySequence>> m_delivered; ///< by the name of the command
};

} // namespace HostKit
