#include "results/PesResultsNodes.h"

#include <algorithm>
#include <stdexcept>

#include "host/NumericHelpers.h"
#include "results/LVResultsColumns.h"
#include "results/UnitLVResultsTree.h"

namespace {
const TLVResultColumn& reportColumn(const char* field)
{
    static const std::vector<TLVResultColumn> columns = {
        {"T", "Расчётный период|часов", "0", [](const TLVResultRecord& r) { return r.GetValueLVResult(rfT); }},
        {"Method", "Метод расчёта", "", [](const TLVResultRecord&) { return EmptyFloat(); },
         [](const TLVResultRecord& r) { return r.MethodName(); }},
        {"Normative", "Норматив|тыс. кВт·ч", "#,##0.000", [](const TLVResultRecord& r) { return r.Normative; }},
    };
    for (const TLVResultColumn& c : columns)
        if (c.Field == QLatin1String(field))
            return c;
    throw std::logic_error(field);
}

// A grid column list as the report shows it: the period length under the report's own caption, then the
// calculation method and, on the energy sheet, the normative losses, then the lines and feeder lengths.
std::vector<const TLVResultColumn*> reportColumns(const std::vector<const TLVResultColumn*>& grid, bool energy)
{
    std::vector<const TLVResultColumn*> columns;
    for (const TLVResultColumn* c : grid)
        columns.push_back(c->Field == QLatin1String("T") ? &reportColumn("T") : c);
    columns.push_back(&reportColumn("Method"));
    if (energy)
        columns.push_back(&reportColumn("Normative"));
    for (const TLVResultColumn& c : LineColumns())
        if (std::none_of(columns.begin(), columns.end(), [&](const TLVResultColumn* x) { return x->Field == c.Field; }))
            columns.push_back(&c);
    return columns;
}

std::vector<const TLVResultColumn*> pointers(const std::vector<TLVResultColumn>& list)
{
    std::vector<const TLVResultColumn*> columns;
    for (const TLVResultColumn& c : list)
        columns.push_back(&c);
    return columns;
}
}  // namespace

QString TNodeLV::SheetName(int page) const
{
    switch (page) {
    case 0: return QStringLiteral("Потери электроэнергии");
    case 1: return QStringLiteral("Потери мощности");
    default: throw std::invalid_argument("Неверная страница");
    }
}

std::vector<const TLVResultColumn*> TNodeLV::Columns(int page) const
{
    SheetName(page);
    return reportColumns(pointers(page == 0 ? EnergyColumns() : PowerColumns()), page == 0);
}

QString TNodeLV32::SheetName(int page) const
{
    if (page != 0)
        throw std::invalid_argument("Неверная страница");
    return QStringLiteral("Потери электроэнергии и мощности");
}

std::vector<const TLVResultColumn*> TNodeLV32::Columns(int page) const
{
    SheetName(page);
    return reportColumns(AllColumns(), true);
}
