#pragma once

#include <hostkit/export.h>

#include <QtCore/QDateTime>
#include <QtCore/QString>

namespace HostKit
{

/// The text of one document as it grew: a file that starts with all of it and goes on with what
/// changed, a record each. A record counts only whole and with the right checksum, so whatever cuts
/// the file off, what stands before the cut can be read.
///
/// An object belongs to one thread at a time.
class HOSTKIT_EXPORT JournalFile
{
public:
    /// Whose text it is.
    struct Head {
        QString fileName;    ///< absolute; empty for a file that was never saved
        unsigned int id = 0; ///< the bits of its Kiln::Project::FileID
        QString project;     ///< the base path of its project

        bool operator==(const Head &other) const
        {
            return fileName == other.fileName && id == other.id && project == other.project;
        }
    };
    /// What a file held.
    struct Contents {
        Head head;
        QString text;
        QDateTime time; ///< of the last record
    };

    explicit JournalFile(const QString &path);

    /// Brings the file to `text`. It is out of the process when this returns true, so that the
    /// process may be killed; after false it still holds an older text whole, and error() tells
    /// why.
    bool write(const Head &head, const QString &text);
    QString error() const { return m_error; }
    QString path() const { return m_path; }
    /// Returns when the disk has what was written to a file, so that the machine may stop. That can
    /// take seconds where much else is being written.
    static void sync(const QString &path);
    void remove();

    /// Reads a file up to its first damaged record; false if not even the first is whole.
    static bool read(const QString &path, Contents *contents);

private:
    bool writeAll(const Head &head, const QString &text);
    bool append(const QString &text);

    QString m_path;
    QString m_error;
    Head m_head;
    QString m_text;         ///< what the file holds
    qint64 m_appended = -1; ///< bytes since all was written; negative: all has to be written
    int m_records = 0;      ///< appended records
};

} // namespace HostKit
