#include <kilnx/project/interface.h>

#include <kilnx/forms/itemsdialog.h>
#include <kilnx/project/controls.h>

#include <QtCore/QLibrary>
#include <QtWidgets/QMenu>

namespace Kiln
{

namespace
{

/// Asks the platform, while the library loads, to leave the scaling on each monitor to us. A
/// platform that has no such function needs none.
class DpiAwareness
{
public:
    DpiAwareness()
    {
        const QFunctionPointer function =
            QLibrary::resolve(QStringLiteral("user32"), "SetThreadDpiAwarenessContext");
        const auto perMonitor = reinterpret_cast<void *>(-4);
        if (function)
            m_before = reinterpret_cast<void *(*)(void *)>(function)(perMonitor);
    }

private:
    [[maybe_unused]] void *m_before = nullptr;
};

const DpiAwareness dpiAwareness;

} // namespace

static Interface *globalInterface = nullptr;

Interface *Interface::instance()
{
    return globalInterface;
}

void setGlobalInterface(Interface *interface)
{
    globalInterface = interface;
}

QWidget *Interface::actionControl(const QString &key, QAction *action, QMenu *menu)
{
    if (menu)
        menu->addAction(action);
    return addControl(key, ToolButtonControl(action));
}

ItemsDialog *Interface::itemsDialog(QWidget *parent,
                                    const QString &title,
                                    QAbstractItemModel *model,
                                    int current) const
{
    auto *dialog = new ItemsDialog(parent, title, model);
    if (current >= 0)
        dialog->selectRow(current);
    return dialog;
}

} // namespace Kiln
