#pragma once
// Finding things in the network tree: a search bar over any view of the tree (Ctrl+F, or simply typing in the
// tree) that finds substations and lines by part of their name anywhere in the tree, collapsed or not, opens the
// tree to each match and steps through them; and the element the user chose in the main window, on which every
// form opened from there starts.
#include <QList>
#include <QPointer>
#include <QWidget>
#include <functional>

#include "host/HostApi.h"

class QLabel;
class QLineEdit;
class QTreeView;
class ToznListItemCommon;

namespace host {

// The element chosen last in the main window's tree (0: none).
OZN3HOST_API void SetChosenElement(int guid);
OZN3HOST_API int ChosenElement();

// Opens a view of the network tree down to an element, makes it current and scrolls it into the middle; false when
// the tree has no such element.
OZN3HOST_API bool ShowInTree(QTreeView* view, int guid);
// A form's view of the network tree as the user expects it: names never cut (the column as wide as its names,
// a horizontal scroll bar when they do not fit), the search bar, and the element chosen in the main window current
// and in view. Returns the element shown, 0 when none was chosen.
OZN3HOST_API int OpenOnChosen(QTreeView* view);

class OZN3HOST_API TTreeSearch : public QWidget {
    Q_OBJECT
public:
    // Adds the search bar above a view of the network tree, in the view's place (its splitter, its layout or its
    // main window); a view placed nowhere yet is put in Container(), which the caller places. Attaching twice
    // gives the same bar.
    static TTreeSearch* Attach(QTreeView* view);
    static TTreeSearch* Of(const QTreeView* view);

    // Shows the bar with the text given (the text typed so far when empty) and the cursor in it.
    void Open(const QString& text = {});
    void Close();
    // Finds the items whose name holds the text, case aside, in the tree's order, and goes to the first; the number
    // found.
    int Find(const QString& text);
    // The next or previous match, round the end.
    void Next();
    void Previous();
    int Matches() const { return static_cast<int>(matches_.size()); }
    int Position() const { return position_; }
    QLineEdit* Edit() const { return edit_; }
    QWidget* Container() const { return container_; }

signals:
    // The item a step went to.
    void Found(ToznListItemCommon* item);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    TTreeSearch(QTreeView* view, QWidget* container);
    void Go(int position);
    void ShowCount();
    QTreeView* view_;
    QWidget* container_;
    QLineEdit* edit_;
    QLabel* count_;
    QList<ToznListItemCommon*> matches_;
    int position_ = -1;
};

}  // namespace host
