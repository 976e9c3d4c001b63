#pragma once

#include <hostkit/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtGui/QImage>

namespace HostKit
{

/// The unsaved work on one file. The text of a document is kept as it grew: all of it first, and
/// then what changed, a record each. A record counts only whole and with the right checksum, so
/// whatever cuts the file off, what stands before the cut can be read. A file of items is kept as
/// it was at one moment, in a single record.
///
/// An object belongs to one thread at a time.
class HOSTKIT_EXPORT JournalFile
{
public:
    /// Whose work it is.
    struct Head {
        QString fileName;    ///< absolute; empty for a file that was never saved
        unsigned int id = 0; ///< the bits of its Kiln::Project::FileID
        QString project;     ///< the base path of its project

        bool operator==(const Head &other) const
        {
            return fileName == other.fileName && id == other.id && project == other.project;
        }
    };
    /// A file of items, as sprites or sounds, as it would be saved.
    struct Items {
        QByteArray bytes; ///< null where the file itself is as it is on disk
        int row = -1;     ///< of the item that `picture` is drawn on; -1 without one
        QImage picture;   ///< what is not in its item yet
    };
    /// What a file held.
    struct Contents {
        Head head;
        bool isText = true;
        QString text;
        Items items;    ///< unless it is a text
        QDateTime time; ///< of the last record
    };

    explicit JournalFile(const QString &path);

    /// Brings the file to `text`. It is out of the process when this returns true, so that the
    /// process may be killed; after false it still holds an older text whole, and error() tells
    /// why.
    bool write(const Head &head, const QString &text);
    /// The same with items. A file holds either these or a text.
    bool write(const Head &head, const Items &items);
    QString error() const { return m_error; }
    QString path() const { return m_path; }
    /// Returns when the disk has what was written to a file, so that the machine may stop. That can
    /// take seconds where much else is being written.
    static void sync(const QString &path);
    void remove();

    /// Reads a file up to its first damaged record; false if not even the first is whole.
    static bool read(const QString &path, Contents *contents);

private:
    bool writeAll(const QByteArray &payload);
    bool append(const QString &text);

    QString m_path;
    QString m_error;
    Head m_head;
    QString m_text;         ///< what the file holds
    qint64 m_appended = -1; ///< bytes since all was written; negative: all has to be written
    int m_records = 0;      ///< appended records
};

} // namespace HostKit
