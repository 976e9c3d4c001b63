#pragma once

#include "fakes.h"

#include <csignal>
#include <unistd.h>

#include <algorithm>

/// What the tests of saving share, and the child that they kill.
namespace SaveTest
{

using namespace Kiln;

/// "name: contents" of everything below a directory, sorted; of large files the beginning.
inline QStringList filesBelow(const QString &directory)
{
    QStringList lines;
    QDirIterator iterator(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        lines << path.mid(directory.size()) + ": " +
                     QString::fromUtf8(readFile(path).left(0x10000)).simplified();
    }
    lines.sort();
    return lines;
}

constexpr int killRounds = 200;

/// Contents that can be told whole from cut-off: a header, a body of one character, a footer.
inline QByteArray numbered(int number)
{
    const QByteArray text = QByteArray::number(number);
    return "begin " + text + '\n' + QByteArray(20000, char('a' + number % 26)) + "\nend " + text;
}

/// The number of whole contents; -1 for anything else.
inline int numberOf(const QByteArray &contents)
{
    const int line = contents.indexOf('\n');
    const int number = contents.mid(6, line - 6).toInt();
    return line > 6 && contents == numbered(number) ? number : -1;
}

inline void change(FakeFile *file, const QByteArray &contents)
{
    file->contents = contents;
    file->modified = true;
}

/// By the number at the end of the name; empty without one.
inline QString newestBackup(const QString &base)
{
    const QStringList names = QDir(base + "backup").entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    const auto number = [](const QString &name) { return name.section('_', -1).toInt(); };
    const auto newest =
        std::max_element(names.begin(), names.end(), [number](const auto &one, const auto &other) {
            return number(one) < number(other);
        });
    return newest == names.end() ? QString() : *newest;
}

/// The child of the kill test: changes, saves, moves, backs up and restores for ever, and tells
/// through `report` the number of each file that counts as saved.
[[noreturn]] inline void saveForEver(const QString &directory, int first, int report)
{
    setGlobalInterface(nullptr);
    if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0)
        _exit(1);
    auto *parent = new FakeParent(directory + "a/");
    FakeProject *one = parent->open("one.def");
    FakeProject *two = parent->open("two.def");
    const QList<FakeFile *> files{
        openFile(one, directory + "a/own"),    openFile(one, directory + "a/shared"),
        openFile(one, directory + "a/locked"), openFile(one, directory + "outside"),
        openFile(two, directory + "a/shared"), openFile(two, directory + "a/deep/x"),
    };
    for (int number = first;; ++number) {
        // The second instance of what is shared stays as it is.
        for (int i : {0, 1, 2, 3, 5})
            change(files[i], numbered(number));
        const QStringList places{"b", "new" + QString::number(number), "a"};
        if (number % 4 == 1)
            parent->save();
        else if (number % 4 == 2)
            parent->saveAs(directory + places[number / 4 % 3]);
        else if (number % 4 == 3)
            parent->backup(QString::number(number));
        else
            parent->restoreBackup(newestBackup(parent->basePath()));
        QByteArray told;
        for (FakeFile *file : files) {
            if (!file->modified)
                told +=
                    QByteArray::number(numberOf(file->contents)) + ' ' + file->name.toUtf8() + '\n';
        }
        if (write(report, told.constData(), size_t(told.size())) != told.size())
            _exit(1);
    }
}

} // namespace SaveTest
