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

// Numbers as the users write them (decimal comma), while the cells keep numbers for sorting.
class NumberDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QString displayText(const QVariant& value, const QLocale& locale) const override
    {
        if (value.typeId() == QMetaType::Double)
            return FormatFloat(QStringLiteral("0.###"), value.toDouble());
        return QStyledItemDelegate::displayText(value, locale);
    }
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
    grid->setItemDelegate(new NumberDelegate(grid));
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

    auto* splitter = new QSplitter(this);
    filterTree_ = new QTreeWidget(splitter);
    filterTree_->setObjectName(QStringLiteral("TreeFilter"));
    filterTree_->setHeaderHidden(true);
    QTreeWidgetItem* top = nullptr;
    for (const Filter& f : Filters()) {
        if (f.TopLevel)
            top = new QTreeWidgetItem(filterTree_, {f.Item});
        else
            new QTreeWidgetItem(top, {f.Item});
    }
    filterTree_->expandAll();
    stack_ = new QStackedWidget(splitter);
    grids_[Nodes] = makeGrid(stack_, QStringLiteral("GridNodes"), Nodes);
    grids_[Sections] = makeGrid(stack_, QStringLiteral("GridSections"), Sections);
    stack_->addWidget(grids_[Nodes]);
    stack_->addWidget(grids_[Sections]);
    splitter->setStretchFactor(1, 1);
    layout->addWidget(splitter);

    if (feeder)
        scheme_ = Load(connection, feeder->GetIdent(), ident);
    Fill(Nodes);
    Fill(Sections);
    ApplySettings();

    connect(filterTree_, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* item) { SelectFilter(item ? item->text(0) : QString()); });
    connect(presets_, &QComboBox::activated, this,
            [this](int index) { ApplyPreset(static_cast<Preset>(index), hideRepeated_->isChecked()); });
    connect(hideRepeated_, &QCheckBox::toggled, this,
            [this](bool on) { ApplyPreset(static_cast<Preset>(presets_->currentIndex()), on); });
    connect(colours, &QPushButton::clicked, this, &TDetail038Frame::EditColours);
}

TDetail038Frame::~TDetail038Frame() { SaveSettings(); }

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
            grid->setItem(r, c, item);
        }
    grid->setSortingEnabled(true);
    grid->sortByColumn(static_cast<int>(columns.size()) - (table == Nodes ? 1 : 2), Qt::AscendingOrder);
}

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
    ApplyPreset(PresetDefault, false);
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
