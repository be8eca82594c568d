#include "import/LVZamerSocial.h"

#include <QFile>
#include <QHash>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <xlsxwriter.h>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "host/XlsxFile.h"
#include "host/XlsxReader.h"
#include "import/ImportSql.h"
#include "import/ZamerSheets.h"
#include "normative/LVNormativUnit.h"

using S = TLVNormativSample0;

namespace {
QByteArray utf8(const QString& s) { return s.toUtf8(); }
QString c(int column, int row) { return GetNameCell(column, row); }

// Worksheet columns.
enum Col {
    cNum = 1,
    cName,
    cGuid,
    cWa,
    cWaBus,
    cWaNet,
    cT,
    cUnom,
    cCosFi,
    cF,
    cNLines,
    cdp,
    cdn,
    ckzap,
    cLma,
    cLms,
    cLmm,
    cLmEkv,
    cL23a,
    cL23ia,
    cL23aSum,
    cL23s,
    cL23is,
    cL23sSum,
    cL23m,
    cL23im,
    cL23mSum,
    cL23Ekv,
    cL23iEkv,
    cL23EkvSum,
    cL1a,
    cL1ia,
    cL1aSum,
    cL1s,
    cL1is,
    cL1sSum,
    cL1m,
    cL1im,
    cL1mSum,
    cL1Ekv,
    cL1iEkv,
    cL1EkvSum,
    cLsum,
    cLavg,
    cLekv,
    cku,
    ck038,
    cdWa,
    cdWaProc,
    cdWaL,
    cSI,
    cLast = cSI
};
// The length inputs in the order of the model's lengths.
const int kLengthColumns[TDataAnaliz::LengthCount] = {cLma,   cLms, cLmm, cL23a, cL23s, cL23m, cL23ia, cL23is,
                                                      cL23im, cL1a, cL1s, cL1m,  cL1ia, cL1is, cL1im};
const char* const kUnomTexts[2] = {"400/230", "220/127"};

// Captions of the worksheet's columns.
QString caption(int column)
{
    static const QHash<int, QString> captions = [] {
        QHash<int, QString> h{{cNum, "№ п/п"},
                              {cName, "Наименование"},
                              {cGuid, "Код"},
                              {cWa, "Трансформация в сеть 0,4 кВ, тыс. кВт.ч"},
                              {cWaBus, "Полезный отпуск с шин, тыс. кВт.ч"},
                              {cWaNet, "Отпуск активной электроэнергии, тыс. кВт.ч"},
                              {cT, "Расчетный период, ч"},
                              {cUnom, "Номинальное напряжение, В"},
                              {cCosFi, "Коэффициент мощности cosφ"},
                              {cF, "Сечение головного участка, мм²"},
                              {cNLines, "Количество линий, шт."},
                              {cdp, "Доля энергии, отпускаемой населению, о.е."},
                              {cdn, "Доля электроэнергии на расстоянии 1-2 пролета от ТП, о.е."},
                              {ckzap, "Коэффициент заполнения графика, о.е."},
                              {cLmEkv, "Магистраль, эквивалентная, км"},
                              {cL23Ekv, "Двух- и трехфазные ответвления, эквивалентная, км"},
                              {cL23iEkv, "Ввода в здания от двух- и трехфазных, эквивалентная, км"},
                              {cL23EkvSum, "Двух- и трехфазные с вводами, эквивалентная, км"},
                              {cL1Ekv, "Однофазные ответвления, эквивалентная, км"},
                              {cL1iEkv, "Ввода в здания от однофазных, эквивалентная, км"},
                              {cL1EkvSum, "Однофазные с вводами, эквивалентная, км"},
                              {cLsum, "Суммарная длина линий, км"},
                              {cLavg, "Средняя длина линий, км"},
                              {cLekv, "Эквивалентная длина линии, км"},
                              {cku, "kU, о.е."},
                              {ck038, "k0.4, о.е."},
                              {cdWa, "Потери активной электроэнергии, тыс. кВт·ч"},
                              {cdWaProc, "Потери активной электроэнергии, %"},
                              {cdWaL, "Удельные потери электроэнергии, тыс. кВт·ч/км"},
                              {cSI, "Плотность тока, А/мм²"}};
        const char* groups[3] = {"Магистраль", "Двух- и трехфазные ответвления", "Однофазные ответвления"};
        const char* materials[3] = {"алюминиевые", "стальные", "медные"};
        for (int m = 0; m < 3; ++m) {
            h.insert(cLma + m, QStringLiteral("%1, %2, км").arg(groups[0], materials[m]));
            h.insert(cL23a + 3 * m, QStringLiteral("%1, %2, км").arg(groups[1], materials[m]));
            h.insert(cL23ia + 3 * m, QStringLiteral("Ввода в здания, %1, км").arg(materials[m]));
            h.insert(cL23aSum + 3 * m, QStringLiteral("%1 с вводами, %2, км").arg(groups[1], materials[m]));
            h.insert(cL1a + 3 * m, QStringLiteral("%1, %2, км").arg(groups[2], materials[m]));
            h.insert(cL1ia + 3 * m, QStringLiteral("Ввода в здания, %1, км").arg(materials[m]));
            h.insert(cL1aSum + 3 * m, QStringLiteral("%1 с вводами, %2, км").arg(groups[2], materials[m]));
        }
        return h;
    }();
    return captions.value(column);
}

double toModel(double v) { return isEmptyFloat(v) ? -1 : v; }
double fromModel(double v) { return v < 0 ? EmptyFloat() : v; }
QString materialEquivalent(int aluminium, int steel, int copper, int row)
{
    return c(aluminium, row) + QStringLiteral("+4*") + c(steel, row) + QStringLiteral("+6/10*") + c(copper, row);
}
}  // namespace

