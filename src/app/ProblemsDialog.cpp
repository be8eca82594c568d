#include "app/ProblemsDialog.h"

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "host/WindowPlace.h"

ProblemsDialog::ProblemsDialog(const QString& title, const QString& intro, const QStringList& lines, QWidget* parent)
    : QDialog(parent), lines_(lines)
{
    setObjectName(QStringLiteral("ProblemsDialog"));
    setWindowTitle(title);
    KeepWindowPlace(*this, QStringLiteral("ProblemsDialog"), QSize(760, 440));
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(intro.isEmpty() ? QStringLiteral("Найдено ошибок: %1").arg(lines.size())
                                             : QStringLiteral("%1\nНайдено ошибок: %2").arg(intro).arg(lines.size()),
                             this);
    label->setObjectName(QStringLiteral("LabelIntro"));
    label->setWordWrap(true);
    layout->addWidget(label);
    list_ = new QListWidget(this);
    list_->setObjectName(QStringLiteral("ListProblems"));
    list_->addItems(lines);
    layout->addWidget(list_, 1);

    auto* buttons = new QHBoxLayout;
    auto* copy = new QPushButton(QStringLiteral("Копировать"), this);
    copy->setObjectName(QStringLiteral("ButtonCopy"));
    auto* close = new QPushButton(QStringLiteral("Закрыть"), this);
    close->setObjectName(QStringLiteral("ButtonClose"));
    close->setDefault(true);
    buttons->addStretch();
    buttons->addWidget(copy);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    connect(copy, &QPushButton::clicked, this, [this] { QApplication::clipboard()->setText(Text()); });
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
}

QString ProblemsDialog::Text() const { return lines_.join(QLatin1Char('\n')); }

void ProblemsDialog::Show(QWidget* parent, const QString& title, const QString& intro, const QStringList& lines)
{
    ProblemsDialog dialog(title, intro, lines, parent);
    dialog.exec();
}
