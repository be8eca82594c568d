#pragma once
// "Справочник проводов": the conductor catalogue as a table to correct, add to and delete from. The
// database is changed only by "Сохранить", and only when every row passes the checks.
#include <QDialog>
#include <QList>
#include <QStringList>
#include <vector>

#include "host/scheme/ConductorCatalogue.h"

class QListWidget;
class QTableWidget;
class ToznFDConnection;

class ConductorDialog : public QDialog {
    Q_OBJECT
public:
    explicit ConductorDialog(ToznFDConnection& connection, QWidget* parent = nullptr);
    bool Modified() const { return modified_; }
    // The problems of the last attempt to save, as listed under the table.
    QStringList Problems() const;

    void AddConductor();
    // Deletes the current row; a stored conductor that a scheme uses stays, with a message where.
    void DeleteConductor();
    // Checks the rows and stores them; false with the problems listed and nothing stored.
    bool Save();
    // "Отмена": asks before losing edits.
    void reject() override;

private:
    void Fill();
    void AppendRow(const scheme::TCatalogueRow& row);
    // The rows of the table; cells that are not numbers become problems.
    std::vector<scheme::TCatalogueRow> Rows(std::vector<scheme::TBookProblem>& problems) const;
    void ListProblems(const QStringList& lines);

    ToznFDConnection& connection_;
    QTableWidget* table_;
    QListWidget* problems_;
    QList<int> deleted_;
    bool modified_ = false;
    bool filling_ = false;
};
