#include <kilnx/code/rootcode.h>

#include <kilnx/code/framecode.h>
#include <kilnx/code/namedcode.h>
#include <kilnx/code/noderows_p.h>

#include <QtCore/QCoreApplication>

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
    // A node that is being destroyed is no property item any more, and one that is being made, and
    // announces its row as it does so, has no properties yet.
    const bool isComplete = typeid(*frame) != typeid(FrameCode);
    auto *item = isComplete ? dynamic_cast<PropertyItem *>(const_cast<CodeNode *>(frame)) : nullptr;
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
    const auto *named = dynamic_cast<const NamedCode *>(node);
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
    const CodeNode *node = parent.isValid() ? nodeOf(parent) : this;
    const auto *container = node->isValid() ? dynamic_cast<const ParentCode *>(node) : nullptr;
    CodeNode *child = container ? container->childAt(unsigned(row)) : nullptr;
    return child ? createIndex(row, column, child) : QModelIndex();
}

QModelIndex RootCode::parent(const QModelIndex &index) const
{
    if (!index.isValid())
        return QModelIndex();
    const CodeNode *node = nodeOf(index);
    // A node that has gone, or is just going, was a child where rows were removed last.
    if (!node->isValid() || node == m_leaving)
        return s_lastParent.model() == this ? s_lastParent : QModelIndex();
    return indexOf(node->parent());
}

int RootCode::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return int(childCount());
    const CodeNode *node = nodeOf(parent);
    if (parent.column() > 0 || !node->isValid())
        return 0;
    const auto *container = dynamic_cast<const ParentCode *>(node);
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
    const CodeNode *node = index.isValid() ? nodeOf(index) : nullptr;
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
    const int row = int(qMin(index, childCount()));
    const CodeNode *above = m_childs.value(row - 1);
    const CodeNode *below = m_childs.value(row);
    m_inTextOrder = m_inTextOrder && (!above || NodeRows::isBefore(above, child)) &&
                    (!below || NodeRows::isBefore(child, below));
    NodeRows::insert(this, m_childs, child, index, m_lastRow);
}

void RootCode::removeChild(CodeNode *child)
{
    NodeRows::remove(this, m_childs, child, m_lastRow);
    m_inTextOrder = m_inTextOrder || m_childs.isEmpty();
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
        CodeNode *previous = last->m_previous;
        last->release();
        last = previous;
    }
}

QModelIndex RootCode::indexOf(const CodeNode *node) const
{
    if (!node || node->type() == Root)
        return QModelIndex();
    auto *target = const_cast<CodeNode *>(node);
    if (node == m_leaving)
        return createIndex(m_leavingRow, 0, target);
    const int row = node->parent() ? node->parent()->childIndex(target) : 0;
    return createIndex(qMax(row, 0), 0, target);
}

int RootCode::rowInText(const CodeNode *child) const
{
    return NodeRows::countBefore(m_childs, child);
}
} // namespace Kiln
