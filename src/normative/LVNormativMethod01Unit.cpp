#include "normative/LVNormativMethod01Unit.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QTabWidget>
#include <QVBoxLayout>

TLVNormativMethodForm1::TLVNormativMethodForm1(QWidget* owner, TfdbDatabase* database)
    : QDialog(owner), database_(database)
{
    setObjectName(QStringLiteral("LVNormativMethodForm"));
    setWindowTitle(QStringLiteral("Оценка потерь электроэнергии по обобщенной информации о схемах и нагрузках сети"));
    auto* layout = new QVBoxLayout(this);
    pages_ = new QTabWidget(this);
    pages_->setObjectName(QStringLiteral("PageControl"));
    auto* input = new QLabel(this);
    input->setObjectName(QStringLiteral("tsInput"));
    pages_->addTab(input, QStringLiteral("Расчет потерь"));
    auto* summary = new QLabel(this);
    summary->setObjectName(QStringLiteral("tsSummary"));
    pages_->addTab(summary, QStringLiteral("Сводные результаты"));
    layout->addWidget(pages_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void TLVNormativMethodForm1::SetInputPageVisible(bool visible) { pages_->setTabVisible(0, visible); }

bool TLVNormativMethodForm1::InputPageVisible() const { return pages_->isTabVisible(0); }
