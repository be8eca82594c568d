// The workbook forms of the measurements (W and Tmax): the network tree and the intervals beside a table of
// the rows, the workbook written for the spreadsheet application, read back and stored. Nothing the user
// typed is given up without a question: neither rows read but not saved, nor a workbook saved in the
// spreadsheet but not read.
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QSplitter>
#include <QTableWidget>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>
#include <cmath>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/SamplesTreeBox.h"
#include "host/Spreadsheet.h"
#include "host/Tree.h"
#include "host/WindowPlace.h"
#include "import/WorkbookForms.h"
#include "import/ZamerSheets.h"
#include "import/xlsLVZamerTmaxDLL.h"
#include "import/xlsLVZamerWDLL.h"

using namespace zamer;

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
    KeepWindowPlace(*this, QStringLiteral("LVZamerForm"), QSize(1100, 700));
    auto* bar = new QHBoxLayout;
    bar->addWidget(new QLabel(QStringLiteral("Расчетный период"), this));
    intervals_ = new TSamplesTreeBox(this);
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
    read_ = new QPushButton(QStringLiteral("Прочитать книгу"), this);
    read_->setObjectName(QStringLiteral("btnRead"));
    save_ = new QPushButton(QStringLiteral("Сохранить"), this);
    save_->setObjectName(QStringLiteral("itemSave"));
    newInterval_ = new QPushButton(QStringLiteral("Новый интервал"), this);
    newInterval_->setObjectName(QStringLiteral("itemNewDate"));
    connect(newInterval_, &QPushButton::clicked, this, &TxlsLVZamerForm::ChooseNewInterval);
    for (QPushButton* b : {newInterval_, open, read_, save_})
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
        // A workbook the user edited and did not read is read first, so that writing it anew loses nothing.
        if (!ReadIfChanged() || !WriteWorkbook())
            return;
        QString error;
        openInSpreadsheet_ = host::OpenInSpreadsheet(Workbook(), error);
        if (!openInSpreadsheet_)
            host::ShowWarning(QStringLiteral("Не удалось открыть %1 в табличном редакторе: %2").arg(Workbook(), error));
    });
    connect(read_, &QPushButton::clicked, this, &TxlsLVZamerForm::ReadWorkbook);
    connect(save_, &QPushButton::clicked, this, &TxlsLVZamerForm::Save);
    connect(intervals_, &TSamplesTreeBox::CurrentIdentChanged, this, &TxlsLVZamerForm::IntervalChosen);
    UpdateButtons();
}

TxlsLVZamerForm::~TxlsLVZamerForm() = default;

bool TxlsLVZamerForm::CanOpen()
{
    if (!treeCanOpen())
        return false;
    const QList<int> withData = tree_->model() ? QList<int>() : periodsWithData([this] {
        return TLVZamerData::PeriodsWithData(*CurrentDatabase()->GetDefaultConnection(), data_.Kind());
    });
    if (attachTreeAndIntervals(tree_, intervals_, withData, this, [this](int guid) {
            if (guid == object_)
                return;
            if (!ConfirmDiscard()) {
                selectInTree(tree_, object_);  // the user keeps the object and its edits
                return;
            }
            object_ = guid;
            Reload();
        })) {
        const TSamplePeriodInfo* chosen =
            CurrentDatabase()->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(intervals_->CurrentIdent());
        interval_ = chosen ? *chosen : TSamplePeriodInfo();
    }
    for (int i = 0; i < 3; ++i)
        switchButtons_[i]->setChecked(switches_[i]);
    selectHandedObject(tree_, Param());
    UpdateButtons();
    return true;
}

QString TxlsLVZamerForm::Workbook() const
{
    return FileName().isEmpty()
               ? host::UserWorkbookPath(data_.Kind() == TLVZamerKind::W ? QStringLiteral("Замеры W")
                                                                        : QStringLiteral("Замеры Tmax"),
                                        TreeItemName(object_), QString())
               : FileName();
}

int TxlsLVZamerForm::Hours() const
{
    return interval_.isEmpty() ? 0 : static_cast<int>(std::lround((interval_.EndDays() - interval_.StartDays()) * 24));
}

