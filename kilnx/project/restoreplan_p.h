#pragma once

#include <kilnx/project/archive.h>
#include <kilnx/project/savereport.h>

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <functional>
#include <memory>

namespace Kiln
{

/// Copies the files of a backup back over a project.
///
/// A project on disk changes in one go: all files are fetched into a hidden directory of the
/// project, and only then take their places. Up to there it may be given up; destroying the plan
/// is all that takes. Other stores are written file by file.
class RestorePlan
{
public:
    /// Both directories are absolute and end in "/".
    RestorePlan(Archive &to, const QString &source, const QString &base);

    /// Relative to both directories.
    const QStringList &files() const { return m_files; }
    /// Whether nothing has changed before place().
    bool canGiveUp() const { return m_stage != nullptr; }
    /// How many portions of large files fetch() asks about.
    int portions() const;
    /// Where nothing has changed before place(), it asks `goesOn` after each portion of a large
    /// file, and gives up where that is false.
    void fetch(const QString &file, const std::function<bool()> &goesOn);
    void place();

    SaveReport report;

private:
    void settle(const QString &file);
    bool putInPlace(const QString &file, const QString &target) const;

    Archive &m_to;
    QString m_source;
    QString m_base;
    QStringList m_files;
    QStringList m_fetched;
    std::unique_ptr<QTemporaryDir> m_stage; ///< null where the project is on no disk
};

} // namespace Kiln
