#pragma once

#include <hostkit/export.h>

#include <kilnx/project/messages.h>

#include <QtCore/QAbstractTableModel>
#include <QtCore/QList>
#include <QtCore/QVector>

namespace HostKit
{

/// The messages of several projects in one table: text, file, line.
///
/// It holds no copies. Rows that stay keep their place while a list changes, so that the
/// selection of the view survives typing.
class HOSTKIT_EXPORT MessageTable : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit MessageTable(QObject *parent = nullptr);

    /// Appends the list of a project, which leaves by itself when it is destroyed.
    void addList(Kiln::MessageList *list);
    void removeList(Kiln::MessageList *list);

    /// The message of a row and the file that it is about; an empty message and null for a bad
    /// row.
    Kiln::Message messageAt(int row, Kiln::ProjectFile *&file) const;

    int errorCount() const;
    int warningCount() const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    void countsChanged();

private:
    struct Part {
        Kiln::MessageList *list; ///< null while its rows are being removed
        int rows;                ///< as the views know it
    };

    void follow(Kiln::MessageList *list);
    void dropPart(QObject *list);
    int partOf(int *row) const;

    QVector<Part> m_parts;
};

} // namespace HostKit
