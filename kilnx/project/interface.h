#pragma once

#include <kilnx/export.h>
#include <kilnx/project/progress.h>
#include <kilnx/project/project.h>
#include <kilnx/project/translator.h>

#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtGui/QColor>
#include <QtGui/QIcon>

class QAbstractItemModel;
class QAction;
class QMenu;
class QWidget;

namespace Kiln
{

class Control;
class Editor;
class Engine;
class ExtraEditor;
class FileEditor;
class ItemsDialog;
class ProjectFile;

/// The host application as the library sees it.
///
/// The library has no window, no settings store and no list of open projects: it asks this object.
/// A host derives one class from it and installs it with setGlobalInterface() before it makes any
/// workspace or editor; the object must stay valid while any editor exists. All calls come on the
/// GUI thread. `text()` of the host is its own table; the library reads those of TextId.
class KILNX_EXPORT Interface : public Translator
{
public:
    /// The texts of the host that the library shows.
    enum TextId {
        XmlErrorTitle = 0,      ///< of the box about a malformed engine configuration
        XmlErrorText = 1,       ///< its text: the error, its line and its column as %1, %2, %3
        FailureTitle = 2,       ///< of the boxes about single items that are no use
        SoundFailureText = 3,   ///< a sound file that cannot be read: its name as %1
        ImportFailureText = 4,  ///< an item without data: its kind, row and project as %1, %2, %3
        PictureFailureText = 5, ///< a picture file that cannot be read: its name as %1
        NothingFoundTitle = 8
    };
    /// The fields of the status bar that the library writes.
    enum StatusField {
        PlaceField = 0,    ///< of the cursor in the text
        ErrorField = 1,    ///< the count of errors of the file
        EncodingField = 2, ///< of the code; a click on it is Workspace::statusClicked()
        PositionField = 3, ///< of the mouse in the viewport
        GuidesField = 4,   ///< of the viewport
        RendererField = 5  ///< what paints the viewport
    };

    /// The installed host; null until setGlobalInterface() has run.
    static Interface *instance();

    /// The parent of every dialog and message box.
    virtual QWidget *mainWindow() const = 0;
    /// The directory of data delivered with the application, without a closing "/".
    virtual QString dataPath() const = 0;
    /// The directory of the user's writable data, without a closing "/".
    virtual QString userPath() const = 0;
    /// The directory of the engine configuration files, without a closing "/".
    virtual QString configPath() const = 0;
    /// Opens a progress indicator. The object is the host's; Progress::finish() destroys it.
    virtual Progress *progress(const QString &text, bool cancellable) = 0;
    /// The engine that is current; may be null.
    virtual Engine *engine() const = 0;
    /// The editor shown now; may be null.
    virtual Editor *currentEditor() const = 0;
    /// The file editor that handles this file under these type bits; null if none does.
    virtual FileEditor *editorForFile(ProjectFile *file, Project::FileID id) const = 0;
    /// The editor of that name(); null if none.
    virtual Editor *editor(const char *name) const = 0;
    /// The side panel shown now; may be null.
    virtual ExtraEditor *currentExtraEditor() const = 0;
    /// Keeps its place in the order for the host; never called by the library.
    virtual void hostReserved14() {}
    /// How many projects are open in the whole application.
    virtual unsigned int projectCount() const = 0;
    /// The open project at that place, 0 to projectCount() - 1; null beyond.
    virtual Project *project(unsigned int index) const = 0;
    /// The project that editors act on; may be null.
    virtual Project *currentProject() const = 0;
    /// Keeps its place in the order for the host; never called by the library.
    virtual void hostReserved18() {}
    /// A length in pixels adapted to the display; never 0 for a positive length.
    virtual int scaled(int pixels) const = 0;
    /// The icon of a key such as "icon_code"; a null icon for an unknown key.
    virtual QIcon icon(const QString &key) const = 0;
    /// The colour of a style entry such as "line", "block_range" or "paren_range".
    virtual QColor colorOption(const QString &key) const = 0;
    /// The second colour of a style entry such as "paren".
    virtual QColor colorOption2(const QString &key) const = 0;
    /// The application's setting, or `fallback` when it has none.
    virtual QVariant option(const QString &key, const QVariant &fallback) const = 0;
    /// Writes the application's setting. An invalid value comes from a definition that says nothing
    /// about a key: a host does well to leave its setting alone then.
    virtual void setOption(const QString &key, const QVariant &value) = 0;
    /// Sets one field of the status bar, a StatusField.
    virtual void setStatusText(int field, const QString &text) = 0;
    /// Builds and registers the widget that `control` describes, under a key. The record is only
    /// valid during the call: copy what is needed. Returns the widget.
    virtual QWidget *addControl(const QString &key, const Control &control) = 0;
    /// Keeps its place in the order for the host; never called by the library.
    virtual void hostReserved27() {}
    /// The widget of a registered control; null for an unknown key.
    virtual QWidget *control(const QString &key) const = 0;
    /// Keeps its place in the order for the host; never called by the library.
    virtual void hostReserved29() {}
    /// Shows an action in a menu and as a tool button: adds `action` to `menu` (none if null),
    /// hands addControl() a ToolButtonControl for it, and returns what addControl() returned.
    virtual QWidget *actionControl(const QString &key, QAction *action, QMenu *menu);
    /// A menu of the host, such as "view"; null for an unknown name.
    virtual QMenu *menu(const char *name) const = 0;
    /// Makes and registers an action.
    ///
    /// `container` is the menu or registered control that shows it, or null; `textId` is its
    /// number in `translator`; `slot` the receiver's slot in Qt's coded form, as in "1add()".
    /// `enabler` and `checker` are signals of the receiver in coded form, as in "2enabled(bool)",
    /// that enable and check the action, or null. Null from a host that makes none.
    virtual QAction *addAction(QWidget *container,
                               const QString &key,
                               Translator *translator,
                               int textId,
                               bool checkable,
                               QObject *receiver,
                               const char *slot,
                               const char *enabler = nullptr,
                               const char *checker = nullptr) = 0;
    /// An action made earlier, such as "org_palette"; null for an unknown key.
    virtual QAction *actionByKey(const char *key) const = 0;
    /// Makes the action that switches to an editor, as in ("editor_snd", translator, 150).
    virtual QAction *editorAction(const QString &key, Translator *translator, int textId) = 0;
    /// Keeps its place in the order for the host; never called by the library.
    virtual void hostReserved35() {}
    /// A side panel: 0 is the organizer, 1 the palettes, 2 the thumbnails; null when the host has
    /// none.
    virtual ExtraEditor *extraEditor(int index) const = 0;
    /// All files may have changed under the editors: show them anew.
    virtual void refreshEditors() = 0;
    /// Makes an editor current: the host deactivates the old one and calls its activate().
    virtual void switchTo(Editor *editor) = 0;
    /// Shows that side panel, or hides it for null.
    virtual void setExtraEditor(ExtraEditor *editor) = 0;
    /// Places the editor's central widget.
    virtual void setEditorWidget(QWidget *widget) = 0;

    /// A dialog in which the user picks rows of `model`; row `current` is selected unless it is
    /// negative. The caller owns the dialog.
    ItemsDialog *itemsDialog(QWidget *parent,
                             const QString &title,
                             QAbstractItemModel *model,
                             int current) const;
};

/// Installs the host, or takes it away with null. Call it before anything else of the library.
extern "C" KILNX_EXPORT void setGlobalInterface(Interface *interface);

} // namespace Kiln
