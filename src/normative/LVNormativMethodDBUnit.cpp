#include "normative/LVNormativMethodDBUnit.h"

#include <QDateTime>
#include <cmath>

#include "db/SharedSql.h"
#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "normative/AverageCrossSection.h"
#include "normative/NormativeSql.h"

namespace {
using S = TLVNormativSample0;
// In the model a missing value is -1.
double orMissing(double v) { return isEmptyFloat(v) ? -1 : v; }
// Negative model values are stored as NULL.
QVariant stored(double v) { return v < 0 || !std::isfinite(v) ? QVariant() : QVariant(v); }
}  // namespace

TLVNormativeStore::TLVNormativeStore(ToznFDConnection& connection) : connection_(connection) {}

TLVNormativeStore::~TLVNormativeStore() = default;

TFDQuery& TLVNormativeStore::Prepared(std::unique_ptr<TFDQuery>& query, const char* sql)
{
    if (!query) {
        query = connection_.NewQuery();
        query->SetSQLText(QString::fromUtf8(sql));
    }
    return *query;
}

TLVNormativeStore::Scheme TLVNormativeStore::ReadScheme(const TFDQuery& q)
{
    Scheme s{};
    s.cosFi = q.Float(QStringLiteral("CosFi"));
    s.unom = q.Float(QStringLiteral("Unom"));
    s.f = q.Float(QStringLiteral("F"));
    s.nLines = q.Float(QStringLiteral("NLines"));
    s.dp = q.Float(QStringLiteral("dp"));
    s.kzap = q.Float(QStringLiteral("kzap"));
    s.dn = q.Float(QStringLiteral("dn"));
    for (int l = 0; l < S::LengthCount; ++l)
        s.lengths[l] = q.Float(QString::fromLatin1(S::LengthNames[l]));
    return s;
}

TLVNormativeStore::Scheme TLVNormativeStore::SchemeOf(const S& sample)
{
    auto value = [](double v) { return v < 0 ? EmptyFloat() : v; };
    Scheme s{};
    s.cosFi = value(sample.GetCosFi());
    s.unom = sample.GetUnom();
    s.f = value(sample.GetF());
    s.nLines = sample.GetNLines() > 0 ? sample.GetNLines() : EmptyFloat();
    s.dp = value(sample.Getdp());
    s.kzap = value(sample.Getkzap());
    s.dn = value(sample.Getdn());
    for (int l = 0; l < S::LengthCount; ++l)
        s.lengths[l] = value(sample.GetLength(static_cast<S::Length>(l)));
    return s;
}

void TLVNormativeStore::Apply(S& sample, int info, const Scheme& scheme, const Stored* row)
{
    sample.Clear();
    sample.Info = info;
    if (row) {
        sample.SetWa(orMissing(row->wa));
        sample.SetWa_bus(orMissing(row->waBus));
        if (!isEmptyFloat(row->t))
            sample.SetT(static_cast<int>(row->t));
    }
    sample.SetUnom(isEmptyFloat(scheme.unom) ? 0 : static_cast<int>(scheme.unom));
    sample.SetCosFi(orMissing(scheme.cosFi));
    sample.SetF(orMissing(scheme.f));
    sample.SetNLines(isEmptyFloat(scheme.nLines) ? -1 : static_cast<int>(scheme.nLines));
    sample.Setdp(orMissing(scheme.dp));
    sample.Setdn(orMissing(scheme.dn));
    sample.Setkzap(orMissing(scheme.kzap));
    for (int l = 0; l < S::LengthCount; ++l)
        sample.SetLength(static_cast<S::Length>(l), orMissing(scheme.lengths[l]));
    loaded_ = &sample;
    loadedScheme_ = SchemeOf(sample);
}

