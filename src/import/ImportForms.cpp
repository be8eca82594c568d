#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSplitter>
#include <QTableWidget>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>
#include <cmath>
#include <functional>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/Spreadsheet.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "import/xlsLVZamerSocialDLL.h"
#include "import/xlsLVZamerTmaxDLL.h"
#include "import/xlsLVZamerWDLL.h"

namespace {
// The workbook forms list the objects of the network tree; with no tree there is nothing to fill.
bool treeCanOpen()
{
    TCurrentDatabase* db = CurrentDatabase();
    return SetDataBaseName() && db->GetTree()->GetCount() > 0;
}
// Fills a workbook form's network tree and intervals once (the latest interval chosen); the callback gets the
// object chosen in the tree. True when they were filled now.
bool attachTreeAndIntervals(QTreeView* tree, QComboBox* intervals, QObject* context, std::function<void(int)> chosen)
{
    if (tree->model())
        return false;
    TCurrentDatabase* db = CurrentDatabase();
    tree->setModel(new TreeModel(db->GetTree(), tree));
    QObject::connect(tree->selectionModel(), &QItemSelectionModel::currentChanged, context,
                     [chosen = std::move(chosen)](const QModelIndex& i) {
                         ToznListItemCommon* item = TreeModel::Item(i);
                         chosen(item ? item->Target()->GetIdent() : 0);
                     });
    for (const TSamplePeriodInfo& p : db->GetSamplePeriods()->Items())
        intervals->addItem(p.Name, p.Ident);
    intervals->setCurrentIndex(intervals->count() - 1);
    return true;
}

void selectInTree(QTreeView* tree, int guid)
{
    auto* model = static_cast<TreeModel*>(tree->model());
    tree->setCurrentIndex(model->IndexOf(CurrentDatabase()->GetTree()->Find(guid)));
}

// Logs how many rows a reading of the workbook changed, or shows why it could not be read (changed < 0).
bool reportReadBack(TxlsZamerShablonForm& form, int changed, const QString& error)
{
    if (changed < 0) {
        host::ShowWarning(error);
        return false;
    }
    form.AddLog(QStringLiteral("Прочитано из книги, изменено строк: %1").arg(changed), 1, changed);
    return true;
}

// The host hands over the object chosen in its own tree.
void selectHandedObject(QTreeView* tree, intptr_t param)
{
    if (param > 0 && CurrentDatabase()->GetTree()->Find(static_cast<int>(param)))
        selectInTree(tree, static_cast<int>(param));
}
}  // namespace

TxlsLVZamerWForm::TxlsLVZamerWForm(QWidget* owner) : TxlsLVZamerForm(owner, TLVZamerKind::W)
{
    setObjectName(QStringLiteral("xlsLVZamerWForm"));
    setWindowTitle(QStringLiteral("Замеры W сети 0,4 кВ"));
}

TxlsLVZamerTmaxForm::TxlsLVZamerTmaxForm(QWidget* owner) : TxlsLVZamerForm(owner, TLVZamerKind::Tmax)
{
    setObjectName(QStringLiteral("xlsLVZamerTmaxForm"));
    setWindowTitle(QStringLiteral("Замеры Tmax сети 0,4 кВ"));
}

