#pragma once
#include <array>
#include <memory>

#include "host/SamplePeriods.h"
#include "host/TemplateForms.h"
#include "import/LVZamerData.h"
#include "import/WorkbookWatch.h"

class QComboBox;
class TSamplesTreeBox;
class QPushButton;
class QTableWidget;
class QToolButton;
class QTreeView;

// Workbook form of the measurements of LV networks: the substations (and their LV feeders) of a chosen part
// of the network for one interval, written to a workbook, read back after the user's edits and stored.
class TxlsLVZamerForm : public TxlsZamerShablonForm {
    Q_OBJECT
public:
    TxlsLVZamerForm(QWidget* owner, TLVZamerKind kind);
    ~TxlsLVZamerForm() override;
    bool CanOpen() override;

    TLVZamerData& Data() { return data_; }
    // Loads the rows of the chosen part of the network and interval.
    void Reload();
    // Writes the table to the form's workbook (a file of its own when none was given); false with a message.
    bool WriteWorkbook();
    // Reads the user's values back from the workbook; false with a message.
    bool ReadWorkbook();
    // Stores the changed rows, reading the workbook first when the user changed it since; false when nothing
    // was stored (the user is told why).
    bool Save();
    // A click on a content switch (0 "ТП", 1 "ТП и Линии", 2 "Абоненты"); edits not saved are given up only
    // after a question.
    void ClickSwitch(int index);
    std::array<bool, 3> Switches() const { return switches_; }
    void SelectObject(int guid);
    int Object() const { return object_; }
    // Shows what is stored for another interval (after a question when edits would be lost).
    void SelectInterval(int sampleIdent);
    int Interval() const { return interval_.Ident; }
    // Carries the table over to another interval ("Новый интервал"): the rows keep their values, hours equal to
    // the old interval's become the new one's. Asks before replacing values stored there; false when the
    // interval is unknown or the same, or the user declines.
    bool MoveToInterval(int sampleIdent);
    // A new interval of a year (month 0) or of a month, added to the list; its ident, 0 when it cannot be made.
    int CreateInterval(int year, int month);
    QString Workbook() const;
    // Whether the workbook holds edits not read yet, or the table rows not saved.
    bool HasUnsavedEdits() const;
    // Closing gives up edits not saved only after a question.
    void reject() override;

private:
    void ShowTable();
    void IntervalChosen();
    void ChooseNewInterval();
    void Rewrite();
    void UpdateButtons();
    bool ConfirmDiscard();
    bool ReadIfChanged();
    int Hours() const;
    TLVZamerData data_;
    std::array<bool, 3> switches_{true, true, false};
    std::array<QToolButton*, 3> switchButtons_{};
    QTreeView* tree_ = nullptr;
    TSamplesTreeBox* intervals_ = nullptr;
    QTableWidget* grid_ = nullptr;
    QPushButton* save_ = nullptr;
    QPushButton* read_ = nullptr;
    QPushButton* newInterval_ = nullptr;
    TWorkbookWatch watch_;
    TSamplePeriodInfo interval_;
    int object_ = 0;
    bool openInSpreadsheet_ = false;
};

// The energy (W) measurements.
class TxlsLVZamerWForm : public TxlsLVZamerForm {
    Q_OBJECT
public:
    explicit TxlsLVZamerWForm(QWidget* owner = nullptr);
};
