#include "emberparser.h"

#include "embernodes.h"
#include "emberpaint.h"

#include <kilnx/code/rootcode.h>

#include <QCoreApplication>

using Kiln::CodeNode;
using Kiln::CodeParserSyntax;

namespace
{

QString translated(const char *text)
{
    return QCoreApplication::translate("EmberParser", text);
}

/// One call of the parser.
class LineParse
{
public:
    LineParse(const QString &text,
              CodeNode *old,
              CodeNode *previous,
              Kiln::RootCode *root,
              CodeParserSyntax *syntax);

    CodeNode *run();

private:
    EmberGroup *sectionAbove() const;
    CodeNode *parseHeader();
    void reportHeader(EmberLanguage::Section section, bool shown);
    CodeNode *parseEntry(EmberGroup *section);
    bool readKeys(EmberGroup *section);
    void reportKey(EmberGroup *section, int place);
    CodeNode *valueNode(EmberGroup *section, const QVariant &value);

    EmberLine m_line;
    CodeNode *m_old;
    CodeNode *m_previous;
    Kiln::RootCode *m_root;
    EmberPaint m_paint;
    QVector<const EmberLanguage::Entry *> m_entries; ///< of the keys, null for unknown ones
    QStringList m_names;                             ///< of the keys, in their present spelling
};

LineParse::LineParse(const QString &text,
                     CodeNode *old,
                     CodeNode *previous,
                     Kiln::RootCode *root,
                     CodeParserSyntax *syntax)
    : m_line(EmberLine::read(text))
    , m_old(old)
    , m_previous(previous)
    , m_root(root)
    , m_paint(syntax, text)
{
}

CodeNode *LineParse::run()
{
    EmberGroup *section = sectionAbove();
    const bool isFreeText = section && section->subType() == EmberLanguage::Note;
    if (m_line.kind == EmberLine::Header || !isFreeText) {
        m_paint.comment(m_line);
        m_paint.brackets(m_line.code);
    }
    if (m_line.kind == EmberLine::Header)
        return parseHeader();
    if (isFreeText) {
        m_paint.token(CodeParserSyntax::Comment, m_line.code);
        m_paint.comment(m_line);
        return nullptr;
    }
    if (m_line.kind == EmberLine::Blank)
        return nullptr;
    if (section && !section->isShown()) {
        m_paint.token(CodeParserSyntax::Default, m_line.code);
        return nullptr;
    }
    if (!section) {
        m_paint.error(CodeParserSyntax::Default,
                      translated("A line of code needs a section above it"), m_line.code);
        return nullptr;
    }
    return parseEntry(section);
}

/// The header that the line stands under, in constant time; null above the first.
EmberGroup *LineParse::sectionAbove() const
{
    if (m_previous->type() == CodeNode::Group)
        return static_cast<EmberGroup *>(m_previous);
    Kiln::ParentCode *parent = m_previous->parent();
    if (parent && parent->type() == CodeNode::Group)
        return static_cast<EmberGroup *>(parent);
    return nullptr;
}

CodeNode *LineParse::parseHeader()
{
    const EmberLanguage::Section section = EmberLanguage::sectionByWord(m_line.word);
    const bool shown = section != EmberLanguage::Note && section != EmberLanguage::Unknown &&
                       m_root->groupEnabled(section);
    m_paint.header(m_line);
    reportHeader(section, shown);
    if (m_old && m_old->type() == CodeNode::Group) {
        EmberGroup *group = static_cast<EmberGroup *>(m_old);
        if (group->subType() == section && group->isShown() == shown) {
            group->update(m_line.name);
            return group;
        }
    }
    return new EmberGroup(m_previous, section, m_line.name, shown);
}

void LineParse::reportHeader(EmberLanguage::Section section, bool shown)
{
    using namespace EmberLanguage;
    const auto token = CodeParserSyntax::Section;
    if (section == Unknown) {
        m_paint.error(token, translated("There is no section '%1'").arg(m_line.word), m_line.code);
        return;
    }
    if (needsName(section) && m_line.name.isEmpty())
        m_paint.error(token, translated("'%1' needs a name").arg(m_line.word), m_line.code);
    if (!needsName(section) && !m_line.name.isEmpty())
        m_paint.warning(token, translated("'%1' takes no name").arg(m_line.word), m_line.code);
    if (isInner(section) != (m_line.level == 2)) {
        m_paint.warning(token,
                        translated("This is written '%1'")
                            .arg(QLatin1String(isInner(section) ? "@@" : "@") + m_line.word),
                        m_line.code);
    }
    // Subtype 0 is enabled wherever anything is.
    const bool elsewhere = section != Note && section != Sketch && !shown;
    if (elsewhere && m_root->groupEnabled(0)) {
        m_paint.warning(token, translated("'%1' is not read in this kind of file").arg(m_line.word),
                        m_line.code);
    }
}

CodeNode *LineParse::parseEntry(EmberGroup *section)
{
    if (m_line.kind == EmberLine::Broken) {
        m_paint.error(CodeParserSyntax::Invalid, translated("'key: value' expected"), m_line.code);
        return nullptr;
    }
    if (!readKeys(section)) {
        m_paint.error(CodeParserSyntax::Invalid, translated("These entries cannot share a value"),
                      m_line.code);
        return nullptr;
    }
    for (int i = 0; i < m_names.size(); ++i)
        reportKey(section, i);
    const EmberLanguage::Entry *entry = m_entries.first();
    const EmberLanguage::Reading reading = EmberLanguage::readValue(entry, m_line.value);
    m_paint.value(entry, m_line.valueRange);
    const EmberLine::Range place = m_line.value.isEmpty() ? m_line.code : m_line.valueRange;
    if (!reading.error.isEmpty())
        m_paint.error(CodeParserSyntax::Invalid, reading.error, place);
    if (!reading.warning.isEmpty())
        m_paint.warning(CodeParserSyntax::Default, reading.warning, place);
    return valueNode(section, reading.value);
}

/// Looks the keys up. Entries of one line have to agree on what their value means.
bool LineParse::readKeys(EmberGroup *section)
{
    for (const QString &key : qAsConst(m_line.keys)) {
        const EmberLanguage::Entry *entry = EmberLanguage::entry(section->subType(), key);
        if (entry && entry->newName)
            entry = EmberLanguage::entry(section->subType(), QLatin1String(entry->newName));
        m_entries.append(entry);
        m_names.append(entry ? EmberLanguage::entryName(entry) : key);
        const EmberLanguage::Entry *first = m_entries.first();
        const bool alike =
            entry && first && entry->type == first->type && entry->words == first->words;
        if (!alike && entry != first)
            return false;
    }
    return true;
}

void LineParse::reportKey(EmberGroup *section, int place)
{
    const QString &key = m_line.keys.at(place);
    const EmberLine::Range range = m_line.keyRanges.at(place);
    if (!m_entries.at(place)) {
        m_paint.warning(CodeParserSyntax::Default,
                        translated("'%1' has no entry '%2'")
                            .arg(EmberLanguage::sectionWord(section->subType()), key),
                        range);
    } else if (key != m_names.at(place)) {
        m_paint.deprecation(
            CodeParserSyntax::Keyword,
            translated("'%1' is an old spelling of '%2'").arg(key, m_names.at(place)), range);
    } else {
        m_paint.token(CodeParserSyntax::Keyword, range);
    }
}

CodeNode *LineParse::valueNode(EmberGroup *section, const QVariant &value)
{
    if (m_old && m_old->type() == CodeNode::Value && m_old->parent() == section) {
        EmberValue *node = static_cast<EmberValue *>(m_old);
        if (node->standsFor(m_entries, m_names)) {
            node->update(value);
            return node;
        }
    }
    auto *node = new EmberValue(m_previous, m_entries.first(), m_names.first(), value);
    for (int i = 1; i < m_names.size(); ++i)
        node->addMate(m_entries.at(i), m_names.at(i));
    return node;
}

} // namespace

EmberParser &EmberParser::instance()
{
    static EmberParser parser;
    return parser;
}

CodeNode *EmberParser::parse(const QString &text,
                             CodeNode *old,
                             CodeNode *previous,
                             Kiln::RootCode *root,
                             CodeParserSyntax *syntax)
{
    return LineParse(text, old, previous, root, syntax).run();
}
