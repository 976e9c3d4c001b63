#include <kilnx/code/messages.h>
#include <kilnx/code/textcodecs.h>
#include <kilnx/project/archive.h>
#include <tests/code/plaincode.h>
#include <tests/support/files.h>
#include <tests/support/memoryarchive.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>

#include <algorithm>

#include <malloc.h>

using namespace Kiln;

namespace
{
/// Text of every plane, of every script that an encoding may have, and of the characters that a
/// QTextDocument or the reader of bytes has another use for.
QString sampleText()
{
    QString text = QString::fromUtf8(
        "[a]\r\nx = 1\r\nZw\u00f6lf \u0416\u0434\u0438 "
        "\u3053\u308c\u65e5\u672c \uac00\ub098 \u05d0 \u0627 \u0e01 "
        "\u03b1\u03b2 \u2028\u2029\ufdd0\ufdd1\ufeff\ufffc\ufffd\u0085|\u00a0|\r\n");
    for (uint plane = 1; plane <= 16; ++plane) {
        for (const uint offset : {0x0000u, 0x1234u, 0xFD00u, 0xFD03u, 0xFE80u, 0xFEFFu, 0xFFFDu}) {
            const uint character = plane * 0x10000 + offset;
            text += QString::fromUcs4(&character, 1);
        }
        text += QString("\r\n");
    }
    return text;
}

QByteArray encoded(const char *codec, const QString &text)
{
    return QTextCodec::codecForName(codec)->fromUnicode(text);
}

/// What all warnings of lines with such bytes say.
const char *const notEncoded = "in the encoding";

/// The lines of the warnings that say `what`, each once.
QList<int> toldLines(CodeDocument &document, const char *what)
{
    QList<int> lines;
    for (uint i = 0; i < document.messages()->count(Message::Warning); ++i) {
        const Message message = document.messages()->at(i, Message::Warning);
        if (message.text.contains(QLatin1String(what)))
            lines += message.line;
    }
    return lines;
}

int unitOf(const QByteArray &name)
{
    return name.startsWith("UTF-16") ? 2 : name.startsWith("UTF-32") ? 4 : 1;
}

QList<QByteArray> filesFor(const QTextCodec *codec)
{
    QRandomGenerator random(uint(qHash(codec->name(), 5)));
    const auto noise = [&random](int size) {
        QByteArray data;
        while (data.size() < size)
            data += char(random.bounded(256));
        return data;
    };
    const QByteArray plain = codec->fromUnicode(QString("[a]\r\nx = 1\r\n"));
    const QString sample = sampleText();
    QList<QByteArray> files = {QByteArray(), plain, codec->fromUnicode(sample)};
    for (const char *const mark : {"EFBBBF", "FFFE", "FEFF", "FFFE0000", "0000FEFF", "84319533"}) {
        files += QByteArray::fromHex(mark) + plain;
        files += QByteArray::fromHex(mark) + QByteArray::fromHex(mark) + plain;
    }
    if (unitOf(codec->name()) == 1)
        files += {"ok\nx = \x81\nbad \xFF\r\nlast \x81", "\xE3\x81\n\x81\x81\n\xFF", "a\rb\n\n\rc"};
    for (int i = 0; i < 12; ++i) {
        files += noise(random.bounded(1, 300));
        QByteArray broken = codec->fromUnicode(sample);
        for (int fault = 0; fault < 3; ++fault) {
            const int at = random.bounded(broken.size());
            if (broken.at(at) != '\r' && broken.at(at) != '\n')
                broken[at] = char(random.bounded(256));
        }
        files += broken.left(random.bounded(1, broken.size()));
        files += plain + noise(8) + plain;
    }
    return files;
}

/// `data` with each line end of the encoding as one line feed.
QByteArray oneLineEnd(const QByteArray &data, const QTextCodec *codec)
{
    const int unit = unitOf(codec->name());
    bool isBig = codec->name().endsWith("BE") ||
                 (!codec->name().endsWith("LE") &&
                  (data.startsWith("\xFE\xFF") || data.startsWith(QByteArray("\0\0\xFE\xFF", 4))));
    QByteArray feed = codec->fromUnicode(QString("\n")).right(unit);
    QByteArray back = codec->fromUnicode(QString("\r")).right(unit);
    if (isBig != codec->name().endsWith("BE")) {
        std::reverse(feed.begin(), feed.end());
        std::reverse(back.begin(), back.end());
    }
    QByteArray result;
    for (int i = 0; i < data.size(); i += unit) {
        const QByteArray here = data.mid(i, unit);
        if (here == back && data.mid(i + unit, unit) == feed)
            continue;
        result += here == back ? feed : here;
    }
    return result;
}
} // namespace

/// Loading and saving, in every encoding, of good files and bad ones.
class TestCodeFile : public QObject
{
    Q_OBJECT

private slots:
    // Whoever reads what is gone finds no document there any more.
    void initTestCase() { mallopt(M_PERTURB, 0x5A); }
    void init()
    {
        directory = std::make_unique<QTemporaryDir>();
        document.reset(new Plain::Document(&parser));
    }

