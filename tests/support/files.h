#pragma once

#include <QtTest/QtTest>

/// Writes a whole file, and its directories; the test fails if that cannot be done.
inline void writeFile(const QString &path, const QByteArray &data = QByteArray())
{
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(data), qint64(data.size()));
}

/// A whole file; "no file" where there is none.
inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

/// Writes a file beside another and puts it in its place, as most programs save.
inline void replaceFile(const QString &path, const QByteArray &contents)
{
    writeFile(path + "~", contents);
    QCOMPARE(rename(qPrintable(path + "~"), qPrintable(path)), 0);
}

/// Copies a folder with all below it; the copies can be written.
inline void copyFolder(const QString &from, const QString &to)
{
    QDirIterator entries(from, QDir::Files, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString target = to + entries.next().mid(from.size());
        QVERIFY(QDir().mkpath(QFileInfo(target).path()));
        QVERIFY(QFile::copy(entries.filePath(), target));
        QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner);
    }
}
