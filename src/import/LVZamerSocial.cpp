#include "import/LVZamerSocial.h"

#include <QHash>
#include <QMap>
#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "host/Tree.h"
#include "import/ImportSql.h"
#include "import/ZamerSheets.h"
#include "normative/ElementEnergies.h"
#include "normative/LVNormativMethodDBUnit.h"
#include "normative/LVNormativUnit.h"

using S = TLVNormativSample0;

namespace {
double toModel(double v) { return isEmptyFloat(v) ? -1 : v; }
double fromModel(double v) { return v < 0 ? EmptyFloat() : v; }
// Inside the database a value below zero may stand for "not given", as inside the model: the record keeps it
// empty, so that the workbook shows an empty cell and reads it back as the same value.
double given(double v) { return !isEmptyFloat(v) && v < 0 ? EmptyFloat() : v; }
}  // namespace

TDataAnaliz::TDataAnaliz() { Clear(); }

void TDataAnaliz::Clear()
{
    Wa = Wa_bus = CosFi = F = NLines = dp = kzap = dn = EmptyFloat();
    LekvValue = kuValue = k038Value = deltaWa = EmptyFloat();
    Lengths.fill(EmptyFloat());
    T = -1;
    Info = 0;
    Stored = false;
    Unom = 0;
    Flags = 0;
}

TLVNormativSample0 TDataAnaliz::Model() const
{
    S s;
    ToSample(s);
    return s;
}

void TDataAnaliz::ToSample(S& s) const
{
    s.SetWa(toModel(Wa));
    s.SetWa_bus(toModel(Wa_bus));
    s.SetT(T);
    s.SetUnom(Unom);
    s.SetCosFi(toModel(CosFi));
    s.SetF(toModel(F));
    s.SetNLines(isEmptyFloat(NLines) ? -1 : static_cast<int>(std::lround(NLines)));
    s.Setdp(toModel(dp));
    s.Setdn(toModel(dn));
    s.Setkzap(toModel(kzap));
    for (int i = 0; i < LengthCount; ++i)
        s.SetLength(static_cast<S::Length>(i), toModel(Lengths[i]));
}

double TDataAnaliz::Lekv() const
{
    S s;
    ToSample(s);
    return fromModel(s.Lekv());
}

double TDataAnaliz::ku() const { return Unom == 1 ? 3.0 : 1.0; }

double TDataAnaliz::k038() const
{
    S s;
    ToSample(s);
    return fromModel(s.k038());
}

double TDataAnaliz::dWa() const
{
    S s;
    ToSample(s);
    return fromModel(s.deltaWa());
}

void TDataAnaliz::Calculate()
{
    LekvValue = Lekv();
    kuValue = ku();
    k038Value = k038();
    deltaWa = dWa();
    Flags = 0;
    if (!isEmptyFloat(deltaWa))
        Flags |= HasLoss;
    const double net = AC_DifferenceFloat(Wa, Wa_bus);
    if (!isEmptyFloat(net) && net < 0)
        Flags |= HasLoss | SupplyBelowBusbars;
}

TDataAnaliz::Statements::Statements(ToznFDConnection& connection)
    : record(connection.NewQuery()), nearest(connection.NewQuery()), scheme(connection.NewQuery())
{
    record->SetSQLText(QString::fromUtf8(ImportSql::kSocialRecord));
    nearest->SetSQLText(QString::fromUtf8(ImportSql::kSocialNearestScheme));
    scheme->SetSQLText(QString::fromUtf8(ImportSql::kSocialScheme));
}

TDataAnaliz::Statements::~Statements() = default;

bool TDataAnaliz::ReadRecord(ToznFDConnection& connection, int guid, const TSamplePeriodInfo& period)
{
    return GuardedRead(connection, [&] {
        Statements statements(connection);
        return ReadRecord(statements, guid, period);
    });
}

