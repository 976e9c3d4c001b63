#pragma once

#include <kilnx/export.h>

#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtGui/QTextBlock>
#include <QtGui/QTextCursor>

#include <cstddef>

namespace Kiln
{
class CodeDocument;
class ParentCode;

/// One node of a code file: what a parser made of one line of text.
///
/// Every node stands in two structures. The list of all nodes of the document in text order,
/// reached by next() and previous(), starts at the root and is the truth about order. The hierarchy
/// of containers, reached by parent(), is what the item model shows.
///
/// Text is the master. No operation here changes the tree directly: remove() and change() edit the
/// text, and the tree follows when the touched lines are parsed again.
///
/// An engine's parser makes nodes of its own subclasses, one constructor call a node, naming the
/// node that stands before the new one; the node then links itself and finds its container. Nodes
/// live in a pool: `new` on a subclass takes from it, and release() gives back. They are never
/// destroyed by `delete`. A parsed node belongs to the line that it was made for; containers do not
/// own their children. Everything here runs on the GUI thread.
class KILNX_EXPORT CodeNode
{
public:
    /// One bit a type, so that one mask can name several types.
    enum Type { Root = 1, Group = 2, Value = 4, Animation = 8, Frame = 16 };

    /// The line (block number) on which the text of the node starts; its own line by default, -1
    /// for a node without a line.
    virtual int firstLine() const;
    /// The last line that belongs to the node; its own line by default.
    virtual int lastLine() const;
    /// The document of the node's line; null without a line. On a document, the document.
    virtual CodeDocument *document() const;
    /// Removes the node's line from the text; with `all`, the lines firstLine() to lastLine().
    virtual void remove(bool all);
    /// Destroys the node and gives its memory back to the pool. Does nothing on a node that was
    /// released before.
    virtual void release();
    /// A parser calls this on a node that it keeps, after the node took a new value from its text.
    /// The base tells the container, ParentCode::childChanged(), and then the model; a node without
    /// a container does nothing. A subclass may take the value from the argument first.
    virtual void valueChanged(const QVariant &value);

    /// The neighbours in text order; null at the ends. The first node is the root.
    CodeNode *next() const { return m_next; }
    CodeNode *previous() const { return m_previous; }
    /// The container, null for a node that none has adopted.
    ParentCode *parent() const { return m_parent; }
    /// Walks from the neighbour on to the first node of `type` and returns it. A node whose type is
    /// in `stopMask` ends the walk with null, unless it is of `type`. The mask -11 lets only groups
    /// and animations pass.
    CodeNode *next(Type type, int stopMask) const;
    CodeNode *previous(Type type, int stopMask) const;
    /// The same walk along the containers.
    ParentCode *parent(Type type, int stopMask) const;

    Type type() const { return m_type; }
    /// The node's line; invalid for the second and further nodes that a parser made of one line.
    const QTextBlock &block() const { return m_block; }
    int lineNo() const { return m_block.blockNumber(); }

    /// A cursor that selects the node's line with its end; null without a document.
    QTextCursor select() const;
    /// A cursor that selects the lines firstLine() to lastLine() with their line ends; up to the
    /// end of the text if lastLine() lies past it.
    QTextCursor selectAll() const;
    /// Rewrites the node's line as `text`. A comment at the end of the line stays, after one blank.
    void change(const QString &text);

    /// Whether the node has not been released. False for null. It reads memory that stays mapped,
    /// so a pointer that a view kept longer than the node lived may be asked.
    bool isValid() const;

    /// Memory for a node of `size` bytes from the pool that all documents share. Memory goes back
    /// to the pool only by release(), and to the system when the library is unloaded, which writes
    /// the most that was ever taken to the debug log.
    static void *allocate(std::size_t size);
    static void *operator new(std::size_t size) { return allocate(size); }
    static void operator delete(void *node);

protected:
    /// Links the node directly after `previous` and gives it the line that the document set for the
    /// node that comes next. A root has no `previous`.
    CodeNode(Type type, CodeNode *previous);
    /// Leaves the container and the list.
    virtual ~CodeNode();

    /// Tells the model that `role` of row `row` under `parent` changed. The base hands the call up
    /// to the root, which emits dataChanged().
    virtual void changed(const ParentCode *parent, int row, int role);

    /// The nearest group or animation before this node in text order, null if there is none.
    CodeNode *section() const;

private:
    Q_DISABLE_COPY(CodeNode)
    friend class NodeRows;
    friend class ParentCode;
    friend class RootCode;
    friend class GroupCode;
    friend class AnimationCode;
    friend class CodeDocumentPrivate;

    QTextBlock m_block;
    QTextBlock m_nextBlock;
    ParentCode *m_parent = nullptr;
    CodeNode *m_previous = nullptr;
    CodeNode *m_next = nullptr;
    Type m_type;
    mutable int m_rowHint = 0;
    mutable CodeNode *m_section = nullptr;
    mutable unsigned int m_sectionStamp = 0;
};

/// A node that can hold others. The base holds none: a subclass keeps a list and answers the first
/// three operations from it. Defined in codenode_parent.cpp.
class KILNX_EXPORT ParentCode : public CodeNode
{
public:
    virtual unsigned int childCount() const;
    /// The row of `child`, -1 if it is not in the list.
    virtual int childIndex(CodeNode *child) const;
    /// The child at `row`, null if there is none.
    virtual CodeNode *childAt(unsigned int row) const;
    /// Takes `child` from its present container and makes it a child of this one, before the child
    /// at `index`, or last if there are not that many. The base keeps no list: it only becomes the
    /// child's parent.
    virtual void insertChild(CodeNode *child, unsigned int index);
    /// Lets go of `child`, which lives on without a container.
    virtual void removeChild(CodeNode *child);
    /// Called when the value of `child` changed and when a line got `child` as its new node. The
    /// base does nothing.
    virtual void childChanged(CodeNode *child);

protected:
    ParentCode(Type type, CodeNode *previous);

    /// These open and close a row change under the container `parent`. The base hands each up, with
    /// its arguments unchanged, to the root, which is the item model.
    virtual void beginInsert(const ParentCode *parent, int row);
    virtual void endInsert();
    virtual void beginRemove(const ParentCode *parent, int row);
    virtual void endRemove();

    /// Makes `child` a child of the root, in the place that its place in the text gives it. A group
    /// or animation calls this for itself when it has been constructed.
    void insertRootChild(CodeNode *child);

private:
    friend class NodeRows;
};
} // namespace Kiln
