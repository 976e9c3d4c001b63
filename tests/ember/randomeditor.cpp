#include "randomeditor.h"

#include <ember/animationnodes.h>
#include <ember/emberanimations.h>
#include <ember/emberline.h>
#include <ember/embernodes.h>

#include <QRegularExpression>
#include <QTextBlock>

#include <iterator>

namespace
{

/// The size that the text hovers around, in lines.
constexpr int usualLines = 100;

/// What a file is written of.
struct Words {
    QStringList sections;
    QStringList headers;
    QStringList entries;
};

const Words codeWords{
    {
        QStringLiteral("@state stand\n    posture: standing\n    drift: 0, 0\n    ticks: 4, 4\n"),
        QStringLiteral(
            "@state leap ; up\n  drift + pull: 1\n  cost: 3 ; breath\n  box: 1, 2, 3, 4\n"),
        QStringLiteral("@@on landing\n    when: (height <= 0) and [tide > 2]\n    then: stand\n"),
        QStringLiteral(
            "@@step reach\n    lasts: 4\n    velocity: 1, 0\n    harm: 1200\n    cel: a\n"),
        QStringLiteral("@note\nthe drift: is free text\n(nobody minds\n"),
        QStringLiteral("@sketch tiptoe\n    drift: 0, 1\n"),
        QStringLiteral("@about\n    title: \"x\"\n"),
        QStringLiteral("@nothing known\n    drift: 1, 1\n"),
        QStringLiteral("    spark + cel: glint\n"),
        // More lines without a node than anything should ever walk one by one.
        QStringLiteral("\n; a comment").repeated(70) + QLatin1Char('\n'),
        QStringLiteral("\n; a comment\n\n"),
        QStringLiteral(
            "@state twins\n    steered: yes\n    say: \"now; then\"\n    glow + ticks: 1, 2, 3\n"),
    },
    {QStringLiteral("@state walk"), QStringLiteral("@@on a rule"), QStringLiteral("@@step one"),
     QStringLiteral("@note"), QStringLiteral("@sketch"), QStringLiteral("@sketch x"),
     QStringLiteral("@files"), QStringLiteral("@"), QStringLiteral("@@@step three"),
     QStringLiteral("@on one sign"), QStringLiteral("@@state two"), QStringLiteral("@state"),
     QStringLiteral("@unheard of"), QStringLiteral("@step\tb")},
    {QStringLiteral("    drift: 1.5, -2"), QStringLiteral("drift: 1"),
     QStringLiteral("    when: (a or [b"), QStringLiteral("    cel: wren"),
     QStringLiteral("    cel + spark: both"), QStringLiteral("    cel + posture: clash"),
     QStringLiteral("    lasts: 12"), QStringLiteral("    posture: lying ; ill"),
     QStringLiteral("    : no key"), QStringLiteral("no colon"),
     QStringLiteral("    say: \"text\""), QStringLiteral("")}};

const Words animationWords{
    {QStringLiteral("@animation 3, title T, once\n body: 1, 2, 3, 4\n frame: s, at 1 2, loop\n"),
     QStringLiteral("; comment\n@animation a\n\n    strike: 1, 2, 3, 4\n; its frame\n    frame:\n"),
     QStringLiteral("    frame: s\n    body: 1, 2\n    frame: t, loop ; note\n"),
     QStringLiteral("\n; a comment").repeated(70) + QLatin1Char('\n'),
     QStringLiteral("frame:\nframe: x\nframe:\n"), QStringLiteral("\n; a comment\n\n")},
    {QStringLiteral("@animation 7"), QStringLiteral("@animation a, title T, once"),
     QStringLiteral("@animation"), QStringLiteral("@@animation b"), QStringLiteral("@state stand")},
    {QStringLiteral("    frame: s, at 1 2, for 3"), QStringLiteral("    frame: s, loop ; note"),
     QStringLiteral("frame: , for x, at 1"), QStringLiteral("    body: 1, 2, 3, 4"),
     QStringLiteral("    strike: 1, 2"), QStringLiteral("; comment"), QStringLiteral("junk"),
     QStringLiteral("    strike: 5, 6, 7, 8"), QStringLiteral("")}};

const Words &wordsOf(const EmberDocument *document)
{
    return document->fileType() == EmberDocument::Animations ? animationWords : codeWords;
}

const QStringList values{QStringLiteral("1"),
                         QStringLiteral("2, 3"),
                         QStringLiteral("1, 2, 3"),
                         QStringLiteral("lying"),
                         QStringLiteral("a \"quoted\" ; comment"),
                         QStringLiteral("two\nlines"),
                         QStringLiteral("(open")};

} // namespace

