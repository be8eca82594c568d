#include "feeders/DetailFrame038Unit.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "feeders/SchemeView038.h"
#include "feeders/VoltageProfileView.h"
#include "host/ColourLegend.h"
#include "host/Connection.h"
#include "host/InitOZN.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "host/Tree.h"

using namespace Detail038;

namespace {
// Disconnected rows grey; owners: the utility black, others blue, consumers green, ССО violet, ССП brown.
const QRgb kDefaultColours[ColourCount] = {0x000000, 0x0000C0, 0x007000, 0x800080, 0x804000, 0x808080};
const char* const kColourNames[ColourCount] = {"На балансе", "Не на балансе", "Потребителя", "ССО", "ССП", "Отключен"};

// Numbers as the users write them (decimal comma), every number of a column with the same decimals, while the
// cells keep numbers for sorting.
class NumberDelegate : public QStyledItemDelegate {
public:
    NumberDelegate(Table table, QObject* parent) : QStyledItemDelegate(parent), table_(table) {}
    QString displayText(const QVariant& value, const QLocale& locale) const override
    {
        if (value.typeId() == QMetaType::Double)
            return FormatFloat(QStringLiteral("0.###"), value.toDouble());
        return QStyledItemDelegate::displayText(value, locale);
    }
    // The text a cell shows.
    QString TextOf(const QModelIndex& index) const
    {
        const QVariant value = index.data(Qt::DisplayRole);
        if (value.typeId() != QMetaType::Double)
            return displayText(value, QLocale());
        const std::vector<Column>& columns = Columns(table_);
        const int decimals = index.column() < static_cast<int>(columns.size()) ? columns[index.column()].Decimals : -1;
        return CellText(value.toDouble(), decimals);
    }
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (index.data(Qt::DisplayRole).typeId() != QMetaType::Double)
            return;
        option->text = TextOf(index);
        option->displayAlignment = Qt::AlignRight | Qt::AlignVCenter;
    }

private:
    Table table_;
};

QTableWidget* makeGrid(QWidget* parent, const QString& name, Table table)
{
    auto* grid = new QTableWidget(0, static_cast<int>(Columns(table).size()), parent);
    grid->setObjectName(name);
    QStringList captions;
    for (const Column& c : Columns(table))
        captions << c.Caption;
    grid->setHorizontalHeaderLabels(captions);
    grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid->setSelectionBehavior(QAbstractItemView::SelectRows);
    grid->horizontalHeader()->setSectionsMovable(true);
    grid->setItemDelegate(new NumberDelegate(table, grid));
    grid->verticalHeader()->setDefaultSectionSize(grid->fontMetrics().height() + 6);
    return grid;
}
}  // namespace

