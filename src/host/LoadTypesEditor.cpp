#include "host/LoadTypesEditor.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

#include "host/Connection.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"

namespace {
QTableWidget* table(QWidget* parent, const QString& name, const QStringList& headers)
{
    auto* t = new QTableWidget(0, headers.size(), parent);
    t->setObjectName(name);
    t->setHorizontalHeaderLabels(headers);
    t->horizontalHeader()->setStretchLastSection(true);
    return t;
}

QTableWidgetItem* item(const QVariant& value, bool editable)
{
    auto* i = new QTableWidgetItem(value.typeId() == QMetaType::Double
                                       ? FormatFloat(QStringLiteral("0.###"), value.toDouble())
                                       : value.toString());
    i->setData(Qt::UserRole, value);
    if (!editable)
        i->setFlags(i->flags() & ~Qt::ItemIsEditable);
    return i;
}

void fill(ToznFDConnection& c, QTableWidget* loads, QTableWidget* tmax)
{
    GuardedRead(c, [&] {
        auto q = c.NewQuery();
        q->SetSQLText(QStringLiteral(R"(select "Ident", "Name", "CosFi" from "TypeLoads" order by "Ident")"));
        for (q->Open(); !q->Eof(); q->Next()) {
            const int r = loads->rowCount();
            loads->insertRow(r);
            loads->setItem(r, 0, item(q->Int(QStringLiteral("Ident")), false));
            loads->setItem(r, 1, item(q->Str(QStringLiteral("Name")), true));
            loads->setItem(r, 2, item(q->Float(QStringLiteral("CosFi")), true));
        }
        q->SetSQLText(
            QStringLiteral(R"(select "TypeLoad", "Pmin", "Tmax" from "LVTmxRef" order by "TypeLoad", "Pmin")"));
        for (q->Open(); !q->Eof(); q->Next()) {
            const int r = tmax->rowCount();
            tmax->insertRow(r);
            tmax->setItem(r, 0, item(q->Int(QStringLiteral("TypeLoad")), false));
            tmax->setItem(r, 1, item(q->Float(QStringLiteral("Pmin")), false));
            tmax->setItem(r, 2, item(q->Int(QStringLiteral("Tmax")), true));
        }
    });
}

bool save(ToznFDConnection& c, QTableWidget* loads, QTableWidget* tmax)
{
    const bool own = !c.inTransaction();
    try {
        if (own)
            c.StartTransaction(false);
        auto q = c.NewQuery();
        q->SetSQLText(QStringLiteral(R"(update "TypeLoads" set "Name"=:Name, "CosFi"=:CosFi where "Ident"=:Ident)"));
        for (int r = 0; r < loads->rowCount(); ++r) {
            double cos = 0;
            if (!ParseFloat(loads->item(r, 2)->text(), cos) || cos < 0 || cos > 1) {
                host::ShowWarning(QStringLiteral("Коэффициент мощности должен быть числом от 0 до 1: %1")
                                      .arg(loads->item(r, 2)->text()));
                if (own)
                    c.Rollback();
                return false;
            }
            q->ParamByName(QStringLiteral("Ident"), loads->item(r, 0)->data(Qt::UserRole));
            q->ParamByName(QStringLiteral("Name"), loads->item(r, 1)->text()).ParamByName(QStringLiteral("CosFi"), cos);
            q->ExecSQL();
        }
        q->SetSQLText(
            QStringLiteral(R"(update "LVTmxRef" set "Tmax"=:Tmax where "TypeLoad"=:TypeLoad and "Pmin"=:Pmin)"));
        for (int r = 0; r < tmax->rowCount(); ++r) {
            bool ok = false;
            const int hours = tmax->item(r, 2)->text().toInt(&ok);
            if (!ok || hours < 0) {
                host::ShowWarning(
                    QStringLiteral("Tmax должно быть целым числом часов: %1").arg(tmax->item(r, 2)->text()));
                if (own)
                    c.Rollback();
                return false;
            }
            q->ParamByName(QStringLiteral("TypeLoad"), tmax->item(r, 0)->data(Qt::UserRole));
            q->ParamByName(QStringLiteral("Pmin"), tmax->item(r, 1)->data(Qt::UserRole));
            q->ParamByName(QStringLiteral("Tmax"), hours);
            q->ExecSQL();
        }
        if (own)
            c.Commit();
        else
            c.CommitRetaining();
    } catch (const EDatabaseError& e) {
        if (own && c.inTransaction())
            c.Rollback();
        host::ShowWarning(e.Text());
        return false;
    }
    return true;
}
}  // namespace

bool EditLoadTmaxTypes(QWidget* owner, ToznFDConnection& connection)
{
    QDialog dialog(owner);
    dialog.setObjectName(QStringLiteral("LoadTmaxTypes"));
    dialog.setWindowTitle(QStringLiteral("Характер нагрузки и Тmax"));
    auto* layout = new QVBoxLayout(&dialog);
    auto* loads = table(&dialog, QStringLiteral("GridTypeLoads"),
                        {QStringLiteral("Код"), QStringLiteral("Характер нагрузки"), QStringLiteral("Cos φ")});
    auto* tmax =
        table(&dialog, QStringLiteral("GridTmax"),
              {QStringLiteral("Характер нагрузки"), QStringLiteral("Pmin, кВт"), QStringLiteral("Тmax, часов")});
    layout->addWidget(loads);
    layout->addWidget(new QLabel(QStringLiteral("Тmax по нагрузке (наибольшее Тmax с Pmin ниже нагрузки)"), &dialog));
    layout->addWidget(tmax);
    fill(connection, loads, tmax);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel, &dialog);
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, [&] {
        if (save(connection, loads, tmax))
            dialog.accept();
    });
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    return dialog.exec() == QDialog::Accepted;
}
