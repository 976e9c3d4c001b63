#include <hostkit/recoverydesk.h>

#include <hostkit/filedesk.h>
#include <hostkit/projectsession.h>
#include <hostkit/textcompare.h>
#include <hostkit/widgets.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/parentproject.h>

#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace HostKit
{

using Entry = RecoveryJournal::Entry;

namespace
{
// As it stands in the editor, with a line feed at each line end.
QString withLineFeeds(QString text)
{
    return text.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

// The file as its editor would read it; null if it is not there, or is no text.
Kiln::CodeDocument *loaded(ProjectSession &session, const Entry &entry)
{
    const QString &name = entry.head.fileName;
    return QFileInfo::exists(name)
               ? dynamic_cast<Kiln::CodeDocument *>(session.loadFile(name, entry.head.id))
               : nullptr;
}

// What replaces the text as a whole would lose folds and the place of everything: only what lies
// between the common start and the common end is written.
void replaceDifference(Kiln::CodeDocument *document, const QString &text)
{
    const QString old = document->toRawText();
    const int shorter = std::min(old.size(), text.size());
    const int start =
        int(std::mismatch(old.begin(), old.begin() + shorter, text.begin()).first - old.begin());
    const int end =
        int(std::mismatch(old.rbegin(), old.rbegin() + (shorter - start), text.rbegin()).first -
            old.rbegin());
    QTextCursor cursor = document->cursor();
    cursor.setPosition(start);
    cursor.setPosition(old.size() - end, QTextCursor::KeepAnchor);
    document->insertOnCursor(text.mid(start, text.size() - start - end), cursor);
}

/// The files of which something was left, and what differs from the disk in the one that is chosen.
class RecoveryDialog : public QDialog
{
    Q_OBJECT

public:
    enum Answer { Later, Restore, Discard };

    RecoveryDialog(const QList<Entry> &entries, ProjectSession &session, QWidget *parent);
    bool isChosen(int entry) const
    {
        return m_list->topLevelItem(entry)->checkState(0) == Qt::Checked;
    }

private:
    void compare();
    void saveCopy();
    const Entry *current() const;

    const QList<Entry> &m_entries;
    ProjectSession &m_session;
    QTreeWidget *m_list;
    CompareView *m_view;
};

RecoveryDialog::RecoveryDialog(const QList<Entry> &entries,
                               ProjectSession &session,
                               QWidget *parent)
    : QDialog(parent)
    , m_entries(entries)
    , m_session(session)
    , m_list(named(new QTreeWidget, "recovery_files", tr("Files")))
    , m_view(named(new CompareView, "recovery_compare", tr("Differences")))
{
    setObjectName(QStringLiteral("recovery_dialog"));
    setWindowTitle(tr("Unsaved work"));
    auto *head = new QLabel(tr("The last run ended before these files were saved. Restored changes "
                               "can be undone, and are not written to the disk until you save."));
    head->setWordWrap(true);
    m_list->setHeaderLabels({tr("File"), tr("Changed")});
    m_list->setRootIsDecorated(false);
    m_list->setTextElideMode(Qt::ElideMiddle);
    const QDir base(session.parentProject()->basePath());
    for (const Entry &entry : entries) {
        const QString name = entry.head.fileName.isEmpty()
                                 ? tr("Untitled")
                                 : base.relativeFilePath(entry.head.fileName);
        auto *item = new QTreeWidgetItem(
            m_list, {name, QLocale().toString(entry.time, QLocale::ShortFormat)});
        item->setCheckState(0, Qt::Checked);
        item->setToolTip(0, QDir::toNativeSeparators(entry.head.fileName));
    }
    m_list->header()->setStretchLastSection(false);
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    auto *splitter = new QSplitter;
    splitter->addWidget(m_list);
    splitter->addWidget(m_view);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({320, 500});

    auto *buttons = new QDialogButtonBox;
    const auto add = [&](const QString &text, const char *name, QDialogButtonBox::ButtonRole role,
                         int answer) {
        auto *button = named(buttons->addButton(text, role), name);
        connect(button, &QPushButton::clicked, this, [this, answer] { done(answer); });
        return button;
    };
    add(tr("&Restore"), "recovery_restore", QDialogButtonBox::AcceptRole, Restore)
        ->setDefault(true);
    add(tr("&Discard all"), "recovery_discard", QDialogButtonBox::DestructiveRole, Discard);
    add(tr("&Later"), "recovery_later", QDialogButtonBox::RejectRole, Later);
    auto *copy = named(buttons->addButton(tr("Save a &copy..."), QDialogButtonBox::ActionRole),
                       "recovery_copy");
    connect(copy, &QPushButton::clicked, this, &RecoveryDialog::saveCopy);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(head);
    layout->addWidget(splitter, 1);
    layout->addWidget(buttons);
    resize(840, 440);
    connect(m_list, &QTreeWidget::currentItemChanged, this, &RecoveryDialog::compare);
    m_list->setCurrentItem(m_list->topLevelItem(0));
}

const Entry *RecoveryDialog::current() const
{
    const int row = m_list->indexOfTopLevelItem(m_list->currentItem());
    return row < 0 ? nullptr : &m_entries.at(row);
}

void RecoveryDialog::compare()
{
    const Entry *entry = current();
    if (!entry)
        return;
    const Kiln::CodeDocument *document = loaded(m_session, *entry);
    m_view->compare(document ? withLineFeeds(document->toRawText()) : QString(),
                    withLineFeeds(entry->text));
}

void RecoveryDialog::saveCopy()
{
    const Entry *entry = current();
    const QString name =
        entry ? Kiln::getSaveFileName(this, tr("Save a copy"), entry->head.fileName, QString())
              : QString();
    if (name.isEmpty())
        return;
    Kiln::Archive &archive = Kiln::FileSystemArchive::instance();
    QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
    if (device)
        device->write(withLineFeeds(entry->text).toUtf8());
    if (!device || !archive.closeWritten(device))
        Kiln::showWarning(
            this, tr("Save a copy"),
            tr("'%1' could not be saved.\n%2")
                .arg(QDir::toNativeSeparators(name), Kiln::FileSystemArchive::lastError()));
}
} // namespace

RecoveryDesk::RecoveryDesk(RecoveryJournal &journal,
                           ProjectSession &session,
                           FileDesk *desk,
                           QWidget *window)
    : m_journal(journal)
    , m_session(session)
    , m_desk(desk)
    , m_window(window)
{
}

QString RecoveryDesk::projectLeft()
{
    const QList<Entry> entries = m_journal.leftBehind();
    return entries.isEmpty() ? QString() : entries.first().head.project;
}

void RecoveryDesk::offer()
{
    const QPointer<Kiln::ParentProject> project = m_session.parentProject();
    QList<Entry> entries;
    const QList<Entry> left = project ? m_journal.leftBehind() : QList<Entry>();
    for (const Entry &entry : left) {
        if (entry.head.project != project->basePath())
            continue;
        // The process may have ended just after a save.
        const Kiln::CodeDocument *document = loaded(m_session, entry);
        if (document && document->toRawText() == entry.text)
            m_journal.discard(entry);
        else
            entries.append(entry);
    }
    if (entries.isEmpty())
        return;
    RecoveryDialog dialog(entries, m_session, m_window);
    const int answer = dialog.exec();
    if (answer == RecoveryDialog::Later || !project)
        return;
    QStringList failed;
    QList<Entry> done;
    for (int i = entries.size() - 1; i >= 0; --i) { // the newest last, where a file was left twice
        const bool isWanted = answer == RecoveryDialog::Restore && dialog.isChosen(i);
        if (isWanted && !restore(entries.at(i)))
            failed.append(entries.at(i).head.fileName);
        else if (isWanted || answer == RecoveryDialog::Discard)
            done.append(entries.at(i));
    }
    // What was restored is on disk again before the old copy goes.
    if (m_journal.flush() || answer == RecoveryDialog::Discard) {
        for (const Entry &entry : qAsConst(done))
            m_journal.discard(entry);
    }
    if (!failed.isEmpty())
        Kiln::showWarning(m_window, tr("Unsaved work"),
                          tr("These files could not be opened; what was left of them is kept:\n%1")
                              .arg(FileDesk::listed(failed)));
}

bool RecoveryDesk::restore(const Entry &entry)
{
    const QString &name = entry.head.fileName;
    Kiln::CodeDocument *document = loaded(m_session, entry);
    if (!document && name.isEmpty())
        document = dynamic_cast<Kiln::CodeDocument *>(m_session.newFile(entry.head.id));
    else if (!document && !QFileInfo::exists(name))
        document = dynamic_cast<Kiln::CodeDocument *>(m_session.createFile(name, entry.head.id));
    if (!document)
        return false;
    if (document->toRawText() != entry.text)
        replaceDifference(document, entry.text);
    return m_desk->showFile(document);
}

} // namespace HostKit

#include "recoverydesk.moc"