bool TDataAnaliz::ReadRecord(Statements& statements, int guid, const TSamplePeriodInfo& period)
{
    Clear();
    TFDQuery* q = statements.record.get();
    q->ParamByName(QStringLiteral("GUID"), guid).ParamByName(QStringLiteral("SampleIdent"), period.Ident);
    q->Open();
    if (q->Eof()) {
        TFDQuery& nearest = *statements.nearest;
        nearest.ParamByName(QStringLiteral("GUID"), guid).ParamByName(QStringLiteral("sd1"), period.SampleDate1);
        nearest.Open();
        if (nearest.Eof())
            return false;
        q = statements.scheme.get();
        q->ParamByName(QStringLiteral("Info"), nearest.Int(QStringLiteral("Info")));
        q->Open();
        if (q->Eof())
            return false;
    }
    Stored = q == statements.record.get();
    Info = q->Int(QStringLiteral("Info"));
    Wa = given(q->Float(QStringLiteral("Wa")));
    Wa_bus = given(q->Float(QStringLiteral("Wa_bus")));
    T = std::max(q->Int(QStringLiteral("T"), -1), -1);
    LekvValue = q->Float(QStringLiteral("Lekv"));
    kuValue = q->Float(QStringLiteral("ku"));
    k038Value = q->Float(QStringLiteral("k038"));
    deltaWa = q->Float(QStringLiteral("deltaWa"));
    CosFi = given(q->Float(QStringLiteral("CosFi")));
    const double unom = q->Float(QStringLiteral("Unom"));
    Unom = !isEmptyFloat(unom) && std::lround(unom) == 1 ? 1 : 0;
    F = given(q->Float(QStringLiteral("F")));
    NLines = given(q->Float(QStringLiteral("NLines")));
    dp = given(q->Float(QStringLiteral("dp")));
    kzap = given(q->Float(QStringLiteral("kzap")));
    dn = given(q->Float(QStringLiteral("dn")));
    for (int i = 0; i < LengthCount; ++i)
        Lengths[i] = given(q->Float(QString::fromLatin1(S::LengthNames[i])));
    return true;
}

void TDataAnaliz::SaveRecord(ToznFDConnection& connection, int guid, int sampleIdent)
{
    Calculate();
    auto q = connection.NewQuery();
    auto bindScheme = [&] {
        q->ParamByName(QStringLiteral("Ident"), Info).ParamFloat(QStringLiteral("CosFi"), CosFi);
        q->ParamByName(QStringLiteral("Unom"), Unom).ParamFloat(QStringLiteral("F"), F);
        q->ParamByName(QStringLiteral("NLines"), isEmptyFloat(NLines) ? QVariant() : QVariant(qRound(NLines)));
        q->ParamFloat(QStringLiteral("dp"), dp)
            .ParamFloat(QStringLiteral("kzap"), kzap)
            .ParamFloat(QStringLiteral("dn"), dn);
        for (int i = 0; i < LengthCount; ++i)
            q->ParamFloat(QString::fromLatin1(S::LengthNames[i]), Lengths[i]);
    };
    bool unchanged = false;
    if (Info != 0) {
        q->SetSQLText(ImportSql::SocialSchemeUnchanged());
        bindScheme();
        q->Open();
        unchanged = q->Value(0).toInt() > 0;
        q->Close();
    }
    if (!unchanged) {
        // A scheme that other intervals' results refer to is copied, not changed under them.
        Info = TLVNormativeStore::OwnSchemeKey(connection, Info, sampleIdent, guid);
        q->SetSQLText(QString::fromUtf8(ImportSql::kSocialSaveScheme));
        bindScheme();
        q->ExecSQL();
    }
    q->SetSQLText(QString::fromUtf8(ImportSql::kSocialSaveResult));
    q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent).ParamByName(QStringLiteral("GUID"), guid);
    q->ParamFloat(QStringLiteral("Wa"), Wa).ParamFloat(QStringLiteral("Wa_bus"), Wa_bus);
    q->ParamByName(QStringLiteral("T"), T < 0 ? QVariant() : QVariant(T)).ParamByName(QStringLiteral("Info"), Info);
    q->ParamFloat(QStringLiteral("Lekv"), LekvValue).ParamFloat(QStringLiteral("ku"), kuValue);
    q->ParamFloat(QStringLiteral("k038"), k038Value).ParamFloat(QStringLiteral("deltaWa"), deltaWa);
    q->ExecSQL();
}

