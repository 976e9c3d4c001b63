#include "welcomepage.h"

#include <hostkit/projectpictures.h>
#include <hostkit/widgets.h>

#include <QAction>
#include <QCommandLinkButton>
#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QVBoxLayout>

namespace Studio
{

using namespace HostKit;

namespace
{

const int directoryRole = Qt::UserRole;

/// A picture in the middle of an icon; that of a directory where there is none.
QIcon iconOf(const QImage &picture)
{
    if (!picture.isNull())
        return QIcon(QPixmap::fromImage(picture));
    QPixmap pixmap(ProjectPictures::Size);
    pixmap.fill(Qt::transparent);
    const QIcon folder(QStringLiteral(":/kiln_icons/icons/icon_folder.png"));
    QPainter painter(&pixmap);
    folder.paint(&painter, pixmap.rect().marginsRemoved({24, 16, 24, 16}));
    return QIcon(pixmap);
}

} // namespace

WelcomePage::WelcomePage(QWidget *parent)
    : QWidget(parent)
    , m_recent(named(new QListWidget(this), "welcome_recent", tr("Recent projects")))
    , m_hint(named(new QLabel(this), "welcome_hint"))
{
    named(this, "welcome_page");
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(24, 16, 24, 16);
    row->setSpacing(24);
    row->addWidget(makeStarts(), 2);
    row->addWidget(makeRecent(), 3);
}

QWidget *WelcomePage::makeStarts()
{
    auto *page = new QWidget(this);
    auto *picture = new QLabel(page);
    picture->setPixmap(QPixmap(QStringLiteral(":/kiln_icons/icons/kiln_128.png"))
                           .scaled(48, 48, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    auto *title = new QLabel(tr("Kiln Studio"), page);
    QFont large = title->font();
    large.setPointSizeF(large.pointSizeF() * 1.8);
    title->setFont(large);
    auto *head = new QHBoxLayout;
    head->addWidget(picture);
    head->addWidget(title, 1);
    auto *column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->addStretch(1);
    column->addLayout(head);
    const auto add = [&](const char *name, const QString &text, const QString &about,
                         void (WelcomePage::*wanted)()) {
        auto *button = named(new QCommandLinkButton(text, about, page), name);
        column->addWidget(button);
        connect(button, &QCommandLinkButton::clicked, this, wanted);
    };
    add("welcome_new", tr("&New project..."), tr("A game, a character or a stage to start with"),
        &WelcomePage::newRequested);
    add("welcome_open", tr("Open a pro&ject..."), tr("The directory that a project is in"),
        &WelcomePage::openRequested);
    add("welcome_sample", tr("Try the sa&mple"), tr("A small game, in a copy of your own"),
        &WelcomePage::sampleRequested);
    column->addStretch(2);
    return page;
}

QWidget *WelcomePage::makeRecent()
{
    auto *page = new QWidget(this);
    auto *caption = new QLabel(tr("Re&cent projects:"), page);
    caption->setBuddy(m_recent);
    m_hint->setText(tr("The projects that you open will be listed here."));
    m_hint->setWordWrap(true);
    m_recent->setIconSize(ProjectPictures::Size);
    m_recent->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto *remove = new QAction(tr("Remove from the &list"), m_recent);
    remove->setObjectName(QStringLiteral("welcome_remove"));
    remove->setShortcut(QKeySequence::Delete);
    remove->setShortcutContext(Qt::WidgetShortcut);
    m_recent->addAction(remove);
    m_recent->setContextMenuPolicy(Qt::ActionsContextMenu);
    auto *column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(caption);
    column->addWidget(m_hint);
    column->addWidget(m_recent, 1);
    column->addStretch();
    connect(m_recent, &QListWidget::itemActivated, this, [this](const QListWidgetItem *item) {
        emit recentRequested(item->data(directoryRole).toString());
    });
    connect(remove, &QAction::triggered, this, [this] {
        if (const QListWidgetItem *item = m_recent->currentItem())
            emit removeRequested(item->data(directoryRole).toString());
    });
    return page;
}

void WelcomePage::setRecent(const QVector<Recent> &projects)
{
    const int current = m_recent->currentRow();
    m_recent->clear();
    for (const Recent &project : projects) {
        auto *item = new QListWidgetItem(iconOf(project.picture), QString(), m_recent);
        item->setData(directoryRole, project.directory);
        item->setToolTip(QDir::toNativeSeparators(project.directory));
    }
    m_recent->setCurrentRow(qMin(current, m_recent->count() - 1));
    m_recent->setVisible(!projects.isEmpty());
    m_hint->setVisible(projects.isEmpty());
    showNames();
}

void WelcomePage::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    showNames();
}

void WelcomePage::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    showNames();
}

// A list lays out each line of an item in its whole width: a path is cut before.
void WelcomePage::showNames()
{
    const int room = m_recent->viewport()->width() - ProjectPictures::Size.width() - 24;
    for (int i = 0; i < m_recent->count(); ++i) {
        QListWidgetItem *item = m_recent->item(i);
        const QDir directory(item->data(directoryRole).toString());
        const QString name = directory.dirName();
        const bool isThere = directory.exists();
        item->setText((isThere ? name : tr("%1 (not there)").arg(name)) + QLatin1Char('\n') +
                      m_recent->fontMetrics().elidedText(QDir::toNativeSeparators(directory.path()),
                                                         Qt::ElideMiddle, room));
        item->setForeground(
            palette().brush(isThere ? QPalette::Active : QPalette::Disabled, QPalette::Text));
    }
}

} // namespace Studio
