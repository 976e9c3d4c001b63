#include <kilnx/code/textcodecs.h>

#include <kilnx/code/rawutf8_p.h>
#include <kilnx/code/textcodecs_p.h>
#include <kilnx/project/translator.h>

#include <QtCore/QList>
#include <QtCore/QTextCodec>
#include <QtCore/QtEndian>

#include <uchardet/uchardet.h>

#include <algorithm>
#include <memory>

namespace Kiln
{
namespace
{
int defaultCodec = 0;

const QList<QByteArray> &codecNames()
{
    static const QList<QByteArray> names = [] {
        QList<QByteArray> all = QTextCodec::availableCodecs();
        all.removeAll(QByteArrayLiteral("System"));
        return all;
    }();
    return names;
}

/// The codec of a list entry; null for id 0 and for ids that do not exist.
QTextCodec *listedCodec(int id)
{
    const QByteArray name = codecNames().value(id - 1);
    return name.isEmpty() ? nullptr : QTextCodec::codecForName(name);
}

int idOf(const QTextCodec *codec)
{
    const QByteArray name = codec->name();
    return name == "System" ? 0 : codecNames().indexOf(name) + 1;
}

bool isUtf8(const QTextCodec *codec)
{
    return codec->name() == "UTF-8";
}

/// The bytes of one character in the encodings of whole units, 0 for the others.
int unitOf(const QByteArray &name)
{
    return name.startsWith("UTF-16") ? 2 : name.startsWith("UTF-32") ? 4 : 0;
}

bool isBigEndian(const QByteArray &name, const QByteArray &mark)
{
    if (name.endsWith("E"))
        return name.endsWith("BE");
    return mark.isEmpty() ? QSysInfo::ByteOrder == QSysInfo::BigEndian : mark.at(0) != '\xFF';
}

/// Qt's own codec leaves bytes over for each character that needs two units of UTF-16.
QByteArray utf32(const QString &text, bool bigEndian)
{
    const QVector<uint> characters = text.toUcs4();
    QByteArray data(characters.size() * 4, Qt::Uninitialized);
    char *at = data.data();
    for (const uint character : characters) {
        if (bigEndian)
            qToBigEndian(quint32(character), at);
        else
            qToLittleEndian(quint32(character), at);
        at += 4;
    }
    return data;
}

QByteArray detectedCharset(const QByteArray &data)
{
    const std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector(uchardet_new(),
                                                                         &uchardet_delete);
    if (uchardet_handle_data(detector.get(), data.constData(), size_t(data.size())) == 0)
        uchardet_data_end(detector.get());
    return uchardet_get_charset(detector.get());
}

bool isText(const QString &text)
{
    const QVector<uint> characters = text.toUcs4();
    return std::all_of(characters.cbegin(), characters.cend(), [](uint character) {
        if (character < 0x20)
            return character == '\t' || character == '\n' || character == '\r';
        const QChar::Category category = QChar::category(character);
        return category != QChar::Other_NotAssigned && category != QChar::Other_Surrogate &&
               category != QChar::Other_PrivateUse && character != QChar::ReplacementCharacter;
    });
}

/// UTF-16 and UTF-32 without a mark, which the detector does not know: zero bytes are in no other
/// text. The side on which more of them stand tells the order. Null if it is something else.
QTextCodec *unmarkedUnicode(const QByteArray &data)
{
    int zeros[2] = {0, 0};
    for (int i = 0; i < data.size(); ++i)
        zeros[i % 2] += data.at(i) == '\0' ? 1 : 0;
    if (zeros[0] + zeros[1] == 0)
        return nullptr;
    for (const char *name : {"UTF-32LE", "UTF-32BE", "UTF-16LE", "UTF-16BE"}) {
        QTextCodec *codec = QTextCodec::codecForName(name);
        const int unit = unitOf(name);
        const bool isOrder = unit == 4 || (zeros[0] > zeros[1]) == isBigEndian(name, {});
        if (isOrder && data.size() % unit == 0 && isText(codec->toUnicode(data)))
            return codec;
    }
    return nullptr;
}

/// What the detector does not see for itself. A file of UTF-8 stays one with a bad byte in it:
/// text of any other encoding that looks like UTF-8 by chance does so for few of its characters.
QTextCodec *unicodeCodec(const QByteArray &data)
{
    if (data.startsWith("\xFF\xFE") || data.startsWith("\xFE\xFF"))
        return nullptr;
    if (QTextCodec *codec = unmarkedUnicode(data))
        return codec;
    const RawUtf8::Count count = RawUtf8::count(data);
    return count.characters > 0 && count.characters >= 2 * count.bytes
               ? QTextCodec::codecForName("UTF-8")
               : nullptr;
}

/// Whether a guess holds for most of what is not ASCII.
bool isReadable(const QString &text)
{
    int good = 0;
    int bad = 0;
    for (const QChar character : text) {
        bad += character == QChar::ReplacementCharacter ? 1 : 0;
        good += character.unicode() >= 0x80 ? 1 : 0;
    }
    return good - bad >= 2 * bad;
}

/// Any bytes, with a mark or without, which is no part of the text.
QString decodeFile(const QByteArray &data, const QTextCodec *codec)
{
    if (!isUtf8(codec)) {
        const QString text = codec->toUnicode(data);
        const bool keepsMark = codec->name() == "GB18030";
        return keepsMark && text.startsWith(QChar::ByteOrderMark) ? text.mid(1) : text;
    }
    QTextCodec::ConverterState state;
    const QString text = codec->toUnicode(data.constData(), data.size(), &state);
    const bool isWhole = state.invalidChars == 0 && state.remainingChars == 0;
    return isWhole && RawUtf8::indexOfByte(text) < 0 ? text : RawUtf8::decode(data);
}
} // namespace

QTextCodec *TextCodecsPrivate::codecOf(int id)
{
    QTextCodec *codec = listedCodec(id);
    return codec ? codec : QTextCodec::codecForLocale();
}

QByteArray TextCodecsPrivate::markOf(const QByteArray &data, const QTextCodec *codec)
{
    const QByteArray name = codec->name();
    if (name == "UTF-8" || name == "GB18030") {
        const QByteArray mark = codec->fromUnicode(QString(QChar(QChar::ByteOrderMark)));
        return data.startsWith(mark) ? mark : QByteArray();
    }
    const int unit = unitOf(name);
    const QByteArray little = unit == 2 ? QByteArray("\xFF\xFE") : QByteArray("\xFF\xFE\0\0", 4);
    const QByteArray big = unit == 2 ? QByteArray("\xFE\xFF") : QByteArray("\0\0\xFE\xFF", 4);
    for (const QByteArray &mark : {little, big}) {
        if (unit > 0 && data.startsWith(mark) && isBigEndian(name, mark) == (mark == big))
            return mark;
    }
    return QByteArray();
}

QByteArray
TextCodecsPrivate::encode(const QString &text, const QTextCodec *codec, const QByteArray &mark)
{
    const QByteArray name = codec->name();
    const bool bigEndian = isBigEndian(name, mark);
    if (isUtf8(codec))
        return RawUtf8::encode(text);
    if (unitOf(name) == 4)
        return utf32(text, bigEndian);
    if (unitOf(name) == 0)
        return codec->fromUnicode(text);
    QTextCodec::ConverterState noMark(QTextCodec::IgnoreHeader);
    const QTextCodec *ordered = QTextCodec::codecForName(bigEndian ? "UTF-16BE" : "UTF-16LE");
    return ordered->fromUnicode(text.constData(), text.size(), &noMark);
}

QString
TextCodecsPrivate::decode(const QByteArray &data, const QTextCodec *codec, const QByteArray &mark)
{
    // With the mark in front of it the codec takes nothing of the data for one.
    return decodeFile(mark + data, codec);
}

bool TextCodecsPrivate::isLossless(const QTextCodec *codec)
{
    return isUtf8(codec) || codec->name() == "ISO-8859-1";
}

bool TextCodecsPrivate::hasEncoded(const QString &text,
                                   const QByteArray &encoded,
                                   const QTextCodec *codec,
                                   const QByteArray &mark)
{
    if (isUtf8(codec))
        return text.isValidUtf16();
    return unitOf(codec->name()) == 2 || decode(encoded, codec, mark) == text;
}

int TextCodecs::count()
{
    return codecNames().size() + 1;
}

int TextCodecs::index(const char *name)
{
    return codecNames().indexOf(name) + 1;
}

QString TextCodecs::name(int id)
{
    if (id == 0)
        return KilnTranslator::instance()->text(KilnTranslator::SystemText);
    return QString::fromLatin1(codecNames().value(id - 1));
}

void TextCodecs::setDefaultCodec(int id)
{
    defaultCodec = id;
}

QTextCodec *TextCodecs::get(const QByteArray &data)
{
    QTextCodec *codec = unicodeCodec(data);
    if (codec)
        return codec;
    const QByteArray charset = detectedCharset(data);
    codec = charset.isEmpty() ? nullptr : QTextCodec::codecForName(charset);
    if (!codec)
        codec = listedCodec(defaultCodec);
    return codec ? codec : QTextCodec::codecForLocale();
}

QString TextCodecs::stringFromData(const QByteArray &data, int *id)
{
    const bool isGuess = *id < 0;
    const QTextCodec *codec = isGuess ? get(data) : TextCodecsPrivate::codecOf(*id);
    QString text = decodeFile(data, codec);
    // A guess that does not hold gives way to the encoding in which each byte is a character.
    if (isGuess && !isReadable(text)) {
        codec = QTextCodec::codecForName("ISO-8859-1");
        text = codec->toUnicode(data);
    }
    *id = idOf(codec);
    return text;
}

QByteArray TextCodecs::stringToData(const QString &text, int id)
{
    const QTextCodec *codec = TextCodecsPrivate::codecOf(id);
    if (isUtf8(codec))
        return RawUtf8::encode(text);
    if (unitOf(codec->name()) < 4)
        return codec->fromUnicode(text);
    return utf32(QChar(QChar::ByteOrderMark) + text, isBigEndian(codec->name(), {}));
}

bool TextCodecs::canEncode(const QString &text, int id)
{
    const QTextCodec *codec = TextCodecsPrivate::codecOf(id);
    return TextCodecsPrivate::hasEncoded(text, TextCodecsPrivate::encode(text, codec, {}), codec,
                                         {});
}
} // namespace Kiln
