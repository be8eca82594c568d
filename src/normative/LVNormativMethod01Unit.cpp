#include "normative/LVNormativMethod01Unit.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSplitter>
#include <QTabWidget>
#include <QTreeView>
#include <QVBoxLayout>

#include "host/Database.h"
#include "host/DesktopDialogs.h"
#include "host/SamplesTreeBox.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "host/TreeSearch.h"
#include "host/WindowPlace.h"
#include "normative/LVNormativInputPage.h"

TLVNormativMethodForm1::TLVNormativMethodForm1(QWidget* owner, TfdbDatabase* database)
    : QDialog(owner), database_(database)
{
    setObjectName(QStringLiteral("LVNormativMethodForm"));
    setWindowTitle(QStringLiteral("Оценка потерь электроэнергии по обобщенной информации о схемах и нагрузках сети"));
    KeepWindowPlace(*this, QStringLiteral("LVNormativMethodForm"), QSize(1300, 740));
    host::KeepOpenOnEnter(*this);
    auto* layout = new QVBoxLayout(this);
    auto* toolbar = new QHBoxLayout;
    toolbar->addWidget(new QLabel(QStringLiteral("Расчетный период"), this));
    periods_ = new TSamplesTreeBox(this);
    periods_->setObjectName(QStringLiteral("ComboSamplesDates"));
    const std::vector<TSamplePeriodInfo>& periods = database->GetSamplePeriods()->Items();
    periods_->Fill(periods);
    periods_->SetCurrentIdent(DefaultPeriod(periods, PeriodsWithResults(*database->GetDefaultConnection())));
    toolbar->addWidget(periods_);
    toolbar->addSpacing(16);
    toolbar->addWidget(new QLabel(QStringLiteral("Суммирование"), this));
    summing_ = new QComboBox(this);
    summing_->setObjectName(QStringLiteral("ComboSumMode"));
    summing_->addItem(QStringLiteral("Результаты за период"), static_cast<int>(SumMode::Period));
    summing_->addItem(QStringLiteral("Сумма по месяцам периода"), static_cast<int>(SumMode::Months));
    toolbar->addWidget(summing_);
    toolbar->addStretch();
    layout->addLayout(toolbar);

    auto* splitter = new QSplitter(this);
    tree_ = new QTreeView(splitter);
    tree_->setObjectName(QStringLiteral("TreeView"));
    tree_->setModel(new TreeModel(database->GetTree(), tree_));
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    pages_ = new QTabWidget(splitter);
    pages_->setObjectName(QStringLiteral("PageControl"));
    input_ = new TLVNormativInputPage(pages_, *database->GetDefaultConnection());
    pages_->addTab(input_, QStringLiteral("Расчет потерь"));
    splitter->setStretchFactor(1, 2);
    layout->addWidget(splitter);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    // A new element or period shows its stored inputs, once unsaved edits are settled.
    connect(tree_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current, const QModelIndex& previous) {
                if (restoring_)
                    return;
                if (!input_->AllowLeave()) {
                    restoring_ = true;
                    tree_->setCurrentIndex(previous);
                    restoring_ = false;
                    return;
                }
                input_->Load(SelectedItem(), Period());
                emit SelectionChanged();
            });
    connect(periods_, &TSamplesTreeBox::CurrentIdentChanged, this, [this](int ident) {
        if (restoring_)
            return;
        if (!input_->AllowLeave()) {
            restoring_ = true;
            periods_->SetCurrentIdent(shownPeriod_);
            restoring_ = false;
            return;
        }
        shownPeriod_ = ident;
        input_->Load(SelectedItem(), Period());
        emit SelectionChanged();
    });
    connect(summing_, &QComboBox::currentIndexChanged, this, [this] { emit SelectionChanged(); });
    // A save or a delete on the input page changes what the report and the summary show.
    connect(input_, &TLVNormativInputPage::StoredDataChanged, this, [this] { emit SelectionChanged(); });
    shownPeriod_ = periods_->CurrentIdent();
}

void TLVNormativMethodForm1::OpenOnChosen() { host::OpenOnChosen(tree_); }

void TLVNormativMethodForm1::reject()
{
    // Unsaved inputs are saved, dropped or kept with the form open, as the user answers.
    if (fullRun_ && InputPageVisible() && !input_->AllowLeave())
        return;
    QDialog::reject();
}

void TLVNormativMethodForm1::SetInputPageVisible(bool visible) { pages_->setTabVisible(0, visible); }

bool TLVNormativMethodForm1::InputPageVisible() const { return pages_->isTabVisible(0); }

ToznListItemCommon* TLVNormativMethodForm1::SelectedItem() const
{
    ToznListItemCommon* item = TreeModel::Item(tree_->currentIndex());
    return item ? item->Target() : nullptr;
}

TSamplePeriodInfo TLVNormativMethodForm1::Period() const
{
    const TSamplePeriodInfo* info =
        database_->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(periods_->CurrentIdent());
    return info ? *info : TSamplePeriodInfo();
}

bool TLVNormativMethodForm1::SetPeriod(int ident) { return periods_->SetCurrentIdent(ident); }

TLVNormativMethodForm1::SumMode TLVNormativMethodForm1::Summing() const
{
    return static_cast<SumMode>(summing_->currentData().toInt());
}

void TLVNormativMethodForm1::SetSumming(SumMode mode)
{
    summing_->setCurrentIndex(summing_->findData(static_cast<int>(mode)));
}

TSummaryScope TLVNormativMethodForm1::SummaryScope() const
{
    TSummaryScope scope;
    if (Summing() == SumMode::Months)
        scope.Periods = MonthsOf(Period(), database_->GetSamplePeriods()->Items());
    return scope;
}
