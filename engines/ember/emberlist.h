#pragma once

#include "export.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QList>
#include <QUndoStack>
#include <QVector>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

/// The undo history of a file of items. A bracket is one step, which takes its place among the
/// others when the outermost one is closed: one without a change leaves none, and one that is
/// cancelled leaves them as they were. Brackets nest; in an open one nothing is undone or redone.
class EMBER_EXPORT EmberHistory : public QUndoStack
{
public:
    /// Does the command and keeps it.
    void add(QUndoCommand *command);
    void beginGroup() { m_starts.append(int(m_open.size())); }
    void endGroup();
    /// Closes the innermost bracket and takes back what was done in it.
    void cancelGroup();
    /// Drops all steps; the file counts as unmodified.
    void forget();
    bool isClean() const { return m_open.empty() && QUndoStack::isClean(); }
    void undo();
    void redo();

private:
    class Group;
    using Commands = std::vector<std::unique_ptr<QUndoCommand>>;

    Commands m_open;       ///< done since the outermost bracket was opened
    QVector<int> m_starts; ///< where in it each bracket begins
};

/// The rows of a list model that is a file's list of items: what inserts, removes, moves, sorts and
/// renames them, each as a step of undo. `Base` is the library's list (Kiln::Sounds ...), `Item`
/// has identifier() and exchangeIdentifier(). The history is the file's; it must be emptied before
/// the list ends.
template<class Base, class Item>
class EmberList : public Base
{
public:
    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : m_items.size();
    }
    void remove(unsigned int index) override
    {
        if (hasRow(index))
            m_history.add(new InsertCommand(*this, static_cast<int>(index), nullptr));
    }
    void move(unsigned int from, unsigned int to) override
    {
        if (hasRow(from) && hasRow(to) && from != to)
            m_history.add(new MoveCommand(*this, static_cast<int>(from), static_cast<int>(to)));
    }
    /// By identifier, without regard to letter case; equal ones keep their order.
    void autoOrganize() override
    {
        QList<Item *> order = m_items;
        std::stable_sort(order.begin(), order.end(), [](const Item *a, const Item *b) {
            return a->identifier().compare(b->identifier(), Qt::CaseInsensitive) < 0;
        });
        if (order != m_items)
            m_history.add(new OrderCommand(*this, order));
    }
    void rename(Item &item, const QString &identifier)
    {
        if (item.identifier() != identifier)
            m_history.add(new RenameCommand(*this, item, identifier));
    }
    void beginChange() override { m_history.beginGroup(); }
    void endChange() override { m_history.endGroup(); }

    /// Goes outwards from the last row that was asked for, near which the next one mostly lies; -1
    /// for an item that is not in the list.
    int rowOf(const Item *item) const
    {
        const int start = std::min(m_lastRow, m_items.size() - 1);
        for (int step = 0; step < m_items.size(); ++step) {
            for (const int row : {start + step, start - step}) {
                if (m_items.value(row) == item)
                    return m_lastRow = row;
            }
        }
        return -1;
    }

protected:
    template<class... Arguments>
    explicit EmberList(EmberHistory &history, Arguments &&...arguments)
        : Base(std::forward<Arguments>(arguments)...)
        , m_history(history)
    {
    }
    ~EmberList() override { qDeleteAll(m_items); }

    const QList<Item *> &items() const { return m_items; }
    bool hasRow(unsigned int index) const { return index < static_cast<unsigned>(m_items.size()); }
    Item *item(unsigned int index) const
    {
        return hasRow(index) ? m_items[static_cast<int>(index)] : nullptr;
    }
    /// Takes the item over and puts it before `index`, or at the end.
    void insertItem(unsigned int index, Item *item)
    {
        const int row = hasRow(index) ? static_cast<int>(index) : m_items.size();
        m_history.add(new InsertCommand(*this, row, item));
    }
    void rowChanged(const Item *item)
    {
        const QModelIndex row = this->index(rowOf(item));
        Q_EMIT this->dataChanged(row, row);
        Q_EMIT this->modified();
    }
    /// Takes all items over in place of the old ones. The history must be empty: its commands
    /// refer to those.
    void replaceItems(const QList<Item *> &items)
    {
        this->beginResetModel();
        qDeleteAll(m_items);
        m_items = items;
        this->endResetModel();
        Q_EMIT this->modified();
    }
    /// The first row from `from` on with that identifier, or -1.
    int rowNamed(int from, const QString &identifier) const
    {
        for (int row = std::max(from, 0); row < m_items.size(); ++row) {
            if (m_items[row]->identifier() == identifier)
                return row;
        }
        return -1;
    }

