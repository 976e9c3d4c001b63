#pragma once

#include <kilnx/export.h>

#include <QtCore/QObject>
#include <QtCore/QString>

class QAction;

namespace Kiln
{

class Interface;

/// What the host shows in its middle, one at a time, and drives.
///
/// The host makes its editors after setGlobalInterface() and its workspaces, owns them, and calls
/// activate() and deactivate() as the user goes from one to another. An editor whose class also
/// holds fields and tool bars declares them to the Interface in its constructor.
class KILNX_EXPORT Editor : public QObject
{
    Q_OBJECT

public:
    /// The bits of the `flags` of find() and replace().
    enum FindFlag : unsigned int {
        RegularExpression = 1, ///< otherwise the text is taken as it stands
        CaseSensitive = 2,
        Backward = 4,
        WrapAround = 8, ///< at the end goes on from the start
        Silent = 16,    ///< no box when nothing is found, or a search takes too long
        WholeWords = 32 ///< no letter, digit or underscore right beside the match
    };

    explicit Editor(QObject *parent = nullptr);

    /// The action that switches to this editor.
    virtual QAction *action() const = 0;
    /// The key of the editor, which also is the prefix of its option keys.
    virtual const char *name() const = 0;
    /// Whether there are changes to save.
    virtual bool isModified() const = 0;
    /// The bit set of the host's screen areas that the editor wants.
    virtual unsigned int areas() const = 0;
    /// The host shows the editor. Overrides connect side panels here, and set `active`.
    virtual void activate();
    /// The host shows another editor. Overrides disconnect side panels here, and clear `active`.
    virtual void deactivate();
    /// Settings have changed: read them again.
    virtual void reconfig();
    /// The language has changed: set all texts again.
    virtual void retranslate() = 0;
    /// Another engine is current; false announces the switch and true follows it.
    virtual void engineSwitched(bool switched);
    /// Shows a place of the current file, for a code file line and column, both from 0.
    virtual void navigateTo(unsigned int line, unsigned int column);

public Q_SLOTS:
    virtual void undo() = 0;
    virtual void redo() = 0;

public:
    /// Goes to the next place with `text`; `flags` are bits of FindFlag.
    virtual void find(const QString &text, unsigned int flags) = 0;
    /// Replaces the next place with `text` by `by`, or all of them.
    virtual void replace(const QString &text, const QString &by, unsigned int flags, bool all) = 0;
    /// Keeps its place in the order for the host's final classes; never called by the library.
    virtual void hostReserved15() = 0;

    bool isActive() const { return active; }

public Q_SLOTS:
    /// Asks the host to make this editor current; nothing when it is active already.
    void switchToThis();

Q_SIGNALS:
    /// The contents or their modified state have changed.
    void modified();
    /// The editor has become visible or hidden.
    void visibilityChanged(bool visible);

protected:
    /// Files were added or taken away by this editor: overrides show the current one.
    virtual void contentsChanged();

    /// The host, as it was when the editor was made.
    Interface *interface;
    /// True between activate() and deactivate().
    bool active = false;
};

/// A side panel beside the current editor: organizer, thumbnails, palettes. The host owns it and
/// destroys it with release().
class KILNX_EXPORT ExtraEditor : public QObject
{
    Q_OBJECT

public:
    explicit ExtraEditor(QObject *parent = nullptr);

    virtual const char *name() const = 0;
    /// The name shown to the user.
    virtual QString displayName() const = 0;
    virtual bool isModified() const;
    /// Another engine is current; false announces the switch and true follows it.
    virtual void engineSwitched(bool switched);
    virtual void activate();
    virtual void deactivate();
    /// Settings have changed: read them again.
    virtual void reconfig();
    /// The language has changed: set all texts again.
    virtual void retranslate() = 0;
    /// Destroys the panel: the final class deletes itself.
    virtual void release() = 0;

    bool isActive() const { return active; }

protected:
    /// The host, as it was when the panel was made.
    Interface *interface;
    /// True between activate() and deactivate().
    bool active = false;
};

} // namespace Kiln