RandomEditor::RandomEditor(EmberDocument *document, quint32 seed)
    : m_document(document)
    , m_random(seed)
{
}

QString RandomEditor::step()
{
    static const Choice choices[] = {
        {"type a character", 20, &RandomEditor::typeCharacter},
        {"type a line", 10, &RandomEditor::typeLine},
        {"delete characters", 10, &RandomEditor::deleteCharacters},
        {"delete lines", 6, &RandomEditor::deleteLines},
        {"join lines", 5, &RandomEditor::joinLines},
        {"paste a section", 8, &RandomEditor::pasteSection},
        {"edit a header", 8, &RandomEditor::editHeader},
        {"damage a header", 6, &RandomEditor::damageHeader},
        {"move lines", 6, &RandomEditor::moveLines},
        {"undo", 10, &RandomEditor::undo},
        {"redo", 7, &RandomEditor::redo},
        {"bracket", 8, &RandomEditor::bracket},
        {"set a value", 6, &RandomEditor::setValue},
        {"set a name", 4, &RandomEditor::setName},
        {"add a value", 3, &RandomEditor::addValue},
        {"remove a node", 3, &RandomEditor::removeNode},
        {"insert beside a node", 4, &RandomEditor::insertBesideNode},
        {"replace matches", 2, &RandomEditor::replaceMatches},
        {"parse all", 2, &RandomEditor::parseAll},
        {"edit the list", 80, &RandomEditor::editList},
        {"edit a frame", 20, &RandomEditor::editFrame},
    };
    // The last two are for files of animations.
    const bool hasList = m_document->animations();
    const int count = int(std::size(choices)) - (hasList ? 0 : 2);
    int weights = 0;
    for (int i = 0; i < count; ++i)
        weights += choices[i].weight;
    int drawn = below(weights);
    for (const Choice &choice : choices) {
        drawn -= choice.weight;
        if (drawn >= 0)
            continue;
        (this->*choice.action)();
        return QString::fromLatin1(choice.name);
    }
    return QString();
}

void RandomEditor::typeCharacter()
{
    const QString characters = QStringLiteral("@@;:+\n\nabd ,.\"()[]{}159");
    cursorAt(below(m_document->characterCount()))
        .insertText(characters.at(below(characters.size())));
}

void RandomEditor::typeLine()
{
    QTextCursor cursor = linesSelected(randomLine(), -1);
    cursor.insertText(anyOf(wordsOf(m_document).entries) + QLatin1Char('\n'));
}

