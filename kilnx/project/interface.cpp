#include <kilnx/project/interface.h>

#include <QtWidgets/QMenu>

#include <kilnx/editors/controls.h>
#include <kilnx/forms/itemsdialog.h>

namespace Kiln
{

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