bool TLVNormativeStore::Load(S& sample, int guid, const TSamplePeriodInfo& period)
{
    sample.Period = period;
    loadedOwn_ = false;
    if (preloaded_ != 0 && preloaded_ == period.Ident)
        return LoadFromMemory(sample, guid);
    return GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(QString::fromUtf8(NormativeSql::kStoredElement));
        q->ParamByName(QStringLiteral("GUID"), guid).ParamByName(QStringLiteral("SampleIdent"), period.Ident);
        q->Open();
        if (!q->Eof()) {
            const Stored row{q->Int(QStringLiteral("Info")), q->Float(QStringLiteral("Wa")),
                             q->Float(QStringLiteral("Wa_bus")), q->Float(QStringLiteral("T"))};
            Apply(sample, row.info, ReadScheme(*q), &row);
            loadedOwn_ = true;
            return true;
        }
        q->SetSQLText(QString::fromUtf8(NormativeSql::kNearestScheme));
        q->ParamByName(QStringLiteral("GUID"), guid).ParamByName(QStringLiteral("sd1"), period.SampleDate1);
        q->Open();
        const int info = q->Eof() ? 0 : q->Int(QStringLiteral("Info"));
        if (info != 0) {
            q->SetSQLText(QString::fromUtf8(NormativeSql::kScheme));
            q->ParamByName(QStringLiteral("Info"), info);
            q->Open();
            if (!q->Eof()) {
                Apply(sample, info, ReadScheme(*q), nullptr);
                return true;
            }
        }
        sample.Clear();
        return false;
    });
}

void TLVNormativeStore::Preload(const TSamplePeriodInfo& period)
{
    stored_.clear();
    nearest_.clear();
    schemes_.clear();
    GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(QString::fromUtf8(NormativeSql::kStoredPeriod));
        q->ParamByName(QStringLiteral("SampleIdent"), period.Ident);
        for (q->Open(); !q->Eof(); q->Next())
            stored_.insert(q->Int(QStringLiteral("GUID")),
                           {{q->Int(QStringLiteral("Info")), q->Float(QStringLiteral("Wa")),
                             q->Float(QStringLiteral("Wa_bus")), q->Float(QStringLiteral("T"))},
                            ReadScheme(*q)});
        // The nearest other period of each element, by the same rule as a single load.
        struct Candidate {
            QDateTime start, end;
            int info = 0;
        };
        QHash<int, Candidate> before, after;
        const QDateTime sd1 = period.SampleDate1;
        q->SetSQLText(QString::fromUtf8(NormativeSql::kOtherPeriods));
        q->ParamByName(QStringLiteral("SampleIdent"), period.Ident);
        for (q->Open(); !q->Eof(); q->Next()) {
            const int guid = q->Int(QStringLiteral("GUID"));
            const Candidate c{q->Value(QStringLiteral("SampleDate1")).toDateTime(),
                              q->Value(QStringLiteral("SampleDate2")).toDateTime(), q->Int(QStringLiteral("Info"))};
            if (c.start <= sd1) {
                auto it = before.find(guid);
                if (it == before.end() || c.start > it->start || (c.start == it->start && c.end > it->end))
                    before.insert(guid, c);
            }
            if (c.start >= sd1) {
                auto it = after.find(guid);
                if (it == after.end() || c.start < it->start || (c.start == it->start && c.end < it->end))
                    after.insert(guid, c);
            }
        }
        for (auto it = after.cbegin(); it != after.cend(); ++it)
            nearest_.insert(it.key(), it->info);
        for (auto it = before.cbegin(); it != before.cend(); ++it)
            nearest_.insert(it.key(), it->info);  // an earlier period wins over a later one
        // The schemes of other periods are read only when some element needs one.
        for (auto it = nearest_.cbegin(); it != nearest_.cend(); ++it)
            if (!stored_.contains(it.key())) {
                q->SetSQLText(QString::fromUtf8(NormativeSql::kAllSchemes));
                for (q->Open(); !q->Eof(); q->Next())
                    schemes_.insert(q->Int(QStringLiteral("Ident")), ReadScheme(*q));
                break;
            }
    });
    preloaded_ = period.Ident;
}

