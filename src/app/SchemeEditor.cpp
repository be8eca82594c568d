#include "app/SchemeEditor.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHash>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSplitter>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <optional>

#include "host/Connection.h"
#include "host/Dialogs.h"
#include "host/InputRanges.h"
#include "host/NumericHelpers.h"
#include "host/WindowPlace.h"
#include "host/scheme/SchemeStore.h"

using namespace scheme;

namespace {
constexpr int kSheetRole = Qt::UserRole + 1;
constexpr int kRowRole = Qt::UserRole + 2;
constexpr int kColumnRole = Qt::UserRole + 3;

// The tables leave out the workbook's first column, "Линия": table column c is workbook column c + 1.
constexpr int kFirstColumn = 1;
// Rows are numbered as the tables show them, from 1, so that the problems and the rows they name agree.
constexpr int kFirstRow = 1;

// A problem in the editor's terms: the table, the row as numbered there and the column by its caption.
QString ProblemText(const TBookProblem& p)
{
    if (p.Row <= 0)
        return p.ToString();
    const bool sections = p.Sheet == QString::fromUtf8(kSectionsSheet);
    QString place = QStringLiteral("%1, строка %2").arg(p.Sheet).arg(p.Row);
    if (p.Column > 0)
        place += QStringLiteral(", «%1»").arg(sections ? SectionCaption(p.Column - 1) : ConsumerCaption(p.Column - 1));
    return place + QStringLiteral(": ") + p.Text;
}

// Coded columns are edited with a list of their texts; a text the list lacks (a conductor removed from the
// catalogue since) is offered too, so that opening the list never changes a cell.
class ListDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void SetList(int column, const QStringList& texts) { lists_.insert(column, texts); }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const auto it = lists_.constFind(index.column());
        if (it == lists_.constEnd())
            return QStyledItemDelegate::createEditor(parent, option, index);
        auto* combo = new QComboBox(parent);
        combo->setObjectName(QStringLiteral("ComboCell"));
        combo->addItems(*it);
        auto* self = const_cast<ListDelegate*>(this);
        connect(combo, &QComboBox::activated, self, [self, combo] {
            emit self->commitData(combo);
            emit self->closeEditor(combo);
        });
        return combo;
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override
    {
        auto* combo = qobject_cast<QComboBox*>(editor);
        if (!combo)
            return QStyledItemDelegate::setEditorData(editor, index);
        const QString text = index.data(Qt::EditRole).toString();
        int i = combo->findText(text, Qt::MatchFixedString);
        if (i < 0) {
            combo->addItem(text);
            i = combo->count() - 1;
        }
        combo->setCurrentIndex(i);
    }
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override
    {
        if (auto* combo = qobject_cast<QComboBox*>(editor))
            model->setData(index, combo->currentText(), Qt::EditRole);
        else
            QStyledItemDelegate::setModelData(editor, model, index);
    }

private:
    QHash<int, QStringList> lists_;
};

QStringList WithEmpty(const QStringList& texts) { return QStringList{QString()} + texts; }

QTableWidget* Table(QWidget* parent, const QString& name, int columns, QString (*caption)(int))
{
    auto* t = new QTableWidget(0, columns - kFirstColumn, parent);
    t->setObjectName(name);
    QStringList headers;
    for (int c = kFirstColumn; c < columns; ++c)
        headers << caption(c);
    t->setHorizontalHeaderLabels(headers);
    t->horizontalHeader()->setStretchLastSection(true);
    t->setSelectionBehavior(QAbstractItemView::SelectItems);
    t->setSelectionMode(QAbstractItemView::SingleSelection);
    return t;
}

QPushButton* Button(QWidget* parent, const QString& text, const QString& name)
{
    auto* b = new QPushButton(text, parent);
    b->setObjectName(name);
    b->setAutoDefault(false);
    return b;
}

QString CellText(const QTableWidget* table, int row, int column)
{
    const QTableWidgetItem* item = table->item(row, column);
    return item ? item->text() : QString();
}

