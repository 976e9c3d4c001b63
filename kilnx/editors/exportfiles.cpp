#include <kilnx/editors/exportfiles_p.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive_p.h>
#include <kilnx/project/paths.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <cerrno>
#include <utility>

namespace Kiln
{

namespace
{

constexpr int mostListed = 8;

} // namespace

QString fileNamePart(const QString &identifier)
{
    static const QRegularExpression reserved(QStringLiteral("[/\\\\:*?\"<>|\\x00-\\x1f]"));
    return QString(identifier).replace(reserved, QStringLiteral("_"));
}

QStringList exportNames(const QStringList &identifiers, const QString &path)
{
    const QFileInfo info(path);
    QStringList names;
    QSet<QString> used;
    QHash<QString, int> numbers; // that were tried last
    for (const QString &identifier : identifiers) {
        const QString own = fileNamePart(identifier);
        QString part = own;
        for (int &number = numbers[own.toLower()]; used.contains(part.toLower()); ++number)
            part = own + QLatin1Char('_') + QString::number(number + 2);
        used.insert(part.toLower());
        names.append(info.absolutePath() + QLatin1Char('/') + info.completeBaseName() +
                     QLatin1Char('_') + part + QLatin1Char('.') + info.suffix());
    }
    return names;
}

bool mayReplaceFiles(QWidget *parent,
                     const QString &title,
                     const QStringList &names,
                     const QString &typed)
{
    QStringList there;
    for (const QString &name : names) {
        if (name != typed && QFileInfo::exists(name))
            there.append(name);
    }
    return there.isEmpty() || askQuestion(parent, title,
                                          QCoreApplication::translate(
                                              "Kiln::FileEditor",
                                              "These files exist. Do you want to replace them?\n%1")
                                              .arg(listedFiles(there)));
}

ExportedFiles::~ExportedFiles()
{
    for (const Part &part : qAsConst(m_parts))
        QFile::remove(part.name);
}

bool ExportedFiles::write(const QString &path, const QByteArray &bytes)
{
    const QString target = behindLinks(path);
    const QFileInfo old(target);
    if (old.exists() && !(old.isFile() && old.isWritable())) {
        setFileError(qt_error_string(EACCES));
        return false;
    }
    QFile part(partBeside(target));
    const bool isOpen = part.open(QIODevice::WriteOnly | QIODevice::NewOnly);
    if (isOpen && writeAll(&part, bytes)) {
        if (old.exists())
            takeRights(part, target);
        m_parts.append({part.fileName(), target, path});
        return true;
    }
    // What could not be flushed has left its reason with the system alone.
    setFileError(isOpen ? qt_error_string() : part.errorString());
    part.close();
    QFile::remove(part.fileName()); // QFile's own remove() fails with the last write
    return false;
}

QStringList ExportedFiles::commit()
{
    const bool isOnDisk =
        m_parts.isEmpty() || syncAround(QFileInfo(m_parts.first().target).absolutePath());
    QStringList refused;
    const QVector<Part> parts = std::exchange(m_parts, {});
    for (const Part &part : parts) {
        if (isOnDisk && takePlace(part.name, part.target))
            continue;
        if (isOnDisk)
            setFileError(qt_error_string());
        refused.append(part.path);
        QFile::remove(part.name);
    }
    return refused;
}

QString listedFiles(const QStringList &names)
{
    QStringList shown;
    for (const QString &name : names)
        shown.append(QDir::toNativeSeparators(name));
    return listedNames(shown);
}

QString listedNames(const QStringList &names)
{
    QStringList shown = names.mid(0, mostListed);
    if (names.size() > mostListed)
        shown.append(QStringLiteral("..."));
    return shown.join(QLatin1Char('\n'));
}

} // namespace Kiln
