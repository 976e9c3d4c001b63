#include <hostkit/keyspage.h>

#include <hostkit/actionregistry.h>
#include <hostkit/shortcuts.h>
#include <hostkit/widgets.h>

#include <kilnx/project/translator.h>

#include <QAction>
#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QPushButton>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QVBoxLayout>

namespace HostKit
{

namespace
{

/// What the commands of a group of keys are about; the window's own have no group.
QString titleOf(const QString &group)
{
    static const QMap<QString, int> texts{{"anim", 46}, {"spr", 95},    {"pal", 28}, {"org", 165},
                                          {"code", 15}, {"thumb", 173}, {"snd", 150}};
    return texts.contains(group) ? Kiln::KilnTranslator::instance()->text(texts.value(group))
                                 : KeysPage::tr("Window");
}

QString plainText(const QAction *command)
{
    return command->text().remove(QLatin1Char('&'));
}

QString shown(const QList<QKeySequence> &keys)
{
    return QKeySequence::listToString(keys, QKeySequence::NativeText);
}

} // namespace

KeysPage::KeysPage(Shortcuts &shortcuts, QWidget *parent)
    : QWidget(parent)
    , m_shortcuts(shortcuts)
    , m_tree(named(new QTreeWidget(this), "keys_tree", tr("Commands and their keys")))
    , m_key(named(new QKeySequenceEdit(this), "keys_key", tr("Key")))
    , m_set(named(new QPushButton(tr("&Set"), this), "keys_set"))
    , m_remove(named(new QPushButton(tr("Re&move"), this), "keys_remove"))
    , m_standard(named(new QPushButton(tr("S&tandard"), this), "keys_standard"))
    , m_told(named(new QLabel(this), "keys_told"))
{
    auto *sought = named(new QLineEdit(this), "keys_filter", tr("Search"));
    sought->setPlaceholderText(tr("Search for a command or a key"));
    sought->setClearButtonEnabled(true);
    setFocusProxy(sought);
    m_tree->setHeaderLabels({tr("Command"), tr("Key")});
    m_tree->setUniformRowHeights(true);
    m_tree->header()->setStretchLastSection(false);
    m_tree->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_tree->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    m_told->setWordWrap(true);
    auto *label = new QLabel(tr("&Key:"), this);
    label->setBuddy(m_key);
    auto *fields = new QHBoxLayout;
    fields->addWidget(label);
    fields->addWidget(m_key, 1);
    fields->addWidget(m_set);
    fields->addWidget(m_remove);
    fields->addWidget(m_standard);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(sought);
    layout->addWidget(m_tree, 1);
    layout->addLayout(fields);
    layout->addWidget(m_told);

    list();
    connect(sought, &QLineEdit::textChanged, this, &KeysPage::filter);
    connect(m_tree, &QTreeWidget::currentItemChanged, this, &KeysPage::showCommand);
    connect(m_tree, &QTreeWidget::itemActivated, this, [this] { m_key->setFocus(); });
    m_key->installEventFilter(this);
    sought->installEventFilter(this);
    connect(m_set, &QPushButton::clicked, this, [this] { set({m_key->keySequence()}); });
    connect(m_remove, &QPushButton::clicked, this, [this] { set({}); });
    connect(m_standard, &QPushButton::clicked, this, [this] {
        if (const QAction *chosen = command())
            set(m_shortcuts.delivered(chosen));
    });
    showCommand();
}

void KeysPage::list()
{
    QMap<QString, QTreeWidgetItem *> groups;
    const QList<QAction *> commands = m_shortcuts.commands();
    for (QAction *each : commands) {
        const QString text = plainText(each);
        const QString title = titleOf(ActionRegistry::group(each->objectName()));
        if (text.isEmpty())
            continue;
        QTreeWidgetItem *&group = groups[title];
        if (!group)
            group = new QTreeWidgetItem(m_tree, {title});
        auto *row = new QTreeWidgetItem(group, {text, shown(each->shortcuts())});
        row->setIcon(0, each->icon());
        m_rows.insert(each, row);
    }
    m_tree->sortItems(0, Qt::AscendingOrder);
    m_tree->expandAll();
}

void KeysPage::filter(const QString &text)
{
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem *group = m_tree->topLevelItem(i);
        bool isAnyShown = false;
        for (int row = 0; row < group->childCount(); ++row) {
            QTreeWidgetItem *item = group->child(row);
            const bool fits = item->text(0).contains(text, Qt::CaseInsensitive) ||
                              item->text(1).contains(text, Qt::CaseInsensitive);
            item->setHidden(!fits);
            isAnyShown = isAnyShown || fits;
        }
        group->setHidden(!isAnyShown);
    }
}