TDetail038Frame::TDetail038Frame(QWidget* owner, ToznFDConnection& connection, ToznListItemCommon* feeder, int ident)
    : TCommonDetailFrame(owner)
{
    setObjectName(QStringLiteral("Detail038Frame"));
    for (int c = 0; c < ColourCount; ++c)
        colours_[c] = QColor::fromRgb(kDefaultColours[c]);
    auto* layout = new QVBoxLayout(this);
    auto* bar = new QHBoxLayout;
    presets_ = new QComboBox(this);
    presets_->setObjectName(QStringLiteral("cbPresets"));
    for (int p = 0; p < PresetCount; ++p)
        presets_->addItem(PresetName(static_cast<Preset>(p)));
    hideRepeated_ = new QCheckBox(QStringLiteral("Дублирубщиеся и пустые колонки"), this);
    hideRepeated_->setObjectName(QStringLiteral("chkHideRepeated"));
    auto* colours = new QPushButton(QStringLiteral("Цвета..."), this);
    colours->setObjectName(QStringLiteral("btnColours"));
    bar->addWidget(presets_);
    bar->addWidget(hideRepeated_);
    bar->addWidget(colours);
    bar->addStretch();
    layout->addLayout(bar);

    // The drawing with the voltage along the line above, the tables below.
    outer_ = new QSplitter(Qt::Vertical, this);
    outer_->setObjectName(QStringLiteral("SplitterDetail"));
    top_ = new QSplitter(outer_);
    top_->setObjectName(QStringLiteral("SplitterDrawing"));
    drawing_ = new feeders::TSchemeView038(top_);
    profile_ = new feeders::TVoltageProfileView(top_);
    top_->setStretchFactor(0, 3);
    top_->setStretchFactor(1, 1);
    bottom_ = new QSplitter(outer_);
    bottom_->setObjectName(QStringLiteral("SplitterTables"));
    filterTree_ = new QTreeWidget(bottom_);
    filterTree_->setObjectName(QStringLiteral("TreeFilter"));
    filterTree_->setHeaderHidden(true);
    QTreeWidgetItem* top = nullptr;
    for (const Filter& f : Filters()) {
        QTreeWidgetItem* item =
            f.TopLevel ? new QTreeWidgetItem(filterTree_, {f.Item}) : new QTreeWidgetItem(top, {f.Item});
        item->setToolTip(0, f.Item);  // a narrow pane cuts the longer names
        if (f.TopLevel)
            top = item;
    }
    filterTree_->expandAll();
    stack_ = new QStackedWidget(bottom_);
    grids_[Nodes] = makeGrid(stack_, QStringLiteral("GridNodes"), Nodes);
    grids_[Sections] = makeGrid(stack_, QStringLiteral("GridSections"), Sections);
    stack_->addWidget(grids_[Nodes]);
    stack_->addWidget(grids_[Sections]);
    bottom_->setStretchFactor(1, 1);
    layout->addWidget(drawing_->Bar());  // the drawing's controls span the frame
    layout->addWidget(outer_);

    if (feeder)
        scheme_ = Rows(Read(connection, feeder->GetIdent(), ident));
    Fill(Nodes);
    Fill(Sections);
    ApplySettings();
    drawing_->SetDrawing(feeders::TSchemeDrawing038::Build(scheme_.State, drawing_->Colour()));

    connect(filterTree_, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* item) { SelectFilter(item ? item->text(0) : QString()); });
    connect(presets_, &QComboBox::activated, this,
            [this](int index) { ApplyPreset(static_cast<Preset>(index), hideRepeated_->isChecked()); });
    connect(hideRepeated_, &QCheckBox::toggled, this,
            [this](bool on) { ApplyPreset(static_cast<Preset>(presets_->currentIndex()), on); });
    connect(colours, &QPushButton::clicked, this, &TDetail038Frame::EditColours);
    connect(drawing_, &feeders::TSchemeView038::NodeChosen, this, &TDetail038Frame::OnDrawingNode);
    connect(drawing_, &feeders::TSchemeView038::SectionChosen, this, &TDetail038Frame::OnDrawingSection);
    for (Table t : {Nodes, Sections})
        connect(grids_[t], &QTableWidget::itemSelectionChanged, this, [this, t] { OnRowChosen(t); });
}

TDetail038Frame::~TDetail038Frame() { SaveSettings(); }

void TDetail038Frame::showEvent(QShowEvent* event)
{
    TCommonDetailFrame::showEvent(event);
    if (placed_)
        return;
    placed_ = true;
    // Until the user draws them otherwise: the drawing the larger part, the filter tree narrow.
    const int w = std::max(width(), 400), h = std::max(height(), 300);
    top_->setSizes({w * 62 / 100, w * 38 / 100});
    bottom_->setSizes({190, w - 190});
    outer_->setSizes({h * 55 / 100, h * 45 / 100});
}

