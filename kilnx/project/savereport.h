#pragma once

#include <kilnx/export.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Kiln
{

/// What ParentProject::save(), saveAs(), backup() or restoreBackup() did, file by file, for the
/// host to tell in one message. All names are absolute.
struct KILNX_EXPORT SaveReport {
    /// A file that is not where it was to be.
    struct Failure {
        QString fileName;
        QString reason; ///< one or two whole sentences for the user
    };

    /// Written from memory; only what is on disk by now.
    QStringList written;
    /// Copied as they were on disk.
    QStringList copied;
    QList<Failure> failures;
    /// Open and changed, but outside the project's directory or, with an empty name, never given
    /// one: neither saved nor copied, and still modified.
    QStringList leftOut;
    /// Open and unchanged, but gone from the disk: memory holds the only copy.
    /// ProjectFile::toFile() with the file's own archive and name brings one back.
    QStringList missing;
    /// The user has cancelled it. A copy elsewhere, a backup or a restore has then changed nothing;
    /// what a save had not come to is still modified.
    bool isCancelled = false;

    /// All of it is below another directory now; both end in "/".
    void rename(const QString &from, const QString &to);
    /// Whether there is nothing to tell but, perhaps, that it was cancelled.
    bool isComplete() const;
    /// All that did not work out, a line for each file with its reason; empty if isComplete().
    QString text() const;
};

} // namespace Kiln
