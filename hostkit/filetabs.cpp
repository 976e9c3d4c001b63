#include <hostkit/filetabs.h>

#include <hostkit/widgets.h>

#include <kilnx/project/organizable.h>
#include <kilnx/project/projectfile.h>

#include <QFileInfo>
#include <QScopedValueRollback>
#include <QTextDocument>

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
    for (int i = 0; i < count(); ++i) {
        Kiln::ProjectFile *file = fileAt(i);
        const bool isGone = m_isGone && m_isGone(file);
        const QString name = isGone ? tr("%1 (gone)").arg(title(file)) : title(file);
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
