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
#include "host/SamplesTreeBox.h"
#include "host/Spreadsheet.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "host/TreeSearch.h"
#include "host/WindowPlace.h"
#include "import/WorkbookForms.h"
#include "import/ZamerSheets.h"
#include "import/xlsLVZamerSocialDLL.h"
#include "normative/LVNormativReports.h"

namespace zamer {
// The workbook forms list the objects of the network tree; with no tree there is nothing to fill.
bool treeCanOpen()
{
    TCurrentDatabase* db = CurrentDatabase();
    return SetDataBaseName() && db->GetTree()->GetCount() > 0;
}
bool attachTreeAndIntervals(QTreeView* tree, TSamplesTreeBox* intervals, const QList<int>& withData, QObject* context,
                            std::function<void(int)> chosen)
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
    // Names never cut, the search bar, and the element chosen in the main window open in view.
    host::OpenOnChosen(tree);
    const QSignalBlocker blocker(intervals);
    const std::vector<TSamplePeriodInfo>& periods = db->GetSamplePeriods()->Items();
    intervals->Fill(periods);
    intervals->SetCurrentIdent(DefaultPeriod(periods, withData));
    return true;
}

QList<int> periodsWithData(const std::function<QList<int>()>& read)
{
    try {
        return read();
    } catch (const std::exception&) {
        return {};
    }
}

void selectInTree(QTreeView* tree, int guid) { host::ShowInTree(tree, guid); }

// Logs how many rows a reading of the workbook changed, or shows why it could not be read (changed < 0).
bool reportReadBack(TxlsZamerShablonForm& form, int changed, const QString& error, const QStringList& notes)
{
    if (changed < 0) {
        host::ShowWarning(error);
        return false;
    }
    form.AddLog(QStringLiteral("Прочитано из книги, изменено строк: %1").arg(changed), 1, changed);
    for (const QString& note : notes)
        form.AddLog(note, 2, 0);
    if (!notes.isEmpty())
        host::ShowWarning(QStringLiteral("Книга прочитана, но не все значения приняты:\n%1").arg(notes.join('\n')));
    return true;
}

bool saveRows(TxlsZamerShablonForm& form, int pending, const QStringList& notes,
              const std::function<TWorkbookSave(TConflictChoice)>& store)
{
    if (pending == 0) {
        host::ShowInformation(QStringLiteral("Нет изменений для сохранения: строки таблицы совпадают с базой данных"));
        return false;
    }
    if (!notes.isEmpty() &&
        !host::AskYesNo(QStringLiteral("При чтении книги приняты не все значения:\n%1\n\nСохранить прочитанное?")
                            .arg(notes.join('\n'))))
        return false;
    try {
        TWorkbookSave saved = store(TConflictChoice::Refuse);
        if (!saved.Stored && !saved.Conflicts.isEmpty()) {
            constexpr int kShown = 15;
            QString list = saved.Conflicts.mid(0, kShown).join('\n');
            if (saved.Conflicts.size() > kShown)
                list += QStringLiteral("\n… и еще %1").arg(saved.Conflicts.size() - kShown);
            const int answer = host::dialogs().Message(
                host::AppCaption(),
                QStringLiteral("Эти строки изменены в базе данных после того, как книга была записана (другим "
                               "пользователем или другой книгой), и изменены вами в книге:\n%1\n\n"
                               "Да — записать ваши значения поверх; Нет — оставить в этих строках значения базы и "
                               "сохранить остальные строки; Отмена — ничего не сохранять.")
                    .arg(list),
                host::Icon::Question, host::Buttons::YesNoCancel);
            if (answer != host::mrYes && answer != host::mrNo)
                return false;
            for (const QString& conflict : saved.Conflicts)
                form.AddLog(conflict, 2, 0);
            saved = store(answer == host::mrYes ? TConflictChoice::Overwrite : TConflictChoice::KeepDatabase);
            if (!saved.Stored)
                return false;
        }
        form.AddLog(QStringLiteral("Сохранено строк: %1").arg(saved.Written), 1, saved.Written);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return false;
    }
    return true;
}

