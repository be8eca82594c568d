#pragma once
#include <QDialog>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <vector>

#include "host/HostApi.h"

class QLabel;
class QTableWidget;

// Base of the undersupply reports: the report's rows are filled by the subclass, the base writes them as
// a workbook (text cells and numbers with their formats).
class OZN3HOST_API TfrmMVUndersupplyCommon : public QDialog {
    Q_OBJECT
public:
    struct Cell {
        QString text;
        double number;
        QString format;  // empty for a text cell; a number that is not finite leaves the cell empty
    };
    explicit TfrmMVUndersupplyCommon(QWidget* owner = nullptr);
    void SetParam(intptr_t param) { param_ = param; }
    intptr_t Param() const { return param_; }

    // Fills the title, the column captions and the rows of the report.
    virtual bool FillReport(QString& title, QStringList& captions, std::vector<std::vector<Cell>>& rows,
                            QString& error) = 0;
    // Writes the filled report; the file is replaced only when written whole.
    bool CreateReportXLX(const QString& file, QString& error);
    // The report's worksheet name.
    virtual QString SheetName() const { return QStringLiteral("Недоотпуск электроэнергии"); }

    // Fills the report and shows it in the window, or why it cannot be made.
    void Preview();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void MakeReport();
    intptr_t param_ = 0;
    bool previewed_ = false;
    QLabel* title_;
    QTableWidget* preview_;
};
