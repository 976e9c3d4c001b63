#include <kilnx/code/codedocument_p.h>

#include <kilnx/code/codelayout_p.h>
#include <kilnx/code/groupcode.h>
#include <kilnx/code/noderows_p.h>

#include <utility>

namespace Kiln
{
namespace
{
constexpr int animationState = int(0x80000000u);
/// The state of a block that Qt has just made. No parsed line has it, not even one that nothing
/// encloses: the parse of a new line would else end before it reached the lines below.
constexpr int neverParsed = -1;

constexpr int kindMask = 3;
constexpr int outermostFlag = 4;
enum LineKind { PlainLine = 0, HeadLine = 1, BodyLine = 2 };

int kindIn(int foldingKind)
{
    return foldingKind & kindMask;
}
} // namespace

CodeDocumentPrivate::CodeDocumentPrivate(CodeDocument *owner)
    : QSyntaxHighlighter(static_cast<QTextDocument *>(owner))
    , document(owner)
    , cursor(owner)
{
}

CodeDocumentPrivate::~CodeDocumentPrivate()
{
    // The list asks for the counts once more when the base leaves it.
    if (list())
        list()->unregisterMessages(this);
}

void CodeDocumentPrivate::beginUpdate()
{
    if (updateLock++ == 0)
        highlighting = -1;
}

void CodeDocumentPrivate::endUpdate()
{
    if (updateLock == 1)
        tellOfVisit();
    if (--updateLock == 0) {
        highlighting = -1;
        notifyUpdate();
    }
}

void CodeDocumentPrivate::tellOfVisit()
{
    if (firstVisited < 0)
        return;
    updateFoldingAround();
    const QTextBlock first = document->findBlock(firstVisited);
    const QTextBlock last = document->findBlock(lastVisited);
    firstVisited = lastVisited = -1;
    document->linesHighlighted(first, last);
}

bool CodeDocumentPrivate::option(const QString &key) const
{
    return document->option(key).toBool();
}

bool CodeDocumentPrivate::isModelShown() const
{
    return option(QStringLiteral("modelCode"));
}

bool CodeDocumentPrivate::isHighlighting() const
{
    if (updateLock == 0)
        return option(QStringLiteral("highlightCode"));
    if (highlighting < 0)
        highlighting = option(QStringLiteral("highlightCode")) ? 1 : 0;
    return highlighting != 0;
}

CodeNode *CodeDocumentPrivate::lastOfLine(CodeNode *head)
{
    while (head->m_next && !head->m_next->m_block.isValid())
        head = head->m_next;
    return head;
}

CodeNode *CodeDocumentPrivate::lastNodeBefore(const QTextBlock &block) const
{
    constexpr int nearby = 64;
    QTextBlock above = block.previous();
    if (above.isValid() && above == sequenceBlock)
        return sequenceNode;
    for (int steps = 0; above.isValid(); above = above.previous()) {
        const CodeBlockData *data = dataOf(above);
        if (data && data->d->node)
            return lastOfLine(data->d->node);
        if (++steps == nearby)
            return lastNodeAboveLine(block.blockNumber());
    }
    return lastOfLine(document);
}

/// The same by way of the tree: down the containers to a child above the line that is near to it,
/// and from there along the list.
CodeNode *CodeDocumentPrivate::lastNodeAboveLine(int line) const
{
    CodeNode *last = document;
    for (const ParentCode *container = document; container;) {
        const int above = NodeRows::countBeforeLine(container, line);
        if (above == 0)
            break;
        CodeNode *child = container->childAt(unsigned(above) - 1);
        if (!child || NodeRows::line(child) >= line)
            break;
        last = child;
        container = child->m_type == CodeNode::Group || child->m_type == CodeNode::Animation
                        ? static_cast<const ParentCode *>(child)
                        : nullptr;
    }
    while (last->m_next) {
        const QTextBlock &next = last->m_next->m_block;
        if (next.isValid() && next.blockNumber() >= line)
            break;
        last = last->m_next;
    }
    return last;
}

CodeNode *
CodeDocumentPrivate::parseLine(CodeBlockData *data, const QString &text, CodeParserSyntax *syntax)
{
    const QTextBlock block = data->d->block;
    CodeNode *old = data->d->node;
    CodeNode *previous = lastNodeBefore(block);
    // Further nodes of a line have no block: what follows a node of this line must not inherit one.
    for (CodeNode *node = old; node; node = node->m_next) {
        if (node != old && node->m_block.isValid())
            break;
        node->m_nextBlock = QTextBlock();
    }
    previous->m_nextBlock = block;
    CodeNode *result = parser->parse(text, old, previous, document, syntax);
    if (result && result->m_block != block) {
        qWarning("CodeParser::parse() gave line %d a node of another line: it gets none",
                 block.blockNumber() + 1);
        result = nullptr;
    }
    data->d->node = result;
    sequenceBlock = block;
    sequenceNode = result ? lastOfLine(result) : previous;
    if (result && result != old && result->m_parent) {
        // Its row was announced before the parser's part of the node was there.
        ParentCode *container = result->m_parent;
        container->childChanged(result);
        if (!resetting)
            result->changed(container, container->childIndex(result), Qt::DisplayRole);
    }
    return result == old ? nullptr : old;
}

void CodeDocumentPrivate::parseQuietly(const QTextBlock &block)
{
    CodeBlockData *data = CodeBlockData::blockData(block, this);
    data->d->isParsedNow = false;
    CodeNode *replaced = parseLine(data, block.text(), nullptr);
    if (replaced)
        replaced->release();
}

void CodeDocumentPrivate::parseInBracket(const QTextBlock &first, const QTextBlock &end)
{
    if (changeDepth == 0 || !parser || !option(QStringLiteral("parseCode")))
        return;
    for (QTextBlock block = first; block.isValid() && block != end; block = block.next())
        parseQuietly(block);
}

void CodeDocumentPrivate::moveData(const QTextBlock &from, const QTextBlock &to)
{
    CodeBlockData *above = dataOf(from);
    if (!above)
        return;
    forgetSequence();
    beginUpdate();
    dropMessages(above);
    endUpdate();
    CodeBlockData *below = CodeBlockData::blockData(to, this);
    std::swap(above->d, below->d);
    std::swap(above->d->block, below->d->block);
    if (below->d->node)
        below->d->node->m_block = to;
    below->d->isParsedNow = false;
}

void CodeDocumentPrivate::highlightBlock(const QString &text)
{
    visit(currentBlock(), text);
}

/// What the base does for a document with colours: from the first line of a change on, until one is
/// behind it and comes out as it was.
void CodeDocumentPrivate::visitChanged(int from, int removed, int added)
{
    const QTextBlock last = document->findBlock(from + added + (removed > 0 ? 1 : 0));
    const int end = last.isValid() ? last.position() + last.length() : document->characterCount();
    bool isOther = false;
    for (QTextBlock block = document->findBlock(from);
         block.isValid() && (block.position() < end || isOther); block = block.next()) {
        const int before = block.userState();
        visit(block, block.text());
        isOther = block.userState() != before;
    }
}

void CodeDocumentPrivate::visit(QTextBlock block, const QString &text)
{
    if (!parser)
        return;
    const int position = block.position();
    firstVisited = firstVisited < 0 ? position : qMin(firstVisited, position);
    lastVisited = qMax(lastVisited, position);
    CodeBlockData *data = current = CodeBlockData::blockData(block, this);
    if (isUnchanged(data->d.get(), text)) {
        if (detail == CodeDocument::WithColors)
            keepFormats();
        block.setUserState(data->d->state);
        updateFoldingIndent(data->d.get());
        current = nullptr;
        return;
    }
    beginUpdate();
    dropMessages(data);
    data->d->parenthesis.resize(0);
    data->d->isPainted = false;
    CodeNode *replaced = parseLine(data, text, isHighlighting() ? this : nullptr);
    data->d->state = blockState(data->d->node, stateAbove(block));
    block.setUserState(data->d->state);
    linkMessages(data, pendingMessages);
    endUpdate();
    if (replaced)
        replaced->release();
    data->d->parsedAs = present(block, text);
    // Text under composition brings formats of its own, which go with it.
    data->d->isParsedNow =
        detail != CodeDocument::WithColors || block.layout()->preeditAreaText().isEmpty();
    setFoldingKind(data->d.get(), document->foldingKind(text));
    updateFoldingIndent(data->d.get());
    current = nullptr;
    document->blockHighlighted();
}

void CodeDocumentPrivate::parseAll()
{
    parsingAll = true;
    if (detail == CodeDocument::WithNodes)
        visitChanged(0, 0, document->characterCount());
    else
        rehighlight();
    parsingAll = false;
}

/// Qt visits all lines between the first and the last edit of a bracket, which for a section that
/// moves through a file is nearly all of it. Those with the text and the enclosing section of their
/// last parse would come out as they are.
bool CodeDocumentPrivate::isUnchanged(const CodeBlockRecord *line, const QString &text) const
{
    if (!line->isParsedNow || parsingAll || !(line->parsedAs == present(line->block, text)))
        return false;
    if (detail != CodeDocument::WithColors) // a layout for each line costs more than its text
        return true;
    const QTextLayout *layout = line->block.layout();
    // An input method takes the formats of the line that it composes in.
    const bool areFormatsLost = line->isPainted && layout->formats().isEmpty();
    return !areFormatsLost && layout->preeditAreaText().isEmpty();
}

int CodeDocumentPrivate::stateAbove(const QTextBlock &block)
{
    const QTextBlock above = block.previous();
    return above.isValid() ? above.userState() : neverParsed;
}

CodeBlockRecord::Parsed CodeDocumentPrivate::present(const QTextBlock &block, const QString &text)
{
    CodeBlockRecord::Parsed parsed;
    parsed.revision = block.revision();
    parsed.stateAbove = stateAbove(block);
    parsed.textHash = qHash(text);
    return parsed;
}

/// Qt takes the formats of a line away before it visits it.
void CodeDocumentPrivate::keepFormats()
{
    const auto ranges = currentBlock().layout()->formats();
    for (const QTextLayout::FormatRange &range : ranges)
        setFormat(range.start, range.length, range.format);
}

/// What encloses the line, as a number that differs where the lines below mean something else.
int CodeDocumentPrivate::blockState(const CodeNode *node, int above)
{
    const auto isSection = [](const CodeNode *line) {
        return line->type() == CodeNode::Group || line->type() == CodeNode::Animation;
    };
    const auto stateOf = [](const CodeNode *section) {
        return section->type() == CodeNode::Group
                   ? int(static_cast<const GroupCode *>(section)->subType())
                   : animationState;
    };
    int state = 0;
    if (node && isSection(node))
        state = stateOf(node);
    else if (node && isSection(node->previous()))
        state = stateOf(node->previous());
    if (state == 0 && above != neverParsed)
        state = above;
    return state;
}

void CodeDocumentPrivate::setFoldingKind(CodeBlockRecord *line, int kind)
{
    const bool isHead = kindIn(kind) == HeadLine || kindIn(line->foldingKind) == HeadLine;
    if (line->foldingKind != kind || !line->isFoldingKnown)
        noteFolding(isHead);
    line->foldingKind = kind;
    line->isFoldingKnown = true;
}

void CodeDocumentPrivate::noteFolding(bool isHead)
{
    isFoldingTouched = true;
    isHeadTouched = isHeadTouched || isHead;
}

/// Brings the lines in step that no parse visits but whose indent hangs on the lines of the last
/// visit: plain lines right above, which look at what follows them, and those below up to the first
/// that comes out as it was. Where a head came or went, that is at the next head, as plain lines
/// look up to it.
void CodeDocumentPrivate::updateFoldingAround()
{
    const bool untilHead = std::exchange(isHeadTouched, false);
    if (!std::exchange(isFoldingTouched, false))
        return;
    const auto isPlain = [](const QTextBlock &block) {
        const CodeBlockData *data = dataOf(block);
        return data && kindIn(data->d->foldingKind) == PlainLine;
    };
    const auto update = [this](const QTextBlock &block) {
        CodeBlockRecord *line = dataOf(block)->d.get();
        const unsigned int before = line->foldingIndent;
        updateFoldingIndent(line);
        if (line->foldingIndent == before)
            return false;
        firstVisited = qMin(firstVisited, block.position());
        lastVisited = qMax(lastVisited, block.position());
        return true;
    };
    const QTextBlock first = document->findBlock(firstVisited);
    const QTextBlock last = document->findBlock(lastVisited);
    QTextBlock block = first;
    while (isPlain(block.previous()))
        block = block.previous();
    bool hasChanged = false;
    for (; block != first; block = block.next())
        hasChanged = update(block) || hasChanged;
    for (; hasChanged && block.isValid() && block != last.next(); block = block.next())
        update(block);
    for (block = last.next(); block.isValid() && dataOf(block); block = block.next()) {
        const bool isHead = kindIn(dataOf(block)->d->foldingKind) == HeadLine;
        if (!update(block) && (isHead || !untilHead))
            return;
    }
}

void CodeDocumentPrivate::updateFoldingIndent(CodeBlockRecord *line) const
{
    const CodeBlockData *aboveData = dataOf(line->block.previous());
    const int above = aboveData ? aboveData->d->foldingKind : 0;
    const unsigned int indent = aboveData ? aboveData->d->foldingIndent : 0;
    const unsigned int outdent = indent > 0 ? indent - 1 : 0;
    const unsigned int before = line->foldingIndent;
    switch (kindIn(line->foldingKind)) {
    case HeadLine:
        if (line->foldingKind & outermostFlag)
            line->foldingIndent = 0;
        else
            line->foldingIndent = kindIn(above) == BodyLine ? outdent : indent;
        break;
    case BodyLine:
        line->foldingIndent = kindIn(above) == HeadLine ? indent + 1 : indent;
        break;
    case PlainLine:
        line->foldingIndent =
            kindIn(above) == PlainLine ? indent : plainIndent(line->block, above, indent);
        break;
    default:
        if (kindIn(line->foldingKind) == kindIn(above))
            line->foldingIndent = indent;
        break;
    }
    if (line->foldingIndent != before)
        emit static_cast<CodeLayout *>(document->documentLayout())->depthChanged(line->block);
}

/// The indent of a plain line below a head or a body line, which the next such line decides.
unsigned int
CodeDocumentPrivate::plainIndent(const QTextBlock &line, int above, unsigned int indent) const
{
    const bool belowHead = kindIn(above) == HeadLine;
    QTextBlock next = line.next();
    int nextKind = PlainLine;
    for (; next.isValid(); next = next.next()) {
        nextKind = document->foldingKind(next.text());
        if (kindIn(nextKind) == HeadLine || kindIn(nextKind) == BodyLine)
            break;
    }
    if (!next.isValid())
        return 0;
    if (kindIn(nextKind) == BodyLine)
        return belowHead ? indent + 1 : indent;
    if (nextKind & outermostFlag)
        return 0;
    if (belowHead)
        return above & outermostFlag ? indent + 1 : indent;
    for (QTextBlock block = line.previous().previous(); block.isValid(); block = block.previous()) {
        const CodeBlockData *data = dataOf(block);
        const int kind = data ? data->d->foldingKind : document->foldingKind(block.text());
        if (kindIn(kind) == HeadLine)
            return kind & outermostFlag || indent == 0 ? indent : indent - 1;
    }
    return 0;
}

void CodeDocumentPrivate::releaseNodes()
{
    forgetSequence();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        CodeBlockData *data = dataOf(block);
        if (data && !parser) {
            dropMessages(data);
            data->d->parenthesis.resize(0);
        }
        if (!data || !data->d->node)
            continue;
        CodeNode *node = data->d->node;
        data->d->node = nullptr;
        node->release();
    }
}

