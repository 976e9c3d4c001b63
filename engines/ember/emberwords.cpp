#include "emberwords.h"

#include "emberdocument.h"
#include "emberlanguage.h"

#include <kilnx/code/codedocument.h>
#include <kilnx/code/groupcode.h>
#include <kilnx/code/valuecode.h>
#include <kilnx/codeedit/codeeditor.h>

#include <QMap>
#include <QSet>
#include <QTextBlock>

namespace
{

QStringList sorted(QStringList words)
{
    words.removeDuplicates();
    words.sort(Qt::CaseInsensitive);
    return words;
}

} // namespace

EmberWords::EmberWords(Kiln::CodeEditor *view)
    : QObject(view)
    , m_view(view)
    , m_entries(add(QString(), {}))
    , m_states(add(QStringLiteral("then:"), {}))
    , m_cels(add(QStringLiteral("cel:"), {}))
{
    using namespace EmberLanguage;
    QStringList outer;
    QStringList inner;
    for (unsigned int section = About; section < Unknown; ++section)
        (isInner(section) ? inner : outer).append(sectionWord(section));
    addSections(QStringLiteral("@"), outer);
    addSections(QStringLiteral("@@"), inner);
    view->setWordList(QStringLiteral("first:"), m_states);
    addEnumerations();
    connect(view, &Kiln::CodeEditor::currentLineChanged, this, &EmberWords::collect);
    connect(view, &Kiln::CodeEditor::cursorPositionChanged, this, &EmberWords::collectNamesIfAsked);
}

EmberWords::~EmberWords() = default;

QStringListModel *EmberWords::add(const QString &prefix, const QStringList &words)
{
    auto *model = new QStringListModel(sorted(words), this);
    m_view->setWordList(prefix, model);
    return model;
}

// The mark alone opens no list, so the first letter of each word does.
void EmberWords::addSections(const QString &mark, const QStringList &words)
{
    auto *model = new QStringListModel(sorted(words), this);
    for (const QString &word : words)
        m_view->setWordList(mark + word.at(0), model);
}

// An entry of one name has the same words in each section that knows it.
void EmberWords::addEnumerations()
{
    using namespace EmberLanguage;
    QMap<QString, QStringList> enumerations;
    for (unsigned int section = About; section < Unknown; ++section) {
        for (const Entry *entry : entries(section)) {
            const QStringList values = words(entry);
            if (!values.isEmpty())
                enumerations[QLatin1String(entry->name)] += values;
        }
    }
    for (auto entry = enumerations.cbegin(); entry != enumerations.cend(); ++entry)
        add(entry.key() + QLatin1Char(':'), entry.value());
}

void EmberWords::collect(int line)
{
    auto *document = dynamic_cast<EmberDocument *>(m_view->codeDocument());
    if (!document) {
        m_entries->setStringList({});
        return;
    }
    QTextBlock block = document->findBlockByNumber(line);
    const unsigned int section = block.userState() > 0 ? unsigned(block.userState()) : 0;
    QStringList names;
    for (const EmberLanguage::Entry *entry : EmberLanguage::entries(section)) {
        if (!entry->newName)
            names << QLatin1String(entry->name) + QLatin1Char(':');
    }
    m_entries->setStringList(sorted(names));
    m_areNamesDue = m_model != document->model() || m_revision != document->revision();
    collectNamesIfAsked();
}

/// Once a line: as it is typed in, the document changes with each key.
void EmberWords::collectNamesIfAsked()
{
    Kiln::CodeDocument *document = m_view->codeDocument();
    if (!m_areNamesDue || !document)
        return;
    const QString line = m_view->textCursor().block().text();
    const QStringRef key = line.leftRef(line.indexOf(QLatin1Char(':'))).trimmed();
    const auto isKey = [&key](const char *name) {
        return key.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    };
    if (!isKey("cel") && !isKey("then") && !isKey("first"))
        return;
    m_areNamesDue = false;
    m_model = document->model();
    m_revision = document->revision();
    collectNames(document);
}

void EmberWords::collectNames(Kiln::CodeDocument *document)
{
    QSet<QString> states;
    QSet<QString> cels;
    for (const Kiln::CodeNode *child : document->childs()) {
        const auto *group = dynamic_cast<const Kiln::GroupCode *>(child);
        if (!group)
            continue;
        if (group->subType() == EmberLanguage::State)
            states.insert(group->name());
        for (const Kiln::ValueCode *value : group->values()) {
            if (value->name() == QLatin1String("cel"))
                cels.insert(value->value().toString());
        }
    }
    m_states->setStringList(sorted(QStringList(states.cbegin(), states.cend())));
    m_cels->setStringList(sorted(QStringList(cels.cbegin(), cels.cend())));
}
