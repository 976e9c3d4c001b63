#include <kilnx/codeedit/snippets.h>

#include <kilnx/forms/messageboxes.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTextStream>
#include <QtCore/QXmlStreamReader>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialog>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

#include <algorithm>

namespace Kiln
{

namespace
{
const QLatin1Char Separator(';');
const char *LineEnd = "\r\n";
const QString CodeIndent = QStringLiteral("\t\t");
const char *TranslationContext = "QSnippetManager";
const char *SnippetComment = "Snippet";
const char *FieldComment = "Snippet field";
constexpr int LastColumn = 10;
constexpr double LargestNumber = 1e9;

// Text that XML can hold: no control characters but tab and line feed, the rest escaped. In an
// attribute those two would come back as blanks, so they are written by number.
QString escaped(const QString &text, bool attribute)
{
    QString allowed;
    allowed.reserve(text.size());
    for (QChar character : text) {
        const ushort code = character.unicode();
        if (code >= 0x20 ? code < 0xfffe : code == '\t' || code == '\n')
            allowed.append(character);
    }
    allowed = allowed.toHtmlEscaped();
    if (attribute) {
        allowed.replace(QLatin1Char('\t'), QStringLiteral("&#9;"));
        allowed.replace(QLatin1Char('\n'), QStringLiteral("&#10;"));
    }
    return allowed;
}

QString translated(const QString &text, const char *comment)
{
    return QCoreApplication::translate(TranslationContext, text.toUtf8().constData(), comment);
}

std::unique_ptr<SnipField> readField(const QXmlStreamAttributes &attributes)
{
    const QString type = attributes.hasAttribute(QStringLiteral("type"))
                             ? attributes.value(QStringLiteral("type")).toString()
                             : QStringLiteral("string");
    std::unique_ptr<SnipField> field;
    if (type == QLatin1String("items")) {
        auto combo = std::make_unique<ComboSnipField>();
        combo->values = attributes.value(QStringLiteral("value")).toString().split(Separator);
        combo->titles = attributes.value(QStringLiteral("value_title")).toString().split(Separator);
        field = std::move(combo);
    } else {
        field = std::make_unique<RegularSnipField>(type);
    }
    field->name = attributes.value(QStringLiteral("name")).toString();
    field->title = attributes.value(QStringLiteral("title")).toString();
    bool isNumber = false;
    const int column = attributes.value(QStringLiteral("column")).toInt(&isNumber);
    if (isNumber)
        field->column = column;
    return field;
}

// The lines between the tags, without the lines that only hold the tags' own indentation and
// without the two tabs before each line. Where a line has fewer, they are none of the file's format
// but part of the code.
QString readCode(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    if (lines.first().trimmed().isEmpty())
        lines.removeFirst();
    if (!lines.isEmpty() && lines.last().trimmed().isEmpty())
        lines.removeLast();
    const bool isIndented = std::all_of(lines.begin(), lines.end(), [](const QString &line) {
        return line.startsWith(CodeIndent) || line.trimmed().isEmpty();
    });
    for (QString &line : lines) {
        if (isIndented && line.startsWith(CodeIndent))
            line.remove(0, CodeIndent.size());
    }
    return lines.join(QLatin1Char('\n'));
}

QWidget *createControl(const SnipField &field, QWidget *parent)
{
    const QString type = field.typeName();
    if (type == QLatin1String("string"))
        return new QLineEdit(parent);
    if (type == QLatin1String("float")) {
        auto *number = new QDoubleSpinBox(parent);
        number->setRange(-LargestNumber, LargestNumber);
        return number;
    }
    if (const auto *items = dynamic_cast<const ComboSnipField *>(&field)) {
        auto *list = new QComboBox(parent);
        for (int i = 0; i < items->values.size(); ++i) {
            const QString &value = items->values.at(i);
            const QString title = items->titles.value(i);
            list->addItem(title.isEmpty() ? value : translated(title, FieldComment), value);
        }
        return list;
    }
    auto *number = new QSpinBox(parent);
    number->setRange(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    return number;
}

QString controlValue(const QWidget *control)
{
    if (const auto *list = qobject_cast<const QComboBox *>(control))
        return list->itemData(list->currentIndex(), Qt::UserRole).toString();
    if (const auto *number = qobject_cast<const QSpinBox *>(control))
        return QString::number(number->value(), 10);
    if (const auto *text = qobject_cast<const QLineEdit *>(control))
        return text->text();
    // What engines have come to expect of this type: one character of that number, no digits.
    const auto *number = qobject_cast<const QDoubleSpinBox *>(control);
    return number ? QString(QChar(static_cast<ushort>(static_cast<int>(number->value()))))
                  : QString();
}

// A column that is not to the right of the last one begins a new row.
QList<QWidget *> placeControls(QDialog &dialog, const Snippet &snippet)
{
    auto *grid = new QGridLayout(&dialog);
    QList<QWidget *> controls;
    int row = -1;
    int lastColumn = LastColumn;
    for (const std::unique_ptr<SnipField> &field : snippet.fields) {
        const int column = qBound(0, field->column.value_or(0), LastColumn);
        if (column <= lastColumn)
            ++row;
        lastColumn = column;
        QWidget *control = createControl(*field, &dialog);
        control->setObjectName(field->name);
        const QString title = translated(field->title, FieldComment);
        control->setAccessibleName(title);
        auto *label = new QLabel(title, &dialog);
        label->setBuddy(control);
        grid->addWidget(label, row, 2 * column);
        grid->addWidget(control, row, 2 * column + 1);
        controls.append(control);
    }
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    grid->addWidget(buttons, row + 1, 0, 1, -1);
    return controls;
}

void writeMessage(QTextStream &out, const QString &source, const char *comment)
{
    out << "\t<message>\n\t\t<source>" << escaped(source, false) << "</source>\n\t\t<comment>"
        << comment << "</comment>\n\t\t<translation type=\"unfinished\"></translation>\n"
        << "\t</message>\n";
}
} // namespace

SnipField::~SnipField() = default;

RegularSnipField::RegularSnipField(const QString &type)
    : m_type(type)
{
}

QString RegularSnipField::typeName() const
{
    return m_type;
}

QString RegularSnipField::extraAttributes() const
{
    return QString();
}

QString ComboSnipField::typeName() const
{
    return QStringLiteral("items");
}

QString ComboSnipField::extraAttributes() const
{
    return QStringLiteral("value=\"%1\" value_title=\"%2\"")
        .arg(escaped(values.join(Separator), true), escaped(titles.join(Separator), true));
}

SnipFieldsModel::~SnipFieldsModel()
{
    qDeleteAll(m_fields);
}

int SnipFieldsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_fields.size();
}

QVariant SnipFieldsModel::data(const QModelIndex &index, int role) const
{
    const SnipField *field = index.isValid() ? at(index.row()) : nullptr;
    if (!field || role != Qt::DisplayRole)
        return QVariant();
    return QStringLiteral("%1: %2").arg(field->name, field->title);
}

const SnipField *SnipFieldsModel::at(int row) const
{
    return m_fields.value(row, nullptr);
}

void SnipFieldsModel::append(std::unique_ptr<SnipField> field)
{
    beginInsertRows(QModelIndex(), m_fields.size(), m_fields.size());
    m_fields.append(field.release());
    endInsertRows();
}

void SnipFieldsModel::replace(int row, std::unique_ptr<SnipField> field)
{
    if (!at(row))
        return;
    delete m_fields.at(row);
    m_fields[row] = field.release();
    emit dataChanged(index(row), index(row));
}

void SnipFieldsModel::remove(int row)
{
    if (!at(row))
        return;
    beginRemoveRows(QModelIndex(), row, row);
    delete m_fields.takeAt(row);
    endRemoveRows();
}

void SnipFieldsModel::moveDown(int row)
{
    if (!at(row) || !at(row + 1))
        return;
    beginMoveRows(QModelIndex(), row, row, QModelIndex(), row + 2);
    m_fields.move(row, row + 1);
    endMoveRows();
}

std::optional<Snippet> Snippet::read(const QByteArray &xml, QString *error)
{
    Snippet snippet;
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd() && !reader.hasError()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == QLatin1String("field"))
            snippet.fields.push_back(readField(reader.attributes()));
        else if (reader.name() == QLatin1String("code"))
            snippet.code = readCode(reader.readElementText());
    }
    if (!reader.hasError())
        return snippet;
    if (error) {
        *error = QCoreApplication::translate("Kiln::SnippetManager", "%1 (line %2, column %3)")
                     .arg(reader.errorString())
                     .arg(reader.lineNumber())
                     .arg(reader.columnNumber());
    }
    return std::nullopt;
}

