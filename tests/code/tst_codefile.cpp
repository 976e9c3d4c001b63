#include <kilnx/code/messages.h>
#include <kilnx/code/textcodecs.h>
#include <kilnx/project/archive.h>
#include <tests/code/plaincode.h>

#include <QFile>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextCodec>

using namespace Kiln;

/// Loading and saving, in every encoding, of good files and bad ones.
class TestCodeFile : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void codecIds();
    void detection_data();
    void detection();
    void everyCodecGoesRound();
    void saveAndLoad();
    void copies();
    void failures();
    void bytesComeBack_data();
    void bytesComeBack();
    void lostCharacters();
    void undecodableReload();
    void reloads();

private:
    QString path(const char *name) { return directory->filePath(QLatin1String(name)); }
    static void write(const QString &name, const QByteArray &data)
    {
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(data);
    }
    static QByteArray read(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    Archive &archive = FileSystemArchive::instance();
    std::unique_ptr<QTemporaryDir> directory;
    Plain::Parser parser;
    Plain::DocumentPointer document;
};

void TestCodeFile::init()
{
    directory = std::make_unique<QTemporaryDir>();
    document.reset(new Plain::Document(&parser));
}

void TestCodeFile::codecIds()
{
    QCOMPARE(TextCodecs::name(0), QStringLiteral("System"));
    QCOMPARE(TextCodecs::index("no such name"), 0);
    QCOMPARE(TextCodecs::index("utf-8"), 0);
    QVERIFY(TextCodecs::count() > 10);
    for (int id = 1; id < TextCodecs::count(); ++id) {
        QVERIFY(TextCodecs::name(id) != QLatin1String("System"));
        // Qt lists some names twice.
        const QString name = TextCodecs::name(id);
        QCOMPARE(TextCodecs::name(TextCodecs::index(name.toLatin1().constData())), name);
    }
    for (const int id : {-5, TextCodecs::count(), 1 << 30}) {
        QVERIFY(TextCodecs::name(id).isEmpty());
        QCOMPARE(TextCodecs::stringToData(QStringLiteral("a"), id), QByteArray("a"));
        document->setCodecId(id);
        QCOMPARE(document->codecId(), 0);
    }
    int id = 1 << 30;
    QCOMPARE(TextCodecs::stringFromData("a", &id), QStringLiteral("a"));
    document->setCodec(QStringLiteral("UTF-8"));
    QCOMPARE(document->codecName(), QStringLiteral("UTF-8"));
}

void TestCodeFile::detection_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("text");
    const QString russian =
        QString::fromUtf8("Широкая электрификация южных губерний даст мощный толчок").repeated(4);
    const QString german =
        QString::fromUtf8("Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich");
    QTest::newRow("UTF-8") << german.toUtf8() << german;
    QTest::newRow("UTF-8 with a mark") << QByteArray("\xEF\xBB\xBF") + german.toUtf8() << german;
    QTest::newRow("UTF-16 little") << QByteArray("\xFF\xFE"
                                                 "a\0;\0",
                                                 6)
                                   << "a;";
    QTest::newRow("UTF-16 big") << QByteArray("\xFE\xFF"
                                              "\0a\0;",
                                              6)
                                << "a;";
    QTest::newRow("windows-1251") << QTextCodec::codecForName("windows-1251")->fromUnicode(russian)
                                  << russian;
    QTest::newRow("Shift_JIS") << QTextCodec::codecForName("Shift_JIS")
                                      ->fromUnicode(QString::fromUtf8("これは日本語の文章です。"))
                               << QString::fromUtf8("これは日本語の文章です。");
    QTest::newRow("ASCII") << QByteArray("[a]") << "[a]";
    QTest::newRow("empty") << QByteArray() << "";
}

void TestCodeFile::detection()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, text);
    int id = -1;
    QCOMPARE(TextCodecs::stringFromData(data, &id), text);
    QVERIFY(id >= 0 && id < TextCodecs::count());
    // What is saved in the encoding that was found is read again.
    const QByteArray saved = TextCodecs::stringToData(text, id);
    id = -1;
    QCOMPARE(TextCodecs::stringFromData(saved, &id), text);
}