private:
    /// An item that comes, or goes. Whoever does not show it owns it: the list or the command.
    class InsertCommand : public QUndoCommand
    {
    public:
        InsertCommand(EmberList &list, int row, Item *item)
            : m_list(list)
            , m_row(row)
            , m_item(item)
        {
        }
        ~InsertCommand() override { delete m_item; }
        void redo() override
        {
            if (m_item)
                m_list.put(m_row, std::exchange(m_item, nullptr));
            else
                m_item = m_list.take(m_row);
        }
        void undo() override { redo(); }

    private:
        EmberList &m_list;
        const int m_row;
        Item *m_item;
    };

    class MoveCommand : public QUndoCommand
    {
    public:
        MoveCommand(EmberList &list, int from, int to)
            : m_list(list)
            , m_from(from)
            , m_to(to)
        {
        }
        void redo() override { m_list.moveRow(m_from, m_to); }
        void undo() override { m_list.moveRow(m_to, m_from); }

    private:
        EmberList &m_list;
        const int m_from;
        const int m_to;
    };

    class OrderCommand : public QUndoCommand
    {
    public:
        OrderCommand(EmberList &list, const QList<Item *> &order)
            : m_list(list)
            , m_order(order)
        {
        }
        void redo() override
        {
            const QList<Item *> before = m_list.m_items;
            m_list.setOrder(m_order);
            m_order = before;
        }
        void undo() override { redo(); }

    private:
        EmberList &m_list;
        QList<Item *> m_order;
    };

    class RenameCommand : public QUndoCommand
    {
    public:
        RenameCommand(EmberList &list, Item &item, const QString &identifier)
            : m_list(list)
            , m_item(item)
            , m_identifier(identifier)
        {
        }
        void redo() override
        {
            m_item.exchangeIdentifier(m_identifier);
            m_list.rowChanged(&m_item);
        }
        void undo() override { redo(); }

    private:
        EmberList &m_list;
        Item &m_item;
        QString m_identifier;
    };

    void put(int row, Item *item)
    {
        this->beginInsertRows(QModelIndex(), row, row);
        m_items.insert(row, item);
        this->endInsertRows();
        Q_EMIT this->modified();
    }
    Item *take(int row)
    {
        this->beginRemoveRows(QModelIndex(), row, row);
        Item *item = m_items.takeAt(row);
        this->endRemoveRows();
        Q_EMIT this->modified();
        return item;
    }
    void moveRow(int from, int to)
    {
        this->beginMoveRows(QModelIndex(), from, from, QModelIndex(), from < to ? to + 1 : to);
        m_items.move(from, to);
        this->endMoveRows();
        Q_EMIT this->modified();
    }
    void setOrder(const QList<Item *> &order)
    {
        Q_EMIT this->layoutAboutToBeChanged();
        QHash<const Item *, int> rows;
        for (int row = 0; row < order.size(); ++row)
            rows.insert(order[row], row);
        for (const QModelIndex &before : this->persistentIndexList())
            this->changePersistentIndex(before, this->index(rows.value(m_items[before.row()])));
        m_items = order;
        Q_EMIT this->layoutChanged();
        Q_EMIT this->modified();
    }

    EmberHistory &m_history;
    QList<Item *> m_items;
    mutable int m_lastRow = 0;
};
