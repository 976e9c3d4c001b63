#include <kilnx/project/restoreplan_p.h>

#include <kilnx/project/archive_p.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/saveplan_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace Kiln
{

static const QLatin1String stagePrefix(".kiln-restore-");

/// What a restore has left that was killed.
static void removeOldStages(const QString &base)
{
    const QStringList left =
        QDir(base).entryList({stagePrefix + QLatin1Char('*')}, QDir::Dirs | QDir::Hidden);
    for (const QString &name : left)
        QDir(base + name).removeRecursively();
}

RestorePlan::RestorePlan(Archive &to, const QString &source, const QString &base)
    : m_to(to)
    , m_source(source)
    , m_base(base)
    , m_files(filesBelow(FileSystemArchive::instance(), source))
{
    if (!dynamic_cast<FileSystemArchive *>(&to))
        return;
    removeOldStages(base);
    m_stage = std::make_unique<QTemporaryDir>(base + stagePrefix + QLatin1String("XXXXXX"));
}

static QString reasonOf(const QString &source)
{
    return QCoreApplication::translate("Kiln::SaveReport", "'%1' could not be copied to it.")
        .arg(source);
}

int RestorePlan::portions() const
{
    int portions = 0;
    for (const QString &file : m_files)
        portions += partsOf(FileSystemArchive::instance(), m_source + file) - 1;
    return portions;
}

void RestorePlan::fetch(const QString &file, const std::function<bool()> &goesOn)
{
    setFileError(QString());
    const QString target = m_base + file;
    const bool isStaged = m_stage && m_stage->isValid();
    const QString place = isStaged ? m_stage->filePath(file) : target;
    // The whole stage is synced at once.
    const NewFiles newFiles(isStaged ? NewFiles::Staged : NewFiles::Synced);
    Archive &to = isStaged ? FileSystemArchive::instance() : m_to;
    bool isWanted = true;
    std::function<bool()> ask;
    if (isStaged)
        ask = [&] { return isWanted = goesOn(); };
    const bool isFetched =
        copyInPortions(FileSystemArchive::instance(), m_source + file, to, place, ask);
    if (!isWanted)
        return;
    if (!isFetched)
        failToSave(report, target, reasonOf(m_source + file));
    else if (isStaged)
        m_fetched.append(file);
    else
        report.copied.append(target);
}

void RestorePlan::place()
{
    if (!m_fetched.isEmpty() && !syncAround(m_stage->path())) {
        failToSave(report, m_base, reasonOf(m_source));
        return;
    }
    for (const QString &file : qAsConst(m_fetched))
        settle(file);
}

void RestorePlan::settle(const QString &file)
{
    setFileError(QString());
    const QString target = m_base + file;
    if (putInPlace(m_stage->filePath(file), target))
        report.copied.append(target);
    else
        failToSave(report, target, reasonOf(m_source + file));
}

bool RestorePlan::putInPlace(const QString &staged, const QString &target) const
{
    const QString name = behindLinks(target);
    const QFileInfo old(name);
    if (!QDir().mkpath(old.path()))
        return false;
    const bool isReplaced = old.isFile();
    // As any other writing, it leaves files alone that may not be written, and says so.
    QFile file(name);
    if (isReplaced && !file.open(QIODevice::ReadWrite)) {
        setFileError(file.errorString());
        return false;
    }
    file.close();
    QFile contents(staged);
    if (isReplaced)
        takeRights(contents, name);
    // It may be on another disk than the stage.
    const NewFiles newFiles(NewFiles::Synced);
    Archive &disk = FileSystemArchive::instance();
    return takePlace(staged, name) || copyFile(disk, staged, disk, name);
}

} // namespace Kiln