void TDataAnaliz::DeleteRecord(ToznFDConnection& connection, int guid, int sampleIdent)
{
    auto q = connection.NewQuery();
    q->SetSQLText(QString::fromUtf8(ImportSql::kSocialDelete));
    q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent).ParamByName(QStringLiteral("GUID"), guid);
    q->ExecSQL();
}

TNodeSocial::~TNodeSocial() = default;

TNodeSocial& TNodeSocial::GetItem(int index) const
{
    if (index < 0 || index >= Count())
        throw std::out_of_range("Не верный индекс");
    return *children_[index];
}

TNodeSocial& TNodeSocial::Add(int guid, const QString& name)
{
    children_.push_back(std::make_unique<TNodeSocial>(guid, name));
    return *children_.back();
}

QStringList TNodeSocialHigh::LevelNames()
{
    return {QStringLiteral("AO энерго"), QStringLiteral("ПЭС"), QStringLiteral("РЭС"),         QStringLiteral("ЦП"),
            QStringLiteral("Фидер"),     QStringLiteral("ТП"),  QStringLiteral("Линии 0.4 кв")};
}

void TNodeSocialHigh::Open(ToznFDConnection& connection, int startGuid, int level, const TSamplePeriodInfo& period)
{
    if (level < 0 || level > 6)
        throw std::invalid_argument("Error ALevelSelect/ALevelData");
    ClearChildren();
    GUID = startGuid;
    level_ = level;
    period_ = period;
    const char* const prefixes[7] = {"e", "p", "r", "c", "f", "nod", "lf"};
    host::Progress& progress = host::progress();
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(ImportSql::SocialRowsCount(level));
        q->ParamByName(QStringLiteral("GUIG"), startGuid);
        q->Open();
        progress.Start(QStringLiteral("Чтение из БД"), q->Eof() ? 0 : q->Value(0).toInt());
        q->SetSQLText(ImportSql::SocialRows(level));
        q->ParamByName(QStringLiteral("GUIG"), startGuid);
        const QString prefix = QString::fromLatin1(prefixes[level]);
        for (q->Open(); !q->Eof(); q->Next()) {
            Add(q->Int(prefix + QStringLiteral("GUID")), q->Str(prefix + QStringLiteral("Name")));
            progress.Step();
        }
    });
    progress.Finish();
    ReadData(connection);
}

void TNodeSocialHigh::ReadData(ToznFDConnection& connection)
{
    GuardedRead(connection, [&] {
        TDataAnaliz::Statements statements(connection);
        for (int i = 0; i < Count(); ++i) {
            TNodeSocial& n = GetItem(i);
            n.Data.ReadRecord(statements, n.GUID, period_);
            n.Edited = false;
            n.Base.reset();
        }
    });
}

void TNodeSocialHigh::ChangePeriod(ToznFDConnection& connection, const TSamplePeriodInfo& period)
{
    const bool exists = GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QStringLiteral("select 1 from \"SamplesDates\" where \"Ident\"=:Ident"));
        q->ParamByName(QStringLiteral("Ident"), period.Ident);
        q->Open();
        return !q->Eof();
    });
    if (!exists)
        throw std::runtime_error("Не найден SampleIdent");
    period_ = period;
    ReadData(connection);
}

