#pragma once
#include <QAbstractItemModel>
#include <QColor>
#include <array>
#include <functional>
#include <vector>

class QTreeView;
class TPesResultsLV;
struct TLVResultColumn;

// The results tree as a table model: one row per node of a visible level (a hidden level's children take
// its place), the name column and the value columns, each value computed when it is shown.
class TLVResultsModel : public QAbstractItemModel {
    Q_OBJECT
public:
    static constexpr int GuidRole = Qt::UserRole + 1;
    static constexpr int LevelRole = Qt::UserRole + 2;
    static constexpr int CaptionRole = Qt::UserRole + 3;

    explicit TLVResultsModel(QObject* parent = nullptr) : QAbstractItemModel(parent) {}
    void Reset(TPesResultsLV* tree, const std::vector<const TLVResultColumn*>& columns,
               const std::array<bool, 8>& visibleRows, std::function<QColor(int)> levelColor);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    // Each value column as wide as its values and the lines of its caption, the names as wide as given; done
    // again only when the columns change.
    static void FitColumns(QTreeView& view, int nameWidth);
    // A caption as the header shows it: its parts ("|") on lines of their own, long parts wrapped at words.
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    bool removeRows(int row, int count, const QModelIndex& parent = {}) override;

private:
    struct Row {
        TPesResultsLV* node;
        int parent;  // -1 for a top row
        std::vector<int> children;
    };
    void Add(TPesResultsLV& node, int parent, const std::array<bool, 8>& visibleRows);
    const std::vector<int>& ChildrenOf(int id) const { return id < 0 ? roots_ : rows_[id].children; }
    std::vector<Row> rows_;
    std::vector<int> roots_;
    std::vector<const TLVResultColumn*> columns_;
    std::function<QColor(int)> levelColor_;
};
