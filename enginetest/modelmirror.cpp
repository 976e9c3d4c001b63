#include <enginetest/modelmirror.h>

#include <enginetest/treedump.h>

#include <algorithm>

namespace EngineTest
{
ModelMirror::ModelMirror(QAbstractItemModel *model)
    : m_model(model)
{
    connect(model, &QAbstractItemModel::modelReset, this, &ModelMirror::rebuild);
    connect(model, &QAbstractItemModel::rowsInserted, this, &ModelMirror::inserted);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &ModelMirror::removed);
    connect(model, &QAbstractItemModel::rowsMoved, this, &ModelMirror::moved);
    connect(model, &QAbstractItemModel::dataChanged, this, &ModelMirror::changed);
    rebuild();
}

QString ModelMirror::text()
{
    return textOf(m_root, QModelIndex(), -1);
}

void ModelMirror::holdIndexes()
{
    m_held.clear();
    holdBelow(QModelIndex());
}

void ModelMirror::holdBelow(const QModelIndex &parent)
{
    for (int row = 0; row < m_model->rowCount(parent); ++row) {
        const QModelIndex index = m_model->index(row, 0, parent);
        m_held.append(index);
        holdBelow(index);
    }
}

QString ModelMirror::fault()
{
    for (const QPersistentModelIndex &index : qAsConst(m_held)) {
        if (!index.isValid())
            continue;
        const QModelIndex there = m_model->index(index.row(), 0, index.parent());
        if (there != index || there.internalPointer() != index.internalPointer())
            return QStringLiteral("a held index lost its row: %1\n").arg(index.row());
    }
    const QString rows = text();
    if (rows == TreeDump::rows(*m_model))
        return QString();
    return QStringLiteral("by the signals the rows are:\n") + rows;
}

void ModelMirror::rebuild()
{
    m_root.rows.clear();
    if (const int count = m_model->rowCount())
        inserted(QModelIndex(), 0, count - 1);
}

void ModelMirror::inserted(const QModelIndex &parent, int first, int last)
{
    Row *container = rowOf(parent);
    if (!container)
        return;
    for (int row = first; row <= last; ++row) {
        const size_t place = std::min(size_t(row), container->rows.size());
        container->rows.insert(container->rows.begin() + place, std::make_unique<Row>());
        const QModelIndex index = m_model->index(row, 0, parent);
        if (const int count = m_model->rowCount(index))
            inserted(index, 0, count - 1);
    }
}

void ModelMirror::removed(const QModelIndex &parent, int first, int last)
{
    Row *container = rowOf(parent);
    if (!container || first < 0 || size_t(last) >= container->rows.size())
        return;
    container->rows.erase(container->rows.begin() + first, container->rows.begin() + last + 1);
}

/// One row within its container.
void ModelMirror::moved(const QModelIndex &parent, int from, int, const QModelIndex &, int to)
{
    Row *container = rowOf(parent);
    if (!container)
        return;
    const auto row = container->rows.begin() + from;
    const auto place = container->rows.begin() + to;
    if (from < to)
        std::rotate(row, row + 1, place);
    else
        std::rotate(place, row, row + 1);
}

void ModelMirror::changed(const QModelIndex &first, const QModelIndex &last)
{
    for (int row = first.row(); row <= last.row(); ++row) {
        if (Row *mirror = rowOf(first.sibling(row, 0)))
            mirror->isRead = false;
    }
}

/// Null for a row that was never announced.
ModelMirror::Row *ModelMirror::rowOf(const QModelIndex &index)
{
    if (!index.isValid())
        return &m_root;
    Row *container = rowOf(index.parent());
    if (!container || size_t(index.row()) >= container->rows.size())
        return nullptr;
    return container->rows[index.row()].get();
}

QString ModelMirror::textOf(Row &row, const QModelIndex &index, int level)
{
    QString text;
    if (level >= 0) {
        if (!row.isRead)
            row.text = index.data().toString();
        row.isRead = true;
        text = QString(level * 2, QLatin1Char(' ')) + row.text + QLatin1Char('\n');
    }
    for (size_t i = 0; i < row.rows.size(); ++i)
        text += textOf(*row.rows[i], m_model->index(int(i), 0, index), level + 1);
    return text;
}
} // namespace EngineTest
