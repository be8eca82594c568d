#pragma once
#include <QDialog>
#include <QList>

class QPushButton;

// Reference of the branching coefficient of a 0.38 kV scheme, by scheme type and number of sections.
class TKrazvReference : public QDialog {
    Q_OBJECT
public:
    explicit TKrazvReference(QWidget* owner = nullptr);
    // Presses every button within 0.001 of the value.
    void MarkBotton(double value);
    double Value() const { return value_; }
    const QList<QPushButton*>& Buttons() const { return buttons_; }
    // Shows the dialog on the current value; true with the chosen value on OK.
    static bool Choose(QWidget* owner, double& krazv);

private:
    void Pressed(QPushButton* button);
    QList<QPushButton*> buttons_;
    double value_ = 0;
};
