#include "results/PesResultsLVUnit.h"

#include "host/Database.h"
#include "host/HostObjects.h"
#include "host/InitOZN.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "results/LVResultsColumns.h"
#include "results/ProfileWorkbook.h"
#include "results/UnitLVResults.h"
#include "results/UnitLVResultsFiderXLSX.h"
#include "results/UnitLVResultsTree.h"

TLVResultBalancesFider::TLVResultBalancesFider(TFiderHH* fider, int sampleIdent)
    : fider_(fider), sampleIdent_(sampleIdent)
{
}

TLVResultBalancesFider::~TLVResultBalancesFider() = default;

bool TLVResultBalancesFider::Load(ToznFDConnection& connection)
{
    rows_.clear();
    header_.clear();
    if (!fider_)
        return false;
    title_ = QStringLiteral("Баланс линии %1").arg(fider_->GetName());
    // The sample asked for, else the latest with results.
    TLVResultSample sample;
    for (const TLVResultSample& s : SamplesWithResultsLV(connection, 0))
        if (s.Ident == sampleIdent_ || sampleIdent_ == 0)
            sample = s;
    if (sample.Ident == 0)
        return false;
    title_ += QStringLiteral(" за ") + sample.Name;
    sampleName_ = sample.Name;
    loadedSample_ = sample.Ident;
    profileRun_.reset();
    steps_.reset();
    profiles::TStoredProfileRun run;
    if (profiles::ReadStoredProfileRun(connection, fider_->GetGUID(), sample.Ident, run))
        profileRun_ = run;
    tree_ = std::make_unique<TPesResultsLV>(7, fider_->GetGUID(), fider_->GetName(), nullptr);
    QString error;
    if (!tree_->Open(connection, fider_->GetGUID(), 0, sample.SampleDate1, sample.SampleDate2, sample.Period, error) ||
        tree_->Level() != 7) {
        tree_.reset();
        return false;
    }
    TLVResultRecord& record = tree_->Record();
    const TMasRES districts = record.GetMasRES();
    const int count = record.CountRes();
    header_ << QStringLiteral("Показатель");
    QHash<int, QString> names;
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sDistrictNames));
        for (q->Open(); !q->Eof(); q->Next())
            names.insert(q->Int(QStringLiteral("GUID")), q->Str(QStringLiteral("Name")));
    });
    for (int i = 0; i < count; ++i)
        header_ << names.value(count > 1 ? districts[i].RES : record.Owners.RES);
    if (count > 1)
        header_ << QStringLiteral("Всего");
    std::vector<const TLVResultColumn*> columns;
    for (const auto* list : {&EnergyColumns(), &PowerColumns()})
        for (const TLVResultColumn& c : *list)
            if (std::none_of(columns.begin(), columns.end(),
                             [&](const TLVResultColumn* x) { return x->Field == c.Field; }))
                columns.push_back(&c);
    for (const TLVResultColumn* c : columns) {
        QStringList row{QString(c->Caption).replace(QLatin1Char('|'), QStringLiteral(", "))};
        for (int i = 0; i < count + (count > 1 ? 1 : 0); ++i) {
            if (count > 1 && i < count)
                record.SetResIdx(i);
            else
                record.ClearResIdx();  // the "Всего" column: the feeder as a whole
            row << FormatFloat(c->Format, c->Value(record));
        }
        rows_.push_back(row);
    }
    return true;
}

bool TLVResultBalancesFider::SaveWorkbook(const QString& file, QString& error)
{
    TCurrentDatabase* db = CurrentDatabase();
    if (!tree_ && !(db && Load(*db->GetDefaultConnection()))) {
        error = QStringLiteral("Нет результатов");
        return false;
    }
    TLVFiderResultsHeader header;
    header.PeriodName = sampleName_;
    header.TypeTR = tree_->Record().TypeTR;
    ToznFDConnection& c = *CurrentDatabase()->GetDefaultConnection();
    GuardedRead(c, [&] {
        auto q = c.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sFiderOwners));
        q->ParamByName(QStringLiteral("GUID"), fider_->GetGUID());
        q->Open();
        if (q->Eof())
            return;
        header.Pes = q->Str(QStringLiteral("PesName"));
        header.Res = q->Str(QStringLiteral("ResName"));
        header.Center = q->Str(QStringLiteral("CenterName"));
        header.Section = q->Str(QStringLiteral("SectionName"));
        header.SectionUnom = q->Float(QStringLiteral("SectionUnom"));
        header.Fider = q->Str(QStringLiteral("FiderName"));
        header.Node = q->Str(QStringLiteral("NodeName"));
        header.Line = q->Str(QStringLiteral("LineName"));
        header.LineUnom = q->Float(QStringLiteral("LineUnom"));
        auto nodes = c.NewQuery();
        nodes->SetSQLText(QString::fromUtf8(LVResultsSql::sLineNodeCount));
        nodes->ParamByName(QStringLiteral("GUID"), fider_->GetGUID());
        nodes->Open();
        if (const int count = nodes->Int(QStringLiteral("N")); count > 0)
            header.Nodes = count;
    });
    const profiles::TProfileStepSeries* steps = nullptr;
    QString note;
    if (!profileRun_ || !ProfileSteps(steps, note))
        return WriteFiderResultsXlsx(file, tree_->Record(), header, error);
    return WriteFiderResultsXlsx(file, tree_->Record(), header, error,
                                 [&](lxw_workbook* book) { AddProfileSheets(book, *profileRun_, *steps); });
}

bool TLVResultBalancesFider::ProfileSteps(const profiles::TProfileStepSeries*& series, QString& note)
{
    series = nullptr;
    TCurrentDatabase* db = CurrentDatabase();
    if (!profileRun_ || !db)
        return false;
    if (!steps_ && stepsNote_.isEmpty()) {
        profiles::TProfileStepSeries steps;
        bool changed = false;
        QString error;
        try {
            if (profiles::RecalculateProfileSteps(*db->GetDefaultConnection(), fider_->GetGUID(), loadedSample_,
                                                  *profileRun_, db->GetInit()->GetDefaultCosFi(), steps, changed,
                                                  error)) {
                steps_ = std::move(steps);
                if (changed)
                    stepsNote_ = QStringLiteral("Схема или графики изменились после расчета: шаги показаны по "
                                                "нынешним данным");
            } else {
                stepsNote_ = QStringLiteral("Шаги интервала не рассчитаны: ") + error;
            }
        } catch (const EDatabaseError& e) {
            stepsNote_ = QStringLiteral("Шаги интервала не рассчитаны: ") + e.Text();
        }
    }
    note = stepsNote_;
    series = steps_ ? &*steps_ : nullptr;
    return series != nullptr;
}

void TLVResultBalancesFider::Build(TOExport& target)
{
    TCurrentDatabase* db = CurrentDatabase();
    if (!db || !Load(*db->GetDefaultConnection())) {
        target.SetTitle(QStringLiteral("Баланс линии %1").arg(fider_ ? fider_->GetName() : QString()));
        return;
    }
    target.SetTitle(title_);
    target.AddRow(header_);
    for (const QStringList& row : rows_)
        target.AddRow(row);
}
