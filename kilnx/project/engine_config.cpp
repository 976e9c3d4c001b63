#include <kilnx/project/engine.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/paths.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRect>
#include <QtCore/QRegularExpression>
#include <QtCore/QXmlStreamReader>
#include <QtCore/QXmlStreamWriter>
#include <QtGui/QColor>

namespace Kiln
{

namespace
{

constexpr char nameAttribute[] = "name";
constexpr char valueAttribute[] = "value";

QString toText(const QVariant &value)
{
    if (value.type() == QVariant::Rect) {
        const QRect rect = value.toRect();
        return QStringLiteral("%1,%2,%3,%4")
            .arg(rect.left())
            .arg(rect.top())
            .arg(rect.width())
            .arg(rect.height());
    }
    if (value.type() == QVariant::Color) {
        const auto color = value.value<QColor>();
        return QStringLiteral("%1,%2,%3").arg(color.red()).arg(color.green()).arg(color.blue());
    }
    return value.toString();
}

/// The form of the text alone tells the type.
QVariant fromText(const QString &text)
{
    static const QRegularExpression numbers(
        QStringLiteral("^(\\d+)\\,(\\d+)\\,(\\d+)(?:\\,(\\d+))?$"));
    const QRegularExpressionMatch match = numbers.match(text);
    if (!match.hasMatch())
        return text;
    // What is too large for a number stays the text that it is.
    bool isNumber = true;
    const auto number = [&](int capture) {
        bool ok = false;
        const int value = match.captured(capture).toInt(&ok);
        isNumber &= ok;
        return value;
    };
    QVariant value;
    if (match.lastCapturedIndex() == 4) {
        value = QRect(number(1), number(2), number(3), number(4));
    } else {
        const QColor color(number(1), number(2), number(3));
        isNumber &= color.isValid();
        value = color;
    }
    return isNumber ? value : QVariant(text);
}

EngineInstances::Info readEngine(QXmlStreamReader &xml)
{
    EngineInstances::Info info;
    info.name = xml.attributes().value(QLatin1String(nameAttribute)).toString();
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isEndElement() && xml.name() == QLatin1String("engine"))
            break;
        if (!xml.isStartElement() || xml.name() != QLatin1String("param"))
            continue;
        const QXmlStreamAttributes attributes = xml.attributes();
        const QStringRef name = attributes.value(QLatin1String(nameAttribute));
        const QString value = attributes.value(QLatin1String(valueAttribute)).toString();
        if (name == QLatin1String("exe"))
            info.executable = value;
        else if (name == QLatin1String("icon"))
            info.icon = value;
        else if (name == QLatin1String("params"))
            info.arguments = value;
    }
    return info;
}

void writeNamed(QXmlStreamWriter &xml,
                const char *element,
                const QString &name,
                const QString &value)
{
    xml.writeEmptyElement(QLatin1String(element));
    xml.writeAttribute(QLatin1String(nameAttribute), name);
    xml.writeAttribute(QLatin1String(valueAttribute), value);
}

void showFileError(const QString &text, const QString &fileName)
{
    showCritical(nullptr, EnginePrivate::tr("Configuration error!"), text.arg(fileName));
}

void showXmlError(const QXmlStreamReader &xml)
{
    const Interface *interface = Interface::instance();
    if (!interface)
        return;
    showCritical(interface->mainWindow(), interface->text(Interface::XmlErrorTitle),
                 interface->text(Interface::XmlErrorText)
                     .arg(xml.errorString(), QString::number(xml.lineNumber()),
                          QString::number(xml.columnNumber())));
}

} // namespace

bool EnginePrivate::load()
{
    QFile file(configFile());
    if (!file.exists())
        return true;
    if (!file.open(QIODevice::ReadOnly)) {
        showFileError(tr("Can't open engine configuration from '%1'!"), file.fileName());
        return false;
    }
    QXmlStreamReader xml(&file);
    QList<Info> infos;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        if (xml.name() == QLatin1String("engine")) {
            const Info info = readEngine(xml);
            // An element that breaks off says nothing reliable.
            if (!xml.hasError())
                infos.append(info);
        } else if (xml.name() == QLatin1String("config")) {
            const QXmlStreamAttributes attributes = xml.attributes();
            setOption(attributes.value(QLatin1String(nameAttribute)).toString(),
                      fromText(attributes.value(QLatin1String(valueAttribute)).toString()));
        }
    }
    append(infos);
    if (xml.hasError())
        showXmlError(xml);
    return !xml.hasError();
}

/// The whole configuration as a document.
QByteArray EnginePrivate::toXml() const
{
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("configuration"));
    for (unsigned int i = 0; i < count(); ++i) {
        const Info info = at(i);
        xml.writeStartElement(QStringLiteral("engine"));
        xml.writeAttribute(QLatin1String(nameAttribute), info.name);
        writeNamed(xml, "param", QStringLiteral("exe"), info.executable);
        writeNamed(xml, "param", QStringLiteral("icon"), info.icon);
        writeNamed(xml, "param", QStringLiteral("params"), info.arguments);
        xml.writeEndElement();
    }
    for (auto option = m_options.begin(); option != m_options.end(); ++option)
        writeNamed(xml, "config", option.key(), toText(option.value()));
    xml.writeEndDocument();
    return document;
}

bool EnginePrivate::save()
{
    // The archive makes the directory and keeps the old file until the new one is whole.
    FileSystemArchive &archive = FileSystemArchive::instance();
    QIODevice *device = archive.openFile(configFile(), QIODevice::WriteOnly);
    const bool isWritten = device && writeAll(device, toXml());
    archive.closeFile(device);
    if (!isWritten)
        showFileError(tr("Can't save engine configuration to '%1'!"), configFile());
    return isWritten;
}

} // namespace Kiln
