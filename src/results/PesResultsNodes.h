#pragma once
// The layouts of the PES results report and of the summary workbook: the sheets and the columns each one shows.
#include <QString>
#include <vector>

struct TLVResultColumn;

// Rows of the PES results report: the sheets and the columns each one shows.
class TNodeLV {
public:
    virtual ~TNodeLV() = default;
    virtual int PageCount() const { return 2; }
    // The sheet name of a page; an unknown page raises "Неверная страница".
    virtual QString SheetName(int page) const;
    virtual std::vector<const TLVResultColumn*> Columns(int page) const;
};

// The second layout: one sheet with every value.
class TNodeLV32 : public TNodeLV {
public:
    int PageCount() const override { return 1; }
    QString SheetName(int page) const override;
    std::vector<const TLVResultColumn*> Columns(int page) const override;
};
