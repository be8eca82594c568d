#pragma once
#include <QDialog>

class TFiderHH;
class TOExport;

// Balances of one LV feeder, per balance kind.
class TLVResultBalancesFider {
public:
    explicit TLVResultBalancesFider(TFiderHH* fider) : fider_(fider) {}
    // Shows the balance form; returns its modal result.
    int ShowModal();
    // Writes the feeder's balance into the host's export object.
    void Build(TOExport& target);

private:
    TFiderHH* fider_;
};
