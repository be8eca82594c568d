#pragma once
#include <QWidget>
#include <array>
#include <memory>

#include "host/SamplePeriods.h"
#include "normative/AverageCrossSection.h"
#include "normative/LVNormativUnit.h"

class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class TLVNormativInputPage;
class TLVNormativeStore;
class ToznFDConnection;
class ToznListItemCommon;

// The calculation object bound to the input page: every change is shown in the page's editors and results.
class TLVNormativSample : public TLVNormativSample0 {
public:
    explicit TLVNormativSample(TLVNormativInputPage* page) : page_(page) {}
    // The defaults, written into the editors as well.
    void Clear() override;

protected:
    void DoChange() override;
    void DoGroupChange(Group) override;

private:
    TLVNormativInputPage* page_;
};

// Page "Расчет потерь": the generalised data of one network element for one period, its results shown as
// they change, and saving, cancelling and deleting of what is stored.
class TLVNormativInputPage : public QWidget {
    Q_OBJECT
public:
    TLVNormativInputPage(QWidget* owner, ToznFDConnection& connection);
    ~TLVNormativInputPage() override;

    // Shows an element's stored inputs of a period (none: the page is emptied).
    void Load(ToznListItemCommon* element, const TSamplePeriodInfo& period);
    bool Modified() const { return modified_; }
    TLVNormativSample& Sample() { return *sample_; }
    // Stores the inputs and results; false when the user declined or nothing is selected.
    bool Save();
    // Puts back what is stored.
    void Cancel();
    // Deletes the element's stored inputs and results of the period after asking.
    bool Delete();
    // Asks whether to save unsaved changes; false when the user cancels (the caller then stays).
    bool AllowLeave();
    // Fills the energy into the network and from the busbars from the element's measurements and calculations
    // of the period (ReadElementEnergies), else from the regime results of the LV lines below it, and tells the
    // user which source gave each.
    void FillCalculatedWa();

    // The editors and results by their names, for the form's bindings.
    QLineEdit* Editor(const QString& name) const;
    QString ResultText(const QString& name) const;

private:
    friend class TLVNormativSample;
    QLineEdit* AddEditor(class QFormLayout* form, const QString& name, const QString& caption, bool readOnly = false);
    QGroupBox* AddLengthGroup(const QString& caption, int group);
    void Edited(QLineEdit* editor);
    void ShowValues();
    void ShowResults();
    void SetModified(bool modified);
    void EditCrossSection();
    void CrossSectionTyped();

    ToznFDConnection& connection_;
    std::unique_ptr<TLVNormativeStore> store_;
    std::unique_ptr<TLVNormativSample> sample_;
    TAverageCrossSection sections_;
    bool sectionsChanged_ = false;
    ToznListItemCommon* element_ = nullptr;
    TSamplePeriodInfo period_;
    bool modified_ = false;
    bool showing_ = false;
    QComboBox* voltage_;
    std::array<QWidget*, 2> details_{};
    QPushButton *save_, *cancel_, *delete_;
    QLabel* outcome_;
};
