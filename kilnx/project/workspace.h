#pragma once

#include <kilnx/export.h>

#include <QtCore/QObject>

class QWidget;

namespace Kiln
{

class Interface;

/// The shared view of one kind of content, into which several editors place themselves: code,
/// graphics, sound. The host makes it after setGlobalInterface() and before the editors, and
/// destroys it with release() after them.
class KILNX_EXPORT Workspace : public QObject
{
    Q_OBJECT

public:
    explicit Workspace(Interface &host);

    virtual const char *name() const = 0;
    /// The widget to show; the workspace owns it.
    virtual QWidget *widget() const = 0;
    /// Another engine is current; false announces the switch and true follows it.
    virtual void engineSwitched(bool switched);
    virtual void activate();
    virtual void deactivate();
    /// Settings have changed: read them again.
    virtual void reconfig();
    /// The language has changed: set all texts again.
    virtual void retranslate() = 0;
    /// The user clicked the workspace's field of the status bar.
    virtual void statusClicked();
    virtual void zoomActual();
    virtual void zoomIn();
    virtual void zoomOut();
    /// Destroys the workspace: the final class deletes itself.
    virtual void release() = 0;

protected:
    Interface *interface;
};

} // namespace Kiln
