#include "plugins/diary.h"

#include <kilnx/project/extension.h>
#include <kilnx/sound/wav.h>

#include <QtTest/QtTest>

#include <memory>

#include <unistd.h>

using namespace Kiln;

namespace
{

// A reader whose answer and trace the test sets.
class ScriptedReader : public SoundReader
{
public:
    ScriptedReader(QByteArray format, QByteArray data, bool result, int brings = 0)
        : m_format(std::move(format))
        , m_data(std::move(data))
        , m_result(result)
        , m_brings(brings)
    {
    }
    ~ScriptedReader() override { tellDiary(QString("end of ") + QString::fromLatin1(m_data)); }
    const char *format() override { return m_format.constData(); }
    bool read(QIODevice *, SoundSample &sample) override
    {
        tellDiary(QString("asked ") + QString::fromLatin1(m_data));
        for (int i = 0; i < m_brings; ++i)
            ExtensionManager::add(new ScriptedReader(m_format, "brought", false));
        sample.data = m_data;
        return m_result;
    }

private:
    QByteArray m_format;
    QByteArray m_data;
    bool m_result;
    int m_brings; // how many more readers it registers while it reads
};

// A writer that only tells what it was offered.
class ScriptedWriter : public SoundWriter
{
public:
    ScriptedWriter(const char *format, const char *name, bool result)
        : m_format(format)
        , m_name(name)
        , m_result(result)
    {
    }
    const char *format() override { return m_format; }
    bool write(const SoundSample &sample, QIODevice *) override
    {
        tellDiary(QLatin1String(m_name) + QLatin1String(sample.data));
        return m_result;
    }

private:
    const char *m_format;
    const char *m_name;
    bool m_result;
};

// An extension that claims any list.
class MisplacedExtension : public Extension
{
public:
    explicit MisplacedExtension(int type)
        : m_type(static_cast<Type>(type))
    {
    }
    ~MisplacedExtension() override { tellDiary(QString("end of %1").arg(m_type)); }
    Type type() override { return m_type; }
    const char *format() override { return "any"; }

private:
    Type m_type;
};

// While it lives, root may not do more than others.
class Unprivileged
{
public:
    Unprivileged()
    {
        if (m_user == 0 && seteuid(65534) != 0)
            qFatal("The test cannot let go of its rights");
    }
    ~Unprivileged()
    {
        if (seteuid(m_user) != 0)
            qFatal("The test cannot take its rights back");
    }

private:
    const uid_t m_user = geteuid();
};

int extensionCount()
{
    int count = 0;
    for (int type = 0; type < Extension::TypeCount; ++type)
        count += ExtensionManager::list(static_cast<Extension::Type>(type)).size();
    return count;
}

} // namespace

