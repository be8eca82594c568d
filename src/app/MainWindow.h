#pragma once
#include <QMainWindow>

#include "app/PluginLoader.h"

class TfdbDatabase;
class ToznListItemCommon;
class QTreeView;
class QComboBox;
class QDockWidget;

// The host's main window: the network tree, the period picker and one command per export.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(TfdbDatabase* database, Ozn32Plugin* plugin);
    ToznListItemCommon* SelectedItem() const;
    int SelectedPeriod() const;

private:
    void BuildMenu();
    // The selected item of the given node type, or its nearest owner of that type.
    ToznListItemCommon* SelectedOfType(int nodeType) const;
    void ShowDetail();
    // Shows the scheme of an LV feeder with one stored run (0: the latest).
    void ShowDetailOf(ToznListItemCommon* lv, int runIdent);
    void RunRegime(bool maximum);
    void ShowBalance(bool toExport);

    TfdbDatabase* database_;
    Ozn32Plugin* plugin_;
    QTreeView* tree_;
    QComboBox* periods_;
    QDockWidget* detail_;
};