TxlsLVZamerForm::TxlsLVZamerForm(QWidget* owner, TLVZamerKind kind) : TxlsZamerShablonForm(owner), data_(kind)
{
    resize(1000, 650);
    auto* bar = new QHBoxLayout;
    bar->addWidget(new QLabel(QStringLiteral("Расчетный период"), this));
    intervals_ = new QComboBox(this);
    intervals_->setObjectName(QStringLiteral("ComboSamplesDates"));
    bar->addWidget(intervals_);
    const char* const captions[3] = {"ТП", "ТП и Линии", "Абоненты"};
    for (int i = 0; i < 3; ++i) {
        auto* b = new QToolButton(this);
        b->setObjectName(QStringLiteral("btnSwitch%1").arg(i));
        b->setText(QString::fromUtf8(captions[i]));
        b->setCheckable(true);
        connect(b, &QToolButton::clicked, this, [this, i] { ClickSwitch(i); });
        switchButtons_[i] = b;
        bar->addWidget(b);
    }
    bar->addStretch();
    auto* open = new QPushButton(QStringLiteral("Открыть в Excel"), this);
    open->setObjectName(QStringLiteral("btnOpenExcel"));
    auto* read = new QPushButton(QStringLiteral("Прочитать книгу"), this);
    read->setObjectName(QStringLiteral("btnRead"));
    save_ = new QPushButton(QStringLiteral("Сохранить"), this);
    save_->setObjectName(QStringLiteral("itemSave"));
    auto* newInterval = new QPushButton(QStringLiteral("Новый интервал"), this);
    newInterval->setObjectName(QStringLiteral("itemNewDate"));
    connect(newInterval, &QPushButton::clicked, this, &TxlsLVZamerForm::ChooseNewInterval);
    for (QPushButton* b : {newInterval, open, read, save_})
        bar->addWidget(b);
    Body()->insertLayout(0, bar);
    auto* splitter = new QSplitter(this);
    tree_ = new QTreeView(splitter);
    tree_->setObjectName(QStringLiteral("TreeView"));
    grid_ = new QTableWidget(0, 5, splitter);
    grid_->setObjectName(QStringLiteral("GridRows"));
    grid_->setHorizontalHeaderLabels(
        {QStringLiteral("№ п/п"), QStringLiteral("Наименование"),
         kind == TLVZamerKind::W ? QStringLiteral("W, тыс. кВт·ч") : QStringLiteral("Wa, тыс. кВт·ч"),
         QStringLiteral("T, ч"), QStringLiteral("Изменено")});
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    splitter->setStretchFactor(1, 2);
    Body()->insertWidget(1, splitter, 1);
    connect(open, &QPushButton::clicked, this, [this] {
        if (!WriteWorkbook())
            return;
        openInSpreadsheet_ = host::OpenInSpreadsheet(Workbook());
        if (!openInSpreadsheet_)
            host::ShowWarning(QStringLiteral("Не удалось открыть %1 в табличном редакторе").arg(Workbook()));
    });
    connect(read, &QPushButton::clicked, this, &TxlsLVZamerForm::ReadWorkbook);
    connect(save_, &QPushButton::clicked, this, &TxlsLVZamerForm::Save);
    connect(intervals_, &QComboBox::activated, this, &TxlsLVZamerForm::IntervalChosen);
}

TxlsLVZamerForm::~TxlsLVZamerForm() = default;

bool TxlsLVZamerForm::CanOpen()
{
    if (!treeCanOpen())
        return false;
    if (attachTreeAndIntervals(tree_, intervals_, this, [this](int guid) {
            object_ = guid;
            Reload();
        })) {
        const auto& periods = CurrentDatabase()->GetSamplePeriods()->Items();
        interval_ = periods.empty() ? TSamplePeriodInfo() : periods.back();
    }
    save_->setEnabled(!ReadOnly());
    for (int i = 0; i < 3; ++i)
        switchButtons_[i]->setChecked(switches_[i]);
    selectHandedObject(tree_, Param());
    return true;
}

QString TxlsLVZamerForm::Workbook() const
{
    return FileName().isEmpty()
               ? QDir::temp().filePath(
                     QStringLiteral("OZN3_Zamer%1_%2.xlsx")
                         .arg(data_.Kind() == TLVZamerKind::W ? QStringLiteral("W") : QStringLiteral("Tmax"))
                         .arg(object_))
               : FileName();
}

int TxlsLVZamerForm::Hours() const
{
    return interval_.isEmpty() ? 0 : static_cast<int>(std::lround((interval_.EndDays() - interval_.StartDays()) * 24));
}

void TxlsLVZamerForm::SelectObject(int guid) { selectInTree(tree_, guid); }

void TxlsLVZamerForm::SelectInterval(int sampleIdent)
{
    intervals_->setCurrentIndex(intervals_->findData(sampleIdent));
    IntervalChosen();
}

bool TxlsLVZamerForm::MoveToInterval(int sampleIdent)
{
    const TSamplePeriodInfo* target = CurrentDatabase()->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sampleIdent);
    if (!target || target->Ident == interval_.Ident)
        return false;
    interval_ = *target;
    {
        const QSignalBlocker blocker(intervals_);
        intervals_->setCurrentIndex(intervals_->findData(sampleIdent));
    }
    // The rows go over to the new interval with what they hold.
    data_.ChangeInterval(interval_.Ident, Hours());
    AddLog(QStringLiteral("Новый интервал: %1").arg(interval_.Name), 1, interval_.Ident);
    ShowTable();
    Rewrite();
    return true;
}

void TxlsLVZamerForm::Rewrite()
{
    // The workbook follows the table; the spreadsheet shows it again when the user had it open.
    if (QFile::exists(Workbook()) && WriteWorkbook() && openInSpreadsheet_)
        host::OpenInSpreadsheet(Workbook());
}