void TestCodeFile::everyCodecGoesRound()
{
    const QString text = QStringLiteral("[a]\nx = 1, 2\nname = word (b)");
    for (int id = 0; id < TextCodecs::count(); ++id) {
        document->fromString(text);
        document->setCodecId(id);
        QVERIFY(document->toFile(archive, path("a.txt"), false));
        const int used = document->codecId();
        QVERIFY2(document->fromFile(archive, path("a.txt"), used, false),
                 qPrintable(TextCodecs::name(id)));
        QVERIFY2(document->toString() == text, qPrintable(TextCodecs::name(id)));
    }
}

void TestCodeFile::saveAndLoad()
{
    document->fromString(QStringLiteral("[a]\nx = \u00e4\u00a01"));
    QVERIFY(document->fileName().isEmpty());
    document->insert(QStringLiteral("\n"));
    QVERIFY(document->isModified());
    QVERIFY(document->toFile(archive, path("hero.plain"), false));
    QVERIFY(!document->isModified());
    QCOMPARE(document->fileName(), path("hero.plain"));
    QCOMPARE(document->title(), QStringLiteral("hero.plain"));
    QCOMPARE(read(path("hero.plain")), QByteArray("[a]\r\nx = \xC3\xA4\xC2\xA0"
                                                  "1\r\n"));

    Plain::DocumentPointer other(new Plain::Document(&parser));
    QSignalSpy reset(other->model(), &QAbstractItemModel::modelReset);
    QVERIFY(other->fromFile(archive, path("hero.plain"), false));
    QCOMPARE(reset.count(), 1);
    QCOMPARE(other->toRawText(), document->toRawText());
    QCOMPARE(other->codecName(), QStringLiteral("UTF-8"));
    QCOMPARE(other->rowCount(), 1);
    QVERIFY(!other->isModified() && !other->isUndoAvailable());
    QVERIFY(other->canSave() && !other->isEmpty());
    other->reset();
    QVERIFY(other->isEmpty() && other->fileName().isEmpty() && other->title().isEmpty());
}

void TestCodeFile::copies()
{
    write(path("in.plain"), "[b]");
    document->fromString(QStringLiteral("[a]"));
    QVERIFY(document->toFile(archive, path("own.plain"), false));
    QVERIFY(document->fromFile(archive, path("in.plain"), true));
    QCOMPARE(document->fileName(), path("own.plain"));
    QCOMPARE(document->title(), QStringLiteral("own.plain"));
    QCOMPARE(document->toString(), QStringLiteral("[b]"));
    QVERIFY(document->isModified());
    QVERIFY(document->toFile(archive, path("out.plain"), true));
    QVERIFY(document->isModified());
    QCOMPARE(document->fileName(), path("own.plain"));
    QCOMPARE(read(path("out.plain")), QByteArray("[b]"));
}

void TestCodeFile::failures()
{
    document->fromString(QStringLiteral("[a]"));
    QVERIFY(document->toFile(archive, path("a.plain"), false));
    document->insert(QStringLiteral("\nx = 1"));
    QVERIFY(!document->fromFile(archive, path("missing.plain"), false));
    QVERIFY(!document->fromFile(archive, directory->path(), false));
    QVERIFY(!document->toFile(archive, directory->path(), false));
    QVERIFY(!document->toFile(archive, QStringLiteral("/proc/no/such.plain"), false));
    QCOMPARE(document->toString(), QStringLiteral("[a]\nx = 1"));
    QCOMPARE(document->fileName(), path("a.plain"));
    QVERIFY(document->isModified() && document->isUndoAvailable());
    QFile full(QStringLiteral("/dev/full"));
    if (!full.exists())
        QSKIP("the system has no full device");
    document->insert(QString(100000, QLatin1Char('x')));
    QVERIFY(!document->toFile(archive, full.fileName(), false));
    QVERIFY(document->isModified());
    QCOMPARE(document->fileName(), path("a.plain"));
}

