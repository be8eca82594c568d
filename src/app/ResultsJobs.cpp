// The results report for automation: the results tree of an object as JSON Lines or as a workbook.
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>

#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Database.h"
#include "host/JsonLines.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "results/LVResultsColumns.h"
#include "results/UnitLVResultsTree.h"
#include "results/UnitLVResultsXLSX.h"

namespace cli {

namespace {
void writeJson(const TPesResultsLV& node, const std::vector<const TLVResultColumn*>& columns)
{
    QByteArray line =
        "{\"Level\":" + QByteArray::number(node.Level()) + ",\"GUID\":" + QByteArray::number(node.GUID()) +
        ",\"Parent\":" + (node.Parent() ? QByteArray::number(node.Parent()->GUID()) : QByteArray("null")) +
        ",\"Text\":" + host::JsonString(node.Text());
    for (const TLVResultColumn* c : columns) {
        const double v = c->Value(node.Record());
        line += ",\"" + c->Field.toUtf8() + "\":" + (isEmptyFloat(v) ? QByteArray("null") : JsonNumber(v));
    }
    line += "}\n";
    std::fwrite(line.constData(), 1, line.size(), stdout);
    for (int i = 0; i < node.ChildCount(); ++i)
        writeJson(*node.Child(i), columns);
}
}  // namespace

int Results(const QStringList& args)
{
    const QString connection = Option(args, QStringLiteral("--db"));
    bool okGuid = false, okSample = false, okType = true, okPeriod = true;
    const int guid = Option(args, QStringLiteral("--guid")).toInt(&okGuid);
    const int sample = Option(args, QStringLiteral("--sample")).toInt(&okSample);
    const QString typeText = Option(args, QStringLiteral("--calc-type"));
    const int calcType = typeText.isEmpty() ? 0 : typeText.toInt(&okType);
    const QString periodText = Option(args, QStringLiteral("--period"));
    int period = periodText.isEmpty() ? 0 : periodText.toInt(&okPeriod);
    const QString xlsx = Option(args, QStringLiteral("--xlsx"));
    if (connection.isEmpty() || !okGuid || !okSample || !okType || !okPeriod ||
        (!args.contains(QStringLiteral("--json")) && xlsx.isEmpty())) {
        err(QStringLiteral("Использование: ozn3 results --db CONNECTION --guid GUID [--calc-type N] --sample IDENT "
                           "[--period IDENT] (--json | --xlsx FILE)"));
        return 2;
    }
    const TSamplePeriodInfo* info = nullptr;
    auto database = OpenWithPeriod(connection, sample, info);
    if (!database)
        return 1;
    QString error;
    if (period == 0)
        period = info->Period;
    TPesResultsLV tree(0, guid, QString(), nullptr);
    if (!tree.Open(*database->GetDefaultConnection(), guid, calcType, info->SampleDate1, info->SampleDate2, period,
                   error)) {
        err(error);
        return 1;
    }
    const std::vector<const TLVResultColumn*> columns = AllColumns();
    if (!xlsx.isEmpty()) {
        const QString title =
            QStringLiteral("Сводные результаты расчета  \"%1\" за %2").arg(tree.Text(), info->GetName());
        if (!WriteResultsXlsx(xlsx, tree, columns, title, error)) {
            err(error);
            return 1;
        }
    }
    if (args.contains(QStringLiteral("--json")))
        writeJson(tree, columns);
    std::fflush(stdout);
    return 0;
}

}  // namespace cli
