// The results report for automation: the results tree of an object as JSON Lines or as a workbook.
#include <QJsonDocument>
#include <QJsonObject>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>

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
// One line per node, parents first. A number is written in the shortest form that reads back as the same
// double; the field names are made once.
class JsonTreeWriter {
public:
    explicit JsonTreeWriter(const std::vector<const TLVResultColumn*>& columns) : columns_(columns)
    {
        for (const TLVResultColumn* c : columns)
            keys_.push_back(",\"" + c->Field.toStdString() + "\":");
        line_.reserve(8192);
    }
    void Write(const TPesResultsLV& node)
    {
        line_.assign("{\"Level\":");
        Int(node.Level());
        line_ += ",\"GUID\":";
        Int(node.GUID());
        line_ += ",\"Parent\":";
        if (node.Parent())
            Int(node.Parent()->GUID());
        else
            line_ += "null";
        line_ += ",\"Text\":";
        line_ += host::JsonString(node.Text()).toStdString();
        for (size_t i = 0; i < columns_.size(); ++i) {
            line_ += keys_[i];
            Number(columns_[i]->Value(node.Record()));
        }
        line_ += "}\n";
        std::fwrite(line_.data(), 1, line_.size(), stdout);
        for (int i = 0; i < node.ChildCount(); ++i)
            Write(*node.Child(i));
    }

private:
    void Int(int v) { line_ += std::to_string(v); }
    void Number(double v)
    {
        if (!std::isfinite(v)) {
            line_ += "null";
            return;
        }
        char buffer[32];
        const auto end = std::to_chars(buffer, buffer + sizeof buffer, v).ptr;
        line_.append(buffer, end);
    }
    const std::vector<const TLVResultColumn*>& columns_;
    std::vector<std::string> keys_;
    std::string line_;
};
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
        JsonTreeWriter(columns).Write(tree);
    std::fflush(stdout);
    return 0;
}

}  // namespace cli
