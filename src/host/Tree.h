#pragma once
#include <QHash>
#include <QList>
#include <QString>
#include <deque>
#include <vector>

#include "host/HostApi.h"

class ToznFDConnection;

// Node types of the host's network tree.
namespace NodeType {
constexpr int AOEnergo = 3;
constexpr int PES = 4;
constexpr int RES = 5;
constexpr int Centers = 6;
constexpr int Sections = 7;
constexpr int Fiders = 8;
constexpr int Nodes = 10;
constexpr int LVFiders = 11;
}  // namespace NodeType

// Reference type of a link item: a node shown a second time under another feeder.
constexpr int RefTypeLink = 65534;

// One item of the network tree.
class OZN3HOST_API ToznListItemCommon {
public:
    int GetIdent() const { return ident_; }
    QString GetText() const { return text_; }
    int GetNodeType() const { return nodeType_; }
    int GetReferenceType() const { return referenceType_; }
    double GetUnom() const { return unom_; }
    QString GetMeterName() const { return meterName_; }
    bool isLink() const { return nodeType_ == NodeType::Nodes && referenceType_ == RefTypeLink; }
    // The item a link points to; the item itself otherwise.
    ToznListItemCommon* Target() { return isLink() && linked_ ? linked_ : this; }
    bool isEnabled() const { return enabled_; }

    ToznListItemCommon* Parent() const { return parent_; }
    int GetCount() const { return static_cast<int>(children_.size()); }
    ToznListItemCommon* GetItems(int index) const { return children_.at(index); }
    int IndexInParent() const { return indexInParent_; }

private:
    friend class TfdbTree;
    int ident_ = 0;
    QString text_;
    int nodeType_ = 0;
    int referenceType_ = 0;
    double unom_ = 0;
    QString meterName_;
    bool enabled_ = true;
    ToznListItemCommon* parent_ = nullptr;
    ToznListItemCommon* linked_ = nullptr;
    int indexInParent_ = 0;
    std::vector<ToznListItemCommon*> children_;
};

class TfdbTree;

// What a view of the tree is told when an item is placed while it shows the tree (a new LV feeder).
// Whichever of the two goes first, the other forgets it.
class OZN3HOST_API TTreeWatcher {
public:
    TTreeWatcher() = default;
    TTreeWatcher(const TTreeWatcher&) = delete;
    TTreeWatcher& operator=(const TTreeWatcher&) = delete;
    virtual ~TTreeWatcher();
    virtual void BeginInsert(ToznListItemCommon* parent, int row) = 0;
    virtual void EndInsert() = 0;

private:
    friend class TfdbTree;
    TfdbTree* watched_ = nullptr;
};

// The host's network tree, built from the hierarchy tables: utility, enterprises, districts,
// supply centres, sections, feeders, substations (with links) and LV feeders.
// A substation that owns itself is never placed under a feeder.
class OZN3HOST_API TfdbTree {
public:
    TfdbTree() = default;
    TfdbTree(const TfdbTree&) = delete;
    TfdbTree& operator=(const TfdbTree&) = delete;
    ~TfdbTree();
    void Build(ToznFDConnection& connection);
    int GetCount() const { return static_cast<int>(roots_.size()); }
    ToznListItemCommon* GetItems(int index) const { return roots_.at(index); }
    // The item with this identifier (never a link item); null when there is none.
    ToznListItemCommon* Find(int ident) const { return byIdent_.value(ident, nullptr); }
    int CountOfType(int nodeType) const;
    int ItemCount() const { return static_cast<int>(items_.size()); }

    // Marks which LV feeders are enabled: those of substations with a low side below 1 kV.
    // An empty list refreshes every LV feeder, otherwise only the listed ones.
    void LVUpdateEnabled(ToznFDConnection& connection, const QList<int>& guids = {});
    // Places a new LV feeder under its substation; an unset voltage becomes 0.38 kV and is reported back.
    // Every view of the tree shows it at once.
    ToznListItemCommon* CreateFiderHH(int nodeGuid, int newGuid, int kind, const QString& name, double& unom);
    // A view of the tree told of the items placed later, until it stops watching.
    void Watch(TTreeWatcher* watcher);
    void Unwatch(TTreeWatcher* watcher);

private:
    std::vector<TTreeWatcher*> watchers_;
    ToznListItemCommon* Add(int ident, const QString& text, int nodeType, ToznListItemCommon* parent);
    std::deque<ToznListItemCommon> items_;
    std::vector<ToznListItemCommon*> roots_;
    QHash<int, ToznListItemCommon*> byIdent_;
};

// The level of a node type in the network's hierarchy: 0 "AOEnergo", 1 PES, 2 RES, 3 centres, 4 sections,
// 5 feeders, 6 substations, 7 LV feeders; -1 for another type.
OZN3HOST_API int HierarchyLevel(int nodeType);

// The name of an element of the current database's network tree; empty when there is none.
OZN3HOST_API QString TreeItemName(int guid);
