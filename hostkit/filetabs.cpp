#include <hostkit/filetabs.h>

#include <hostkit/filemanager.h>
#include <hostkit/widgets.h>

#include <kilnx/project/organizable.h>
#include <kilnx/project/projectfile.h>

#include <QClipboard>
#include <QContextMenuEvent>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHash>
#include <QMenu>
#include <QPointer>
#include <QScopedValueRollback>
#include <QTextDocument>

#include <memory>

namespace HostKit
{

FileTabs::FileTabs(QWidget *parent)
    : QTabBar(parent)
    , m_isModified([](Kiln::ProjectFile *file) { return file->isModified(); })
{
    named(this, "file_tabs", tr("Open files"));
    setTabsClosable(true);
    setMovable(true);
    setDocumentMode(true);
    setExpanding(false);
    setDrawBase(false);
    setElideMode(Qt::ElideNone); // many names scroll
    setUsesScrollButtons(true);
    hide();
    connect(this, &QTabBar::currentChanged, this, &FileTabs::choose);
    connect(this, &QTabBar::tabCloseRequested, this,
            [this](int index) { Q_EMIT closeRequested(fileAt(index)); });
}

void FileTabs::showFile(Kiln::ProjectFile *file)
{
    const QScopedValueRollback<bool> guard(m_changing, true);
    int index = indexOf(file);
    if (index < 0 && file) {
        index = addTab(title(file));
        setTabData(index, QVariant::fromValue<void *>(file));
        follow(file);
    }
    setCurrentIndex(index);
    refresh();
    setVisible(count() > 0);
}

// The mark of a file that is not shown changes too, as when it is loaded again.
void FileTabs::follow(Kiln::ProjectFile *file)
{
    if (const auto *text = dynamic_cast<QTextDocument *>(file))
        connect(text, &QTextDocument::modificationChanged, this, &FileTabs::refresh,
                Qt::UniqueConnection);
    else if (const auto *list = qobject_cast<Kiln::OrganizableObject *>(file->model()))
        connect(list, &Kiln::OrganizableObject::changed, this, &FileTabs::refresh,
                Qt::UniqueConnection);
}

void FileTabs::removeFile(Kiln::ProjectFile *file)
{
    const int index = indexOf(file);
    if (index < 0)
        return;
    const QScopedValueRollback<bool> guard(m_changing, true);
    removeTab(index);
    setVisible(count() > 0);
}

Kiln::ProjectFile *FileTabs::currentFile() const
{
    return fileAt(currentIndex());
}

QList<Kiln::ProjectFile *> FileTabs::files() const
{
    QList<Kiln::ProjectFile *> all;
    for (int i = 0; i < count(); ++i)
        all.append(fileAt(i));
    return all;
}

int FileTabs::indexOf(const Kiln::ProjectFile *file) const
{
    for (int i = 0; file && i < count(); ++i) {
        if (fileAt(i) == file)
            return i;
    }
    return -1;
}

void FileTabs::refresh()
{
    const QStringList names = titles(files());
    for (int i = 0; i < count(); ++i) {
        Kiln::ProjectFile *file = fileAt(i);
        const bool isGone = m_isGone && m_isGone(file);
        const QString name = isGone ? tr("%1 (gone)").arg(names.at(i)) : names.at(i);
        QString text = m_isModified(file) ? name + QStringLiteral(" •") : name;
        text.replace(QLatin1Char('&'), QLatin1String("&&")); // or it would be a key
        if (tabText(i) != text)                              // each text lays the whole bar out
            setTabText(i, text);
        setTabToolTip(
            i, isGone
                   ? tr("%1\nis gone from the disk; saving writes it again.").arg(file->fileName())
                   : file->fileName());
    }
}

void FileTabs::setModifiedTest(const std::function<bool(Kiln::ProjectFile *)> &test)
{
    m_isModified = test;
}

QString FileTabs::title(Kiln::ProjectFile *file)
{
    const QString name = QFileInfo(file->fileName()).fileName();
    return name.isEmpty() ? tr("Untitled") : name;
}

QStringList FileTabs::titles(const QList<Kiln::ProjectFile *> &files)
{
    QStringList names;
    for (Kiln::ProjectFile *file : files)
        names.append(title(file));
    bool hasGrown = true;
    for (int parts = 2; hasGrown; ++parts) {
        hasGrown = false;
        QHash<QString, int> counts;
        for (const QString &name : qAsConst(names))
            ++counts[name];
        for (int i = 0; i < files.size(); ++i) {
            if (counts.value(names.at(i)) < 2)
                continue;
            const QString longer = files.at(i)->fileName().section(QLatin1Char('/'), -parts);
            if (longer.size() <= names.at(i).size())
                continue;
            names[i] = longer;
            hasGrown = true;
        }
    }
    return names;
}

QString FileTabs::shownTitle(Kiln::ProjectFile *file) const
{
    const int index = indexOf(file);
    return index < 0 ? title(file) : titles(files()).at(index);
}

void FileTabs::contextMenuEvent(QContextMenuEvent *event)
{
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const int index = isByKey ? currentIndex() : tabAt(event->pos());
    if (index < 0)
        return;
    const std::unique_ptr<QMenu> menu(makeMenu(fileAt(index)));
    menu->exec(isByKey ? mapToGlobal(tabRect(index).bottomLeft()) : event->globalPos());
}

void FileTabs::mouseReleaseEvent(QMouseEvent *event)
{
    const int index = tabAt(event->pos());
    if (event->button() == Qt::MiddleButton && index >= 0)
        Q_EMIT closeRequested(fileAt(index));
    else
        QTabBar::mouseReleaseEvent(event);
}

QMenu *FileTabs::makeMenu(Kiln::ProjectFile *file)
{
    auto *menu = new QMenu(this);
    const QString name = file->fileName();
    QList<Kiln::ProjectFile *> others = files();
    others.removeAll(file);
    const auto add = [&](const char *key, const QString &text, bool isEnabled, auto &&act) {
        QAction *action = menu->addAction(text, this, act);
        action->setObjectName(QLatin1String(key));
        action->setEnabled(isEnabled);
    };
    add("tab_close", tr("&Close"), true, [=] { closeAll({file}); });
    add("tab_close_others", tr("Close &others"), !others.isEmpty(), [=] { closeAll(others); });
    add("tab_close_all", tr("Close &all"), true, [=] { closeAll(files()); });
    menu->addSeparator();
    add("tab_copy_path", tr("Copy &path"), !name.isEmpty(),
        [=] { QGuiApplication::clipboard()->setText(QDir::toNativeSeparators(name)); });
    add("tab_show", tr("&Show in file manager"), !name.isEmpty(),
        [=] { showInFileManager(window(), QFileInfo(name).path()); });
    return menu;
}

// Each may ask; who says no to one keeps the rest, too.
void FileTabs::closeAll(const QList<Kiln::ProjectFile *> &files)
{
    const QPointer<FileTabs> self(this);
    for (Kiln::ProjectFile *file : files) {
        if (indexOf(file) < 0)
            continue;
        Q_EMIT closeRequested(file);
        if (!self || indexOf(file) >= 0)
            return;
    }
}

Kiln::ProjectFile *FileTabs::fileAt(int index) const
{
    return static_cast<Kiln::ProjectFile *>(tabData(index).value<void *>());
}

void FileTabs::choose(int index)
{
    if (!m_changing && index >= 0)
        Q_EMIT fileChosen(fileAt(index));
}

} // namespace HostKit
