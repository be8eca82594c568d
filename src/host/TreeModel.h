#pragma once
#include <QAbstractItemModel>

#include "host/HostApi.h"
#include "host/Tree.h"

// The network tree as a Qt model; items are created on demand, so a large network opens at once.
class OZN3HOST_API TreeModel : public QAbstractItemModel, public TTreeWatcher {
    Q_OBJECT
public:
    explicit TreeModel(TfdbTree* tree, QObject* parent = nullptr);
    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& = {}) const override { return 1; }
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    static ToznListItemCommon* Item(const QModelIndex& index);
    TfdbTree* Tree() const { return tree_; }
    // The index of an item of the tree.
    QModelIndex IndexOf(ToznListItemCommon* item) const;
    // Places a new LV feeder under its substation, in the tree and in the views; the items already
    // there stay where they are, so that the windows holding them go on.
    ToznListItemCommon* AddLVFider(int nodeGuid, int guid, const QString& name, double unom);
    // The tree tells its models of an item it places (TfdbTree::CreateFiderHH).
    void BeginInsert(ToznListItemCommon* parent, int row) override;
    void EndInsert() override { endInsertRows(); }

private:
    TfdbTree* tree_;
};
