#pragma once

#include <kilnx/export.h>

#include <limits>

class QAction;
class QMenu;
class QObject;
class QWidget;

namespace Kiln
{

class KilnTranslator;

/// The record by which an editor declares a tool-bar widget or a field to the host, with
/// Interface::addControl().
///
/// The editor fills one on the stack; the host builds the widget where it likes, connects it by
/// the signatures in the record, and copies what it needs. So no editor has to know a widget type,
/// and the same editor serves any layout. Signatures are in Qt's coded form: a leading "1" marks a
/// slot, a leading "2" a signal; each may be null.
class KILNX_EXPORT Control
{
public:
    /// What the host is to build. Some numbers are shared, and the class tells the rest.
    enum Kind {
        ToolButton = 0,
        MenuToolButton = 1,
        TreeView = 2,
        Label = 3, ///< of a WidgetControl text from a signal, of a trWidgetControl a fixed text
        PositionSelector = 4,
        ListView = 5,
        SpinEdit = 6,
        FloatEdit = 7,
        CheckBox = 8,
        ComboBox = 9,
        Embedded = 10,
    };

    explicit Control(int controlKind)
        : kind(controlKind)
    {
    }
    virtual ~Control();

    int kind;
};

/// A widget joined to the editor by signals: a label that takes text from a signal (3), a
/// position selector (4), whose range the editor sets on the QAbstractSlider that it is given.
class KILNX_EXPORT WidgetControl : public Control
{
public:
    explicit WidgetControl(int controlKind)
        : Control(controlKind)
    {
    }
    ~WidgetControl() override;

    QObject *receiver = nullptr;   ///< the editor
    const char *slot = nullptr;    ///< called on a user's change, as in "1frameXChanged(int)"
    const char *setter = nullptr;  ///< puts a value into the widget, as in "2setFrameX(int)"
    const char *enabler = nullptr; ///< enables or disables it, as in "2frameEnabled(bool)"
};

/// A widget with a translated text: a fixed label (3), a check box (8).
class KILNX_EXPORT trWidgetControl : public WidgetControl
{
public:
    explicit trWidgetControl(int controlKind)
        : WidgetControl(controlKind)
    {
    }
    ~trWidgetControl() override;

    KilnTranslator *translator = nullptr; ///< null: no text
    int textId = 0;
};

/// A field for an integer; the limits are included.
class KILNX_EXPORT SpinEditControl : public trWidgetControl
{
public:
    SpinEditControl()
        : trWidgetControl(SpinEdit)
    {
    }
    ~SpinEditControl() override;

    int minimum = std::numeric_limits<int>::min();
    int maximum = std::numeric_limits<int>::max();
};

/// A field for a floating-point number.
class KILNX_EXPORT FloatEditControl : public trWidgetControl
{
public:
    FloatEditControl()
        : trWidgetControl(FloatEdit)
    {
    }
    ~FloatEditControl() override;
};

/// A list of choices; the editor fills the widget that Interface::control() gives.
class KILNX_EXPORT ComboBoxControl : public trWidgetControl
{
public:
    ComboBoxControl()
        : trWidgetControl(ComboBox)
    {
    }
    ~ComboBoxControl() override;
};

/// A tool button for an action.
class KILNX_EXPORT ToolButtonControl : public Control
{
public:
    explicit ToolButtonControl(QAction *buttonAction)
        : Control(ToolButton)
        , action(buttonAction)
    {
    }
    ~ToolButtonControl() override;

    QAction *action;
};

/// A tool button for an action, with a menu that drops down from it.
class KILNX_EXPORT MenuToolButtonControl : public ToolButtonControl
{
public:
    MenuToolButtonControl(QAction *buttonAction, QMenu *buttonMenu)
        : ToolButtonControl(buttonAction)
        , menu(buttonMenu)
    {
        kind = MenuToolButton;
    }
    ~MenuToolButtonControl() override;

    QMenu *menu;
};

/// A list of the editor in a dock or side panel of the host, a QListView; `slot` takes the
/// QModelIndex that the user went to, as in "1selectedItem(QModelIndex)". The editor sets the model
/// on the view that Interface::control() gives.
class KILNX_EXPORT ListViewControl : public WidgetControl
{
public:
    ListViewControl()
        : WidgetControl(ListView)
    {
    }
    ~ListViewControl() override;

    /// Called on a double click, as in "1itemDblClick(QModelIndex)".
    const char *doubleClickSlot = nullptr;
};

/// A tree of the editor in a dock of the host, a QTreeView; all else as in a ListViewControl.
class KILNX_EXPORT TreeViewControl : public WidgetControl
{
public:
    TreeViewControl()
        : WidgetControl(TreeView)
    {
    }
    ~TreeViewControl() override;
};

/// A widget that the editor brings along: a grid of colours, the options of a tool. The host places
/// it, and it belongs to its new parent from there on.
class KILNX_EXPORT EmbeddedControl : public Control
{
public:
    explicit EmbeddedControl(QWidget *embedded)
        : Control(Embedded)
        , widget(embedded)
    {
    }
    ~EmbeddedControl() override;

    QWidget *widget;
};

/// What AnimationEditor keeps for a file; one for a file.
class KILNX_EXPORT EditorData
{
public:
    virtual ~EditorData();
};

} // namespace Kiln
