#include "results/UnitPesResultsLV.h"

#include <QComboBox>
#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTreeView>
#include <QVBoxLayout>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/Spreadsheet.h"
#include "host/Tree.h"
#include "host/WindowPlace.h"
#include "results/ColorsLVResult.h"
#include "results/LVResultsColumns.h"
#include "results/LVResultsModel.h"
#include "results/UnitLVResultsTree.h"
#include "results/UnitLVResultsXLSX.h"
#include "results/UnitPesResultsLV32.h"

TfrmPesResultsLV::TfrmPesResultsLV(QWidget* owner) : TfrmPesResultsLV(owner, std::make_unique<TNodeLV>()) {}

TfrmPesResultsLV::TfrmPesResultsLV(QWidget* owner, std::unique_ptr<TNodeLV> rows)
    : TxlsCustomMenuForm(owner), rows_(std::move(rows))
{
    setObjectName(QStringLiteral("frmPesResultsLV"));
    setWindowTitle(QStringLiteral("Сводные результаты расчета"));
    samplesBox_ = new QComboBox(this);
    samplesBox_->setObjectName(QStringLiteral("cbSamples"));
    connect(samplesBox_, &QComboBox::currentIndexChanged, this, [this](int index) { SelectSample(index); });
    pages_ = new QComboBox(this);
    pages_->setObjectName(QStringLiteral("cbPages"));
    for (int p = 0; p < rows_->PageCount(); ++p)
        pages_->addItem(rows_->SheetName(p));
    connect(pages_, &QComboBox::currentIndexChanged, this, &TfrmPesResultsLV::ShowPage);
    auto* open = new QPushButton(QStringLiteral("Открыть в Excel"), this);
    open->setObjectName(QStringLiteral("btnOpenExcel"));
    connect(open, &QPushButton::clicked, this, &TfrmPesResultsLV::OpenInSpreadsheet);
    auto* bar = new QHBoxLayout;
    bar->addWidget(new QLabel(QStringLiteral("Расчетный период"), this));
    bar->addWidget(samplesBox_);
    bar->addWidget(new QLabel(QStringLiteral("Лист"), this));
    bar->addWidget(pages_, 1);
    bar->addWidget(open);
    // The sheet as it will be written, for a look before the spreadsheet opens.
    preview_ = new QTreeView(this);
    preview_->setObjectName(QStringLiteral("Preview"));
    model_ = new TLVResultsModel(this);
    preview_->setModel(model_);
    Body()->insertLayout(0, bar);
    Body()->insertWidget(1, preview_, 1);
    KeepWindowPlace(*this, QStringLiteral("PesResultsLV"), QSize(1200, 720));
}

void TfrmPesResultsLV::ShowPage()
{
    if (!tree_)
        return;
    std::array<bool, 8> visible;
    visible.fill(true);
    model_->Reset(tree_.get(), rows_->Columns(pages_->currentIndex()), visible, [](int level) {
        const std::optional<uint32_t> rgb = ColorsLVResult::LevelRgb(level);
        return rgb ? QColor::fromRgb(*rgb) : QColor();
    });
    preview_->expandToDepth(1);
    TLVResultsModel::FitColumns(*preview_, 300);
}

TfrmPesResultsLV::~TfrmPesResultsLV() = default;

bool TfrmPesResultsLV::Init(TfdbDatabase* database, int ident)
{
    if (!database)
        return false;
    database_ = database;
    ident_ = ident;
    ToznFDConnection& c = *database->GetDefaultConnection();
    level_ = FindLevelLV(c, ident);
    if (level_ < 0) {
        host::ShowWarning(QStringLiteral("Не найден GUID"));
        return false;
    }
    samples_ = SamplesWithResultsLV(c, 0);
    if (samples_.isEmpty()) {
        host::ShowWarning(QStringLiteral("Нет результатов"));
        return false;
    }
    const QSignalBlocker blocker(samplesBox_);
    samplesBox_->clear();
    for (const TLVResultSample& s : samples_)
        samplesBox_->addItem(s.Name, s.Ident);
    samplesBox_->setCurrentIndex(samples_.size() - 1);
    return SelectSample(samples_.size() - 1);
}

bool TfrmPesResultsLV::SelectSample(int index)
{
    if (!database_ || index < 0 || index >= samples_.size())
        return false;
    ToznFDConnection& c = *database_->GetDefaultConnection();
    sample_ = samples_[index];
    auto tree = std::make_unique<TPesResultsLV>(level_, ident_, QString(), nullptr);
    QString error;
    if (!tree->Open(c, ident_, 0, sample_.SampleDate1, sample_.SampleDate2, sample_.Period, error)) {
        host::ShowWarning(error);
        return false;
    }
    tree->SetNormative(NormativeLossesLV(c, sample_.Ident));
    model_->Reset(nullptr, {}, {}, {});  // the view lets go of the old tree first
    tree_ = std::move(tree);
    ShowPage();
    setWindowTitle(QStringLiteral("Сводные результаты расчета  \"%1\" за %2").arg(tree_->Text(), sample_.Name));
    if (samplesBox_->currentIndex() != index) {
        const QSignalBlocker blocker(samplesBox_);
        samplesBox_->setCurrentIndex(index);
    }
    return true;
}

bool TfrmPesResultsLV::WriteWorkbook(const QString& file, int page, QString& error)
{
    if (!tree_) {
        error = QStringLiteral("Нет результатов");
        return false;
    }
    try {
        // The columns the user switched off in the grid stay out of the workbook as well.
        const QStringList hidden = ColorsLVResult::HiddenColumns();
        std::vector<const TLVResultColumn*> columns;
        for (const TLVResultColumn* c : rows_->Columns(page))
            if (!hidden.contains(c->Field))
                columns.push_back(c);
        return WriteResultsSummaryXlsx(file, *tree_, columns, rows_->SheetName(page), windowTitle(),
                                       ColorsLVResult::VisibleRows(), error);
    } catch (const std::invalid_argument& e) {
        error = QString::fromUtf8(e.what());
        return false;
    }
}

void TfrmPesResultsLV::OpenInSpreadsheet()
{
    const QString file = host::UserWorkbookPath(QStringLiteral("Результаты 0,38 кВ"),
                                                tree_ ? TreeItemName(tree_->GUID()) : QString(), pages_->currentText());
    QString error;
    if (!WriteWorkbook(file, pages_->currentIndex(), error)) {
        host::ShowWarning(error);
        return;
    }
    if (!host::OpenInSpreadsheet(file, error))
        host::ShowWarning(QStringLiteral("Не удалось открыть %1 в табличном редакторе: %2").arg(file, error));
}

TfrmPesResultsLV32::TfrmPesResultsLV32(QWidget* owner) : TfrmPesResultsLV(owner, std::make_unique<TNodeLV32>())
{
    setObjectName(QStringLiteral("frmPesResultsLV32"));
}