TDataAnaliz::TDataAnaliz() { Clear(); }

void TDataAnaliz::Clear()
{
    Wa = Wa_bus = CosFi = F = NLines = dp = kzap = dn = EmptyFloat();
    LekvValue = kuValue = k038Value = deltaWa = EmptyFloat();
    Lengths.fill(EmptyFloat());
    T = -1;
    Info = 0;
    Unom = 0;
    Flags = 0;
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
    Info = q->Int(QStringLiteral("Info"));
    Wa = q->Float(QStringLiteral("Wa"));
    Wa_bus = q->Float(QStringLiteral("Wa_bus"));
    T = q->Int(QStringLiteral("T"), -1);
    LekvValue = q->Float(QStringLiteral("Lekv"));
    kuValue = q->Float(QStringLiteral("ku"));
    k038Value = q->Float(QStringLiteral("k038"));
    deltaWa = q->Float(QStringLiteral("deltaWa"));
    CosFi = q->Float(QStringLiteral("CosFi"));
    const double unom = q->Float(QStringLiteral("Unom"));
    Unom = !isEmptyFloat(unom) && std::lround(unom) == 1 ? 1 : 0;
    F = q->Float(QStringLiteral("F"));
    NLines = q->Float(QStringLiteral("NLines"));
    dp = q->Float(QStringLiteral("dp"));
    kzap = q->Float(QStringLiteral("kzap"));
    dn = q->Float(QStringLiteral("dn"));
    for (int i = 0; i < LengthCount; ++i)
        Lengths[i] = q->Float(QString::fromLatin1(S::LengthNames[i]));
    return true;
}

