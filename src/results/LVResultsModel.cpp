#include "results/LVResultsModel.h"

#include <QBrush>
#include <QTreeView>

#include "host/NumericHelpers.h"
#include "host/WindowPlace.h"
#include "results/LVResultsColumns.h"
#include "results/UnitLVResultsTree.h"

namespace {
const QString kNameCaption = QStringLiteral("Наименование структурного подразделения");
}

void TLVResultsModel::Reset(TPesResultsLV* tree, const std::vector<const TLVResultColumn*>& columns,
                            const std::array<bool, 8>& visibleRows, std::function<QColor(int)> levelColor)
{
    beginResetModel();
    rows_.clear();
    roots_.clear();
    columns_ = columns;
    levelColor_ = std::move(levelColor);
    if (tree)
        Add(*tree, -1, visibleRows);
    endResetModel();
}

void TLVResultsModel::Add(TPesResultsLV& node, int parent, const std::array<bool, 8>& visibleRows)
{
    int into = parent;
    if (visibleRows[node.Level()]) {
        into = static_cast<int>(rows_.size());
        rows_.push_back({&node, parent, {}});
        (parent < 0 ? roots_ : rows_[parent].children).push_back(into);
    }
    for (int i = 0; i < node.ChildCount(); ++i)
        Add(*node.Child(i), into, visibleRows);
}

QModelIndex TLVResultsModel::index(int row, int column, const QModelIndex& parent) const
{
    const std::vector<int>& children = ChildrenOf(parent.isValid() ? static_cast<int>(parent.internalId()) : -1);
    if (row < 0 || row >= static_cast<int>(children.size()) || column < 0 || column >= columnCount())
        return {};
    return createIndex(row, column, static_cast<quintptr>(children[row]));
}

QModelIndex TLVResultsModel::parent(const QModelIndex& child) const
{
    if (!child.isValid())
        return {};
    const int parent = rows_[child.internalId()].parent;
    if (parent < 0)
        return {};
    const std::vector<int>& siblings = ChildrenOf(rows_[parent].parent);
    const int row = static_cast<int>(std::find(siblings.begin(), siblings.end(), parent) - siblings.begin());
    return createIndex(row, 0, static_cast<quintptr>(parent));
}

int TLVResultsModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid() && parent.column() != 0)
        return 0;
    return static_cast<int>(ChildrenOf(parent.isValid() ? static_cast<int>(parent.internalId()) : -1).size());
}

int TLVResultsModel::columnCount(const QModelIndex&) const { return static_cast<int>(columns_.size()) + 1; }

QVariant TLVResultsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const TPesResultsLV* node = rows_[index.internalId()].node;
    if (role == GuidRole)
        return node->GUID();
    if (role == LevelRole)
        return node->Level();
    if (index.column() == 0) {
        if (role == Qt::DisplayRole)
            return node->Caption();
        if (role == Qt::ToolTipRole && !node->Note().isEmpty())
            return node->Note();
        if (role == Qt::BackgroundRole && node->Level() < 7 && levelColor_)
            return QBrush(levelColor_(node->Level()));
        return {};
    }
    const TLVResultColumn* column = columns_[index.column() - 1];
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole && role != Qt::UserRole)
        return {};
    if (column->Text)
        return column->Text(node->Record());
    const double value = column->Value(node->Record());
    if (role == Qt::UserRole)
        return isEmptyFloat(value) ? QVariant() : QVariant(value);
    return FormatFloat(column->Format, value);
}

QVariant TLVResultsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    const QString caption = section == 0 ? kNameCaption : columns_[section - 1]->Caption;
    if (role == CaptionRole)
        return caption;
    if (role == Qt::DisplayRole)
        return ::WrappedCaption(caption);
    return {};
}

void TLVResultsModel::FitColumns(QTreeView& view, int nameWidth)
{
    // The same columns again (a refresh, another period) keep the widths the user may have set.
    QStringList columns;
    for (int c = 0; c < view.model()->columnCount(); ++c)
        columns << view.model()->headerData(c, Qt::Horizontal, Qt::DisplayRole).toString();
    const char* fitted = "fittedColumns";
    if (view.property(fitted).toStringList() == columns)
        return;
    view.setProperty(fitted, columns);
    for (int c = 1; c < view.model()->columnCount(); ++c)
        view.resizeColumnToContents(c);
    view.setColumnWidth(0, nameWidth);
}

bool TLVResultsModel::removeRows(int row, int count, const QModelIndex& parent)
{
    const int id = parent.isValid() ? static_cast<int>(parent.internalId()) : -1;
    std::vector<int>& children = id < 0 ? roots_ : rows_[id].children;
    if (row < 0 || count <= 0 || row + count > static_cast<int>(children.size()))
        return false;
    beginRemoveRows(parent, row, row + count - 1);
    children.erase(children.begin() + row, children.begin() + row + count);
    endRemoveRows();
    return true;
}
