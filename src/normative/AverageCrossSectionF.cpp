#include "normative/AverageCrossSectionF.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "host/Dialogs.h"
#include "host/NumericHelpers.h"

TfrmAverageCrossSection::TfrmAverageCrossSection(QWidget* owner) : QDialog(owner)
{
    setObjectName(QStringLiteral("frmAverageCrossSection"));
    setWindowTitle(QStringLiteral("Средневзвешенное сечение"));
    auto* layout = new QVBoxLayout(this);
    auto* heading = new QLabel(QStringLiteral("Протяженность, м"), this);
    heading->setAlignment(Qt::AlignCenter);
    layout->addWidget(heading);
    grid_ = new QTableWidget(TotalsRow + 1, 4, this);
    grid_->setObjectName(QStringLiteral("Grid"));
    grid_->horizontalHeader()->hide();
    grid_->verticalHeader()->hide();
    layout->addWidget(grid_);
    label_ = new QLabel(this);
    label_->setObjectName(QStringLiteral("lblAverageF"));
    layout->addWidget(label_);
    auto* buttons = new QHBoxLayout;
    save_ = new QPushButton(QStringLiteral("Сохранить"), this);
    save_->setObjectName(QStringLiteral("btnSave"));
    auto* clear = new QPushButton(QStringLiteral("Очистить"), this);
    clear->setObjectName(QStringLiteral("btnClear"));
    auto* cancel = new QPushButton(QStringLiteral("Отмена"), this);
    cancel->setObjectName(QStringLiteral("btnCancel"));
    buttons->addStretch();
    for (QPushButton* b : {save_, clear, cancel})
        buttons->addWidget(b);
    layout->addLayout(buttons);
    connect(save_, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(clear, &QPushButton::clicked, this, [this] {
        data_.Clear();
        Redraw();
    });
    connect(grid_, &QTableWidget::itemChanged, this, &TfrmAverageCrossSection::CellEdited);
    Redraw();
}

void TfrmAverageCrossSection::SetCell(int row, int col, int value, bool editable)
{
    auto* item = new QTableWidgetItem(value == 0 ? QString() : QString::number(value));
    item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    if (!editable)
        item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    grid_->setItem(row, col, item);
}

void TfrmAverageCrossSection::Redraw()
{
    drawing_ = true;
    const QString captions[] = {QStringLiteral("Сечение, мм²"), QStringLiteral("ВЛ"), QStringLiteral("КЛ"),
                                QStringLiteral("Итого")};
    for (int c = 0; c < 4; ++c) {
        auto* item = new QTableWidgetItem(captions[c]);
        item->setFlags(Qt::ItemIsEnabled);
        grid_->setItem(0, c, item);
    }
    for (int i = 0; i < TAverageCrossSectionCommon::RowCount; ++i) {
        const auto row = data_.GetItem(i);
        SetCell(FirstRow + i, ColF, static_cast<int>(TAverageCrossSectionCommon::GetF(i)), false);
        SetCell(FirstRow + i, ColVL, row.VL, true);
        SetCell(FirstRow + i, ColKL, row.KL, true);
        SetCell(FirstRow + i, ColTotal, row.VL + row.KL, false);
    }
    auto* total = new QTableWidgetItem(QStringLiteral("Итого"));
    total->setFlags(Qt::ItemIsEnabled);
    grid_->setItem(TotalsRow, ColF, total);
    SetCell(TotalsRow, ColVL, data_.TotalVL(), false);
    SetCell(TotalsRow, ColKL, data_.TotalKL(), false);
    SetCell(TotalsRow, ColTotal, data_.TotalVL() + data_.TotalKL(), false);
    label_->setText(QStringLiteral("  Средневзвешенное сечение, мм²: ") + FormatFloat3(data_.AverageF()));
    save_->setEnabled(!data_.Empty());
    drawing_ = false;
}

void TfrmAverageCrossSection::CellEdited(QTableWidgetItem* item)
{
    if (drawing_)
        return;
    const int index = item->row() - FirstRow;
    if (index < 0 || index >= TAverageCrossSectionCommon::RowCount ||
        (item->column() != ColVL && item->column() != ColKL))
        return;
    const QString text = item->text().trimmed();
    bool ok = true;
    const int value = text.isEmpty() ? 0 : text.toInt(&ok);
    auto row = data_.GetItem(index);
    if (!ok || value < 0) {
        // Zero is accepted although the message says otherwise.
        host::ShowWarning(QStringLiteral("Должно быть больше 0"));
    } else {
        (item->column() == ColVL ? row.VL : row.KL) = value;
        data_.SetItem(index, row);
    }
    QMetaObject::invokeMethod(this, &TfrmAverageCrossSection::Redraw, Qt::QueuedConnection);
}

// The calculation class opens its dialog here, with the windows: the calculation itself links none.
bool TAverageCrossSection::Edit(QWidget* owner)
{
    TfrmAverageCrossSection dialog(owner);
    dialog.Data().Assign(*this);
    dialog.Redraw();
    if (dialog.exec() != QDialog::Accepted)
        return false;
    Assign(dialog.Data());
    return true;
}
