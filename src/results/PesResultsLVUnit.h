#pragma once
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

#include "host/profiles/ProfileFeeder.h"

class TFiderHH;
class TOExport;
class TPesResultsLV;
class ToznFDConnection;

// Balances of one LV feeder: the grid's energy and power values per RES balance of its latest results
// (or of a given sample), with the feeder as a whole when it has more than one.
class TLVResultBalancesFider {
public:
    explicit TLVResultBalancesFider(TFiderHH* fider, int sampleIdent = 0);
    ~TLVResultBalancesFider();
    // Reads the feeder's results; false when it has none.
    bool Load(ToznFDConnection& connection);
    QString Title() const { return title_; }
    // The header (value, then one column per balance) and one row per value.
    QStringList Header() const { return header_; }
    const std::vector<QStringList>& Rows() const { return rows_; }
    // Shows the balance form; returns its modal result. Defined with the windows (PesResultsLVForm.cpp).
    int ShowModal();
    // Writes the feeder's balance into the host's export object.
    void Build(TOExport& target);
    // Writes the feeder's results workbook (energy and power sheets) of the loaded sample; false with a reason.
    bool SaveWorkbook(const QString& file, QString& error);

    // The run by metering profiles of the loaded sample, when the feeder's run is one; its steps calculated again
    // on first asking (false with a reason when they cannot be).
    const profiles::TStoredProfileRun* ProfileRun() const { return profileRun_ ? &*profileRun_ : nullptr; }
    bool ProfileSteps(const profiles::TProfileStepSeries*& series, QString& note);

private:
    TFiderHH* fider_;
    int sampleIdent_;
    int loadedSample_ = 0;
    std::optional<profiles::TStoredProfileRun> profileRun_;
    std::optional<profiles::TProfileStepSeries> steps_;
    QString stepsNote_;
    std::unique_ptr<TPesResultsLV> tree_;
    QString sampleName_;
    QString title_;
    QStringList header_;
    std::vector<QStringList> rows_;
};
