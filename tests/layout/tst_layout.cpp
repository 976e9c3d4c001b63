#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QtTest>

namespace
{

const QString root = QStringLiteral(KILN_SOURCE_DIR "/");

QString read(const QString &name)
{
    QFile file(root + name);
    return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList matches(const QString &pattern, const QString &text)
{
    QStringList found;
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    for (auto i = expression.globalMatch(text); i.hasNext();)
        found.append(i.next().captured(1));
    return found;
}

/// The names of a room's files, relative to the root.
QStringList filesOf(const QString &room, const QStringList &patterns)
{
    QStringList names;
    QDirIterator files(root + room, patterns, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        names.append(files.next().mid(root.size()));
    names.sort();
    return names;
}

struct Room {
    QString name;
    QStringList below;   ///< what its headers and sources may include
    QStringList sources; ///< what its sources may include, too
};

/// The rows of the one table whose first column names a room.
QList<Room> readTable()
{
    QList<Room> rooms;
    const QStringList lines = read("docs/architecture.md").split('\n');
    for (const QString &line : lines) {
        const QStringList cells = line.split('|');
        if (cells.size() != 6 || !cells[1].contains('`'))
            continue;
        const QString names = QStringLiteral("`([^`]+)`");
        Room room{matches(names, cells[1]).first(), matches(names, cells[3]),
                  matches(names, cells[4])};
        if (room.below.removeAll("kilnx/*")) {
            for (const Room &other : qAsConst(rooms)) {
                if (other.name.startsWith("kilnx/"))
                    room.below.append(other.name);
            }
        }
        rooms.append(room);
    }
    return rooms;
}

/// Where a file lives that is included by that name: a room, the name itself if it is in none, or
/// empty for what is not ours.
QString roomOf(const QString &include, const QList<Room> &rooms)
{
    const QString path =
        QFile::exists(root + "engines/" + include) ? "engines/" + include : include;
    for (const Room &room : rooms) {
        if (path.startsWith(room.name + '/'))
            return room.name;
    }
    return QFile::exists(root + path) ? path : QString();
}

} // namespace

/// Whether the sources keep to the table of docs/architecture.md, which is read here. Where the two
/// differ on purpose, the table is what changes.
class TestLayout : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(m_rooms.size() > 10, "the table was not found"); }

    void tableIsOrdered()
    {
        QStringList above;
        QStringList all;
        for (const Room &room : m_rooms)
            all.append(room.name);
        for (const Room &room : m_rooms) {
            for (const QString &name : room.below)
                QVERIFY2(above.contains(name), qPrintable(room.name + " stands on " + name));
            for (const QString &name : room.sources)
                QVERIFY2(all.contains(name), qPrintable(room.name + " knows " + name));
            above.append(room.name);
        }
        for (const char *where : {"kilnx", "engines"}) {
            const QStringList folders =
                QDir(root + where).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
            for (const QString &folder : folders) {
                const QString name = QString(where) + '/' + folder;
                QVERIFY2(all.contains(name) || filesOf(name, {"*.cpp", "*.h"}).isEmpty(),
                         qPrintable(name + " has no row"));
            }
        }
    }

    void includesKeepToTheTable_data()
    {
        QTest::addColumn<int>("row");
        for (int row = 0; row < m_rooms.size(); ++row)
            QTest::newRow(qPrintable(m_rooms[row].name)) << row;
    }