void TDataAnaliz::SaveRecord(ToznFDConnection& connection, int guid, int sampleIdent)
{
    Calculate();
    auto q = connection.NewQuery();
    if (Info == 0) {
        q->SetSQLText(QString::fromUtf8(ImportSql::kSocialNextInfo));
        q->Open();
        Info = q->Value(0).toInt();
    }
    q->SetSQLText(QString::fromUtf8(ImportSql::kSocialSaveScheme));
    q->ParamByName(QStringLiteral("Ident"), Info).ParamFloat(QStringLiteral("CosFi"), CosFi);
    q->ParamByName(QStringLiteral("Unom"), Unom).ParamFloat(QStringLiteral("F"), F);
    q->ParamByName(QStringLiteral("NLines"), isEmptyFloat(NLines) ? QVariant() : QVariant(qRound(NLines)));
    q->ParamFloat(QStringLiteral("dp"), dp)
        .ParamFloat(QStringLiteral("kzap"), kzap)
        .ParamFloat(QStringLiteral("dn"), dn);
    for (int i = 0; i < LengthCount; ++i)
        q->ParamFloat(QString::fromLatin1(S::LengthNames[i]), Lengths[i]);
    q->ExecSQL();
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

void TNodeSocialHigh::FillEnergies(ToznFDConnection& connection)
{
    const QStringList waQueries = ImportSql::SocialEnergy(level_, false);
    const QStringList busQueries = ImportSql::SocialEnergy(level_, true);
    const int hours = static_cast<int>(std::lround(period_.SampleDate1.secsTo(period_.SampleDate2) / 3600.0));
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        // The first query of a list that answers a value.
        auto first = [&](const QStringList& queries, int guid) {
            for (const QString& sql : queries) {
                q->SetSQLText(sql);
                q->ParamByName(QStringLiteral("GUID"), guid);
                q->ParamByName(QStringLiteral("sd1"), period_.SampleDate1)
                    .ParamByName(QStringLiteral("sd2"), period_.SampleDate2);
                q->Open();
                if (!q->Eof() && !q->IsNull(QStringLiteral("Value")))
                    return q->Float(QStringLiteral("Value"));
            }
            return EmptyFloat();
        };
        for (int i = 0; i < Count(); ++i) {
            TNodeSocial& n = GetItem(i);
            const double wa = first(waQueries, n.GUID), bus = first(busQueries, n.GUID);
            if (isEmptyFloat(wa) && isEmptyFloat(bus))
                continue;
            n.Data.Wa = wa;
            n.Data.Wa_bus = bus;
            if (n.Data.T < 0)
                n.Data.T = hours;
            n.Data.Calculate();
            n.Edited = true;
        }
    });
}

QString TNodeSocialHigh::f_WaSum(int r)
{
    return QStringLiteral("IF(ISNUMBER(%1),IF(AND(ISNUMBER(%2),%2>0),%1-%2,%1),\"\")").arg(c(cWa, r), c(cWaBus, r));
}
QString TNodeSocialHigh::f_LmEkv(int r) { return materialEquivalent(cLma, cLms, cLmm, r); }
QString TNodeSocialHigh::f_L23Ekv(int r) { return materialEquivalent(cL23a, cL23s, cL23m, r); }
QString TNodeSocialHigh::f_L23iEkv(int r) { return materialEquivalent(cL23ia, cL23is, cL23im, r); }
QString TNodeSocialHigh::f_L23EkvSum(int r) { return materialEquivalent(cL23aSum, cL23sSum, cL23mSum, r); }
QString TNodeSocialHigh::f_L1Ekv(int r) { return materialEquivalent(cL1a, cL1s, cL1m, r); }
QString TNodeSocialHigh::f_L1iEkv(int r) { return materialEquivalent(cL1ia, cL1is, cL1im, r); }
QString TNodeSocialHigh::f_L1EkvSum(int r) { return materialEquivalent(cL1aSum, cL1sSum, cL1mSum, r); }
QString TNodeSocialHigh::f_L23aSum(int r) { return c(cL23a, r) + QLatin1Char('+') + c(cL23ia, r); }
QString TNodeSocialHigh::f_L23sSum(int r) { return c(cL23s, r) + QLatin1Char('+') + c(cL23is, r); }
QString TNodeSocialHigh::f_L23mSum(int r) { return c(cL23m, r) + QLatin1Char('+') + c(cL23im, r); }
QString TNodeSocialHigh::f_L1aSum(int r) { return c(cL1a, r) + QLatin1Char('+') + c(cL1ia, r); }
QString TNodeSocialHigh::f_L1sSum(int r) { return c(cL1s, r) + QLatin1Char('+') + c(cL1is, r); }
QString TNodeSocialHigh::f_L1mSum(int r) { return c(cL1m, r) + QLatin1Char('+') + c(cL1im, r); }

QString TNodeSocialHigh::f_Lsum(int r)
{
    QStringList cells;
    for (int column : kLengthColumns)
        cells << c(column, r);
    return cells.join(QLatin1Char('+'));
}

QString TNodeSocialHigh::f_Lavg(int r)
{
    return QStringLiteral("IF(AND(ISNUMBER(%1),%1<>0),%2/%1,\"\")").arg(c(cNLines, r), c(cLsum, r));
}

