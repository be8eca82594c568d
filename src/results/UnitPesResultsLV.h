#pragma once
#include <memory>
#include <stdexcept>
#include <vector>

#include "host/TemplateForms.h"
#include "results/PesResultsNodes.h"
#include "results/UnitLVResults.h"

class TfdbDatabase;
class TPesResultsLV;
class QComboBox;
class QTreeView;
class TLVResultsModel;
struct TLVResultColumn;

// Report form of the PES results that works with the spreadsheet application.
class TfrmPesResultsLV : public TxlsCustomMenuForm {
    Q_OBJECT
public:
    explicit TfrmPesResultsLV(QWidget* owner = nullptr);
    ~TfrmPesResultsLV() override;
    // False (with a message) when no results are stored under the object. Opens the latest sample.
    bool Init(TfdbDatabase* database, int ident);
    // Builds the report of another sample of the list ("Расчетный период"); false with a message.
    bool SelectSample(int index);
    int Level() const { return level_; }
    TPesResultsLV* Tree() const { return tree_.get(); }
    // Writes the chosen sheet of the report; false with a reason.
    bool WriteWorkbook(const QString& file, int page, QString& error);

protected:
    explicit TfrmPesResultsLV(QWidget* owner, std::unique_ptr<TNodeLV> rows);

private:
    void OpenInSpreadsheet();
    void ShowPage();
    std::unique_ptr<TNodeLV> rows_;
    std::unique_ptr<TPesResultsLV> tree_;
    TfdbDatabase* database_ = nullptr;
    int ident_ = 0;
    QList<TLVResultSample> samples_;
    TLVResultSample sample_;
    QComboBox* samplesBox_;
    QComboBox* pages_;
    QTreeView* preview_;
    TLVResultsModel* model_;
    int level_ = -1;
};
