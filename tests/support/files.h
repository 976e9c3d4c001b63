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
