#include <hostkit/openfiles.h>

#include <hostkit/codesurface.h>
#include <hostkit/filedesk.h>
#include <hostkit/filetabs.h>
#include <hostkit/paths.h>
#include <hostkit/projectsession.h>

#include <kilnx/code/codeblockdata.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/codeedit/codeeditor.h>
#include <kilnx/project/parentproject.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QScopedValueRollback>
#include <QTextBlock>
#include <QTimer>

#include <algorithm>

namespace HostKit
{

namespace
{
constexpr int Pause = 2000;
} // namespace

OpenFiles::OpenFiles(ProjectSession &session, FileTabs *tabs, const QString &directory)
    : m_session(session)
    , m_tabs(tabs)
    , m_directory(directory)
    , m_timer(new QTimer(this))
{
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &OpenFiles::storeAll);
    connect(&session, &ProjectSession::aboutToClose, this, &OpenFiles::store);
}

void OpenFiles::touch()
{
    Kiln::ProjectFile *current = m_tabs->currentFile();
    if (current && current->project())
        m_shown[current->project()->parent()->basePath()] = current->fileName();
    if (!m_timer->isActive())
        m_timer->start(Pause);
}

Kiln::ProjectFile *OpenFiles::shownLast(const Kiln::ParentProject *project) const
{
    const QString name = project ? m_shown.value(project->basePath()) : QString();
    Kiln::ProjectFile *file = name.isEmpty() ? nullptr : m_session.findFile(name);
    return m_tabs->indexOf(file) < 0 ? nullptr : file;
}

QString OpenFiles::fileName(const Kiln::ParentProject *project) const
{
    return fileOfProject(m_directory, project->basePath(), QStringLiteral(".json"));
}

QJsonObject OpenFiles::placeOf(Kiln::ProjectFile *file, const QString &base) const
{
    QJsonObject place{{"file", QDir(base).relativeFilePath(file->fileName())},
                      {"type", int(m_session.fileId(file).bits)}};
    auto *document = dynamic_cast<Kiln::CodeDocument *>(file);
    if (!document)
        return place;
    if (m_surface && m_surface->document() == document)
        Kiln::CodeWorkspace::rememberPlace(document, m_surface->editor()->currentLine());
    place["place"] = static_cast<QTextDocument *>(document)->objectName();
    QJsonArray folds;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const Kiln::CodeBlockData *data = Kiln::CodeBlockData::testBlockData(block);
        if (data && data->isFolded())
            folds.append(block.blockNumber());
    }
    if (!folds.isEmpty())
        place["folds"] = folds;
    return place;
}

void OpenFiles::storeAll()
{
    m_timer->stop();
    const QList<Kiln::ParentProject *> open = m_session.parentProjects();
    for (const Kiln::ParentProject *project : open)
        store(project);
}

// What cannot be written is not worth a word.
void OpenFiles::store(const Kiln::ParentProject *project)
{
    if (m_restoring || m_directory.isEmpty())
        return;
    QJsonArray files;
    const QList<Kiln::ProjectFile *> own = m_session.files(project);
    for (Kiln::ProjectFile *file : m_tabs->files()) {
        if (own.contains(file) && !file->fileName().isEmpty())
            files.append(placeOf(file, project->basePath()));
    }
    const QJsonObject all{{"files", files}, {"current", m_shown.value(project->basePath())}};
    QDir().mkpath(m_directory);
    QSaveFile file(fileName(project));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(all).toJson());
        file.commit();
    }
}

void OpenFiles::restore(FileDesk &desk)
{
    const Kiln::ParentProject *project = m_session.parentProject();
    if (m_directory.isEmpty() || !project)
        return;
    QFile file(fileName(project));
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QScopedValueRollback<bool> guard(m_restoring, true);
    const QJsonObject stored = QJsonDocument::fromJson(file.readAll()).object();
    const QDir base(project->basePath());
    const QList<Kiln::ProjectFile *> before = m_tabs->files();
    QList<Kiln::ProjectFile *> wanted;
    const QJsonArray entries = stored["files"].toArray();
    for (const auto &entry : entries) {
        const QString name = QDir::cleanPath(base.filePath(entry["file"].toString()));
        if (!QFile::exists(name) || !desk.openFile(name, unsigned(entry["type"].toInt())))
            continue;
        wanted.append(m_tabs->currentFile());
        restorePlace(entry.toObject());
    }
    // Whatever cannot be read tells so in a box, behind which others are closed.
    const QList<Kiln::ProjectFile *> all = m_session.files();
    wanted.erase(std::remove_if(wanted.begin(), wanted.end(),
                                [&all](auto *file) { return !all.contains(file); }),
                 wanted.end());
    if (wanted.isEmpty())
        return;
    const QList<Kiln::ProjectFile *> own = m_session.files(m_session.parentProject());
    for (Kiln::ProjectFile *other : before) {
        if (own.contains(other) && !wanted.contains(other))
            desk.closeFile(other);
    }
    const int first = m_tabs->count() - wanted.size();
    for (int i = 0; i < wanted.size(); ++i)
        m_tabs->moveTab(m_tabs->indexOf(wanted.at(i)), first + i);
    Kiln::ProjectFile *current = m_session.findFile(stored["current"].toString());
    desk.showFile(wanted.contains(current) ? current : wanted.first());
}

// Folds first: a cursor in a folded line opens it.
void OpenFiles::restorePlace(const QJsonObject &place)
{
    auto *document = dynamic_cast<Kiln::CodeDocument *>(m_tabs->currentFile());
    if (!document || !m_surface || m_surface->document() != document)
        return;
    const QJsonArray folds = place["folds"].toArray();
    for (const auto &fold : folds) {
        const QTextBlock head = document->findBlockByNumber(fold.toInt());
        if (head.isValid() && head.next().isVisible())
            m_surface->editor()->toggleBlockVisible(head);
    }
    const QStringList numbers = place["place"].toString().split(QLatin1Char(','));
    m_surface->editor()->setCurrentLine(
        {numbers.value(0).toInt(), numbers.value(1).toInt(), numbers.value(2).toInt()});
}

} // namespace HostKit
