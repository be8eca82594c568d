#include "normative/AverageCrossSection.h"

#include <QtGlobal>
#include <cstring>

double TAverageCrossSectionCommon::GetF(int index)
{
    static constexpr double IdxToF[RowCount] = {10, 16, 25, 35, 50, 70, 95, 120, 150, 185, 240};
    if (index < 0 || index >= RowCount) {
        qDebug("TAverageCrossSection.IdxToF");
        return -1;
    }
    return IdxToF[index];
}

void TAverageCrossSectionCommon::SetItem(int index, Row row)
{
    Row& stored = rows_.at(index);
    if (stored.VL == row.VL && stored.KL == row.KL)
        return;
    stored = row;
    modified_ = true;
    Recalculate();
}

void TAverageCrossSectionCommon::Recalculate()
{
    averageF_ = 0;
    totalVL_ = totalKL_ = 0;
    int64_t lengths = 0;
    double weighted = 0;
    for (int i = 0; i < RowCount; ++i) {
        const int64_t r = int64_t(rows_[i].VL) + rows_[i].KL;
        if (r <= 0)
            continue;
        lengths += r;
        weighted += GetF(i) * double(r);
        totalVL_ += rows_[i].VL;
        totalKL_ += rows_[i].KL;
    }
    empty_ = !(lengths > 0);
    modified_ = modified_ && lengths > 0;
    if (lengths > 0)
        averageF_ = weighted / double(lengths);
}

void TAverageCrossSectionCommon::Assign(const TAverageCrossSectionCommon& source)
{
    rows_ = source.rows_;
    averageF_ = source.averageF_;
    totalVL_ = source.totalVL_;
    totalKL_ = source.totalKL_;
    empty_ = source.empty_;
    modified_ = !source.empty_;
}

bool TAverageCrossSectionCommon::isEqual(const TAverageCrossSectionCommon& other) const
{
    return this == &other || std::memcmp(rows_.data(), other.rows_.data(), sizeof rows_) == 0;
}

void TAverageCrossSectionCommon::Clear()
{
    rows_.fill(Row{});
    averageF_ = 0;
    totalVL_ = totalKL_ = 0;
    modified_ = false;
    empty_ = true;
}

void TAverageCrossSection::Clear() { TAverageCrossSectionCommon::Clear(); }
