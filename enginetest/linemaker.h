#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace EngineTest
{
/// What a RandomEditor writes: lines of an engine's language, good ones and bad ones. Give it all
/// that your parser tells apart, and above all what it refuses. What is left empty is not written.
struct LineMaker {
    /// Whether `line` is to have the node of a header: a group, or in a file with a list of
    /// animations an animation. Null for a language without headers: then nobody looks.
    std::function<bool(const QString &line)> isHeader;
    /// Several lines each, pasted as they are, with their line ends.
    QStringList sections;
    /// Single lines that open a section, without a line end.
    QStringList headers;
    /// Single lines of any kind, without a line end.
    QStringList entries;
    /// What is typed one character at a time.
    QString characters;
    /// What setters are given: texts of values, with line ends and comments too.
    QStringList values;
    /// What setters are given as a name.
    QStringList names;
    /// Regular expressions to be replaced, and what is put in their place.
    QStringList searches;
    QStringList replacements;
};
} // namespace EngineTest
