#include "host/TreeModel.h"

#include <QBrush>

#include "host/Tree.h"

TreeModel::TreeModel(TfdbTree* tree, QObject* parent) : QAbstractItemModel(parent), tree_(tree)
{
    if (tree_)
        tree_->Watch(this);
}

ToznListItemCommon* TreeModel::Item(const QModelIndex& index)
{
    return static_cast<ToznListItemCommon*>(index.internalPointer());
}

QModelIndex TreeModel::index(int row, int column, const QModelIndex& parent) const
{
    if (column != 0 || row < 0 || row >= rowCount(parent))
        return {};
    ToznListItemCommon* item = parent.isValid() ? Item(parent)->GetItems(row) : tree_->GetItems(row);
    return createIndex(row, column, item);
}

QModelIndex TreeModel::parent(const QModelIndex& child) const
{
    if (!child.isValid())
        return {};
    ToznListItemCommon* parent = Item(child)->Parent();
    return parent ? createIndex(parent->IndexInParent(), 0, parent) : QModelIndex();
}

QModelIndex TreeModel::IndexOf(ToznListItemCommon* item) const
{
    return item ? createIndex(item->IndexInParent(), 0, item) : QModelIndex();
}

int TreeModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return tree_->GetCount();
    return Item(parent)->GetCount();
}

QVariant TreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const ToznListItemCommon* item = Item(index);
    // The name in full as a tip too: a narrow pane cuts it short.
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return item->isLink() ? QStringLiteral("→ %1").arg(item->GetText()) : item->GetText();
    if (role == Qt::ForegroundRole && item->GetNodeType() == NodeType::LVFiders && !item->isEnabled())
        return QBrush(Qt::gray);
    return {};
}

QVariant TreeModel::headerData(int, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return QStringLiteral("Сеть");
    return {};
}

ToznListItemCommon* TreeModel::AddLVFider(int nodeGuid, int guid, const QString& name, double unom)
{
    return tree_->CreateFiderHH(nodeGuid, guid, 0, name, unom);
}

void TreeModel::BeginInsert(ToznListItemCommon* parent, int row) { beginInsertRows(IndexOf(parent), row, row); }
