#include "results/LVResultsUndersupplyUnit.h"

#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "results/LVBalance.h"
#include "results/UnitLVResults.h"
#include "results/UnitLVResultsTree.h"

namespace {
const QString kValue = QStringLiteral("#,##0.000;-#,##0.000;");
const QString kCount = QStringLiteral("#,##0;-#,##0;");
}  // namespace

TfrmLVUndersupply::TfrmLVUndersupply(QWidget* owner) : TfrmMVUndersupplyCommon(owner)
{
    setObjectName(QStringLiteral("frmLVUndersupply"));
    setWindowTitle(QStringLiteral("Недоотпуск электроэнергии"));
}

bool TfrmLVUndersupply::FillReport(QString& title, QStringList& captions, std::vector<std::vector<Cell>>& rows,
                                   QString& error)
{
    TCurrentDatabase* db = CurrentDatabase();
    if (!db) {
        error = QStringLiteral("Нет базы данных");
        return false;
    }
    ToznFDConnection& c = *db->GetDefaultConnection();
    const QList<TLVResultSample> samples = SamplesWithResultsLV(c, 0);
    if (samples.isEmpty()) {
        error = QStringLiteral("Нет результатов");
        return false;
    }
    const TLVResultSample sample = samples.last();
    TPesResultsLV tree(0, 0, QString(), nullptr);
    if (!tree.Open(c, static_cast<int>(Param()), 0, sample.SampleDate1, sample.SampleDate2, sample.Period, error))
        return false;
    title = QStringLiteral("Недоотпуск электроэнергии по линиям 0,4 кВ: %1 за %2").arg(tree.Text(), sample.Name);
    captions = {QStringLiteral("Трансформаторная подстанция"),
                QStringLiteral("Наименование линии"),
                QStringLiteral("Расчетный период"),
                QStringLiteral("Прием электроэнергии в сеть, тыс. кВт·ч"),
                QStringLiteral("Полезный отпуск фактический, тыс. кВт·ч"),
                QStringLiteral("Нагрузочные потери электроэнергии в линиях, тыс. кВт·ч"),
                QStringLiteral("Недоотпуск электроэнергии (фактический небаланс), тыс. кВт·ч"),
                QStringLiteral("Количество абонентов, штук")};
    using namespace results;
    const Measure E = Measure::Energy;
    auto value = [](double v) { return Cell{QString(), isEmptyFloat(v) ? qQNaN() : v, kValue}; };
    tree.ForEach([&](TPesResultsLV& node) {
        if (node.Level() != 7)
            return;
        // Line names repeat from one substation to the next: each line goes with its own.
        const TPesResultsLV* substation = node.ParentNode(6);
        const TLVResultRecord& r = node.Record();
        const double abonents = r.GetValue(bfNAbonents, VariantTotal);
        rows.push_back({{substation ? substation->Text() : QString(), 0, {}},
                        {node.Text(), 0, {}},
                        {sample.Name, 0, {}},
                        value(Receipt(r, E)),
                        value(Useful(r, E, Basis::Given)),
                        value(LoadLosses(r, E, VariantTotal)),
                        value(Imbalance(r, E)),
                        Cell{QString(), isEmptyFloat(abonents) ? qQNaN() : abonents, kCount}});
    });
    return true;
}
