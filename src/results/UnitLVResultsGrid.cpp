#include "results/UnitLVResultsGrid.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QTextDocument>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>
#include <functional>

#include "feeders/ReportHTMLForm.h"
#include "host/ColourLegend.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/InitOZN.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "host/SamplePeriods.h"
#include "host/Spreadsheet.h"
#include "host/WindowPlace.h"
#include "results/ColorsLVResult.h"
#include "results/LVResultsColumns.h"
#include "results/LVResultsModel.h"
#include "results/UnitLVResultsTree.h"
#include "results/UnitLVResultsXLSX.h"

namespace {
using ColorsLVResult::kSection;
constexpr int kGuidRole = TLVResultsModel::GuidRole;
const char* const kLevelNames[8] = {"АО энерго", "ПЭС",   "РЭС", "Центр питания",
                                    "Секция",    "Фидер", "ТП",  "Линия 0,4 кВ"};
// Adds OK and cancel to a set-up dialog and runs it; true when accepted.
bool RunOkCancel(QDialog& dialog, QVBoxLayout* layout)
{
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    return dialog.exec() == QDialog::Accepted;
}
}  // namespace

TfrmLVResultsGrid::TfrmLVResultsGrid(QWidget* owner) : QDialog(owner)
{
    setObjectName(QStringLiteral("frmLVResultsGrid"));
    setWindowTitle(QStringLiteral("Потери эл. энергии по электрическим сетям"));
    KeepWindowPlace(*this, QStringLiteral("LVResultsGrid"), QSize(1300, 740));
    visibleRows_.fill(true);
    auto* layout = new QVBoxLayout(this);
    // Two rows of buttons rather than a tool bar: every command stays in sight on a narrow screen.
    auto* top = new QHBoxLayout;
    auto* commands = new QHBoxLayout;
    layout->addLayout(top);
    layout->addLayout(commands);
    auto tool = [this](QHBoxLayout* row, const QString& name, const QString& text) {
        auto* b = new QToolButton(this);
        b->setObjectName(name);
        b->setText(text);
        b->setAutoRaise(true);
        row->addWidget(b);
        return b;
    };
    energyButton_ = tool(top, QStringLiteral("btnEnergy"), QStringLiteral("Потери электроэнергии"));
    powerButton_ = tool(top, QStringLiteral("btnPower"), QStringLiteral("Потери мощности"));
    for (QToolButton* b : {energyButton_, powerButton_})
        b->setCheckable(true);
    auto* group = new QButtonGroup(this);
    group->addButton(energyButton_);
    group->addButton(powerButton_);
    energyButton_->setChecked(true);
    top->addSpacing(12);
    top->addWidget(new QLabel(QStringLiteral("Расчетный период"), this));
    samples_ = new QComboBox(this);
    samples_->setObjectName(QStringLiteral("cbSamples"));
    top->addWidget(samples_);
    periods_ = new QComboBox(this);
    periods_->setObjectName(QStringLiteral("cbPeriods"));
    top->addWidget(periods_);
    top->addStretch();
    const std::pair<const char*, const char*> actions[] = {{"btnReport", "Сводные результаты расчета"},
                                                           {"btnDelete", "Удалить выделенные"},
                                                           {"btnClear", "Очистить таблицу"},
                                                           {"btnRefresh", "Обновить отчет"},
                                                           {"btnRows", "Настроить строки"},
                                                           {"btnColumns", "Настроить столбцы"},
                                                           {"btnExcel", "Сохранить в формате Microsoft Excel"},
                                                           {"btnPrint", "Печать…"},
                                                           {"btnLegend", "Легенда цветов"},
                                                           {"btnExit", "Выход"}};
    std::vector<QToolButton*> buttons;
    for (const auto& [name, text] : actions) {
        // The legend and the exit stand at the end of the first row.
        const bool last = QByteArray(name) == "btnLegend" || QByteArray(name) == "btnExit";
        buttons.push_back(tool(last ? top : commands, QString::fromLatin1(name), QString::fromUtf8(text)));
    }
    commands->addStretch();
    connect(buttons[0], &QToolButton::clicked, this, &TfrmLVResultsGrid::ShowRowReport);
    connect(buttons[1], &QToolButton::clicked, this, &TfrmLVResultsGrid::DeleteSelected);
    connect(buttons[2], &QToolButton::clicked, this, &TfrmLVResultsGrid::ClearTable);
    connect(buttons[3], &QToolButton::clicked, this, &TfrmLVResultsGrid::Refresh);
    connect(buttons[4], &QToolButton::clicked, this, &TfrmLVResultsGrid::SetUpRows);
    connect(buttons[5], &QToolButton::clicked, this, &TfrmLVResultsGrid::SetUpColumns);
    connect(buttons[6], &QToolButton::clicked, this, &TfrmLVResultsGrid::SaveToExcel);
    connect(buttons[7], &QToolButton::clicked, this, &TfrmLVResultsGrid::Print);
    connect(buttons[8], &QToolButton::clicked, this, &TfrmLVResultsGrid::ColorLegend);
    connect(buttons[9], &QToolButton::clicked, this, &QDialog::accept);

    view_ = new QTreeView(this);
    view_->setObjectName(QStringLiteral("Grid"));
    model_ = new TLVResultsModel(this);
    view_->setModel(model_);
    view_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    layout->addWidget(view_);
    connect(view_, &QTreeView::doubleClicked, this, &TfrmLVResultsGrid::ShowRowReport);
    connect(energyButton_, &QToolButton::toggled, this, [this](bool on) { ShowEnergy(on); });
    connect(samples_, &QComboBox::activated, this, [this] {
        FillPeriods();
        Refresh();
    });
    connect(periods_, &QComboBox::activated, this, &TfrmLVResultsGrid::Refresh);
}

