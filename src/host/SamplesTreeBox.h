#pragma once
#include <QComboBox>
#include <vector>

#include "host/HostApi.h"
#include "host/SamplePeriods.h"

class QStandardItemModel;
class QTreeView;

// The chooser of a measurement interval as a tree: each year with the intervals inside it (its months,
// quarters…) under it, by start; an interval inside no year stands at the top. The box shows the chosen
// interval's name.
class OZN3HOST_API TSamplesTreeBox : public QComboBox {
    Q_OBJECT
public:
    explicit TSamplesTreeBox(QWidget* parent = nullptr);
    void Fill(const std::vector<TSamplePeriodInfo>& periods);
    // The chosen interval's ident, 0 when none.
    int CurrentIdent() const { return current_; }
    // Chooses an interval; false (and nothing changes) when it is not in the box.
    bool SetCurrentIdent(int ident);
    bool Contains(int ident) const { return ident != 0 && IndexOf(ident).isValid(); }
    // The years at the top, each with the idents of the intervals under it (for the views and tests).
    QList<QPair<int, QList<int>>> Shape() const;
    void showPopup() override;
    // The intervals in the order of the tree: each year, then those under it.
    QList<int> Ordered() const;

protected:
    // The arrows and the wheel on the closed box step through the tree's order, months within their years.
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

signals:
    void CurrentIdentChanged(int ident);

private:
    QModelIndex IndexOf(int ident) const;
    void Step(int delta);
    void Choose(const QModelIndex& index);
    QStandardItemModel* model_;
    QTreeView* view_;
    int current_ = 0;
};

// The interval a form opens on for an object: the latest of those given that has data, else the latest
// interval that has already begun, else the latest of all; 0 when there is none.
OZN3HOST_API int DefaultPeriod(const std::vector<TSamplePeriodInfo>& periods, const QList<int>& withData);
