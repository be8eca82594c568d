#pragma once
#include <array>
#include <memory>

#include "host/SamplePeriods.h"
#include "host/TemplateForms.h"
#include "import/LVZamerData.h"

class QComboBox;
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
    // Stores the changed rows; false when nothing could be stored.
    bool Save();
    // A click on a content switch (0 "ТП", 1 "ТП и Линии", 2 "Абоненты").
    void ClickSwitch(int index);
    std::array<bool, 3> Switches() const { return switches_; }
    void SelectObject(int guid);
    // Shows what is stored for another interval.
    void SelectInterval(int sampleIdent);
    // Carries the table over to another interval ("Новый интервал"): the rows keep their values, hours equal to
    // the old interval's become the new one's; false when the interval is unknown or the same.
    bool MoveToInterval(int sampleIdent);
    QString Workbook() const;

private:
    void ShowTable();
    void IntervalChosen();
    void ChooseNewInterval();
    void Rewrite();
    int Hours() const;
    TLVZamerData data_;
    std::array<bool, 3> switches_{true, true, false};
    std::array<QToolButton*, 3> switchButtons_{};
    QTreeView* tree_ = nullptr;
    QComboBox* intervals_ = nullptr;
    QTableWidget* grid_ = nullptr;
    QPushButton* save_ = nullptr;
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