QByteArray snippetToXml(const QList<SnipField *> &fields, const QString &code)
{
    QByteArray xml;
    QTextStream out(&xml);
    out.setCodec("UTF-8");
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<snippet>" << LineEnd << LineEnd;
    for (const SnipField *field : fields) {
        const QString extra = field->extraAttributes();
        out << "\t<field name=\"" << escaped(field->name, true) << "\" title=\""
            << escaped(field->title, true) << "\" type=\"" << escaped(field->typeName(), true)
            << "\" " << extra;
        if (field->column)
            out << (extra.isEmpty() ? "" : " ") << "column=\"" << *field->column << "\" ";
        out << "/>" << LineEnd;
    }
    out << LineEnd << "\t<code>" << LineEnd;
    const QStringList lines = code.split(QLatin1Char('\n'));
    for (const QString &line : lines)
        out << CodeIndent << escaped(line, false) << LineEnd;
    out << "\t</code>" << LineEnd << LineEnd << "</snippet>";
    out.flush();
    return xml;
}

QByteArray snippetToTranslation(const QString &name, const QList<SnipField *> &fields)
{
    QByteArray source;
    QTextStream out(&source);
    out.setCodec("UTF-8");
    out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.0\">\n"
        << "<context>\n\t<name>" << TranslationContext << "</name>\n";
    writeMessage(out, name, SnippetComment);
    for (const SnipField *field : fields) {
        writeMessage(out, field->title, FieldComment);
        if (const auto *items = dynamic_cast<const ComboSnipField *>(field)) {
            for (const QString &title : items->titles)
                writeMessage(out, title, FieldComment);
        }
    }
    out << "</context>\n</TS>\n";
    out.flush();
    return source;
}