    void includesKeepToTheTable()
    {
        QFETCH(int, row);
        const Room &room = m_rooms[row];
        QStringList wrong;
        for (const QString &file : filesOf(room.name, {"*.h", "*.cpp"})) {
            const QStringList includes =
                matches("^\\s*#\\s*include\\s*[<\"]([^>\"]+)[>\"]", read(file));
            for (const QString &include : includes) {
                if (!mayInclude(room, file, include))
                    wrong.append(file + " includes " + include);
            }
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join('\n')));
        const QString last = m_rooms.last().name;
        QVERIFY(room.name == last || !mayInclude(room, "any.h", last + "/mainwindow.h"));
    }

    /// The own header, then the room's by their names alone, those above the library, the
    /// library's, Qt's, and all others.
    void includesStandInOrder()
    {
        const QStringList order{"\"", "<(hostkit|enginetest|engines)/", "<kilnx/", "<Q", "<"};
        QStringList wrong;
        for (const Room &room : m_rooms) {
            for (const QString &file : filesOf(room.name, {"*.h", "*.cpp"})) {
                QStringList includes =
                    matches("^#include ((?!\"moc_|.*\\.moc)[<\"].*)[>\"]$", read(file));
                const QString stem = QFileInfo(file).baseName().section('_', 0, 0);
                if (!includes.isEmpty() &&
                    QFileInfo(includes[0].mid(1)).baseName().section('_', 0, 0) == stem)
                    includes.removeFirst();
                int last = 0;
                for (const QString &include : qAsConst(includes)) {
                    const int rank = rankOf(include, order);
                    if (rank < last)
                        wrong.append(file + " includes too late " + include);
                    last = qMax(last, rank);
                }
            }
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join('\n')));
    }

    /// A class's definitions stand in the files that are named after its header: class.cpp, and
    /// each class_topic.cpp that the header, or its private one, names.
    void filesAreNamedAfterTheirClass()
    {
        QStringList wrong;
        for (const Room &room : m_rooms) {
            QHash<QString, QString> headers;
            QHash<QString, QString> texts;
            for (const QString &header : filesOf(room.name, {"*.h"})) {
                const QString stem = QString(header).remove(QRegularExpression("(_p)?\\.h$"));
                texts[stem] += read(header);
                for (const QString &name : matches(classPattern, read(header)))
                    headers.insert(name, stem);
            }
            for (const QString &file : filesOf(room.name, {"*.cpp"})) {
                const QString stem = file.chopped(4);
                const QString owner = stem.section('_', 0, 0);
                if (owner != stem && !texts.value(owner).contains(QFileInfo(file).fileName()))
                    wrong.append(file + " is named by no header");
                for (const QString &name : matches(definitionPattern, read(file))) {
                    if (headers.value(name, owner) != owner)
                        wrong.append(file + " defines " + name);
                }
            }
        }
        wrong.removeDuplicates();
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join('\n')));
    }

    /// Pictures come out the same on every processor. One that can multiply and add at once would
    /// round otherwise, and the machine of this test may be none.
    void picturesRoundTwice()
    {
        QFile commands(KILN_BINARY_DIR "/compile_commands.json");
        QVERIFY(commands.open(QFile::ReadOnly));
        const QJsonArray all = QJsonDocument::fromJson(commands.readAll()).array();
        QStringList wrong;
        int pictures = 0;
        for (const QJsonValue &command : all) {
            const QString file = QFileInfo(command["file"].toString()).filePath();
            const bool isOracle = file.startsWith(root + "tests/image/plain");
            if (!file.startsWith(root + "kilnx/image/") && !isOracle)
                continue;
            ++pictures;
            if (!command["command"].toString().contains(" -ffp-contract=off "))
                wrong.append(file);
        }
        QVERIFY(pictures > 10);
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join('\n')));
    }

private:
    static int rankOf(const QString &include, const QStringList &order)
    {
        for (int rank = 0; rank < order.size(); ++rank) {
            if (QRegularExpression('^' + order[rank]).match(include).hasMatch())
                return rank;
        }
        return order.size();
    }

    bool mayInclude(const Room &room, const QString &file, const QString &include) const
    {
        const QString from = roomOf(include, m_rooms);
        const bool isLibrary = room.name.startsWith("kilnx/");
        if (!isLibrary && from.startsWith("kilnx/") && include.endsWith("_p.h"))
            return false;
        // Files that stand beside the rooms: what every room needs, and the sum of them.
        const bool isCommon = from == "kilnx/export.h" || from == "kilnx/version.h" ||
                              (!isLibrary && from == "kilnx/kilnx.h");
        return from.isEmpty() || from == room.name || isCommon || room.below.contains(from) ||
               (file.endsWith(".cpp") && room.sources.contains(from));
    }

    const QString classPattern = "^(?:class|struct) (?:[A-Z]+_EXPORT )?(\\w+)(?: final)?"
                                 "(?: : [^;{]+)?\\s*\\{";
    const QString definitionPattern = "^(?=\\S)(?!//|.*;$).*?\\b(\\w+)::~?\\w+\\(";
    const QList<Room> m_rooms = readTable();
};

QTEST_APPLESS_MAIN(TestLayout)
#include "tst_layout.moc"
