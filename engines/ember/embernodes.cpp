#include "embernodes.h"

#include <kilnx/code/codedocument.h>

#include <QTextBlock>

namespace
{

/// The blanks at the start of a node's line, which its rewriting keeps.
QString indentation(const Kiln::CodeNode *node)
{
    const QString text = node->block().text();
    int length = 0;
    while (length < text.size() && text.at(length).isSpace())
        ++length;
    return text.left(length);
}

/// What a header or key can hold of `name`: one line without a comment.
QString nameText(const QString &name)
{
    return EmberLanguage::writeValue(nullptr, name).simplified();
}

QString header(unsigned int section, const QString &name)
{
    const QString signs = QLatin1String(EmberLanguage::isInner(section) ? "@@" : "@");
    return (signs + EmberLanguage::sectionWord(section) + QLatin1Char(' ') + name).trimmed();
}

} // namespace

EmberGroup::EmberGroup(Kiln::CodeNode *previous,
                       unsigned int section,
                       const QString &name,
                       bool shown)
    : GroupCode(previous, section)
    , m_name(name)
    , m_shown(shown)
{
    if (m_shown)
        insertRootChild(this);
}

QString EmberGroup::name() const
{
    return m_name;
}

QString EmberGroup::displayName() const
{
    const QString word = EmberLanguage::sectionWord(subType());
    return m_name.isEmpty() ? word : word + QLatin1Char(' ') + m_name;
}

void EmberGroup::setName(const QString &name)
{
    const QString text = nameText(name);
    if (text.isEmpty() && EmberLanguage::needsName(subType()))
        return;
    change(indentation(this) + header(subType(), text));
}

QString EmberGroup::headerText() const
{
    return header(subType(), m_name);
}

bool EmberGroup::addValue(const QString &name, const QVariant &value)
{
    const EmberLanguage::Entry *entry = EmberLanguage::entry(subType(), name);
    Kiln::CodeDocument *text = document();
    if (!entry || !text)
        return false;
    const Kiln::CodeNode *last = this;
    for (const Kiln::ValueCode *line : values()) {
        if (line->block().isValid())
            last = line;
    }
    const QString indent = last == this ? QStringLiteral("    ") : indentation(last);
    text->insertAfter(
        last, indent + name + QLatin1String(": ") + EmberLanguage::writeValue(entry, value), true);
    return true;
}

bool EmberGroup::isShown() const
{
    return m_shown;
}

void EmberGroup::update(const QString &name)
{
    if (m_name == name)
        return;
    m_name = name;
    valueChanged(name);
}

EmberValue::EmberValue(Kiln::CodeNode *previous,
                       const EmberLanguage::Entry *entry,
                       const QString &name,
                       const QVariant &value)
    : ValueCode(previous, entry ? entry->type : EmberLanguage::Loose, value)
    , m_entry(entry)
    , m_name(name)
    , m_head(this)
{
}

EmberValue::EmberValue(EmberValue *head, const EmberLanguage::Entry *entry, const QString &name)
    : ValueCode(head->m_mates.isEmpty() ? head : head->m_mates.last(),
                entry ? entry->type : EmberLanguage::Loose,
                head->rawValue())
    , m_entry(entry)
    , m_name(name)
    , m_head(head)
{
}

EmberValue::~EmberValue()
{
    // Last first, so that the others see a shorter list and not a released mate.
    while (!m_mates.isEmpty())
        m_mates.takeLast()->release();
    if (m_head != this)
        m_head->m_mates.removeOne(this);
}

void EmberValue::addMate(const EmberLanguage::Entry *entry, const QString &name)
{
    m_mates.append(new EmberValue(this, entry, name));
}

bool EmberValue::standsFor(const QVector<const EmberLanguage::Entry *> &entries,
                           const QStringList &names) const
{
    if (entries.size() != m_mates.size() + 1 || names != this->names())
        return false;
    for (int i = 0; i < entries.size(); ++i) {
        const EmberValue *node = i == 0 ? this : m_mates.at(i - 1);
        if (node->m_entry != entries.at(i))
            return false;
    }
    return true;
}

unsigned int EmberValue::fileId() const
{
    return m_entry ? m_entry->fileId : 0;
}

QString EmberValue::name() const
{
    return m_name;
}

QString EmberValue::displayName() const
{
    return m_name + QLatin1String(": ") + valueText();
}

void EmberValue::setName(const QString &name)
{
    const QString text = nameText(name);
    if (text.isEmpty())
        return;
    QStringList names = m_head->names();
    const int place = m_head == this ? 0 : m_head->m_mates.indexOf(this) + 1;
    names[place] = text;
    m_head->rewrite(names, valueText());
}

void EmberValue::setValue(const QVariant &value)
{
    m_head->rewrite(m_head->names(),
                    EmberLanguage::writeValue(m_entry, convertFrom(valueType(), value)));
}

QString EmberValue::valueText() const
{
    return EmberLanguage::writeValue(m_entry, rawValue());
}

QStringList EmberValue::propertyNames()
{
    return NamedCode::propertyNames() << QStringLiteral("Value");
}

QVariant EmberValue::property(const QString &name)
{
    return name == QLatin1String("Value") ? value() : NamedCode::property(name);
}

void EmberValue::setProperty(const QString &name, const QVariant &value)
{
    if (name == QLatin1String("Value"))
        setValue(value);
    else
        NamedCode::setProperty(name, value);
}

void EmberValue::update(const QVariant &value)
{
    // Variants of different types may compare equal, as "5" and 5 do.
    if (value.userType() == rawValue().userType() && value == rawValue())
        return;
    valueChanged(value);
    for (EmberValue *mate : qAsConst(m_mates))
        mate->valueChanged(value);
}

int EmberValue::firstLine() const
{
    return m_head->lineNo();
}

int EmberValue::lastLine() const
{
    return m_head->lineNo();
}

Kiln::CodeDocument *EmberValue::document() const
{
    return m_head == this ? ValueCode::document() : m_head->document();
}

void EmberValue::remove(bool all)
{
    if (m_head == this)
        ValueCode::remove(all);
    else
        m_head->remove(all);
}

void EmberValue::valueChanged(const QVariant &value)
{
    ValueCode::valueChanged(value);
    // The base of the base is the one that tells container and model.
    CodeNode::valueChanged(value);
}

QString EmberValue::enumText(unsigned int value) const
{
    return EmberLanguage::words(m_entry).value(static_cast<int>(value));
}

QVariant EmberValue::convertFrom(Type type, const QVariant &value) const
{
    // A string is a text that has not been read, or could not be.
    return value.type() == QVariant::String ? value : ValueCode::convertFrom(type, value);
}

QStringList EmberValue::names() const
{
    QStringList names(m_name);
    for (const EmberValue *mate : m_mates)
        names.append(mate->m_name);
    return names;
}

void EmberValue::rewrite(const QStringList &names, const QString &value)
{
    change(indentation(this) + names.join(QLatin1String(" + ")) + QLatin1String(": ") + value);
}
