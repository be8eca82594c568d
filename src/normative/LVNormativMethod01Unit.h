#pragma once
#include <QDialog>

class TfdbDatabase;
class QTabWidget;

// Input page of the normative method: the generalised data of one element for one period.
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

protected:
    virtual void Created() {}
    QTabWidget* Pages() const { return pages_; }

private:
    TfdbDatabase* database_;
    QTabWidget* pages_;
    bool fullRun_ = false;
};
