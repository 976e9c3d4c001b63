#include "emberstarts.h"

#include <kilnx/project/archive.h>
#include <kilnx/project/paths.h>

#include <QCoreApplication>
#include <QMap>

namespace
{

using Files = QMap<QString, QString>;

QString about(const QString &name)
{
    return QStringLiteral("@about\n    title: \"%1\"\n    revision: 0.1\n\n").arg(name);
}

Files character(const QString &name, const QString &file)
{
    return {
        {file + QLatin1String(".wisp"), about(name) + QLatin1String("@files\n"
                                                                    "    commands: moves.beck\n"
                                                                    "    states: ground.glow\n\n"
                                                                    "@body\n"
                                                                    "    life: 100\n"
                                                                    "    size: 32, 64\n"
                                                                    "    facing: right\n"
                                                                    "    box: -16, -64, 16, 0\n")},
        {QStringLiteral("moves.beck"), QStringLiteral("@command kick\n"
                                                      "    press: kick\n"
                                                      "    within: 10\n")},
        {QStringLiteral("ground.glow"), QStringLiteral("@state stand\n"
                                                       "    posture: standing\n"
                                                       "    ticks: 10, 10\n\n"
                                                       "@@on kicking\n"
                                                       "    when: command(kick)\n"
                                                       "    then: stand\n")}};
}

Files stage(const QString &name, const QString &file)
{
    return {{file + QLatin1String(".glade"), about(name) + QLatin1String("@ground\n"
                                                                         "    size: 640, 360\n"
                                                                         "    scale: 1, 1\n"
                                                                         "    start: 96, 0\n"
                                                                         "    pull: 0, 0.44\n\n"
                                                                         "@layer ground\n"
                                                                         "    depth: 1\n"
                                                                         "    shown: yes\n")}};
}

void insertBelow(Files &files, const QString &directory, const Files &more)
{
    for (auto file = more.begin(); file != more.end(); ++file)
        files.insert(directory + QLatin1Char('/') + file.key(), *file);
}

Files game(const QString &name, const QString &file)
{
    Files files{{file + QLatin1String(".hearth"),
                 about(name) + QLatin1String("@files\n"
                                             "    cast: hero/hero.wisp\n"
                                             "    cast: stage/stage.glade\n\n"
                                             "@match\n"
                                             "    rounds: 3\n"
                                             "    time: 99\n"
                                             "    first: hero\n"
                                             "    arena: stage\n")}};
    insertBelow(files, QStringLiteral("hero"),
                character(QStringLiteral("Hero"), QStringLiteral("hero")));
    insertBelow(files, QStringLiteral("stage"),
                stage(QStringLiteral("Stage"), QStringLiteral("stage")));
    return files;
}

bool write(const QString &fileName, QString text)
{
    Kiln::Archive &disk = Kiln::FileSystemArchive::instance();
    QIODevice *device = disk.openFile(fileName, QIODevice::WriteOnly);
    text.replace(QLatin1Char('\n'), QLatin1String("\r\n"));
    const bool isWritten = device && Kiln::writeAll(device, text.toUtf8());
    return disk.closeWritten(device) && isWritten;
}

} // namespace

namespace EmberStarts
{

QStringList names()
{
    const auto tr = [](const char *text) { return QCoreApplication::translate("Ember", text); };
    return {tr("a game with a character and a stage"), tr("a character"), tr("a stage")};
}

bool make(const QString &directory, const QString &name, int start)
{
    using Make = Files (*)(const QString &, const QString &);
    constexpr Make makers[] = {game, character, stage};
    if (start < 0 || start >= int(std::size(makers)))
        return false;
    const Files files = makers[start](name, name);
    for (auto file = files.begin(); file != files.end(); ++file) {
        if (!write(directory + QLatin1Char('/') + file.key(), *file))
            return false;
    }
    return true;
}

} // namespace EmberStarts
