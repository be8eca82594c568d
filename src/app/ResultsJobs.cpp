// The results report for automation: the results tree of an object as JSON Lines or as a workbook.
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
#include "results/ColorsLVResult.h"
#include "results/LVResultsColumns.h"
#include "results/PesResultsNodes.h"
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
        line_ += ",\"Note\":";
        line_ += host::JsonString(node.Note()).toStdString();
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
    void Number(double v) { AppendJsonNumber(line_, v); }
    const std::vector<const TLVResultColumn*>& columns_;
    std::vector<std::string> keys_;
    std::string line_;
};
}  // namespace

int Results(const QStringList& args)
{
    const char* const usage = "Использование: ozn3 results --db CONNECTION --guid GUID [--calc-type N] --sample IDENT "
                              "[--period IDENT] (--json | --xlsx FILE)";
    TArgs a;
    QString error;
    int guid = 0, sample = 0, calcType = 0, period = 0;
    if (!a.Parse(args, 1, {{"--db", "--guid", "--sample", "--calc-type", "--period", "--xlsx"}, {}, {"--json"}, 0},
                 error) ||
        !a.Int(QStringLiteral("--guid"), true, guid, error) ||
        !a.Int(QStringLiteral("--sample"), true, sample, error) ||
        !a.Int(QStringLiteral("--calc-type"), false, calcType, error) ||
        !a.Int(QStringLiteral("--period"), false, period, error) || !a.Has(QStringLiteral("--db")) ||
        (!a.Has(QStringLiteral("--json")) && !a.Has(QStringLiteral("--xlsx")))) {
        err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) + QString::fromUtf8(usage));
        return 2;
    }
    const QString connection = a.Value(QStringLiteral("--db")), xlsx = a.Value(QStringLiteral("--xlsx"));
    const TSamplePeriodInfo* info = nullptr;
    auto database = OpenWithPeriod(connection, sample, info);
    if (!database)
        return 1;
    if (a.Has(QStringLiteral("--period")) && PeriodKindName(*database->GetDefaultConnection(), period).isEmpty()) {
        err(QStringLiteral("Неизвестный вид периода %1: его нет в справочнике видов периодов базы данных").arg(period));
        return 1;
    }
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
        // The summary workbook the results form writes: energy and power in one sheet, every level's rows with
        // live formulas over the rows below.
        const QString title =
            QStringLiteral("Сводные результаты расчета  \"%1\" за %2").arg(tree.Text(), info->GetName());
        const TNodeLV32 layout;
        std::vector<const TLVResultColumn*> shown;
        const QStringList hidden = ColorsLVResult::HiddenColumns();
        for (const TLVResultColumn* c : layout.Columns(0))
            if (!hidden.contains(c->Field))
                shown.push_back(c);
        if (!WriteResultsSummaryXlsx(xlsx, tree, shown, layout.SheetName(0), title, ColorsLVResult::VisibleRows(),
                                     error)) {
            err(error);
            return 1;
        }
    }
    if (a.Has(QStringLiteral("--json")))
        JsonTreeWriter(columns).Write(tree);
    std::fflush(stdout);
    return 0;
}

}  // namespace cli
