#include "app/ConductorDialog.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSet>
#include <QTableWidget>
#include <QVBoxLayout>

#include "host/Connection.h"
#include "host/DesktopDialogs.h"
#include "host/NumericHelpers.h"
#include "host/WindowPlace.h"

using namespace scheme;

namespace {
// The catalogue is kept as one sheet; problems of the table name its cells the same way, rows counted
// as the table shows them.
QString Sheet() { return QString::fromUtf8(kConductorsSheet); }
constexpr int kIdentRole = Qt::UserRole + 1;

QTableWidgetItem* TextItem(const QString& text) { return new QTableWidgetItem(text); }
// A number as people read it, with the decimal comma; either separator is read back.
QTableWidgetItem* NumberItem(double value)
{
    return TextItem(dotFloatToStr(value).replace(QLatin1Char('.'), DecimalSeparator()));
}

QPushButton* Button(QWidget* parent, const QString& text, const QString& name)
{
    auto* b = new QPushButton(text, parent);
    b->setObjectName(name);
    b->setAutoDefault(false);
    return b;
}
}  // namespace

ConductorDialog::ConductorDialog(ToznFDConnection& connection, QWidget* parent)
    : QDialog(parent), connection_(connection)
{
    host::KeepOpenOnEnter(*this);
    setObjectName(QStringLiteral("ConductorDialog"));
    setWindowTitle(QStringLiteral("Справочник проводов"));
    KeepWindowPlace(*this, QStringLiteral("ConductorDialog"), QSize(900, 560));
    auto* layout = new QVBoxLayout(this);
    table_ = new QTableWidget(0, PColumns, this);
    table_->setObjectName(QStringLiteral("GridConductors"));
    QStringList headers;
    for (int c = 0; c < PColumns; ++c)
        headers << ConductorCaption(c);
    table_->setHorizontalHeaderLabels(headers);
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    layout->addWidget(table_, 1);

    problems_ = new QListWidget(this);
    problems_->setObjectName(QStringLiteral("ListProblems"));
    problems_->setMaximumHeight(120);
    problems_->hide();
    layout->addWidget(problems_);

    auto* buttons = new QHBoxLayout;
    auto* add = Button(this, QStringLiteral("Добавить"), QStringLiteral("ButtonAdd"));
    auto* remove = Button(this, QStringLiteral("Удалить"), QStringLiteral("ButtonDelete"));
    auto* save = Button(this, QStringLiteral("Сохранить"), QStringLiteral("ButtonSave"));
    auto* cancel = Button(this, QStringLiteral("Отмена"), QStringLiteral("ButtonCancel"));
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch();
    buttons->addWidget(save);
    buttons->addWidget(cancel);
    layout->addLayout(buttons);
    connect(add, &QPushButton::clicked, this, &ConductorDialog::AddConductor);
    connect(remove, &QPushButton::clicked, this, &ConductorDialog::DeleteConductor);
    connect(save, &QPushButton::clicked, this, [this] {
        if (Save())
            accept();
    });
    connect(cancel, &QPushButton::clicked, this, &ConductorDialog::reject);
    connect(table_, &QTableWidget::itemChanged, this, [this] {
        if (!filling_)
            modified_ = true;
    });
    Fill();
}

void ConductorDialog::Fill()
{
    filling_ = true;
    table_->setRowCount(0);
    for (const TCatalogueRow& row : TConductorStore(connection_).Read())
        AppendRow(row);
    table_->resizeColumnsToContents();
    filling_ = false;
}

void ConductorDialog::AppendRow(const TCatalogueRow& row)
{
    const int r = table_->rowCount();
    table_->insertRow(r);
    auto* marka = TextItem(row.Marka);
    marka->setData(kIdentRole, row.Ident);
    table_->setItem(r, PMarka, marka);
    table_->setItem(r, PF, NumberItem(row.F));
    table_->setItem(r, PR0, NumberItem(row.R0));
    table_->setItem(r, PX0, NumberItem(row.X0));
    auto* cable = new QTableWidgetItem;
    cable->setFlags((cable->flags() | Qt::ItemIsUserCheckable) & ~Qt::ItemIsEditable);
    cable->setCheckState(row.Cable ? Qt::Checked : Qt::Unchecked);
    table_->setItem(r, PCable, cable);
    table_->setItem(r, PUnom, NumberItem(row.Unom));
}

