// The measurement (W, Tmax) and generalised-data workbooks without a window: written as the forms write them,
// read back with every problem named by its cell, and stored on request.
#include <cmath>
#include <functional>
#include <iterator>

#include "app/CliArgs.h"
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
    "                      [--consumers | --tp-only] [--level CODE]\n"
    "  ozn3 workbook read (w | tmax | social) --db CONNECTION FILE [--save [--overwrite]]";
// The rights of the forms: W and Tmax measurements, generalised data.
constexpr int kRightW = 12, kRightTmax = 13, kRightSocial = 14;
// The levels of the generalised-data workbook, by code.
const char* const kSocialLevels[] = {"АО энерго", "ПЭС", "РЭС", "ЦП", "Фидер", "ТП", "Линии 0.4 кв"};

int usage(const QString& error)
{
    err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) + QString::fromUtf8(kUsage));
    return 2;
}

// What a kind of workbook holds, in the users' words.
QString kindName(const QString& kind)
{
    if (kind == QLatin1String("w"))
        return QStringLiteral("книга замеров W");
    if (kind == QLatin1String("tmax"))
        return QStringLiteral("книга замеров Tmax");
    return QStringLiteral("книга обобщенных данных нормативного метода");
}

int hoursOf(const TSamplePeriodInfo& p) { return static_cast<int>(std::lround((p.EndDays() - p.StartDays()) * 24)); }

// One line per changed row: its name and ident, then each value the user changed, "as written → as read".
void printChanges(const TLVZamerData& data)
{
    for (const TLVZamerRecord& r : data.Records())
        if (r.EditRec)
            out(QStringLiteral("%1 (%2): %3")
                    .arg(r.Name.trimmed())
                    .arg(r.Guid)
                    .arg(data.PendingChanges(r).join(QStringLiteral("; "))));
    for (const TLVZamerConsumer& c : data.Consumers())
        if (c.EditRec)
            out(QStringLiteral("%1 (%2): %3")
                    .arg(c.Name)
                    .arg(c.Guid)
                    .arg(data.PendingChanges(c).join(QStringLiteral("; "))));
}

void printChanges(const TNodeSocialHigh& rows)
{
    for (int i = 0; i < rows.Count(); ++i) {
        const TNodeSocial& n = rows.GetItem(i);
        if (n.Edited && n.Base)
            out(QStringLiteral("%1 (%2): %3")
                    .arg(n.Name)
                    .arg(n.GUID)
                    .arg(TNodeSocialHigh::Differences(*n.Base, n.Data).join(QStringLiteral("; "))));
    }
}

// What was read is stored only when asked, allowed, and nothing is wrong: a value not taken as typed (notes)
// or a row changed in the database since the workbook was written (conflicts, unless --overwrite) stores
// nothing and exits 1.
int saveIfAsked(TfdbDatabase& db, const TArgs& args, int right, int pending, const QStringList& notes,
                const QStringList& conflicts, const std::function<TWorkbookSave(TConflictChoice)>& store)
{
    const bool save = args.Has(QStringLiteral("--save"));
    const bool overwrite = args.Has(QStringLiteral("--overwrite"));
    for (const QString& note : notes)
        err(note);
    for (const QString& conflict : conflicts)
        err(QStringLiteral("Конфликт: %1").arg(conflict));
    if (!notes.isEmpty() || (!conflicts.isEmpty() && !overwrite)) {
        if (!conflicts.isEmpty() && !overwrite)
            err(QStringLiteral("Строки изменены в базе после записи книги: %1. Чтобы записать значения книги поверх, "
                               "добавьте --overwrite")
                    .arg(conflicts.size()));
        err(save ? QStringLiteral("Не сохранено: в базе ничего не изменено")
                 : QStringLiteral("Изменено строк: %1 (сохранение невозможно, пока есть замечания)").arg(pending));
        return 1;
    }
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
        const TWorkbookSave saved = store(overwrite ? TConflictChoice::Overwrite : TConflictChoice::Refuse);
        if (!saved.Stored) {
            for (const QString& conflict : saved.Conflicts)
                err(QStringLiteral("Конфликт: %1").arg(conflict));
            err(QStringLiteral(
                "Не сохранено: строки изменены в базе во время чтения книги; в базе ничего не изменено"));
            return 1;
        }
        out(QStringLiteral("Сохранено строк: %1").arg(saved.Written));
    } catch (const EDatabaseError& e) {
        err(QStringLiteral("Не сохранено: %1").arg(e.Text()));
        return 1;
    }
    return 0;
}

