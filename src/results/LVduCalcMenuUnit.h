#pragma once
#include <QDate>
#include <QList>
#include <functional>
#include <memory>
#include <vector>

#include "host/TemplateForms.h"
#include "results/LVMeasuredLosses.h"

class QComboBox;
class QListWidget;
class QPushButton;
class QTreeView;
class QTreeWidget;

// The menu of the LV calculations of a part of the network: the hierarchy tree, the years and dates of the
// losses measured feeder by feeder, the table of those losses over the hierarchy (written to a workbook on
// request), and the start of every LV calculation of the chosen object: the normative method, the regime
// calculation, the measurement workbooks, the reports of a substation or a line.
class TfrmLVduCalcMenu : public TxlsCustomMenuForm {
    Q_OBJECT
public:
    // A calculation the menu starts for its chosen object, through the form or export that does it.
    struct TAction {
        QString Name;  // the button's object name
        QString Caption;
        std::function<void(int guid)> Run;
    };

    explicit TfrmLVduCalcMenu(QWidget* owner = nullptr);
    ~TfrmLVduCalcMenu() override;
    bool CanOpen() override;
    // The calculations offered beside the built-in ones (the host's regime calculation, the reports).
    void SetActions(std::vector<TAction> actions);

    void SelectObject(int guid);
    int Object() const { return object_; }
    QList<int> Years() const { return years_; }
    void SelectYear(int year);
    int Year() const { return year_; }
    QList<QDate> Dates() const { return dates_; }
    // The sample dates to take instead of the main samples (none: the main samples).
    void PickDates(const QList<QDate>& dates);
    const TMeasuredNode* Totals() const { return tree_.get(); }
    // Writes the table as a workbook; false with a message to the user.
    bool WriteWorkbook(const QString& file);
    // Starts a calculation by its button's name; false when there is none or no object is chosen.
    bool RunAction(const QString& name);

private:
    void Recalculate();
    void FillDates();
    void ShowTable();
    void SaveWorkbook();
    void OpenInSpreadsheet();
    QString Title() const;
    // Runs what another form does outside the menu's own reading transaction.
    void Outside(const std::function<void()>& run);
    QTreeView* hierarchy_ = nullptr;
    QComboBox* yearBox_ = nullptr;
    QListWidget* dateList_ = nullptr;
    QTreeWidget* table_ = nullptr;
    QWidget* actionsBar_ = nullptr;
    std::vector<TAction> actions_;
    std::vector<QPushButton*> actionButtons_;
    std::unique_ptr<TMeasuredNode> tree_;
    std::vector<int> feeders_;
    QList<int> years_;
    QList<QDate> dates_, picked_;
    int object_ = 0, year_ = 0;
};