void CodeDocumentPrivate::leaveBlock(CodeBlockData *data)
{
    forgetSequence();
    noteFolding(kindIn(data->d->foldingKind) == HeadLine);
    dropMessages(data);
    if (data->d->node)
        data->d->node->release();
}

unsigned int CodeDocumentPrivate::kindOf(const CodeNode *node)
{
    const unsigned int subType =
        node->type() == CodeNode::Group ? static_cast<const GroupCode *>(node)->subType() : 0;
    return subType << 16 | unsigned(node->type());
}

unsigned int CodeDocumentPrivate::insertOfKind(CodeNode *node)
{
    KindList &kind = kinds[kindOf(node)];
    // Most come below all others.
    const bool isLast = !kind.nodes.isEmpty() && NodeRows::isBefore(kind.nodes.last(), node);
    kind.last = isLast ? kind.nodes.size() : NodeRows::countBefore(kind.nodes, node);
    kind.nodes.insert(kind.last, node);
    return unsigned(kind.last);
}

void CodeDocumentPrivate::removeOfKind(CodeNode *node)
{
    KindList &kind = kinds[kindOf(node)];
    int row = kind.last;
    if (kind.nodes.value(row) != node)
        row = !kind.nodes.isEmpty() && kind.nodes.first() == node ? 0 : kind.nodes.indexOf(node);
    if (row < 0)
        return;
    kind.nodes.removeAt(row);
    kind.last = row;
}
} // namespace Kiln
