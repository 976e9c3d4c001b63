#pragma once

#include <ember/emberpack.h>
#include <kilnx/cache/streamcache.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/projectfile.h>
#include <tests/support/files.h>
#include <tests/support/fulldisk.h>
#include <tests/support/release.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <functional>
#include <random>

/// A test of files of Ember that are lists of cached items: each function has a host and a
/// directory of its own.
class EmberListTest : public QObject
{
    Q_OBJECT

protected:
    QString file(const char *name) const { return m_directory->filePath(name); }
    /// Whether a list takes these bytes; a box that it shows is closed.
    bool load(Kiln::ProjectFile &list, const QByteArray &bytes)
    {
        writeFile(file("damaged"), bytes);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        const bool loaded = list.fromFile(archive, file("damaged"), false);
        m_told = loaded ? QString() : m_host->dialogs().seen().last().text;
        m_host = std::make_unique<TestHost>();
        return loaded;
    }
    /// Another program writes the list's file anew, which the user has loaded; a save of the list's
    /// own asks nothing.
    template<class List>
    void watchesItsFile(List &list)
    {
        const auto questions = [this] {
            return m_host->dialogs().seenTitles().count("File modified");
        };
        m_host->options["enable_file_watcher"] = true;
        m_host->dialogs().expectBox(QMessageBox::Yes);
        QVERIFY(list.isModified());
        const QByteArray outside = readFile(list.fileName());
        QVERIFY(QFile::remove(list.fileName()));
        writeFile(list.fileName(), outside);
        QTRY_VERIFY(!list.isModified());
        QCOMPARE(questions(), 1);
        list.remove(0);
        QVERIFY(list.toFile(archive, list.fileName(), false));
        QVERIFY(list.isWatchPaused());
        QTRY_VERIFY(!list.isWatchPaused());
        QCOMPARE(questions(), 1);
        // Damaged: what is here is in no file.
        QVERIFY(!list.isModified());
        m_host->dialogs().expectBox(QMessageBox::Yes);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        writeFile(list.fileName(), outside.left(outside.size() / 2));
        QTRY_COMPARE(questions(), 2);
        QVERIFY(list.isModified());
        writeFile(list.fileName(), outside);
        m_host->dialogs().expectBox(QMessageBox::Yes);
        QTRY_COMPARE(questions(), 3);
    }
    /// One to four bytes changed, mostly behind `index`, where the numbers are.
    static QByteArray damaged(QByteArray bytes, int index, std::mt19937 &random)
    {
        for (unsigned int i = 1 + random() % 4; i > 0; --i) {
            const int from = random() % 3 ? qMax(0, index) : 0;
            bytes[from + int(random() % unsigned(bytes.size() - from))] = char(random());
        }
        return bytes;
    }

    static void addLosses()
    {
        columns<int, int, bool, uint>("roomToLoad", "roomToChange", "cutOff", "limit");
        constexpr int enough = 1 << 20;
        constexpr uint noLimit = EmberPack::largestFile;
        addRow("no room to load", 0, enough, false, noLimit);
        addRow("room to load the first item", 60, enough, false, noLimit);
        addRow("no room for a change", enough, 1, false, noLimit);
        addRow("temporary file that lost its bytes", enough, enough, true, noLimit);
        addRow("more than the numbers can count", enough, enough, false, 100u);
    }
    /// The items of the file lie in a temporary file that another one cuts off, or on a disk that
    /// is full. The user is told, and the file stays as it was.
    template<class List>
    void checkLoss(const QString &name, const std::function<void(List &)> &change)
    {
        auto [roomToLoad, roomToChange, cutOff, limit] = row<int, int, bool, uint>();
        const QByteArray good = readFile(name);
        const QByteArray before = qgetenv("TMPDIR");
        qputenv("TMPDIR", m_directory->path().toLocal8Bit());
        const std::unique_ptr<List, Release> list(new List(Kiln::StreamCache::Disk, limit));
        qputenv("TMPDIR", before);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        bool loaded = false;
        {
            const FullDisk full(static_cast<rlim_t>(roomToLoad));
            loaded = list->fromFile(archive, name, false);
        }
        QCOMPARE(loaded, roomToLoad > 60);
        const unsigned int items = list->itemCount();
        QCOMPARE(items > 1, loaded);
        if (loaded) {
            const FullDisk full(static_cast<rlim_t>(roomToChange));
            change(*list);
        }
        const QDir handles(QString("/proc/self/fd"));
        for (const QFileInfo &handle : handles.entryInfoList(QDir::Files | QDir::System)) {
            if (cutOff && handle.symLinkTarget().startsWith(m_directory->path()))
                QVERIFY(QFile::resize(handle.filePath(), 0));
        }
        QVERIFY(!loaded || !list->toFile(archive, name, false));
        QCOMPARE(m_host->dialogs().seen().size(), 1);
        QCOMPARE(list->itemCount(), items);
        QVERIFY(readFile(name) == good);
    }

    Kiln::FileSystemArchive &archive = Kiln::FileSystemArchive::instance();
    std::unique_ptr<TestHost> m_host;
    QString m_told; ///< why load() has failed
    std::unique_ptr<QTemporaryDir> m_directory;

private Q_SLOTS:
    void init()
    {
        m_host.reset();
        m_host = std::make_unique<TestHost>();
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(m_directory->isValid());
    }
};
