#include <kilnx/project/tree/treemodel.h>

namespace Kiln
{

ItemModel::ItemModel(QObject *parent)
    : QAbstractItemModel(parent)
{
}

TreeModel::TreeModel(QObject *parent)
    : ItemModel(parent)
{
}

} // namespace Kiln
