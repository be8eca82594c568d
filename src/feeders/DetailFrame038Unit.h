#pragma once
#include <QColor>
#include <array>

#include "feeders/Detail038Data.h"
#include "host/CommonDetailFrame.h"

class ToznListItemCommon;
class ToznFDConnection;
class QCheckBox;
class QComboBox;
class QStackedWidget;
class QTableWidget;
class QSplitter;
class QTreeWidget;
class QTreeWidgetItem;
namespace feeders {
class TSchemeView038;
class TVoltageProfileView;
}  // namespace feeders

// The calculated state of one LV feeder's 0.38 kV scheme: its drawing coloured by a result of the run with the
// voltage along the line to the node chosen, a table of nodes and a table of sections, a tree that filters them
// by kind of device, column presets and the colours of the balance owners. A node or section chosen on the
// drawing is chosen in its table, and the other way round.
class TDetail038Frame : public TCommonDetailFrame {
    Q_OBJECT
public:
    TDetail038Frame(QWidget* owner, ToznFDConnection& connection, ToznListItemCommon* feeder, int ident);
    ~TDetail038Frame() override;
    int NodeCount() const;
    int SectionCount() const;
    QTableWidget* Grid(Detail038::Table table) const { return grids_[table]; }
    // Shows the table of a filter tree item with its filter applied; false for an unknown item.
    bool SelectFilter(const QString& item);
    // The rows of a table left visible by the current filter.
    int VisibleRows(Detail038::Table table) const;
    void ApplyPreset(Detail038::Preset preset, bool hideRepeated);
    QColor ColourOf(Detail038::Colour colour) const { return colours_[colour]; }
    void SetColour(Detail038::Colour colour, const QColor& value);
    Detail038::Preset CurrentPreset() const;
    // The text a cell of a table shows.
    QString ShownText(Detail038::Table table, int row, int column) const;
    feeders::TSchemeView038* Drawing() const { return drawing_; }
    feeders::TVoltageProfileView* Profile() const { return profile_; }
    // The GUID of the row chosen in a table, 0 when none is.
    int ChosenGuid(Detail038::Table table) const;
    // Chooses the row of a node or section (by GUID) in its table; false when the table has none.
    bool ChooseRow(Detail038::Table table, int guid);
    // The feeder shown, its name and substation.
    const Detail038::FeederState& State() const { return scheme_.State; }

protected:
    // The first time it is shown, the frame gives its parts their shares unless the user's are kept.
    void showEvent(QShowEvent* event) override;

private:
    void Fill(Detail038::Table table);
    void ApplySettings();
    void ApplyColours();
    void SaveSettings() const;
    void EditColours();
    void OnDrawingNode(int guid);
    void OnDrawingSection(int guid);
    void OnRowChosen(Detail038::Table table);
    Detail038::Scheme scheme_;
    feeders::TSchemeView038* drawing_;
    feeders::TVoltageProfileView* profile_;
    QSplitter* outer_;
    QSplitter* top_;
    QSplitter* bottom_;
    bool syncing_ = false;
    bool placed_ = false;
    std::array<QTableWidget*, 2> grids_;
    QTreeWidget* filterTree_;
    QStackedWidget* stack_;
    QComboBox* presets_;
    QCheckBox* hideRepeated_;
    std::array<QColor, Detail038::ColourCount> colours_;
};
