#include <kilnx/code/animations.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/messages.h>
#include <kilnx/project/project.h>
#include <kilnx/project/textmatch_p.h>

#include <QtCore/QRegularExpression>
#include <QtCore/QVector>
#include <QtGui/QTextBlock>
#include <QtGui/QTextCursor>

#include <algorithm>

namespace Kiln
{
struct AnimationsRecord {
    QList<AnimationCode *> animations;
    /// The rows are announced as one move, not as nodes that come and go.
    bool moving = false;
};

namespace
{
QString identifierOf(AnimationCode *animation)
{
    return animation->property(QStringLiteral("Identifier")).toString();
}

/// The selected text with ordinary line ends.
QString textOf(const QTextCursor &cursor)
{
    return cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

/// Without the line end that whoever inserts the text puts back.
QString withoutLastLineEnd(QString text)
{
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    return text;
}

/// `text` with each line of the template that holds the identifier, wherever it stands, filled with
/// `to` instead of `from`. A longer identifier that starts with `from` is another one.
QString renamed(QString text, const QString &pattern, const QString &from, const QString &to)
{
    const QStringList lines = pattern.split(QLatin1Char('\n')).filter(QStringLiteral("%1"));
    for (const QString &line : lines) {
        const QString form = line.trimmed();
        const QString old = TextMatch::wellFormed(form.arg(from));
        const bool endsInWord = !old.isEmpty() && old.back().isLetterOrNumber();
        const QRegularExpression expression(
            QRegularExpression::escape(old) + (endsInWord ? QStringLiteral("(?!\\w)") : QString()),
            QRegularExpression::CaseInsensitiveOption |
                QRegularExpression::UseUnicodePropertiesOption);
        if (form == QLatin1String("%1"))
            continue;
        text = TextMatch::replaced(text, expression,
                                   [&](const QRegularExpressionMatch &) { return form.arg(to); });
    }
    return text;
}

/// Identifiers of one kind, in list order and sorted at the same time, with the rows they are at.
template<typename Key, typename Less>
class SortedRows
{
public:
    explicit SortedRows(Less less)
        : m_less(less)
    {
    }

    /// The first row whose key is greater, -1 if there is none.
    int rowBehind(const Key &key) const
    {
        const auto found = std::upper_bound(m_keys.begin(), m_keys.end(), key, m_less);
        return found == m_keys.end() ? -1 : m_rows.at(int(found - m_keys.begin()));
    }

    void makeRoom(int row)
    {
        for (auto later = std::lower_bound(m_rows.begin(), m_rows.end(), row);
             later != m_rows.end(); ++later)
            ++*later;
    }

    void add(const Key &key, int row)
    {
        const int place = int(std::lower_bound(m_rows.begin(), m_rows.end(), row) - m_rows.begin());
        m_keys.insert(place, key);
        m_rows.insert(place, row);
    }

private:
    Less m_less;
    QVector<Key> m_keys;
    QVector<int> m_rows;
};

bool isBeforeIgnoringCase(const QString &first, const QString &second)
{
    return first.compare(second, Qt::CaseInsensitive) < 0;
}
} // namespace

Animations::Animations(CodeDocument *document)
    : m_document(document)
    , m_record(std::make_unique<AnimationsRecord>())
{
    auto *text = static_cast<QTextDocument *>(document);
    connect(text, &QTextDocument::modificationChanged, this, &OrganizableObject::changed);
    connect(text, &QTextDocument::contentsChanged, this, &OrganizableObject::modified);
}

Animations::~Animations() = default;

const QList<AnimationCode *> &Animations::animations() const
{
    return m_record->animations;
}

unsigned int Animations::count() const
{
    return unsigned(m_record->animations.size());
}

AnimationCode *Animations::at(unsigned int index) const
{
    return index < count() ? m_record->animations.at(int(index)) : nullptr;
}

int Animations::indexOf(const AnimationCode *animation) const
{
    return m_record->animations.indexOf(const_cast<AnimationCode *>(animation));
}

int Animations::find(unsigned int from, const QVariant &value) const
{
    const QString identifier = value.toString();
    for (unsigned int index = from; index < count(); ++index) {
        if (identifierOf(at(index)) == identifier)
            return int(index);
    }
    return -1;
}

QString Animations::newText(const QString &identifier) const
{
    return animationTemplate().arg(identifier, 0, QLatin1Char(' '));
}

/// A last line that has no line end gets one, so that the new header does not become part of it.
AnimationCode *Animations::add(const QString &name)
{
    const bool lineIsOpen = m_document->lastBlock().length() > 1;
    m_document->insert((lineIsOpen ? QStringLiteral("\n") : QString()) + newText(name));
    m_document->catchUp();
    return m_record->animations.isEmpty() ? nullptr : m_record->animations.last();
}

AnimationCode *Animations::insert(unsigned int index, const QString &name)
{
    AnimationCode *next = at(index);
    if (!next)
        return add(name);
    m_document->insertBefore(next, newText(name), false);
    m_document->catchUp();
    return at(index);
}

void Animations::remove(unsigned int index)
{
    if (AnimationCode *animation = at(index)) {
        animation->remove(true);
        m_document->catchUp();
    }
}

void Animations::duplicate(unsigned int index, const QString &identifier)
{
    AnimationCode *animation = at(index);
    if (!animation)
        return;
    QString text = textOf(animation->selectAll());
    if (!identifier.isEmpty())
        text = renamed(text, animationTemplate(), identifierOf(animation), identifier);
    QTextCursor cursor = m_document->cursor();
    const CodeNode *next = animation->next(CodeNode::Animation, 0);
    if (!next) {
        cursor.movePosition(QTextCursor::End);
        const bool lineIsOpen = m_document->lastBlock().length() > 1;
        m_document->insertOnCursor((lineIsOpen ? QStringLiteral("\n") : QString()) + text, cursor);
    } else {
        // At the end of the line above rather than at the start of the next animation, which would
        // leave that animation's node to the copy.
        const QTextBlock above = m_document->findBlockByNumber(next->firstLine() - 1);
        cursor.setPosition(above.position() + above.length() - 1);
        m_document->insertOnCursor(QLatin1Char('\n') + withoutLastLineEnd(text), cursor);
    }
    m_document->catchUp();
}

void Animations::move(unsigned int from, unsigned int to)
{
    if (from >= count() || to >= count() || from == to)
        return;
    const int countBefore = m_record->animations.size();
    AnimationCode *animation = at(from);
    const QString text = withoutLastLineEnd(textOf(animation->selectAll()));
    m_record->moving = true;
    beginMoveRows({}, int(from), int(from), {}, int(to) + (from < to ? 1 : 0));
    m_document->beginChange();
    m_record->animations.removeAt(int(from));
    animation->remove(true);
    if (to != count())
        m_document->insertBefore(at(to), text, false);
    else
        m_document->insertAfter(at(to - 1), text, false);
    m_document->endChange();
    m_document->catchUp();
    endMoveRows();
    m_record->moving = false;
    // Without "parseCode", in an edit block that a cursor opened, the node comes back with its end.
    if (m_record->animations.size() != countBefore) {
        beginResetModel();
        endResetModel();
    }
}

void Animations::beginChange()
{
    m_document->beginChange();
}

void Animations::endChange()
{
    m_document->endChange();
}

void Animations::autoOrganize()
{
    QStringList identifiers;
    for (AnimationCode *animation : qAsConst(m_record->animations))
        identifiers.append(identifierOf(animation));
    SortedRows<int, std::less<int>> numbers{std::less<int>()};
    SortedRows<QString, decltype(&isBeforeIgnoringCase)> names(&isBeforeIgnoringCase);

    m_document->beginChange();
    for (int row = 0; row < identifiers.size() && identifiers.size() == int(count()); ++row) {
        const QString identifier = identifiers.at(row);
        bool isNumber = false;
        const int number = identifier.toInt(&isNumber, 10);
        const int behind = isNumber ? numbers.rowBehind(number) : names.rowBehind(identifier);
        const int target = behind < 0 ? row : behind;
        if (target != row) {
            move(unsigned(row), unsigned(target));
            numbers.makeRoom(target);
            names.makeRoom(target);
        }
        if (isNumber)
            numbers.add(number, target);
        else
            names.add(identifier, target);
    }
    m_document->endChange();
}

int Animations::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_record->animations.size();
}

QVariant Animations::data(const QModelIndex &index, int role) const
{
    const bool isAnswered =
        index.isValid() && role == Qt::DisplayRole && !m_document->isCodeBeingChanged();
    const AnimationCode *animation = isAnswered ? at(unsigned(index.row())) : nullptr;
    return animation ? animation->displayName() : QVariant();
}

Archive &Animations::archive() const
{
    return m_document->archive();
}

Project *Animations::project() const
{
    return static_cast<const ProjectFile *>(m_document)->project();
}

unsigned int Animations::capabilities() const
{
    const Project *owner = project();
    const bool isDefinition = owner && owner->fileID(m_document).has(Project::FileID::Definition);
    return m_document->capabilities() | (isDefinition ? 1u : 0u);
}

QAbstractItemModel *Animations::model()
{
    return m_document->model();
}

bool Animations::canSave() const
{
    return !(capabilities() & 1u) && m_document->canSave();
}

bool Animations::isModified() const
{
    return m_document->isModified();
}

bool Animations::isEmpty() const
{
    return m_document->isEmpty();
}

void Animations::reset()
{
    m_document->reset();
}

bool Animations::toFile(Archive &archive, const QString &name, bool asCopy)
{
    return m_document->toFile(archive, name, asCopy);
}

bool Animations::fromFile(Archive &archive, const QString &name, bool asCopy)
{
    return m_document->fromFile(archive, name, asCopy);
}

QString Animations::fileName()
{
    return m_document->fileName();
}

void Animations::undo()
{
    m_document->undo();
}

void Animations::redo()
{
    m_document->redo();
}

QList<ProjectFile::SearchResult> Animations::search(const QRegularExpression &expression)
{
    return m_document->search(expression);
}

void Animations::replace(const QList<SearchResult> &results, const QString &text)
{
    m_document->replace(results, text);
}

QVariant Animations::option(const QString &key)
{
    return m_document->option(key);
}

void Animations::setOption(const QString &key,
                           const QVariant &value,
                           bool toProject,
                           bool toSettings)
{
    m_document->setOption(key, value, toProject, toSettings);
}

Messages *Animations::fileMessages() const
{
    return const_cast<Messages *>(m_document->messages());
}

void Animations::insertChild(CodeNode *node, unsigned int index)
{
    auto *animation = static_cast<AnimationCode *>(node);
    const int row = int(std::min(index, count()));
    if (m_record->moving) {
        m_record->animations.insert(row, animation);
        return;
    }
    beginInsertRows({}, row, row);
    m_record->animations.insert(row, animation);
    endInsertRows();
}

void Animations::removeChild(CodeNode *node)
{
    const int row = indexOf(static_cast<AnimationCode *>(node));
    if (row < 0)
        return;
    beginRemoveRows({}, row, row);
    m_record->animations.removeAt(row);
    endRemoveRows();
}

void Animations::childChanged(CodeNode *node)
{
    // Inside a bracket no row can be read; the document tells again when it has closed.
    if (m_record->moving || m_document->isCodeBeingChanged())
        return;
    // In a file that is loaded it is the last one each time.
    const int row = m_record->animations.lastIndexOf(static_cast<AnimationCode *>(node));
    if (row >= 0)
        Q_EMIT dataChanged(index(row), index(row), {Qt::DisplayRole});
}
} // namespace Kiln
