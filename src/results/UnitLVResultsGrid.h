#pragma once
#include <QColor>
#include <QDialog>
#include <array>
#include <memory>

#include "results/UnitLVResults.h"

class TfdbDatabase;
class TPesResultsLV;
class QComboBox;
class TLVResultsModel;
class QToolButton;
class QTreeView;
struct TLVResultColumn;

// Grid of LV losses over the hierarchy of the chosen object ("Потери эл. энергии по электрическим сетям"):
// one row per node of the results tree, energy or power columns, samples and periods, deletion,
// row and column set-up, colours and the workbook.
class TfrmLVResultsGrid : public QDialog {
    Q_OBJECT
public:
    // The grid as it is shown (open branches, visible columns) as one table, for printing; and the print itself
    // with its preview.
    QString PrintableHtml() const;
    void Print();
    explicit TfrmLVResultsGrid(QWidget* owner = nullptr);
    ~TfrmLVResultsGrid() override;
    // Finds the object among the stored results and fills the grid; false (with a message) when there are none.
    bool Init(TfdbDatabase* database, int ident);
    int Level() const { return level_; }
    int Ident() const { return ident_; }

    bool EnergyShown() const { return energy_; }
    void ShowEnergy(bool energy);
    // Rebuilds the tree from the database and refills the table.
    void Refresh();
    void DeleteSelected();
    void ClearTable();
    bool SaveXlsx(const QString& file, QString& error);
    void SelectGUID(int guid);
    QTreeView* View() const { return view_; }
    TLVResultsModel* Model() const { return model_; }
    QComboBox* Samples() const { return samples_; }
    QComboBox* Periods() const { return periods_; }
    TPesResultsLV* Tree() const { return tree_.get(); }
    // The exact caption of a column of the table (group|sub-group|unit).
    QString ColumnCaption(int column) const;

    // Colours of the level rows; level 4 has a setting of its own.
    QColor LevelColor(int level) const;
    void SetLevelColor(int level, const QColor& color);
    std::array<bool, 8> VisibleRows() const { return visibleRows_; }
    void SetVisibleRows(const std::array<bool, 8>& rows);

private:
    void FillSamples();
    void FillPeriods();
    void FillTable();
    std::vector<const TLVResultColumn*> Columns() const;
    void ShowRowReport();
    void SetUpRows();
    void SetUpColumns();
    void ColorLegend();
    void SaveToExcel();
    void SaveSettings();
    TLVResultSample CurrentSample() const;

    TfdbDatabase* database_ = nullptr;
    int level_ = -1;
    int ident_ = 0;
    int calcType_ = 0;
    bool energy_ = true;
    std::array<bool, 8> visibleRows_;
    QList<TLVResultSample> sampleList_;
    QStringList hiddenColumns_;
    std::unique_ptr<TPesResultsLV> tree_;
    QTreeView* view_;
    TLVResultsModel* model_;
    QComboBox* samples_;
    QComboBox* periods_;
    QToolButton* energyButton_;
    QToolButton* powerButton_;
};
