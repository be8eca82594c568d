// The measured losses of LV feeders summed over the hierarchy, for automation: JSON Lines or a workbook.
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>

#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Database.h"
#include "host/JsonLines.h"
#include "host/Tree.h"
#include "results/LVMeasuredStore.h"
#include "results/LVMeasuredXlsx.h"

namespace cli {

namespace {
void writeNumber(std::string& line, double v)
{
    if (!std::isfinite(v)) {
        line += "null";
        return;
    }
    char buffer[32];
    line.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, v).ptr);
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
            writeNumber(line, c.Value(n.Totals));
        }
        line += "}\n";
        std::fwrite(line.data(), 1, line.size(), stdout);
    });
}
}  // namespace

int Measured(const QStringList& args)
{
    const QString connection = Option(args, QStringLiteral("--db")), xlsx = Option(args, QStringLiteral("--xlsx"));
    bool okNode = false, okYear = false;
    const int node = Option(args, QStringLiteral("--node")).toInt(&okNode);
    const int year = Option(args, QStringLiteral("--year")).toInt(&okYear);
    if (connection.isEmpty() || !okNode || !okYear || (xlsx.isEmpty() && !args.contains(QStringLiteral("--json")))) {
        err(QStringLiteral(
            "Использование: ozn3 measured --db CONNECTION --node IDENT --year YYYY (--json | --xlsx FILE)"));
        return 2;
    }
    QString error;
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
        auto tree = BuildMeasuredTree(item, MeasuredSamples(*db->GetDefaultConnection(), feeders, year));
        if (!xlsx.isEmpty() &&
            !WriteMeasuredXlsx(
                xlsx, *tree, QStringLiteral("Потери в сетях 0,38 кВ по замерам за %1 г.: %2").arg(year).arg(tree->Text),
                error)) {
            err(error);
            return 1;
        }
        if (args.contains(QStringLiteral("--json")))
            writeJson(*tree);
    } catch (const std::exception& e) {
        err(QString::fromUtf8(e.what()));
        return 1;
    }
    std::fflush(stdout);
    return 0;
}

}  // namespace cli
