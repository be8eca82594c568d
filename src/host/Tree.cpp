#include "host/Tree.h"

#include <QSet>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"

namespace {
struct Level {
    const char* sql;
    int nodeType;
};

// Parents come before children, each level in the order it is listed to users.
const Level kLevels[] = {
    {R"(select "GUID", "Name", "OwnerGUID", null as "Unom" from "AOEnergo" order by "Name")", NodeType::AOEnergo},
    {R"(select "GUID", "Name", "OwnerGUID", null as "Unom" from "PES" order by "Name")", NodeType::PES},
    {R"(select "GUID", "Name", "OwnerGUID", null as "Unom" from "RES" order by "Name")", NodeType::RES},
    {R"(select "GUID", "Name", "OwnerGUID", null as "Unom" from "Centers" order by "Name")", NodeType::Centers},
    {R"(select "GUID", "Name", "OwnerGUID", "Unom" from "Sections" order by "Name")", NodeType::Sections},
    {R"(select "GUID", "Name", "OwnerGUID", null as "Unom" from "Fiders" order by "Name")", NodeType::Fiders},
    {R"(select nod."GUID", nod."Name", nod."OwnerGUID", coalesce(t2."UnomH", ts."UnomH1") as "Unom"
        from "Nodes" nod left join "Transforms2" t2 on t2."Ident"=nod."Transf"
        left join "TransformsSS" ts on ts."Ident"=nod."Transf"
        where nod."GUID"<>nod."OwnerGUID" order by nod."Info", nod."Name")",
     NodeType::Nodes},
    {R"(select "GUID", "Name", "OwnerGUID", "Unom" from "LVFiders" order by "Name")", NodeType::LVFiders},
};

const char* kLinks = R"(select l."GUID", l."OwnerGUID", l."LinkGUID" from "NodeLinks" l order by l."GUID")";

const char* kLVEnabled = R"(select lf."GUID" from "LVFiders" lf
    join "Nodes" nod on nod."GUID"=lf."OwnerGUID"
    left join "Transforms2" t2 on t2."Ident"=nod."Transf"
    left join "TransformsSS" ts on ts."Ident"=nod."Transf"
    where nod."GUID"<>nod."OwnerGUID" and (t2."UnomH"<1 or ts."UnomH1"<1 or ts."UnomH2"<1))";
}  // namespace

ToznListItemCommon* TfdbTree::Add(int ident, const QString& text, int nodeType, ToznListItemCommon* parent)
{
    ToznListItemCommon& item = items_.emplace_back();
    item.ident_ = ident;
    item.text_ = text;
    item.nodeType_ = nodeType;
    item.parent_ = parent;
    auto& siblings = parent ? parent->children_ : roots_;
    item.indexInParent_ = static_cast<int>(siblings.size());
    siblings.push_back(&item);
    return &item;
}

void TfdbTree::Build(ToznFDConnection& connection)
{
    items_.clear();
    roots_.clear();
    byIdent_.clear();
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        for (const Level& level : kLevels) {
            q->SetSQLText(QString::fromUtf8(level.sql));
            for (q->Open(); !q->Eof(); q->Next()) {
                ToznListItemCommon* parent = nullptr;
                if (level.nodeType != NodeType::AOEnergo) {
                    parent = Find(q->Int(QStringLiteral("OwnerGUID")));
                    if (!parent)
                        continue;  // an orphan row has no place in the tree
                }
                ToznListItemCommon* item =
                    Add(q->Int(QStringLiteral("GUID")), q->Str(QStringLiteral("Name")), level.nodeType, parent);
                const double unom = q->Float(QStringLiteral("Unom"));
                item->unom_ = !isEmptyFloat(unom) ? unom : (parent ? parent->unom_ : 0);
                byIdent_.insert(item->ident_, item);
            }
        }
        q->SetSQLText(QString::fromUtf8(kLinks));
        for (q->Open(); !q->Eof(); q->Next()) {
            ToznListItemCommon* owner = Find(q->Int(QStringLiteral("OwnerGUID")));
            ToznListItemCommon* target = Find(q->Int(QStringLiteral("LinkGUID")));
            if (!owner || !target)
                continue;
            ToznListItemCommon* link = Add(q->Int(QStringLiteral("GUID")), target->text_, NodeType::Nodes, owner);
            link->referenceType_ = RefTypeLink;
            link->linked_ = target;
            link->unom_ = target->unom_;
        }
    });
    LVUpdateEnabled(connection);
}

int TfdbTree::CountOfType(int nodeType) const
{
    int count = 0;
    for (const auto& item : items_)
        if (item.nodeType_ == nodeType && !item.isLink())
            ++count;
    return count;
}

void TfdbTree::LVUpdateEnabled(ToznFDConnection& connection, const QList<int>& guids)
{
    const QSet<int> only(guids.begin(), guids.end());
    QSet<int> enabled;
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(kLVEnabled));
        for (q->Open(); !q->Eof(); q->Next())
            enabled.insert(q->Int(QStringLiteral("GUID")));
    });
    for (auto& item : items_)
        if (item.nodeType_ == NodeType::LVFiders && (only.isEmpty() || only.contains(item.ident_)))
            item.enabled_ = enabled.contains(item.ident_);
}

ToznListItemCommon* TfdbTree::CreateFiderHH(int nodeGuid, int newGuid, int /*kind*/, const QString& name, double& unom)
{
    ToznListItemCommon* node = Find(nodeGuid);
    if (!node || node->nodeType_ != NodeType::Nodes)
        return nullptr;
    if (isEmptyFloat(unom) || unom <= 0)
        unom = 0.38;
    const int row = node->GetCount();
    for (TTreeWatcher* w : watchers_)
        w->BeginInsert(node, row);
    ToznListItemCommon* item = Add(newGuid, name, NodeType::LVFiders, node);
    item->unom_ = unom;
    item->enabled_ = node->unom_ > 0 && node->unom_ < 1;
    byIdent_.insert(newGuid, item);
    for (TTreeWatcher* w : watchers_)
        w->EndInsert();
    return item;
}

TTreeWatcher::~TTreeWatcher()
{
    if (watched_)
        watched_->Unwatch(this);
}

TfdbTree::~TfdbTree()
{
    for (TTreeWatcher* w : watchers_)
        w->watched_ = nullptr;
}

void TfdbTree::Watch(TTreeWatcher* watcher)
{
    if (watcher->watched_)
        watcher->watched_->Unwatch(watcher);
    watcher->watched_ = this;
    watchers_.push_back(watcher);
}

void TfdbTree::Unwatch(TTreeWatcher* watcher)
{
    std::erase(watchers_, watcher);
    if (watcher->watched_ == this)
        watcher->watched_ = nullptr;
}

int HierarchyLevel(int nodeType)
{
    switch (nodeType) {
    case NodeType::AOEnergo: return 0;
    case NodeType::PES: return 1;
    case NodeType::RES: return 2;
    case NodeType::Centers: return 3;
    case NodeType::Sections: return 4;
    case NodeType::Fiders: return 5;
    case NodeType::Nodes: return 6;
    case NodeType::LVFiders: return 7;
    default: return -1;
    }
}

QString TreeItemName(int guid)
{
    TCurrentDatabase* db = CurrentDatabase();
    ToznListItemCommon* item = db && guid ? db->GetTree()->Find(guid) : nullptr;
    return item ? item->GetText() : QString();
}
