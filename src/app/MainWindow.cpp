#include "app/MainWindow.h"

#include <QComboBox>
#include <QDockWidget>
#include <QLabel>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>
#include <QTreeView>

#include "app/RegimeCommand.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/FiderHHCalcParams.h"
#include "host/HostObjects.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "host/WindowService.h"
#include "host/fider/RegimeBatch.h"

MainWindow::MainWindow(TfdbDatabase* database, Ozn32Plugin* plugin) : database_(database), plugin_(plugin)
{
    setWindowTitle(QStringLiteral("ОЗН 3 — %1").arg(database->ConnectionString()));
    resize(1000, 700);
    tree_ = new QTreeView(this);
    tree_->setObjectName(QStringLiteral("NetworkTree"));
    tree_->setModel(new TreeModel(database->GetTree(), tree_));
    tree_->expandToDepth(1);
    setCentralWidget(tree_);

    auto* toolbar = addToolBar(QStringLiteral("Период"));
    toolbar->addWidget(new QLabel(QStringLiteral(" Расчетный период: "), toolbar));
    periods_ = new QComboBox(toolbar);
    periods_->setObjectName(QStringLiteral("ComboSamplesDates"));
    periods_->setMinimumWidth(200);
    int latestYear = periods_->count() - 1;
    for (const TSamplePeriodInfo& info : database->GetSamplePeriods()->Items()) {
        periods_->addItem(info.Name, info.Ident);
        if (info.Period == 1)
            latestYear = periods_->count() - 1;
    }
    periods_->setCurrentIndex(latestYear);
    toolbar->addWidget(periods_);

    detail_ = new QDockWidget(QStringLiteral("Схема 0,38 кВ"), this);
    detail_->setObjectName(QStringLiteral("DetailDock"));
    addDockWidget(Qt::RightDockWidgetArea, detail_);
    detail_->hide();

    BuildMenu();
    // A double click on a substation or an LV feeder opens the feeder editor there.
    connect(tree_, &QTreeView::doubleClicked, this, [this] {
        ToznListItemCommon* item = SelectedItem();
        if (!item || (item->GetNodeType() != NodeType::Nodes && item->GetNodeType() != NodeType::LVFiders))
            return;
        int32_t lv = item->GetNodeType() == NodeType::LVFiders ? item->GetIdent() : 0;
        plugin_->ShowLVFiders(lv ? 0 : item->GetIdent(), &lv);
    });
    TfdbTree* t = database->GetTree();
    statusBar()->showMessage(QStringLiteral("ТП: %1, линий 0,4 кВ: %2")
                                 .arg(t->CountOfType(NodeType::Nodes))
                                 .arg(t->CountOfType(NodeType::LVFiders)));
    host::windows().SetMainWindow(this);
}

ToznListItemCommon* MainWindow::SelectedItem() const
{
    ToznListItemCommon* item = TreeModel::Item(tree_->currentIndex());
    return item ? item->Target() : nullptr;
}

ToznListItemCommon* MainWindow::SelectedOfType(int nodeType) const
{
    for (ToznListItemCommon* item = SelectedItem(); item; item = item->Parent())
        if (item->GetNodeType() == nodeType && !item->isLink())
            return item;
    return nullptr;
}

int MainWindow::SelectedPeriod() const { return periods_->currentData().toInt(); }

void MainWindow::BuildMenu()
{
    QMenu* menu = menuBar()->addMenu(QStringLiteral("Сеть 0,4 кВ"));
    auto guid = [this] { return SelectedItem() ? SelectedItem()->GetIdent() : 0; };
    menu->addAction(QStringLiteral("Линии 0,38 кВ ТП..."), this, [this] {
        ToznListItemCommon* lv = SelectedOfType(NodeType::LVFiders);
        ToznListItemCommon* node = SelectedOfType(NodeType::Nodes);
        int32_t lvGuid = lv ? lv->GetIdent() : 0;
        plugin_->ShowLVFiders(lv ? 0 : (node ? node->GetIdent() : 0), &lvGuid);
    });
    menu->addAction(QStringLiteral("Схема 0,38 кВ линии"), this, &MainWindow::ShowDetail);
    menu->addSeparator();
    menu->addAction(QStringLiteral("Расчет режима средних нагрузок..."), this, [this] { RunRegime(false); });
    menu->addAction(QStringLiteral("Расчет режима максимальных нагрузок..."), this, [this] { RunRegime(true); });
    menu->addAction(QStringLiteral("Баланс линии..."), this, [this] { ShowBalance(false); });
    menu->addAction(QStringLiteral("Баланс линии в таблицу экспорта"), this, [this] { ShowBalance(true); });
    menu->addSeparator();
    menu->addAction(QStringLiteral("Нормативный метод..."), this, [this] { plugin_->RunLVNormativMethod(database_); });
    menu->addAction(QStringLiteral("Нормативный метод: результаты..."), this,
                    [this] { plugin_->RunLVNormativMethodResults(database_); });
    menu->addSeparator();
    menu->addAction(QStringLiteral("Результаты по электрическим сетям..."), this,
                    [this, guid] { plugin_->ShowLVPESResults(database_, guid()); });
    menu->addAction(QStringLiteral("Таблица результатов 0,4 кВ..."), this,
                    [this, guid] { plugin_->ShowLVResultsGrid(database_, guid()); });
    menu->addAction(QStringLiteral("Расчеты сети 0,4 кВ..."), this, [this] { plugin_->ShowLVPESResultsAll(); });
    menu->addAction(QStringLiteral("Недоотпуск по линиям 0,4 кВ..."), this,
                    [this, guid] { plugin_->ShowLVUndersupplyReport(guid()); });
    menu->addSeparator();
    menu->addAction(QStringLiteral("Замеры W (книга Excel)..."), this, [this] { plugin_->ShowSamplesWInput(u"", 0); });
    menu->addAction(QStringLiteral("Замеры Tmax (книга Excel)..."), this,
                    [this] { plugin_->ShowSamplesTmaxInput(u"", 0); });
    menu->addAction(QStringLiteral("Обобщенные данные нормативного метода (книга Excel)..."), this,
                    [this] { plugin_->ShowLVNormativMethodInput(u"", 0); });
    QMenu* file = menuBar()->addMenu(QStringLiteral("Файл"));
    file->addAction(QStringLiteral("Выход"), this, &QWidget::close);
}

