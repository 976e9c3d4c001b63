#include <kilnx/editors/exportfiles_p.h>

#include <kilnx/forms/messageboxes.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

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
