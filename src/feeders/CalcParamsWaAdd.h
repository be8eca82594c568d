#pragma once
#include <QFrame>

// Borderless pop-up that carries the energy breakdown panel of a regime dialog; it closes when it
// loses the focus or on a key press it handles (Enter, Escape).
class TWaAddPanelForm : public QFrame {
    Q_OBJECT
public:
    TWaAddPanelForm(QWidget* owner, QWidget* panel);
    void ShowUnder(QWidget* box);

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
