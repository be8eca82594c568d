#include "results/LVduCalcMenuUnit.h"

#include "host/Database.h"
#include "host/Tree.h"

TfrmLVduCalcMenu::TfrmLVduCalcMenu(QWidget* owner) : TxlsCustomMenuForm(owner)
{
    setObjectName(QStringLiteral("frmLVduCalcMenu"));
    setWindowTitle(QStringLiteral("Расчет потерь в сетях 0,4 кВ"));
}

bool TfrmLVduCalcMenu::CanOpen() { return SetDataBaseName() && CurrentDatabase()->GetTree()->GetCount() > 0; }
