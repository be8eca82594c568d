// The measurement (W, Tmax) and generalised-data workbooks without a window: written as the forms write them,
// read back with every problem named by its cell, and stored on request.
#include <cmath>

#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/XlsxReader.h"
#include "import/LVZamerColumns.h"
#include "import/LVZamerData.h"
#include "import/LVZamerSocial.h"
#include "import/ZamerSheets.h"
#include "normative/LVNormativUnit.h"

namespace cli {

namespace {
const char* const kUsage =
    "Использование:\n"
    "  ozn3 workbook write (w | tmax | social) --db CONNECTION --node IDENT --sample IDENT FILE\n"
    "                      [--consumers] [--tp-only] [--level CODE]\n"
    "  ozn3 workbook read (w | tmax | social) --db CONNECTION FILE [--save]";
const QStringList kValued = {"--db", "--node", "--sample", "--level"};
// The rights of the forms: W and Tmax measurements, generalised data.
constexpr int kRightW = 12, kRightTmax = 13, kRightSocial = 14;

QString fileArgument(const QStringList& args) { return Positional(args, kValued, 3); }

bool intOption(const QStringList& args, const QString& name, int& value)
{
    bool ok = false;
    value = Option(args, name).toInt(&ok);
    if (!ok)
        err(QStringLiteral("%1: нужно целое число\n%2").arg(name, QString::fromUtf8(kUsage)));
    return ok;
}

QString shown(double v) { return isEmptyFloat(v) ? QStringLiteral("пусто") : QString::number(v, 'g', 15); }

int hoursOf(const TSamplePeriodInfo& p) { return static_cast<int>(std::lround((p.EndDays() - p.StartDays()) * 24)); }

// One line per changed row: its name and ident, then each value that changed, "old → new".
void printChanges(const TLVZamerData& before, const TLVZamerData& after)
{
    for (size_t i = 0; i < after.Records().size(); ++i) {
        TLVZamerRecord a = before.Records()[i], b = after.Records()[i];
        if (!b.EditRec || a.EditRec)
            continue;
        QStringList changes;
        for (const zamer::Column& c : zamer::ValueColumns(after.Kind()))
            if (CompareFloat(c.field(a), c.field(b)) != 0)
                changes << QStringLiteral("%1: %2 → %3").arg(c.caption, shown(c.field(a)), shown(c.field(b)));
        if (a.MeterName != b.MeterName)
            changes << QStringLiteral("Счетчик: «%1» → «%2»").arg(a.MeterName, b.MeterName);
        if (a.ST != b.ST)
            changes << QStringLiteral("Состояние счетчика: %1 → %2").arg(a.ST).arg(b.ST);
        out(QStringLiteral("%1 (%2): %3").arg(b.Name.trimmed()).arg(b.Guid).arg(changes.join(QStringLiteral("; "))));
    }
    for (size_t i = 0; i < after.Consumers().size(); ++i) {
        TLVZamerConsumer a = before.Consumers()[i], b = after.Consumers()[i];
        if (!b.EditRec || a.EditRec)
            continue;
        QStringList changes;
        for (const zamer::ConsumerColumn& c : zamer::ConsumerColumns(after.Kind()))
            if (CompareFloat(c.field(a), c.field(b)) != 0)
                changes << QStringLiteral("%1: %2 → %3").arg(c.caption, shown(c.field(a)), shown(c.field(b)));
        if (a.MeterName != b.MeterName)
            changes << QStringLiteral("Счетчик: «%1» → «%2»").arg(a.MeterName, b.MeterName);
        if (a.LoadType != b.LoadType)
            changes << QStringLiteral("Вид нагрузки: %1 → %2").arg(a.LoadType).arg(b.LoadType);
        out(QStringLiteral("%1 (%2): %3").arg(b.Name).arg(b.Guid).arg(changes.join(QStringLiteral("; "))));
    }
}

void printChanges(const TNodeSocialHigh& rows, const std::vector<TDataAnaliz>& before)
{
    for (int i = 0; i < rows.Count(); ++i) {
        const TNodeSocial& n = rows.GetItem(i);
        if (!n.Edited)
            continue;
        const TDataAnaliz &a = before[i], &b = n.Data;
        QStringList changes;
        const std::pair<const char*, double TDataAnaliz::*> fields[] = {
            {"Wa", &TDataAnaliz::Wa}, {"Wa_bus", &TDataAnaliz::Wa_bus}, {"CosFi", &TDataAnaliz::CosFi},
            {"F", &TDataAnaliz::F},   {"NLines", &TDataAnaliz::NLines}, {"dp", &TDataAnaliz::dp},
            {"dn", &TDataAnaliz::dn}, {"kzap", &TDataAnaliz::kzap}};
        if (a.T != b.T)
            changes << QStringLiteral("T: %1 → %2").arg(a.T).arg(b.T);
        if (a.Unom != b.Unom)
            changes << QStringLiteral("Unom: %1 → %2").arg(a.Unom).arg(b.Unom);
        for (const auto& [name, field] : fields)
            if (CompareFloat(a.*field, b.*field) != 0)
                changes << QStringLiteral("%1: %2 → %3").arg(QLatin1String(name), shown(a.*field), shown(b.*field));
        for (int l = 0; l < TDataAnaliz::LengthCount; ++l)
            if (CompareFloat(a.Lengths[l], b.Lengths[l]) != 0)
                changes << QStringLiteral("%1: %2 → %3")
                               .arg(QLatin1String(TLVNormativSample0::LengthNames[l]), shown(a.Lengths[l]),
                                    shown(b.Lengths[l]));
        out(QStringLiteral("%1 (%2): %3").arg(n.Name).arg(n.GUID).arg(changes.join(QStringLiteral("; "))));
    }
}

// Stores what was read when asked to and allowed to.
template <class Store> int saveIfAsked(TfdbDatabase& db, bool save, int right, int pending, Store&& store)
{
    if (!save) {
        out(QStringLiteral("Изменено строк: %1 (не сохранено: нужен --save)").arg(pending));
        return 0;
    }
    if (!db.GetUserRightsByPeriodAndIdent(-1, -1, right)) {
        err(QStringLiteral("Нет права на загрузку этой книги (право %1): в базе ничего не изменено").arg(right));
        return 1;
    }
    if (pending == 0) {
        out(QStringLiteral("Нет изменений для сохранения"));
        return 0;
    }
    try {
        out(QStringLiteral("Сохранено строк: %1").arg(store()));
    } catch (const EDatabaseError& e) {
        err(QStringLiteral("Не сохранено: %1").arg(e.Text()));
        return 1;
    }
    return 0;
}

int writeBook(const QStringList& args, const QString& kind, TfdbDatabase& db, const QString& file)
{
    int node = 0, sample = 0;
    if (!intOption(args, QStringLiteral("--node"), node) || !intOption(args, QStringLiteral("--sample"), sample))
        return 2;
    const TSamplePeriodInfo* period = db.GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sample);
    if (!period) {
        err(QStringLiteral("Интервал %1 не найден").arg(sample));
        return 1;
    }
    ToznListItemCommon* item = db.GetTree()->Find(node);
    if (!item) {
        err(QStringLiteral("Объект %1 не найден в дереве сети").arg(node));
        return 1;
    }
    QString error;
    if (kind == QLatin1String("social")) {
        int level = 5;
        if (!Option(args, QStringLiteral("--level")).isEmpty() && !intOption(args, QStringLiteral("--level"), level))
            return 2;
        TNodeSocialHigh rows;
        try {
            rows.Open(*db.GetDefaultConnection(), node, level, *period);
        } catch (const std::exception& e) {
            err(QString::fromUtf8(e.what()));
            return 1;
        }
        if (!rows.WriteWorkbook(file, true, true, error)) {
            err(error);
            return 1;
        }
        out(QStringLiteral("Книга записана: %1 (строк %2)").arg(file).arg(rows.Count()));
        return 0;
    }
    TLVZamerData data(kind == QLatin1String("w") ? TLVZamerKind::W : TLVZamerKind::Tmax);
    // The switches of the form: substations with their lines, or with their consumers, or alone.
    const bool consumers = args.contains(QStringLiteral("--consumers"));
    const bool lines = !consumers && !args.contains(QStringLiteral("--tp-only"));
    data.Load(*db.GetDefaultConnection(), item, sample, hoursOf(*period), lines, consumers);
    if (!data.WriteWorkbook(file, error)) {
        err(error);
        return 1;
    }
    out(QStringLiteral("Книга записана: %1 (строк %2, абонентов %3)")
            .arg(file)
            .arg(data.Records().size())
            .arg(data.Consumers().size()));
    return 0;
}

int readBook(const QStringList& args, const QString& kind, TfdbDatabase& db, const QString& file)
{
    QString error;
    TXlsxWorkbook book;
    TWorkbookIdentity id;
    if (!book.Open(file, error)) {
        err(error);
        return 1;
    }
    if (!ReadWorkbookIdentity(book, id) || id.Kind != kind) {
        err(QStringLiteral("Книга %1 не записана командой workbook write %2 (нет листа \"%3\" с ее параметрами)")
                .arg(file, kind, QString::fromUtf8(kIdentitySheet)));
        return 1;
    }
    const TSamplePeriodInfo* period = db.GetSamplePeriods()->GetPSamplePeriodInfoByIdent(id.Sample);
    ToznListItemCommon* item = db.GetTree()->Find(id.Object);
    if (!period || !item) {
        err(QStringLiteral("Книга %1 записана для объекта %2 и интервала %3, которых нет в базе")
                .arg(file)
                .arg(id.Object)
                .arg(id.Sample));
        return 1;
    }
    const bool save = args.contains(QStringLiteral("--save"));
    ToznFDConnection& connection = *db.GetDefaultConnection();
    if (kind == QLatin1String("social")) {
        TNodeSocialHigh rows;
        rows.Open(connection, id.Object, id.Level, *period);
        std::vector<TDataAnaliz> before;
        for (int i = 0; i < rows.Count(); ++i)
            before.push_back(rows.GetItem(i).Data);
        if (rows.ReadWorkbook(file, error) < 0) {
            err(error);
            return 1;
        }
        printChanges(rows, before);
        return saveIfAsked(db, save, kRightSocial, rows.Pending(), [&] { return rows.Save(connection); });
    }
    TLVZamerData data(kind == QLatin1String("w") ? TLVZamerKind::W : TLVZamerKind::Tmax);
    data.Load(connection, item, id.Sample, hoursOf(*period), id.Lines, id.Consumers);
    const TLVZamerData before = data;
    if (data.ReadWorkbook(file, error) < 0) {
        err(error);
        return 1;
    }
    printChanges(before, data);
    for (const QString& note : data.ReadNotes())
        err(note);
    const int problem = data.ReadNotes().isEmpty() ? 0 : 1;
    const int saved = saveIfAsked(db, save, kind == QLatin1String("w") ? kRightW : kRightTmax, data.Pending(),
                                  [&] { return data.Save(connection); });
    return saved != 0 ? saved : problem;
}
}  // namespace

int WorkbookJob(const QStringList& args)
{
    const QString verb = args.value(1), kind = args.value(2);
    const QString file = fileArgument(args), connection = Option(args, QStringLiteral("--db"));
    if ((verb != QLatin1String("write") && verb != QLatin1String("read")) ||
        !QStringList({"w", "tmax", "social"}).contains(kind) || file.isEmpty() || connection.isEmpty()) {
        err(QString::fromUtf8(kUsage));
        return 2;
    }
    QString error;
    auto db = TfdbDatabase::Open(connection, error);
    if (!db) {
        err(error);
        return 1;
    }
    return verb == QLatin1String("write") ? writeBook(args, kind, *db, file) : readBook(args, kind, *db, file);
}

}  // namespace cli