void RandomEditor::deleteCharacters()
{
    const int start = below(m_document->characterCount());
    QTextCursor cursor = cursorAt(start);
    cursor.setPosition(qMin(start + 1 + below(30), m_document->characterCount() - 1),
                       QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
}

void RandomEditor::deleteLines()
{
    const int first = randomLine();
    const int count = 1 + below(qMax(4, m_document->blockCount() - usualLines));
    linesSelected(first, first + count - 1).removeSelectedText();
}

void RandomEditor::joinLines()
{
    QTextCursor cursor(m_document->findBlockByNumber(randomLine()));
    cursor.movePosition(QTextCursor::EndOfBlock);
    cursor.deleteChar();
}

void RandomEditor::pasteSection()
{
    const int place = below(2) ? m_document->findBlockByNumber(randomLine()).position()
                               : below(m_document->characterCount());
    cursorAt(place).insertText(anyOf(wordsOf(m_document).sections));
}

void RandomEditor::editHeader()
{
    QTextCursor cursor(m_document->findBlockByNumber(randomHeader()));
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    cursor.insertText(anyOf(wordsOf(m_document).headers));
}

void RandomEditor::damageHeader()
{
    QTextCursor cursor(m_document->findBlockByNumber(randomHeader()));
    if (below(2))
        cursor.deleteChar();
    else
        cursor.insertText(anyOf({QStringLiteral("@"), QStringLiteral("x"), QStringLiteral(";")}));
}

/// Cuts some lines and pastes them elsewhere, as two steps of undo or as one.
void RandomEditor::moveLines()
{
    const int first = randomLine();
    QTextCursor cursor = linesSelected(first, first + below(6));
    QString text = cursor.selectedText();
    text.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    const bool isOneStep = below(2);
    if (isOneStep)
        cursor.beginEditBlock();
    cursor.removeSelectedText();
    cursor.setPosition(m_document->findBlockByNumber(randomLine()).position());
    cursor.insertText(text);
    if (isOneStep)
        cursor.endEditBlock();
}

void RandomEditor::undo()
{
    for (int i = below(4); i >= 0; --i)
        m_document->undo();
}

void RandomEditor::redo()
{
    for (int i = below(3); i >= 0; --i)
        m_document->redo();
}

/// Some edits inside one bracket of changes, nested now and then. Inside, the tree is usable.
void RandomEditor::bracket()
{
    m_document->beginChange();
    const int edits = 1 + below(5);
    for (int i = 0; i < edits; ++i) {
        switch (below(m_document->animations() ? 10 : 7)) {
        case 0:
            setValue();
            break;
        case 1:
            setName();
            break;
        case 2:
            insertBesideNode();
            break;
        case 3:
            removeNode();
            break;
        case 4:
            addValue();
            break;
        case 7:
        case 8:
            editList();
            break;
        case 9:
            editFrame();
            break;
        default: {
            const int first = randomLine();
            m_document->insertOnCursor(randomText(), linesSelected(first, first + below(4) - 1));
        }
        }
    }
    checkInsideBracket();
    if (below(5) == 0)
        bracket();
    m_document->endChange();
}

/// Inside a bracket every line has the node that it should, and the list is in the text's order.
void RandomEditor::checkInsideBracket()
{
    if (!m_document->option(QStringLiteral("parseCode")).toBool())
        return;
    const bool hasList = m_document->animations();
    const Kiln::CodeNode *last = m_document;
    for (QTextBlock block = m_document->begin(); block.isValid(); block = block.next()) {
        const Kiln::CodeNode *node = m_document->nodeInBlock(block);
        const EmberLine line = EmberLine::read(block.text());
        const bool isHeader =
            line.kind == EmberLine::Header && (!hasList || line.word == QLatin1String("animation"));
        const auto type = hasList ? Kiln::CodeNode::Animation : Kiln::CodeNode::Group;
        if (isHeader != (node && node->type() == type))
            m_fault = QStringLiteral("inside a bracket, line %1\n").arg(block.blockNumber());
        if (!node)
            continue;
        while (last && last != node)
            last = last->next();
    }
    if (!last)
        m_fault += QStringLiteral("inside a bracket, the list is out of order\n");
}

void RandomEditor::setValue()
{
    auto *node = dynamic_cast<EmberValue *>(randomNode());
    if (node)
        node->setValue(anyOf(values));
}

void RandomEditor::setName()
{
    auto *named = dynamic_cast<Kiln::NamedCode *>(randomNode());
    if (named) {
        named->setName(
            anyOf({QStringLiteral("drift"), QStringLiteral("velocity"), QStringLiteral("cel"),
                   QStringLiteral("new name"), QStringLiteral("x")}));
    }
}

void RandomEditor::addValue()
{
    auto *group = dynamic_cast<EmberGroup *>(randomNode());
    if (group)
        group->addValue(anyOf({QStringLiteral("drift"), QStringLiteral("then")}), anyOf(values));
}

void RandomEditor::removeNode()
{
    if (Kiln::CodeNode *node = randomNode())
        node->remove(below(2));
}

void RandomEditor::insertBesideNode()
{
    const Kiln::CodeNode *node = below(8) ? randomNode() : nullptr;
    if (below(2))
        m_document->insertAfter(node, randomText(), below(2));
    else
        m_document->insertBefore(node, randomText(), below(2));
}

void RandomEditor::replaceMatches()
{
    const QRegularExpression expression(
        anyOf({QStringLiteral("stan(d)"), QStringLiteral("@(\\w)(\\w+)"),
               QStringLiteral(": *(\\w+)\\n"), QStringLiteral("drift: (\\d)")}));
    QList<Kiln::ProjectFile::SearchResult> results = m_document->search(expression);
    while (results.size() > 5)
        results.removeAt(below(results.size()));
    m_document->replace(results, anyOf({QStringLiteral("drift: 1"), QStringLiteral("@st%1")}));
}

/// Parses the file as a whole, which changes nothing.
void RandomEditor::parseAll()
{
    if (below(2)) {
        m_document->rehighlight();
        return;
    }
    m_document->setSyntaxHighlight(false);
    m_document->setSyntaxHighlight(true);
}

void RandomEditor::editList()
{
    EmberAnimations *list = m_document->animations();
    const int count = int(list->count());
    const auto row = unsigned(below(qMax(count, 1)));
    Kiln::AnimationCode *animation = list->at(row);
    const int action = below(12);
    if (action == 0)
        list->add(identifier());
    else if (action == 1)
        list->insert(row, identifier());
    else if (action == 2)
        list->remove(row);
    else if (action == 3)
        list->duplicate(row, below(2) ? identifier() : QString());
    else if (action == 4)
        list->autoOrganize();
    else if (action < 7)
        list->move(row, unsigned(below(qMax(count, 1))));
    else if (animation && action == 7)
        animation->setCode(animation->code() + QLatin1Char('\n') + randomText());
    else if (animation && action == 8)
        animation->setProperty(QStringLiteral("Identifier"), identifier());
    else if (animation && action == 9)
        animation->insertFrame(unsigned(below(4)), below(2) ? identifier() : QString());
    else if (animation && action == 10)
        animation->removeFrame(unsigned(below(4)));
    else if (animation)
        animation->optimize();
}

void RandomEditor::editFrame()
{
    auto *frame = dynamic_cast<Kiln::FrameCode *>(randomNode());
    if (!frame)
        return;
    Kiln::ContactBoxesCode *boxes =
        frame->contactBoxes(Kiln::ContactBoxCode::BoxType(1 + below(2)));
    const QRect rect(below(9) - 4, below(9) - 4, 1 + below(5), 1 + below(5));
    Kiln::ContactBoxCode *box = boxes->at(unsigned(below(3)));
    const QVariant texts[] = {identifier(), QString()};
    const QVector<QVariant> values{texts[below(2)], QPoint(below(9) - 4, below(9) - 4),
                                   below(5) - 1,    QPointF(below(4) / 2.0, below(4) / 2.0),
                                   below(8) * 22.5, below(4),
                                   below(2) == 0};
    const int property = below(values.size());
    switch (below(6)) {
    case 0:
        boxes->add(rect);
        break;
    case 1:
        boxes->remove(box);
        break;
    case 2:
        if (box)
            box->setRect(rect);
        break;
    case 3:
        boxes->setRects(QVector<QRect>(below(4), rect));
        break;
    default:
        frame->setProperty(frame->propertyNames().at(property), values.at(property));
    }
}

/// One that sorts as a number or as a name, and is often taken.
QString RandomEditor::identifier()
{
    return below(2) ? QString::number(below(12)) : QString(QChar('a' + below(4)));
}

/// A number from 0 to `bound` - 1.
int RandomEditor::below(int bound)
{
    return static_cast<int>(m_random.bounded(static_cast<quint32>(bound)));
}

QTextCursor RandomEditor::cursorAt(int position)
{
    QTextCursor cursor(m_document);
    cursor.setPosition(qBound(0, position, m_document->characterCount() - 1));
    return cursor;
}

/// Whole lines with their ends; nothing selected before `first` if `last` is less.
QTextCursor RandomEditor::linesSelected(int first, int last)
{
    QTextCursor cursor(m_document->findBlockByNumber(first));
    if (last >= first) {
        const QTextBlock end = m_document->findBlockByNumber(last + 1);
        cursor.setPosition(end.isValid() ? end.position() : m_document->characterCount() - 1,
                           QTextCursor::KeepAnchor);
    }
    return cursor;
}

int RandomEditor::randomLine()
{
    return below(m_document->blockCount());
}

/// A header's line, or any line if there is none.
int RandomEditor::randomHeader()
{
    QList<int> lines;
    for (QTextBlock block = m_document->begin(); block.isValid(); block = block.next()) {
        if (block.text().trimmed().startsWith(QLatin1Char('@')))
            lines.append(block.blockNumber());
    }
    return lines.isEmpty() ? randomLine() : lines.at(below(lines.size()));
}

/// A node of the list, also one that is not in the tree; null if there is none.
Kiln::CodeNode *RandomEditor::randomNode()
{
    QList<Kiln::CodeNode *> nodes;
    for (Kiln::CodeNode *node = m_document->next(); node; node = node->next())
        nodes.append(node);
    return nodes.isEmpty() ? nullptr : nodes.at(below(nodes.size()));
}

QString RandomEditor::randomText()
{
    switch (below(4)) {
    case 0:
        return anyOf(wordsOf(m_document).sections);
    case 1:
        return anyOf(wordsOf(m_document).headers);
    case 2:
        return QString();
    default:
        return anyOf(wordsOf(m_document).entries) + QLatin1Char('\n');
    }
}

QString RandomEditor::anyOf(const QStringList &texts)
{
    return texts.at(below(texts.size()));
}