void KeysPage::chooseFirst()
{
    for (QTreeWidgetItemIterator row(m_tree, QTreeWidgetItemIterator::NotHidden); *row; ++row) {
        if (!(*row)->parent())
            continue;
        m_tree->setCurrentItem(*row);
        m_tree->setFocus();
        return;
    }
}

QAction *KeysPage::command() const
{
    return m_rows.key(m_tree->currentItem());
}

KeysPage::Keys KeysPage::keysOf(QAction *command) const
{
    return m_changed.value(command, command->shortcuts());
}

QList<QAction *> KeysPage::clashes(const QAction *command, const QKeySequence &key) const
{
    QList<QAction *> found;
    for (auto row = m_rows.cbegin(); row != m_rows.cend() && !key.isEmpty(); ++row) {
        if (row.key() != command && keysOf(row.key()).contains(key) &&
            Shortcuts::meet(row.key(), command))
            found.append(row.key());
    }
    return found;
}

void KeysPage::showCommand()
{
    QAction *chosen = command();
    for (QWidget *widget : std::initializer_list<QWidget *>{m_key, m_remove, m_standard})
        widget->setEnabled(chosen);
    m_key->setKeySequence(chosen ? keysOf(chosen).value(0) : QKeySequence());
    showClashes();
}

// A key counts when it is let go, and not after the second in which it might begin a row of keys.
// Return leads from the search to what it has found, and does not end the dialog.
bool KeysPage::eventFilter(QObject *watched, QEvent *event)
{
    const bool isPressed = watched == focusProxy() && event->type() == QEvent::KeyPress;
    const int key = isPressed ? static_cast<QKeyEvent *>(event)->key() : 0;
    if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Down) {
        chooseFirst();
        return true;
    }
    const bool isDone = QWidget::eventFilter(watched, event);
    if (watched == m_key && event->type() == QEvent::KeyRelease) {
        m_key->setKeySequence(m_key->keySequence());
        showClashes();
    }
    return isDone;
}

void KeysPage::showClashes()
{
    const QAction *chosen = command();
    const QKeySequence key = m_key->keySequence();
    QStringList others;
    const QList<QAction *> clashing = chosen ? clashes(chosen, key) : QList<QAction *>();
    for (const QAction *other : clashing)
        others.append(QLatin1Char('\'') + plainText(other) + QLatin1Char('\''));
    m_told->setText(others.isEmpty() ? QString()
                                     : tr("%1 is the key of %2, which loses it if it is set here.")
                                           .arg(key.toString(QKeySequence::NativeText),
                                                others.join(QStringLiteral(", "))));
    m_set->setEnabled(chosen && !key.isEmpty());
}

void KeysPage::set(const Keys &keys)
{
    QAction *chosen = command();
    if (!chosen)
        return;
    for (const QKeySequence &key : keys) {
        const QList<QAction *> clashing = clashes(chosen, key);
        for (QAction *other : clashing) {
            Keys left = keysOf(other);
            left.removeAll(key);
            change(other, left);
        }
    }
    change(chosen, keys);
    showCommand();
}

void KeysPage::change(QAction *command, const Keys &keys)
{
    m_changed.insert(command, keys);
    m_rows.value(command)->setText(1, shown(keys));
}

void KeysPage::apply()
{
    for (auto each = m_changed.cbegin(); each != m_changed.cend(); ++each)
        m_shortcuts.setKeys(each.key(), each.value());
    m_changed.clear();
}

} // namespace HostKit
