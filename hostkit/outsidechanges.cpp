#include <hostkit/outsidechanges.h>

#include <hostkit/comparedialog.h>
#include <hostkit/filedesk.h>
#include <hostkit/filetabs.h>
#include <hostkit/projectsession.h>
#include <hostkit/settings.h>
#include <hostkit/widgets.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/textcodecs.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/filewatch.h>
#include <kilnx/project/parentproject.h>

#include <QApplication>
#include <QDir>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include <algorithm>
#include <utility>

namespace HostKit
{

using DiskState = Kiln::FileWatchObject::DiskState;

namespace
{
constexpr int Quiet = 200; // milliseconds

enum Answer { Later, Reload, Write, Keep };

Kiln::FileWatchObject *watched(Kiln::ProjectFile *file)
{
    return dynamic_cast<Kiln::FileWatchObject *>(file);
}

// As its editor would read it; null if it cannot be read.
QString textOnDisk(Kiln::CodeDocument *document)
{
    Kiln::Archive &archive = document->archive();
    QIODevice *device = archive.openFile(document->fileName(), QIODevice::ReadOnly);
    if (!device)
        return QString();
    int codec = document->codecId();
    QString text = Kiln::TextCodecs::stringFromData(device->readAll(), &codec);
    archive.closeFile(device);
    return text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
}
} // namespace

OutsideChanges::OutsideChanges(ProjectSession &session,
                               Settings &settings,
                               FileDesk *desk,
                               FileTabs *tabs,
                               QWidget *window)
    : m_session(session)
    , m_settings(settings)
    , m_desk(desk)
    , m_tabs(tabs)
    , m_window(window)
    , m_quiet(this)
{
    makeBar();
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(Quiet);
    connect(&m_quiet, &QTimer::timeout, this, &OutsideChanges::look);
    Kiln::FileWatchObject::setListener([this](const QString &path) {
        m_paths.insert(path);
        m_quiet.start();
    });
    tabs->setGoneTest([this](Kiln::ProjectFile *file) { return isGone(file); });
    connect(desk, &FileDesk::changed, this, &OutsideChanges::settle);
    connect(&session, &ProjectSession::fileRemoved, this, &OutsideChanges::drop);
    connect(&session, &ProjectSession::aboutToClose, this, [this](Kiln::ParentProject *project) {
        const QList<Kiln::ProjectFile *> files = m_session.files(project);
        for (Kiln::ProjectFile *file : files)
            drop(file);
    });
}

OutsideChanges::~OutsideChanges()
{
    Kiln::FileWatchObject::setListener({});
    if (m_tabs)
        m_tabs->setGoneTest({});
}

QWidget *OutsideChanges::bar() const
{
    return m_bar;
}

void OutsideChanges::makeBar()
{
    m_bar = named(new QFrame(m_window), "changes_bar", tr("Changes by other programs"));
    m_bar->setFrameShape(QFrame::StyledPanel);
    m_bar->setBackgroundRole(QPalette::ToolTipBase);
    m_bar->setForegroundRole(QPalette::ToolTipText);
    m_bar->setAutoFillBackground(true);
    auto *layout = new QHBoxLayout(m_bar);
    layout->setContentsMargins(8, 4, 8, 4);
    m_text = named(new QLabel, "changes_text");
    m_text->setWordWrap(true);
    m_text->setTextFormat(Qt::PlainText); // whatever a file is called
    m_text->setForegroundRole(QPalette::ToolTipText);
    layout->addWidget(m_text, 1);
    const auto add = [&](const QString &text, const char *name, auto &&act) {
        auto *button = named(new QPushButton(text), name);
        layout->addWidget(button);
        connect(button, &QPushButton::clicked, this, act);
        return button;
    };
    // The menus and the find bar leave few letters; loading and writing are never offered at once.
    m_reload = add(tr("Load from d&isk"), "changes_reload", [this] { reloadShown(); });
    m_compare =
        add(tr("Co&mpare..."), "changes_compare", [this] { choose(m_tabs->currentFile()); });
    m_write = add(tr("Wr&ite again"), "changes_write", [this] { Q_EMIT saveRequested(); });
    m_keep = add(tr("&Keep"), "changes_keep", [this] { keep(m_tabs->currentFile()); });
    m_others = add(QString(), "changes_others", [this] { choose(nullptr); });
    m_bar->hide();
}

// Behind a box somebody may hold on to what a file has now.
void OutsideChanges::look()
{
    if (QApplication::activeModalWidget() || QApplication::activePopupWidget()) {
        m_quiet.start();
        return;
    }
    const QSet<QString> paths = std::exchange(m_paths, {});
    QList<Kiln::ProjectFile *> files = m_session.files();
    files.erase(std::remove_if(files.begin(), files.end(),
                               [&paths](auto *file) { return !paths.contains(file->fileName()); }),
                files.end());
    QStringList loaded;
    for (Kiln::ProjectFile *file : qAsConst(files)) {
        // One that was loaded before may have brought another to its end.
        if (m_session.files().contains(file) && judge(file))
            loaded.append(FileTabs::title(file));
    }
    if (!loaded.isEmpty())
        Q_EMIT message(loaded.size() == 1
                           ? tr("'%1' was changed by another program and has been loaded again.")
                                 .arg(loaded.first())
                           : tr("%1 files were changed by other programs and have been loaded "
                                "again.")
                                 .arg(loaded.size()));
    m_tabs->refresh();
    showBar();
}

/// Notes what has become of a file on disk; true if it was loaded again.
bool OutsideChanges::judge(Kiln::ProjectFile *file)
{
    Kiln::FileWatchObject *object = watched(file);
    const DiskState state = object ? object->diskState() : DiskState::Same;
    const auto known = m_notices.constFind(file);
    const bool wasGone = known != m_notices.constEnd() && known->state == Gone;
    if (state == DiskState::Same) {
        forget(file);
    } else if (state == DiskState::Gone) {
        if (!wasGone)
            m_notices.insert(file, {Gone, false});
    } else if (m_settings.value(QStringLiteral("reload_unchanged")).toBool() &&
               !m_desk->isModified(file) && load(file)) {
        return true;
    } else if (m_session.files().contains(file)) {
        m_notices.insert(file, {Changed, false});
    }
    return false;
}

/// The file is as it is on disk; true if that is news.
bool OutsideChanges::forget(Kiln::ProjectFile *file)
{
    m_desk->setKept(file, false);
    return m_notices.remove(file) > 0;
}

void OutsideChanges::drop(Kiln::ProjectFile *file)
{
    if (m_notices.remove(file) > 0)
        showBar();
}

// A file was saved, loaded, closed or shown.
void OutsideChanges::settle()
{
    const QList<Kiln::ProjectFile *> noticed = m_notices.keys();
    bool isNews = false;
    for (Kiln::ProjectFile *file : noticed) {
        if (watched(file)->diskState() == DiskState::Same)
            isNews = forget(file) || isNews;
    }
    if (isNews)
        m_tabs->refresh();
    showBar();
}

QList<Kiln::ProjectFile *> OutsideChanges::waiting() const
{
    QList<Kiln::ProjectFile *> files;
    const QList<Kiln::ProjectFile *> all = m_session.files();
    for (Kiln::ProjectFile *file : all) {
        const auto notice = m_notices.constFind(file);
        if (notice != m_notices.constEnd() && !notice->isKept)
            files.append(file);
    }
    std::sort(files.begin(), files.end(),
              [](auto *one, auto *two) { return one->fileName() < two->fileName(); });
    return files;
}

bool OutsideChanges::isGone(Kiln::ProjectFile *file) const
{
    const auto notice = m_notices.constFind(file);
    return notice != m_notices.constEnd() && notice->state == Gone;
}

void OutsideChanges::showBar()
{
    QList<Kiln::ProjectFile *> files = waiting();
    Kiln::ProjectFile *shown = m_tabs->currentFile();
    const bool isShown = files.removeOne(shown);
    const bool isGoneHere = isShown && isGone(shown);
    const QString name = isShown            ? FileTabs::title(shown)
                         : !files.isEmpty() ? FileTabs::title(files.first())
                                            : QString();
    m_text->setText(
        isGoneHere ? tr("'%1' is gone from the disk. It is still whole here.").arg(name)
        : isShown && m_desk->isModified(shown)
            ? tr("'%1' was changed by another program, and it has changes here that "
                 "are not saved.")
                  .arg(name)
        : isShown || files.size() == 1
            ? isShown || !isGone(files.first())
                  ? tr("'%1' was changed by another program.").arg(name)
                  : tr("'%1' is gone from the disk.").arg(name)
            : tr("%1 files were changed or deleted by other programs.").arg(files.size()));
    m_reload->setVisible(isShown && !isGoneHere);
    m_compare->setVisible(isShown && !isGoneHere && dynamic_cast<Kiln::CodeDocument *>(shown));
    m_write->setVisible(isGoneHere);
    m_keep->setVisible(isShown);
    m_others->setVisible(!files.isEmpty());
    m_others->setText(isShown ? tr("&Browse others (%1)...").arg(files.size()) : tr("&Browse..."));
    m_bar->setVisible(isShown || !files.isEmpty());
}

/// Loads a file again; false, with the file as it was, where it cannot be read.
bool OutsideChanges::load(Kiln::ProjectFile *file)
{
    auto *document = dynamic_cast<Kiln::CodeDocument *>(file);
    const bool isText = document && file->canSave(); // else it only shows something as text
    const bool isLoaded = isText ? document->reloadAsEdit()
                                 : file->fromFile(file->archive(), file->fileName(), false);
    if (isLoaded)
        forget(file);
    return isLoaded;
}

// Changes here are not dropped before the user has seen what comes in their place.
void OutsideChanges::reloadShown()
{
    Kiln::ProjectFile *file = m_tabs->currentFile();
    if (!file)
        return;
    if (m_desk->isModified(file) && dynamic_cast<Kiln::CodeDocument *>(file))
        choose(file);
    else
        reload({file});
}

/// Loads files, those after a question whose changes cannot be brought back.
void OutsideChanges::reload(const QList<Kiln::ProjectFile *> &files)
{
    QStringList failed;
    const auto isCancelled = [this](Kiln::ProjectFile *file) {
        const auto *document =
            m_session.files().contains(file) ? dynamic_cast<Kiln::CodeDocument *>(file) : nullptr;
        return document && document->wasLoadCancelled();
    };
    for (Kiln::ProjectFile *file : files) {
        if (!m_session.files().contains(file) || isGone(file))
            continue;
        const QString name = file->fileName();
        const bool isLost = m_desk->isModified(file) && !dynamic_cast<Kiln::CodeDocument *>(file);
        if (isLost && !Kiln::askQuestion(m_window, tr("Reload"),
                                         tr("The changes made in '%1' will be lost. Do you want to "
                                            "load it again?")
                                             .arg(FileTabs::title(file))))
            continue;
        if (m_session.files().contains(file) && !load(file) && !isCancelled(file))
            failed.append(name);
    }
    if (!failed.isEmpty())
        Kiln::showWarning(m_window, tr("Reload"),
                          tr("These files could not be read:\n%1").arg(FileDesk::listed(failed)));
    m_tabs->refresh();
    showBar();
}

// What is in memory is the only copy now, and is asked about like a change.
void OutsideChanges::keep(Kiln::ProjectFile *file)
{
    const auto notice = m_notices.find(file);
    if (notice == m_notices.end())
        return;
    notice->isKept = true;
    auto *document = dynamic_cast<Kiln::CodeDocument *>(file);
    if (document && notice->state == Changed) {
        document->acceptDisk();
        m_notices.erase(notice);
        document->setModified(true);
    } else if (notice->state == Changed) {
        m_desk->setKept(file, true);
    }
    m_desk->syncWithEditor();
    showBar();
}

/// Shows what differs in one file, or in all that wait, and does what the user says.
void OutsideChanges::choose(Kiln::ProjectFile *only)
{
    const QList<Kiln::ProjectFile *> files = only ? QList<Kiln::ProjectFile *>{only} : waiting();
    if (files.isEmpty())
        return;
    QList<Kiln::ProjectFile *> chosen;
    const int answer = ask(files, only, &chosen);
    QStringList gone;
    if (answer == Reload)
        reload(chosen);
    for (Kiln::ProjectFile *file : qAsConst(chosen)) {
        if (answer == Keep)
            keep(file);
        else if (answer == Write && isGone(file))
            gone.append(file->fileName());
    }
    if (!gone.isEmpty())
        Q_EMIT writeRequested(gone);
}

/// The answer, and the files that it is about. Those with changes here are marked at first if
/// `marksEdited`.
int OutsideChanges::ask(const QList<Kiln::ProjectFile *> &files,
                        bool marksEdited,
                        QList<Kiln::ProjectFile *> *chosen)
{
    QVector<CompareDialog::File> rows;
    bool isAnyGone = false;
    for (Kiln::ProjectFile *file : files) {
        const QDir base(file->project()->parent()->basePath());
        const bool isEdited = m_desk->isModified(file);
        isAnyGone = isAnyGone || isGone(file);
        rows.append({base.relativeFilePath(file->fileName()),
                     isGone(file) ? tr("gone")
                     : isEdited   ? tr("changed here, too")
                                  : tr("changed"),
                     file->fileName(), marksEdited || isGone(file) || !isEdited});
    }
    const auto texts = [&](int row) {
        auto *document = dynamic_cast<Kiln::CodeDocument *>(files.value(row));
        if (!document || !m_session.files().contains(files.value(row)))
            return QPair<QString, QString>();
        QString here = document->toRawText();
        here.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
        return qMakePair(here, textOnDisk(document));
    };
    CompareDialog dialog(
        QStringLiteral("changes"),
        tr("Other programs have written or deleted these files. Reloading takes out the "
           "lines marked with - and brings those marked with +; in texts it can "
           "be undone."),
        tr("State"), rows, texts, m_window);
    dialog.setWindowTitle(tr("Changes by other programs"));
    QPushButton *take =
        dialog.addButton(tr("&Reload"), "changes_take", QDialogButtonBox::AcceptRole, Reload);
    QPushButton *write = dialog.addButton(tr("&Write again"), "changes_write_gone",
                                          QDialogButtonBox::AcceptRole, Write);
    QPushButton *hold = dialog.addButton(tr("&Keep what is here"), "changes_hold",
                                         QDialogButtonBox::DestructiveRole, Keep);
    dialog.addButton(tr("&Later"), "changes_later", QDialogButtonBox::RejectRole, Later);
    const auto marked = [&](bool wantsGone) {
        for (int i = 0; i < files.size(); ++i) {
            if (dialog.isMarked(i) && isGone(files.at(i)) == wantsGone)
                return true;
        }
        return false;
    };
    const auto enable = [&] {
        take->setEnabled(marked(false));
        write->setEnabled(marked(true));
        hold->setEnabled(marked(false) || marked(true));
    };
    connect(&dialog, &CompareDialog::marksChanged, &dialog, enable);
    enable();
    write->setVisible(isAnyGone);
    dialog.showFile(0);
    const int answer = dialog.exec();
    for (int i = 0; i < files.size(); ++i) {
        if (dialog.isMarked(i) && m_session.files().contains(files.at(i)))
            chosen->append(files.at(i));
    }
    return answer;
}

bool OutsideChanges::mayOverwrite(const QList<Kiln::ProjectFile *> &files)
{
    QStringList names;
    for (Kiln::ProjectFile *file : files) {
        Kiln::FileWatchObject *object = watched(file);
        const Notice known = m_notices.value(file);
        const bool isAnswered = known.state == Changed && known.isKept;
        if (object && !isAnswered && !file->fileName().isEmpty() &&
            object->diskState() == DiskState::Changed)
            names.append(file->fileName());
    }
    return names.isEmpty() ||
           Kiln::askQuestion(m_window, tr("Save"),
                             tr("Other programs have changed these files since they were loaded. "
                                "Do you want to write over them?\n%1")
                                 .arg(FileDesk::listed(names)));
}

} // namespace HostKit