    void codecIds()
    {
        QCOMPARE(TextCodecs::name(0), QString("System"));
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
            QCOMPARE(TextCodecs::stringToData(QString("a"), id), QByteArray("a"));
            document->setCodecId(id);
            QCOMPARE(document->codecId(), 0);
        }
        int id = 1 << 30;
        QCOMPARE(TextCodecs::stringFromData("a", &id), QString("a"));
        document->setCodec(QString("UTF-8"));
        QCOMPARE(document->codecName(), QString("UTF-8"));
    }

    void detection_data()
    {
        const auto add = columns<QByteArray, QString>("data", "text");
        const QString russian =
            QString::fromUtf8("Широкая электрификация южных губерний даст мощный толчок")
                .repeated(4);
        const QString german =
            QString::fromUtf8("Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich");
        const QString japanese = QString::fromUtf8("これは日本語の文章です。");
        add("UTF-8", german.toUtf8(), german);
        add("UTF-8 with a mark", QByteArray("\xEF\xBB\xBF") + german.toUtf8(), german);
        add("UTF-16 little", QByteArray("\xFF\xFE\141\0;\0", 6), "a;");
        add("UTF-16 big", QByteArray("\xFE\xFF\0a\0;", 6), "a;");
        add("windows-1251", encoded("windows-1251", russian), russian);
        add("Shift_JIS", encoded("Shift_JIS", japanese), japanese);
        for (const char *const codec : {"UTF-16LE", "UTF-16BE"}) {
            add(codec,
                encoded(codec, russian).mid(2) + QByteArray(codec[6] == 'L' ? "\n\0" : "\0\n", 2),
                russian + "\n");
        }
        add("UTF-32 big", QByteArray("\0\0\0[\0\1\xF6\0", 8),
            "[" + QString::fromUtf8("\U0001F600"));
        add("one bad byte", german.toUtf8() + "\xFF", german + QString::fromUtf8("\U0010FEFF"));
        add("a bad byte among Japanese", encoded("Shift_JIS", japanese) + "\xFF.",
            japanese + QString::fromUtf8("\uFFFD."));
        add("ASCII", QByteArray("[a]"), "[a]");
        add("empty", QByteArray(), "");
    }

    void detection()
    {
        const auto [data, text] = row<QByteArray, QString>();
        int id = -1;
        QCOMPARE(TextCodecs::stringFromData(data, &id), text);
        QVERIFY(id >= 0 && id < TextCodecs::count());
        // What is saved in the encoding that was found is read again.
        const bool isWhole = !text.contains(QChar(QChar::ReplacementCharacter));
        QCOMPARE(TextCodecs::canEncode(text, id), isWhole);
        const QByteArray saved = TextCodecs::stringToData(text, id);
        id = -1;
        if (isWhole)
            QCOMPARE(TextCodecs::stringFromData(saved, &id), text);
    }

    void defaultCodec()
    {
        const int asked = TextCodecs::index("IBM852");
        TextCodecs::setDefaultCodec(asked);
        int id = -1;
        TextCodecs::stringFromData(QByteArray(), &id);
        TextCodecs::setDefaultCodec(0);
        QCOMPARE(id, asked);
        TextCodecs::stringFromData(QByteArray(), &(id = -1));
        QVERIFY(id != asked);
        // One that makes nothing of the bytes gives way to the one in which each is a character.
        TextCodecs::setDefaultCodec(TextCodecs::index("EUC-JP"));
        const QString text =
            TextCodecs::stringFromData("\xFF\x63\xA6\x74\xF0\x74\x71\x90", &(id = -1));
        TextCodecs::setDefaultCodec(0);
        QCOMPARE(text, QString::fromUtf8("\u00ffc\u00a6t\u00f0tq\u0090"));
    }

    /// What another program writes is read, and what is saved is read by it.
    void anotherProgram()
    {
        const auto convert = [](const QByteArray &from, const QByteArray &to,
                                const QByteArray &data) {
            QProcess iconv;
            iconv.start(QString("iconv"), {"-c", "-f", from, "-t", to});
            iconv.write(data);
            iconv.closeWriteChannel();
            return iconv.waitForFinished() && iconv.exitCode() < 2 ? iconv.readAllStandardOutput()
                                                                   : QByteArray();
        };
        const QByteArray letters =
            QString::fromUtf8("[a]\r\nx = 1 äöü Жди これ日本 가나 אב αβγ ąőž\r\n").toUtf8();
        int codecs = 0;
        for (int id = 1; id < TextCodecs::count(); ++id) {
            const QByteArray name = TextCodecs::name(id).toLatin1();
            const QByteArray data = convert("UTF-8", name, letters);
            // The two have small letters at different places in IBM290.
            if (QTextCodec::codecForName(name)->name() != name || data.isEmpty() ||
                name == "IBM290")
                continue;
            const QString text = QString::fromUtf8(convert(name, "UTF-8", data));
            writeFile(path("in.plain"), data);
            QVERIFY(document->fromFile(archive, path("in.plain"), id, false));
            QVERIFY2(document->toString() == QString(text).remove('\r'), name);
            document->insertBefore(nullptr, QString("y = 2"), false);
            QVERIFY(document->toFile(archive, path("out.plain"), true));
            QVERIFY2(convert(name, "UTF-8", readFile(path("out.plain"))) ==
                         "y = 2\r\n" + text.toUtf8(),
                     name);
            ++codecs;
        }
        QVERIFY(codecs > 60);
    }

    void everyCodec_data()
    {
        const auto add = columns<int>("id");
        QSet<QByteArray> known;
        for (int id = 1; id < TextCodecs::count(); ++id) {
            const QByteArray name = TextCodecs::name(id).toLatin1();
            const QByteArray codec = QTextCodec::codecForName(name)->name();
            if (!known.contains(codec))
                add(codec, TextCodecs::index(codec));
            known.insert(codec);
        }
        add("System", 0);
    }

    /// A file that nobody edited is saved as it was but for its line ends, whatever its bytes.
    /// Where its encoding has no way to say them, the lines are told. Qt's codec is the judge of
    /// that.
    void everyCodec()
    {
        QFETCH(int, id);
        const QTextCodec *const codec =
            id == 0 ? QTextCodec::codecForLocale()
                    : QTextCodec::codecForName(TextCodecs::name(id).toLatin1());
        const QList<QByteArray> files = filesFor(codec);
        for (int i = 0; i < files.size(); ++i) {
            const QByteArray &data = files.at(i);
            memory.files["in.plain"] = data;
            QVERIFY(document->fromFile(memory, "in.plain", id, false));
            QVERIFY(document->toFile(memory, "out.plain", true));
            const QByteArray saved = memory.files["out.plain"];
            const QByteArray was = oneLineEnd(data, codec);
            const QByteArray is = oneLineEnd(saved, codec);
            int same = 0;
            while (same < qMin(is.size(), was.size()) && is.at(same) == was.at(same))
                ++same;
            const QByteArray difference = was.mid(qMax(0, same - 8), 20).toHex() + " became " +
                                          is.mid(qMax(0, same - 8), 20).toHex();
            QVERIFY2(is == was, QByteArray::number(i) + ": " + difference);
            if (unitOf(codec->name()) > 1 || data.isEmpty())
                continue;
            const bool hasMark = codec->name() == "UTF-8" && data.startsWith("\xEF\xBB\xBF");
            const bool isKept =
                codec->fromUnicode(codec->toUnicode(data)) == (hasMark ? data.mid(3) : data);
            const bool isTold = !toldLines(*document, notEncoded).isEmpty();
            const QByteArray text = QByteArray::number(i) + (isTold ? " is told" : " is not told");
            // A private character that stands for a byte is told too.
            QVERIFY2(isTold == !isKept || data.contains("\xF4\x8F\xBA"), text);
        }
    }

    void saveAndLoad()
    {
        document->fromString(QString("[a]\nx = \u00e4\u00a01"));
        QVERIFY(document->fileName().isEmpty());
        document->insert(QString("\n"));
        QVERIFY(document->isModified());
        QVERIFY(document->toFile(archive, path("hero.plain"), false));
        QVERIFY(!document->isModified());
        QCOMPARE(document->fileName(), path("hero.plain"));
        QCOMPARE(document->title(), QString("hero.plain"));
        QCOMPARE(readFile(path("hero.plain")), QByteArray("[a]\r\nx = \xC3\xA4\xC2\xA0"
                                                          "1\r\n"));

        Plain::DocumentPointer other(new Plain::Document(&parser));
        QSignalSpy reset(other->model(), &QAbstractItemModel::modelReset);
        QVERIFY(other->fromFile(archive, path("hero.plain"), false));
        QCOMPARE(reset.count(), 1);
        QCOMPARE(other->toRawText(), document->toRawText());
        QCOMPARE(other->codecName(), QString("UTF-8"));
        QCOMPARE(other->rowCount(), 1);
        QVERIFY(!other->isModified() && !other->isUndoAvailable());
        QVERIFY(other->canSave() && !other->isEmpty());
        other->reset();
        QVERIFY(other->isEmpty() && other->fileName().isEmpty() && other->title().isEmpty());
    }

    /// Who hears that a file is saved may close it: when it is no longer modified, and when it has
    /// its new name without having been modified.
    void closedWhenItIsSaved()
    {
        for (const bool isModified : {true, false}) {
            auto *const closed = new Plain::Document(&parser);
            closed->setModified(isModified);
            QTextDocument *const text = closed;
            connect(text, &QTextDocument::modificationChanged, this,
                    [closed] { closed->release(); });
            const QPointer<QTextDocument> alive(text);
            QVERIFY(closed->toFile(memory, "closed.plain", false));
            QVERIFY(!alive && memory.files.contains("closed.plain"));
        }
    }

    void copies()
    {
        writeFile(path("in.plain"), "[b]");
        document->fromString(QString("[a]"));
        QVERIFY(document->toFile(archive, path("own.plain"), false));
        QVERIFY(document->fromFile(archive, path("in.plain"), true));
        QCOMPARE(document->fileName(), path("own.plain"));
        QCOMPARE(document->title(), QString("own.plain"));
        QCOMPARE(document->toString(), QString("[b]"));
        QVERIFY(document->isModified());
        QVERIFY(document->toFile(archive, path("out.plain"), true));
        QVERIFY(document->isModified());
        QCOMPARE(document->fileName(), path("own.plain"));
        QCOMPARE(readFile(path("out.plain")), QByteArray("[b]"));
    }

    void failures()
    {
        document->fromString(QString("[a]"));
        QVERIFY(document->toFile(archive, path("a.plain"), false));
        document->insert(QString("\nx = 1"));
        QVERIFY(!document->fromFile(archive, path("missing.plain"), false));
        QVERIFY(!document->fromFile(archive, directory->path(), false));
        QVERIFY(!document->toFile(archive, directory->path(), false));
        QVERIFY(!document->toFile(archive, QString("/proc/no/such.plain"), false));
        QCOMPARE(document->toString(), QString("[a]\nx = 1"));
        QCOMPARE(document->fileName(), path("a.plain"));
        QVERIFY(document->isModified() && document->isUndoAvailable());
        QFile full(QString("/dev/full"));
        if (!full.exists())
            QSKIP("the system has no full device");
        for (const int size : {1, 100000}) { // it is full as the file is closed, or before
            document->insert(QString(size, 'x'));
            QVERIFY(!document->toFile(archive, full.fileName(), false));
            QVERIFY(document->isModified());
            QCOMPARE(document->fileName(), path("a.plain"));
        }
    }

    void bytesComeBack_data()
    {
        const auto add = columns<QByteArray, QByteArray>("data", "saved");
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
        add("binary", binary, binary);
        add("all bytes", all, all);
        const QByteArray broken = "text \xC3\xA4\xC3\xB6\xC3\xBC and \xC3";
        add("broken UTF-8", broken, broken);
        add("zero bytes", QByteArray("a\0b\0c", 5), QByteArray("a\0b\0c", 5));
        add("line ends of all kinds", "a\nb\r\nc\rd\n", "a\r\nb\r\nc\r\nd\r\n");
        add("one long line", QByteArray(1000000, 'x'), QByteArray(1000000, 'x'));
    }

    void bytesComeBack()
    {
        const auto [data, saved] = row<QByteArray, QByteArray>();
        writeFile(path("in.plain"), data);
        QVERIFY(document->fromFile(archive, path("in.plain"), false));
        QVERIFY(document->toFile(archive, path("out.plain"), false));
        QVERIFY2(readFile(path("out.plain")) == saved, qPrintable(document->codecName()));
    }

    void lostCharacters()
    {
        // An encoding without the character: the file becomes UTF-8, and a warning tells of it.
        document->fromString(QString("[a]\nx = \u0436\n\ny = \u0436"));
        document->setCodec(QString("ISO-8859-1"));
        const QByteArray saved = "[a]\r\nx = \xD0\xB6\r\n\r\ny = \xD0\xB6";
        QVERIFY(document->toFile(archive, path("copy.plain"), true));
        QCOMPARE(document->codecName(), QString("ISO-8859-1"));
        QCOMPARE(readFile(path("copy.plain")), saved);
        QVERIFY(document->toFile(archive, path("a.plain"), false));
        QCOMPARE(readFile(path("a.plain")), saved);
        QCOMPARE(document->codecName(), QString("UTF-8"));
        QCOMPARE(toldLines(*document, "does not have all characters"), QList<int>({1, 3}));
        QCOMPARE(Plain::faults(*document), QStringList());
        document->setCodec(QString("ISO-8859-1"));
        document->fromString(QString("x = \u00e4"));
        document->setCodec(QString("ISO-8859-1"));
        QVERIFY(document->toFile(archive, path("a.plain"), false));
        QCOMPARE(readFile(path("a.plain")), QByteArray("x = \xE4"));
        QCOMPARE(document->messages()->count(Message::Warning), 0u);
    }

    void halfReadFilesAreRefused()
    {
        // A device that fails in the middle of the file.
        struct Half : QBuffer {
            qint64 readData(char *data, qint64 most) override
            {
                return pos() < 12 ? QBuffer::readData(data, qMin<qint64>(most, 12 - pos())) : -1;
            }
        };
        struct Halves : MemoryArchive {
            QIODevice *openFile(const QString &name, QIODevice::OpenMode mode) override
            {
                auto *device = new Half;
                device->setData("x = 1\r\ny = 2\r\nz = 3\r\n");
                device->open(mode);
                return name.isEmpty() ? nullptr : device;
            }
        } halves;
        document->fromString("kept = 1");
        QVERIFY(!document->fromFile(halves, path("a.plain"), false));
        QCOMPARE(document->toPlainText(), QString("kept = 1"));
    }

    void loneSurrogatesAreSearched()
    {
        const QString lone(QChar(0xD800));
        const QString smile = QString::fromUcs4(U"\U0001F600", 1);
        document->fromString("needle = 1\n; " + lone + " needle, " + smile + " needle\n");
        const auto found = document->search(QRegularExpression("n(e+)dle(?=, (.))?"));
        QCOMPARE(found.size(), 3);
        QCOMPARE(found[1].captured, QStringList({"ee", smile}));
        QCOMPARE(found[2].start, 15u);
        QVERIFY(found[1].text.isSharedWith(found[2].text));
        // Captures are filled in from the second on; the first and last match have one only.
        document->replace(found, "%1" + lone);
        QCOMPARE(document->toPlainText(), "%1" + lone + " = 1\n; " + lone + ' ' + smile + lone +
                                              ", " + smile + " %1" + lone + '\n');
        // Half of what stands for a byte, at the end, is none.
        const QString half = QString("end") + QChar(0xDBFF);
        QCOMPARE(TextCodecs::stringToData(half, TextCodecs::index("UTF-8")), half.toUtf8());
    }

    void otherLinesKeepTheirBytes_data()
    {
        const auto add = columns<QByteArray, QByteArray, int>("codec", "data", "lines");
        const QByteArray good = "[a]\r\nx = 1\r\n";
        add("UTF-8", QByteArray("UTF-8"), good + "x = \xFF\r\ny\xC3\xA4\r\nx = \xFE", 2);
        add("private", QByteArray("UTF-8"), good + "\xF4\x8F\xBA\x80 \x80\r\nend", 1);
        add("UTF-8, mark", QByteArray("UTF-8"), "\xEF\xBB\xBF" + good + "end", 0);
        for (const char *const codec :
             {"Shift_JIS", "EUC-JP", "Big5", "US-ASCII", "IBM852", "UTF-7"})
            add(codec, QByteArray(codec), good + "x = \xFF\r\ngood\r\nx = \xFE\r\nx = \xFF\r\nend",
                codec == QByteArray("IBM852") ? 0
                : codec == QByteArray("Big5") ? 1
                                              : 3);
        add("GB18030", QByteArray("GB18030"),
            "\x84\x31\x95\x33" + good + "x = \xFF\r\nx = \xFF\xFE\r\nx = \xFE", 3);
        for (const char *const codec : {"UTF-16LE", "UTF-16BE"}) {
            const QByteArray text = encoded(codec, QString::fromLatin1(good) + sampleText());
            QTest::addRow("%s, marked", codec) << QByteArray("UTF-16") << text << 0;
            QTest::addRow("%s, plain", codec) << QByteArray(codec) << text.mid(2) << 0;
        }
    }

    /// An edit leaves the bytes of all other lines alone, also when they went and came back, and
    /// the byte order mark.
    void otherLinesKeepTheirBytes()
    {
        const auto [codec, data, lines] = row<QByteArray, QByteArray, int>();
        writeFile(path("in.plain"), data);
        QVERIFY(document->fromFile(archive, path("in.plain"), TextCodecs::index(codec), false));
        QCOMPARE(toldLines(*document, notEncoded).size(), lines);
        // In front of everything, as the first line is then another block.
        document->insertBefore(nullptr, QString("new"), false);
        QVERIFY(document->toFile(archive, path("out.plain"), true));
        if (codec.startsWith("UTF-16"))
            return;
        const int mark = data.startsWith("\xEF\xBB\xBF") ? 3 : data.startsWith("\x84") ? 4 : 0;
        const QByteArray added = encoded(document->codecName().toLatin1(), "new\r\n");
        QCOMPARE(readFile(path("out.plain")), QByteArray(data).insert(mark, added));
        // The first of two lines that read the same but are not: the other keeps its bytes.
        const int first = data.indexOf("x = \xFF\r\n");
        if (first < 0)
            return;
        document->undo();
        QTextCursor cursor = document->cursor();
        cursor.setPosition(document->find(QString("x = 1")).block().next().position());
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        document->insertOnCursor(QString(), cursor);
        QVERIFY(document->toFile(archive, path("out.plain"), true));
        QCOMPARE(readFile(path("out.plain")), QByteArray(data).remove(first, 7));
        document->undo();
        QVERIFY(document->toFile(archive, path("out.plain"), true));
        QCOMPARE(readFile(path("out.plain")), data);
        // A line that is edited is written as it reads, and is no reason to take another encoding.
        cursor.setPosition(document->find(QString("x = 1")).block().next().position());
        document->insertOnCursor(QString("1"), cursor);
        QVERIFY(document->toFile(archive, path("out.plain"), false));
        QCOMPARE(document->codecName().toLatin1(), codec);
        QVERIFY(readFile(path("out.plain")).endsWith(data.mid(first + 7)));
    }

    void linesThatNeedOthers_data()
    {
        const auto add = columns<QByteArray, QByteArray>("codec", "data");
        // A window that the first line chooses twice, as no encoder does, stands for the others.
        add("SCSU, next line", "SCSU", QByteArray("\x12\x12\x96\n\x97\nend"));
        add("SCSU, a plain line between", "SCSU", QByteArray("\x12\x12\x96\nA\n\x97\nend"));
        add("ISO-2022-KR", "ISO-2022-KR",
            QByteArray("\x1b$)C\x0e\x0e\x30\x21\x0f\nA\n\x0e\x30\x21\x0f"));
    }

    /// Where a line reads differently without those before it, an edit of these may write the whole
    /// file anew, but its text stays. Qt's codec tells what the text is.
    void linesThatNeedOthers()
    {
        const auto [name, data] = row<QByteArray, QByteArray>();
        const QTextCodec *const codec = QTextCodec::codecForName(name);
        QVERIFY(codec);
        const QString text = codec->toUnicode(data);
        writeFile(path("in.plain"), data);
        QVERIFY(document->fromFile(archive, path("in.plain"), TextCodecs::index(name), false));
        QCOMPARE(document->toPlainText(), text);
        QVERIFY(document->toFile(archive, path("out.plain"), true));
        QCOMPARE(oneLineEnd(readFile(path("out.plain")), codec), data);
        document->insertBefore(nullptr, QString("new"), false);
        document->find(text.left(1)).insertText(QString("x"));
        QVERIFY(document->toFile(archive, path("out.plain"), true));
        QCOMPARE(codec->toUnicode(oneLineEnd(readFile(path("out.plain")), codec)),
                 document->toPlainText());
    }

    void utf8HasItsBounds_data()
    {
        const auto add = columns<uint, int, bool>("character", "bytes", "isOne");
        add("7F", 0x7F, 1, true);
        add("80", 0x80, 2, true);
        add("7F, too long", 0x7F, 2, false);
        add("7FF", 0x7FF, 2, true);
        add("800", 0x800, 3, true);
        add("7FF, too long", 0x7FF, 3, false);
        add("D7FF", 0xD7FF, 3, true);
        add("D800", 0xD800, 3, false);
        add("DFFF", 0xDFFF, 3, false);
        add("E000", 0xE000, 3, true);
        add("FFFD", 0xFFFD, 3, true);
        add("FFFD, too long", 0xFFFD, 4, false);
        add("10000", 0x10000, 4, true);
        add("10FE7F", 0x10FE7F, 4, true);
        add("10FE80, stands for a byte", 0x10FE80, 4, false);
        add("10FEFF, stands for a byte", 0x10FEFF, 4, false);
        add("10FF00", 0x10FF00, 4, true);
        add("10FFFD", 0x10FFFD, 4, true);
        add("110000", 0x110000, 4, false);
    }

    /// Beside bytes that are none, a character is read as such or byte by byte, and either way
    /// saved as it was.
    void utf8HasItsBounds()
    {
        const auto [character, bytes, isOne] = row<uint, int, bool>();
        QByteArray coded;
        for (int i = bytes - 1; i > 0; --i)
            coded.prepend(char(0x80 | (character >> (6 * (bytes - 1 - i)) & 0x3F)));
        const uint first = character >> (6 * (bytes - 1));
        coded.prepend(char(bytes == 1 ? first : (0xF00 >> bytes & 0xFF) | first));
        const QByteArray data = "good \xC3\xA4\r\nx \xFF\r\n" + coded + " end";
        writeFile(path("in.plain"), data);
        QVERIFY(document->fromFile(archive, path("in.plain"), TextCodecs::index("UTF-8"), false));
        const QString line = document->findBlockByNumber(2).text();
        const QString whole = QString::fromUcs4(&character, 1) + " end";
        QCOMPARE(line == whole, isOne);
        QCOMPARE(line.size(), isOne ? whole.size() : 2 * bytes + 4);
        QVERIFY(document->toFile(archive, path("out.plain"), true));
        QCOMPARE(readFile(path("out.plain")), data);
    }

    void bytesSurviveUtf8_data()
    {
        const auto add = columns<QByteArray, QByteArray, QByteArray>("codec", "line", "saved");
        add("Shift_JIS", "Shift_JIS", "\x82\xb1\xff\x82\xea.\xfe",
            "\xe3\x81\x93\xff\xe3\x82\x8c.\xfe");
        add("a lead byte at the end", "Shift_JIS", "\x82\xb1\x82", "\xe3\x81\x93\x82");
        add("EUC-JP", "EUC-JP", "\xa4\xb3\xff\xa4\xec", "\xe3\x81\x93\xff\xe3\x82\x8c");
        add("US-ASCII", "US-ASCII", "a\xe4\xe4z", "a\xe4\xe4z");
        add("windows-1257", "windows-1257", "\xe4\xa1\xe4", "\xc3\xa4\xa1\xc3\xa4");
        add("escapes", "ISO-2022-JP", "\x1b$B$3\x1b(B\xff", "\x1b$B$3\x1b(B\xff");
    }

    /// A file that becomes UTF-8, as another line got a character that its encoding lacks or as
    /// the user chose so, has the bytes that could not be read as they were.
    void bytesSurviveUtf8()
    {
        const auto [codec, line, saved] = row<QByteArray, QByteArray, QByteArray>();
        const QByteArray face = "\xf0\x9f\x98\x80";
        for (const bool isChosen : {false, true}) {
            writeFile(path("in.plain"), "one\r\nx" + line + "\r\nend");
            QVERIFY(document->fromFile(archive, path("in.plain"), TextCodecs::index(codec), false));
            if (isChosen)
                document->setCodec(QString("UTF-8"));
            else
                document->insertBefore(nullptr, QString::fromUtf8(face), false);
            const QByteArray wanted =
                (isChosen ? "" : face + "\r\n") + "one\r\nx" + saved + "\r\nend";
            // The second time the encoding is UTF-8, and what was loaded is far.
            for (int time = 0; time < 2; ++time) {
                QVERIFY(document->toFile(archive, path("in.plain"), false));
                QCOMPARE(readFile(path("in.plain")), wanted);
                QCOMPARE(document->codecName(), QString("UTF-8"));
            }
            QCOMPARE(toldLines(*document, "does not have all"),
                     isChosen ? QList<int>() : QList<int>({0}));
            QCOMPARE(toldLines(*document, notEncoded), QList<int>({isChosen ? 1 : 2}));
            document->reload();
            QCOMPARE(toldLines(*document, notEncoded), QList<int>({isChosen ? 1 : 2}));
            const QTextBlock told = document->findBlockByNumber(isChosen ? 1 : 2);
            const auto message = CodeBlockData::testBlockData(told)->syntaxMessages().last();
            const QString shown = told.text().mid(message.begin, message.end - message.begin);
            QCOMPARE(shown.toUcs4().size(), 1);
            QCOMPARE(shown.toUcs4().first() >> 8, 0x10feu);
        }
    }

    void longFilesTellTheirProgress_data()
    {
        const int colors = CodeDocument::WithColors, nodes = CodeDocument::WithNodes,
                  text = CodeDocument::TextOnly;
        const auto add = columns<int, double, bool>("detail", "cancelledAt", "goes");
        add("whole", colors, 0., false);
        add("whole, without colours", nodes, 0., false);
        add("whole, the text only", text, 0., false);
        add("cancelled while it is read", colors, 0.01, false);
        add("cancelled in the middle", colors, 0.75, false);
        add("cancelled in the middle, without colours", nodes, 0.75, false);
        add("cancelled in the middle, the text only", text, 0.75, false);
        add("the document goes", colors, 0., true);
    }

    /// A long file comes out as a short one does, or not at all.
    void longFilesTellTheirProgress()
    {
        const auto [detail, cancelledAt, goes] = row<int, double, bool>();
        TestHost host;
        const QString text = Plain::sampleText(150000, 500) + QString(1 << 20, 'x') + "\n\nend";
        memory.files["long.plain"] = QString(text).replace("\n", "\r\n").toUtf8();
        const uint total = 2 * uint(memory.files["long.plain"].size() / 1024);
        host.cancelAt = uint(total * cancelledAt);
        if (goes)
            host.duringProgress = [this] { document.reset(); };
        document->setShowsProgress(true);
        document->setDetail(CodeDocument::Detail(detail));
        const bool isLoaded = document->fromFile(memory, "long.plain", false);
        QCOMPARE(isLoaded, cancelledAt == 0 && !goes);
        QCOMPARE(host.progresses.size(), 1);
        QCOMPARE(host.progresses[0]->finished, 1);
        QCOMPARE(host.progresses[0]->total, total);
        QVERIFY(host.progresses[0]->cancellable);
        if (goes)
            return;
        QCOMPARE(document->wasLoadCancelled(), !isLoaded);
        QVERIFY(!document->isModified() && !document->isUndoAvailable());
        QCOMPARE(document->toString(), isLoaded ? text : QString());
        QCOMPARE(Plain::faults(*document), QStringList());
        if (isLoaded) {
            const bool isTextOnly = detail == CodeDocument::TextOnly;
            const Plain::DocumentPointer whole(new Plain::Document(&parser));
            whole->fromString(text);
            QCOMPARE(document->childCount(), isTextOnly ? 0 : whole->childCount());
            QCOMPARE(document->messages()->count(Message::All),
                     isTextOnly ? 0 : whole->messages()->count(Message::All));
            QCOMPARE(document->firstBlock().layout()->formats().isEmpty(),
                     detail != CodeDocument::WithColors);
            const CodeBlockData *line =
                CodeBlockData::testBlockData(document->findBlockByNumber(1));
            QCOMPARE(line ? line->foldingIndent() : 0, isTextOnly ? 0u : 1u);
        }
        document->insert("speed = 1");
        QCOMPARE(document->toString(), (isLoaded ? text : QString()) + "speed = 1");
        QVERIFY(document->isUndoAvailable());
    }

    void hugeFilesHaveNoColors()
    {
        for (const int size : {(8 << 20) - 1, 8 << 20}) {
            memory.files["huge.plain"] = QByteArray(size, 'x');
            QVERIFY(document->fromFile(memory, "huge.plain", false));
            QCOMPARE(document->detail() == CodeDocument::WithNodes, size == 8 << 20);
            document->reset();
        }
    }

    /// All lines are told of, by one warning each or by their number.
    void manyLinesAreTold()
    {
        memory.files["in.plain"] = QByteArray("x = \xFF\r\n").repeated(250);
        QVERIFY(document->fromFile(memory, "in.plain", TextCodecs::index("Shift_JIS"), false));
        QCOMPARE(toldLines(*document, "not wholly").size(), 100);
        QCOMPARE(toldLines(*document, "150 lines below"), QList<int>({99}));
    }

    void reloads()
    {
        writeFile(path("a.plain"), "x = \xE4\xF6\xFC");
        QVERIFY(
            document->fromFile(archive, path("a.plain"), TextCodecs::index("ISO-8859-1"), false));
        writeFile(path("a.plain"), "y = \xE4\xF6\xFC");
        document->insert(QString("lost"));
        document->reload();
        QCOMPARE(document->toString(), QString("y = \u00e4\u00f6\u00fc"));
        QVERIFY(!document->isModified());
        QVERIFY(QFile::remove(path("a.plain")));
        document->reload();
        QCOMPARE(document->toString(), QString("y = \u00e4\u00f6\u00fc"));
    }

    /// What was typed comes back by one undo; what stays keeps its bytes, its one warning and the
    /// cursors in it.
    void reloadsAreEdits()
    {
        const QByteArray changed = "x = \xFF\r\nother = \xFD\r\nz = \xFE\r\nw = 1";
        memory.files["/in.plain"] = "x = \xFF\r\ny = 1\r\nz = \xFE\r\nw = 1";
        QVERIFY(document->fromFile(memory, "/in.plain", TextCodecs::index("Shift_JIS"), false));
        const QTextCursor kept = document->find("w = 1");
        document->insertBefore(nullptr, "typed", false);
        const QString edited = document->toString();
        memory.files["/in.plain"] = changed;
        QVERIFY(document->reloadAsEdit());
        QVERIFY(!document->isModified());
        QCOMPARE(kept.selectedText(), QString("w = 1"));
        QCOMPARE(toldLines(*document, "not wholly"), QList<int>({0, 1, 2}));
        QVERIFY(document->toFile(memory, "out.plain", true));
        QCOMPARE(memory.files["out.plain"], changed);
        document->undo();
        QCOMPARE(document->toString(), edited);
        QVERIFY(document->isModified());
        memory.files.remove("/in.plain");
        QVERIFY(!document->reloadAsEdit());
        QCOMPARE(document->toString(), edited);
    }

    void longReloadsAreOneStep_data()
    {
        const auto add = columns<int, double, QByteArray>("detail", "cancelledAt", "meanwhile");
        add("whole", CodeDocument::WithColors, 0., "");
        add("cancelled while it is read", CodeDocument::WithColors, 0.01, "");
        add("cancelled in the middle", CodeDocument::WithColors, 0.75, "");
        add("cancelled in the middle, the text only", CodeDocument::TextOnly, 0.75, "");
        add("typed in", CodeDocument::WithColors, 0., "typed");
        add("the document goes", CodeDocument::WithColors, 0., "gone");
    }

    void longReloadsAreOneStep()
    {
        const auto [detail, cancelledAt, meanwhile] = row<int, double, QByteArray>();
        TestHost host;
        const QString text = Plain::sampleText(150000, 500) + QString(1 << 20, 'x') + "\n\nend";
        memory.files["/long.plain"] = "x = 1\r\n";
        document->setDetail(CodeDocument::Detail(detail));
        document->setShowsProgress(true);
        QVERIFY(document->fromFile(memory, "/long.plain", false));
        QVERIFY(host.progresses.isEmpty()); // so short
        document->insert(QString("typed"));
        const QString before = document->toString();
        memory.files["/long.plain"] = QString(text).replace("\n", "\r\n").toUtf8();
        host.cancelAt = uint(2 * double(memory.files["/long.plain"].size() / 1024) * cancelledAt);
        bool types = meanwhile == "typed";
        if (meanwhile == "gone")
            host.duringProgress = [this] { document.reset(); };
        // Behind the first piece.
        connect(static_cast<QTextDocument *>(document.get()), &QTextDocument::modificationChanged,
                host.mainWindow(), [&](bool isModified) {
                    if (!isModified && std::exchange(types, false))
                        document->insert(QString("more"));
                });
        const bool isLoaded = document->reloadAsEdit();
        QCOMPARE(isLoaded, cancelledAt == 0 && meanwhile != "gone");
        QCOMPARE(host.progresses.value(0)->finished, 1);
        if (meanwhile == "gone")
            return;
        QCOMPARE(document->wasLoadCancelled(), !isLoaded);
        QCOMPARE(document->isModified(), !isLoaded);
        QVERIFY(document->toString() == (isLoaded ? text : before));
        QCOMPARE(Plain::faults(*document), QStringList());
        QVERIFY(!document->isRedoAvailable());
        document->undo();
        if (meanwhile.isEmpty())
            QCOMPARE(document->toString(), isLoaded ? before : QString("x = 1\n"));
    }

private:
    QString path(const char *name) { return directory->filePath(QLatin1String(name)); }
    Archive &archive = FileSystemArchive::instance();
    MemoryArchive memory;
    std::unique_ptr<QTemporaryDir> directory;
    Plain::Parser parser;
    Plain::DocumentPointer document;
};

QTEST_MAIN(TestCodeFile)
#include "tst_codefile.moc"
