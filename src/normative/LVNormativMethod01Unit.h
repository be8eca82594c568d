#pragma once
#include <QDialog>

#include "host/SamplePeriods.h"
#include "normative/LVNormativReports.h"

class TfdbDatabase;
class ToznListItemCommon;
class QComboBox;
class TSamplesTreeBox;
class QTabWidget;
class QTreeView;
class TLVNormativInputPage;

// Input page of the normative method: the network tree and the calculation period; the generalised
// data of one element for one period are edited on the page "Расчет потерь".
class TLVNormativMethodForm1 : public QDialog {
    Q_OBJECT
public:
    TLVNormativMethodForm1(QWidget* owner, TfdbDatabase* database);

    template <class Form> static Form* CreateForm(QWidget* owner, TfdbDatabase* database)
    {
        auto* form = new Form(owner, database);
        form->Created();
        form->OpenOnChosen();
        return form;
    }

    // Editing mode: inputs, the batch calculation and the rewriting of data are offered.
    void SetFullRun(bool fullRun)
    {
        fullRun_ = fullRun;
        FullRunChanged();
    }
    bool FullRun() const { return fullRun_; }
    // Hides or shows the input page ("Расчет потерь").
    void SetInputPageVisible(bool visible);
    bool InputPageVisible() const;
    TfdbDatabase* Database() const { return database_; }

    QTreeView* Tree() const { return tree_; }
    ToznListItemCommon* SelectedItem() const;
    // The chosen calculation period; empty when none is chosen.
    TSamplePeriodInfo Period() const;
    bool SetPeriod(int ident);
    // How the report and the summary sum the stored results: those of the period, or each element's over
    // the months of the period.
    enum class SumMode { Period, Months };
    SumMode Summing() const;
    void SetSumming(SumMode mode);
    TSummaryScope SummaryScope() const;
    TLVNormativInputPage* InputPage() const { return input_; }
    // Opens the tree on the element chosen in the main window, once every layer of the form listens to it.
    void OpenOnChosen();
    // Completes the form once it is built (each layer adds its own part).
    virtual void Created() {}
    // Shows or hides what only editing offers.
    virtual void FullRunChanged() {}
    // Closing asks about unsaved inputs in editing mode.
    void reject() override;

    QTabWidget* Pages() const { return pages_; }

signals:
    // Another element or period was chosen.
    void SelectionChanged();

private:
    TfdbDatabase* database_;
    QTabWidget* pages_;
    QTreeView* tree_;
    TSamplesTreeBox* periods_;
    QComboBox* summing_;
    TLVNormativInputPage* input_;
    int shownPeriod_ = 0;
    bool restoring_ = false;
    bool fullRun_ = false;
};
