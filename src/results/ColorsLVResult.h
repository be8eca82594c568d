#pragma once
#include <QString>
#include <QStringList>
#include <array>
#include <cstdint>
#include <optional>

// Settings shared by the results grid and the summary workbook: the colour of each hierarchy level and the
// levels shown as rows, kept between runs in the grid's section of the settings.
namespace ColorsLVResult {
extern const QString kSection;
// The colour of a level 0 to 6 as 0xRRGGBB; the section rows (level 4) keep a colour of their own. Level 7 has
// none.
std::optional<uint32_t> LevelRgb(int level);
void SetLevelRgb(int level, uint32_t rgb);
// Which of the levels 0 to 7 are rows ("RowsResults"); all of them by default.
std::array<bool, 8> VisibleRows();
void SaveVisibleRows(const std::array<bool, 8>& rows);
// The fields of the columns the user switched off in the grid ("ColsResults"); the summary workbook leaves
// them out too.
QStringList HiddenColumns();
void SaveHiddenColumns(const QStringList& fields);
}  // namespace ColorsLVResult