QStringList TNodeSocialHigh::FillEnergies(ToznFDConnection& connection, const TfdbTree& tree)
{
    const int hours = static_cast<int>(std::lround(period_.SampleDate1.secsTo(period_.SampleDate2) / 3600.0));
    QMap<QString, int> sources;
    GuardedRead(connection, [&] {
        for (int i = 0; i < Count(); ++i) {
            TNodeSocial& n = GetItem(i);
            ToznListItemCommon* element = tree.Find(n.GUID);
            const TElementEnergies energies = element ? ReadEnergiesOfElement(connection, element, period_)
                                                      : ReadElementEnergies(connection, level_, n.GUID, period_);
            if (energies.isEmpty())
                continue;
            if (!n.Edited)
                n.Base = n.Data;
            n.Data.Wa = energies.Wa;
            n.Data.Wa_bus = energies.Wa_bus;
            if (n.Data.T < 0)
                n.Data.T = hours;
            n.Data.Calculate();
            n.Edited = true;
            if (!isEmptyFloat(energies.Wa))
                ++sources[QStringLiteral("Трансформация в сеть: ") + energies.WaSource];
            if (!isEmptyFloat(energies.Wa_bus))
                ++sources[QStringLiteral("Полезный отпуск с шин: ") + energies.BusSource];
        }
    });
    QStringList told;
    for (auto it = sources.cbegin(); it != sources.cend(); ++it)
        told << QStringLiteral("%1: %2").arg(it.key()).arg(it.value());
    return told;
}

int TNodeSocialHigh::Pending() const
{
    int pending = 0;
    for (int i = 0; i < Count(); ++i)
        pending += GetItem(i).Edited ? 1 : 0;
    return pending;
}

std::vector<std::pair<TNodeSocial*, TDataAnaliz>> TNodeSocialHigh::ConflictRows(ToznFDConnection& connection) const
{
    std::vector<std::pair<TNodeSocial*, TDataAnaliz>> conflicts;
    GuardedRead(connection, [&] {
        std::unique_ptr<TDataAnaliz::Statements> statements;
        for (int i = 0; i < Count(); ++i) {
            TNodeSocial& n = GetItem(i);
            if (!n.Edited || !n.Base)
                continue;
            if (!statements)
                statements = std::make_unique<TDataAnaliz::Statements>(connection);
            TDataAnaliz now;
            now.ReadRecord(*statements, n.GUID, period_);
            if (!Differences(*n.Base, now).isEmpty())
                conflicts.emplace_back(&n, now);
        }
    });
    return conflicts;
}

QStringList TNodeSocialHigh::Conflicts(ToznFDConnection& connection) const
{
    QStringList lines;
    for (const auto& [node, now] : ConflictRows(connection))
        lines << QStringLiteral("%1 (%2): в базе после записи книги %3")
                     .arg(node->Name)
                     .arg(node->GUID)
                     .arg(Differences(*node->Base, now).join(QStringLiteral("; ")));
    return lines;
}

TWorkbookSave TNodeSocialHigh::Save(ToznFDConnection& connection, TConflictChoice choice)
{
    TWorkbookSave result;
    TScopedLockTimeout limit(connection);
    connection.StartTransaction(false);
    try {
        // Compared inside the transaction that writes, so that nothing changes between the two.
        const auto conflicts = ConflictRows(connection);
        for (const auto& [node, now] : conflicts)
            result.Conflicts << QStringLiteral("%1 (%2): в базе после записи книги %3")
                                    .arg(node->Name)
                                    .arg(node->GUID)
                                    .arg(Differences(*node->Base, now).join(QStringLiteral("; ")));
        if (!conflicts.empty() && choice == TConflictChoice::Refuse) {
            connection.Rollback();
            return result;
        }
        std::vector<TNodeSocial*> kept;
        if (choice == TConflictChoice::KeepDatabase)
            for (const auto& [node, now] : conflicts)
                kept.push_back(node);
        for (int i = 0; i < Count(); ++i) {
            TNodeSocial& n = GetItem(i);
            if (!n.Edited || std::find(kept.begin(), kept.end(), &n) != kept.end())
                continue;
            n.Data.SaveRecord(connection, n.GUID, period_.Ident);
            ++result.Written;
        }
        connection.Commit();
        // The rows left to the database show its values.
        for (const auto& [node, now] : conflicts)
            if (std::find(kept.begin(), kept.end(), node) != kept.end())
                node->Data = now;
    } catch (...) {
        connection.Rollback();
        throw;
    }
    result.Stored = true;
    for (int i = 0; i < Count(); ++i) {
        GetItem(i).Edited = false;
        GetItem(i).Base.reset();
    }
    return result;
}
