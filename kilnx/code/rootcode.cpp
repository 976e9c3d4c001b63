#include <QtCore/QCoreApplication>
#include <kilnx/code/framecode.h>
#include <kilnx/code/namedcode.h>
#include <kilnx/code/noderows_p.h>
#include <kilnx/code/rootcode.h>
#include <typeinfo>

namespace Kiln
{
namespace
{
CodeNode *nodeOf(const QModelIndex &index)
{
    return static_cast<CodeNode *>(index.internalPointer());
}

QString frameText(const CodeNode *frame)
{
    // A node that is being ended is no property item any more, and one that is being made, and
    // announces its row as it does so, has no properties yet.
    const bool isComplete = typeid(*frame) != typeid(FrameCode);
    auto *const item =
        isComplete ? dynamic_cast<PropertyItem *>(const_cast<CodeNode *>(frame)) : nullptr;
    const QString identifier =
        item ? item->property(QStringLiteral("Identifier")).toString() : QString();
    if (!identifier.isEmpty())
        return QCoreApplication::translate("Kiln::RootCode", "Frame - %1").arg(identifier);
    const int row = frame->parent()->childIndex(const_cast<CodeNode *>(frame));
    return QCoreApplication::translate("Kiln::RootCode", "Frame %1").arg(row + 1);
}

QString nodeText(const CodeNode *node)
{
    if (node->type() == CodeNode::Frame)
        return frameText(node);
    const auto *const named = dynamic_cast<const NamedCode *>(node);
    return named ? named->displayName() : QString();
}
} // namespace

QModelIndex RootCode::s_lastParent;

RootCode::RootCode(short fileType)
    : ParentCode(Root, nullptr)
    , m_fileType(fileType)
{
}

RootCode::~RootCode()
{
    for (CodeNode *child : qAsConst(m_childs))
        child->m_parent = nullptr;
}

QModelIndex RootCode::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    const CodeNode *const node = parent.isValid() ? nodeOf(parent) : this;
    const auto *const container =
        node->isValid() ? dynamic_cast<const ParentCode *>(node) : nullptr;
    CodeNode *const child = container ? container->childAt(unsigned(row)) : nullptr;
    return child ? createIndex(row, column, child) : QModelIndex();
}

QModelIndex RootCode::parent(const QModelIndex &index) const
{
    if (!index.isValid())
        return QModelIndex();
    const CodeNode *const node = nodeOf(index);
    // A node that has gone, or is just going, was a child where rows were removed last.
    if (!node->isValid() || node == m_leaving)
        return s_lastParent.model() == this ? s_lastParent : QModelIndex();
    return indexOf(node->parent());
}

int RootCode::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return int(childCount());
    const CodeNode *const node = nodeOf(parent);
    if (parent.column() > 0 || !node->isValid())
        return 0;
    const auto *const container = dynamic_cast<const ParentCode *>(node);
    return container ? int(container->childCount()) : 0;
}

int RootCode::columnCount(const QModelIndex &) const
{
    return 1;
}

Qt::ItemFlags RootCode::flags(const QModelIndex &index) const
{
    return index.isValid() ? Qt::ItemIsSelectable | Qt::ItemIsEnabled : Qt::NoItemFlags;
}

QVariant RootCode::data(const QModelIndex &index, int role) const
{
    const CodeNode *const node = index.isValid() ? nodeOf(index) : nullptr;
    if (!node || !node->isValid() || !node->parent())
        return QVariant();
    switch (role) {
    case Qt::DecorationRole:
        return nodeIcon(node);
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return nodeText(node);
    default:
        return QVariant();
    }
}

bool RootCode::groupEnabled(unsigned int) const
{
    return false;
}

QIcon RootCode::nodeIcon(const CodeNode *) const
{
    return QIcon();
}

unsigned int RootCode::childCount() const
{
    return unsigned(m_childs.size());
}

int RootCode::childIndex(CodeNode *child) const
{
    return NodeRows::find(m_childs, child, m_lastRow);
}

CodeNode *RootCode::childAt(unsigned int row) const
{
    return m_childs.value(int(row));
}

void RootCode::insertChild(CodeNode *child, unsigned int index)
{
    if (child->m_parent)
        child->m_parent->removeChild(child);
    child->m_parent = this;
    const int row = int(qMin(index, childCount()));
    beginInsert(this, row);
    m_childs.insert(row, child);
    NodeRows::remember(child, row, m_lastRow);
    checkTextOrder(row);
    endInsert();
}

void RootCode::removeChild(CodeNode *child)
{
    child->m_parent = nullptr;
    const int row = childIndex(child);
    if (row < 0)
        return;
    beginRemove(this, row);
    m_childs.removeAt(row);
    m_inTextOrder = m_inTextOrder || m_childs.isEmpty();
    endRemove();
}

void RootCode::release()
{
    delete this;
}

void RootCode::changed(const ParentCode *parent, int row, int role)
{
    const QModelIndex changedIndex = index(row, 0, parentIndex(parent));
    if (changedIndex.isValid())
        emit dataChanged(changedIndex, changedIndex, {role});
}

void RootCode::beginInsert(const ParentCode *parent, int row)
{
    beginInsertRows(parentIndex(parent), row, row);
}

void RootCode::endInsert()
{
    endInsertRows();
}

void RootCode::beginRemove(const ParentCode *parent, int row)
{
    s_lastParent = parentIndex(parent);
    m_leaving = parent->childAt(unsigned(row));
    m_leavingRow = row;
    beginRemoveRows(s_lastParent, row, row);
}

void RootCode::endRemove()
{
    endRemoveRows();
    m_leaving = nullptr;
}

void RootCode::destroy()
{
    CodeNode *last = this;
    while (last->m_next)
        last = last->m_next;
    while (last) {
        CodeNode *const previous = last->m_previous;
        last->release();
        last = previous;
    }
}

QModelIndex RootCode::indexOf(const CodeNode *node) const
{
    if (!node || node->type() == Root)
        return QModelIndex();
    auto *const target = const_cast<CodeNode *>(node);
    if (node == m_leaving)
        return createIndex(m_leavingRow, 0, target);
    const int row = node->parent() ? node->parent()->childIndex(target) : 0;
    return createIndex(qMax(row, 0), 0, target);
}

int RootCode::rowInText(const CodeNode *child) const
{
    int begin = 0;
    int end = m_childs.size();
    while (begin < end) {
        const int middle = begin + (end - begin) / 2;
        if (NodeRows::isBefore(m_childs.at(middle), child))
            begin = middle + 1;
        else
            end = middle;
    }
    return begin;
}

void RootCode::checkTextOrder(int row)
{
    const auto inOrder = [this](int first, int second) {
        return first < 0 || second >= m_childs.size() ||
               NodeRows::isBefore(m_childs.at(first), m_childs.at(second));
    };
    m_inTextOrder = m_inTextOrder && inOrder(row - 1, row) && inOrder(row, row + 1);
}
} // namespace Kiln
