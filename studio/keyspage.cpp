#include "keyspage.h"

#include <hostkit/actionregistry.h>
#include <hostkit/widgets.h>

#include <kilnx/project/translator.h>

#include <QAction>
#include <QDialogButtonBox>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace Studio
{

using HostKit::ActionRegistry;

namespace
{

/// What the commands of a group of keys are about; the window's own have no group.
QString titleOf(const QString &group)
{
    static const QMap<QString, int> texts{{"anim", 46}, {"spr", 95},  {"pal", 28},
                                          {"org", 165}, {"code", 15}, {"thumb", 173}};
    return texts.contains(group) ? Kiln::KilnTranslator::instance()->text(texts.value(group))
                                 : KeysPage::tr("Window");
}

} // namespace

KeysPage::KeysPage(const ActionRegistry &actions, QWidget *window)
    : QDialog(window)
{
    setObjectName(QStringLiteral("keys"));
    setWindowTitle(tr("Keys"));
    auto *tree = HostKit::named(new QTreeWidget(this), "keys_tree", tr("Keys"));
    tree->setHeaderLabels({tr("Command"), tr("Key")});
    tree->setColumnCount(2);
    const QList<QAction *> registered = actions.actions();
    QMap<QString, QTreeWidgetItem *> groups;
    const auto list = [&](const QAction *action, const QString &title) {
        const QString keys =
            QKeySequence::listToString(action->shortcuts(), QKeySequence::NativeText);
        if (keys.isEmpty())
            return;
        QTreeWidgetItem *&group = groups[title];
        if (!group)
            group = new QTreeWidgetItem(tree, {title});
        new QTreeWidgetItem(group, {action->text().remove(QLatin1Char('&')), keys});
    };
    for (const QAction *action : registered)
        list(action, titleOf(ActionRegistry::group(action->objectName())));
    const QList<QAction *> own = window->actions();
    for (QAction *action : own) {
        if (!registered.contains(action))
            list(action, titleOf(QString()));
    }
    tree->expandAll();
    tree->resizeColumnToContents(0);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tree, 1);
    layout->addWidget(buttons);
    resize(760, 560);
}

} // namespace Studio
