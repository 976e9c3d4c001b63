#include "fakes.h"

#include <kilnx/project/filewatch.h>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Kiln;

namespace
{

FileSystemArchive &disk()
{
    return FileSystemArchive::instance();
}

/// What another program does to a file.
struct Outside {
    static void rewrite(const QString &path, const QByteArray &contents)
    {
        writeFile(path, contents);
    }
    static void removeAndMake(const QString &path, const QByteArray &contents)
    {
        QVERIFY(QFile::remove(path));
        writeFile(path, contents);
    }
    /// Another file, which only its number tells from the old one.
    static void replaceByTwin(const QString &path, const QByteArray &contents)
    {
        struct stat old;
        QCOMPARE(stat(qPrintable(path), &old), 0);
        writeFile(path + "~", contents);
        const timespec times[] = {old.st_atim, old.st_mtim};
        QCOMPARE(utimensat(AT_FDCWD, qPrintable(path + "~"), times, 0), 0);
        QCOMPARE(rename(qPrintable(path + "~"), qPrintable(path)), 0);
    }
    /// As an editor that keeps the old file as a backup.
    static void moveAwayAndMake(const QString &path, const QByteArray &contents)
    {
        QFile::remove(path + ".bak");
        QVERIFY(QFile::rename(path, path + ".bak"));
        writeFile(path, contents);
    }
};

using Change = void (*)(const QString &, const QByteArray &);

/// Ends the file's life as its project would.
using FilePointer = std::unique_ptr<FakeFile, Release>;

FilePointer load(const QString &path)
{
    FilePointer file(new FakeFile);
    if (!file->fromFile(disk(), path, false))
        qFatal("cannot load %s", qPrintable(path));
    return file;
}

/// Only a loop of Qt's own can leave notifications waiting.
const bool hasQtLoop = qputenv("QT_NO_GLIB", "1");

/// Timers run, and no notification of the disk comes in, for longer than any pause.
void spinWithoutNotifications()
{
    QEventLoop loop;
    QTimer::singleShot(400, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeSocketNotifiers);
}

/// Counts the timers that fire in the whole program.
struct TimerCount : QObject {
    TimerCount() { qApp->installEventFilter(this); }
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Timer;
        return false;
    }
    int count = 0;
};

} // namespace

Q_DECLARE_METATYPE(Change)

class tst_filewatch : public ProjectTest
{
    Q_OBJECT

private:
    /// The pause of 250 ms has begun just now: timers of both sides tell when it ends.
    void waitForPause(const FakeFile &file)
    {
        QTimer shorter;
        shorter.start(200);
        QTimer longer;
        longer.start(1500);
        bool isLongEnough = false;
        bool isTooLong = false;
        connect(&shorter, &QTimer::timeout, this, [&] { isLongEnough = true; });
        connect(&longer, &QTimer::timeout, this, [&] { isTooLong = true; });
        QTRY_VERIFY(!file.isWatchPaused());
        QVERIFY(isLongEnough);
        QVERIFY(!isTooLong);
    }
    int questions() const { return m_host->dialogs().seenTitles().count("File modified"); }

private slots:
    void init()
    {
        ProjectTest::init();
        m_host->options["enable_file_watcher"] = true;
    }

    void outsideChangesAreNoticedEachTime_data()
    {
        columns<Change>("change");
        addRow("written over", Change(Outside::rewrite));
        addRow("replaced by renaming", Change(replaceFile));
        addRow("replaced by one of its size and time", Change(Outside::replaceByTwin));
        addRow("removed and made anew", Change(Outside::removeAndMake));
        addRow("moved to a backup", Change(Outside::moveAwayAndMake));
    }