TfrmLVResultsGrid::~TfrmLVResultsGrid() = default;

bool TfrmLVResultsGrid::Init(TfdbDatabase* database, int ident)
{
    database_ = database;
    ident_ = ident;
    if (!database)
        return false;
    TInitOZN* init = ::Init(true);
    calcType_ = init->LoadIntParam(kSection, QStringLiteral("ClassResultsLV"), 0);
    visibleRows_ = ColorsLVResult::VisibleRows();
    hiddenColumns_ = ColorsLVResult::HiddenColumns();
    level_ = FindLevelLV(*database->GetDefaultConnection(), ident);
    if (level_ < 0) {
        host::ShowWarning(QStringLiteral("Не найден GUID"));
        return false;
    }
    FillSamples();
    if (sampleList_.isEmpty()) {
        host::ShowWarning(QStringLiteral("Нет результатов"));
        return false;
    }
    FillPeriods();
    Refresh();
    return true;
}

void TfrmLVResultsGrid::FillSamples()
{
    sampleList_ = SamplesWithResultsLV(*database_->GetDefaultConnection(), calcType_);
    samples_->clear();
    const int remembered = ::Init(true)->LoadIntParam(kSection, QStringLiteral("SampleIdent"), 0);
    int current = static_cast<int>(sampleList_.size()) - 1;
    for (int i = 0; i < sampleList_.size(); ++i) {
        samples_->addItem(sampleList_[i].Name, sampleList_[i].Ident);
        if (sampleList_[i].Ident == remembered)
            current = i;
    }
    samples_->setCurrentIndex(current);
}

TLVResultSample TfrmLVResultsGrid::CurrentSample() const
{
    const int i = samples_->currentIndex();
    return i >= 0 && i < sampleList_.size() ? sampleList_[i] : TLVResultSample();
}

void TfrmLVResultsGrid::FillPeriods()
{
    const TLVResultSample sample = CurrentSample();
    const int remembered = periods_->currentIndex() >= 0 ? periods_->currentData().toInt() : sample.Period;
    periods_->clear();
    TSamplePeriodInfo chosen;
    chosen.Period = sample.Period;
    chosen.SampleDate1 = sample.SampleDate1;
    chosen.SampleDate2 = sample.SampleDate2;
    const TSamplePeriodsList* catalogue = database_->GetSamplePeriods();
    for (const TLVResultPeriod& p : PeriodsWithResultsLV(*database_->GetDefaultConnection(), calcType_, ident_,
                                                         sample.SampleDate1, sample.SampleDate2)) {
        // A calculation of type 3 lists only periods that are the same as the sample's.
        if (calcType_ == 3) {
            bool same = false;
            for (const TSamplePeriodInfo& info : catalogue->Items())
                if (info.Period == p.Period && f_SamePeriods(info, chosen))
                    same = true;
            if (!same)
                continue;
        }
        periods_->addItem(p.Name, p.Period);
    }
    const int index = periods_->findData(remembered);
    periods_->setCurrentIndex(index >= 0 ? index : 0);
}

