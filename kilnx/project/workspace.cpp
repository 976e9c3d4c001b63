#include <kilnx/project/workspace.h>

#include <kilnx/project/interface.h>

namespace Kiln
{

Workspace::Workspace(Interface &host)
    : interface(&host)
{
}

void Workspace::engineSwitched(bool)
{
}

void Workspace::activate()
{
}

void Workspace::deactivate()
{
}

void Workspace::reconfig()
{
}

void Workspace::statusClicked()
{
}

void Workspace::zoomActual()
{
}

void Workspace::zoomIn()
{
}

void Workspace::zoomOut()
{
}

} // namespace Kiln
