#include "feeders/DataMod.h"

#include <QDateTime>
#include <algorithm>

#include "db/SharedSql.h"
#include "feeders/FeedersSql.h"
#include "host/Connection.h"
#include "host/NumericHelpers.h"

namespace {
QVariant f(double v) { return isEmptyFloat(v) ? QVariant() : QVariant(v); }
QString sql(const char* text) { return QString::fromUtf8(text); }
}  // namespace

TRep_Data::FiderA::FiderA() : CosFi(EmptyFloat()), LineLength(EmptyFloat()) {}

TRep_Data::Sample::Sample()
{
    for (int p = 0; p < 3; ++p)
        U[p] = U2[p] = I[p] = EmptyFloat();
    Tmax = Krazv = Knm = P = Wa = DP = DW = EmptyFloat();
}

TRep_Data::TRep_Data(QObject* owner, ToznFDConnection& connection) : QObject(owner), connection_(connection)
{
    setObjectName(QStringLiteral("Rep_Data"));
}

TRep_Data::~TRep_Data() = default;

void TRep_Data::OpenFiders(int nodeGuid)
{
    node_ = nodeGuid;
    fiders_.clear();
    attributes_.clear();
    samples_.clear();
    typeLoads_.clear();
    deletedFiders_.clear();
    GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(sql(FeedersSql::kFiders));
        q->ParamByName(QStringLiteral("HighFider"), nodeGuid);
        for (q->Open(); !q->Eof(); q->Next())
            fiders_.push_back({q->Int(QStringLiteral("GUID")), q->Str(QStringLiteral("Name")),
                               q->Int(QStringLiteral("OwnerGUID")), q->Int(QStringLiteral("TypeLoad")),
                               q->Float(QStringLiteral("Unom"))});
        std::sort(fiders_.begin(), fiders_.end(), [](const Fider& a, const Fider& b) { return a.Name < b.Name; });
        // The attributes are read whole, as the host keeps them; only this substation's are held.
        q->SetSQLText(sql(SharedSql::kAllLVFidersA));
        for (q->Open(); !q->Eof(); q->Next()) {
            const int guid = q->Int(QStringLiteral("GUID"));
            if (!FindFider(guid))
                continue;
            FiderA a;
            a.GUID = guid;
            a.CosFi = q->Float(QStringLiteral("CosFi"));
            a.ProvodPhase = q->Int(QStringLiteral("ProvodPhase"));
            a.ProvodNull = q->Int(QStringLiteral("ProvodNull"));
            a.LineLength = q->Float(QStringLiteral("LineLength"));
            a.ConsumerName = q->Str(QStringLiteral("ConsumerName"));
            a.SwitchGName = q->Str(QStringLiteral("SwitchGName"));
            attributes_.push_back(a);
        }
        q->SetSQLText(sql(FeedersSql::kSamples));
        q->ParamByName(QStringLiteral("HighFider"), nodeGuid);
        const char* phases[] = {"A", "B", "C"};
        for (q->Open(); !q->Eof(); q->Next()) {
            auto s = std::make_unique<Sample>();
            s->GUID = q->Int(QStringLiteral("GUID"));
            s->SampleDate = q->Value(QStringLiteral("SampleDate")).toDate();
            s->IsMain = q->Int(QStringLiteral("IsMain"));
            for (int p = 0; p < 3; ++p) {
                s->U[p] = q->Float(QStringLiteral("U") + QLatin1String(phases[p]));
                s->U2[p] = q->Float(QStringLiteral("U2") + QLatin1String(phases[p]));
                s->I[p] = q->Float(QStringLiteral("I") + QLatin1String(phases[p]));
            }
            s->Tmax = q->Float(QStringLiteral("Tmax"));
            s->Krazv = q->Float(QStringLiteral("Krazv"));
            s->Knm = q->Float(QStringLiteral("Knm"));
            s->P = q->Float(QStringLiteral("P"));
            s->Wa = q->Float(QStringLiteral("Wa"));
            s->DP = q->Float(QStringLiteral("dP"));
            s->DW = q->Float(QStringLiteral("dW"));
            samples_.push_back(std::move(s));
        }
    });
    ReloadTypeLoads();
    provods_.Load(connection_);
}

void TRep_Data::ReloadTypeLoads()
{
    typeLoads_.clear();
    GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(sql(FeedersSql::kTypeLoads));
        for (q->Open(); !q->Eof(); q->Next())
            typeLoads_.push_back(
                {q->Int(QStringLiteral("Ident")), q->Str(QStringLiteral("Name")), q->Float(QStringLiteral("CosFi"))});
    });
}

