#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/HostObjects.h"
#include "host/Tree.h"
#include "results/LVResultsUndersupplyUnit.h"
#include "results/LVduCalcMenuUnit.h"
#include "results/PesResultsLVUnit.h"
#include "results/UnitLVResults.h"
#include "results/UnitLVResultsGrid.h"
#include "results/UnitPesResultsLV32.h"

namespace {
QDialogButtonBox* closeButtons(QDialog* dialog)
{
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return buttons;
}

int levelOrWarn(TfdbDatabase* database, int ident)
{
    if (!database)
        return -1;
    const int level = FindLevelLV(*database->GetDefaultConnection(), ident);
    if (level < 0)
        host::ShowWarning(QStringLiteral("Не найден GUID"));
    return level;
}
}  // namespace

TfrmPesResultsLV::TfrmPesResultsLV(QWidget* owner) : TxlsCustomMenuForm(owner)
{
    setObjectName(QStringLiteral("frmPesResultsLV"));
    setWindowTitle(QStringLiteral("Сводные результаты расчета"));
}

bool TfrmPesResultsLV::Init(TfdbDatabase* database, int ident)
{
    level_ = levelOrWarn(database, ident);
    return level_ >= 0;
}

TfrmPesResultsLV32::TfrmPesResultsLV32(QWidget* owner) : TfrmPesResultsLV(owner)
{
    setObjectName(QStringLiteral("frmPesResultsLV32"));
}

TfrmLVUndersupply::TfrmLVUndersupply(QWidget* owner) : QDialog(owner)
{
    setObjectName(QStringLiteral("frmLVUndersupply"));
    setWindowTitle(QStringLiteral("Недоотпуск электроэнергии"));
    auto* layout = new QVBoxLayout(this);
    layout->addStretch();
    layout->addWidget(closeButtons(this));
}

TfrmLVduCalcMenu::TfrmLVduCalcMenu(QWidget* owner) : TxlsCustomMenuForm(owner)
{
    setObjectName(QStringLiteral("frmLVduCalcMenu"));
    setWindowTitle(QStringLiteral("Расчет потерь в сетях 0,4 кВ"));
}

bool TfrmLVduCalcMenu::CanOpen() { return SetDataBaseName() && CurrentDatabase()->GetTree()->GetCount() > 0; }
