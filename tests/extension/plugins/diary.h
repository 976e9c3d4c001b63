#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

/// What the plug-ins tell the test: lines kept in a property of the application, which outlives
/// them and lies outside of all of them.
inline void tellDiary(const QString &line)
{
    QStringList lines = QCoreApplication::instance()->property("diary").toStringList();
    lines.append(line);
    QCoreApplication::instance()->setProperty("diary", lines);
}

inline QStringList takeDiary()
{
    const QStringList lines = QCoreApplication::instance()->property("diary").toStringList();
    QCoreApplication::instance()->setProperty("diary", QStringList());
    return lines;
}
