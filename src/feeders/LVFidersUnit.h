#pragma once
#include <QDate>
#include <QDialog>
#include <QHash>

#include "feeders/DataMod.h"
#include "feeders/LVFiderSampleCalc.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTabWidget;
class TEditConstraints;
class ToznFDConnection;

// Editor of the LV feeders ("Линии 0,38 кВ") of one substation with their measurement samples;
// each change of an input recalculates the sample at once.
class TLVFidersForm : public QDialog {
    Q_OBJECT
public:
    TLVFidersForm(QWidget* owner, ToznFDConnection& connection);
    TRep_Data* Rep_Data() const { return repData_; }
    void SetRepData(TRep_Data* data) { repData_ = data; }

    void SetNode(int nodeGuid) { node_ = nodeGuid; }
    int Node() const { return node_; }
    void SetLVFider(int guid) { lvFider_ = guid; }
    // The LV feeder current in the list.
    int LVFider() const { return lvFider_; }

    // Opens the substation's feeders and shows the one asked for (or the first).
    void OpenFiders();
    bool NodeFound() const { return nodeFound_; }
    bool CanOpen() const { return nodeFound_; }

    // The sample shown, null when the feeder has none.
    TRep_Data::Sample* CurrentSample() const { return sample_; }
    QDate CurrentDate() const;
    void SelectFider(int guid);
    void SelectDate(const QDate& date);
    // The result of the last calculation of the sample shown.
    const TLVFiderSampleCalc::Result& LastResult() const { return result_; }

    // Toolbar and buttons.
    void NewLine();
    void RenameLine();
    void DeleteLine();
    void AddSample();
    void DeleteSamples();
    void CopySample();
    // Marks the sample shown as the feeder's main one (or unmarks it); written by the next save.
    void ToggleMain();
    void MarkMainDate();
    // Writes every change and commits; false when a field holds a value it refuses (the user is told which) or
    // the database refused (nothing of it is kept then). Every way of storing goes through here.
    bool SaveChanges();
    // Drops everything since the last save, in memory and in the transaction.
    void CancelChanges();
    // "Выход": asks the save question as closing the window does, then closes.
    void Exit();
    void ShowLineReport();
    void ShowTPReport();

    QLineEdit* Edit(const QString& name) const;
    TEditConstraints& Constraints() const { return *constraints_; }

protected:
    void reject() override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void BuildMainTab(QWidget* page);
    void BuildResultsTab(QWidget* page);
    void ShowFider(int guid);
    void ShowSample();
    void FillConductorValues();
    void Recalculate(bool apply);
    void ShowResults();
    // The save question on leaving; false when the editor must stay open (the save failed).
    bool AskToSave();
    // Rolls the editor's transaction back to its last commit.
    void RollbackToSaved();
    // Asks for a date on a calendar; an invalid date when cancelled.
    // The date a new sample proposes: today when it falls in the interval chosen in the main window, else the
    // first day of that interval.
    static QDate ProposedSampleDate();
    // "Сохранить" on or off, with the reason on its tip.
    void SetSaveEnabled(bool enabled);
    QDate PickDate(const QDate& start);
    TRep_Data::Fider* Fider() const;
    TRep_Data::FiderA* Attributes() const;
    void MeasuredEdited(QLineEdit* box);
    double Value(const QString& box) const;
    // A typed text the field accepts (its value, an empty float for an empty field); false for one it refuses,
    // which then does not reach the data.
    bool Accepted(const QString& box, double& value) const;
    // Another feeder or sample may be shown: no field holds a refused text (else the user is told).
    bool MayLeaveFields();
    void SetupConstraints();

    ToznFDConnection& connection_;
    TRep_Data* repData_ = nullptr;
    int node_ = 0;
    int lvFider_ = 0;
    bool nodeFound_ = false;
    bool busy_ = false;
    TRep_Data::Sample* sample_ = nullptr;
    TLVFiderSampleCalc::Flags flags_;
    TLVFiderSampleCalc::Result result_;
    double rf_, xf_, rn_;

    QListWidget* fiders_;
    QComboBox* dates_;
    QTabWidget* pages_;
    QComboBox* typeLoad_;
    QComboBox* provodPhase_;
    QComboBox* provodNull_;
    QPushButton* cosReset_;
    QPushButton* tmaxReset_;
    QPushButton* knmWarning_;
    QPushButton* main_;
    QPushButton* reportLine_;
    QPushButton* reportTP_;
    QPushButton* save_;
    QPushButton* cancel_;
    QHash<QString, QLabel*> results_;
    TEditConstraints* constraints_;
    int shownFider_ = 0;
    int shownDate_ = -1;
};

// The editor while ShowLVFiders runs; stale afterwards.
extern TLVFidersForm* LVFidersForm;
