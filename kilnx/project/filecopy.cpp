#include <kilnx/project/filecopy_p.h>

#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>

namespace Kiln
{

/// A name beside a file that hardly another process has taken.
static QString partOf(const QString &fileName)
{
    return QFileInfo(fileName).path() + QLatin1Char('/') + partPrefix +
           QString::number(QRandomGenerator::global()->generate64(), 36);
}

/// What was not written says why only when it is tried again.
static bool writeBlock(QFile &file, const QByteArray &block)
{
    qint64 written = 0;
    while (written < block.size()) {
        const qint64 more = file.write(block.constData() + written, block.size() - written);
        if (more <= 0)
            return false;
        written += more;
    }
    return true;
}

/// The reason why not; null when all is copied.
static QString copyContents(QFile &source, QFile &made)
{
    constexpr qint64 blockSize = 131072;
    while (true) {
        const QByteArray block = source.read(blockSize);
        if (block.isEmpty())
            return source.error() == QFile::NoError ? QString() : source.errorString();
        if (!writeBlock(made, block))
            return made.errorString();
    }
}

FileCopyResult FileCopier::copy(const QString &from, const QString &to) const
{
    if (m_isStopped->load())
        return {};
    QFile source(from);
    QFile made(m_care == NewFiles::Whole ? partOf(to) : to);
    if (!source.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {false, source.errorString()};
    if (!made.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
        return {false, made.errorString()};
    takeExecution(made, source);
    QString error = copyContents(source, made);
    made.close();
    const bool isNamed = made.fileName() == to;
    if (error.isNull() && !isNamed && !takePlace(made.fileName(), to))
        error = qt_error_string();
    if (error.isNull())
        return {true, QString()};
    QFile::remove(made.fileName());
    return {false, error};
}

} // namespace Kiln
