#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

/// What the plug-ins tell the test: lines kept in a property of the application, which outlives
/// them and lies outside of all of them.
inline void tellDiary(const QString &line)
{
    QStringList lines = qApp->property("diary").toStringList();
    lines.append(line);
    qApp->setProperty("diary", lines);
}

inline QStringList takeDiary()
{
    const QStringList lines = qApp->property("diary").toStringList();
    qApp->setProperty("diary", QStringList());
    return lines;
}
