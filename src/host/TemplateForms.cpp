#include "host/TemplateForms.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

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

TxlsZamerShablonForm::TxlsZamerShablonForm(QWidget* owner) : TxlsCustomMenuForm(owner)
{
    logView_ = new QPlainTextEdit(this);
    logView_->setObjectName(QStringLiteral("memoLog"));
    logView_->setReadOnly(true);
    Body()->insertWidget(0, logView_);
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
    logView_->appendPlainText(QStringLiteral("%1\t%2\t%3").arg(text).arg(kind).arg(value));
}
