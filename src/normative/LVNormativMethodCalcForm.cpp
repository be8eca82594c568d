#include "normative/LVNormativMethodCalcForm.h"

#include <QCloseEvent>
#include <QFile>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSaveFile>
#include <QTableWidget>
#include <QTextStream>
#include <QVBoxLayout>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/OutputFiles.h"
#include "host/Spreadsheet.h"
#include "host/WindowPlace.h"

TLVNormativMethodCalcForm::TLVNormativMethodCalcForm(QWidget* owner) : QDialog(owner)
{
    setObjectName(QStringLiteral("LVNormativMethodCalcForm"));
    setWindowTitle(QStringLiteral("Расчет потерь электроэнергии"));
    KeepWindowPlace(*this, QStringLiteral("LVNormativMethodCalcForm"), QSize(760, 520));
    auto* layout = new QVBoxLayout(this);
    status_ = new QLabel(QStringLiteral("Инициализация расчета..."), this);
    status_->setObjectName(QStringLiteral("lblStatus"));
    layout->addWidget(status_);
    bar_ = new QProgressBar(this);
    bar_->setObjectName(QStringLiteral("ProgressBar"));
    bar_->setRange(0, 0);
    layout->addWidget(bar_);
    log_ = new QTableWidget(0, 2, this);
    log_->setObjectName(QStringLiteral("GridLog"));
    log_->setHorizontalHeaderLabels({QStringLiteral("GUID: Наименование элемента сети"),
                                     QStringLiteral("Результат обработки данных для элемента сети")});
    log_->horizontalHeader()->setStretchLastSection(true);
    // Names of elements run long ("12345: ТП-221 мкр. Северный"): their column is wide, and a cell cut short has
    // its text as a tip.
    log_->setColumnWidth(0, 340);
    log_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    layout->addWidget(log_);
    auto* buttons = new QHBoxLayout;
    save_ = new QPushButton(QStringLiteral("Сохранить"), this);
    save_->setObjectName(QStringLiteral("btnSave"));
    save_->setEnabled(false);
    stop_ = new QPushButton(QStringLiteral("Прервать"), this);
    stop_->setObjectName(QStringLiteral("btnStop"));
    buttons->addStretch();
    buttons->addWidget(save_);
    buttons->addWidget(stop_);
    layout->addLayout(buttons);
    connect(save_, &QPushButton::clicked, this, &TLVNormativMethodCalcForm::SaveLog);
    connect(stop_, &QPushButton::clicked, this, [this] {
        if (Running())
            thread_->requestInterruption();
        else
            reject();
    });
}

TLVNormativMethodCalcForm::~TLVNormativMethodCalcForm() { StopAndWait(); }

void TLVNormativMethodCalcForm::Start(TfdbDatabase* database, int startIdent, int levelCode,
                                      const TSamplePeriodInfo& period)
{
    TCalcEvents events;
    events.Status = [this](const QString& text) { status_->setText(text); };
    events.Count = [this](int n) {
        bar_->setRange(0, n);
        bar_->setValue(0);
    };
    events.Log = [this](const QString& element, const QString& message) {
        const int row = log_->rowCount();
        log_->insertRow(row);
        for (const auto& [column, text] : {std::pair{0, element}, std::pair{1, message}}) {
            auto* item = new QTableWidgetItem(text);
            item->setToolTip(text);
            log_->setItem(row, column, item);
        }
        bar_->setValue(row + 1);
        status_->setText(element);
    };
    events.Finish = [this](int processed, const QString& error) { Finished(processed, error); };
    thread_ = new TCalcThread(this, events, database, database->GetTree(), startIdent, levelCode, period);
    thread_->start();
}

bool TLVNormativMethodCalcForm::Running() const { return thread_ && thread_->isRunning(); }

int TLVNormativMethodCalcForm::LogCount() const { return log_->rowCount(); }

QStringList TLVNormativMethodCalcForm::LogLines() const
{
    QStringList lines;
    for (int r = 0; r < log_->rowCount(); ++r)
        lines << log_->item(r, 0)->text() + QStringLiteral(" - ") + log_->item(r, 1)->text();
    return lines;
}

void TLVNormativMethodCalcForm::StopAndWait()
{
    if (thread_) {
        thread_->requestInterruption();
        thread_->wait();
    }
}

void TLVNormativMethodCalcForm::Finished(int, const QString& error)
{
    StopAndWait();
    stop_->setText(QStringLiteral("Выход"));
    bar_->hide();
    save_->setEnabled(log_->rowCount() > 0);
    if (error.isEmpty())
        host::dialogs().Message(host::AppCaption(),
                                QStringLiteral("Обработано %1 элементов сети").arg(log_->rowCount()),
                                host::Icon::Information, host::Buttons::Ok);
    else
        host::dialogs().Message(host::AppCaption(), QStringLiteral("Ошибка при выполнении расчета\n") + error,
                                host::Icon::Information, host::Buttons::Ok);
    emit CalculationFinished();
}

void TLVNormativMethodCalcForm::SaveLog()
{
    const QString file = host::dialogs().SaveFileName(
        QStringLiteral("Сохранить список на диск"), QStringLiteral("Текстовый документ|*.txt"), QStringLiteral("txt"),
        host::ProposedSavePath(QStringLiteral("Журнал расчета нормативным методом.txt")));
    if (file.isEmpty())
        return;
    QString error;
    if (!host::CheckOutputPath(file, error)) {
        host::ShowWarning(error);
        return;
    }
    QSaveFile out(file);
    if (out.open(QIODevice::WriteOnly | QIODevice::Text)) {
        QTextStream stream(&out);
        for (const QString& line : LogLines())
            stream << line << '\n';
        stream.flush();
        if (out.commit()) {
            host::ShowInformation(QStringLiteral("Результаты работы сохранены в файл: ") + file);
            return;
        }
    }
    host::ShowWarning(QStringLiteral("Не удалось записать файл %1").arg(file));
}

void TLVNormativMethodCalcForm::reject()
{
    StopAndWait();
    QDialog::reject();
}

void TLVNormativMethodCalcForm::closeEvent(QCloseEvent* event)
{
    StopAndWait();
    QDialog::closeEvent(event);
}
