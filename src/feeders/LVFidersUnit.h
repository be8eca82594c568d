#pragma once
#include <QDialog>

class QListWidget;
class TRep_Data;
class ToznFDConnection;

// Editor of the LV feeders of one substation.
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

    // Opens the feeder list of the node and finds the node's name.
    void OpenFiders();
    bool NodeFound() const { return nodeFound_; }
    bool CanOpen() const { return nodeFound_; }

private:
    ToznFDConnection& connection_;
    TRep_Data* repData_ = nullptr;
    QListWidget* list_;
    int node_ = 0;
    int lvFider_ = 0;
    bool nodeFound_ = false;
};

// The editor while ShowLVFiders runs; stale afterwards.
extern TLVFidersForm* LVFidersForm;