bool confirmDiscard(int pending, bool changedOnDisk, const QString& workbook)
{
    if (pending == 0 && !changedOnDisk)
        return true;
    QStringList lost;
    if (pending > 0)
        lost << QStringLiteral("изменения строк, не сохраненные в базе данных: %1").arg(pending);
    if (changedOnDisk)
        lost << QStringLiteral("правки в книге %1, еще не прочитанные").arg(workbook);
    return host::AskYesNo(QStringLiteral("Будут потеряны %1. Продолжить?").arg(lost.join(QStringLiteral("; "))));
}

// The host hands over the object chosen in its own tree.
void selectHandedObject(QTreeView* tree, intptr_t param)
{
    if (param > 0 && CurrentDatabase()->GetTree()->Find(static_cast<int>(param)))
        selectInTree(tree, static_cast<int>(param));
}
}  // namespace zamer

using namespace zamer;

TxlsLVZamerSocialForm::TxlsLVZamerSocialForm(QWidget* owner) : TxlsZamerShablonForm(owner)
{
    setObjectName(QStringLiteral("xlsLVZamerSocialForm"));
    setWindowTitle(QStringLiteral("Оценка потерь электроэнергии по обобщенной информации о схемах и нагрузках сети"));
    KeepWindowPlace(*this, QStringLiteral("LVZamerSocialForm"), QSize(1100, 700));
    auto* bar = new QHBoxLayout;
    levels_ = new QComboBox(this);
    levels_->setObjectName(QStringLiteral("ComboLevel"));
    levels_->addItems(TNodeSocialHigh::LevelNames());
    levels_->setCurrentIndex(5);
    intervals_ = new TSamplesTreeBox(this);
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
    read_ = new QPushButton(QStringLiteral("Прочитать книгу"), this);
    read_->setObjectName(QStringLiteral("btnRead"));
    save_ = new QPushButton(QStringLiteral("Сохранить"), this);
    save_->setObjectName(QStringLiteral("itemSave"));
    // Two rows, so that the form fits a 1366-pixel screen: the object, interval and workbook; then the options.
    for (QWidget* w : std::initializer_list<QWidget*>{levels_, intervals_, energies})
        bar->addWidget(w);
    bar->addStretch();
    for (QPushButton* b : {open, read_, save_})
        bar->addWidget(b);
    auto* options = new QHBoxLayout;
    for (QCheckBox* box : {materials_, inputs_, captions_})
        options->addWidget(box);
    options->addStretch();
    Body()->insertLayout(0, bar);
    Body()->insertLayout(1, options);
    tree_ = new QTreeView(this);
    tree_->setObjectName(QStringLiteral("TreeView"));
    Body()->insertWidget(2, tree_, 1);
    connect(levels_, &QComboBox::activated, this, [this](int level) {
        if (level == rows_.Level())
            return;
        if (!ConfirmDiscard()) {
            levels_->setCurrentIndex(rows_.Level());
            return;
        }
        Reload();
    });
    connect(intervals_, &TSamplesTreeBox::CurrentIdentChanged, this, &TxlsLVZamerSocialForm::SelectInterval);
    connect(energies, &QPushButton::clicked, this, &TxlsLVZamerSocialForm::FillEnergies);
    connect(open, &QPushButton::clicked, this, [this] {
        // A workbook the user edited and did not read is read first, so that writing it anew loses nothing.
        QString error;
        if (ReadIfChanged() && WriteWorkbook() && !host::OpenInSpreadsheet(Workbook(), error))
            host::ShowWarning(QStringLiteral("Не удалось открыть %1 в табличном редакторе: %2").arg(Workbook(), error));
    });
    connect(read_, &QPushButton::clicked, this, &TxlsLVZamerSocialForm::ReadWorkbook);
    connect(save_, &QPushButton::clicked, this, &TxlsLVZamerSocialForm::Save);
    UpdateButtons();
}

