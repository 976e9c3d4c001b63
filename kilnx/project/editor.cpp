#include <kilnx/project/editor.h>

#include <kilnx/project/interface.h>

namespace Kiln
{

Editor::Editor(QObject *parent)
    : QObject(parent)
    , interface(Interface::instance())
{
}

void Editor::activate()
{
    active = true;
}

void Editor::deactivate()
{
    active = false;
}

void Editor::reconfig()
{
}

void Editor::engineSwitched(bool)
{
}

void Editor::navigateTo(unsigned int, unsigned int)
{
}

void Editor::switchToThis()
{
    if (!active)
        interface->switchTo(this);
}

void Editor::contentsChanged()
{
}

ExtraEditor::ExtraEditor(QObject *parent)
    : QObject(parent)
    , interface(Interface::instance())
{
}

bool ExtraEditor::isModified() const
{
    return false;
}

void ExtraEditor::engineSwitched(bool)
{
}

void ExtraEditor::activate()
{
    active = true;
}

void ExtraEditor::deactivate()
{
    active = false;
}

void ExtraEditor::reconfig()
{
}

} // namespace Kiln
