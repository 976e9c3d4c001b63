#include <kilnx/project/savereport.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>

#include <algorithm>

namespace Kiln
{

void SaveReport::rename(const QString &from, const QString &to)
{
    const auto renameOne = [&](QString &fileName) {
        if (fileName.startsWith(from))
            fileName.replace(0, from.size(), to);
    };
    std::for_each(written.begin(), written.end(), renameOne);
    std::for_each(copied.begin(), copied.end(), renameOne);
    for (Failure &failure : failures)
        renameOne(failure.fileName);
}

bool SaveReport::isComplete() const
{
    return failures.isEmpty() && leftOut.isEmpty() && missing.isEmpty();
}

QString SaveReport::text() const
{
    QStringList lines;
    const char context[] = "Kiln::SaveReport";
    const auto tell = [&lines](const QString &fileName, const QString &reason) {
        lines.append(QDir::toNativeSeparators(fileName) + QStringLiteral(": ") + reason);
    };
    for (const Failure &failure : failures)
        tell(failure.fileName, failure.reason);
    for (const QString &fileName : leftOut) {
        if (fileName.isEmpty())
            lines.append(QCoreApplication::translate(
                context, "A new file was given no name, and its changes are not saved."));
        else
            tell(fileName,
                 QCoreApplication::translate(
                     context, "It lies outside the project's directory, and its changes are not "
                              "saved here."));
    }
    for (const QString &fileName : missing)
        tell(fileName,
             QCoreApplication::translate(
                 context, "It is gone from the disk. Only this program still holds its contents."));
    return lines.join(QLatin1Char('\n'));
}

} // namespace Kiln
