#include <kilnx/project/tree/path_p.h>

#include <QtCore/QDir>
#include <QtCore/QHash>

#include <algorithm>

namespace Kiln
{

namespace
{

bool isCleanPath(const QString &path)
{
    return !path.contains(QLatin1String("//")) && !path.contains(QLatin1String("./")) &&
           !path.endsWith(QLatin1Char('.')) && !path.endsWith(QLatin1Char('/'));
}

/// Whether a name can only be that of a directory.
bool namesDirectory(const QString &name)
{
    const QString last = name.mid(name.lastIndexOf(QLatin1Char('/')) + 1);
    return last.isEmpty() || last == QLatin1String(".") || last == QLatin1String("..");
}

/// Where a name lies relative to the base; empty outside it and for the base itself.
QString placeOf(const QString &basePath, const QString &directory, const QString &name)
{
    QString full = QDir::isAbsolutePath(name) ? name : directory + name;
    if (!isCleanPath(full))
        full = QDir::cleanPath(full);
    return full.startsWith(basePath) ? full.mid(basePath.size()) : QString();
}

/// The directories of the tree to be, each with its own entries.
class Builder
{
public:
    void add(const QString &place, bool isDirectory, unsigned int id)
    {
        const int slash = place.lastIndexOf(QLatin1Char('/'));
        const QString name = slash < 0 ? place : place.mid(slash + 1);
        if (isDirectory)
            directory(place);
        else
            directory(slash < 0 ? QString() : place.left(slash))
                .files.push_back({PathEntry::Named, name, id, 0, {}, {}});
    }

    std::vector<PathEntry> take(const QString &path = QString())
    {
        Level &level = m_levels[path];
        std::vector<PathEntry> entries;
        level.directories.sort();
        for (const QString &name : qAsConst(level.directories)) {
            const QString below = path.isEmpty() ? name : path + QLatin1Char('/') + name;
            entries.push_back({PathEntry::Directory, name, 0, 0, {}, take(below)});
        }
        appendFiles(level.files, entries);
        return entries;
    }

private:
    struct Level {
        QStringList directories;
        std::vector<PathEntry> files;
    };

    Level &directory(const QString &path)
    {
        const auto known = m_levels.find(path);
        if (known != m_levels.end())
            return *known;
        if (!path.isEmpty()) {
            const int slash = path.lastIndexOf(QLatin1Char('/'));
            directory(slash < 0 ? QString() : path.left(slash))
                .directories.append(slash < 0 ? path : path.mid(slash + 1));
        }
        return m_levels[path];
    }

    /// In order, and each name once, with the smallest of its ids.
    static void appendFiles(std::vector<PathEntry> &files, std::vector<PathEntry> &entries)
    {
        const auto isLess = [](const PathEntry &a, const PathEntry &b) {
            const int order = a.name.compare(b.name);
            return order != 0 ? order < 0 : a.id < b.id;
        };
        if (!std::is_sorted(files.begin(), files.end(), isLess))
            std::sort(files.begin(), files.end(), isLess);
        const auto end =
            std::unique(files.begin(), files.end(),
                        [](const PathEntry &a, const PathEntry &b) { return a.name == b.name; });
        entries.insert(entries.end(), std::make_move_iterator(files.begin()),
                       std::make_move_iterator(end));
    }

    QHash<QString, Level> m_levels;
};

} // namespace

std::vector<PathEntry> definitionEntries(const QString &basePath,
                                         const QString &directory,
                                         const QList<ReferencedFile> &files)
{
    Builder builder;
    const QString own = placeOf(basePath, directory, QStringLiteral("."));
    if (!own.isEmpty())
        builder.add(own, true, 0);
    for (const ReferencedFile &file : files) {
        const QString place =
            file.path.isEmpty() ? QString() : placeOf(basePath, directory, file.path);
        if (!place.isEmpty())
            builder.add(place, namesDirectory(file.path), static_cast<unsigned int>(file.id));
    }
    return builder.take();
}

} // namespace Kiln