void MainWindow::ShowDetail()
{
    ToznListItemCommon* lv = SelectedOfType(NodeType::LVFiders);
    if (!lv) {
        host::ShowWarning(QStringLiteral("Выберите линию 0,4 кВ в дереве сети"));
        return;
    }
    ShowDetailOf(lv, 0);
}

void MainWindow::ShowDetailOf(ToznListItemCommon* lv, int runIdent)
{
    QWidget* old = detail_->widget();
    // The frame is created on the dock and owned by it.
    QWidget* frame = plugin_->DetailFrameCreate(detail_, lv, runIdent);
    if (frame) {
        detail_->setWidget(frame);
        delete old;
        detail_->show();
    }
}

void MainWindow::RunRegime(bool maximum)
{
    ToznListItemCommon* item = SelectedItem();
    if (!item || item->GetNodeType() < NodeType::AOEnergo) {
        host::ShowWarning(QStringLiteral("Выберите в дереве сети линию 0,4 кВ или элемент сети выше неё"));
        return;
    }
    // One LV feeder, or every LV feeder under the chosen element.
    ToznListItemCommon* lv = SelectedOfType(NodeType::LVFiders);
    std::unique_ptr<TFiderHHCalcParams> params;
    if (maximum)
        params = std::make_unique<TWCalcTmaxHHParams>();
    else
        params = std::make_unique<TWCalcHHParams>();
    params->SetFiderGUID(lv ? lv->GetIdent() : 0);
    params->SetSamplePeriod(SelectedPeriod());
    const int answer = maximum ? plugin_->GetLVMaxRegim(static_cast<TWCalcTmaxHHParams*>(params.get()))
                               : plugin_->GetLVMiddleRegim(static_cast<TWCalcHHParams*>(params.get()));
    if (answer != 1)
        return;
    const fider::TRegimeKind regime = maximum ? fider::TRegimeKind::Maximum : fider::TRegimeKind::Middle;
    const QList<int> fiders =
        lv ? QList<int>{lv->GetIdent()} : fider::LVFidersUnder(*database_->GetTree(), item->GetIdent());
    if (fiders.isEmpty()) {
        host::ShowWarning(QStringLiteral("Под выбранным элементом сети нет линий 0,4 кВ"));
        return;
    }
    const RegimeOutcome outcome =
        RunRegimeCommand(*database_, fiders, RequestFromParams(*params, regime, lv != nullptr));
    if (!lv) {
        (outcome.Refused || !outcome.Failure.isEmpty() ? host::ShowWarning
                                                       : host::ShowInformation)(RegimeSummary(outcome));
        return;
    }
    if (outcome.Calculated == 0) {
        host::ShowWarning(QStringLiteral("Расчет линии «%1» не выполнен:\n").arg(lv->GetText()) +
                          (outcome.Failure.isEmpty() ? outcome.Problems.join(QLatin1Char('\n')) : outcome.Failure));
        return;
    }
    // The feeder's balance, then its scheme with the voltages, currents and losses of this run.
    TFiderHH fider(lv->GetIdent(), lv->GetText(), lv->Parent() ? lv->Parent()->GetIdent() : 0);
    plugin_->ShowFiderHHResults(&fider, params->GetSamplePeriod());
    ShowDetailOf(lv, outcome.LastIdent);
}

void MainWindow::ShowBalance(bool toExport)
{
    ToznListItemCommon* lv = SelectedOfType(NodeType::LVFiders);
    if (!lv) {
        host::ShowWarning(QStringLiteral("Выберите линию 0,4 кВ в дереве сети"));
        return;
    }
    TFiderHH fider(lv->GetIdent(), lv->GetText(), lv->Parent() ? lv->Parent()->GetIdent() : 0);
    if (!toExport) {
        plugin_->ShowFiderHHResults(&fider, SelectedPeriod());
        return;
    }
    TOExport target;
    plugin_->BuildFiderHHResults(&fider, &target);
    host::ShowInformation(QStringLiteral("%1: строк %2").arg(target.Title()).arg(target.Rows().size()));
}
