#include "welcomepage.h"

#include <hostkit/widgets.h>

#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace Studio
{

using namespace HostKit;

WelcomePage::WelcomePage(QWidget *parent)
    : QWidget(parent)
    , m_recent(named(new QListWidget(this), "welcome_recent", tr("Recent projects")))
{
    named(this, "welcome_page");
    auto *picture = new QLabel(this);
    picture->setPixmap(QPixmap(QStringLiteral(":/kiln_icons/icons/kiln_128.png"))
                           .scaled(64, 64, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    auto *title = new QLabel(tr("Kiln Studio"), this);
    QFont large = title->font();
    large.setPointSizeF(large.pointSizeF() * 1.8);
    title->setFont(large);
    auto *open = named(new QPushButton(tr("&Open a project..."), this), "welcome_open");
    auto *make = named(new QPushButton(tr("&New project..."), this), "welcome_new");
    auto *caption = new QLabel(tr("&Recent projects:"), this);
    caption->setBuddy(m_recent);

    auto *column = new QVBoxLayout;
    column->addStretch(1);
    column->addWidget(picture);
    column->addWidget(title);
    column->addSpacing(12);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(open);
    buttons->addWidget(make);
    buttons->addStretch(1);
    column->addLayout(buttons);
    column->addSpacing(12);
    column->addWidget(caption);
    column->addWidget(m_recent, 2);
    column->addStretch(2);
    auto *row = new QHBoxLayout(this);
    row->addStretch(1);
    row->addLayout(column, 3);
    row->addStretch(1);

    connect(open, &QPushButton::clicked, this, &WelcomePage::openRequested);
    connect(make, &QPushButton::clicked, this, &WelcomePage::newRequested);
    connect(m_recent, &QListWidget::itemActivated, this,
            [this](QListWidgetItem *item) { emit recentRequested(item->toolTip()); });
}

void WelcomePage::setRecent(const QStringList &directories)
{
    m_recent->clear();
    for (const QString &directory : directories) {
        auto *item =
            new QListWidgetItem(QIcon(QStringLiteral(":/kiln_icons/icons/icon_folder.png")),
                                QDir(directory).dirName() + QStringLiteral("  –  ") +
                                    QDir::toNativeSeparators(directory),
                                m_recent);
        item->setToolTip(directory);
    }
}

} // namespace Studio
