#include <kilnx/code/codenode.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/nodepool_p.h>
#include <kilnx/code/noderows_p.h>

#include <cstdlib>

namespace Kiln
{
namespace
{
/// Goes up with each group or animation that enters or leaves a node list. A node's remembered
/// section is right for as long as the number has not changed.
unsigned int sectionStamp = 1;

bool isSection(CodeNode::Type type)
{
    return type == CodeNode::Group || type == CodeNode::Animation;
}
} // namespace

CodeNode::CodeNode(Type type, CodeNode *previous)
    : m_type(type)
{
    if (isSection(type))
        ++sectionStamp;
    if (!previous)
        return;
    m_block = previous->m_nextBlock;
    m_previous = previous;
    m_next = previous->m_next;
    previous->m_next = this;
    if (m_next)
        m_next->m_previous = this;
}

CodeNode::~CodeNode()
{
    if (isSection(m_type))
        ++sectionStamp;
    if (m_parent)
        m_parent->removeChild(this);
    if (m_previous)
        m_previous->m_next = m_next;
    if (m_next)
        m_next->m_previous = m_previous;
    m_parent = nullptr;
    m_previous = nullptr;
    m_next = nullptr;
}

int CodeNode::firstLine() const
{
    return lineNo();
}

int CodeNode::lastLine() const
{
    return lineNo();
}

CodeDocument *CodeNode::document() const
{
    auto *document = const_cast<QTextDocument *>(m_block.document());
    return m_block.isValid() ? static_cast<CodeDocument *>(document) : nullptr;
}

void CodeNode::remove(bool all)
{
    if (CodeDocument *owner = document())
        owner->insertOnCursor(QString(), all ? selectAll() : select());
}

void CodeNode::release()
{
    if (!isValid() || m_type == Root)
        return;
    this->~CodeNode();
    NodePool::give(this);
}

void CodeNode::valueChanged(const QVariant &)
{
    if (!m_parent)
        return;
    m_parent->childChanged(this);
    changed(m_parent, m_parent->childIndex(this), Qt::DisplayRole);
}

CodeNode *CodeNode::next(Type type, int stopMask) const
{
    for (CodeNode *node = m_next; node; node = node->m_next) {
        if (node->m_type == type)
            return node;
        if (stopMask & node->m_type)
            return nullptr;
    }
    return nullptr;
}

CodeNode *CodeNode::previous(Type type, int stopMask) const
{
    for (CodeNode *node = m_previous; node; node = node->m_previous) {
        if (node->m_type == type)
            return node;
        if (stopMask & node->m_type)
            return nullptr;
    }
    return nullptr;
}

ParentCode *CodeNode::parent(Type type, int stopMask) const
{
    for (ParentCode *node = m_parent; node; node = node->m_parent) {
        if (node->m_type == type)
            return node;
        if (stopMask & node->m_type)
            return nullptr;
    }
    return nullptr;
}

QTextCursor CodeNode::select() const
{
    CodeDocument *owner = document();
    if (!owner || !m_block.isValid())
        return QTextCursor();
    QTextCursor cursor = owner->cursor();
    cursor.setPosition(m_block.position());
    cursor.setPosition(qMin(m_block.position() + m_block.length(), owner->characterCount() - 1),
                       QTextCursor::KeepAnchor);
    return cursor;
}

QTextCursor CodeNode::selectAll() const
{
    CodeDocument *owner = document();
    const QTextBlock first = owner ? owner->findBlockByNumber(firstLine()) : QTextBlock();
    if (!first.isValid())
        return QTextCursor();
    // A section that ends before it begins, within its own line, is that line.
    const QTextBlock last = owner->findBlockByNumber(qMax(firstLine(), lastLine()));
    const int textEnd = owner->characterCount() - 1;
    const int end = last.isValid() ? qMin(last.position() + last.length(), textEnd) : textEnd;
    QTextCursor cursor = owner->cursor();
    cursor.setPosition(first.position());
    cursor.setPosition(qMax(first.position(), end), QTextCursor::KeepAnchor);
    return cursor;
}

void CodeNode::change(const QString &text)
{
    QTextCursor cursor = select();
    if (cursor.isNull())
        return;
    CodeDocument *owner = document();
    const QString line = m_block.text();
    const QChar comment = owner->commentCharacter();
    const int commentStart = comment.isNull() ? -1 : line.indexOf(comment);
    const QString kept = commentStart < 0 ? QString() : QLatin1Char(' ') + line.mid(commentStart);
    cursor.setPosition(m_block.position() + m_block.length() - 1, QTextCursor::KeepAnchor);
    owner->insertOnCursor(text + kept, cursor);
}

void CodeNode::changed(const ParentCode *parent, int row, int role)
{
    if (m_parent)
        m_parent->changed(parent, row, role);
}

CodeNode *CodeNode::section() const
{
    if (m_sectionStamp == sectionStamp)
        return m_section;
    CodeNode *found = m_previous;
    for (; found && !isSection(found->m_type); found = found->m_previous) {
        if (found->m_sectionStamp == sectionStamp) {
            found = found->m_section;
            break;
        }
    }
    // Those on the way have the same section; remembering it in each keeps the next walks short.
    for (const CodeNode *node = this; node && node != found; node = node->m_previous) {
        if (node->m_sectionStamp == sectionStamp)
            break;
        node->m_section = found;
        node->m_sectionStamp = sectionStamp;
    }
    return found;
}

bool CodeNode::isValid() const
{
    return NodePool::isInUse(this);
}

void *CodeNode::allocate(std::size_t size)
{
    return NodePool::take(size);
}

void CodeNode::operator delete(void *node)
{
    NodePool::give(node);
}
} // namespace Kiln
