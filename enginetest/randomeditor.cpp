#include <enginetest/randomeditor.h>

#include <kilnx/code/animationcode.h>
#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/code/contactboxes.h>
#include <kilnx/code/framecode.h>
#include <kilnx/code/groupcode.h>
#include <kilnx/code/valuecode.h>

#include <QRegularExpression>
#include <QTextBlock>

#include <iterator>

namespace EngineTest
{
namespace
{

/// The size that the text hovers around, in lines.
constexpr int usualLines = 100;

} // namespace

RandomEditor::RandomEditor(Kiln::CodeDocument *document, const LineMaker &lines, quint32 seed)
    : m_document(document)
    , m_list(
          dynamic_cast<Kiln::Animations *>(document->documentEditor(Kiln::CodeNode::Animation, 0)))
    , m_lines(lines)
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
    const int count = int(std::size(choices)) - (m_list ? 0 : 2);
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
    cursorAt(below(m_document->characterCount())).insertText(anyCharacter());
}

void RandomEditor::typeLine()
{
    QTextCursor cursor = linesSelected(randomLine(), -1);
    cursor.insertText(anyOf(m_lines.entries) + QLatin1Char('\n'));
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
    cursorAt(place).insertText(anyOf(m_lines.sections));
}

void RandomEditor::editHeader()
{
    QTextCursor cursor(m_document->findBlockByNumber(randomHeader()));
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    cursor.insertText(anyOf(m_lines.headers));
}

void RandomEditor::damageHeader()
{
    QTextCursor cursor(m_document->findBlockByNumber(randomHeader()));
    if (below(2))
        cursor.deleteChar();
    else
        cursor.insertText(anyCharacter());
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
        switch (below(m_list ? 10 : 7)) {
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
    const auto headerType = m_list ? Kiln::CodeNode::Animation : Kiln::CodeNode::Group;
    const Kiln::CodeNode *last = m_document;
    for (QTextBlock block = m_document->begin(); block.isValid(); block = block.next()) {
        const Kiln::CodeNode *node = m_document->nodeInBlock(block);
        if (m_lines.isHeader &&
            m_lines.isHeader(block.text()) != (node && node->type() == headerType))
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
    auto *node = dynamic_cast<Kiln::ValueCode *>(randomNode());
    if (node)
        node->setValue(anyOf(m_lines.values));
}

void RandomEditor::setName()
{
    auto *named = dynamic_cast<Kiln::NamedCode *>(randomNode());
    if (named)
        named->setName(anyOf(m_lines.names));
}

void RandomEditor::addValue()
{
    auto *group = dynamic_cast<Kiln::GroupCode *>(randomNode());
    if (group)
        group->addValue(anyOf(m_lines.names), anyOf(m_lines.values));
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
    const QRegularExpression expression(anyOf(m_lines.searches));
    QList<Kiln::ProjectFile::SearchResult> results = m_document->search(expression);
    while (results.size() > 5)
        results.removeAt(below(results.size()));
    m_document->replace(results, anyOf(m_lines.replacements));
}

/// Parses the file as a whole, which changes nothing.
void RandomEditor::parseAll()
{
    if (below(2)) {
        m_document->rehighlight();
        return;
    }
    const bool isHighlighted = m_document->hasSyntaxHighlight();
    m_document->setSyntaxHighlight(!isHighlighted);
    m_document->setSyntaxHighlight(isHighlighted);
}

void RandomEditor::editList()
{
    Kiln::Animations *list = m_list;
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
        if (m_lines.isHeader && m_lines.isHeader(block.text()))
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
        return anyOf(m_lines.sections);
    case 1:
        return anyOf(m_lines.headers);
    case 2:
        return QString();
    default:
        return anyOf(m_lines.entries) + QLatin1Char('\n');
    }
}

/// Empty if there are none.
QString RandomEditor::anyOf(const QStringList &texts)
{
    return texts.isEmpty() ? QString() : texts.at(below(texts.size()));
}

QChar RandomEditor::anyCharacter()
{
    const QString &characters = m_lines.characters;
    return characters.isEmpty() ? QLatin1Char(' ') : characters.at(below(characters.size()));
}
} // namespace EngineTest
