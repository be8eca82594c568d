#pragma once
#include <QDate>
#include <QList>
#include <QObject>
#include <QString>
#include <memory>
#include <vector>

#include "host/References.h"

class ToznFDConnection;
class TFDQuery;

// Report data module of the LV feeder editor: the datasets of one substation held in memory,
// written by Save and read again by Cancel.
class TRep_Data : public QObject {
    Q_OBJECT
public:
    enum class RowState { Stored, New, Changed, Deleted };

    struct Fider {
        int GUID = 0;
        QString Name;
        int OwnerGUID = 0;
        int TypeLoad = 0;
        double Unom = 0.38;
        RowState state = RowState::Stored;
    };
    struct FiderA {
        int GUID = 0;
        double CosFi, LineLength;
        int ProvodPhase = 0, ProvodNull = 0;
        QString ConsumerName, SwitchGName;
        RowState state = RowState::Stored;
        FiderA();
    };
    struct Sample {
        int GUID = 0;
        QDate SampleDate;
        int IsMain = 0;
        double U[3], U2[3], I[3];
        double Tmax, Krazv, Knm, P, Wa, DP, DW;
        RowState state = RowState::Stored;
        Sample();
    };
    struct TypeLoad {
        int Ident;
        QString Name;
        double CosFi;
    };
    // A year sample row of a feeder ("LVPSamples") with the name of its period; empty floats where unset.
    struct YearSample {
        QString Period;
        QDate Date1;
        double Wa, T, Tau, Kzap, Tmax, Kdp;
    };
    // The substation with its transformer ("ТМ-250", empty when none is set) and its rated power (kV·A).
    struct Substation {
        bool Found = false;
        QString Name, Info, Transformer;
        double Snom;
    };

    TRep_Data(QObject* owner, ToznFDConnection& connection);
    ~TRep_Data() override;

    // Reads the substation's feeders, their attributes and samples, and the references.
    void OpenFiders(int nodeGuid);
    int Node() const { return node_; }

    std::vector<Fider>& Fiders() { return fiders_; }
    Fider* FindFider(int guid);
    // The attributes of a feeder, created (as a new row) when it has none.
    FiderA& Attributes(int guid);
    // The attributes of a feeder as they are, null when it has none; nothing is created.
    const FiderA* FindAttributes(int guid) const;
    // The samples of a feeder in date order (deleted ones left out).
    QList<Sample*> SamplesOf(int guid);
    Sample* FindSample(int guid, const QDate& date);
    Sample& AddSample(int guid, const QDate& date);
    void DeleteSample(Sample& sample);
    void DeleteFider(int guid);
    const std::vector<TypeLoad>& TypeLoads() const { return typeLoads_; }
    // Reads the load kinds again after the reference was edited.
    void ReloadTypeLoads();
    const TProvod038& Provods() const { return provods_; }

    bool Modified() const;
    // Writes every change; main samples are mirrored into the year samples. Nothing is written before:
    // marking a sample as main changes the rows in memory only.
    void Save();
    // Drops every change and reads the datasets again.
    void Cancel();

    // Reference values for the calculation.
    double TmaxLookup(int typeLoad, double pmin);
    double CosOfTypeLoad(int typeLoad);
    // The year period of a date, created when missing ("2024г.").
    int YearSampleIdent(int year);
    // The year sample rows of a feeder ("LVPSamples").
    int YearSampleCount(int guid);
    // The year sample rows of a feeder with their periods, in date order.
    std::vector<YearSample> YearSamples(int guid);
    // The substation opened, read again from the database.
    Substation ReadSubstation();

private:
    // Writes the year row of a feeder from its main sample of the year, or deletes it when the year has none.
    void SaveYearMirror(int guid, int year, const Sample* main, double cosFi);
    ToznFDConnection& connection_;
    int node_ = 0;
    std::vector<Fider> fiders_;
    std::vector<FiderA> attributes_;
    std::vector<std::unique_ptr<Sample>> samples_;
    std::vector<TypeLoad> typeLoads_;
    TProvod038 provods_;
    QList<int> deletedFiders_;
    std::unique_ptr<TFDQuery> tmaxQuery_;
};