std::vector<const TLVResultColumn*> TfrmLVResultsGrid::Columns() const
{
    std::vector<const TLVResultColumn*> columns;
    for (const auto* list : {energy_ ? &EnergyColumns() : &PowerColumns(), &LineColumns()})
        for (const TLVResultColumn& c : *list)
            if (!hiddenColumns_.contains(c.Field))
                columns.push_back(&c);
    return columns;
}

void TfrmLVResultsGrid::Refresh()
{
    const TLVResultSample sample = CurrentSample();
    tree_ = std::make_unique<TPesResultsLV>(0, ident_, QString(), nullptr);
    QString error;
    host::progress().Start(QStringLiteral("Активация дерева"), 0);
    const bool ok = sample.Ident != 0 && periods_->currentIndex() >= 0 &&
                    tree_->Open(*database_->GetDefaultConnection(), ident_, calcType_, sample.SampleDate1,
                                sample.SampleDate2, periods_->currentData().toInt(), error);
    host::progress().SetText(QStringLiteral("Заполнение таблицы"));
    if (!ok)
        tree_.reset();
    FillTable();
    host::progress().Finish();
    SaveSettings();
}

void TfrmLVResultsGrid::ShowEnergy(bool energy)
{
    energy_ = energy;
    energyButton_->setChecked(energy);
    powerButton_->setChecked(!energy);
    FillTable();
}

QString TfrmLVResultsGrid::ColumnCaption(int column) const
{
    return model_->headerData(column, Qt::Horizontal, TLVResultsModel::CaptionRole).toString();
}

void TfrmLVResultsGrid::FillTable()
{
    model_->Reset(tree_.get(), Columns(), visibleRows_, [this](int level) { return LevelColor(level); });
    // A whole utility has tens of thousands of rows: only the upper levels open at first.
    view_->expandToDepth(2);
    TLVResultsModel::FitColumns(*view_, 320);
}

QColor TfrmLVResultsGrid::LevelColor(int level) const
{
    const std::optional<uint32_t> rgb = ColorsLVResult::LevelRgb(level);
    return rgb ? QColor::fromRgb(*rgb) : QColor();
}

void TfrmLVResultsGrid::SetLevelColor(int level, const QColor& color)
{
    ColorsLVResult::SetLevelRgb(level, color.rgb() & 0xFFFFFF);
    FillTable();
}

void TfrmLVResultsGrid::SetVisibleRows(const std::array<bool, 8>& rows)
{
    visibleRows_ = rows;
    SaveSettings();
    FillTable();
}

void TfrmLVResultsGrid::SaveSettings()
{
    TInitOZN* init = ::Init(true);
    init->SaveIntParam(kSection, QStringLiteral("SampleIdent"), CurrentSample().Ident);
    init->SaveIntParam(kSection, QStringLiteral("GUID"), ident_);
    init->SaveIntParam(kSection, QStringLiteral("RES"), tree_ ? tree_->Record().Owners.RES : 0);
    ColorsLVResult::SaveVisibleRows(visibleRows_);
    ColorsLVResult::SaveHiddenColumns(hiddenColumns_);
    init->SaveIntParam(kSection, QStringLiteral("ClassResultsLV"), calcType_);
}

void TfrmLVResultsGrid::SelectGUID(int guid)
{
    const QModelIndexList found =
        model_->match(model_->index(0, 0), kGuidRole, guid, 1, Qt::MatchExactly | Qt::MatchRecursive);
    if (!found.isEmpty())
        view_->setCurrentIndex(found.first());
}

