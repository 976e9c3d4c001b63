#include "enginepage.h"

#include <hostkit/widgets.h>

#include <kilnx/project/engine.h>
#include <kilnx/project/filedialogs.h>

#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QScopedValueRollback>

namespace Studio
{

using namespace HostKit;

EnginePage::EnginePage(Kiln::EngineInstances *engines, QWidget *parent)
    : QWidget(parent)
    , m_engines(engines)
    , m_list(named(new QListView(this), "engine_list", tr("Engines")))
    , m_fields(new QWidget(this))
    , m_remove(named(new QPushButton(tr("&Remove"), this), "engine_remove"))
    , m_up(named(new QPushButton(tr("Move &up"), this), "engine_up"))
    , m_down(named(new QPushButton(tr("Move &down"), this), "engine_down"))
{
    m_list->setModel(engines);
    m_list->setIconSize(QSize(16, 16));
    auto *add = named(new QPushButton(tr("&Add..."), this), "engine_add");
    auto *browse = named(new QPushButton(tr("&Browse..."), this), "engine_browse");

    auto *buttons = new QHBoxLayout;
    for (QPushButton *button : {add, m_remove, m_up, m_down})
        buttons->addWidget(button);
    buttons->addStretch();

    auto *form = new QFormLayout(m_fields);
    form->setContentsMargins(0, 0, 0, 0);
    m_name = addField("engine_name", tr("&Name:"));
    m_executable = addField("engine_executable", tr("&Executable:"), browse);
    m_arguments = addField("engine_arguments", tr("Ar&guments:"));
    m_icon = addField("engine_icon", tr("&Icon file:"));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_list);
    layout->addLayout(buttons);
    layout->addWidget(m_fields);

    connect(add, &QPushButton::clicked, this, &EnginePage::addEngine);
    connect(m_remove, &QPushButton::clicked, this, &EnginePage::removeEngine);
    connect(m_up, &QPushButton::clicked, this, [this] { moveEngine(-1); });
    connect(m_down, &QPushButton::clicked, this, [this] { moveEngine(1); });
    connect(browse, &QPushButton::clicked, this, &EnginePage::browse);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &EnginePage::showCurrent);
    if (engines->count() > 0)
        m_list->setCurrentIndex(engines->index(0, 0));
    showCurrent();
}

void EnginePage::showCurrent()
{
    const int row = currentRow();
    const int count = int(m_engines->count());
    m_fields->setEnabled(row >= 0);
    m_remove->setEnabled(row >= 0);
    m_up->setEnabled(row > 0);
    m_down->setEnabled(row >= 0 && row + 1 < count);

    const QScopedValueRollback<bool> guard(m_showing, true);
    const Kiln::EngineInstances::Info info =
        row >= 0 ? m_engines->at(unsigned(row)) : Kiln::EngineInstances::Info();
    m_name->setText(info.name);
    m_executable->setText(info.executable);
    m_arguments->setText(info.arguments);
    m_icon->setText(info.icon);
}

void EnginePage::storeCurrent()
{
    const int row = currentRow();
    if (row < 0 || m_showing)
        return;
    m_engines->edit(unsigned(row), m_name->text(), m_executable->text(), m_arguments->text(),
                    m_icon->text());
}

void EnginePage::addEngine()
{
    const QString executable = Kiln::getOpenFileName(this, tr("Add engine"), QString(), QString());
    if (executable.isEmpty())
        return;
    m_engines->add(QFileInfo(executable).baseName(), executable, QString(), QString());
    m_list->setCurrentIndex(m_engines->index(int(m_engines->count()) - 1, 0));
    m_name->setFocus();
}

void EnginePage::removeEngine()
{
    const int row = currentRow();
    if (row < 0)
        return;
    m_engines->remove(unsigned(row));
    showCurrent();
}

void EnginePage::moveEngine(int by)
{
    const int row = currentRow();
    const int target = row + by;
    if (row < 0 || target < 0 || target >= int(m_engines->count()))
        return;
    m_engines->move(unsigned(row), unsigned(target));
    m_list->setCurrentIndex(m_engines->index(target, 0));
    showCurrent();
}

void EnginePage::browse()
{
    const QString executable =
        Kiln::getOpenFileName(this, tr("Executable"), m_executable->text(), QString());
    if (!executable.isEmpty())
        m_executable->setText(executable);
}

int EnginePage::currentRow() const
{
    const QModelIndex index = m_list->currentIndex();
    return index.isValid() ? index.row() : -1;
}

QLineEdit *EnginePage::addField(const char *name, const QString &caption, QPushButton *beside)
{
    auto *field = named(new QLineEdit(m_fields), name, QString(caption).remove(QLatin1Char('&')));
    auto *label = new QLabel(caption, m_fields);
    label->setBuddy(field);
    auto *row = new QHBoxLayout;
    row->addWidget(field);
    if (beside)
        row->addWidget(beside);
    static_cast<QFormLayout *>(m_fields->layout())->addRow(label, row);
    connect(field, &QLineEdit::textChanged, this, &EnginePage::storeCurrent);
    return field;
}

} // namespace Studio