// The rows of a table as workbook rows; a row left empty stays empty, so the checks pass over it.
std::vector<TBookRow> RowsOf(const QTableWidget* table, const QString& fider)
{
    std::vector<TBookRow> rows;
    for (int r = 0; r < table->rowCount(); ++r) {
        TBookRow row;
        row.Row = r + kFirstRow;
        QStringList cells;
        for (int c = 0; c < table->columnCount(); ++c)
            cells << CellText(table, r, c);
        const bool empty = cells.join(QString()).trimmed().isEmpty();
        row.Cells = QStringList{empty ? QString() : fider} + cells;
        rows.push_back(row);
    }
    return rows;
}
}  // namespace

SchemeEditor::SchemeEditor(ToznFDConnection& connection, int fiderGuid, const QString& fiderName, int nodeGuid,
                           int sampleIdent, RunRegime runRegime, QWidget* parent)
    : QWidget(parent, Qt::Window), connection_(connection), fiderGuid_(fiderGuid), fiderName_(fiderName.simplified()),
      nodeGuid_(nodeGuid), sampleIdent_(sampleIdent), runRegime_(std::move(runRegime))
{
    setObjectName(QStringLiteral("SchemeEditor"));
    setWindowTitle(QStringLiteral("Схема линии 0,4 кВ — %1").arg(fiderName_));
    KeepWindowPlace(*this, QStringLiteral("SchemeEditor"), QSize(1200, 740));
    auto* layout = new QVBoxLayout(this);
    auto* splitter = new QSplitter(Qt::Vertical, this);
    layout->addWidget(splitter, 1);

    const auto group = [&](const QString& title, QTableWidget*& table, const QString& name, int columns,
                           QString (*caption)(int), QPushButton* add, QPushButton* remove) {
        auto* box = new QGroupBox(title, splitter);
        auto* v = new QVBoxLayout(box);
        auto* h = new QHBoxLayout;
        add->setParent(box);
        remove->setParent(box);
        h->addWidget(add);
        h->addWidget(remove);
        h->addStretch();
        v->addLayout(h);
        table = Table(box, name, columns, caption);
        v->addWidget(table);
        splitter->addWidget(box);
    };
    auto* addSection = Button(this, QStringLiteral("Добавить участок"), QStringLiteral("ButtonAddSection"));
    auto* deleteSection = Button(this, QStringLiteral("Удалить участок"), QStringLiteral("ButtonDeleteSection"));
    auto* addConsumer = Button(this, QStringLiteral("Добавить абонента"), QStringLiteral("ButtonAddConsumer"));
    auto* deleteConsumer = Button(this, QStringLiteral("Удалить абонента"), QStringLiteral("ButtonDeleteConsumer"));
    group(QString::fromUtf8(kSectionsSheet), sections_, QStringLiteral("GridSections"), SColumns, &SectionCaption,
          addSection, deleteSection);
    group(QString::fromUtf8(kConsumersSheet), consumers_, QStringLiteral("GridConsumers"), CColumns, &ConsumerCaption,
          addConsumer, deleteConsumer);

    problems_ = new QListWidget(splitter);
    problems_->setObjectName(QStringLiteral("ListProblems"));
    problems_->hide();
    splitter->addWidget(problems_);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    splitter->setStretchFactor(2, 1);

    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("LabelStatus"));
    status_->setWordWrap(true);
    layout->addWidget(status_);

    auto* buttons = new QHBoxLayout;
    auto* check = Button(this, QStringLiteral("Проверить"), QStringLiteral("ButtonCheck"));
    auto* save = Button(this, QStringLiteral("Сохранить"), QStringLiteral("ButtonSave"));
    auto* calculate = Button(this, QStringLiteral("Рассчитать режим"), QStringLiteral("ButtonCalculate"));
    auto* close = Button(this, QStringLiteral("Закрыть"), QStringLiteral("ButtonClose"));
    buttons->addWidget(check);
    buttons->addWidget(save);
    buttons->addWidget(calculate);
    buttons->addStretch();
    buttons->addWidget(close);
    layout->addLayout(buttons);

    // Lists of the coded columns; the conductors are those of the catalogue when the editor opens.
    const QStringList conductors = WithEmpty(ReadCatalogue(connection_).Names());
    auto* sectionLists = new ListDelegate(sections_);
    sectionLists->SetList(SPhase - kFirstColumn, conductors);
    sectionLists->SetList(SNeutral - kFirstColumn, conductors);
    sectionLists->SetList(SPhases - kFirstColumn, SectionPhaseTexts());
    sectionLists->SetList(SKind - kFirstColumn, WithEmpty(SectionKindTexts()));
    sectionLists->SetList(SState - kFirstColumn, StateTexts());
    sectionLists->SetList(SOwner - kFirstColumn, OwnerTexts());
    sectionLists->SetList(SDevice - kFirstColumn, WithEmpty(StateTexts()));
    sections_->setItemDelegate(sectionLists);
    auto* consumerLists = new ListDelegate(consumers_);
    consumerLists->SetList(CPhase - kFirstColumn, ConsumerPhaseTexts());
    consumerLists->SetList(COwner - kFirstColumn, WithEmpty(OwnerTexts()));
    consumers_->setItemDelegate(consumerLists);

    connect(addSection, &QPushButton::clicked, this, &SchemeEditor::AddSection);
    connect(deleteSection, &QPushButton::clicked, this, &SchemeEditor::DeleteSection);
    connect(addConsumer, &QPushButton::clicked, this, &SchemeEditor::AddConsumer);
    connect(deleteConsumer, &QPushButton::clicked, this, &SchemeEditor::DeleteConsumer);
    connect(check, &QPushButton::clicked, this, &SchemeEditor::Check);
    connect(save, &QPushButton::clicked, this, &SchemeEditor::Save);
    connect(calculate, &QPushButton::clicked, this, &SchemeEditor::Calculate);
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    for (QTableWidget* table : {sections_, consumers_})
        connect(table, &QTableWidget::itemChanged, this, [this, table](QTableWidgetItem* item) {
            if (filling_)
                return;
            modified_ = true;
            CellEdited(table, item);
        });
    connect(problems_, &QListWidget::itemActivated, this, &SchemeEditor::GoToProblem);
    connect(problems_, &QListWidget::itemClicked, this, &SchemeEditor::GoToProblem);
    Load();
}

