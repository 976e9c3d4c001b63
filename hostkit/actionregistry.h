#pragma once

#include <hostkit/export.h>

#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtWidgets/QAction>

namespace Kiln
{
class Translator;
}

namespace HostKit
{

/// What an editor says about one of its commands. The signatures are Qt's coded text and may be
/// null: `slot` runs on the command, `enabler` and `checker` are signals of the receiver.
struct ActionRequest {
    QWidget *container = nullptr;
    QString key;
    Kiln::Translator *translator = nullptr;
    int textId = 0;
    bool checkable = false;
    QObject *receiver = nullptr;
    const char *slot = nullptr;
    const char *enabler = nullptr;
    const char *checker = nullptr;
};

/// Every action of the application by its key.
class HOSTKIT_EXPORT ActionRegistry : public QObject
{
    Q_OBJECT

public:
    /// Actions become children of `window`, so that their shortcuts work everywhere in it. Those of
    /// a command on a list work where the list, its container, has the focus.
    explicit ActionRegistry(QWidget *window);

    /// Makes and keeps an action with text, tool tip, icon, shortcut and connections. A key that
    /// is known already is taken over by the new action.
    QAction *add(const ActionRequest &request);

    /// Takes in an action that the host has made itself, under its object name.
    void enroll(QAction *action);
    /// Gives an action other keys, of which its tool tip tells the first.
    void setKeys(QAction *action, const QList<QKeySequence> &keys);

    /// All of them, by their keys.
    QList<QAction *> actions() const;

    /// The action of a key, null if there is none.
    QAction *action(const QString &key) const;

    /// Who is called by the action; null if unknown or gone.
    QObject *receiver(const QAction *action) const;

    /// Reads all texts again from the translators.
    void retranslate();

    /// The part of a key before its first underscore, which names the editor.
    static QString group(const QString &key);

    /// The icon of an action: that of the whole key, else that of the key without its group, so
    /// that "snd_delete" and "anim_delete" share one; null if there is neither.
    static QIcon icon(const QString &key);

Q_SIGNALS:
    /// There is an action more, or another one for its key.
    void added(QAction *action);

private:
    struct Entry {
        QPointer<QAction> action;
        QPointer<QObject> receiver;
        Kiln::Translator *translator = nullptr;
        int textId = 0;
    };

    static void setTexts(const Entry &entry);

    QWidget *m_window;
    QMap<QString, Entry> m_entries;
};

} // namespace HostKit