void TDetail038Frame::Fill(Table table)
{
    host::progress().SetText(QStringLiteral("Заполнение таблиц данных \"%1\"").arg(TableName(table)));
    QTableWidget* grid = grids_[table];
    const std::vector<Row>& rows = scheme_.Rows[table];
    const std::vector<Column>& columns = Columns(table);
    grid->setSortingEnabled(false);
    grid->setRowCount(static_cast<int>(rows.size()));
    for (int r = 0; r < static_cast<int>(rows.size()); ++r)
        for (int c = 0; c < static_cast<int>(columns.size()); ++c) {
            auto* item = new QTableWidgetItem;
            // A value the run does not have reads as an empty cell; the data keep their "+NAN".
            const QVariant value = rows[r].Value(columns[c].Field);
            if (value.toString() != QLatin1String("+NAN"))
                item->setData(Qt::DisplayRole, value);
            if (c == 0)
                item->setData(Qt::UserRole, rows[r].Guid);
            grid->setItem(r, c, item);
        }
    grid->setSortingEnabled(true);
    grid->sortByColumn(static_cast<int>(columns.size()) - (table == Nodes ? 1 : 2), Qt::AscendingOrder);
}

int TDetail038Frame::ChosenGuid(Table table) const
{
    const QList<QTableWidgetItem*> chosen = grids_[table]->selectedItems();
    for (QTableWidgetItem* item : chosen)
        if (QTableWidgetItem* first = grids_[table]->item(item->row(), 0))
            return first->data(Qt::UserRole).toInt();
    return 0;
}

bool TDetail038Frame::ChooseRow(Table table, int guid)
{
    QTableWidget* grid = grids_[table];
    for (int r = 0; r < grid->rowCount(); ++r) {
        if (grid->item(r, 0)->data(Qt::UserRole).toInt() != guid || guid == 0)
            continue;
        // A row the filter hides is shown with the whole table.
        if (grid->isRowHidden(r) || stack_->currentWidget() != grid) {
            const QString all = TableName(table);
            const QList<QTreeWidgetItem*> items = filterTree_->findItems(all, Qt::MatchExactly);
            if (grid->isRowHidden(r) && !items.isEmpty())
                filterTree_->setCurrentItem(items.front());
            stack_->setCurrentWidget(grid);
        }
        grid->selectRow(r);
        grid->scrollToItem(grid->item(r, 0));
        return true;
    }
    return false;
}

void TDetail038Frame::OnDrawingNode(int guid)
{
    if (syncing_)
        return;
    syncing_ = true;
    ChooseRow(Nodes, guid);
    profile_->ShowPath(drawing_->Drawing(), drawing_->Drawing().NodeIndex(guid));
    syncing_ = false;
}

void TDetail038Frame::OnDrawingSection(int guid)
{
    if (syncing_)
        return;
    syncing_ = true;
    ChooseRow(Sections, guid);
    const int section = drawing_->Drawing().SectionIndex(guid);
    if (section >= 0)
        profile_->ShowPath(drawing_->Drawing(), drawing_->Drawing().Sections[section].To);
    syncing_ = false;
}

void TDetail038Frame::OnRowChosen(Table table)
{
    if (syncing_)
        return;
    const int guid = ChosenGuid(table);
    if (guid == 0)
        return;
    syncing_ = true;
    if (table == Nodes) {
        drawing_->SelectNode(guid);
        profile_->ShowPath(drawing_->Drawing(), drawing_->Drawing().NodeIndex(guid));
    } else if (drawing_->SelectSection(guid)) {
        profile_->ShowPath(drawing_->Drawing(),
                           drawing_->Drawing().Sections[drawing_->Drawing().SectionIndex(guid)].To);
    }
    syncing_ = false;
}

QString TDetail038Frame::ShownText(Table table, int row, int column) const
{
    auto* delegate = static_cast<NumberDelegate*>(grids_[table]->itemDelegate());
    return delegate->TextOf(grids_[table]->model()->index(row, column));
}

Preset TDetail038Frame::CurrentPreset() const { return static_cast<Preset>(presets_->currentIndex()); }

int TDetail038Frame::NodeCount() const { return grids_[Nodes]->rowCount(); }
int TDetail038Frame::SectionCount() const { return grids_[Sections]->rowCount(); }

