#pragma once
#include <QDialog>

#include "host/SamplePeriods.h"

class TfdbDatabase;
class ToznListItemCommon;
class QComboBox;
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
        return form;
    }

    // Editing mode: inputs and the batch calculation are offered.
    void SetFullRun(bool fullRun) { fullRun_ = fullRun; }
    bool FullRun() const { return fullRun_; }
    // Hides or shows the input page ("Расчет потерь").
    void SetInputPageVisible(bool visible);
    bool InputPageVisible() const;
    TfdbDatabase* Database() const { return database_; }

    QTreeView* Tree() const { return tree_; }
    ToznListItemCommon* SelectedItem() const;
    // The chosen calculation period; empty when none is chosen.
    TSamplePeriodInfo Period() const;
    TLVNormativInputPage* InputPage() const { return input_; }
    // Completes the form once it is built (each layer adds its own part).
    virtual void Created() {}
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
    QComboBox* periods_;
    TLVNormativInputPage* input_;
    int shownPeriod_ = 0;
    bool restoring_ = false;
    bool fullRun_ = false;
};
