#include "results/LVduCalcMenuUnit.h"

#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSplitter>
#include <QTreeView>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/HostCommands.h"
#include "host/NumericHelpers.h"
#include "host/Spreadsheet.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "host/TreeSearch.h"
#include "host/WindowPlace.h"
#include "results/ColorsLVResult.h"
#include "results/LVMeasuredStore.h"
#include "results/LVMeasuredXlsx.h"

namespace {
ToznFDConnection& connection() { return *CurrentDatabase()->GetDefaultConnection(); }

QString shown(const TMeasuredColumn& column, const TMeasuredTotals& t)
{
    const double v = column.Value(t);
    if (isEmptyFloat(v))
        return {};
    if (column.Field == QLatin1String("Measured") || column.Field == QLatin1String("NotMeasured"))
        return QString::number(static_cast<int>(v));
    return FormatFloat(
        column.Field.startsWith(QLatin1String("CosFi")) ? QStringLiteral("0.000") : QStringLiteral("#,##0.000"), v);
}
}  // namespace

TfrmLVduCalcMenu::TfrmLVduCalcMenu(QWidget* owner) : TxlsCustomMenuForm(owner)
{
    setObjectName(QStringLiteral("frmLVduCalcMenu"));
    setWindowTitle(QStringLiteral("Расчет потерь в сетях 0,4 кВ"));
    KeepWindowPlace(*this, QStringLiteral("LVduCalcMenu"), QSize(1300, 740));
    auto* splitter = new QSplitter(this);
    hierarchy_ = new QTreeView(splitter);
    hierarchy_->setObjectName(QStringLiteral("TreeView"));
    auto* right = new QWidget(splitter);
    auto* column = new QVBoxLayout(right);
    column->setContentsMargins(0, 0, 0, 0);

    auto* choice = new QHBoxLayout;
    choice->addWidget(new QLabel(QStringLiteral("Год замеров"), right));
    yearBox_ = new QComboBox(right);
    yearBox_->setObjectName(QStringLiteral("ComboYear"));
    choice->addWidget(yearBox_);
    choice->addWidget(new QLabel(QStringLiteral("Даты замеров (без отметок — основные замеры линий)"), right));
    choice->addStretch();
    auto* save = new QPushButton(QStringLiteral("Записать в книгу..."), right);
    save->setObjectName(QStringLiteral("btnSaveXlsx"));
    auto* open = new QPushButton(QStringLiteral("Открыть в Excel"), right);
    open->setObjectName(QStringLiteral("btnOpenExcel"));
    choice->addWidget(save);
    choice->addWidget(open);
    column->addLayout(choice);
    dateList_ = new QListWidget(right);
    dateList_->setObjectName(QStringLiteral("ListDates"));
    dateList_->setFlow(QListView::LeftToRight);
    dateList_->setWrapping(true);
    dateList_->setMaximumHeight(70);
    column->addWidget(dateList_);

    table_ = new QTreeWidget(right);
    table_->setObjectName(QStringLiteral("TreeTotals"));
    QStringList captions{QStringLiteral("Наименование")};
    for (const TMeasuredColumn& c : MeasuredColumns())
        captions << QString(c.Caption).replace(QLatin1Char('|'), QStringLiteral(",\n"));
    table_->setHeaderLabels(captions);
    table_->header()->setDefaultAlignment(Qt::AlignCenter);
    table_->setColumnWidth(0, 300);
    column->addWidget(table_, 1);

    auto* group = new QGroupBox(QStringLiteral("Расчеты по выбранному объекту"), right);
    actionsBar_ = group;
    new QHBoxLayout(group);
    column->addWidget(group);
    splitter->setStretchFactor(1, 3);
    splitter->setSizes({260, 1040});  // the tree wide enough for the names of the utility and its networks
    Body()->insertWidget(0, splitter, 1);

    connect(yearBox_, &QComboBox::activated, this, [this] { SelectYear(yearBox_->currentData().toInt()); });
    connect(dateList_, &QListWidget::itemChanged, this, [this] {
        QList<QDate> picked;
        for (int i = 0; i < dateList_->count(); ++i)
            if (dateList_->item(i)->checkState() == Qt::Checked)
                picked << dateList_->item(i)->data(Qt::UserRole).toDate();
        PickDates(picked);
    });
    connect(save, &QPushButton::clicked, this, &TfrmLVduCalcMenu::SaveWorkbook);
    connect(open, &QPushButton::clicked, this, &TfrmLVduCalcMenu::OpenInSpreadsheet);
    SetActions({});
}

