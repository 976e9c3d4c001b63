#include <kilnx/project/controls.h>

namespace Kiln
{

Control::~Control() = default;
WidgetControl::~WidgetControl() = default;
trWidgetControl::~trWidgetControl() = default;
SpinEditControl::~SpinEditControl() = default;
FloatEditControl::~FloatEditControl() = default;
ComboBoxControl::~ComboBoxControl() = default;
ToolButtonControl::~ToolButtonControl() = default;
MenuToolButtonControl::~MenuToolButtonControl() = default;
ListViewControl::~ListViewControl() = default;
TreeViewControl::~TreeViewControl() = default;
EmbeddedControl::~EmbeddedControl() = default;
EditorData::~EditorData() = default;

} // namespace Kiln
