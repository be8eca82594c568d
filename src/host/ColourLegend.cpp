#include "host/ColourLegend.h"

#include <QColorDialog>
#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace host {
void EditColours(QWidget* owner, const QString& objectName, const QString& title, const QStringList& entries,
                 const std::function<QColor(int)>& colour, const std::function<void(int, const QColor&)>& setColour,
                 bool background)
{
    QDialog dialog(owner);
    dialog.setObjectName(objectName);
    dialog.setWindowTitle(title);
    auto* layout = new QVBoxLayout(&dialog);
    const QString style = background ? QStringLiteral("background-color: %1") : QStringLiteral("color: %1");
    for (int e = 0; e < entries.size(); ++e) {
        auto* button = new QPushButton(entries[e], &dialog);
        button->setStyleSheet(style.arg(colour(e).name()));
        QObject::connect(button, &QPushButton::clicked, &dialog, [&, e, button] {
            const QColor chosen = QColorDialog::getColor(colour(e), &dialog, entries[e]);
            if (!chosen.isValid())
                return;
            setColour(e, chosen);
            button->setStyleSheet(style.arg(chosen.name()));
        });
        layout->addWidget(button);
    }
    auto* close = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    QObject::connect(close, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(close);
    dialog.exec();
}
}  // namespace host
