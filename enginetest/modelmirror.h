#pragma once

#include <QAbstractItemModel>
#include <QObject>

#include <memory>
#include <vector>

namespace EngineTest
{
/// A copy of a tree model that is kept by its signals alone. When it differs from the model, a
/// signal was missing, wrong or too much: a view would show the same mistake.
///
/// Rows that are new are read when text() is asked, as a view reads them when it paints.
class ModelMirror : public QObject
{
public:
    explicit ModelMirror(QAbstractItemModel *model);

    /// The rows as TreeDump::rows() writes them.
    QString text();
    /// Holds an index on each row, as a view with everything unfolded and selected does.
    void holdIndexes();
    /// In what the model differs from its signals, and which held index means another row than the
    /// one it stands at. Empty if nothing is wrong.
    QString fault();

private:
    struct Row {
        QString text;
        bool isRead = false;
        std::vector<std::unique_ptr<Row>> rows;
    };

    void rebuild();
    void inserted(const QModelIndex &parent, int first, int last);
    void removed(const QModelIndex &parent, int first, int last);
    void moved(const QModelIndex &parent, int from, int, const QModelIndex &, int to);
    void changed(const QModelIndex &first, const QModelIndex &last);
    Row *rowOf(const QModelIndex &index);
    void holdBelow(const QModelIndex &parent);
    QString textOf(Row &row, const QModelIndex &index, int level);

    QAbstractItemModel *m_model;
    Row m_root;
    QList<QPersistentModelIndex> m_held;
};
} // namespace EngineTest
