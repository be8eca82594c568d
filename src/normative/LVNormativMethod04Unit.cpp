#include "normative/LVNormativMethod04Unit.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "host/ColourLegend.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/InitOZN.h"
#include "host/Tree.h"
#include "normative/LVNormativInputPage.h"
#include "normative/LVNormativMethodDBUnit.h"
#include "normative/LVNormativReports.h"

namespace {
const QString kSettings = QStringLiteral("LVNormativMethod");
// The level header rows by node type, then the table head.
const int kLegendTypes[6] = {NodeType::AOEnergo, NodeType::PES,    NodeType::RES,
                             NodeType::Centers,  NodeType::Fiders, NodeType::Nodes};
const QRgb kLegendDefaults[7] = {0xF4CCCC, 0xFCE5CD, 0xFFF2CC, 0xD9EAD3, 0xD0E0E3, 0xC9DAF8, 0xE0E0E0};
}  // namespace

QStringList TLVNormativMethodForm4::LegendEntries()
{
    return {QStringLiteral("Заголовок АО"), QStringLiteral("Заголовок ПЭС"),   QStringLiteral("Заголовок РЭС"),
            QStringLiteral("Заголовок ЦП"), QStringLiteral("Заголовок Фидер"), QStringLiteral("Заголовок ТП"),
            QStringLiteral("Шапка таблицы")};
}

QColor TLVNormativMethodForm4::LegendColour(int entry)
{
    return QColor::fromRgb(static_cast<QRgb>(
        ::Init(true)->LoadIntParam(kSettings, QStringLiteral("Color%1").arg(entry), kLegendDefaults[entry])));
}

void TLVNormativMethodForm4::SetLegendColour(int entry, const QColor& colour)
{
    ::Init(true)->SaveIntParam(kSettings, QStringLiteral("Color%1").arg(entry),
                               static_cast<int>(colour.rgb() & 0xFFFFFF));
}

void TLVNormativMethodForm4::Created()
{
    TLVNormativMethodForm3::Created();
    auto* page = new QWidget(Pages());
    page->setObjectName(QStringLiteral("tsSummary"));
    auto* layout = new QVBoxLayout(page);
    auto* bar = new QHBoxLayout;
    auto* general = new QRadioButton(QStringLiteral("Общие"), page);
    general->setObjectName(QStringLiteral("rbGeneral"));
    general->setChecked(true);
    detailed_ = new QRadioButton(QStringLiteral("Детальные"), page);
    detailed_->setObjectName(QStringLiteral("rbDetailed"));
    auto* legend = new QPushButton(QStringLiteral("Легенда цветов"), page);
    legend->setObjectName(QStringLiteral("btnLegend"));
    rewrite_ = new QPushButton(QStringLiteral("Переписать данные"), page);
    rewrite_->setObjectName(QStringLiteral("btnRewrite"));
    bar->addWidget(general);
    bar->addWidget(detailed_);
    bar->addStretch();
    bar->addWidget(legend);
    bar->addWidget(rewrite_);
    layout->addLayout(bar);
    summary_ = new QTextBrowser(page);
    summary_->setObjectName(QStringLiteral("SummaryView"));
    layout->addWidget(summary_);
    Pages()->addTab(page, QStringLiteral("Сводные результаты"));
    connect(detailed_, &QRadioButton::toggled, this, &TLVNormativMethodForm4::RefreshSummary);
    connect(legend, &QPushButton::clicked, this, &TLVNormativMethodForm4::EditLegend);
    connect(rewrite_, &QPushButton::clicked, this, &TLVNormativMethodForm4::RewriteData);
    FullRunChanged();
    auto shown = [this, page] { return Pages()->currentWidget() == page; };
    connect(this, &TLVNormativMethodForm1::SelectionChanged, this, [this, shown] {
        if (shown())
            RefreshSummary();
    });
    connect(Pages(), &QTabWidget::currentChanged, this, [this, shown] {
        if (shown())
            RefreshSummary();
    });
}

void TLVNormativMethodForm4::FullRunChanged()
{
    TLVNormativMethodForm3::FullRunChanged();
    if (rewrite_)
        rewrite_->setVisible(FullRun());
}

void TLVNormativMethodForm4::SetDetailed(bool detailed) { detailed_->setChecked(detailed); }

QString TLVNormativMethodForm4::SummaryHtml() const
{
    ToznListItemCommon* item = SelectedItem();
    if (!item || Period().isEmpty())
        return {};
    const TNormativeSummary summary(*Database()->GetDefaultConnection(), item, Period(), SummaryScope());
    if (!summary.Root())
        return QStringLiteral("<p>Нет данных за %1</p>").arg(Period().Name.toHtmlEscaped());
    QString html = NormativeSummaryHtml(summary, detailed_->isChecked());
    // Header rows of each level and the table head in the legend's colours.
    for (int e = 0; e < 6; ++e)
        html.replace(QStringLiteral(" class='level%1'").arg(kLegendTypes[e]),
                     QStringLiteral(" bgcolor='%1'").arg(LegendColour(e).name()));
    html.replace(QStringLiteral(" class='head'"), QStringLiteral(" bgcolor='%1'").arg(LegendColour(6).name()));
    return html;
}

void TLVNormativMethodForm4::RefreshSummary()
{
    if (summary_)
        summary_->setHtml(SummaryHtml());
}

void TLVNormativMethodForm4::EditLegend()
{
    host::EditColours(this, QStringLiteral("Legend"), QStringLiteral("Легенда цветов"), LegendEntries(), &LegendColour,
                      [this](int entry, const QColor& colour) {
                          SetLegendColour(entry, colour);
                          RefreshSummary();
                      });
}

bool TLVNormativMethodForm4::RewriteData()
{
    ToznListItemCommon* item = SelectedItem();
    const TSamplePeriodInfo period = Period();
    if (!item || period.isEmpty() || !FullRun())
        return false;
    // Unsaved edits of the input page are settled first: the page shows the rewritten data afterwards.
    if (!InputPage()->AllowLeave())
        return false;
    if (host::dialogs().Message(QStringLiteral("Подтверждение"),
                                QStringLiteral("Переписать данные по %1?").arg(item->GetText()), host::Icon::Question,
                                host::Buttons::YesNo) != host::mrYes)
        return false;
    ToznFDConnection& connection = *Database()->GetDefaultConnection();
    // The element takes the sum of what is stored below it, not its own former result.
    TSummaryScope scope = SummaryScope();
    scope.BelowOnly = true;
    const TNormativeSummary summary(connection, item, period, scope);
    if (!summary.Root()) {
        host::ShowInformation(
            QStringLiteral("Нет результатов расчета элементов %1 за %2").arg(item->GetText(), period.Name));
        return false;
    }
    connection.StartTransaction(false);
    try {
        TLVNormativeStore store(connection);
        TLVNormativSample0 sample;
        sample.Period = period;
        sample.Ident = item->GetIdent();
        store.Load(sample, item->GetIdent(), period);
        summary.Root()->RewriteSample(sample);
        // A loss the method refuses is not stored as a result, whichever form stores it.
        store.Save(sample, period.Ident, sample.Classify() == TLVNormativSample0::Outcome::Saved);
        connection.Commit();
    } catch (const std::exception& e) {
        connection.Rollback();
        host::ShowWarning(QString::fromUtf8(e.what()));
        return false;
    }
    InputPage()->Load(item, period);
    emit SelectionChanged();  // the report and the summary read the rewritten data
    RefreshSummary();
    return true;
}
