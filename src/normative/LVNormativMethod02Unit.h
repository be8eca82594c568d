#pragma once
#include "normative/LVNormativMethod01Unit.h"

class QMenu;

// Adds the batch-calculation menu: "Расчет" with one item per target level, in the tree's context menu.
class TLVNormativMethodForm2 : public TLVNormativMethodForm1 {
    Q_OBJECT
public:
    using TLVNormativMethodForm1::TLVNormativMethodForm1;
    // The level of a tree item for the menu (1 company ... 7 substation); 0 for a level it does not know.
    static int MenuLevel(const ToznListItemCommon* item);
    // The context menu for an item: the "Расчет" submenu only in editing mode and on a known level.
    QMenu* BuildContextMenu(ToznListItemCommon* item);
    // Starts the batch from an item for a target level when a period is chosen.
    void StartCalculation(ToznListItemCommon* item, int levelCode);
    void Created() override;
};
