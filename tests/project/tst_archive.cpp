#include "fakes.h"

#include <kilnx/project/archive_p.h>
#include <kilnx/project/paths.h>
#include <tests/support/fulldisk.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>

using Kiln::FileSystemArchive;
using Kiln::NewFiles;

namespace
{

bool save(const QString &path, const QByteArray &contents)
{
    FileSystemArchive &archive = FileSystemArchive::instance();
    QIODevice *device = archive.openFile(path, QIODevice::WriteOnly);
    const bool isWritten = device && Kiln::writeAll(device, contents);
    return archive.closeWritten(device) && isWritten;
}

/// What stands for a disk that is about to die.
bool diskFails = false;
int syncs = 0;

/// Dies by a signal at the first pause of the commit, with the old file out of the way.
int dieWhileReplacing(const QString &path)
{
    File::setPause([](unsigned long) { raise(SIGKILL); });
    QIODevice *device = FileSystemArchive::instance().openFile(path, QIODevice::WriteOnly);
    const bool isReady =
        device && device->write("new") > 0 && QFile::remove(path) && QDir().mkpath(path);
    FileSystemArchive::instance().closeFile(device);
    return isReady;
}

void seedNames(uint seed)
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qsrand(seed);
    QT_WARNING_POP
}

/// Every file of it breaks off after a byte.
class BrokenArchive : public MemoryArchive
{
    struct Device : QIODevice {
        Device() { setOpenMode(ReadOnly | Unbuffered); }
        bool atEnd() const override { return false; }
        qint64 readData(char *data, qint64) override
        {
            *data = 'x';
            return std::exchange(breaks, true) ? -1 : 1;
        }
        qint64 writeData(const char *, qint64) override { return -1; }
        bool breaks = false;
    };
    QIODevice *openFile(const QString &, QIODevice::OpenMode) override { return new Device; }
};

int pauses = 0;
std::function<void()> duringPause;

void countPause(unsigned long seconds)
{
    QCOMPARE(seconds, 1000ul);
    ++pauses;
    if (duringPause)
        duringPause();
}

} // namespace

/// Stands before the system's own.
extern "C" Q_DECL_EXPORT int fsync(int file)
{
    errno = EIO;
    ++syncs;
    return diskFails ? -1 : int(syscall(SYS_fsync, file));
}