namespace {
// What the numeric columns accept: the ranges the scheme's checks and the other forms apply.
std::optional<TInputRule> columnRule(bool sections, int column)
{
    if (sections)
        return column == SLength ? std::optional(host::ranges::Length()) : std::nullopt;
    switch (column) {
    case CPust: return host::ranges::Power();
    case CEnergy: return host::ranges::Energy();
    case CCosFi: return host::ranges::PowerFactor();
    default: return std::nullopt;
    }
}
}  // namespace

void SchemeEditor::CellEdited(QTableWidget* table, QTableWidgetItem* item)
{
    const bool sections = table == sections_;
    const int column = item->column() + kFirstColumn;
    const std::optional<TInputRule> rule = columnRule(sections, column);
    if (!rule)
        return;
    const QString text = item->text().trimmed();
    double value = EmptyFloat();
    const bool number = text.isEmpty() || ParseBookNumber(text, value);
    const bool accepted = number && (isEmptyFloat(value) || rule->Accepts(value));
    // A refused text stays in its cell on a red ground; saving lists it until it is corrected.
    const bool filling = filling_;
    filling_ = true;
    item->setBackground(accepted ? QBrush() : QBrush(QColor(0xFF, 0xC7, 0xCE)));
    filling_ = filling;
    if (accepted)
        return;
    const QString caption = sections ? SectionCaption(column) : ConsumerCaption(column);
    host::ShowWarning(QStringLiteral("Значение не принято: %1, строка %2, «%3»: «%4» — %5.\nИсправьте его или "
                                     "закройте схему без сохранения.")
                          .arg(QString::fromUtf8(sections ? kSectionsSheet : kConsumersSheet))
                          .arg(item->row() + kFirstRow)
                          .arg(caption, text, rule->message));
}

void SchemeEditor::Load()
{
    TSchemeBook book;
    QString error;
    bool loaded = false;
    try {
        loaded = TSchemeStore(connection_).Export(fiderGuid_, sampleIdent_, book, error);
    } catch (const EDatabaseError& e) {
        error = e.Text();
    }
    Fill(sections_, book.Sections);
    Fill(consumers_, book.Consumers);
    modified_ = false;
    if (!loaded) {
        ListProblems({{QString(), 0, 0, QStringLiteral("Схема линии не прочитана: %1").arg(error)}});
        return;
    }
    SetStatus(QStringLiteral("Участков: %1, абонентов: %2").arg(book.Sections.size()).arg(book.Consumers.size()));
}

