#pragma once
#include "host/SamplePeriods.h"
#include "host/TemplateForms.h"
#include "import/LVZamerSocial.h"
#include "import/WorkbookWatch.h"

class QCheckBox;
class QComboBox;
class TSamplesTreeBox;
class QPushButton;
class QTreeView;

// Workbook of the generalised data of the normative method: the elements of a level under a chosen object, one
// worksheet row each, the inputs in cells and the derived values as live formulas; what the user changes is
// read back and stored like the batch calculation's results.
class TxlsLVZamerSocialForm : public TxlsZamerShablonForm {
    Q_OBJECT
public:
    explicit TxlsLVZamerSocialForm(QWidget* owner = nullptr);
    bool CanOpen() override;

    TNodeSocialHigh& Rows() { return rows_; }
    void SelectObject(int guid);
    void SelectLevel(int level);
    void SelectInterval(int sampleIdent);
    // Fills the energies of the rows from the database ("Расчетная трансформация в сеть").
    void FillEnergies();
    bool WriteWorkbook();
    bool ReadWorkbook();
    // Stores the marked rows, reading the workbook first when the user changed it since; false when nothing
    // was stored (the user is told why).
    bool Save();
    QString Workbook() const;
    // Whether the workbook holds edits not read yet, or rows read but not saved.
    bool HasUnsavedEdits() const;
    // Closing gives up edits not saved only after a question.
    void reject() override;

private:
    void Reload();
    void UpdateButtons();
    bool ConfirmDiscard();
    bool ReadIfChanged();
    TNodeSocialHigh rows_;
    QTreeView* tree_ = nullptr;
    QComboBox* levels_ = nullptr;
    TSamplesTreeBox* intervals_ = nullptr;
    QCheckBox* materials_ = nullptr;
    QCheckBox* inputs_ = nullptr;
    QCheckBox* captions_ = nullptr;
    QPushButton* save_ = nullptr;
    QPushButton* read_ = nullptr;
    TWorkbookWatch watch_;
    int object_ = 0;
};