bool TxlsLVZamerSocialForm::CanOpen()
{
    if (!treeCanOpen())
        return false;
    const QList<int> withResults =
        tree_->model() ? QList<int>()
                       : periodsWithData([] { return PeriodsWithResults(*CurrentDatabase()->GetDefaultConnection()); });
    attachTreeAndIntervals(tree_, intervals_, withResults, this, [this](int guid) {
        if (guid == object_)
            return;
        if (!ConfirmDiscard()) {
            selectInTree(tree_, object_);  // the user keeps the object and its edits
            return;
        }
        object_ = guid;
        Reload();
    });
    selectHandedObject(tree_, Param());
    UpdateButtons();
    return true;
}

QString TxlsLVZamerSocialForm::Workbook() const
{
    return FileName().isEmpty()
               ? host::UserWorkbookPath(QStringLiteral("Обобщенные данные"), TreeItemName(object_), QString())
               : FileName();
}

bool TxlsLVZamerSocialForm::HasUnsavedEdits() const { return rows_.Pending() > 0 || watch_.ChangedOnDisk(); }

bool TxlsLVZamerSocialForm::ConfirmDiscard()
{
    return confirmDiscard(rows_.Pending(), watch_.ChangedOnDisk(), Workbook());
}

bool TxlsLVZamerSocialForm::ReadIfChanged() { return !watch_.ChangedOnDisk() || ReadWorkbook(); }

void TxlsLVZamerSocialForm::UpdateButtons()
{
    const bool open = watch_.IsOpen();
    read_->setEnabled(open);
    save_->setEnabled(open && !ReadOnly());
}

void TxlsLVZamerSocialForm::SelectObject(int guid) { selectInTree(tree_, guid); }

void TxlsLVZamerSocialForm::SelectLevel(int level)
{
    if (level != rows_.Level() && !ConfirmDiscard())
        return;
    levels_->setCurrentIndex(level);
    Reload();
}

void TxlsLVZamerSocialForm::Reload()
{
    const TSamplePeriodInfo* period =
        CurrentDatabase()->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(intervals_->CurrentIdent());
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
    if (sampleIdent != rows_.Period().Ident && !rows_.Period().isEmpty() && !ConfirmDiscard()) {
        const QSignalBlocker blocker(intervals_);
        intervals_->SetCurrentIdent(rows_.Period().Ident);
        return;
    }
    {
        const QSignalBlocker blocker(intervals_);
        intervals_->SetCurrentIdent(sampleIdent);
    }
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
    const QStringList sources =
        rows_.FillEnergies(*CurrentDatabase()->GetDefaultConnection(), *CurrentDatabase()->GetTree());
    AddLog(QStringLiteral("Расчетная трансформация в сеть: строк %1").arg(rows_.Count()), 1, rows_.Count());
    for (const QString& line : sources)
        AddLog(line, 1, 0);
    // What each energy was taken from, as the normative form's energy button says it.
    host::ShowInformation(sources.isEmpty()
                              ? QStringLiteral("Нет замеров и результатов расчета за выбранный период")
                              : QStringLiteral("Строк заполнено по источникам:\n") + sources.join(QLatin1Char('\n')));
}

bool TxlsLVZamerSocialForm::WriteWorkbook()
{
    QString error;
    rows_.SetCaptionsShown(captions_->isChecked());
    if (!rows_.WriteWorkbook(Workbook(), materials_->isChecked(), inputs_->isChecked(), error)) {
        host::ShowWarning(error);
        return false;
    }
    watch_.Mark(Workbook());
    UpdateButtons();
    return true;
}

bool TxlsLVZamerSocialForm::ReadWorkbook()
{
    QString error;
    if (!reportReadBack(*this, rows_.ReadWorkbook(Workbook(), error), error))
        return false;
    watch_.Mark(Workbook());
    return true;
}

bool TxlsLVZamerSocialForm::Save()
{
    if (ReadOnly() || !ReadIfChanged())
        return false;
    if (!saveRows(*this, rows_.Pending(), {}, [this](TConflictChoice choice) {
            return rows_.Save(*CurrentDatabase()->GetDefaultConnection(), choice);
        }))
        return false;
    // The workbook shows the rows as stored now, so that a further edit in it is compared with them.
    if (watch_.IsOpen())
        WriteWorkbook();
    return true;
}

void TxlsLVZamerSocialForm::reject()
{
    if (ConfirmDiscard())
        TxlsZamerShablonForm::reject();
}
