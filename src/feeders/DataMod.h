#pragma once
#include <QObject>
#include <memory>

class ToznFDConnection;
class TFDQuery;

// Report data module of the LV feeder editor: the datasets of one substation.
class TRep_Data : public QObject {
    Q_OBJECT
public:
    TRep_Data(QObject* owner, ToznFDConnection& connection);
    ~TRep_Data() override;
    // Opens the list of the substation's LV feeders.
    void OpenFiders(int nodeGuid);
    TFDQuery& Fiders() { return *fiders_; }

private:
    ToznFDConnection& connection_;
    std::unique_ptr<TFDQuery> fiders_;
};
