#include "app/RightsDialog.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "host/Connection.h"
#include "host/Dialogs.h"
#include "host/WindowPlace.h"

namespace {
const QStringList kRoles = {QString(), QStringLiteral("reader"), QStringLiteral("writer"), QStringLiteral("admin")};
constexpr int kNameColumn = 0, kRoleColumn = 1, kFirstRight = 2;

// The strongest role a user holds, as the list offers it (the list of a user comes strongest first).
QString RoleOf(const host::TUserInfo& u) { return u.Roles.value(0); }
}  // namespace

RightsDialog::RightsDialog(ToznFDConnection& connection, QWidget* parent) : QDialog(parent), connection_(connection)
{
    setWindowTitle(QStringLiteral("Пользователи и права"));
    KeepWindowPlace(*this, QStringLiteral("RightsDialog"), QSize(860, 460));
    QStringList headers{QStringLiteral("Пользователь"), QStringLiteral("Роль")};
    for (const host::TAppRight& r : host::AppRights())
        headers << QStringLiteral("%1 %2").arg(r.Number).arg(QString::fromUtf8(r.Name));
    table_ = new QTableWidget(0, headers.size(), this);
    table_->setObjectName(QStringLiteral("GridUsers"));
    table_->setHorizontalHeaderLabels(headers);
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    auto* add = new QPushButton(QStringLiteral("Добавить пользователя"), this);
    auto* save = new QPushButton(QStringLiteral("Сохранить"), this);
    auto* close = new QPushButton(QStringLiteral("Закрыть"), this);
    connect(add, &QPushButton::clicked, this, [this] {
        bool ok = false;
        const QString name = QInputDialog::getText(this, windowTitle(), QStringLiteral("Имя пользователя базы данных:"),
                                                   QLineEdit::Normal, QString(), &ok);
        if (ok && !name.trimmed().isEmpty())
            AddUser(name);
    });
    connect(save, &QPushButton::clicked, this, [this] {
        if (Save())
            host::ShowInformation(QStringLiteral("Права пользователей сохранены"));
    });
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    try {
        manager_ = host::IsAdministrator(connection_, connection_.UserName());
    } catch (const EDatabaseError&) {
        manager_ = false;
    }
    // Others see who may do what, and why they cannot change it.
    auto* note = new QLabel(this);
    note->setObjectName(QStringLiteral("LabelRightsNote"));
    note->setWordWrap(true);
    note->setText(QStringLiteral("%1: права пользователей дают и отнимают владелец базы данных, SYSDBA и "
                                 "администраторы (роль admin)")
                      .arg(QString::fromUtf8(host::kNoUserManagement)));
    note->setVisible(!manager_);
    add->setEnabled(manager_);
    save->setEnabled(manager_);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addStretch();
    buttons->addWidget(save);
    buttons->addWidget(close);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(note);
    layout->addWidget(table_);
    layout->addLayout(buttons);
    Fill();
}

void RightsDialog::Fill()
{
    try {
        stored_ = host::ListUsers(connection_);
    } catch (const EDatabaseError& e) {
        host::ShowWarning(e.Text());
        stored_.clear();
    }
    table_->setRowCount(0);
    for (const host::TUserInfo& u : stored_) {
        AddUser(u.Name);
        const int row = table_->rowCount() - 1;
        if (u.Owner) {
            QFont bold = table_->item(row, kNameColumn)->font();
            bold.setBold(true);
            table_->item(row, kNameColumn)->setFont(bold);
            table_->item(row, kNameColumn)->setToolTip(QStringLiteral("Владелец базы данных"));
        }
        qobject_cast<QComboBox*>(table_->cellWidget(row, kRoleColumn))->setCurrentText(RoleOf(u));
        for (size_t r = 0; r < host::AppRights().size(); ++r)
            table_->item(row, kFirstRight + static_cast<int>(r))
                ->setCheckState(u.Rights.contains(host::AppRights()[r].Number) ? Qt::Checked : Qt::Unchecked);
    }
}

void RightsDialog::AddUser(const QString& name)
{
    const int row = table_->rowCount();
    table_->insertRow(row);
    auto* item = new QTableWidgetItem(name.trimmed().toUpper());
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    table_->setItem(row, kNameColumn, item);
    auto* role = new QComboBox(table_);
    role->addItems(kRoles);
    role->setEnabled(manager_);
    table_->setCellWidget(row, kRoleColumn, role);
    for (size_t r = 0; r < host::AppRights().size(); ++r) {
        auto* right = new QTableWidgetItem;
        right->setFlags(manager_ ? Qt::ItemIsUserCheckable | Qt::ItemIsEnabled : Qt::ItemIsUserCheckable);
        right->setCheckState(Qt::Unchecked);
        table_->setItem(row, kFirstRight + static_cast<int>(r), right);
    }
}

bool RightsDialog::Save()
{
    if (!manager_) {
        host::ShowWarning(QString::fromUtf8(host::kNoUserManagement));
        return false;
    }
    for (int row = 0; row < table_->rowCount(); ++row) {
        const QString name = table_->item(row, kNameColumn)->text();
        const auto before =
            std::find_if(stored_.begin(), stored_.end(), [&](const host::TUserInfo& u) { return u.Name == name; });
        const host::TUserInfo was = before == stored_.end() ? host::TUserInfo{name, {}, {}} : *before;
        const QString role = qobject_cast<QComboBox*>(table_->cellWidget(row, kRoleColumn))->currentText();
        QList<int> granted, revoked;
        for (size_t r = 0; r < host::AppRights().size(); ++r) {
            const int number = host::AppRights()[r].Number;
            const bool on = table_->item(row, kFirstRight + static_cast<int>(r))->checkState() == Qt::Checked;
            if (on && !was.Rights.contains(number))
                granted << number;
            if (!on && was.Rights.contains(number))
                revoked << number;
        }
        QString error;
        bool ok = true;
        // A role that changes: the former one goes first, so that the user holds exactly the chosen one.
        if (role != RoleOf(was) && !RoleOf(was).isEmpty())
            ok = host::RevokeUser(connection_, name, RoleOf(was), {}, error);
        if (ok && (!granted.isEmpty() || (role != RoleOf(was) && !role.isEmpty())))
            ok = host::GrantUser(connection_, name, role != RoleOf(was) ? role : QString(), granted, {}, error);
        if (ok && !revoked.isEmpty())
            ok = host::RevokeUser(connection_, name, {}, revoked, error);
        if (!ok) {
            host::ShowWarning(QStringLiteral("Права пользователя %1 не сохранены: %2").arg(name, error));
            Fill();
            return false;
        }
    }
    Fill();
    return true;
}