void TfrmLVResultsGrid::DeleteSelected()
{
    const QModelIndex index = view_->currentIndex().siblingAtColumn(0);
    if (!index.isValid())
        return;
    const QString text = index.data().toString();
    if (!host::AskYesNo(QStringLiteral("Удалить результаты расчета по фидеру %1 ?").arg(text)))
        return;
    int deleted = 0;
    try {
        deleted = DeleteResultsLV(*database_->GetDefaultConnection(), index.data(kGuidRole).toInt(), calcType_,
                                  CurrentSample().Ident);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return;
    }
    // The row goes only with what it showed; sums above it are read again.
    if (deleted == 0) {
        host::ShowWarning(
            QStringLiteral("Результаты расчета по %1 не найдены в базе данных: ничего не удалено").arg(text));
        return;
    }
    host::ShowInformation(QStringLiteral("Удалено результатов расчета: %1").arg(deleted));
    Refresh();
}

void TfrmLVResultsGrid::ClearTable()
{
    if (!host::AskYesNo(QStringLiteral("Удалить все результаты расчетов за %1?").arg(samples_->currentText())))
        return;
    int deleted = 0;
    try {
        deleted = DeleteResultsLV(*database_->GetDefaultConnection(), ident_, calcType_, CurrentSample().Ident);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return;
    }
    host::ShowInformation(QStringLiteral("Удалено результатов расчета: %1").arg(deleted));
    Refresh();
}

bool TfrmLVResultsGrid::SaveXlsx(const QString& file, QString& error)
{
    if (!tree_) {
        error = QStringLiteral("Нет результатов");
        return false;
    }
    const QString title =
        QStringLiteral("Сводные результаты расчета  \"%1\" за %2").arg(tree_->Text(), samples_->currentText());
    return WriteResultsXlsx(file, *tree_, Columns(), title, error);
}

void TfrmLVResultsGrid::SaveToExcel()
{
    // A name that says what the workbook holds, in the user's documents; where it went is said when it is done.
    const QString proposed = host::UserWorkbookPath(QStringLiteral("Сводные результаты"),
                                                    tree_ ? tree_->Text() : QString(), samples_->currentText());
    const QString file =
        host::dialogs().SaveFileName(QStringLiteral("Сохранить в формате Microsoft Excel"),
                                     QStringLiteral("Книга Excel|*.xlsx"), QStringLiteral("xlsx"), proposed);
    if (file.isEmpty())
        return;
    QString error;
    if (!SaveXlsx(file, error))
        host::ShowWarning(error);
    else
        host::ShowInformation(QStringLiteral("Книга записана: %1").arg(file));
}

QString TfrmLVResultsGrid::PrintableHtml() const
{
    // The rows as the grid shows them (the open branches, the visible columns), as one table.
    const QAbstractItemModel* model = view_->model();
    QList<int> columns;
    for (int c = 0; c < model->columnCount(); ++c)
        if (!view_->isColumnHidden(c))
            columns << c;
    QString html =
        QStringLiteral("<html><body><h3>%1</h3><p>%2</p><table border='1' cellspacing='0' "
                       "cellpadding='2' width='100%'><tr>")
            .arg((tree_ ? tree_->Text() : QString()).toHtmlEscaped(), samples_->currentText().toHtmlEscaped());
    for (int c : columns)
        html += QStringLiteral("<th>%1</th>").arg(model->headerData(c, Qt::Horizontal).toString().toHtmlEscaped());
    html += QStringLiteral("</tr>");
    std::function<void(const QModelIndex&, int)> rows = [&](const QModelIndex& parent, int depth) {
        for (int r = 0; r < model->rowCount(parent); ++r) {
            html += QStringLiteral("<tr>");
            for (int c : columns) {
                QString text = model->index(r, c, parent).data().toString().toHtmlEscaped();
                if (c == columns.value(0))
                    text = QString(depth * 3, QChar(0x00a0)) + text;
                html += QStringLiteral("<td>%1</td>").arg(text);
            }
            html += QStringLiteral("</tr>");
            const QModelIndex row = model->index(r, 0, parent);
            if (view_->isExpanded(row))
                rows(row, depth + 1);
        }
    };
    rows(QModelIndex(), 0);
    return html + QStringLiteral("</table></body></html>");
}

void TfrmLVResultsGrid::Print()
{
    // A preview first; the table fits the page's width, landscape.
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintPreviewDialog preview(&printer, this);
    preview.setObjectName(QStringLiteral("PrintPreview"));
    preview.setWindowTitle(QStringLiteral("Печать сводных результатов"));
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, [this](QPrinter* target) {
        QTextDocument document;
        document.setHtml(PrintableHtml());
        document.setPageSize(target->pageRect(QPrinter::Point).size());
        document.print(target);
    });
    preview.exec();
}