TRep_Data::Fider* TRep_Data::FindFider(int guid)
{
    for (Fider& fider : fiders_)
        if (fider.GUID == guid && fider.state != RowState::Deleted)
            return &fider;
    return nullptr;
}

TRep_Data::FiderA& TRep_Data::Attributes(int guid)
{
    for (FiderA& a : attributes_)
        if (a.GUID == guid)
            return a;
    FiderA a;
    a.GUID = guid;
    a.state = RowState::New;
    attributes_.push_back(a);
    return attributes_.back();
}

const TRep_Data::FiderA* TRep_Data::FindAttributes(int guid) const
{
    for (const FiderA& a : attributes_)
        if (a.GUID == guid)
            return &a;
    return nullptr;
}

QList<TRep_Data::Sample*> TRep_Data::SamplesOf(int guid)
{
    QList<Sample*> list;
    for (const auto& s : samples_)
        if (s->GUID == guid && s->state != RowState::Deleted)
            list << s.get();
    std::sort(list.begin(), list.end(), [](Sample* a, Sample* b) { return a->SampleDate < b->SampleDate; });
    return list;
}

TRep_Data::Sample* TRep_Data::FindSample(int guid, const QDate& date)
{
    for (const auto& s : samples_)
        if (s->GUID == guid && s->SampleDate == date && s->state != RowState::Deleted)
            return s.get();
    return nullptr;
}

TRep_Data::Sample& TRep_Data::AddSample(int guid, const QDate& date)
{
    // A deleted row of the same key is replaced by the new one.
    std::erase_if(samples_, [&](const auto& s) { return s->GUID == guid && s->SampleDate == date; });
    auto s = std::make_unique<Sample>();
    s->GUID = guid;
    s->SampleDate = date;
    s->state = RowState::New;
    samples_.push_back(std::move(s));
    return *samples_.back();
}

void TRep_Data::DeleteSample(Sample& sample)
{
    if (sample.state == RowState::New)
        std::erase_if(samples_, [&](const auto& s) { return s.get() == &sample; });
    else
        sample.state = RowState::Deleted;
}

void TRep_Data::DeleteFider(int guid)
{
    Fider* fider = FindFider(guid);
    if (!fider)
        return;
    fider->state = RowState::Deleted;
    deletedFiders_ << guid;
    for (const auto& s : samples_)
        if (s->GUID == guid)
            s->state = RowState::Deleted;
}

bool TRep_Data::Modified() const
{
    auto changed = [](RowState s) { return s != RowState::Stored; };
    return std::any_of(fiders_.begin(), fiders_.end(), [&](const Fider& x) { return changed(x.state); }) ||
           std::any_of(attributes_.begin(), attributes_.end(), [&](const FiderA& x) { return changed(x.state); }) ||
           std::any_of(samples_.begin(), samples_.end(), [&](const auto& x) { return changed(x->state); });
}

double TRep_Data::TmaxLookup(int typeLoad, double pmin)
{
    if (!tmaxQuery_) {
        tmaxQuery_ = connection_.NewQuery();
        tmaxQuery_->SetSQLText(sql(SharedSql::kTmaxLookup));
    }
    tmaxQuery_->ParamByName(QStringLiteral("Pmin"), pmin).ParamByName(QStringLiteral("LoadType"), typeLoad);
    tmaxQuery_->Open();
    const double t = tmaxQuery_->Eof() ? EmptyFloat() : tmaxQuery_->Float(QStringLiteral("MAX"));
    tmaxQuery_->Close();
    return t;
}

double TRep_Data::CosOfTypeLoad(int typeLoad)
{
    auto q = connection_.NewQuery();
    q->SetSQLText(sql(FeedersSql::kCosOfTypeLoad) + QString::number(typeLoad));
    q->Open();
    return q->Eof() ? EmptyFloat() : q->Float(QStringLiteral("CosFi"));
}

int TRep_Data::YearSampleIdent(int year)
{
    const QDateTime date1(QDate(year, 1, 1), QTime(0, 0));
    auto q = connection_.NewQuery();
    auto find = [&] {
        q->SetSQLText(sql(SharedSql::kFindYearSample));
        q->ParamByName(QStringLiteral("Date1"), date1);
        q->Open();
        return q->Eof() ? 0 : q->Int(QStringLiteral("Ident"));
    };
    int ident = find();
    if (ident == 0) {
        q->SetSQLText(sql(SharedSql::kInsertYearSample));
        q->ParamByName(QStringLiteral("Name"), QStringLiteral("%1г.").arg(year));
        q->ParamByName(QStringLiteral("Date1"), date1);
        q->ParamByName(QStringLiteral("Date2"), QDateTime(QDate(year + 1, 1, 1), QTime(0, 0)));
        try {
            q->ExecSQL();
        } catch (const EDatabaseError& e) {
            // Another user made the year's interval meanwhile: that one serves.
            if (e.Kind() != host::TEngineErrorKind::UniqueKey)
                throw;
        }
        ident = find();
    }
    return ident;
}

