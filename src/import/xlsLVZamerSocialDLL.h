#pragma once
#include "host/SamplePeriods.h"
#include "host/TemplateForms.h"
#include "import/LVZamerSocial.h"

class QCheckBox;
class QComboBox;
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
    bool Save();
    QString Workbook() const;

private:
    void Reload();
    TNodeSocialHigh rows_;
    QTreeView* tree_ = nullptr;
    QComboBox* levels_ = nullptr;
    QComboBox* intervals_ = nullptr;
    QCheckBox* materials_ = nullptr;
    QCheckBox* inputs_ = nullptr;
    QCheckBox* captions_ = nullptr;
    QPushButton* save_ = nullptr;
    int object_ = 0;
};