bool TLVNormativeStore::LoadFromMemory(S& sample, int guid)
{
    if (auto stored = stored_.constFind(guid); stored != stored_.cend()) {
        Apply(sample, stored->row.info, stored->scheme, &stored->row);
        loadedOwn_ = true;
        return true;
    }
    if (auto info = nearest_.constFind(guid); info != nearest_.cend()) {
        if (auto scheme = schemes_.constFind(*info); scheme != schemes_.cend()) {
            Apply(sample, *info, *scheme, nullptr);
            return true;
        }
    }
    sample.Clear();
    return false;
}

bool TLVNormativeStore::SameScheme(const Scheme& a, const Scheme& b)
{
    auto same = [](double x, double y) { return (isEmptyFloat(x) && isEmptyFloat(y)) || x == y; };
    if (!same(a.cosFi, b.cosFi) || !same(a.unom, b.unom) || !same(a.f, b.f) || !same(a.nLines, b.nLines) ||
        !same(a.dp, b.dp) || !same(a.kzap, b.kzap) || !same(a.dn, b.dn))
        return false;
    for (int l = 0; l < S::LengthCount; ++l)
        if (!same(a.lengths[l], b.lengths[l]))
            return false;
    return true;
}

bool TLVNormativeStore::SavesInputs(const S& sample) const
{
    // The energies and hours are the result row's own; only a changed scheme is written.
    const bool edited = loaded_ != &sample || !SameScheme(SchemeOf(sample), loadedScheme_);
    return sample.Info == 0 || edited;
}

void TLVNormativeStore::Save(S& sample, int sampleIdent, bool withResults)
{
    if (SavesInputs(sample)) {
        sample.Info = OwnSchemeKey(connection_, sample.Info, sampleIdent, sample.Ident);
        TFDQuery* q = &Prepared(saveScheme_, NormativeSql::kSaveScheme);
        q->ParamByName(QStringLiteral("Ident"), sample.Info);
        q->ParamByName(QStringLiteral("CosFi"), stored(sample.GetCosFi()));
        q->ParamByName(QStringLiteral("Unom"), sample.GetUnom());
        q->ParamByName(QStringLiteral("F"), stored(sample.GetF()));
        q->ParamByName(QStringLiteral("NLines"), sample.GetNLines() > 0 ? QVariant(sample.GetNLines()) : QVariant());
        q->ParamByName(QStringLiteral("dp"), stored(sample.Getdp()));
        q->ParamByName(QStringLiteral("kzap"), stored(sample.Getkzap()));
        q->ParamByName(QStringLiteral("dn"), stored(sample.Getdn()));
        for (int l = 0; l < S::LengthCount; ++l)
            q->ParamByName(QString::fromLatin1(S::LengthNames[l]), stored(sample.GetLength(static_cast<S::Length>(l))));
        q->ExecSQL();
        if (preloaded_ != 0)  // memory keeps matching the database
            schemes_.insert(sample.Info, SchemeOf(sample));
    }
    TFDQuery* q = &Prepared(saveResult_, SharedSql::kSaveLVWResultsB);
    q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent);
    q->ParamByName(QStringLiteral("GUID"), sample.Ident);
    q->ParamByName(QStringLiteral("Wa"), stored(sample.GetWa()));
    q->ParamByName(QStringLiteral("Wa_bus"), stored(sample.GetWa_bus()));
    q->ParamByName(QStringLiteral("T"), sample.GetT() > 0 ? QVariant(sample.GetT()) : QVariant());
    q->ParamByName(QStringLiteral("Info"), sample.Info);
    q->ParamByName(QStringLiteral("Lekv"), withResults ? stored(sample.Lekv()) : QVariant());
    q->ParamByName(QStringLiteral("ku"), withResults ? stored(sample.ku()) : QVariant());
    q->ParamByName(QStringLiteral("k038"), withResults ? stored(sample.k038()) : QVariant());
    q->ParamByName(QStringLiteral("deltaWa"), withResults ? stored(sample.deltaWa()) : QVariant());
    q->ExecSQL();
    loaded_ = &sample;
    loadedScheme_ = SchemeOf(sample);
}