int TRep_Data::YearSampleCount(int guid)
{
    auto q = connection_.NewQuery();
    q->SetSQLText(sql(FeedersSql::kYearSamples));
    q->ParamByName(QStringLiteral("OGUID"), guid);
    int count = 0;
    for (q->Open(); !q->Eof(); q->Next())
        ++count;
    return count;
}

std::vector<TRep_Data::YearSample> TRep_Data::YearSamples(int guid)
{
    return GuardedRead(connection_, [&] {
        std::vector<YearSample> rows;
        auto q = connection_.NewQuery();
        q->SetSQLText(sql(FeedersSql::kYearSamplesOfFeeder));
        q->ParamByName(QStringLiteral("GUID"), guid);
        for (q->Open(); !q->Eof(); q->Next())
            rows.push_back({q->Str(QStringLiteral("Name")), q->Value(QStringLiteral("SampleDate1")).toDate(),
                            q->Float(QStringLiteral("Wa")), q->Float(QStringLiteral("T")),
                            q->Float(QStringLiteral("Tau")), q->Float(QStringLiteral("Kzap")),
                            q->Float(QStringLiteral("Tmax")), q->Float(QStringLiteral("Kdp"))});
        return rows;
    });
}

TRep_Data::Substation TRep_Data::ReadSubstation()
{
    return GuardedRead(connection_, [&] {
        Substation node;
        node.Snom = EmptyFloat();
        auto q = connection_.NewQuery();
        q->SetSQLText(sql(FeedersSql::kSubstationOfReport));
        q->ParamByName(QStringLiteral("GUID"), node_);
        q->Open();
        if (q->Eof())
            return node;
        node.Found = true;
        node.Name = q->Str(QStringLiteral("Name"));
        node.Info = q->Str(QStringLiteral("Info"));
        node.Transformer = q->Str(QStringLiteral("TypeTR"));
        node.Snom = q->Float(QStringLiteral("Snom"));
        return node;
    });
}

void TRep_Data::SaveYearMirror(int guid, int year, const Sample* main, double cosFi)
{
    const int ident = YearSampleIdent(year);
    auto q = connection_.NewQuery();
    if (main) {
        q->SetSQLText(sql(FeedersSql::kSaveYearSample));
        q->ParamByName(QStringLiteral("SampleIdent"), ident).ParamByName(QStringLiteral("GUID"), guid);
        const char* phases[] = {"A", "B", "C"};
        for (int p = 0; p < 3; ++p) {
            q->ParamByName(QStringLiteral("U") + QLatin1String(phases[p]), f(main->U[p]));
            q->ParamByName(QStringLiteral("I") + QLatin1String(phases[p]), f(main->I[p]));
            q->ParamByName(QStringLiteral("U2") + QLatin1String(phases[p]), f(main->U2[p]));
        }
        q->ParamByName(QStringLiteral("CosFi"), f(cosFi)).ParamByName(QStringLiteral("Wa"), f(main->Wa));
    } else {
        q->SetSQLText(sql(FeedersSql::kDeleteYearSample));
        q->ParamByName(QStringLiteral("SampleIdent"), ident).ParamByName(QStringLiteral("GUID"), guid);
    }
    q->ExecSQL();
}

