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
class QTreeWidget;
class QTreeWidgetItem;

// The calculated state of one LV feeder's 0.38 kV scheme: a table of nodes and a table of sections, a tree
// that filters them by kind of device, column presets and the colours of the balance owners.
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

private:
    void Fill(Detail038::Table table);
    void ApplySettings();
    void ApplyColours();
    void SaveSettings() const;
    void EditColours();
    Detail038::Scheme scheme_;
    std::array<QTableWidget*, 2> grids_;
    QTreeWidget* filterTree_;
    QStackedWidget* stack_;
    QComboBox* presets_;
    QCheckBox* hideRepeated_;
    std::array<QColor, Detail038::ColourCount> colours_;
};