class TestExtension : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(m_directory->isValid());
        takeDiary();
    }

    void cleanup()
    {
        m_manager.reset();
        QCOMPARE(extensionCount(), 0);
    }

    void loadsRealPlugins()
    {
        put(TONES_PLUGIN, "tones.so");
        makeManager();
        QCOMPARE(takeDiary(), QStringList({"tones registers"}));
        QCOMPARE(ExtensionManager::list(Extension::SoundReaders).size(), 2);
        QCOMPARE(ExtensionManager::list(Extension::SoundWriters).size(), 1);
        QCOMPARE(ExtensionManager::list(Extension::PaletteReaders).size(), 1);

        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::ReadWrite));
        SoundSample sample;
        sample.data = "tone data";
        QVERIFY(saveSound(&buffer, "tone", sample));
        QVERIFY(!saveSound(&buffer, "TONE", sample));
        buffer.seek(0);
        SoundSample loaded;
        QVERIFY(loadSound(&buffer, "tone", loaded));
        QCOMPARE(loaded.data, sample.data);
        QCOMPARE(loaded.channels, SampleInfo().channels);
        QCOMPARE(takeDiary(), QStringList({"refused", "read"}));

        m_manager.reset();
        QCOMPARE(takeDiary(),
                 QStringList({"end of the palette reader", "end of the tone reader",
                              "end of the refusing reader", "end of the tone writer"}));

        // The code may still be in memory: a second manager registers anew.
        makeManager();
        QCOMPARE(ExtensionManager::list(Extension::SoundReaders).size(), 2);
    }

    void loadsFromHere()
    {
        put(THROWING_PLUGIN, "libx.so");
        put(TONES_PLUGIN, "x.so");
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(m_directory->path()));
        m_manager = std::make_unique<ExtensionManager>(".");
        QVERIFY(QDir::setCurrent(before));
        QCOMPARE(takeDiary(), QStringList({"throwing registers", "tones registers"}));
    }

    void whatIsNoPluginIsPassedOver()
    {
        put(NOSYMBOL_PLUGIN, "nosymbol.so");
        put(TONES_PLUGIN, "libtones.so");
        const QHash<QString, QByteArray> files{{"notes.txt", "text"},
                                               {"broken.so", "\x7f"
                                                             "ELF and no more"},
                                               {"empty.so", ""},
                                               // Asked for this one, the loader finds libtones.so.
                                               {"tones", "text"}};
        for (auto file = files.begin(); file != files.end(); ++file) {
            QFile out(m_directory->filePath(file.key()));
            QVERIFY(out.open(QIODevice::WriteOnly));
            out.write(file.value());
        }
        QVERIFY(QDir(m_directory->path()).mkdir("folder.so"));
        makeManager();
        QCOMPARE(takeDiary(), QStringList({"tones registers"}));

        const ExtensionManager missing(m_directory->filePath("missing"));
        const ExtensionManager noDirectory(m_directory->filePath("libtones.so"));
        std::unique_ptr<ExtensionManager> unreadable;
        {
            const Unprivileged nobody;
            QFile::setPermissions(m_directory->path(), QFile::Permissions());
            unreadable = std::make_unique<ExtensionManager>(m_directory->path());
            QFile::setPermissions(m_directory->path(),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        QCOMPARE(takeDiary(), QStringList());
    }

    void throwingRegistrationKeepsWhatItAdded()
    {
        put(THROWING_PLUGIN, "1.so");
        put(TONES_PLUGIN, "2.so");
        makeManager();
        QCOMPARE(takeDiary(), QStringList({"throwing registers", "tones registers"}));
        const QList<Extension *> readers = ExtensionManager::list(Extension::SoundReaders);
        QCOMPARE(readers.size(), 3);
        QCOMPARE(readers.first()->format(), "late");
        QCOMPARE(readers.first()->displayName(), QString());
    }

    void triedInOrderOfRegistration()
    {
        makeManager();
        ExtensionManager::add(new ScriptedReader("snd", "first", false, 100));
        ExtensionManager::add(new ScriptedReader("SND", "other format", true));
        ExtensionManager::add(new ScriptedReader("snd", "second", true));
        ExtensionManager::add(new ScriptedReader("snd", "third", true));
        QCOMPARE(load("snd"), QByteArray("second"));
        QCOMPARE(takeDiary(), QStringList({"asked first", "asked second"}));

        ExtensionManager::add(new ScriptedWriter("snd", "first wrote ", false));
        ExtensionManager::add(new ScriptedWriter("snd", "second wrote ", true));
        ExtensionManager::add(new ScriptedWriter("snd", "third wrote ", true));
        ExtensionManager::add(new ScriptedWriter("no", "refuser wrote ", false));
        QBuffer out;
        QVERIFY(out.open(QIODevice::WriteOnly));
        SoundSample sample;
        sample.data = "it";
        QVERIFY(saveSound(&out, "snd", sample));
        QVERIFY(!saveSound(&out, "no", sample));
        QCOMPARE(takeDiary(),
                 QStringList({"first wrote it", "second wrote it", "refuser wrote it"}));
        QCOMPARE(load("flac"), QByteArray("none"));
        QCOMPARE(load(nullptr), QByteArray("none"));
        QCOMPARE(takeDiary(), QStringList());
    }

    void resultOfLoadIsTheData()
    {
        makeManager();
        ExtensionManager::add(new ScriptedReader("wav", "mine", true));
        ExtensionManager::add(new ScriptedReader("liar", "", true));
        ExtensionManager::add(new ScriptedReader("modest", "data", false));
        // The format that is built in comes first.
        QCOMPARE(load("wav"), QByteArray("none"));
        QCOMPARE(takeDiary(), QStringList());
        QCOMPARE(load("liar"), QByteArray("none"));
        QCOMPARE(load("modest"), QByteArray("data"));
    }

    void listsAreKeptByType()
    {
        makeManager();
        for (const int type : {0, 15, 16, -1, 1000})
            ExtensionManager::add(new MisplacedExtension(type));
        ExtensionManager::add(nullptr);
        QCOMPARE(takeDiary(), QStringList({"end of 16", "end of -1", "end of 1000"}));
        QCOMPARE(extensionCount(), 2);
        QCOMPARE(ExtensionManager::list(static_cast<Extension::Type>(16)).size(), 0);
        QCOMPARE(ExtensionManager::list(static_cast<Extension::Type>(-1)).size(), 0);

        // It says that it is a reader, and is none.
        ExtensionManager::add(new MisplacedExtension(Extension::SoundReaders));
        QCOMPARE(load("any"), QByteArray("none"));
    }

    void endsListByListFromTheBack()
    {
        makeManager();
        ExtensionManager::add(new MisplacedExtension(9));
        ExtensionManager::add(new ScriptedReader("snd", "sound 1", true));
        ExtensionManager::add(new MisplacedExtension(0));
        ExtensionManager::add(new ScriptedReader("snd", "sound 2", true));
        m_manager.reset();
        QCOMPARE(takeDiary(),
                 QStringList({"end of 0", "end of sound 2", "end of sound 1", "end of 9"}));
    }

private:
    void put(const char *library, const QString &name)
    {
        QVERIFY(QFile::copy(QString::fromLocal8Bit(library), m_directory->filePath(name)));
    }
    /// What the readers of a format make of nothing. What the sample held before does not count.
    static QByteArray load(const char *format)
    {
        QBuffer buffer;
        buffer.open(QIODevice::ReadOnly);
        SoundSample sample;
        sample.data = "before";
        return loadSound(&buffer, format, sample) ? sample.data : QByteArray("none");
    }
    void makeManager() { m_manager = std::make_unique<ExtensionManager>(m_directory->path()); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<ExtensionManager> m_manager;
};

QTEST_GUILESS_MAIN(TestExtension)

#include "tst_extension.moc"