void SchemeEditor::Fill(QTableWidget* table, const std::vector<TBookRow>& rows)
{
    filling_ = true;
    table->setRowCount(0);
    // Numbers read with the decimal comma; either separator is taken back.
    const QList<int> numeric = table == sections_ ? QList<int>{SLength} : QList<int>{CPust, CEnergy, CCosFi};
    for (const TBookRow& row : rows) {
        QStringList cells = row.Cells;
        for (int column : numeric)
            if (column < cells.size())
                cells[column].replace(QLatin1Char('.'), DecimalSeparator());
        InsertRow(table, table->rowCount(), cells.mid(kFirstColumn));
    }
    table->resizeColumnsToContents();
    filling_ = false;
}

void SchemeEditor::InsertRow(QTableWidget* table, int row, const QStringList& cells)
{
    const bool filling = filling_;
    filling_ = true;
    table->insertRow(row);
    for (int c = 0; c < table->columnCount(); ++c)
        table->setItem(row, c, new QTableWidgetItem(cells.value(c)));
    filling_ = filling;
}

void SchemeEditor::AddSection()
{
    const int current = sections_->currentRow();
    QStringList cells(SColumns - kFirstColumn);
    const auto at = [](int column) { return column - kFirstColumn; };
    if (current >= 0) {
        cells[at(SFrom)] = CellText(sections_, current, at(STo));
        for (int column : {SPhase, SNeutral, SPhases, SKind, SOwner})
            cells[at(column)] = CellText(sections_, current, at(column));
    } else {
        cells[at(SFrom)] = QString::fromUtf8(kSupplyCentre);
        cells[at(SPhases)] = SectionPhaseTexts().first();
        cells[at(SOwner)] = OwnerTexts().first();
    }
    cells[at(SState)] = StateTexts().first();
    const int row = current + 1;
    InsertRow(sections_, row, cells);
    modified_ = true;
    sections_->setCurrentCell(row, at(STo));
}

void SchemeEditor::DeleteSection()
{
    const int row = sections_->currentRow();
    if (row < 0)
        return;
    sections_->removeRow(row);
    modified_ = true;
}

void SchemeEditor::AddConsumer()
{
    QStringList cells(CColumns - kFirstColumn);
    cells[CPhase - kFirstColumn] = ConsumerPhaseTexts().last();
    const int row = consumers_->currentRow() + 1;
    InsertRow(consumers_, row, cells);
    modified_ = true;
    consumers_->setCurrentCell(row, CNode - kFirstColumn);
}

void SchemeEditor::DeleteConsumer()
{
    const int row = consumers_->currentRow();
    if (row < 0)
        return;
    consumers_->removeRow(row);
    modified_ = true;
}

TSchemeBook SchemeEditor::Book() const
{
    TSchemeBook book;
    book.Sections = RowsOf(sections_, fiderName_);
    book.Consumers = RowsOf(consumers_, fiderName_);
    return book;
}

bool SchemeEditor::Check()
{
    TCheckedBook checked;
    try {
        checked = CheckSchemeBook(Book(), ReadCatalogue(connection_));
    } catch (const EDatabaseError& e) {
        checked.Problems.push_back({QString(), 0, 0, e.Text()});
    }
    ListProblems(checked.Problems);
    if (checked.Ok())
        SetStatus(QStringLiteral("Ошибок не найдено: участков %1, абонентов %2")
                      .arg(checked.SectionCount())
                      .arg(checked.ConsumerCount()));
    return checked.Ok();
}

