#pragma once
// The scheme of one LV feeder as two tables to correct: its sections ("Участки") and its consumers
// ("Абоненты"), the columns of the scheme workbook without "Линия". Saving checks the whole scheme and
// replaces the stored one in one transaction; with a problem nothing is stored and the problems are listed
// under the tables. Closing never writes to the database.
#include <QStringList>
#include <QWidget>
#include <functional>

#include "host/scheme/SchemeBook.h"

class QLabel;
class QListWidget;
class QListWidgetItem;
class QTableWidget;
class ToznFDConnection;

class SchemeEditor : public QWidget {
    Q_OBJECT
public:
    // Runs the regime calculation of a feeder as the main window does.
    using RunRegime = std::function<void(int fiderGuid)>;

    // The feeder, its substation, and the interval of the consumers' energies (0: none).
    SchemeEditor(ToznFDConnection& connection, int fiderGuid, const QString& fiderName, int nodeGuid, int sampleIdent,
                 RunRegime runRegime, QWidget* parent = nullptr);

    int FiderGuid() const { return fiderGuid_; }
    bool Modified() const { return modified_; }
    // The lines of the problem list.
    QStringList Problems() const;
    // The tables as workbook rows: "Линия" filled with the feeder's name, rows numbered as the tables show them.
    scheme::TSchemeBook Book() const;

    // A section after the current one, continuing from its far node with its conductor.
    void AddSection();
    void DeleteSection();
    void AddConsumer();
    void DeleteConsumer();
    // Checks the rows against the conductor catalogue; true when there is no problem.
    bool Check();
    // Replaces the stored scheme of the feeder; false with the problems listed and nothing stored.
    bool Save();
    // "Рассчитать режим": offers to save the edits first, then calculates the stored scheme.
    void Calculate();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    bool ClearScheme(const scheme::TSchemeBook& book);
    void Load();
    void Fill(QTableWidget* table, const std::vector<scheme::TBookRow>& rows);
    void InsertRow(QTableWidget* table, int row, const QStringList& cells);
    void ListProblems(const std::vector<scheme::TBookProblem>& problems);
    void GoToProblem(QListWidgetItem* item);
    // Checks a numeric cell as the user leaves it: the column's range, the cell marked and the user told.
    void CellEdited(QTableWidget* table, class QTableWidgetItem* item);
    void SetStatus(const QString& text);

    ToznFDConnection& connection_;
    const int fiderGuid_;
    const QString fiderName_;
    const int nodeGuid_;
    const int sampleIdent_;
    RunRegime runRegime_;
    QTableWidget* sections_;
    QTableWidget* consumers_;
    QListWidget* problems_;
    QLabel* status_;
    bool modified_ = false;
    bool filling_ = false;
};