QString TNodeSocialHigh::f_Lekv(int r)
{
    return QStringLiteral("%1+0.44*%2+0.22*%3").arg(c(cLmEkv, r), c(cL23EkvSum, r), c(cL1EkvSum, r));
}

QString TNodeSocialHigh::f_ku(int r) { return QStringLiteral("IF(%1=\"400/230\",1,3)").arg(c(cUnom, r)); }

QString TNodeSocialHigh::f_k038(int r)
{
    const QString p = c(cdp, r);
    return QStringLiteral("IF(ISNUMBER(%1),%2*(7.78-2.67*%1-1.48*%1*%1)*(1.25+0.14*%1),\"\")").arg(p, c(cku, r));
}

QString TNodeSocialHigh::f_dWa(int r)
{
    // The model's loss: k0.4 × w² / cos² × Lekv / (F × T / 24) × (2 kзап + 1) / (3 kзап), w per line.
    const QString net = c(cWaNet, r), lines = c(cNLines, r), cos = c(cCosFi, r), f = c(cF, r), t = c(cT, r),
                  dn = c(cdn, r), k = c(ck038, r), lekv = c(cLekv, r), kzap = c(ckzap, r);
    const QString w = QStringLiteral("(%1/%2*(1-%3))").arg(net, lines, dn);
    return QStringLiteral("IF(AND(ISNUMBER(%1),ISNUMBER(%2),ISNUMBER(%3),ISNUMBER(%4),ISNUMBER(%5),ISNUMBER(%6),"
                          "ISNUMBER(%7),ISNUMBER(%8),ISNUMBER(%9)),"
                          "IF(AND(%1>0,%2>0,%3>0,%4>0,%5>=1,%6>=0,%7>=0,%8>=0,%9<>0),")
               .arg(net, lines, cos, f, t, dn, k, lekv, kzap) +
           QStringLiteral("%1*%2*%2/(%3*%3)*%4/(%5*%6/24)*(2*%7+1)/(3*%7),\"\"),\"\")")
               .arg(k, w, cos, lekv, f, t, kzap);
}

QString TNodeSocialHigh::f_dWaProc(int r)
{
    return QStringLiteral("IF(AND(ISNUMBER(%1),ISNUMBER(%2),%1<>0),%2/%1*100,\"\")").arg(c(cWa, r), c(cdWa, r));
}

QString TNodeSocialHigh::f_dWaL(int r)
{
    return QStringLiteral("IF(AND(ISNUMBER(%1),ISNUMBER(%2),%1<>0),%2/%1,\"\")").arg(c(cLsum, r), c(cdWa, r));
}

QString TNodeSocialHigh::f_SI(int r)
{
    return QStringLiteral("IF(AND(ISNUMBER(%1),ISNUMBER(%2),ISNUMBER(%3),ISNUMBER(%4),ISNUMBER(%5),%2<>0,%3<>0,%4<>0,"
                          "%5<>0),%1*(1-N(%6))*1000/(SQRT(3)*IF(%7=\"400/230\",0.4,0.22)*%2*%3*%4*%5),\"\")")
        .arg(c(cWaNet, r), c(cT, r), c(cNLines, r), c(cF, r), c(cCosFi, r), c(cdn, r), c(cUnom, r));
}