bool SchemeEditor::Save()
{
    const TSchemeBook book = Book();
    if (std::all_of(book.Sections.begin(), book.Sections.end(), [](const TBookRow& r) { return r.IsEmpty(); }))
        return ClearScheme(book);
    TImportOptions options;
    options.NodeGuid = nodeGuid_;
    options.SampleIdent = sampleIdent_;
    options.Replace = true;
    TImportSummary summary;
    std::vector<TBookProblem> problems;
    bool stored = false;
    try {
        stored = TSchemeStore(connection_).Import(book, options, summary, problems);
    } catch (const EDatabaseError& e) {
        problems.push_back({QString(), 0, 0, QStringLiteral("Схема не сохранена: %1").arg(e.Text())});
    }
    if (!stored) {
        ListProblems(problems);
        SetStatus(QStringLiteral("Схема не сохранена: исправьте ошибки из списка"));
        return false;
    }
    // The stored scheme as it is read back: sections ordered from the supply centre.
    Load();
    ListProblems({});
    SetStatus(QStringLiteral("Схема сохранена. %1").arg(summary.ToString()));
    return true;
}

// Every section deleted: the feeder goes back to being calculated from its own parameters, when the user
// agrees to lose its scheme and its consumers.
bool SchemeEditor::ClearScheme(const TSchemeBook& book)
{
    if (std::any_of(book.Consumers.begin(), book.Consumers.end(), [](const TBookRow& r) { return !r.IsEmpty(); })) {
        ListProblems({{QString::fromUtf8(kConsumersSheet), 0, 0,
                       QStringLiteral("абоненты без участков не сохраняются: удалите их или добавьте участки")}});
        return false;
    }
    if (!host::AskYesNo(QStringLiteral("В схеме линии «%1» не осталось участков. Удалить ее схему из базы вместе с "
                                       "абонентами и их энергиями за все интервалы?")
                            .arg(fiderName_)))
        return false;
    QString error;
    if (!TSchemeStore(connection_).ClearScheme(fiderGuid_, error)) {
        ListProblems({{QString(), 0, 0, error}});
        return false;
    }
    Load();
    ListProblems({});
    SetStatus(QStringLiteral("Схема линии удалена"));
    return true;
}

void SchemeEditor::Calculate()
{
    if (modified_) {
        const int answer = host::dialogs().Message(
            host::AppCaption(),
            QStringLiteral("Схема линии «%1» изменена, а режим рассчитывается по схеме в базе. Сохранить изменения "
                           "перед расчетом?")
                .arg(fiderName_),
            host::Icon::Question, host::Buttons::YesNoCancel);
        if (answer == host::mrCancel || (answer == host::mrYes && !Save()))
            return;
    }
    if (runRegime_)
        runRegime_(fiderGuid_);
}

void SchemeEditor::closeEvent(QCloseEvent* event)
{
    if (modified_ &&
        !host::AskYesNo(
            QStringLiteral("Изменения схемы линии «%1» не сохранены. Закрыть без сохранения?").arg(fiderName_))) {
        event->ignore();
        return;
    }
    event->accept();
}

QStringList SchemeEditor::Problems() const
{
    QStringList lines;
    for (int i = 0; i < problems_->count(); ++i)
        lines << problems_->item(i)->text();
    return lines;
}

void SchemeEditor::ListProblems(const std::vector<TBookProblem>& problems)
{
    problems_->clear();
    for (const TBookProblem& p : problems) {
        auto* item = new QListWidgetItem(ProblemText(p), problems_);
        item->setData(kSheetRole, p.Sheet);
        item->setData(kRowRole, p.Row);
        item->setData(kColumnRole, p.Column);
    }
    problems_->setVisible(!problems.empty());
}

// Puts the cursor on the cell of a problem.
void SchemeEditor::GoToProblem(QListWidgetItem* item)
{
    if (!item)
        return;
    const QString sheet = item->data(kSheetRole).toString();
    QTableWidget* table = sheet == QString::fromUtf8(kSectionsSheet)    ? sections_
                          : sheet == QString::fromUtf8(kConsumersSheet) ? consumers_
                                                                        : nullptr;
    const int row = item->data(kRowRole).toInt() - kFirstRow;
    if (!table || row < 0 || row >= table->rowCount())
        return;
    // Workbook columns count from 1 and include "Линия".
    const int column = std::clamp(item->data(kColumnRole).toInt() - 1 - kFirstColumn, 0, table->columnCount() - 1);
    table->setCurrentCell(row, column);
    table->scrollToItem(table->item(row, column));
    table->setFocus();
}

void SchemeEditor::SetStatus(const QString& text) { status_->setText(text); }