bool TDetail038Frame::SelectFilter(const QString& item)
{
    for (const Filter& f : Filters()) {
        if (f.Item != item)
            continue;
        QTableWidget* grid = grids_[f.table];
        stack_->setCurrentWidget(grid);
        const int devType = 1, className = 2;  // the columns the filters read
        for (int r = 0; r < grid->rowCount(); ++r) {
            Row row{grid->item(r, className)->text(), grid->item(r, devType)->text(), {}, {}, {}};
            grid->setRowHidden(r, !Matches(row, f.Expression));
        }
        return true;
    }
    return false;
}

int TDetail038Frame::VisibleRows(Table table) const
{
    int n = 0;
    for (int r = 0; r < grids_[table]->rowCount(); ++r)
        n += grids_[table]->isRowHidden(r) ? 0 : 1;
    return n;
}

void TDetail038Frame::ApplyPreset(Preset preset, bool hideRepeated)
{
    if (presets_->currentIndex() != preset)
        presets_->setCurrentIndex(preset);
    for (Table t : {Nodes, Sections}) {
        const std::vector<bool> visible = PresetVisibility(t, preset, hideRepeated, scheme_.Rows[t]);
        for (size_t c = 0; c < visible.size(); ++c)
            grids_[t]->setColumnHidden(static_cast<int>(c), !visible[c]);
    }
}

namespace {
constexpr int kWidestColumn = 260;
}

void TDetail038Frame::ApplySettings()
{
    host::Progress& progress = host::progress();
    TInitOZN* init = ::Init(true);
    progress.SetText(QStringLiteral("Формирование дерева настройки столбцов..."));
    progress.SetText(QStringLiteral("Применение настроек видимости столбцов..."));
    // The preset last chosen, then the columns the user showed or hid by hand.
    const int preset = init->LoadStrParam(kSettingsName, kPresetKey).toInt();
    const bool hideRepeated = init->LoadStrParam(kSettingsName, kHideRepeatedKey) == QLatin1String("1");
    hideRepeated_->setChecked(hideRepeated);
    ApplyPreset(preset >= 0 && preset < PresetCount ? static_cast<Preset>(preset) : PresetDefault, hideRepeated);
    for (Table t : {Nodes, Sections})
        for (size_t c = 0; c < Columns(t).size(); ++c) {
            const QString saved = init->LoadStrParam(kSettingsName, ColumnKey(t, Columns(t)[c].Field, "Visibility"));
            if (!saved.isEmpty())
                grids_[t]->setColumnHidden(static_cast<int>(c), saved == QLatin1String("0"));
        }
    progress.SetText(QStringLiteral("Применение видимости таблиц..."));
    progress.SetText(QStringLiteral("Применение видимости ветвей дерева..."));
    progress.SetText(QStringLiteral("Применение: Скрыть колонки отсутствующих устройств..."));
    progress.SetText(QStringLiteral("Задание ширины колонок ..."));
    for (Table t : {Nodes, Sections}) {
        QHeaderView* header = grids_[t]->horizontalHeader();
        for (size_t c = 0; c < Columns(t).size(); ++c) {
            const QString& field = Columns(t)[c].Field;
            const int width = init->LoadStrParam(kSettingsName, ColumnKey(t, field, "Width")).toInt();
            if (width > 0) {
                grids_[t]->setColumnWidth(static_cast<int>(c), width);
            } else {
                // Unless the user set it, a column is as wide as its caption and values, within reason.
                grids_[t]->resizeColumnToContents(static_cast<int>(c));
                grids_[t]->setColumnWidth(static_cast<int>(c),
                                          std::min(grids_[t]->columnWidth(static_cast<int>(c)), kWidestColumn));
            }
            bool ok = false;
            const int order = init->LoadStrParam(kSettingsName, ColumnKey(t, field, "Order")).toInt(&ok);
            if (ok && order >= 0 && order < header->count())
                header->moveSection(header->visualIndex(static_cast<int>(c)), order);
        }
    }
    progress.SetText(QStringLiteral("Задание настроек цветов ..."));
    const QStringList saved = init->LoadStrParam(kSettingsName, kColoursKey).split(QLatin1Char(','));
    if (saved.size() == ColourCount)
        for (int c = 0; c < ColourCount; ++c)
            colours_[c] = QColor::fromRgb(static_cast<QRgb>(saved[c].toUInt()));
    ApplyColours();
    bool known = false;
    const int colour = init->LoadStrParam(kSettingsName, kDrawColourKey).toInt(&known);
    if (known && colour >= 0 && colour < feeders::kDrawColourCount)
        drawing_->SetColour(static_cast<feeders::TDrawColour>(colour));
    drawing_->SetSectionLabels(init->LoadStrParam(kSettingsName, kSectionLabelsKey) == QLatin1String("1"));
    const QStringList splitters = init->LoadStrParam(kSettingsName, kSplittersKey).split(QLatin1Char(','));
    if (splitters.size() == 3) {
        placed_ = true;
        outer_->restoreState(QByteArray::fromBase64(splitters[0].toLatin1()));
        top_->restoreState(QByteArray::fromBase64(splitters[1].toLatin1()));
        bottom_->restoreState(QByteArray::fromBase64(splitters[2].toLatin1()));
    }
}