void TfrmLVResultsGrid::ShowRowReport()
{
    const QModelIndex index = view_->currentIndex();
    if (!index.isValid())
        return;
    const int row = index.row();
    const QModelIndex parent = index.parent();
    QString html = QStringLiteral("<html><body><h3>%1</h3><table border='1' cellspacing='0' cellpadding='3'>")
                       .arg(model_->index(row, 0, parent).data().toString().toHtmlEscaped());
    for (int c = 1; c < model_->columnCount(); ++c) {
        const QString value = model_->index(row, c, parent).data().toString();
        if (!value.isEmpty())
            html += QStringLiteral("<tr><td>%1</td><td align='right'>%2</td></tr>")
                        .arg(ColumnCaption(c).replace(QLatin1Char('|'), QStringLiteral(", ")).toHtmlEscaped(), value);
    }
    TfrmReportHTML::Show(this, QStringLiteral("Сводные результаты расчета"),
                         html + QStringLiteral("</table></body></html>"));
}

void TfrmLVResultsGrid::SetUpRows()
{
    QDialog dialog(this);
    dialog.setObjectName(QStringLiteral("RowsSetup"));
    dialog.setWindowTitle(QStringLiteral("Настроить строки"));
    auto* layout = new QVBoxLayout(&dialog);
    std::array<QCheckBox*, 8> boxes;
    for (int l = 0; l < 8; ++l) {
        boxes[l] = new QCheckBox(QString::fromUtf8(kLevelNames[l]), &dialog);
        boxes[l]->setChecked(visibleRows_[l]);
        layout->addWidget(boxes[l]);
    }
    if (!RunOkCancel(dialog, layout))
        return;
    std::array<bool, 8> rows;
    for (int l = 0; l < 8; ++l)
        rows[l] = boxes[l]->isChecked();
    SetVisibleRows(rows);
}

void TfrmLVResultsGrid::SetUpColumns()
{
    QDialog dialog(this);
    dialog.setObjectName(QStringLiteral("ColumnsSetup"));
    dialog.setWindowTitle(QStringLiteral("Настроить столбцы"));
    auto* layout = new QVBoxLayout(&dialog);
    auto* list = new QListWidget(&dialog);
    for (const TLVResultColumn* c : AllColumns()) {
        auto* item = new QListWidgetItem(QString(c->Caption).replace(QLatin1Char('|'), QStringLiteral(", ")), list);
        item->setData(Qt::UserRole, c->Field);
        item->setCheckState(hiddenColumns_.contains(c->Field) ? Qt::Unchecked : Qt::Checked);
    }
    layout->addWidget(list);
    // Every caption whole: the list as wide as its longest one, the dialog at the size the user left it.
    list->setMinimumWidth(list->sizeHintForColumn(0) + 2 * list->frameWidth() + 24);
    KeepWindowPlace(dialog, QStringLiteral("ResultsColumnsSetup"), QSize(list->minimumWidth() + 40, 640));
    if (!RunOkCancel(dialog, layout))
        return;
    hiddenColumns_.clear();
    for (int i = 0; i < list->count(); ++i)
        if (list->item(i)->checkState() == Qt::Unchecked)
            hiddenColumns_ << list->item(i)->data(Qt::UserRole).toString();
    SaveSettings();
    FillTable();
}

void TfrmLVResultsGrid::ColorLegend()
{
    QStringList levels;
    for (int l = 0; l < 7; ++l)
        levels << QString::fromUtf8(kLevelNames[l]);
    // Each choice is kept at once; the table is painted again when the legend closes.
    host::EditColours(
        this, QStringLiteral("ColorsLVResult"), QStringLiteral("Легенда цветов"), levels,
        [](int level) {
            const std::optional<uint32_t> rgb = ColorsLVResult::LevelRgb(level);
            return rgb ? QColor::fromRgb(*rgb) : QColor();
        },
        [](int level, const QColor& colour) { ColorsLVResult::SetLevelRgb(level, colour.rgb() & 0xFFFFFF); });
    FillTable();
}