void ConductorDialog::AddConductor()
{
    TCatalogueRow row;
    row.F = EmptyFloat();
    row.R0 = EmptyFloat();
    row.X0 = 0;
    row.Unom = 0.38;
    AppendRow(row);
    modified_ = true;
    const int r = table_->rowCount() - 1;
    table_->setCurrentCell(r, PMarka);
    table_->editItem(table_->item(r, PMarka));
}

void ConductorDialog::DeleteConductor()
{
    const int r = table_->currentRow();
    if (r < 0)
        return;
    const int ident = table_->item(r, PMarka)->data(kIdentRole).toInt();
    if (ident) {
        const QStringList places = TConductorStore(connection_).Usage(ident);
        if (!places.isEmpty()) {
            const QString name = fider::ConductorName(table_->item(r, PMarka)->text(), [&] {
                double f = EmptyFloat();
                return ParseBookNumber(table_->item(r, PF)->text(), f) ? f : EmptyFloat();
            }());
            host::ShowWarning(QStringLiteral("Провод «%1» используется и не может быть удален:\n%2")
                                  .arg(name, places.join(QLatin1Char('\n'))));
            return;
        }
        deleted_ << ident;
    }
    table_->removeRow(r);
    modified_ = true;
}

std::vector<TCatalogueRow> ConductorDialog::Rows(std::vector<TBookProblem>& problems) const
{
    std::vector<TCatalogueRow> rows;
    for (int r = 0; r < table_->rowCount(); ++r) {
        TCatalogueRow row;
        row.Row = r + 1;
        row.Ident = table_->item(r, PMarka)->data(kIdentRole).toInt();
        row.Marka = table_->item(r, PMarka)->text().simplified();
        const auto number = [&](int column, double& value, double empty) {
            const QString text = table_->item(r, column)->text();
            if (!ParseBookNumber(text, value)) {
                problems.push_back({Sheet(), row.Row, column + 1, QStringLiteral("«%1» не число").arg(text)});
                value = EmptyFloat();
            } else if (isEmptyFloat(value)) {
                value = empty;
            }
        };
        number(PF, row.F, EmptyFloat());
        number(PR0, row.R0, EmptyFloat());
        number(PX0, row.X0, 0);
        number(PUnom, row.Unom, EmptyFloat());
        row.Cable = table_->item(r, PCable)->checkState() == Qt::Checked;
        rows.push_back(row);
    }
    return rows;
}

bool ConductorDialog::Save()
{
    std::vector<TBookProblem> problems;
    const std::vector<TCatalogueRow> rows = Rows(problems);
    // A cell that is not a number has its problem already; the checks would see it empty.
    QSet<QPair<int, int>> unreadable;
    for (const TBookProblem& p : problems)
        unreadable.insert({p.Row, p.Column});
    for (const TBookProblem& p : CheckConductors(rows, Sheet()))
        if (!unreadable.contains({p.Row, p.Column}))
            problems.push_back(p);
    if (!problems.empty()) {
        ListProblems(ProblemTexts(problems));
        return false;
    }
    QString error;
    bool saved = false;
    try {
        saved = TConductorStore(connection_).Save(rows, deleted_, error);
    } catch (const EDatabaseError& e) {
        error = e.Text();
    }
    if (!saved) {
        ListProblems({error});
        return false;
    }
    ListProblems({});
    modified_ = false;
    deleted_.clear();
    return true;
}

QStringList ConductorDialog::Problems() const
{
    QStringList lines;
    for (int i = 0; i < problems_->count(); ++i)
        lines << problems_->item(i)->text();
    return lines;
}

void ConductorDialog::ListProblems(const QStringList& lines)
{
    problems_->clear();
    problems_->addItems(lines);
    problems_->setVisible(!lines.isEmpty());
}

void ConductorDialog::reject()
{
    if (modified_ && !host::AskYesNo(QStringLiteral("Изменения справочника проводов не сохранены. Закрыть без "
                                                    "сохранения?")))
        return;
    QDialog::reject();
}
