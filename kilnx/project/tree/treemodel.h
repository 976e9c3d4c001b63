#pragma once

#include <kilnx/export.h>

#include <QtCore/QAbstractItemModel>

namespace Kiln
{

/// The base of the library's item models.
class KILNX_EXPORT ItemModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    explicit ItemModel(QObject *parent = nullptr);
};

/// The base of the models whose rows have rows: the project tree and the code tree.
class KILNX_EXPORT TreeModel : public ItemModel
{
    Q_OBJECT

public:
    explicit TreeModel(QObject *parent = nullptr);
};

} // namespace Kiln