bool TNodeSocialHigh::WriteWorkbook(const QString& file, bool materials, bool inputs, QString& error) const
{
    host::Progress& progress = host::progress();
    progress.Start(QStringLiteral("Формирование файла Excel"), Count());
    TXlsxFile out(file);
    lxw_workbook* book = out.Open(error);
    if (!book) {
        progress.Finish();
        return false;
    }
    lxw_worksheet* sheet =
        workbook_add_worksheet(book, utf8(LevelNames().value(level_, QStringLiteral("Лист"))).constData());
    const TZamerFormats formats = AddZamerFormats(book, "0.###", "#,##0.000");
    lxw_format *value = formats.value, *computed = formats.computed;
    for (int col = cNum; col <= cLast; ++col)
        WriteZamerHead(sheet, col, caption(col), formats.head);
    lxw_row_col_options hiddenRow = {1, 0, 0};
    worksheet_set_row_opt(sheet, 0, 90, nullptr, captionsShown_ ? nullptr : &hiddenRow);
    worksheet_set_column(sheet, cName - 1, cName - 1, 36, nullptr);
    worksheet_set_column(sheet, cGuid, cLast - 1, 11, nullptr);
    // Which length columns the toolbar shows.
    auto hide = [&](int col) {
        lxw_row_col_options hidden = {1, 0, 0};
        worksheet_set_column_opt(sheet, static_cast<lxw_col_t>(col - 1), static_cast<lxw_col_t>(col - 1), 11, nullptr,
                                 &hidden);
    };
    hide(cGuid);
    for (int col = cLma; col <= cL1EkvSum; ++col) {
        const bool material = col != cLmEkv && col != cL23Ekv && col != cL23iEkv && col != cL23EkvSum &&
                              col != cL1Ekv && col != cL1iEkv && col != cL1EkvSum;
        const bool input = col == cL23ia || col == cL23is || col == cL23im || col == cL1ia || col == cL1is ||
                           col == cL1im || col == cL23iEkv || col == cL1iEkv;
        if ((material && !materials) || (input && !inputs))
            hide(col);
    }
    worksheet_freeze_panes(sheet, FirstRow - 1, cName);
    using Formula = QString (*)(int);
    const std::pair<int, Formula> formulas[] = {{cWaNet, &f_WaSum},
                                                {cLmEkv, &f_LmEkv},
                                                {cL23aSum, &f_L23aSum},
                                                {cL23sSum, &f_L23sSum},
                                                {cL23mSum, &f_L23mSum},
                                                {cL23Ekv, &f_L23Ekv},
                                                {cL23iEkv, &f_L23iEkv},
                                                {cL23EkvSum, &f_L23EkvSum},
                                                {cL1aSum, &f_L1aSum},
                                                {cL1sSum, &f_L1sSum},
                                                {cL1mSum, &f_L1mSum},
                                                {cL1Ekv, &f_L1Ekv},
                                                {cL1iEkv, &f_L1iEkv},
                                                {cL1EkvSum, &f_L1EkvSum},
                                                {cLsum, &f_Lsum},
                                                {cLavg, &f_Lavg},
                                                {cLekv, &f_Lekv},
                                                {cku, &f_ku},
                                                {ck038, &f_k038},
                                                {cdWa, &f_dWa},
                                                {cdWaProc, &f_dWaProc},
                                                {cdWaL, &f_dWaL},
                                                {cSI, &f_SI}};
    for (int i = 0; i < Count(); ++i) {
        const TNodeSocial& n = GetItem(i);
        const TDataAnaliz& d = n.Data;
        const int row = FirstRow + i;
        const auto r = static_cast<lxw_row_t>(row - 1);
        auto number = [&](int col, double v) {
            if (!isEmptyFloat(v))
                worksheet_write_number(sheet, r, static_cast<lxw_col_t>(col - 1), v, value);
            else
                worksheet_write_blank(sheet, r, static_cast<lxw_col_t>(col - 1), value);
        };
        worksheet_write_number(sheet, r, cNum - 1, i + 1, nullptr);
        worksheet_write_string(sheet, r, cName - 1, utf8(n.Name).constData(), nullptr);
        worksheet_write_number(sheet, r, cGuid - 1, n.GUID, nullptr);
        number(cWa, d.Wa);
        number(cWaBus, d.Wa_bus);
        number(cT, d.T < 0 ? EmptyFloat() : d.T);
        worksheet_write_string(sheet, r, cUnom - 1, kUnomTexts[d.Unom == 1 ? 1 : 0], value);
        number(cCosFi, d.CosFi);
        number(cF, d.F);
        number(cNLines, d.NLines);
        number(cdp, d.dp);
        number(cdn, d.dn);
        number(ckzap, d.kzap);
        for (int l = 0; l < TDataAnaliz::LengthCount; ++l)
            number(kLengthColumns[l], d.Lengths[l]);
        for (const auto& [col, formula] : formulas)
            worksheet_write_formula(sheet, r, static_cast<lxw_col_t>(col - 1),
                                    utf8(QLatin1Char('=') + formula(row)).constData(), computed);
        progress.Step();
    }
    const bool written = out.Close(error);
    progress.Finish();
    return written;
}