int writeBook(const TArgs& args, const QString& kind, TfdbDatabase& db, const QString& file)
{
    int node = 0, sample = 0;
    QString error;
    if (!args.Int(QStringLiteral("--node"), true, node, error) ||
        !args.Int(QStringLiteral("--sample"), true, sample, error))
        return usage(error);
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
    if (kind == QLatin1String("social")) {
        int level = 5;
        if (!args.Int(QStringLiteral("--level"), false, level, error))
            return usage(error);
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
    const bool consumers = args.Has(QStringLiteral("--consumers"));
    const bool lines = !consumers && !args.Has(QStringLiteral("--tp-only"));
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

int readBook(const TArgs& args, const QString& kind, TfdbDatabase& db, const QString& file)
{
    QString error;
    TXlsxWorkbook book;
    TWorkbookIdentity id;
    if (!book.Open(file, error)) {
        err(error);
        return 1;
    }
    if (!ReadWorkbookIdentity(book, id)) {
        err(QStringLiteral("Книга %1 не записана командой workbook write %2 (нет листа \"%3\" с ее параметрами)")
                .arg(file, kind, QString::fromUtf8(kIdentitySheet)));
        return 1;
    }
    if (id.Kind != kind) {
        err(QStringLiteral("Книга %1 — %2, а не %3: прочитайте её командой workbook read %4")
                .arg(file, kindName(id.Kind), kindName(kind), id.Kind));
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
    ToznFDConnection& connection = *db.GetDefaultConnection();
    if (kind == QLatin1String("social")) {
        TNodeSocialHigh rows;
        rows.Open(connection, id.Object, id.Level, *period);
        if (rows.ReadWorkbook(file, error) < 0) {
            err(error);
            return 1;
        }
        printChanges(rows);
        return saveIfAsked(db, args, kRightSocial, rows.Pending(), {}, rows.Conflicts(connection),
                           [&](TConflictChoice choice) { return rows.Save(connection, choice); });
    }
    TLVZamerData data(kind == QLatin1String("w") ? TLVZamerKind::W : TLVZamerKind::Tmax);
    data.Load(connection, item, id.Sample, hoursOf(*period), id.Lines, id.Consumers);
    if (data.ReadWorkbook(file, error) < 0) {
        err(error);
        return 1;
    }
    printChanges(data);
    return saveIfAsked(db, args, kind == QLatin1String("w") ? kRightW : kRightTmax, data.Pending(), data.ReadNotes(),
                       data.Conflicts(connection),
                       [&](TConflictChoice choice) { return data.Save(connection, choice); });
}
}  // namespace

int WorkbookJob(const QStringList& args)
{
    const QString verb = args.value(1), kind = args.value(2);
    if ((verb != QLatin1String("write") && verb != QLatin1String("read")) ||
        !QStringList({"w", "tmax", "social"}).contains(kind))
        return usage({});
    const bool write = verb == QLatin1String("write");
    TArgs a;
    QString error;
    const TOptionKinds kinds =
        write ? TOptionKinds{{"--db", "--node", "--sample", "--level"}, {}, {"--consumers", "--tp-only"}, 1}
              : TOptionKinds{{"--db"}, {}, {"--save", "--overwrite"}, 1};
    if (!a.Parse(args, 3, kinds, error) ||
        !a.OneOf({QStringLiteral("--consumers"), QStringLiteral("--tp-only")}, error))
        return usage(error);
    if (a.PositionalCount() != 1 || !a.Has(QStringLiteral("--db")))
        return usage(a.PositionalCount() != 1 ? QStringLiteral("Не указан файл книги")
                                              : QStringLiteral("Не указана база данных (--db)"));
    const bool social = kind == QLatin1String("social");
    if (social && (a.Has(QStringLiteral("--consumers")) || a.Has(QStringLiteral("--tp-only"))))
        return usage(QStringLiteral("--consumers и --tp-only — параметры книг замеров W и Tmax, не книги social"));
    if (!social && a.Has(QStringLiteral("--level")))
        return usage(QStringLiteral("--level — параметр книги social, не книг замеров W и Tmax"));
    if (social && a.Has(QStringLiteral("--level"))) {
        int level = 0;
        if (!a.Int(QStringLiteral("--level"), false, level, error))
            return usage(error);
        if (level < 0 || level >= static_cast<int>(std::size(kSocialLevels))) {
            QStringList levels;
            for (size_t i = 0; i < std::size(kSocialLevels); ++i)
                levels << QStringLiteral("%1 %2").arg(i).arg(QString::fromUtf8(kSocialLevels[i]));
            return usage(
                QStringLiteral("Неверный уровень %1; допустимо: %2").arg(level).arg(levels.join(QStringLiteral(", "))));
        }
    }
    auto db = TfdbDatabase::Open(a.Value(QStringLiteral("--db")), error);
    if (!db) {
        err(error);
        return 1;
    }
    const QString file = a.Positional(0);
    return write ? writeBook(a, kind, *db, file) : readBook(a, kind, *db, file);
}

}  // namespace cli