bool TxlsLVZamerForm::HasUnsavedEdits() const { return data_.Pending() > 0 || watch_.ChangedOnDisk(); }

bool TxlsLVZamerForm::ConfirmDiscard() { return confirmDiscard(data_.Pending(), watch_.ChangedOnDisk(), Workbook()); }

bool TxlsLVZamerForm::ReadIfChanged() { return !watch_.ChangedOnDisk() || ReadWorkbook(); }

void TxlsLVZamerForm::UpdateButtons()
{
    // Reading, saving and a new interval work on the workbook the form has written.
    const bool open = watch_.IsOpen();
    read_->setEnabled(open);
    save_->setEnabled(open && !ReadOnly());
    newInterval_->setEnabled(open && !ReadOnly());
}

void TxlsLVZamerForm::SelectObject(int guid) { selectInTree(tree_, guid); }

void TxlsLVZamerForm::SelectInterval(int sampleIdent)
{
    {
        const QSignalBlocker blocker(intervals_);
        intervals_->SetCurrentIdent(sampleIdent);
    }
    IntervalChosen();
}

void TxlsLVZamerForm::IntervalChosen()
{
    const TSamplePeriodInfo* chosen =
        CurrentDatabase()->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(intervals_->CurrentIdent());
    if (!chosen || chosen->Ident == interval_.Ident)
        return;
    if (!ConfirmDiscard()) {
        const QSignalBlocker blocker(intervals_);
        intervals_->SetCurrentIdent(interval_.Ident);
        return;
    }
    // Another interval shows what is stored for it.
    interval_ = *chosen;
    Reload();
    Rewrite();
}

int TxlsLVZamerForm::CreateInterval(int year, int month)
{
    TCurrentDatabase* db = CurrentDatabase();
    QString error;
    const int ident = CreateSamplePeriod(*db->GetDefaultConnection(), year, month, error);
    if (ident == 0) {
        host::ShowWarning(error);
        return 0;
    }
    db->GetSamplePeriods()->Load(*db->GetDefaultConnection());
    if (!intervals_->Contains(ident)) {
        const QSignalBlocker blocker(intervals_);
        intervals_->Fill(db->GetSamplePeriods()->Items());
        intervals_->SetCurrentIdent(interval_.Ident);
        AddLog(QStringLiteral("Создан интервал %1").arg(SamplePeriodName(year, month)), 1, ident);
    }
    return ident;
}

bool TxlsLVZamerForm::MoveToInterval(int sampleIdent)
{
    const TSamplePeriodInfo* target = CurrentDatabase()->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sampleIdent);
    if (!target || target->Ident == interval_.Ident || !ReadIfChanged())
        return false;
    // Values stored there already are replaced only when the user says so.
    const QStringList stored = data_.StoredIn(*CurrentDatabase()->GetDefaultConnection(), sampleIdent);
    if (!stored.isEmpty() &&
        !host::AskYesNo(QStringLiteral("В интервале «%1» уже есть данные по %2 объектам (%3). Заменить их данными "
                                       "таблицы?")
                            .arg(target->Name)
                            .arg(stored.size())
                            .arg(stored.mid(0, 5).join(QStringLiteral(", ")) +
                                 (stored.size() > 5 ? QStringLiteral(", …") : QString()))))
        return false;
    interval_ = *target;
    {
        const QSignalBlocker blocker(intervals_);
        intervals_->SetCurrentIdent(sampleIdent);
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
    if (watch_.IsOpen() && WriteWorkbook() && openInSpreadsheet_)
        host::OpenInSpreadsheet(Workbook());
}

