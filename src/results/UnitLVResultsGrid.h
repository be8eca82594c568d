#pragma once
#include <QDialog>

class TfdbDatabase;

// Grid of LV losses over the hierarchy of the chosen object.
class TfrmLVResultsGrid : public QDialog {
    Q_OBJECT
public:
    explicit TfrmLVResultsGrid(QWidget* owner = nullptr);
    // Finds the object's level among the stored results; false (with a message) when there are none.
    bool Init(TfdbDatabase* database, int ident);
    int Level() const { return level_; }
    int Ident() const { return ident_; }

private:
    int level_ = -1;
    int ident_ = 0;
};