TfrmLVduCalcMenu::~TfrmLVduCalcMenu() = default;

void TfrmLVduCalcMenu::SetActions(std::vector<TAction> actions)
{
    // The host's regime calculation, where the host has one, after the calculations given.
    actions_ = std::move(actions);
    if (host::HasRegimeCommand()) {
        actions_.push_back({QStringLiteral("btnRegimeMiddle"), QStringLiteral("Расчет режима средних нагрузок..."),
                            [](int guid) { host::RunRegimeCommand(guid, false); }});
        actions_.push_back({QStringLiteral("btnRegimeMax"), QStringLiteral("Расчет режима максимальных нагрузок..."),
                            [](int guid) { host::RunRegimeCommand(guid, true); }});
    }
    for (QPushButton* b : actionButtons_)
        delete b;
    actionButtons_.clear();
    for (const TAction& a : actions_) {
        auto* b = new QPushButton(a.Caption, actionsBar_);
        b->setObjectName(a.Name);
        connect(b, &QPushButton::clicked, this, [this, name = a.Name] { RunAction(name); });
        actionsBar_->layout()->addWidget(b);
        actionButtons_.push_back(b);
    }
}

bool TfrmLVduCalcMenu::CanOpen()
{
    if (!SetDataBaseName() || CurrentDatabase()->GetTree()->GetCount() == 0)
        return false;
    if (!hierarchy_->model()) {
        hierarchy_->setModel(new TreeModel(CurrentDatabase()->GetTree(), hierarchy_));
        connect(hierarchy_->selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& i) {
            if (ToznListItemCommon* item = TreeModel::Item(i))
                SelectObject(item->Target()->GetIdent());
        });
        // The element chosen in the main window, else the top of the network.
        if (!host::OpenOnChosen(hierarchy_))
            SelectObject(CurrentDatabase()->GetTree()->GetItems(0)->GetIdent());
    }
    return true;
}

void TfrmLVduCalcMenu::SelectObject(int guid)
{
    ToznListItemCommon* item = CurrentDatabase()->GetTree()->Find(guid);
    if (!item || guid == object_)
        return;
    object_ = guid;
    {
        const QSignalBlocker blocker(hierarchy_->selectionModel());
        host::ShowInTree(hierarchy_, guid);
    }
    feeders_ = FeedersUnder(item);
    try {
        years_ = MeasuredYears(connection(), feeders_);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        years_.clear();
    }
    {
        const QSignalBlocker blocker(yearBox_);
        yearBox_->clear();
        for (int y : years_)
            yearBox_->addItem(QStringLiteral("%1 г.").arg(y), y);
    }
    // The latest year with measurements under the object.
    year_ = 0;
    SelectYear(years_.isEmpty() ? 0 : years_.last());
    for (QPushButton* b : actionButtons_)
        b->setEnabled(true);
}

void TfrmLVduCalcMenu::SelectYear(int year)
{
    if (year == year_ && tree_)
        return;
    year_ = year;
    {
        const QSignalBlocker blocker(yearBox_);
        yearBox_->setCurrentIndex(yearBox_->findData(year));
    }
    picked_.clear();
    FillDates();
    Recalculate();
}

void TfrmLVduCalcMenu::FillDates()
{
    dates_.clear();
    if (year_ > 0) {
        try {
            dates_ = MeasuredDates(connection(), feeders_, year_);
        } catch (const std::exception& e) {
            host::ShowWarning(QString::fromUtf8(e.what()));
        }
    }
    const QSignalBlocker blocker(dateList_);
    dateList_->clear();
    for (const QDate& d : dates_) {
        auto* item = new QListWidgetItem(d.toString(QStringLiteral("dd.MM.yyyy")), dateList_);
        item->setData(Qt::UserRole, d);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(picked_.contains(d) ? Qt::Checked : Qt::Unchecked);
    }
}

