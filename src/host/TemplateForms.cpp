#include "host/TemplateForms.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QVBoxLayout>

#include "host/AppLog.h"
#include "host/Database.h"
#include "host/DesktopDialogs.h"
#include "host/Spreadsheet.h"

bool SetDataBaseName()
{
    TCurrentDatabase* db = CurrentDatabase();
    return db && db->GetDefaultConnection() && db->GetDefaultConnection()->qt().isOpen();
}

bool VerifySenderFile(QString& fileName)
{
    if (fileName.trimmed().isEmpty()) {
        fileName.clear();
        return true;
    }
    const QFileInfo info(fileName);
    const QString suffix = info.suffix().toLower();
    if (!info.exists()) {
        host::ShowWarning(QStringLiteral("Файл не найден: %1").arg(fileName));
        return false;
    }
    if (suffix != QLatin1String("xlsx") && suffix != QLatin1String("xls")) {
        host::ShowWarning(QStringLiteral("Файл %1 не является книгой Excel (.xls, .xlsx)").arg(fileName));
        return false;
    }
    fileName = info.absoluteFilePath();
    return true;
}

TxlsCustomMenuForm::TxlsCustomMenuForm(QWidget* owner) : QDialog(owner), besideExcel_(host::IsSpreadsheetInstalled())
{
    body_ = new QVBoxLayout(this);
    buttons_ = new QDialogButtonBox(this);
    body_->addStretch();
    body_->addWidget(buttons_);
    QPushButton* close = buttons_->addButton(QStringLiteral("Закрыть"), QDialogButtonBox::RejectRole);
    close->setObjectName(QStringLiteral("btnClose"));
    connect(buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
    host::KeepOpenOnEnter(*this);
    if (besideExcel_) {
        // Closing with the workbook left open in the spreadsheet application answers No.
        QPushButton* leave =
            buttons_->addButton(QStringLiteral("Оставить книгу открытой"), QDialogButtonBox::ActionRole);
        leave->setObjectName(QStringLiteral("btnLeaveInExcel"));
        connect(leave, &QPushButton::clicked, this, [this] { done(host::mrNo); });
    }
}

bool TxlsCustomMenuForm::CanOpen() { return SetDataBaseName(); }

void TxlsCustomMenuForm::NoteMainWindowHidden()
{
    if (!status_) {
        status_ = new QLabel(this);
        status_->setObjectName(QStringLiteral("lblMainWindowHidden"));
        status_->setWordWrap(true);
        body_->insertWidget(body_->indexOf(buttons_), status_);
    }
    status_->setText(QStringLiteral("Главное окно программы скрыто, пока открыта эта форма, чтобы не заслонять "
                                    "книгу Excel; оно вернется, когда форма закроется."));
}

TxlsZamerShablonForm::TxlsZamerShablonForm(QWidget* owner) : TxlsCustomMenuForm(owner)
{
    logView_ = new QPlainTextEdit(this);
    logView_->setObjectName(QStringLiteral("memoLog"));
    logView_->setReadOnly(true);
    Body()->insertWidget(0, logView_);
}

bool TxlsZamerShablonForm::IsTraceLine(const QString& text)
{
    static const QRegularExpression step(QStringLiteral("^step\\d+[a-z]?\\."));
    return step.match(text).hasMatch();
}

QList<TxlsZamerShablonForm::LogLine>& TxlsZamerShablonForm::Trace()
{
    static QList<LogLine> trace;
    return trace;
}

void TxlsZamerShablonForm::AddLog(const QString& text, int kind, int value)
{
    log_.append({text, kind, value});
    Trace().append({text, kind, value});
    if (IsTraceLine(text))
        host::LogLine(QStringLiteral("%1 %2 %3").arg(text).arg(kind).arg(value));
    else
        logView_->appendPlainText(text);
}
