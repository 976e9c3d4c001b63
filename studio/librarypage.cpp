#include "librarypage.h"

#include <hostkit/enginelibraries.h>
#include <hostkit/settings.h>
#include <hostkit/widgets.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/filedialogs.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>

namespace Studio
{

using namespace HostKit;

LibraryPage::LibraryPage(Settings &settings, EngineLibraries &engines, QWidget *parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_engines(engines)
    , m_list(named(new QListWidget(this), "library_list"))
    , m_remove(named(new QPushButton(tr("Remo&ve library"), this), "library_remove"))
{
    auto *add = named(new QPushButton(tr("Add &library..."), this), "library_add");
    auto *caption = new QLabel(tr("Engine librarie&s:"), this);
    caption->setBuddy(m_list);
    m_list->setAccessibleName(tr("Engine libraries"));
    m_list->addItems(settings.value("engine_libraries").toStringList());
    m_remove->setEnabled(false);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(caption);
    layout->addWidget(m_list);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(m_remove);
    buttons->addStretch();
    layout->addLayout(buttons);

    connect(add, &QPushButton::clicked, this, &LibraryPage::addLibrary);
    connect(m_remove, &QPushButton::clicked, this, &LibraryPage::removeLibrary);
    connect(m_list, &QListWidget::currentRowChanged, this,
            [this](int row) { m_remove->setEnabled(row >= 0); });
}

void LibraryPage::addLibrary()
{
    const QString file = Kiln::getOpenFileName(this, tr("Add engine library"), QString(),
                                               tr("Libraries (*.so *.dll *.dylib)"));
    QString fault;
    if (file.isEmpty() || !m_list->findItems(file, Qt::MatchExactly).isEmpty())
        return;
    if (!m_engines.load(file, &fault)) {
        Kiln::showWarning(this, tr("Load engine"), fault);
        return;
    }
    m_list->addItem(file);
    store();
}

void LibraryPage::removeLibrary()
{
    delete m_list->takeItem(m_list->currentRow());
    store();
}

void LibraryPage::store()
{
    QStringList libraries;
    for (int row = 0; row < m_list->count(); ++row)
        libraries.append(m_list->item(row)->text());
    m_settings.setValue("engine_libraries", libraries);
}

} // namespace Studio
