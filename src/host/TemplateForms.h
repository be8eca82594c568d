#pragma once
#include <QDialog>
#include <QList>
#include <QString>
#include <cstdint>

#include "host/HostApi.h"
#include "host/WindowService.h"
#include "host/XlsxFile.h"

class QLabel;
class QPlainTextEdit;
class QVBoxLayout;
class QDialogButtonBox;

// True when the host has a database open with the application's tables.
OZN3HOST_API bool SetDataBaseName();
// Checks the workbook the user chose: empty (a new workbook) or an existing .xls/.xlsx file.
// The name may be made absolute; a wrong file is reported to the user and answers false.
OZN3HOST_API bool VerifySenderFile(QString& fileName);

// Base of the workbook template forms: a read-only flag, the host's parameter and file name,
// whether it works beside the spreadsheet application, and that application's window.
class OZN3HOST_API TxlsCustomMenuForm : public QDialog {
    Q_OBJECT
public:
    explicit TxlsCustomMenuForm(QWidget* owner = nullptr);

    void SetReadOnly(bool readOnly) { readOnly_ = readOnly; }
    bool ReadOnly() const { return readOnly_; }
    void SetParam(intptr_t param) { param_ = param; }
    intptr_t Param() const { return param_; }
    void SetFileName(const QString& fileName) { fileName_ = fileName; }
    QString FileName() const { return fileName_; }

    // The form lets the user work in the spreadsheet application while it is open.
    bool isBesideExcel() const { return besideExcel_; }
    host::WindowHandle ExcelHandle() const { return excelHandle_; }

    // Whether the form has what it needs to be shown.
    virtual bool CanOpen();
    // Said in the form's status line when the main window is hidden while the form runs beside the spreadsheet.
    void NoteMainWindowHidden();
    int ShowModal() { return exec(); }

protected:
    QVBoxLayout* Body() const { return body_; }
    QDialogButtonBox* ButtonBox() const { return buttons_; }
    void SetExcelHandle(host::WindowHandle handle) { excelHandle_ = handle; }

private:
    bool readOnly_ = false;
    intptr_t param_ = 0;
    QString fileName_;
    bool besideExcel_;
    host::WindowHandle excelHandle_ = 0;
    QVBoxLayout* body_;
    QDialogButtonBox* buttons_;
    QLabel* status_ = nullptr;
};

// A measurement template form: adds the log of what the form did.
class OZN3HOST_API TxlsZamerShablonForm : public TxlsCustomMenuForm {
    Q_OBJECT
public:
    struct LogLine {
        QString text;
        int kind;
        int value;
    };
    explicit TxlsZamerShablonForm(QWidget* owner = nullptr);
    // A line of what the form did. The frame's trace lines ("step1.…", "step2.…") go to the application's log,
    // the others to the log pane the user reads.
    void AddLog(const QString& text, int kind, int value);
    static bool IsTraceLine(const QString& text);
    const QList<LogLine>& Log() const { return log_; }
    // Every line logged by any template form of the session, kept after the forms are gone.
    static QList<LogLine>& Trace();

private:
    QList<LogLine> log_;
    QPlainTextEdit* logView_;
};
