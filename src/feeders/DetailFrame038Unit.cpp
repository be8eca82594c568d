#include "feeders/DetailFrame038Unit.h"

#include <QHeaderView>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>

#include "host/Connection.h"
#include "host/Tree.h"

namespace {
QTableWidget* makeTable(QWidget* parent, const QString& name, const QStringList& headers)
{
    auto* table = new QTableWidget(0, headers.size(), parent);
    table->setObjectName(name);
    table->setHorizontalHeaderLabels(headers);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    return table;
}

void addRow(QTableWidget* table, const QStringList& cells)
{
    const int row = table->rowCount();
    table->insertRow(row);
    for (int c = 0; c < cells.size(); ++c)
        table->setItem(row, c, new QTableWidgetItem(cells[c]));
}
}  // namespace

TDetail038Frame::TDetail038Frame(QWidget* owner, ToznFDConnection& connection, ToznListItemCommon* feeder, int)
    : TCommonDetailFrame(owner)
{
    setObjectName(QStringLiteral("Detail038Frame"));
    auto* layout = new QVBoxLayout(this);
    auto* tabs = new QTabWidget(this);
    layout->addWidget(tabs);
    nodes_ = makeTable(this, QStringLiteral("GridNodes"), {QStringLiteral("Наименование"), QStringLiteral("Порядок")});
    sections_ = makeTable(this, QStringLiteral("GridSections"),
                          {QStringLiteral("Наименование"), QStringLiteral("Длина, км"), QStringLiteral("Марка")});
    tabs->addTab(nodes_, QStringLiteral("Узлы"));
    tabs->addTab(sections_, QStringLiteral("Участки"));
    if (!feeder)
        return;
    const int guid = feeder->GetIdent();
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(
            QStringLiteral(R"(select "Name", "TabOrder" from "LVNodes" where "OwnerGUID"=:GUID order by "TabOrder")"));
        q->ParamByName(QStringLiteral("GUID"), guid);
        for (q->Open(); !q->Eof(); q->Next())
            addRow(nodes_, {q->Str(QStringLiteral("Name")), q->Str(QStringLiteral("TabOrder"))});
        q->SetSQLText(QStringLiteral(R"(select l."Info", l."LineLength", p."Marka" from "LVLines" l
            left join "Provods" p on p."Ident"=l."ProvodPhase" where l."OwnerGUID"=:GUID order by l."TabOrder")"));
        q->ParamByName(QStringLiteral("GUID"), guid);
        for (q->Open(); !q->Eof(); q->Next())
            addRow(sections_, {q->Str(QStringLiteral("Info")), q->Str(QStringLiteral("LineLength")),
                               q->Str(QStringLiteral("Marka"))});
    });
}

int TDetail038Frame::NodeCount() const { return nodes_->rowCount(); }
int TDetail038Frame::SectionCount() const { return sections_->rowCount(); }
