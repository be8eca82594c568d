#pragma once
// "Пользователи и права": who may do what — each user's role (reader, writer or admin) and the forms' rights.
// The database changes only on "Сохранить", and only for an administrator; others see the table without
// changing it.
#include <QDialog>
#include <vector>

#include "host/Roles.h"

class QTableWidget;
class ToznFDConnection;

class RightsDialog : public QDialog {
    Q_OBJECT
public:
    explicit RightsDialog(ToznFDConnection& connection, QWidget* parent = nullptr);
    // A new row for a user (as typed; the engine keeps names in capitals).
    void AddUser(const QString& name);
    // Grants and revokes what the table changed; false with the first failure shown.
    bool Save();
    QTableWidget* Table() const { return table_; }

private:
    void Fill();
    ToznFDConnection& connection_;
    QTableWidget* table_;
    std::vector<host::TUserInfo> stored_;
    bool manager_ = false;  // the user may give and take rights
};
