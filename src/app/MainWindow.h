#pragma once
#include <QMainWindow>
#include <functional>

#include "app/PluginLoader.h"
#include "host/fider/RegimeCalc.h"

class TfdbDatabase;
class ToznListItemCommon;
class QTreeView;
class QComboBox;
class TSamplesTreeBox;
class QDockWidget;
class QAction;
class QLabel;
class QMenu;
class QTimer;

// The host's main window: the network tree, the period picker and one command per export.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(TfdbDatabase* database, Ozn32Plugin* plugin);
    ~MainWindow() override;
    ToznListItemCommon* SelectedItem() const;
    int SelectedPeriod() const;
    // The LV feeder the scheme panel shows (0: none), and the panel's frame (null while it shows its hint).
    int ShownFeeder() const { return shownFeeder_; }
    QWidget* DetailFrame() const;
    QDockWidget* DetailDock() const { return detail_; }
    // Shows the scheme of the LV feeder chosen in the tree (of the one above a chosen item) at once, without
    // waiting for the tree to settle.
    void FollowTree();

    // The scheme workbook to read (save false) or to write (save true, a name suggested); empty when the
    // user cancels. The host's file dialogs unless replaced.
    std::function<QString(bool save, const QString& suggested)> ChooseBookFile;
    // The file of metering profiles to load; empty when the user cancels.
    std::function<QString()> ChooseProfileFile;
    // A database file to open instead of this one; empty when the user cancels.
    std::function<QString()> ChooseDatabaseFile;

    // Closes the window so that its entry opens another database (a file or host[/port]:path) in a new one.
    void SwitchTo(const QString& connection);
    // The database the window closed for; empty when it closed to end the program.
    QString NextDatabase() const { return nextDatabase_; }
    // The databases opened last, the latest first.
    static QStringList RecentDatabases();

protected:
    // The scheme beside the tree keeps its share of the window's width as the window changes size.
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void BuildMenu();
    void BuildFileMenu(QMenu* file);
    void BuildHelpMenu();
    void ShowDatabaseProperties();
    // The selected item of the given node type, or its nearest owner of that type.
    ToznListItemCommon* SelectedOfType(int nodeType) const;
    void ShowDetail();
    // Shows the scheme of an LV feeder with one stored run (0: the latest).
    void ShowDetailOf(ToznListItemCommon* lv, int runIdent);
    // Gives the dock its share of the window's width.
    void PlaceDetail();
    // The regime of the selected element, or of the given one.
    void RunRegime(bool maximum, ToznListItemCommon* target = nullptr);
    // The item or its nearest owner of a node type, links aside.
    static ToznListItemCommon* OfType(ToznListItemCommon* item, int nodeType);
    // LV schemes: a workbook into a substation, stored schemes out to a workbook, one feeder's editor.
    void ImportScheme();
    // Metering profiles from a file into the selected substation.
    void ImportProfiles();
    // The methods' comparison of the runs by profiles under an element, as a table.
    void ShowComparison(ToznListItemCommon* item, fider::TRegimeKind regime, int sampleIdent);
    void ExportScheme();
    void EditScheme();
    void EditConductors();
    void ShowTreeMenu(const QPoint& position);
    // Reads the tree anew (after feeders were added) and selects an item.
    // The counts of substations and LV feeders in the status bar.
    void UpdateStatus();
    void ShowBalance(bool toExport);

    // A double click opens the editor of a substation or LV feeder, and only opens or closes other items.
    void OnDoubleClick(const QModelIndex& index);
    // The hint the scheme panel shows while no LV feeder is chosen.
    void ShowDetailHint();

    TfdbDatabase* database_;
    Ozn32Plugin* plugin_;
    QTreeView* tree_;
    QTimer* follow_;
    int shownFeeder_ = 0;
    TSamplesTreeBox* periods_;
    QDockWidget* detail_;
    QAction* importScheme_ = nullptr;
    QAction* exportScheme_ = nullptr;
    QAction* editScheme_ = nullptr;
    QAction* importProfiles_ = nullptr;
    // The scheme's share of the window's width: the larger part at first, then as the user draws it.
    double detailShare_ = 0.6;
    int placedDetailWidth_ = 0;
    bool detailPlaced_ = false;
    QString nextDatabase_;
    QObject* guideKey_ = nullptr;
};
