// The window of a feeder's balance: the balance the results model works out, in a table with its workbook.
#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>

#include "feeders/Detail038Data.h"
#include "feeders/SchemeView038.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/HostObjects.h"
#include "host/Spreadsheet.h"
#include "results/PesResultsLVUnit.h"
#include "results/ProfileResultsView.h"

namespace {
// The feeder's drawing with the run of the interval shown, its colours by the run's voltages.
QWidget* drawingPage(ToznFDConnection& connection, int feeder, int sample, QWidget* parent)
{
    auto* view = new feeders::TSchemeView038(parent);
    const Detail038::FeederState state = Detail038::Read(connection, feeder, 0, sample);
    if (state.Found)
        view->SetDrawing(feeders::TSchemeDrawing038::Build(state));
    return view;
}
}  // namespace

int TLVResultBalancesFider::ShowModal()
{
    QDialog dialog;
    dialog.setObjectName(QStringLiteral("LVResultBalancesFider"));
    TCurrentDatabase* db = CurrentDatabase();
    const bool loaded = db && Load(*db->GetDefaultConnection());
    dialog.setWindowTitle(
        loaded ? title_
               : QStringLiteral("Баланс линии %1: нет результатов").arg(fider_ ? fider_->GetName() : QString()));
    dialog.resize(800, 600);
    auto* layout = new QVBoxLayout(&dialog);
    auto* table = new QTableWidget(static_cast<int>(rows_.size()), header_.size(), &dialog);
    table->setObjectName(QStringLiteral("GridBalance"));
    table->setHorizontalHeaderLabels(header_);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int r = 0; r < static_cast<int>(rows_.size()); ++r)
        for (int c = 0; c < rows_[r].size(); ++c)
            table->setItem(r, c, new QTableWidgetItem(rows_[r][c]));
    table->resizeColumnToContents(0);
    // The balance, the drawing of the line coloured by the run's voltages, and for a run by metering profiles its
    // steps over the interval and the methods beside it, each on a page.
    auto* pages = new QTabWidget(&dialog);
    pages->setObjectName(QStringLiteral("PagesResults"));
    pages->addTab(table, QStringLiteral("Баланс"));
    if (loaded)
        pages->addTab(drawingPage(*db->GetDefaultConnection(), fider_->GetGUID(), loadedSample_, pages),
                      QStringLiteral("Схема линии"));
    if (profileRun_) {
        const profiles::TProfileStepSeries* steps = nullptr;
        QString note;
        ProfileSteps(steps, note);
        auto* chartPage = new QWidget(pages);
        auto* chartLayout = new QVBoxLayout(chartPage);
        if (!note.isEmpty()) {
            auto* label = new QLabel(note, chartPage);
            label->setObjectName(QStringLiteral("LabelStepsNote"));
            label->setWordWrap(true);
            chartLayout->addWidget(label);
        }
        if (steps)
            chartLayout->addWidget(new TProfileChart(*steps, steps->Nominal, chartPage), 1);
        pages->addTab(chartPage, QStringLiteral("График нагрузки"));
        pages->addTab(CreateProfileComparison(*profileRun_, pages), QStringLiteral("Сравнение методов"));
        dialog.resize(1000, 760);
    }
    layout->addWidget(pages);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    QPushButton* save =
        buttons->addButton(QStringLiteral("Сохранить в формате Microsoft Excel"), QDialogButtonBox::ActionRole);
    save->setObjectName(QStringLiteral("btnSaveExcel"));
    save->setEnabled(loaded);
    QObject::connect(save, &QPushButton::clicked, &dialog, [this] {
        const QString file = host::dialogs().SaveFileName(QStringLiteral("Сохранить в формате Microsoft Excel"),
                                                          QStringLiteral("Книга Excel|*.xlsx"), QStringLiteral("xlsx"),
                                                          host::ProposedSavePath(title_ + QStringLiteral(".xlsx")));
        if (file.isEmpty())
            return;
        QString error;
        if (!SaveWorkbook(file, error))
            host::ShowWarning(error);
        else
            host::ReportSaved(file);
    });
    layout->addWidget(buttons);
    return dialog.exec();
}