namespace {
// "Новый интервал": an interval of the list, or a new one of a year or a month. Its ident; 0 when cancelled;
// -1 with the year and month of a new one.
int chooseInterval(QWidget* owner, int current, int& year, int& month)
{
    QDialog dialog(owner);
    dialog.setObjectName(QStringLiteral("NewIntervalDialog"));
    dialog.setWindowTitle(QStringLiteral("Новый интервал"));
    auto* layout = new QVBoxLayout(&dialog);
    auto* existing = new QRadioButton(QStringLiteral("Перенести данные в интервал"), &dialog);
    existing->setObjectName(QStringLiteral("rbExisting"));
    existing->setChecked(true);
    auto* list = new QListWidget(&dialog);
    list->setObjectName(QStringLiteral("lstIntervals"));
    for (const TSamplePeriodInfo& p : CurrentDatabase()->GetSamplePeriods()->Items()) {
        auto* item = new QListWidgetItem(p.Name, list);
        item->setData(Qt::UserRole, p.Ident);
        if (p.Ident == current)
            list->setCurrentItem(item);
    }
    auto* create = new QRadioButton(QStringLiteral("Создать интервал"), &dialog);
    create->setObjectName(QStringLiteral("rbCreate"));
    auto* yearBox = new QSpinBox(&dialog);
    yearBox->setObjectName(QStringLiteral("edYear"));
    yearBox->setRange(1900, 2200);
    yearBox->setValue(QDate::currentDate().year());
    auto* monthBox = new QComboBox(&dialog);
    monthBox->setObjectName(QStringLiteral("cbMonth"));
    monthBox->addItem(QStringLiteral("весь год"));
    for (int m = 1; m <= 12; ++m)
        monthBox->addItem(SamplePeriodName(2000, m).section(QLatin1Char(' '), 0, 0));
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Год"), yearBox);
    form->addRow(QStringLiteral("Месяц"), monthBox);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(existing);
    layout->addWidget(list);
    layout->addWidget(create);
    layout->addLayout(form);
    layout->addWidget(buttons);
    if (dialog.exec() != QDialog::Accepted)
        return 0;
    if (create->isChecked()) {
        year = yearBox->value();
        month = monthBox->currentIndex();
        return -1;
    }
    return list->currentItem() ? list->currentItem()->data(Qt::UserRole).toInt() : 0;
}
}  // namespace

void TxlsLVZamerForm::ChooseNewInterval()
{
    int year = 0, month = 0;
    int ident = chooseInterval(this, interval_.Ident, year, month);
    if (ident < 0)
        ident = CreateInterval(year, month);
    if (ident > 0)
        MoveToInterval(ident);
}

void TxlsLVZamerForm::Reload()
{
    TCurrentDatabase* db = CurrentDatabase();
    data_.Load(*db->GetDefaultConnection(), db->GetTree()->Find(object_), interval_.Ident, Hours(), switches_[1],
               switches_[2]);
    ShowTable();
}

void TxlsLVZamerForm::ClickSwitch(int index)
{
    std::array<bool, 3> next = switches_;
    const bool taken = ApplyZamerSwitch(next, index) && ConfirmDiscard();
    if (taken)
        switches_ = next;
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
    UpdateButtons();
}

bool TxlsLVZamerForm::WriteWorkbook()
{
    QString error;
    if (!data_.WriteWorkbook(Workbook(), error)) {
        host::ShowWarning(error);
        return false;
    }
    watch_.Mark(Workbook());
    AddLog(QStringLiteral("Книга записана: %1").arg(Workbook()), 1, static_cast<int>(data_.Records().size()));
    UpdateButtons();
    return true;
}

bool TxlsLVZamerForm::ReadWorkbook()
{
    QString error;
    const int changed = data_.ReadWorkbook(Workbook(), error);
    if (!reportReadBack(*this, changed, error, data_.ReadNotes()))
        return false;
    watch_.Mark(Workbook());
    ShowTable();
    return true;
}

bool TxlsLVZamerForm::Save()
{
    if (ReadOnly() || interval_.isEmpty())
        return false;
    // What the user saved in the spreadsheet since the last reading is read first.
    if (!ReadIfChanged() || !saveRows(*this, data_.Pending(), data_.ReadNotes(), [this](TConflictChoice choice) {
            return data_.Save(*CurrentDatabase()->GetDefaultConnection(), choice);
        })) {
        ShowTable();  // rows given up to the database's values show them
        return false;
    }
    ShowTable();
    Rewrite();  // the workbook shows the rows as stored now
    return true;
}

void TxlsLVZamerForm::reject()
{
    if (ConfirmDiscard())
        TxlsZamerShablonForm::reject();
}