void TRep_Data::Save()
{
    auto q = connection_.NewQuery();
    for (int guid : deletedFiders_) {
        for (const char* text : {FeedersSql::kDeleteFiderYearSamples, FeedersSql::kDeleteFiderSamples,
                                 FeedersSql::kDeleteFiderA, FeedersSql::kDeleteFider}) {
            q->SetSQLText(sql(text));
            q->ParamByName(QStringLiteral("GUID"), guid);
            q->ExecSQL();
        }
    }
    for (Fider& fider : fiders_) {
        if (fider.state == RowState::New || fider.state == RowState::Changed) {
            q->SetSQLText(sql(fider.state == RowState::New ? FeedersSql::kInsertFider : FeedersSql::kUpdateFider));
            q->ParamByName(QStringLiteral("GUID"), fider.GUID).ParamByName(QStringLiteral("Name"), fider.Name);
            if (fider.state == RowState::New)
                q->ParamByName(QStringLiteral("Owner"), fider.OwnerGUID);
            q->ParamByName(QStringLiteral("TypeLoad"), fider.TypeLoad).ParamFloat(QStringLiteral("Unom"), fider.Unom);
            q->ExecSQL();
        }
    }
    // The years whose mirror rows may change: those of the samples written, and those of the main samples
    // of feeders whose power factor may have changed.
    QList<std::pair<int, int>> years;
    auto touch = [&years](int guid, const QDate& date) {
        const std::pair<int, int> key{guid, date.year()};
        if (!years.contains(key))
            years << key;
    };
    for (FiderA& a : attributes_) {
        if (a.state == RowState::Stored || !FindFider(a.GUID))
            continue;
        for (const auto& s : samples_)
            if (s->GUID == a.GUID && s->IsMain == 1 && s->state != RowState::Deleted)
                touch(s->GUID, s->SampleDate);
        q->SetSQLText(sql(FeedersSql::kSaveFiderA));
        q->ParamByName(QStringLiteral("GUID"), a.GUID).ParamFloat(QStringLiteral("CosFi"), a.CosFi);
        q->ParamByName(QStringLiteral("ProvodPhase"), a.ProvodPhase ? QVariant(a.ProvodPhase) : QVariant());
        q->ParamByName(QStringLiteral("ProvodNull"), a.ProvodNull ? QVariant(a.ProvodNull) : QVariant());
        q->ParamFloat(QStringLiteral("LineLength"), a.LineLength);
        q->ParamByName(QStringLiteral("ConsumerName"), a.ConsumerName);
        q->ParamByName(QStringLiteral("SwitchGName"), a.SwitchGName);
        q->ExecSQL();
    }
    // Samples that are not main go first: a feeder has at most one main sample at any moment (a unique key), so
    // the former main one is written before the new one.
    std::vector<const Sample*> order;
    for (const auto& s : samples_)
        if (s->IsMain != 1)
            order.push_back(s.get());
    for (const auto& s : samples_)
        if (s->IsMain == 1)
            order.push_back(s.get());
    for (const Sample* s : order) {
        if (s->state == RowState::Stored || (s->state == RowState::Deleted && !FindFider(s->GUID)))
            continue;
        if (s->state == RowState::Deleted) {
            q->SetSQLText(sql(FeedersSql::kDeleteSample));
            q->ParamByName(QStringLiteral("GUID"), s->GUID).ParamByName(QStringLiteral("SampleDate"), s->SampleDate);
        } else {
            q->SetSQLText(sql(FeedersSql::kSaveSample));
            q->ParamByName(QStringLiteral("GUID"), s->GUID).ParamByName(QStringLiteral("SampleDate"), s->SampleDate);
            q->ParamByName(QStringLiteral("IsMain"), s->IsMain);
            const char* phases[] = {"A", "B", "C"};
            for (int p = 0; p < 3; ++p) {
                q->ParamFloat(QStringLiteral("U") + QLatin1String(phases[p]), s->U[p]);
                q->ParamFloat(QStringLiteral("U2") + QLatin1String(phases[p]), s->U2[p]);
                q->ParamFloat(QStringLiteral("I") + QLatin1String(phases[p]), s->I[p]);
            }
            q->ParamByName(QStringLiteral("Tmax"), isEmptyFloat(s->Tmax) ? QVariant() : QVariant(qRound(s->Tmax)));
            q->ParamFloat(QStringLiteral("Krazv"), s->Krazv).ParamFloat(QStringLiteral("Knm"), s->Knm);
            q->ParamFloat(QStringLiteral("P"), s->P).ParamFloat(QStringLiteral("Wa"), s->Wa);
            q->ParamFloat(QStringLiteral("dP"), s->DP).ParamFloat(QStringLiteral("dW"), s->DW);
        }
        q->ExecSQL();
        touch(s->GUID, s->SampleDate);
    }
    // The mirrors follow the samples as they are once every row is written, so that a former main sample
    // written after the new one of the same year cannot take the new one's mirror away.
    for (const auto& [guid, year] : years) {
        const Sample* main = nullptr;
        for (const auto& s : samples_)
            if (s->GUID == guid && s->SampleDate.year() == year && s->state != RowState::Deleted && s->IsMain == 1 &&
                (!main || main->SampleDate < s->SampleDate))
                main = s.get();
        SaveYearMirror(guid, year, main, Attributes(guid).CosFi);
    }
    // Everything written is now as stored.
    std::erase_if(fiders_, [](const Fider& x) { return x.state == RowState::Deleted; });
    std::erase_if(samples_, [](const auto& x) { return x->state == RowState::Deleted; });
    for (Fider& x : fiders_)
        x.state = RowState::Stored;
    for (FiderA& x : attributes_)
        x.state = RowState::Stored;
    for (const auto& x : samples_)
        x->state = RowState::Stored;
    deletedFiders_.clear();
}

void TRep_Data::Cancel() { OpenFiders(node_); }