int TNodeSocialHigh::ReadWorkbook(const QString& file, QString& error)
{
    TXlsxWorkbook book;
    if (!book.Open(file, error))
        return -1;
    if (book.SheetNames().isEmpty()) {
        error = QStringLiteral("В книге %1 нет листов").arg(file);
        return -1;
    }
    auto number = [&](int row, int col) {
        const QVariant v = book.Cell(0, row, col);
        if (!v.isValid())
            return EmptyFloat();
        double d = EmptyFloat();
        return v.typeId() == QMetaType::Double ? v.toDouble() : (ParseFloat(v.toString(), d) ? d : EmptyFloat());
    };
    auto same = [](double a, double b) {
        return (isEmptyFloat(a) && isEmptyFloat(b)) ||
               (!isEmptyFloat(a) && !isEmptyFloat(b) && CompareFloat(a, b) == 0);
    };
    // Hours beyond a year are refused before anything is taken from the workbook, each with its cell.
    QStringList problems;
    for (int row : book.RowNumbers(0)) {
        const double t = row >= FirstRow ? number(row, cT) : EmptyFloat();
        if (!isEmptyFloat(t) && !(t >= 0 && t <= 8784))
            problems << QStringLiteral("ячейка %1: T = %2 — число часов от 0 до 8784")
                            .arg(GetNameCell(cT, row), QString::number(t, 'g', 17));
    }
    if (!problems.isEmpty()) {
        error = QStringLiteral("Книга %1 не прочитана, данные не изменены:\n%2").arg(file, problems.mid(0, 20).join('\n'));
        return -1;
    }
    int changed = 0;
    QHash<int, TNodeSocial*> byGuid;
    for (int i = 0; i < Count(); ++i)
        byGuid.insert(GetItem(i).GUID, &GetItem(i));
    for (int row = FirstRow; row <= book.RowCount(0); ++row) {
        const double guid = number(row, cGuid);
        if (isEmptyFloat(guid) || !(std::fabs(guid) < 2147483647.0))
            continue;  // not a row of an element
        TNodeSocial* found = byGuid.value(static_cast<int>(guid));
        if (!found)
            continue;
        TNodeSocial& n = *found;
        TDataAnaliz read = n.Data;
        read.Wa = number(row, cWa);
        read.Wa_bus = number(row, cWaBus);
        const double t = number(row, cT);
        read.T = isEmptyFloat(t) ? -1 : static_cast<int>(std::lround(t));
        read.Unom = book.Cell(0, row, cUnom).toString().trimmed() == QLatin1String(kUnomTexts[1]) ? 1 : 0;
        const std::pair<double TDataAnaliz::*, int> fields[] = {
            {&TDataAnaliz::CosFi, cCosFi}, {&TDataAnaliz::F, cF},   {&TDataAnaliz::NLines, cNLines},
            {&TDataAnaliz::dp, cdp},       {&TDataAnaliz::dn, cdn}, {&TDataAnaliz::kzap, ckzap}};
        bool edited = read.T != n.Data.T || read.Unom != n.Data.Unom || !same(read.Wa, n.Data.Wa) ||
                      !same(read.Wa_bus, n.Data.Wa_bus);
        for (const auto& [field, col] : fields) {
            read.*field = number(row, col);
            edited = edited || !same(read.*field, n.Data.*field);
        }
        for (int l = 0; l < TDataAnaliz::LengthCount; ++l) {
            read.Lengths[l] = number(row, kLengthColumns[l]);
            edited = edited || !same(read.Lengths[l], n.Data.Lengths[l]);
        }
        if (edited) {
            read.Calculate();
            n.Data = read;
            changed += n.Edited ? 0 : 1;
            n.Edited = true;
        }
    }
    return changed;
}

int TNodeSocialHigh::Save(ToznFDConnection& connection)
{
    int saved = 0;
    TScopedLockTimeout limit(connection);
    connection.StartTransaction(false);
    try {
        for (int i = 0; i < Count(); ++i) {
            TNodeSocial& n = GetItem(i);
            if (!n.Edited)
                continue;
            n.Data.SaveRecord(connection, n.GUID, period_.Ident);
            ++saved;
        }
        connection.Commit();
    } catch (...) {
        connection.Rollback();
        throw;
    }
    for (int i = 0; i < Count(); ++i)
        GetItem(i).Edited = false;
    return saved;
}
