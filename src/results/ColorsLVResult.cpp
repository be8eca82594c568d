#include "results/ColorsLVResult.h"

#include "host/InitOZN.h"

namespace ColorsLVResult {
const QString kSection = QStringLiteral("LVResultsGrid");

namespace {
const uint32_t kDefaultColors[7] = {0xF4CCCC, 0xFCE5CD, 0xFFF2CC, 0xD9EAD3, 0xD0E0E3, 0xC9DAF8, 0xD9D2E9};
}

std::optional<uint32_t> LevelRgb(int level)
{
    TInitOZN* init = ::Init(true);
    if (level == 4)  // the section rows keep their own setting
        return static_cast<uint32_t>(init->LoadIntParam(kSection, QStringLiteral("ColorLevel4"), 0xE0E0E0)) & 0xFFFFFF;
    if (level < 0 || level > 6)
        return std::nullopt;
    return static_cast<uint32_t>(init->LoadIntParam(kSection, QStringLiteral("ColorLevels%1").arg(level),
                                                    static_cast<int>(kDefaultColors[level]))) &
           0xFFFFFF;
}

void SetLevelRgb(int level, uint32_t rgb)
{
    ::Init(true)->SaveIntParam(kSection,
                               level == 4 ? QStringLiteral("ColorLevel4") : QStringLiteral("ColorLevels%1").arg(level),
                               static_cast<int>(rgb & 0xFFFFFF));
}

std::array<bool, 8> VisibleRows()
{
    std::array<bool, 8> rows;
    rows.fill(true);
    const QString saved = ::Init(true)->LoadStrParam(kSection, QStringLiteral("RowsResults"));
    for (int l = 0; l < 8 && l < saved.size(); ++l)
        rows[l] = saved[l] != QLatin1Char('0');
    return rows;
}

QStringList HiddenColumns()
{
    return ::Init(true)
        ->LoadStrParam(kSection, QStringLiteral("ColsResults"))
        .split(QLatin1Char(','), Qt::SkipEmptyParts);
}

void SaveHiddenColumns(const QStringList& fields)
{
    ::Init(true)->SaveStrParam(kSection, QStringLiteral("ColsResults"), fields.join(QLatin1Char(',')));
}

void SaveVisibleRows(const std::array<bool, 8>& rows)
{
    QString text;
    for (bool v : rows)
        text += v ? QLatin1Char('1') : QLatin1Char('0');
    ::Init(true)->SaveStrParam(kSection, QStringLiteral("RowsResults"), text);
}
}  // namespace ColorsLVResult
