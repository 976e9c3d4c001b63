#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

class QWidget;

namespace Kiln
{

/// An identifier as a part of a file name, on every system.
QString fileNamePart(const QString &identifier);

/// The files to which several items are written: beside `path`, the name that was typed, each with
/// its identifier behind an underscore, as far as a file name can have it, and with a number where
/// two would have the same.
QStringList exportNames(const QStringList &identifiers, const QString &path);

/// Asks once about the files that exist, except `typed`, about which the dialog has asked.
bool mayReplaceFiles(QWidget *parent,
                     const QString &title,
                     const QStringList &names,
                     const QString &typed);

/// Files that are written together: none has its name before commit(), so a cancel leaves alone
/// what was there. What has no name when this is destroyed goes away.
class ExportedFiles
{
public:
    ExportedFiles() = default;
    ExportedFiles(const ExportedFiles &) = delete;
    ExportedFiles &operator=(const ExportedFiles &) = delete;
    ~ExportedFiles();

    /// Writes what `path` will hold beside it. False, with FileSystemArchive::lastError(), where it
    /// cannot be written whole, and for what is no file or may not be written.
    bool write(const QString &path, const QByteArray &bytes);
    /// Gives all their names. Returns those that cannot have them: what was there stays.
    QStringList commit();

private:
    struct Part {
        QString name;   ///< that it has
        QString target; ///< that it is to have
        QString path;   ///< what stands for that
    };
    QVector<Part> m_parts;
};

/// The first of some file names, a line each, for a message.
QString listedFiles(const QStringList &names);
/// The same of lines that are not names of files.
QString listedNames(const QStringList &names);

} // namespace Kiln
