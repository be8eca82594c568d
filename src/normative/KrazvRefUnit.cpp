#include "normative/KrazvRefUnit.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>

#include "host/NumericHelpers.h"

TKrazvReference::TKrazvReference(QWidget* owner) : QDialog(owner)
{
    setObjectName(QStringLiteral("KrazvReference"));
    setWindowTitle(QStringLiteral("Справочник по коэффициенту разветвленности"));
    auto* layout = new QVBoxLayout(this);
    auto* heading = new QLabel(QStringLiteral("Коэффициент разветвленности, о.е., в зависимости от\n"
                                              "числа участков в схеме до удаленого потребителя"),
                               this);
    heading->setAlignment(Qt::AlignCenter);
    layout->addWidget(heading);
    auto* grid = new QGridLayout;
    const QStringList columns{QStringLiteral("1-4"), QStringLiteral("5-10"), QStringLiteral("11 и более")};
    for (int c = 0; c < columns.size(); ++c)
        grid->addWidget(new QLabel(columns[c], this), 0, c + 1, Qt::AlignCenter);
    struct Scheme {
        QString name;
        QStringList values;
    };
    const Scheme schemes[] = {
        {QStringLiteral("Радиальная"), {"0,77", "0,72", "0,68"}},
        {QStringLiteral("Лучевая"), {"0,93", "0,87", "0,81"}},
        {QStringLiteral("Смешанная,\nРадиально-лучевая"), {"0,85", "0,78", "0,75"}},
        {QStringLiteral("Значение при отсутствии данных о схеме"), {"0,80"}},
    };
    int row = 1;
    for (const Scheme& s : schemes) {
        grid->addWidget(new QLabel(s.name, this), row, 0);
        for (int c = 0; c < s.values.size(); ++c) {
            auto* b = new QPushButton(s.values[c], this);
            b->setObjectName(QStringLiteral("btnKrazv_%1_%2").arg(row).arg(c + 1));
            b->setCheckable(true);
            connect(b, &QPushButton::clicked, this, [this, b] { Pressed(b); });
            grid->addWidget(b, row, c + 1);
            buttons_ << b;
        }
        ++row;
    }
    layout->addLayout(grid);
    auto* box = new QDialogButtonBox(this);
    box->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole)->setObjectName(QStringLiteral("btnOK"));
    box->addButton(QStringLiteral("Отмена"), QDialogButtonBox::RejectRole)->setObjectName(QStringLiteral("btnCancel"));
    connect(box, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(box, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(box);
}

void TKrazvReference::MarkBotton(double value)
{
    value_ = value;
    for (QPushButton* b : buttons_) {
        double v = 0;
        ParseFloat(b->text(), v);
        b->setChecked(std::fabs(v - value) < 0.001);
    }
}

void TKrazvReference::Pressed(QPushButton* button)
{
    for (QPushButton* b : buttons_)
        b->setChecked(b == button);
    // Captions are written with the locale's decimal comma.
    ParseFloat(button->text(), value_);
}

bool TKrazvReference::Choose(QWidget* owner, double& krazv)
{
    TKrazvReference dialog(owner);
    dialog.MarkBotton(krazv);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    krazv = dialog.Value();
    return true;
}