SnippetManager *SnippetManager::instance()
{
    static SnippetManager manager;
    return &manager;
}

void SnippetManager::setDirectory(const QString &path)
{
    m_directory = path;
    if (!m_files.isEmpty()) {
        beginRemoveRows(QModelIndex(), 0, m_files.size() - 1);
        m_files.clear();
        endRemoveRows();
    }
    QStringList found;
    const QFileInfoList files =
        QDir(path).entryInfoList(QDir::Files | QDir::Readable, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo &file : files) {
        if (file.suffix() == QLatin1String("xml"))
            found.append(file.completeBaseName());
    }
    if (path.isEmpty() || found.isEmpty())
        return;
    beginInsertRows(QModelIndex(), 0, found.size() - 1);
    m_files = found;
    endInsertRows();
}

int SnippetManager::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_files.size();
}

QVariant SnippetManager::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_files.size() || role != Qt::DisplayRole)
        return QVariant();
    return m_files.at(index.row());
}

QString SnippetManager::snippet(QWidget *parent, int row)
{
    if (row < 0 || row >= m_files.size())
        return QString();
    QFile file(m_directory + QLatin1Char('/') + m_files.at(row) + QStringLiteral(".xml"));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return build(parent, file.readAll());
}

QString SnippetManager::build(QWidget *parent, const QByteArray &xml)
{
    QString error;
    const std::optional<Snippet> snippet = Snippet::read(xml, &error);
    if (!snippet) {
        showCritical(parent, tr("Code snippets"), error);
        return QString();
    }
    QString code = snippet->code;
    if (snippet->fields.empty())
        return code;
    QDialog dialog(parent);
    dialog.setObjectName(QStringLiteral("snippetDialog"));
    dialog.setWindowTitle(tr("Insert code snippet"));
    const QList<QWidget *> controls = placeControls(dialog, *snippet);
    if (dialog.exec() != QDialog::Accepted)
        return QString();
    for (const QWidget *control : controls) {
        // A field without a name stands for nothing: "@" alone is code.
        if (!control->objectName().isEmpty())
            code.replace(QLatin1Char('@') + control->objectName(), controlValue(control));
    }
    return code;
}

} // namespace Kiln