    void outsideChangesAreNoticedEachTime()
    {
        QFETCH(Change, change);
        writeFile(path("file"), "0");
        const FilePointer file = load(path("file"));
        for (int round = 1; round <= 3; ++round) {
            m_host->dialogs().expectBox(QMessageBox::Yes);
            change(path("file"), QByteArray::number(round));
            if (change == Change(Outside::replaceByTwin)) // others may be of the same clock tick
                QCOMPARE(file->diskState(), FileWatchObject::DiskState::Changed);
            QTRY_COMPARE(file->contents, QByteArray::number(round));
            QCOMPARE(questions(), round);
        }
        const DialogScript::Seen seen = m_host->dialogs().seen().first();
        QCOMPARE(seen.text, QString("The file '%1' has been modified. Do you want to reload all "
                                    "other instances of this file now?")
                                .arg(path("file")));
        QCOMPARE(seen.icon, QMessageBox::Question);
        QCOMPARE(seen.buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(seen.defaultButton, QMessageBox::No);
    }

    void noKeepsWhatIsInMemory()
    {
        writeFile(path("file"), "old");
        const FilePointer file = load(path("file"));
        // A change while the box is open is answered by it.
        m_host->dialogs().expectDialog([this](QDialog *dialog) {
            Outside::rewrite(path("file"), "new again");
            QTest::qWait(100);
            qobject_cast<QMessageBox *>(dialog)->button(QMessageBox::No)->click();
        });
        Outside::rewrite(path("file"), "new");
        QTRY_COMPARE(questions(), 1);
        QCOMPARE(file->contents, QByteArray("old"));
        m_host->dialogs().expectBox(QMessageBox::Yes);
        Outside::rewrite(path("file"), "newer");
        QTRY_COMPARE(file->contents, QByteArray("newer"));
    }

    void ownSaveIsNotAskedAboutAndLaterChangesAre_data()
    {
        columns<Change, bool, bool, bool>("change", "isNew", "isLate", "isOvertaken");
        const Change rewrite = Outside::rewrite;
        const Change rename = replaceFile;
        addRow("a file renamed over", rename, false, false, false);
        addRow("a file written over", rewrite, false, false, false);
        addRow("a file that was not there", rewrite, true, false, false);
        addRow("told of late", rewrite, false, true, false);
        addRow("overtaken by renaming", rename, false, false, true);
        addRow("overtaken by writing", rewrite, false, false, true);
        addRow("overtaken, told of late", rewrite, false, true, true);
    }

    void ownSaveIsNotAskedAboutAndLaterChangesAre()
    {
        const auto [change, isNew, isLate, isOvertaken] = row<Change, bool, bool, bool>();
        // The directory of a new file is made by the save itself.
        const QString name = isNew ? path("to/come/file") : path("file");
        FilePointer file(new FakeFile);
        if (!isNew) {
            writeFile(name, "old");
            file = load(name);
        }
        for (int round = 1; round <= 3; ++round) {
            const QByteArray other = "outside" + QByteArray::number(round);
            file->contents = "own" + QByteArray::number(round);
            QVERIFY(file->toFile(disk(), name, false));
            QVERIFY(file->isWatchPaused());
            if (isOvertaken)
                change(name, other);
            if (isLate)
                spinWithoutNotifications();
            QVERIFY(file->isWatchPaused());
            if (!isOvertaken) {
                waitForPause(*file);
                QCOMPARE(questions(), round - 1);
                change(name, other);
            }
            m_host->dialogs().expectBox(QMessageBox::Yes);
            QTRY_COMPARE(file->contents, other);
            QTRY_VERIFY(!file->isWatchPaused());
            QCOMPARE(questions(), round);
        }
    }

    void manyFilesSavedTogether_data()
    {
        columns<bool>("isPausedByHand");
        addRow("own saves", false);
        addRow("paused by hand", true);
    }

    void manyFilesSavedTogether()
    {
        QFETCH(bool, isPausedByHand);
        constexpr int count = 40;
        std::vector<FilePointer> files;
        for (int i = 0; i < count; ++i) {
            writeFile(path("file") + QString::number(i), "old");
            files.push_back(load(path("file") + QString::number(i)));
        }
        const TimerCount timers;
        for (const FilePointer &file : files) {
            QVERIFY(file->toFile(disk(), file->name, false));
            if (isPausedByHand)
                file->pauseWatch(true);
        }
        for (const FilePointer &file : files)
            QTRY_VERIFY(!file->isWatchPaused());
        // One that ends its pause, and those of the wait itself.
        QVERIFY2(timers.count < 3 * count, qPrintable(QString::number(timers.count)));
        QCOMPARE(questions(), 0);
    }

    void failedSaveDoesNotSilenceTheNextChange()
    {
        writeFile(path("file"), "old");
        const FilePointer file = load(path("file"));
        file->refuses = true;
        QVERIFY(!file->toFile(disk(), path("file"), false));
        file->refuses = false;
        QTRY_VERIFY(!file->isWatchPaused());
        m_host->dialogs().expectBox(QMessageBox::Yes);
        Outside::rewrite(path("file"), "new");
        QTRY_COMPARE(file->contents, QByteArray("new"));
    }

    void failedLoadKeepsWatchingTheOldFile()
    {
        writeFile(path("file"), "old");
        const FilePointer file = load(path("file"));
        QVERIFY(!file->fromFile(disk(), path("missing"), false));
        m_host->dialogs().expectBox(QMessageBox::Yes);
        // The change comes after the loop has seen that the load failed.
        QTimer::singleShot(0, this, [this] { Outside::rewrite(path("file"), "new"); });
        QTRY_COMPARE(file->contents, QByteArray("new"));
    }

    void severalObjectsOnOnePath()
    {
        make({{"file", "old"}, {"other", "other"}});
        const FilePointer saver = load(path("file"));
        const FilePointer second = load(path("file"));
        const FilePointer third = load(path("file"));
        // A copy of an outside file is not watched.
        const FilePointer copy(new FakeFile);
        QVERIFY(copy->fromFile(disk(), path("file"), true));

        m_host->dialogs().expectBox(QMessageBox::Yes);
        saver->contents = "new";
        QVERIFY(saver->toFile(disk(), path("file"), false));
        QTRY_COMPARE(second->contents, QByteArray("new"));
        QCOMPARE(third->contents, QByteArray("new"));
        QCOMPARE(saver->reloads, 0);
        QCOMPARE(copy->reloads, 0);
        QCOMPARE(questions(), 1);

        // One of them goes to another file; the path of the others stays watched.
        QVERIFY(second->fromFile(disk(), path("other"), false));
        QTRY_VERIFY(!saver->isWatchPaused());
        m_host->dialogs().expectBox(QMessageBox::Yes);
        Outside::rewrite(path("file"), "newer");
        QTRY_COMPARE(third->contents, QByteArray("newer"));
        QCOMPARE(saver->contents, QByteArray("newer"));
        QCOMPARE(second->contents, QByteArray("other"));
    }

    void switchedOffNobodyAsks_data()
    {
        columns<QVariant>("option");
        addRow("unset", QVariant());
        addRow("false", QVariant(false));
    }

    void switchedOffNobodyAsks()
    {
        QFETCH(QVariant, option);
        m_host->options.remove("enable_file_watcher");
        if (option.isValid())
            m_host->options["enable_file_watcher"] = option;
        writeFile(path("file"), "old");
        const FilePointer file = load(path("file"));
        // Another program's notification tells when ours must have come, too.
        QFileSystemWatcher witness({path("file")});
        QSignalSpy spy(&witness, &QFileSystemWatcher::fileChanged);
        Outside::rewrite(path("file"), "new");
        QVERIFY(spy.count() || spy.wait());
        QCoreApplication::processEvents();
        QCOMPARE(questions(), 0);
        QCOMPARE(file->contents, QByteArray("old"));
    }

    void deletedFileIsNotReportedUntilItIsBack()
    {
        writeFile(path("sub/file"), "old");
        const FilePointer file = load(path("sub/file"));
        QFileSystemWatcher witness({path("sub/file")});
        QSignalSpy spy(&witness, &QFileSystemWatcher::fileChanged);
        QVERIFY(QDir(path("sub")).removeRecursively());
        QVERIFY(spy.count() || spy.wait());
        QCoreApplication::processEvents();
        QCOMPARE(questions(), 0);
        m_host->dialogs().expectBox(QMessageBox::Yes);
        QVERIFY(QDir().mkpath(path("sub")));
        replaceFile(path("sub/file"), "back");
        QTRY_COMPARE(file->contents, QByteArray("back"));
        QCOMPARE(questions(), 1);
    }

    /// A host that listens is told of all that happens to a file, and knows its state.
    void listenersAreToldInsteadOfTheUser()
    {
        using State = FileWatchObject::DiskState;
        QStringList told;
        FileWatchObject::setListener([&told](const QString &name) { told.append(name); });
        writeFile(path("file"), "old");
        const FilePointer file = load(path("file"));
        const auto comesTo = [&](State state) {
            const bool isTold = QTest::qWaitFor([&] { return !told.isEmpty(); });
            const bool isState = QTest::qWaitFor([&] { return file->diskState() == state; });
            told.clear();
            return isTold && isState;
        };
        QCoreApplication::processEvents(); // reads the bytes for later
        QCOMPARE(file->diskState(), State::Same);
        replaceFile(path("file"), "new");
        QVERIFY(comesTo(State::Changed));
        replaceFile(path("file"), "old");
        QVERIFY(comesTo(State::Same));
        QVERIFY(QFile::remove(path("file")));
        QVERIFY(comesTo(State::Gone));
        writeFile(path("file"), "back");
        QVERIFY(comesTo(State::Changed));
        file->acceptDisk();
        QCOMPARE(file->diskState(), State::Same);
        file->contents = "own";
        QVERIFY(file->toFile(disk(), path("file"), false));
        QCOMPARE(file->diskState(), State::Same);
        replaceFile(path("file"), "over it");
        QCOMPARE(file->diskState(), State::Changed);
        // A save that fails leaves it so.
        file->refuses = true;
        QVERIFY(!file->toFile(disk(), path("file"), false));
        QCOMPARE(file->diskState(), State::Changed);
        QVERIFY(comesTo(State::Changed));
        m_host->options["enable_file_watcher"] = false;
        replaceFile(path("file"), "unheard");
        QCoreApplication::processEvents();
        QVERIFY(told.isEmpty());
        QCOMPARE(file->reloads, 0);
        FileWatchObject::setListener({});
        QCOMPARE(questions(), 0);
    }

    void objectsMayGoAtAnyTime()
    {
        writeFile(path("file"), "old");
        FilePointer file = load(path("file"));
        FilePointer second = load(path("file"));
        // While a pause is running out.
        QVERIFY(file->toFile(disk(), path("file"), false));
        m_host->dialogs().expectBox(QMessageBox::No);
        QTRY_COMPARE(questions(), 1);
        file.reset();
        // Right after a save, before the loop has run.
        FilePointer hasty(new FakeFile);
        QVERIFY(hasty->toFile(disk(), path("hasty"), false));
        hasty.reset();
        // While the box is open, and stays so: the other, too, and with it the last of all.
        m_host->dialogs().expectDialog([&second](QDialog *dialog) {
            second.reset();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            qobject_cast<QMessageBox *>(dialog)->button(QMessageBox::Yes)->click();
        });
        Outside::rewrite(path("file"), "new");
        QTRY_COMPARE(questions(), 2);
        QVERIFY(!second);
        // Longer than any pause: nothing may touch what is gone.
        const FilePointer later = load(path("file"));
        later->pauseWatch(true);
        Outside::rewrite(path("file"), "newer");
        QTRY_VERIFY(!later->isWatchPaused());
    }

    void pauseIsHeldAndCopied()
    {
        struct Watched : FileWatchObject {
            QString fileName() override { return QString(); }
            void reload() override {}
        };
        Watched object;
        QVERIFY(!object.isWatchPaused());
        object.pauseWatch(true);
        const Watched copy(object);
        QVERIFY(copy.isWatchPaused());
        Watched assigned;
        assigned = object;
        QVERIFY(assigned.isWatchPaused());
        object.pauseWatch(false);
        QVERIFY(!object.isWatchPaused() && copy.isWatchPaused());
    }
};

QTEST_MAIN(tst_filewatch)
#include "tst_filewatch.moc"
