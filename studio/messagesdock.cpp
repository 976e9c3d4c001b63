#include "messagesdock.h"

#include <hostkit/messagetable.h>
#include <hostkit/widgets.h>

#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QSortFilterProxyModel>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace Studio
{

using namespace HostKit;

namespace
{
constexpr int RestTime = 150;     // milliseconds
constexpr int MostSought = 20000; // rows that are looked through while the caret moves
} // namespace

/// The rows of some kinds, or of one file.
class MessageFilter : public QSortFilterProxyModel
{
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    void set(const QVector<bool> &kinds, const Kiln::ProjectFile *file)
    {
        m_kinds = kinds;
        m_file = file;
        invalidateFilter();
    }

protected:
    bool filterAcceptsRow(int row, const QModelIndex &) const override
    {
        Kiln::ProjectFile *file = nullptr;
        const auto *table = static_cast<const MessageTable *>(sourceModel());
        const Kiln::Message message = table->messageAt(row, file);
        return m_kinds.value(message.type) && (!m_file || file == m_file);
    }

private:
    QVector<bool> m_kinds;
    const Kiln::ProjectFile *m_file = nullptr; ///< null for all
};

MessagesDock::MessagesDock(HostKit::MessageTable *table, QWidget *parent)
    : QDockWidget(tr("Messages"), parent)
    , m_table(table)
    , m_filter(new MessageFilter(this))
    , m_view(named(new QTreeView, "messages_view", tr("Messages of the project")))
    , m_onlyShown(named(new QCheckBox(tr("Onl&y the file on show")), "messages_only_shown"))
{
    named(this, "dock_messages");
    m_view->setModel(m_table);
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setIconSize(QSize(16, 16));
    QHeaderView *header = m_view->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(0, QHeaderView::Stretch);
    header->resizeSection(1, 200);
    header->resizeSection(2, 60);

    auto *contents = new QWidget(this);
    auto *layout = new QVBoxLayout(contents);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto *filters = new QHBoxLayout;
    layout->addLayout(filters);
    layout->addWidget(m_view, 1);
    const char *names[] = {"messages_errors", "messages_warnings", "messages_hints"};
    for (int kind = Kiln::Message::Error; kind <= Kiln::Message::Information; ++kind) {
        auto *button = named(new QToolButton(contents), names[kind]);
        button->setIcon(Kiln::Message::icon(Kiln::Message::Type(kind)));
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setCheckable(true);
        button->setChecked(true);
        button->setAutoRaise(true);
        connect(button, &QToolButton::toggled, this, &MessagesDock::applyFilter);
        filters->addWidget(button);
        m_kinds[kind] = button;
    }
    filters->addWidget(m_onlyShown);
    filters->addStretch();
    setWidget(contents);
    contents->setFocusProxy(m_view);

    m_resting.setSingleShot(true);
    connect(&m_resting, &QTimer::timeout, this, &MessagesDock::chooseAtCaret);
    connect(m_onlyShown, &QCheckBox::toggled, this, &MessagesDock::applyFilter);
    connect(m_view, &QTreeView::activated, this, &MessagesDock::activate);
    connect(m_table, &MessageTable::countsChanged, this, &MessagesDock::showCounts);
    showCounts();
}

// The table goes without the filter while all is shown: a filter looks at every row at each change.
void MessagesDock::applyFilter()
{
    QVector<bool> kinds;
    for (const QToolButton *button : m_kinds)
        kinds.append(button->isChecked());
    const bool isNeeded = kinds.contains(false) || m_onlyShown->isChecked();
    m_filter->setSourceModel(isNeeded ? m_table : nullptr);
    m_filter->set(kinds, m_onlyShown->isChecked() ? m_file : nullptr);
    QAbstractItemModel *model = m_table;
    if (isNeeded)
        model = m_filter;
    if (m_view->model() != model)
        m_view->setModel(model);
}

void MessagesDock::showCounts()
{
    const int errors = m_table->errorCount();
    const int warnings = m_table->warningCount();
    m_kinds[Kiln::Message::Error]->setText(tr("Errors: %1").arg(errors));
    m_kinds[Kiln::Message::Warning]->setText(tr("Warnings: %1").arg(warnings));
    m_kinds[Kiln::Message::Information]->setText(
        tr("Hints: %1").arg(m_table->rowCount() - errors - warnings));
}

Kiln::Message MessagesDock::messageAt(int row, Kiln::ProjectFile *&file) const
{
    const QModelIndex index = m_view->model()->index(row, 0);
    const bool isFiltered = m_view->model() == m_filter;
    return m_table->messageAt(isFiltered ? m_filter->mapToSource(index).row() : row, file);
}

void MessagesDock::activate(const QModelIndex &index)
{
    Kiln::ProjectFile *file = nullptr;
    const Kiln::Message message = messageAt(index.row(), file);
    if (file)
        emit placeActivated(file, message.line, message.column);
}

void MessagesDock::step(int by)
{
    const int count = m_view->model()->rowCount();
    if (count == 0)
        return;
    Kiln::ProjectFile *file = nullptr;
    const int chosen = m_view->currentIndex().row();
    const Kiln::Message message = messageAt(chosen, file);
    const bool isThere = chosen >= 0 && file == m_file && message.line == m_line;
    const int row = isThere ? chosen + by : rowFromCaret(by);
    const QModelIndex index = m_view->model()->index((row + count) % count, 0);
    m_view->setCurrentIndex(index);
    activate(index);
}

/// The first row below the caret, or the last one above it; the rows of a file stand together, line
/// by line.
int MessagesDock::rowFromCaret(int by) const
{
    const int count = m_view->model()->rowCount();
    int found = by > 0 ? 0 : count - 1;
    for (int i = 0; i < count; ++i) {
        const int row = by > 0 ? i : count - 1 - i;
        Kiln::ProjectFile *file = nullptr;
        const Kiln::Message message = messageAt(row, file);
        if (file != m_file)
            continue;
        if (by > 0 ? message.line > m_line : message.line < m_line)
            return row;
        found = row + by;
    }
    return found;
}

void MessagesDock::setPlace(Kiln::ProjectFile *file, int line)
{
    const bool isOther = m_file != file;
    m_file = file;
    m_line = line;
    if (isOther && m_onlyShown->isChecked())
        applyFilter();
    m_resting.start(RestTime);
}

void MessagesDock::chooseAtCaret()
{
    const int count = m_view->model()->rowCount();
    Kiln::ProjectFile *file = nullptr;
    const Kiln::Message chosen = messageAt(m_view->currentIndex().row(), file);
    if (!m_file || !isVisible() || count > MostSought || (file == m_file && chosen.line == m_line))
        return;
    for (int row = 0; row < count; ++row) {
        const Kiln::Message message = messageAt(row, file);
        if (file != m_file || message.line != m_line)
            continue;
        m_view->setCurrentIndex(m_view->model()->index(row, 0));
        return;
    }
}

} // namespace Studio
