#pragma once

#include <kilnx/code/codenode.h>
#include <kilnx/export.h>
#include <kilnx/project/tree/treemodel.h>

#include <QtCore/QList>
#include <QtGui/QIcon>

namespace Kiln
{
/// The head of a document's node list, its outermost container, and the Qt item model of the tree.
///
/// The model has one column. The internal pointer of an index is its `CodeNode *`. Text of a row is
/// the node's display name; the icon comes from nodeIcon(). An index that outlives its node answers
/// with nothing rather than reading freed memory.
///
/// `CodeDocument` derives from this class; an engine meets it as the parser's `root`.
class KILNX_EXPORT RootCode : public TreeModel, public ParentCode
{
    Q_OBJECT

public:
    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    using ParentCode::parent;

    /// Whether sections of `subType` are to become nodes; a parser asks before it makes one. False
    /// here; a document answers from what CodeDocument::enableGroups() named.
    virtual bool groupEnabled(unsigned int subType) const;
    /// The icon of a row; null by default.
    virtual QIcon nodeIcon(const CodeNode *node) const;

    unsigned int childCount() const override;
    int childIndex(CodeNode *child) const override;
    CodeNode *childAt(unsigned int row) const override;
    void insertChild(CodeNode *child, unsigned int index) override;
    void removeChild(CodeNode *child) override;

    /// The children in text order.
    const QList<CodeNode *> &childs() const { return m_childs; }
    /// The version of the file's format, 0 until somebody sets it.
    unsigned short version() const { return m_version; }
    /// What kind of code file this is, in the engine's own numbers; -1 if it was not told.
    short fileType() const { return m_fileType; }

    /// Deletes the root, which stands on the heap and not in the pool of nodes.
    void release() override;
    static void *operator new(std::size_t size) { return ::operator new(size); }
    static void operator delete(void *root) { ::operator delete(root); }

protected:
    explicit RootCode(short fileType = -1);
    ~RootCode() override;

    void changed(const ParentCode *parent, int row, int role) override;
    void beginInsert(const ParentCode *parent, int row) override;
    void endInsert() override;
    void beginRemove(const ParentCode *parent, int row) override;
    void endRemove() override;

    /// Releases every node of the list, last first, and the root at the end. For subclasses whose
    /// nodes are owned by no line.
    void destroy();

    /// Whether the children stand in the order of their lines, as they do unless a subclass put one
    /// elsewhere.
    bool isInTextOrder() const { return m_inTextOrder; }

    QList<CodeNode *> m_childs;
    unsigned short m_version = 0;
    short m_fileType;

private:
    friend class ParentCode;
    QModelIndex indexOf(const CodeNode *node) const;
    QModelIndex parentIndex(const ParentCode *parent) const { return indexOf(parent); }
    int rowInText(const CodeNode *child) const;

    static QModelIndex s_lastParent;
    const CodeNode *m_leaving = nullptr;
    int m_leavingRow = 0;
    mutable int m_lastRow = 0;
    bool m_inTextOrder = true;
};
} // namespace Kiln
