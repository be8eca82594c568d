#pragma once
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "host/WrittenCells.h"

class TXlsxWorkbook;
struct lxw_workbook;
struct lxw_worksheet;
struct lxw_format;

// The look shared by the measurement workbooks: a head row of captions over a row of column numbers, input
// cells framed and open to the user, computed cells shaded, the cells that tie a row to its object locked.
struct TZamerFormats {
    lxw_format *head, *value, *computed;
    lxw_format* key;        // numbers and hidden keys of a row, locked
    lxw_format* name;       // an object's name, locked
    lxw_format* notStored;  // the name of an object without stored values in the interval
    lxw_format* edited;     // the name of an object whose values are to be saved
    lxw_format* warning;    // the name of an object whose values contradict each other
};
TZamerFormats AddZamerFormats(lxw_workbook* book, const char* valueFormat, const char* computedFormat);
// The caption of a column (1-based) in the first row and its number in the second.
void WriteZamerHead(lxw_worksheet* sheet, int column, const QString& caption, lxw_format* head);
// An input number (1-based row and column); an empty value leaves the cell empty but open to the user.
void WriteInputNumber(lxw_worksheet* sheet, int row, int column, double value, lxw_format* format);
// A formula with the value it gives cached beside it (an empty value caches an empty text), so that a
// spreadsheet that does not recalculate on opening shows the right numbers; the text has no leading "=".
void WriteFormulaWithValue(lxw_worksheet* sheet, int row, int column, const QString& formula, double value,
                           lxw_format* format);
// Protects a sheet: only the cells written with the input format can be changed; columns and rows may still be
// resized. The password is the host's.
void ProtectZamerSheet(lxw_worksheet* sheet);
// The refusal of a workbook whose cells break their rules: the first problems and how many there are.
QString ReadRefusal(const QString& file, const QStringList& problems);

// What to do with rows the user changed in a workbook that someone else changed in the database since the
// workbook was written.
enum class TConflictChoice {
    Refuse,        // store nothing while there is such a row
    Overwrite,     // the user's rows win
    KeepDatabase,  // such rows keep the database's values; the others are stored
};
// The outcome of storing the rows read from a workbook: how many were written and the rows in conflict, one line
// each ("Name (GUID): в базе …").
struct TWorkbookSave {
    int Written = 0;
    QStringList Conflicts;
    bool Stored = false;  // the transaction was committed
};
// A line of a row's changes: "caption: old → new" joined by "; ".
QString ShownValue(double value);

// What a workbook was written for, kept in a hidden sheet of its own, so that a workbook is read back only into
// the table it came from (and a command can read one without being told what it holds).
struct TWorkbookIdentity {
    QString Kind;  // "w", "tmax" or "social"
    int Object = 0;
    int Sample = 0;
    int Level = -1;  // the generalised data's level
    bool Lines = false, Consumers = false;
    bool operator==(const TWorkbookIdentity&) const = default;
};
inline constexpr const char* kIdentitySheet = "Параметры книги";
void WriteWorkbookIdentity(lxw_workbook* book, const TWorkbookIdentity& identity);
// False when the workbook has no such sheet (written by something else).
bool ReadWorkbookIdentity(const TXlsxWorkbook& book, TWorkbookIdentity& identity);
// Empty when the workbook may be read into a table of this identity, else why not.
QString IdentityMismatch(const TXlsxWorkbook& book, const TWorkbookIdentity& expected, const QString& file);