class tst_archive : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_directory;
    FileSystemArchive &m_archive = FileSystemArchive::instance();
    QString path(const char *name) const { return m_directory.filePath(QLatin1String(name)); }
    QStringList names() const
    {
        return QDir(m_directory.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

private slots:
    void init()
    {
        for (const QString &name : names()) {
            const QString full = m_directory.filePath(name);
            const QFileInfo info(full);
            if (info.isDir() && !info.isSymLink())
                QDir(full).removeRecursively();
            else
                QFile::remove(full);
        }
        pauses = 0;
        duringPause = nullptr;
    }

    void opensAndWrites()
    {
        QVERIFY(!m_archive.openFile(path("missing"), QIODevice::ReadOnly));
        QVERIFY(names().isEmpty());
        QVERIFY(!m_archive.openFile(m_directory.path(), QIODevice::WriteOnly));

        QVERIFY(save(path("new/deep/file"), "one"));
        QCOMPARE(readFile(path("new/deep/file")), QByteArray("one"));
        QVERIFY(m_archive.fileExists(path("new/deep/file")));
        QVERIFY(m_archive.removeFile(path("new/deep/file")));
        QVERIFY(!m_archive.removeFile(path("new/deep/file")));
        m_archive.closeFile(nullptr);
        QVERIFY(!m_archive.isReadOnly());
    }

    void replacesThroughATemporaryBesideTheFile()
    {
        const QString target = path("file");
        writeFile(target, "old");
        QIODevice *device = m_archive.openFile(target, QIODevice::WriteOnly);
        QVERIFY(device);
        const QString temporary = static_cast<QFile *>(device)->fileName();
        QVERIFY(QRegularExpression("^" + QRegularExpression::escape(target) + "[A-Za-z0-9]{6}$")
                    .match(temporary)
                    .hasMatch());
        device->write("new");
        QCOMPARE(readFile(target), QByteArray("old"));
        m_archive.closeFile(device);
        QCOMPARE(readFile(target), QByteArray("new"));
        QCOMPARE(names(), QStringList("file"));
    }

    void modes_data()
    {
        const auto add = columns<int, QByteArray, QByteArray>("mode", "written", "expected");
        const int write = QIODevice::WriteOnly;
        const int both = QIODevice::ReadWrite;
        add("write starts empty", write, "new", "new");
        add("read and write keeps what is not written over", both, "NEW", "NEW contents");
        add("append keeps all", (write | QIODevice::Append), "!", "old contents!");
        add("append to what can be read", (both | QIODevice::Append), "!", "old contents!");
        add("truncate", (both | QIODevice::Truncate), "x", "x");
        add("existing only", (write | QIODevice::ExistingOnly), "x", "x");
    }

    void modes()
    {
        const auto [mode, written, expected] = row<int, QByteArray, QByteArray>();
        writeFile(path("file"), "old contents");
        QIODevice *device = m_archive.openFile(path("file"), QIODevice::OpenMode(mode));
        QVERIFY(device);
        QCOMPARE(device->write(written), qint64(written.size()));
        m_archive.closeFile(device);
        QCOMPARE(readFile(path("file")), expected);
        QCOMPARE(names(), QStringList("file"));
    }

    void newOnlyRefusesAnExistingFile()
    {
        writeFile(path("file"), "old");
        QVERIFY(!m_archive.openFile(path("file"), QIODevice::WriteOnly | QIODevice::NewOnly));
        QCOMPARE(readFile(path("file")), QByteArray("old"));
    }

    void keepsPermissions_data()
    {
        const auto add = columns<int>("mode");
        for (int mode : {0600, 0640, 0644, 0755, 0666})
            add(QByteArray::number(mode, 8).constData(), mode);
    }

    void keepsPermissions()
    {
        QFETCH(int, mode);
        const QByteArray name = QFile::encodeName(path("file"));
        writeFile(path("file"), "old");
        QCOMPARE(chmod(name.constData(), mode_t(mode)), 0);
        const bool isRoot = geteuid() == 0;
        if (isRoot)
            QCOMPARE(chown(name.constData(), 1234, 4321), 0);
        QVERIFY(save(path("file"), "new"));
        struct stat info;
        QCOMPARE(stat(name.constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 07777), mode);
        if (isRoot) {
            QCOMPARE(int(info.st_uid), 1234);
            QCOMPARE(int(info.st_gid), 4321);
        }
    }

    void keepsSymbolicLinks()
    {
        QVERIFY(QDir(m_directory.path()).mkpath("real"));
        writeFile(path("real/file"), "old");
        QVERIFY(QFile::link("real/file", path("link")));
        QVERIFY(QFile::link("link", path("linkToLink")));
        QIODevice *device = m_archive.openFile(path("linkToLink"), QIODevice::WriteOnly);
        QVERIFY(static_cast<QFile *>(device)->fileName().startsWith(
            QFileInfo(path("real/file")).canonicalFilePath()));
        device->write("new");
        m_archive.closeFile(device);
        QCOMPARE(readFile(path("real/file")), QByteArray("new"));
        QVERIFY(QFileInfo(path("link")).isSymLink() && QFileInfo(path("linkToLink")).isSymLink());
        QCOMPARE(QDir(path("real")).entryList(QDir::Files), QStringList("file"));

        QVERIFY(QFile::link("real/later", path("dangling")));
        QVERIFY(save(path("dangling"), "made"));
        QCOMPARE(readFile(path("real/later")), QByteArray("made"));
        QVERIFY(QFileInfo(path("dangling")).isSymLink());
    }

    void leavesDevicesAlone()
    {
        QIODevice *device = m_archive.openFile("/dev/null", QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("nothing");
        m_archive.closeFile(device);
        struct stat info;
        QCOMPARE(stat("/dev/null", &info), 0);
        QVERIFY(S_ISCHR(info.st_mode));
    }

    void targetThatCannotBeWrittenLeavesNoTemporary()
    {
        // A running program may not be opened for writing, whoever asks.
        QVERIFY(QFile::copy("/bin/sleep", path("busy")));
        QFile(path("busy")).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QProcess process;
        process.start(path("busy"), {"60"});
        QVERIFY(process.waitForStarted());
        QVERIFY(!m_archive.openFile(path("busy"), QIODevice::WriteOnly));
        QCOMPARE(FileSystemArchive::lastError(), qt_error_string(ETXTBSY));
        QCOMPARE(names(), QStringList("busy"));
        process.kill();
        process.waitForFinished();
        QVERIFY(save(path("busy"), "free"));
    }

    void removalAndRenamingAreTriedAgain_data()
    {
        const auto add = columns<int, int>("freeAfter", "pauses");
        add("at once", 0, 0);
        add("at the third attempt to remove", 2, 2);
        add("at the last attempt to remove", 14, 14);
        add("when renaming", 17, 17);
        add("never", 1000, 28);
    }

    void removalAndRenamingAreTriedAgain()
    {
        QFETCH(int, freeAfter);
        const QString target = path("file");
        writeFile(target, "old");
        QIODevice *device = m_archive.openFile(target, QIODevice::WriteOnly);
        const QString temporary = QFileInfo(static_cast<QFile *>(device)->fileName()).fileName();
        device->write("new");
        // A directory in the place of the file can neither be removed nor renamed over.
        if (freeAfter > 0) {
            QVERIFY(QFile::remove(target) && QDir().mkpath(target));
            duringPause = [&] {
                if (pauses == freeAfter)
                    QDir().rmdir(target);
            };
        }
        const File::Pause before = File::setPause(countPause);
        m_archive.closeFile(device);
        File::setPause(before);
        QTEST(pauses, "pauses");
        const bool isReplaced = freeAfter < 1000;
        QCOMPARE(readFile(isReplaced ? target : path(temporary.toLatin1())), QByteArray("new"));
        QCOMPARE(names().contains(temporary), !isReplaced);
        QVERIFY(!FileSystemArchive::lastError().startsWith("Unknown"));
    }

    void filesTakenAwayMeanwhile_data()
    {
        const auto add = columns<bool, QByteArray>("takesTarget", "expected");
        add("the old file", true, "new");
        add("the temporary", false, "old");
    }

    void filesTakenAwayMeanwhile()
    {
        QFETCH(bool, takesTarget);
        writeFile(path("file"), "old");
        QIODevice *device = m_archive.openFile(path("file"), QIODevice::WriteOnly);
        device->write("new");
        QVERIFY(
            QFile::remove(takesTarget ? path("file") : static_cast<QFile *>(device)->fileName()));
        const File::Pause before = File::setPause(countPause);
        m_archive.closeFile(device);
        File::setPause(before);
        QCOMPARE(pauses, 0);
        QTEST(readFile(path("file")), "expected");
        QCOMPARE(names(), QStringList("file"));
    }

    void temporaryNeverTakesAnExistingName()
    {
        writeFile(path("file"), "old");
        seedNames(7);
        const QString left = path("file") + Kiln::randomString(6);
        writeFile(left, "the only whole copy");
        seedNames(7);
        QVERIFY(save(path("file"), "new"));
        QCOMPARE(readFile(left), QByteArray("the only whole copy"));
        QCOMPARE(readFile(path("file")), QByteArray("new"));
    }

    void deathBetweenRemovalAndRenamingLeavesTheNewContents()
    {
        writeFile(path("file"), "old");
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {"--die", path("file")});
        QVERIFY(child.waitForFinished());
        QCOMPARE(child.exitStatus(), QProcess::CrashExit);
        const QStringList left = QDir(m_directory.path()).entryList(QDir::Files);
        QCOMPARE(left.size(), 1);
        QVERIFY(left.first().startsWith("file") && left.first().size() == 10);
        QCOMPARE(readFile(m_directory.filePath(left.first())), QByteArray("new"));
    }

    void whatTheDiskDoesNotConfirmIsNotSaved()
    {
        const QString target = path("file");
        writeFile(target, "old");
        FakeDocument *document = new FakeDocument;
        QVERIFY(document->fromFile(m_archive, target, false));
        document->cursor().insertText("new ");
        diskFails = true;
        QVERIFY(!document->toFile(m_archive, target, false));
        QVERIFY(FileSystemArchive::lastError().startsWith(qt_error_string(EIO)));
        QVERIFY(!document->toFile(m_archive, path("another"), false));
        QCOMPARE(document->fileName(), target);
        const bool isNewSaved = save(path("other"), "new");
        diskFails = false;
        QVERIFY(document->isModified() && document->fileName() == target);
        QVERIFY(!isNewSaved && !QFile::exists(path("other")));
        QCOMPARE(readFile(target), QByteArray("old"));
        const QStringList left = QDir(m_directory.path()).entryList({"file??????"});
        QCOMPARE(left.size(), 1);
        QCOMPARE(readFile(m_directory.filePath(left.first())), QByteArray("oldnew "));
        QVERIFY(document->toFile(m_archive, target, false));
        QCOMPARE(readFile(target), QByteArray("oldnew "));
        QCOMPARE(FileSystemArchive::lastError(), QString());
        document->release();
    }

    void failedWriteKeepsTheOldFile_data()
    {
        const auto add = columns<bool>("isDisk");
        add("a full disk", true);
        add("the process may write no more", false);
    }

    void failedWriteKeepsTheOldFile()
    {
        QFETCH(bool, isDisk);
        const QByteArray mountPoint = QFile::encodeName(path("disk"));
        QVERIFY(QDir().mkpath(path("disk")));
        if (isDisk && mount("none", mountPoint.constData(), "tmpfs", 0, "size=256k") != 0)
            QSKIP("No right to mount a small disk.");
        // What is to be changed in place is copied first.
        const QByteArray big(200000, 'b');
        writeFile(path("disk/file"), big);
        std::optional<FullDisk> limit;
        if (!isDisk)
            limit.emplace(65536);
        const bool isOpened = m_archive.openFile(path("disk/file"), QIODevice::ReadWrite);
        const bool isBig = readFile(path("disk/file")) == big;
        writeFile(path("disk/file"), "old contents");
        const bool isSaved = save(path("disk/file"), QByteArray(1000000, 'x'));
        // Without a look at the result of a write, and with small writes after the failed one.
        QIODevice *device = m_archive.openFile(path("disk/file"), QIODevice::WriteOnly);
        for (int i = 0; device && i < 1000; ++i)
            device->write(QByteArray(1000, 'y'));
        m_archive.closeFile(device);
        // Closed by hand, with the fault in what was left to flush.
        device = m_archive.openFile(path("disk/file"), QIODevice::WriteOnly);
        if (device) {
            device->write(QByteArray(isDisk ? 63 * 4096 : 65536, 'z'));
            device->write("tail");
            device->close();
        }
        m_archive.closeFile(device);
        bool isCopied = copyOfTooMuch("disk/file");
        for (const auto care : {NewFiles::Plain, NewFiles::Whole, NewFiles::Staged}) {
            const NewFiles newFiles(care);
            isCopied |= copyOfTooMuch("disk/new");
        }
        const QString reason = FileSystemArchive::lastError();
        const QByteArray contents = readFile(path("disk/file"));
        const QStringList left = QDir(path("disk")).entryList(QDir::Files | QDir::Hidden);
        limit.reset();
        if (isDisk)
            umount(mountPoint.constData());
        QVERIFY(!isOpened && isBig);
        QVERIFY(!isSaved);
        QVERIFY(!isCopied);
        QCOMPARE(reason, qt_error_string(isDisk ? ENOSPC : EFBIG));
        QCOMPARE(contents, QByteArray("old contents"));
        QCOMPARE(left, QStringList("file"));
    }

    /// What a process leaves that is killed while it writes.
    void newFilesOnDisk_data()
    {
        const auto add = columns<int, bool, bool>("care", "isPart", "isConfirmed");
        add("plain", NewFiles::Plain, false, true);
        add("synced", NewFiles::Synced, true, true);
        add("whole", NewFiles::Whole, true, false);
        add("staged", NewFiles::Staged, false, false);
    }

    void newFilesOnDisk()
    {
        QFETCH(int, care);
        QFETCH(bool, isPart);
        QFETCH(bool, isConfirmed);
        const NewFiles newFiles{NewFiles::Care(care)};
        for (const bool fails : {false, true}) {
            init();
            syncs = 0;
            diskFails = fails;
            const auto deviceWorks = qScopeGuard([] { diskFails = false; });
            QIODevice *device = m_archive.openFile(path("file"), QIODevice::WriteOnly);
            QVERIFY(device->write("new") == 3 && static_cast<QFile *>(device)->flush());
            QCOMPARE(names().size(), 1);
            QCOMPARE(names().first().startsWith(".kiln-part-"), isPart);
            QCOMPARE(m_archive.closeWritten(device), !(fails && isConfirmed));
            QCOMPARE(names(), fails && isConfirmed ? QStringList() : QStringList("file"));
            QCOMPARE(syncs, int(isConfirmed));
        }
        // One that is there is replaced as ever, and no place is taken away.
        QVERIFY(save(path("file"), "newer") && syncs > 0);
        QVERIFY(QFile::remove(path("file")));
        QIODevice *device = m_archive.openFile(path("file"), QIODevice::WriteOnly);
        QVERIFY(!isPart || QDir().mkpath(path("file/below")));
        QCOMPARE(m_archive.closeWritten(device), !isPart);
        QCOMPARE(names(), QStringList("file"));
        QCOMPARE(FileSystemArchive::lastError(), isPart ? qt_error_string(EISDIR) : QString());
    }

    void copiesFiles_data()
    {
        const auto add = columns<QByteArray>("contents");
        add("empty", {});
        add("short", "abc");
        add("one block", QByteArray(131072, 'b'));
        add("a block and a byte", QByteArray(131073, 'c'));
    }

    void copiesFiles()
    {
        QFETCH(QByteArray, contents);
        writeFile(path("from"), contents);
        QVERIFY(Kiln::copyFile(m_archive, path("from"), m_archive, path("sub/plain")));
        QVERIFY(!QFile::permissions(path("sub/plain")).testFlag(QFile::ExeOther));
        QVERIFY(QFile::setPermissions(path("from"), QFile::ReadOwner | QFile::ExeOther));
        QVERIFY(Kiln::copyFile(m_archive, path("from"), m_archive, path("sub/to")));
        QCOMPARE(readFile(path("sub/to")), contents);
        QVERIFY(QFile::permissions(path("sub/to")).testFlag(QFile::ExeOther));
        QVERIFY(QFile::permissions(path("sub/to")).testFlag(QFile::WriteOwner));
        FileSystemArchive other = m_archive;
        QVERIFY(!Kiln::copyFile(m_archive, path("from"), other, path("from")));
        QCOMPARE(readFile(path("from")), contents);
        QVERIFY(!Kiln::copyFile(m_archive, path("missing"), m_archive, path("from")));
        QCOMPARE(readFile(path("from")), contents);
        // What ends in the middle of reading leaves the target as it was.
        BrokenArchive broken;
        broken.addOwner();
        QVERIFY(!Kiln::copyFile(broken, "any", m_archive, path("from")));
        QCOMPARE(readFile(path("from")), contents);
    }

    /// Into an archive that is no disk comes a whole file or none, and what its device could not
    /// write is not saved.
    void copiesIntoOtherArchives()
    {
        struct Cut : QBuffer {
            qint64 readData(char *data, qint64 size) override
            {
                return pos() >= 131072 ? -1 : QBuffer::readData(data, size);
            }
        };
        struct CutArchive : MemoryArchive {
            QIODevice *openFile(const QString &name, QIODevice::OpenMode mode) override
            {
                auto *device = new Cut;
                device->setData(files.value(name));
                device->open(mode | QIODevice::Unbuffered);
                return device;
            }
        } broken;
        MemoryArchive memory;
        writeFile(path("from"), QByteArray(300000, 'x'));
        broken.files["from"] = QByteArray(300000, 'x');
        memory.files["to"] = "old";
        QVERIFY(!Kiln::copyFile(broken, "from", memory, "to"));
        QVERIFY(!Kiln::copyFile(m_archive, path("missing"), memory, "to"));
        QCOMPARE(memory.files["to"], QByteArray("old"));
        QVERIFY(Kiln::copyFile(m_archive, path("from"), memory, "to"));
        QVERIFY(memory.files["to"] == QByteArray(300000, 'x'));

        struct FullArchive : MemoryArchive {
            QIODevice *openFile(const QString &, QIODevice::OpenMode mode) override
            {
                auto *device = new QFile("/dev/full");
                device->open(mode);
                return device;
            }
            void closeFile(QIODevice *device) override { delete device; }
        } full;
        QIODevice *device = full.openFile("a", QIODevice::WriteOnly);
        QVERIFY(device && device->isOpen());
        QCOMPARE(device->write("lost"), qint64(4));
        QVERIFY(!full.closeWritten(device));
    }

    void listsEntries()
    {
        writeFile(path("b.txt"));
        writeFile(path("a.txt"));
        QVERIFY(QDir().mkpath(path("dir")));
        QVERIFY(QFile::link(path("a.txt"), path("link")));
        QCOMPARE(m_archive.entries(m_directory.path(), QDir::Files | QDir::Dirs, QDir::Name),
                 QStringList({"a.txt", "b.txt", "dir"}));
        QCOMPARE(m_archive.entries(m_directory.path(), QDir::NoFilter, QDir::Name),
                 QStringList({"a.txt", "b.txt", "dir"}));
        const QList<QFileInfo> infos =
            m_archive.infoEntries(m_directory.path(), QDir::Files, QDir::Name | QDir::Reversed);
        QCOMPARE(infos.size(), 2);
        QCOMPARE(infos.first().absoluteFilePath(), path("b.txt"));
        QVERIFY(m_archive.entries(path("missing"), QDir::Files, QDir::Name).isEmpty());
    }

    void ownersAreCounted()
    {
        MemoryArchive archive;
        archive.addOwner();
        archive.addOwner();
        archive.removeOwner();
        QCOMPARE(archive.freed, 0);
        QCOMPARE(MemoryArchive(archive).refCount, 1);
        archive.removeOwner();
        QCOMPARE(archive.freed, 1);
    }

    void smallHelpers()
    {
        QCOMPARE(Kiln::fileExtension(QString("/a.b/c.tar.png")), QByteArray("PNG"));
        QCOMPARE(Kiln::fileExtension(QString("/a.b/c")), QByteArray());
        QCOMPARE(Kiln::fixFileCase("dir", m_archive, "name"), QString("dirname"));
        QVERIFY(Kiln::randomString(0).isEmpty() && Kiln::randomString(-3).isEmpty());
        QSet<QChar> characters;
        for (const QChar &character : Kiln::randomString(20000))
            characters.insert(character);
        QCOMPARE(characters.size(), 62);

        QBuffer buffer;
        buffer.setData(QByteArray(1000, 'x'));
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        Kiln::skipRead(&buffer, 0);
        QCOMPARE(buffer.pos(), 0);
        Kiln::skipRead(&buffer, 257);
        QCOMPARE(buffer.pos(), 257);
        Kiln::skipRead(&buffer, 100000);
        QCOMPARE(buffer.pos(), 1000);
    }

    void dialogFilters()
    {
        QCryptographicHash hash(QCryptographicHash::Sha256);
        for (int i = 0; i < 6; ++i)
            hash.addData(QByteArray(Kiln::fileExtension(Kiln::FileExtensionType(i))) + '\n');
        QCOMPARE(hash.result().toHex(),
                 QByteArray("64bdfdc13e5e114b67a7f871546da194d47a5b71a6ebcadb3f3c870dc6e52d49"));
        QVERIFY(!Kiln::fileExtension(Kiln::FileExtensionType(6)));
    }

private:
    bool copyOfTooMuch(const char *name)
    {
        // A program file is larger than either limit.
        return Kiln::copyFile(m_archive, "/proc/self/exe", m_archive, path(name));
    }
};

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (argc == 3 && QByteArray(argv[1]) == "--die")
        return dieWhileReplacing(QFile::decodeName(argv[2]));
    tst_archive test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_archive.moc"
