// The measured losses of LV feeders summed over the hierarchy, for automation: JSON Lines or a workbook.
#include <cmath>
#include <cstdio>
#include <string>

#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Database.h"
#include "host/JsonLines.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "results/LVMeasuredStore.h"
#include "results/LVMeasuredXlsx.h"

namespace cli {

namespace {
constexpr int kFirstYear = 1900, kLastYear = 2200;

// A year the database knows: an interval of it, or a sample of one of the feeders taken in it.
bool KnownYear(TfdbDatabase& db, const std::vector<int>& feeders, int year)
{
    for (const TSamplePeriodInfo& p : db.GetSamplePeriods()->Items())
        if (p.SampleDate1.date().year() == year)
            return true;
    return MeasuredYears(*db.GetDefaultConnection(), feeders).contains(year);
}

void writeJson(const TMeasuredNode& tree)
{
    std::string line;
    tree.ForEach([&](const TMeasuredNode& n) {
        line = "{\"Level\":" + std::to_string(n.Level) + ",\"GUID\":" + std::to_string(n.GUID) +
               ",\"Parent\":" + (n.Parent ? std::to_string(n.Parent->GUID) : std::string("null")) +
               ",\"Text\":" + host::JsonString(n.Text).toStdString();
        for (const TMeasuredColumn& c : MeasuredColumns()) {
            line += ",\"" + c.Field.toStdString() + "\":";
            AppendJsonNumber(line, c.Value(n.Totals));
        }
        line += "}\n";
        std::fwrite(line.data(), 1, line.size(), stdout);
    });
}
}  // namespace

int Measured(const QStringList& args)
{
    const char* const usage =
        "Использование: ozn3 measured --db CONNECTION --node IDENT --year YYYY (--json | --xlsx FILE)";
    TArgs a;
    QString error;
    int node = 0, year = 0;
    if (!a.Parse(args, 1, {{"--db", "--node", "--year", "--xlsx"}, {}, {"--json"}, 0}, error) ||
        !a.Int(QStringLiteral("--node"), true, node, error) || !a.Int(QStringLiteral("--year"), true, year, error) ||
        !a.Has(QStringLiteral("--db")) || (!a.Has(QStringLiteral("--xlsx")) && !a.Has(QStringLiteral("--json")))) {
        err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) + QString::fromUtf8(usage));
        return 2;
    }
    if (year < kFirstYear || year > kLastYear) {
        err(QStringLiteral("Неверный год %1: от %2 до %3").arg(year).arg(kFirstYear).arg(kLastYear));
        return 2;
    }
    const QString connection = a.Value(QStringLiteral("--db")), xlsx = a.Value(QStringLiteral("--xlsx"));
    auto db = TfdbDatabase::Open(connection, error);
    if (!db) {
        err(error);
        return 1;
    }
    ToznListItemCommon* item = db->GetTree()->Find(node);
    if (!item) {
        err(QStringLiteral("Объект %1 не найден в дереве сети").arg(node));
        return 1;
    }
    try {
        const std::vector<int> feeders = FeedersUnder(item);
        if (!KnownYear(*db, feeders, year)) {
            err(QStringLiteral("За %1 год в базе данных нет ни интервалов, ни замеров линий «%2»")
                    .arg(year)
                    .arg(item->GetText()));
            return 1;
        }
        auto tree = BuildMeasuredTree(item, MeasuredSamples(*db->GetDefaultConnection(), feeders, year));
        if (!xlsx.isEmpty() &&
            !WriteMeasuredXlsx(
                xlsx, *tree, QStringLiteral("Потери в сетях 0,38 кВ по замерам за %1 г.: %2").arg(year).arg(tree->Text),
                error)) {
            err(error);
            return 1;
        }
        if (a.Has(QStringLiteral("--json")))
            writeJson(*tree);
    } catch (const std::exception& e) {
        err(QString::fromUtf8(e.what()));
        return 1;
    }
    std::fflush(stdout);
    return 0;
}

}  // namespace cli