void TxlsLVZamerForm::ChooseNewInterval()
{
    QStringList names;
    for (int i = 0; i < intervals_->count(); ++i)
        names << intervals_->itemText(i);
    bool ok = false;
    const QString chosen =
        QInputDialog::getItem(this, QStringLiteral("Новый интервал"), QStringLiteral("Перенести данные в интервал"),
                              names, intervals_->currentIndex(), false, &ok);
    if (ok)
        MoveToInterval(intervals_->itemData(names.indexOf(chosen)).toInt());
}

void TxlsLVZamerForm::Reload()
{
    TCurrentDatabase* db = CurrentDatabase();
    data_.Load(*db->GetDefaultConnection(), db->GetTree()->Find(object_), interval_.Ident, Hours(), switches_[1],
               switches_[2]);
    ShowTable();
}

void TxlsLVZamerForm::IntervalChosen()
{
    const TSamplePeriodInfo* chosen =
        CurrentDatabase()->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(intervals_->currentData().toInt());
    if (!chosen || chosen->Ident == interval_.Ident)
        return;
    // Another interval shows what is stored for it.
    interval_ = *chosen;
    Reload();
}

void TxlsLVZamerForm::ClickSwitch(int index)
{
    const bool taken = ApplyZamerSwitch(switches_, index);
    for (int i = 0; i < 3; ++i)
        switchButtons_[i]->setChecked(switches_[i]);
    if (!taken)
        return;
    Reload();
    Rewrite();
}

void TxlsLVZamerForm::ShowTable()
{
    const auto& records = data_.Records();
    grid_->setRowCount(static_cast<int>(records.size()));
    for (int r = 0; r < grid_->rowCount(); ++r) {
        const TLVZamerRecord& rec = records[r];
        const double w = rec.TypeRec == TLVZamerRecord::TP ? rec.W : rec.W_sum;
        const QStringList cells = {QString::number(rec.Num), rec.Name, isEmptyFloat(w) ? QString() : FormatFloat3(w),
                                   isEmptyFloat(rec.T) ? QString() : QString::number(rec.T),
                                   rec.EditRec ? QStringLiteral("да") : QString()};
        for (int c = 0; c < cells.size(); ++c)
            grid_->setItem(r, c, new QTableWidgetItem(cells[c]));
    }
}

bool TxlsLVZamerForm::WriteWorkbook()
{
    QString error;
    if (!data_.WriteWorkbook(Workbook(), error)) {
        host::ShowWarning(error);
        return false;
    }
    AddLog(QStringLiteral("Книга записана: %1").arg(Workbook()), 1, static_cast<int>(data_.Records().size()));
    return true;
}

bool TxlsLVZamerForm::ReadWorkbook()
{
    QString error;
    if (!reportReadBack(*this, data_.ReadWorkbook(Workbook(), error), error))
        return false;
    ShowTable();
    return true;
}

bool TxlsLVZamerForm::Save()
{
    if (ReadOnly() || interval_.isEmpty())
        return false;
    try {
        const int written = data_.Save(*CurrentDatabase()->GetDefaultConnection());
        AddLog(QStringLiteral("Сохранено строк: %1").arg(written), 1, written);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return false;
    }
    ShowTable();
    return true;
}

