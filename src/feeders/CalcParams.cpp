#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QTabBar>
#include <QVBoxLayout>

#include "feeders/CalcParamsMax.h"
#include "feeders/CalcParamsMiddle.h"
#include "host/Database.h"
#include "host/FiderHHCalcParams.h"
#include "host/SamplePeriods.h"

TfrmCalcParamsCustom::TfrmCalcParamsCustom(QWidget* owner) : QDialog(owner)
{
    setWindowTitle(QStringLiteral("Расчет потерь эл.энергии (установившийся режим)"));
    body_ = new QVBoxLayout(this);
    levels_ = new QTabBar(this);
    levels_->setObjectName(QStringLiteral("TabLevels"));
    for (const char* caption : {"Текущие", "Линия", "ТП(заданные)", "ТП(расчетные)"})
        levels_->addTab(QString::fromUtf8(caption));
    body_->addWidget(levels_);
    body_->addStretch();
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->setObjectName(QStringLiteral("Buttons"));
    body_->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

bool TfrmCalcParamsCustom::Prepare() { return params_ != nullptr; }

TfrmCalcParamsPW::TfrmCalcParamsPW(QWidget* owner) : TfrmCalcParamsCustom(owner)
{
    auto* label = new QLabel(QStringLiteral("Расчетный период"), this);
    periods_ = new QComboBox(this);
    periods_->setObjectName(QStringLiteral("ComboSamplesDates"));
    Body()->insertWidget(1, label);
    Body()->insertWidget(2, periods_);
}

bool TfrmCalcParamsPW::Prepare()
{
    if (!TfrmCalcParamsCustom::Prepare() || !CurrentDatabase())
        return false;
    periods_->clear();
    const TSamplePeriodsList* list = CurrentDatabase()->GetSamplePeriods();
    int current = -1;
    for (const TSamplePeriodInfo& info : list->Items()) {
        periods_->addItem(info.Name, info.Ident);
        if (info.Ident == Params()->GetSamplePeriod())
            current = periods_->count() - 1;
    }
    periods_->setCurrentIndex(current);
    if (current < 0)
        return false;
    Params()->SetSamplePeriod(periods_->currentData().toInt());
    connect(periods_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0)
            Params()->SetSamplePeriod(periods_->itemData(index).toInt());
    });
    return true;
}

TfrmCalcParamsMiddle::TfrmCalcParamsMiddle(QWidget* owner) : TfrmCalcParamsPW(owner)
{
    setObjectName(QStringLiteral("frmCalcParamsMiddle"));
    setWindowTitle(QStringLiteral("Расчет потерь эл.энергии по средним нагрузкам"));
}

TfrmCalcParamsMax::TfrmCalcParamsMax(QWidget* owner) : TfrmCalcParamsPW(owner)
{
    setObjectName(QStringLiteral("frmCalcParamsMax"));
}