void TestCodeFile::bytesComeBack_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("saved");
    QByteArray binary;
    QRandomGenerator random(5);
    for (int i = 0; i < 20000; ++i) {
        const char byte = char(random.bounded(256));
        if (byte != '\r' && byte != '\n')
            binary += byte;
    }
    QByteArray all;
    for (int byte = 14; byte < 256; ++byte)
        all += char(byte);
    QTest::newRow("empty") << QByteArray() << QByteArray();
    QTest::newRow("binary") << binary << binary;
    QTest::newRow("all bytes") << all << all;
    QTest::newRow("broken UTF-8") << QByteArray("text \xC3\xA4\xC3\xB6\xC3\xBC and \xC3")
                                  << QByteArray("text \xC3\xA4\xC3\xB6\xC3\xBC and \xC3");
    QTest::newRow("zero bytes") << QByteArray("a\0b\0c", 5) << QByteArray("a\0b\0c", 5);
    QTest::newRow("line ends of all kinds")
        << QByteArray("a\nb\r\nc\rd\n") << QByteArray("a\r\nb\r\nc\r\nd\r\n");
    QTest::newRow("one long line") << QByteArray(1000000, 'x') << QByteArray(1000000, 'x');
}

void TestCodeFile::bytesComeBack()
{
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, saved);
    write(path("in.plain"), data);
    QVERIFY(document->fromFile(archive, path("in.plain"), false));
    QVERIFY(document->toFile(archive, path("out.plain"), false));
    QVERIFY2(read(path("out.plain")) == saved, qPrintable(document->codecName()));
}

void TestCodeFile::lostCharacters()
{
    // An encoding without the character: the file becomes UTF-8, and a warning tells of it.
    document->fromString(QStringLiteral("[a]\nx = \u0436"));
    document->setCodec(QStringLiteral("ISO-8859-1"));
    QVERIFY(document->toFile(archive, path("copy.plain"), true));
    QCOMPARE(document->codecName(), QStringLiteral("ISO-8859-1"));
    QCOMPARE(read(path("copy.plain")), QByteArray("[a]\r\nx = \xD0\xB6"));
    QVERIFY(document->toFile(archive, path("a.plain"), false));
    QCOMPARE(read(path("a.plain")), QByteArray("[a]\r\nx = \xD0\xB6"));
    QCOMPARE(document->codecName(), QStringLiteral("UTF-8"));
    QVERIFY(document->messages()->count(Message::Warning) > 0);
    QCOMPARE(document->messages()->at(0, Message::Warning).line, 1);
    QCOMPARE(Plain::faults(*document), QStringList());
    document->setCodec(QStringLiteral("ISO-8859-1"));
    document->fromString(QStringLiteral("x = \u00e4"));
    document->setCodec(QStringLiteral("ISO-8859-1"));
    QVERIFY(document->toFile(archive, path("a.plain"), false));
    QCOMPARE(read(path("a.plain")), QByteArray("x = \xE4"));
    QCOMPARE(document->messages()->count(Message::Warning), 0u);
}

void TestCodeFile::undecodableReload()
{
    write(path("a.plain"), "ok\nx = \xC3\xA4\nbad \xFF\n");
    QVERIFY(document->fromFile(archive, path("a.plain"), TextCodecs::index("UTF-8"), false));
    QCOMPARE(document->codecName(), QStringLiteral("UTF-8"));
    QCOMPARE(document->messages()->count(Message::Warning), 1u);
    QCOMPARE(document->messages()->at(0, Message::Warning).line, 2);
    QCOMPARE(document->messages()->at(0, Message::Warning).column, 4);
}

void TestCodeFile::reloads()
{
    write(path("a.plain"), "x = \xE4\xF6\xFC");
    QVERIFY(document->fromFile(archive, path("a.plain"), TextCodecs::index("ISO-8859-1"), false));
    write(path("a.plain"), "y = \xE4\xF6\xFC");
    document->insert(QStringLiteral("lost"));
    document->reload();
    QCOMPARE(document->toString(), QStringLiteral("y = \u00e4\u00f6\u00fc"));
    QVERIFY(!document->isModified());
    QVERIFY(QFile::remove(path("a.plain")));
    document->reload();
    QCOMPARE(document->toString(), QStringLiteral("y = \u00e4\u00f6\u00fc"));
}

QTEST_MAIN(TestCodeFile)
#include "tst_codefile.moc"