TxlsLVZamerSocialForm::TxlsLVZamerSocialForm(QWidget* owner) : TxlsZamerShablonForm(owner)
{
    setObjectName(QStringLiteral("xlsLVZamerSocialForm"));
    setWindowTitle(QStringLiteral("Оценка потерь электроэнергии по обобщенной информации о схемах и нагрузках сети"));
    resize(1000, 650);
    auto* bar = new QHBoxLayout;
    levels_ = new QComboBox(this);
    levels_->setObjectName(QStringLiteral("ComboLevel"));
    levels_->addItems(TNodeSocialHigh::LevelNames());
    levels_->setCurrentIndex(5);
    intervals_ = new QComboBox(this);
    intervals_->setObjectName(QStringLiteral("ComboSamplesDates"));
    auto* energies = new QPushButton(QStringLiteral("Расчетная трансформация в сеть"), this);
    energies->setObjectName(QStringLiteral("btnWa"));
    materials_ = new QCheckBox(QStringLiteral("Алюминиевые, стальные и медные"), this);
    materials_->setObjectName(QStringLiteral("itmLm"));
    materials_->setChecked(true);
    inputs_ = new QCheckBox(QStringLiteral("Ввода в здания"), this);
    inputs_->setObjectName(QStringLiteral("itmIA"));
    captions_ = new QCheckBox(QStringLiteral("Заголовки столбцов"), this);
    captions_->setObjectName(QStringLiteral("cbCaptionns"));
    captions_->setChecked(true);
    auto* open = new QPushButton(QStringLiteral("Открыть в Excel"), this);
    open->setObjectName(QStringLiteral("btnOpenExcel"));
    auto* read = new QPushButton(QStringLiteral("Прочитать книгу"), this);
    read->setObjectName(QStringLiteral("btnRead"));
    save_ = new QPushButton(QStringLiteral("Сохранить"), this);
    save_->setObjectName(QStringLiteral("itemSave"));
    for (QWidget* w : std::initializer_list<QWidget*>{levels_, intervals_, energies, materials_, inputs_, captions_})
        bar->addWidget(w);
    bar->addStretch();
    for (QPushButton* b : {open, read, save_})
        bar->addWidget(b);
    Body()->insertLayout(0, bar);
    tree_ = new QTreeView(this);
    tree_->setObjectName(QStringLiteral("TreeView"));
    Body()->insertWidget(1, tree_, 1);
    connect(levels_, &QComboBox::activated, this, &TxlsLVZamerSocialForm::Reload);
    connect(intervals_, &QComboBox::activated, this, [this] { SelectInterval(intervals_->currentData().toInt()); });
    connect(energies, &QPushButton::clicked, this, &TxlsLVZamerSocialForm::FillEnergies);
    connect(open, &QPushButton::clicked, this, [this] {
        if (WriteWorkbook() && !host::OpenInSpreadsheet(Workbook()))
            host::ShowWarning(QStringLiteral("Не удалось открыть %1 в табличном редакторе").arg(Workbook()));
    });
    connect(read, &QPushButton::clicked, this, &TxlsLVZamerSocialForm::ReadWorkbook);
    connect(save_, &QPushButton::clicked, this, &TxlsLVZamerSocialForm::Save);
}

bool TxlsLVZamerSocialForm::CanOpen()
{
    if (!treeCanOpen())
        return false;
    attachTreeAndIntervals(tree_, intervals_, this, [this](int guid) {
        object_ = guid;
        Reload();
    });
    save_->setEnabled(!ReadOnly());
    selectHandedObject(tree_, Param());
    return true;
}

QString TxlsLVZamerSocialForm::Workbook() const
{
    return FileName().isEmpty() ? QDir::temp().filePath(QStringLiteral("OZN3_Social_%1.xlsx").arg(object_))
                                : FileName();
}

void TxlsLVZamerSocialForm::SelectObject(int guid) { selectInTree(tree_, guid); }

void TxlsLVZamerSocialForm::SelectLevel(int level)
{
    levels_->setCurrentIndex(level);
    Reload();
}

void TxlsLVZamerSocialForm::Reload()
{
    const TSamplePeriodInfo* period =
        CurrentDatabase()->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(intervals_->currentData().toInt());
    if (!object_ || !period)
        return;
    try {
        rows_.Open(*CurrentDatabase()->GetDefaultConnection(), object_, levels_->currentIndex(), *period);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
    }
}

void TxlsLVZamerSocialForm::SelectInterval(int sampleIdent)
{
    intervals_->setCurrentIndex(intervals_->findData(sampleIdent));
    const TSamplePeriodInfo* period = CurrentDatabase()->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sampleIdent);
    if (!period) {
        host::ShowWarning(QStringLiteral("Не найден SampleIdent"));
        return;
    }
    try {
        rows_.ChangePeriod(*CurrentDatabase()->GetDefaultConnection(), *period);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
    }
}

void TxlsLVZamerSocialForm::FillEnergies()
{
    rows_.FillEnergies(*CurrentDatabase()->GetDefaultConnection());
    AddLog(QStringLiteral("Расчетная трансформация в сеть: строк %1").arg(rows_.Count()), 1, rows_.Count());
}

bool TxlsLVZamerSocialForm::WriteWorkbook()
{
    QString error;
    rows_.SetCaptionsShown(captions_->isChecked());
    if (!rows_.WriteWorkbook(Workbook(), materials_->isChecked(), inputs_->isChecked(), error)) {
        host::ShowWarning(error);
        return false;
    }
    return true;
}

bool TxlsLVZamerSocialForm::ReadWorkbook()
{
    QString error;
    return reportReadBack(*this, rows_.ReadWorkbook(Workbook(), error), error);
}

bool TxlsLVZamerSocialForm::Save()
{
    if (ReadOnly())
        return false;
    try {
        const int saved = rows_.Save(*CurrentDatabase()->GetDefaultConnection());
        AddLog(QStringLiteral("Сохранено строк: %1").arg(saved), 1, saved);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return false;
    }
    return true;
}