void TDetail038Frame::ApplyColours()
{
    for (Table t : {Nodes, Sections}) {
        QTableWidget* grid = grids_[t];
        const int state = 3, owner = 4;
        for (int r = 0; r < grid->rowCount(); ++r) {
            const QColor colour = colours_[RowColour(grid->item(r, state)->text(), grid->item(r, owner)->text())];
            for (int c = 0; c < grid->columnCount(); ++c)
                grid->item(r, c)->setForeground(colour);
        }
    }
}

void TDetail038Frame::SetColour(Colour colour, const QColor& value)
{
    colours_[colour] = value;
    ApplyColours();
}

void TDetail038Frame::SaveSettings() const
{
    TInitOZN* init = ::Init(true);
    for (Table t : {Nodes, Sections}) {
        const QHeaderView* header = grids_[t]->horizontalHeader();
        for (size_t c = 0; c < Columns(t).size(); ++c) {
            const QString& field = Columns(t)[c].Field;
            const int column = static_cast<int>(c);
            init->SaveStrParam(kSettingsName, ColumnKey(t, field, "Width"),
                               QString::number(grids_[t]->columnWidth(column)));
            init->SaveStrParam(kSettingsName, ColumnKey(t, field, "Order"),
                               QString::number(header->visualIndex(column)));
            init->SaveStrParam(kSettingsName, ColumnKey(t, field, "Visibility"),
                               grids_[t]->isColumnHidden(column) ? QStringLiteral("0") : QStringLiteral("1"));
        }
    }
    QStringList colours;
    for (const QColor& c : colours_)
        colours << QString::number(c.rgb() & 0xFFFFFF);
    init->SaveStrParam(kSettingsName, kColoursKey, colours.join(QLatin1Char(',')));
    init->SaveStrParam(kSettingsName, kPresetKey, QString::number(presets_->currentIndex()));
    init->SaveStrParam(kSettingsName, kHideRepeatedKey,
                       hideRepeated_->isChecked() ? QStringLiteral("1") : QStringLiteral("0"));
    init->SaveStrParam(kSettingsName, kDrawColourKey, QString::number(static_cast<int>(drawing_->Colour())));
    init->SaveStrParam(kSettingsName, kSectionLabelsKey,
                       drawing_->Style().SectionLabels ? QStringLiteral("1") : QStringLiteral("0"));
    init->SaveStrParam(kSettingsName, kSplittersKey,
                       QStringList{QString::fromLatin1(outer_->saveState().toBase64()),
                                   QString::fromLatin1(top_->saveState().toBase64()),
                                   QString::fromLatin1(bottom_->saveState().toBase64())}
                           .join(QLatin1Char(',')));
}

void TDetail038Frame::EditColours()
{
    QStringList names;
    for (const char* name : kColourNames)
        names << QString::fromUtf8(name);
    host::EditColours(
        this, QStringLiteral("DetailColours"), QStringLiteral("Цвета"), names, [this](int c) { return colours_[c]; },
        [this](int c, const QColor& colour) { SetColour(static_cast<Colour>(c), colour); }, false);
}