void TfrmLVduCalcMenu::PickDates(const QList<QDate>& dates)
{
    picked_ = dates;
    {
        const QSignalBlocker blocker(dateList_);
        for (int i = 0; i < dateList_->count(); ++i)
            dateList_->item(i)->setCheckState(
                picked_.contains(dateList_->item(i)->data(Qt::UserRole).toDate()) ? Qt::Checked : Qt::Unchecked);
    }
    Recalculate();
}

void TfrmLVduCalcMenu::Recalculate()
{
    ToznListItemCommon* item = CurrentDatabase()->GetTree()->Find(object_);
    std::vector<TMeasuredSample> samples;
    if (year_ > 0) {
        try {
            samples = MeasuredSamples(connection(), feeders_, year_, picked_);
        } catch (const std::exception& e) {
            host::ShowWarning(QString::fromUtf8(e.what()));
        }
    }
    tree_ = BuildMeasuredTree(item, samples);
    ShowTable();
}

void TfrmLVduCalcMenu::ShowTable()
{
    table_->clear();
    if (!tree_)
        return;
    const auto& columns = MeasuredColumns();
    std::function<void(const TMeasuredNode&, QTreeWidgetItem*)> add = [&](const TMeasuredNode& n,
                                                                          QTreeWidgetItem* parent) {
        auto* row = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(table_);
        row->setText(0, n.Text);
        row->setData(0, Qt::UserRole, n.GUID);
        if (const std::optional<uint32_t> color = ColorsLVResult::LevelRgb(n.Level))
            row->setBackground(0, QColor::fromRgb(*color));
        for (size_t c = 0; c < columns.size(); ++c) {
            row->setText(static_cast<int>(c) + 1, shown(columns[c], n.Totals));
            row->setTextAlignment(static_cast<int>(c) + 1, Qt::AlignRight | Qt::AlignVCenter);
        }
        for (const auto& child : n.Children)
            add(*child, row);
        // Open down to the substations; a substation's lines are a click away.
        row->setExpanded(n.Level < 6);
    };
    add(*tree_, nullptr);
}

QString TfrmLVduCalcMenu::Title() const
{
    return QStringLiteral("Потери в сетях 0,38 кВ по замерам за %1 г.: %2")
        .arg(year_)
        .arg(tree_ ? tree_->Text : QString());
}

bool TfrmLVduCalcMenu::WriteWorkbook(const QString& file)
{
    if (!tree_) {
        host::ShowWarning(QStringLiteral("Выберите объект сети"));
        return false;
    }
    QString error;
    if (!WriteMeasuredXlsx(file, *tree_, Title(), error)) {
        host::ShowWarning(error);
        return false;
    }
    return true;
}

void TfrmLVduCalcMenu::SaveWorkbook()
{
    const QString file = host::dialogs().SaveFileName(
        QStringLiteral("Записать потери в книгу"), QStringLiteral("Книга Excel|*.xlsx"), QStringLiteral("xlsx"),
        host::UserWorkbookPath(QStringLiteral("Потери 0,38 кВ"), TreeItemName(object_), QString::number(year_)));
    if (!file.isEmpty() && WriteWorkbook(file))
        host::ReportSaved(file);
}

void TfrmLVduCalcMenu::OpenInSpreadsheet()
{
    const QString file =
        host::UserWorkbookPath(QStringLiteral("Потери 0,38 кВ"), TreeItemName(object_), QString::number(year_));
    QString error;
    if (WriteWorkbook(file) && !host::OpenInSpreadsheet(file, error))
        host::ShowWarning(QStringLiteral("Не удалось открыть %1 в табличном редакторе: %2").arg(file, error));
}

void TfrmLVduCalcMenu::Outside(const std::function<void()>& run)
{
    // The menu reads in a transaction of its own; the form it starts keeps its own, and the menu reads again
    // afterwards what that form may have stored.
    ToznFDConnection& c = connection();
    const bool reading = c.inTransaction();
    if (reading)
        c.Rollback();
    try {
        run();
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
    }
    if (reading && !c.inTransaction())
        c.StartTransaction(false);
}

bool TfrmLVduCalcMenu::RunAction(const QString& name)
{
    if (object_ == 0)
        return false;
    for (const TAction& a : actions_)
        if (a.Name == name) {
            const int guid = object_;
            Outside([&] { a.Run(guid); });
            Recalculate();
            return true;
        }
    return false;
}
