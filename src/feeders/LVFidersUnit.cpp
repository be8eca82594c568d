#include "feeders/LVFidersUnit.h"

#include <QDialogButtonBox>
#include <QListWidget>
#include <QVBoxLayout>

#include "feeders/DataMod.h"
#include "feeders/FeedersSql.h"
#include "host/Connection.h"

TLVFidersForm* LVFidersForm = nullptr;

TRep_Data::TRep_Data(QObject* owner, ToznFDConnection& connection)
    : QObject(owner), connection_(connection), fiders_(connection.NewQuery())
{
    setObjectName(QStringLiteral("Rep_Data"));
}

TRep_Data::~TRep_Data() = default;

void TRep_Data::OpenFiders(int nodeGuid)
{
    fiders_->SetSQLText(QString::fromUtf8(FeedersSql::kFiders));
    fiders_->ParamByName(QStringLiteral("HighFider"), nodeGuid);
    fiders_->Open();
}

TLVFidersForm::TLVFidersForm(QWidget* owner, ToznFDConnection& connection) : QDialog(owner), connection_(connection)
{
    setObjectName(QStringLiteral("LVFidersForm"));
    setWindowTitle(QStringLiteral("Линии 0,38 кВ"));
    auto* layout = new QVBoxLayout(this);
    list_ = new QListWidget(this);
    list_->setObjectName(QStringLiteral("FidersList"));
    layout->addWidget(list_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(list_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
        if (item)
            lvFider_ = item->data(Qt::UserRole).toInt();
    });
}

void TLVFidersForm::OpenFiders()
{
    auto node = connection_.NewQuery();
    node->SetSQLText(QString::fromUtf8(FeedersSql::kNodeExists));
    node->ParamByName(QStringLiteral("GUID"), node_);
    node->Open();
    nodeFound_ = node_ != 0 && !node->Eof();
    if (nodeFound_)
        setWindowTitle(QStringLiteral("Линии 0,38 кВ: %1").arg(node->Str(QStringLiteral("Name"))));
    repData_->OpenFiders(node_);
    list_->clear();
    const int wanted = lvFider_;
    for (TFDQuery& q = repData_->Fiders(); !q.Eof(); q.Next()) {
        auto* item = new QListWidgetItem(q.Str(QStringLiteral("Name")), list_);
        item->setData(Qt::UserRole, q.Int(QStringLiteral("GUID")));
        if (item->data(Qt::UserRole).toInt() == wanted)
            list_->setCurrentItem(item);
    }
    lvFider_ = wanted;
}