void TLVNormativeStore::Delete(int guid, int sampleIdent)
{
    auto q = connection_.NewQuery();
    q->SetSQLText(QString::fromUtf8(SharedSql::kDeleteLVWResultsB));
    q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent).ParamByName(QStringLiteral("GUID"), guid);
    q->ExecSQL();
    stored_.remove(guid);
}

void TLVNormativeStore::DeleteWithInputs(int guid, int sampleIdent)
{
    auto q = connection_.NewQuery();
    q->SetSQLText(QString::fromUtf8(NormativeSql::kResultScheme));
    q->ParamByName(QStringLiteral("GUID"), guid).ParamByName(QStringLiteral("SampleIdent"), sampleIdent);
    q->Open();
    const int info = q->Eof() ? 0 : q->Int(QStringLiteral("Info"));
    q->Close();
    Delete(guid, sampleIdent);
    if (info == 0)
        return;
    q->SetSQLText(QString::fromUtf8(NormativeSql::kSchemeInUse));
    q->ParamByName(QStringLiteral("Info"), info);
    q->Open();
    const bool inUse = !q->Eof();
    q->Close();
    if (inUse)
        return;  // another period's result was calculated from it
    for (const char* sql : {NormativeSql::kDeleteSections, NormativeSql::kDeleteScheme}) {
        q->SetSQLText(QString::fromUtf8(sql));
        q->ParamByName(QStringLiteral("Info"), info);
        q->ExecSQL();
    }
    schemes_.remove(info);
}

int TLVNormativeStore::OwnSchemeKey(ToznFDConnection& connection, int info, int sampleIdent, int guid)
{
    auto q = connection.NewQuery();
    if (info != 0) {
        q->SetSQLText(QString::fromUtf8(NormativeSql::kSchemeSharedElsewhere));
        q->ParamByName(QStringLiteral("Info"), info);
        q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent).ParamByName(QStringLiteral("GUID"), guid);
        q->Open();
        const bool shared = !q->Eof();
        q->Close();
        if (!shared)
            return info;
    }
    q->SetSQLText(QString::fromUtf8(SharedSql::kNextLVFidersBIdent));
    q->Open();
    const int key = q->Value(0).toInt();
    q->Close();
    if (info != 0)
        for (const char* copy : {NormativeSql::kCopyScheme, NormativeSql::kCopySections}) {
            q->SetSQLText(QString::fromUtf8(copy));
            q->ParamByName(QStringLiteral("NewInfo"), key).ParamByName(QStringLiteral("Info"), info);
            q->ExecSQL();
        }
    return key;
}

void TLVNormativeStore::LoadSections(int info, TAverageCrossSectionCommon& sections)
{
    sections.Clear();
    GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(QString::fromUtf8(NormativeSql::kSections));
        q->ParamByName(QStringLiteral("Info"), info);
        for (q->Open(); !q->Eof(); q->Next()) {
            const int idx = q->Int(QStringLiteral("Idx"), -1);
            if (idx >= 0 && idx < TAverageCrossSectionCommon::RowCount)
                sections.SetItem(idx, {q->Int(QStringLiteral("LenVL")), q->Int(QStringLiteral("LenKL"))});
        }
    });
    sections.SetModified(false);
}

void TLVNormativeStore::SaveSections(int info, const TAverageCrossSectionCommon& sections)
{
    auto q = connection_.NewQuery();
    q->SetSQLText(QString::fromUtf8(NormativeSql::kDeleteSections));
    q->ParamByName(QStringLiteral("Info"), info);
    q->ExecSQL();
    q->SetSQLText(QString::fromUtf8(NormativeSql::kInsertSection));
    for (int i = 0; i < TAverageCrossSectionCommon::RowCount; ++i) {
        const auto row = sections.GetItem(i);
        if (row.VL == 0 && row.KL == 0)
            continue;
        q->ParamByName(QStringLiteral("Info"), info).ParamByName(QStringLiteral("Idx"), i);
        q->ParamByName(QStringLiteral("LenVL"), row.VL).ParamByName(QStringLiteral("LenKL"), row.KL);
        q->ExecSQL();
    }
}
