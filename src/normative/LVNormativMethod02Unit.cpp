#include "normative/LVNormativMethod02Unit.h"

#include <QMenu>
#include <QTreeView>

#include "host/Dialogs.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "normative/LVNormativInputPage.h"
#include "normative/LVNormativMethodCalcForm.h"

int TLVNormativMethodForm2::MenuLevel(const ToznListItemCommon* item)
{
    if (!item)
        return 0;
    switch (item->GetNodeType()) {
    case NodeType::AOEnergo: return 1;
    case NodeType::PES: return 2;
    case NodeType::RES: return 3;
    case NodeType::Centers: return 4;
    case NodeType::Fiders: return 6;
    case NodeType::Nodes: return 7;
    default: return 0;
    }
}

QMenu* TLVNormativMethodForm2::BuildContextMenu(ToznListItemCommon* item)
{
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("TreePopup"));
    QMenu* calc = menu->addMenu(QStringLiteral("Расчет"));
    calc->setObjectName(QStringLiteral("itmCalc"));
    const std::pair<int, const char*> levels[] = {
        {1, "АО энерго"},     {2, "Электрические сети"}, {3, "Район электрических сетей"},
        {4, "Центр питания"}, {6, "Фидер 6(10) кВ"},     {7, "ТП"}};
    for (const auto& [code, caption] : levels)
        calc->addAction(QString::fromUtf8(caption), this, [this, item, code = code] { StartCalculation(item, code); });
    calc->menuAction()->setVisible(FullRun() && MenuLevel(item) != 0);
    return menu;
}

void TLVNormativMethodForm2::StartCalculation(ToznListItemCommon* item, int levelCode)
{
    const TSamplePeriodInfo period = Period();
    if (period.isEmpty()) {
        host::ShowWarning(QStringLiteral("Не задан период"));
        return;
    }
    // The batch stores over the element shown: its unsaved inputs are settled first.
    if (!InputPage()->AllowLeave())
        return;
    auto* form = new TLVNormativMethodCalcForm(this);
    form->setAttribute(Qt::WA_DeleteOnClose);
    // What the batch stored is shown at once: the input page, the report and the summary read it again.
    connect(form, &TLVNormativMethodCalcForm::CalculationFinished, this, [this] {
        InputPage()->Load(SelectedItem(), Period());
        emit SelectionChanged();
    });
    form->Start(Database(), item->GetIdent(), levelCode, period);
    form->open();
}

void TLVNormativMethodForm2::Created()
{
    TLVNormativMethodForm1::Created();
    connect(Tree(), &QTreeView::customContextMenuRequested, this, [this](const QPoint& pos) {
        ToznListItemCommon* item = TreeModel::Item(Tree()->indexAt(pos));
        if (!item)
            return;
        QMenu* menu = BuildContextMenu(item->Target());
        menu->setAttribute(Qt::WA_DeleteOnClose);
        menu->popup(Tree()->viewport()->mapToGlobal(pos));
    });
}
