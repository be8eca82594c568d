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
class TEditConstraints;
class TNumericEdit;
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
    // Stores the inputs and, when the method accepts them, the results. When a field holds a value it refuses,
    // asks "Ошибка в исходных данных…": "Нет" stops, "Да" stores the inputs without a result. A loss the method
    // refuses (100 % or more) is never stored. False when nothing was stored.
    bool Save();
    // Puts back what is stored.
    void Cancel();
    // Deletes the element's stored inputs and results of the period after asking, in one transaction.
    bool Delete();
    // Asks whether to save unsaved changes; false when the user cancels (the caller then stays). "Да" saves as
    // "Сохранить" does, with its checks.
    bool AllowLeave();
    // The period has a stored row of the element of its own (what "Удалить" deletes).
    bool StoredForPeriod() const { return stored_; }
    // What the page says about the stored state of the element.
    QString StoredText() const;
    TEditConstraints& Constraints() const { return *constraints_; }
    // Fills the energy into the network and from the busbars from the element's measurements and calculations
    // of the period (ReadElementEnergies), else from the regime results of the LV lines below it, and tells the
    // user which source gave each.
    void FillCalculatedWa();

    // The editors and results by their names, for the form's bindings.
    QLineEdit* Editor(const QString& name) const;
    QString ResultText(const QString& name) const;

signals:
    // The element's stored data changed (saved or deleted): summaries and reports read them again.
    void StoredDataChanged();

private:
    friend class TLVNormativSample;
    TNumericEdit* AddEditor(class QFormLayout* form, const QString& name, const QString& caption,
                            bool readOnly = false);
    // Shows a value in an editor unless the editor holds a refused text the user has not settled.
    void Show(const QString& editor, double value);
    void ShowStoredState(const QString& text);
    QGroupBox* AddLengthGroup(const QString& caption, int group);
    void Edited(QLineEdit* editor);
    void ShowValues();
    void ShowResults();
    void SetModified(bool modified);
    void EditCrossSection();
    void CrossSectionTyped(double value);

    ToznFDConnection& connection_;
    std::unique_ptr<TLVNormativeStore> store_;
    std::unique_ptr<TLVNormativSample> sample_;
    TAverageCrossSection sections_;
    bool sectionsChanged_ = false;
    ToznListItemCommon* element_ = nullptr;
    TSamplePeriodInfo period_;
    bool modified_ = false;
    bool showing_ = false;
    bool stored_ = false;
    TEditConstraints* constraints_;
    QLabel* storedState_;
    QComboBox* voltage_;
    std::array<QWidget*, 2> details_{};
    QPushButton *save_, *cancel_, *delete_;
    QLabel* outcome_;
};
