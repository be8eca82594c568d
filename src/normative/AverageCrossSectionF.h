#pragma once
#include <QDialog>

#include "normative/AverageCrossSection.h"

class QLabel;
class QPushButton;
class QTableWidget;
class QTableWidgetItem;

// Dialog "Средневзвешенное сечение": lengths by cross-section, the totals and the average.
class TfrmAverageCrossSection : public QDialog {
    Q_OBJECT
public:
    explicit TfrmAverageCrossSection(QWidget* owner = nullptr);
    TAverageCrossSectionCommon& Data() { return data_; }
    void Redraw();
    QTableWidget* Grid() const { return grid_; }

    static constexpr int ColF = 0, ColVL = 1, ColKL = 2, ColTotal = 3;
    static constexpr int FirstRow = 1;  // row 0 holds the column captions
    static constexpr int TotalsRow = FirstRow + TAverageCrossSectionCommon::RowCount;

private:
    void CellEdited(QTableWidgetItem* item);
    void SetCell(int row, int col, int value, bool editable);
    TAverageCrossSectionCommon data_;
    QTableWidget* grid_;
    QLabel* label_;
    QPushButton* save_;
    bool drawing_ = false;
};
