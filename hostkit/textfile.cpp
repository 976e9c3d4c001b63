#include <hostkit/textfile.h>

#include <QCoreApplication>
#include <QFileInfo>

namespace HostKit
{

bool TextFile::isNameOf(const QString &fileName)
{
    static const QStringList suffixes{
        QStringLiteral("txt"),  QStringLiteral("text"), QStringLiteral("md"),
        QStringLiteral("log"),  QStringLiteral("ini"),  QStringLiteral("cfg"),
        QStringLiteral("csv"),  QStringLiteral("json"), QStringLiteral("xml"),
        QStringLiteral("html"), QStringLiteral("yml"),  QStringLiteral("lua")};
    return suffixes.contains(QFileInfo(fileName).suffix(), Qt::CaseInsensitive);
}

QString TextFile::language() const
{
    return QCoreApplication::translate("HostKit::TextFile", "Plain text");
}

void TextFile::release()
{
    delete this;
}

int TextFile::foldingKind(const QString &)
{
    return 0;
}

} // namespace HostKit
