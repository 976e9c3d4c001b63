#pragma once

#include <QAbstractItemModel>
#include <QObject>

#include <memory>
#include <vector>

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
    QString textOf(Row &row, const QModelIndex &index, int level);

    QAbstractItemModel *m_model;
    Row m_root;
};
