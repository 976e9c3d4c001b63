#include <QtCore/QList>
#include <QtCore/QTextCodec>
#include <kilnx/code/textcodecs.h>
#include <kilnx/project/translator.h>
#include <memory>
#include <uchardet/uchardet.h>

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

QTextCodec *codecOf(int id)
{
    QTextCodec *const codec = listedCodec(id);
    return codec ? codec : QTextCodec::codecForLocale();
}

QByteArray detectedCharset(const QByteArray &data)
{
    const std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector(uchardet_new(),
                                                                         &uchardet_delete);
    if (uchardet_handle_data(detector.get(), data.constData(), size_t(data.size())) == 0)
        uchardet_data_end(detector.get());
    return uchardet_get_charset(detector.get());
}

bool decodes(const QByteArray &data, const QTextCodec *codec)
{
    QTextCodec::ConverterState state;
    codec->toUnicode(data.constData(), data.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

int idOf(const QTextCodec *codec)
{
    const QByteArray name = codec->name();
    return name == "System" ? 0 : codecNames().indexOf(name) + 1;
}
} // namespace

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
        return KilnTranslator::instance()->text(0);
    return QString::fromLatin1(codecNames().value(id - 1));
}

void TextCodecs::setDefaultCodec(int id)
{
    defaultCodec = id;
}

QTextCodec *TextCodecs::get(const QByteArray &data)
{
    const QByteArray charset = detectedCharset(data);
    QTextCodec *codec = charset.isEmpty() ? nullptr : QTextCodec::codecForName(charset);
    if (!codec)
        codec = listedCodec(defaultCodec);
    return codec ? codec : QTextCodec::codecForLocale();
}

QString TextCodecs::stringFromData(const QByteArray &data, int *id)
{
    const QTextCodec *codec = *id < 0 ? get(data) : codecOf(*id);
    // A guess that does not hold gives way to the encoding in which each byte is a character, so
    // that saving brings every byte back.
    if (*id < 0 && !decodes(data, codec))
        codec = QTextCodec::codecForName("ISO-8859-1");
    *id = idOf(codec);
    return codec->toUnicode(data);
}

QByteArray TextCodecs::stringToData(const QString &text, int id)
{
    return codecOf(id)->fromUnicode(text);
}

bool TextCodecs::canDecode(const QByteArray &data, int id)
{
    return decodes(data, codecOf(id));
}

bool TextCodecs::canEncode(const QString &text, int id)
{
    QTextCodec::ConverterState state;
    codecOf(id)->fromUnicode(text.constData(), text.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}
} // namespace Kiln
