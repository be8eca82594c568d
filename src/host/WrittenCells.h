#pragma once
#include <QHash>
#include <QString>
#include <QVariant>

#include "host/HostApi.h"

// The editable cells of a row as they were written, kept in a hidden cell of the row (column number -> a number,
// a text, or nothing for an empty cell). Reading the workbook back, a cell that differs from its written value is
// the user's edit; a stored value that differs from it was changed in the database since the workbook was
// written.
using TWrittenCells = QHash<int, QVariant>;
OZN3HOST_API QString WrittenCellsText(const TWrittenCells& cells);
// False when the cell holds no such record (cleared, or written by something else).
OZN3HOST_API bool ReadWrittenCells(const QVariant& cell, TWrittenCells& cells);
