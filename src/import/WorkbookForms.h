#pragma once
// What the workbook forms of the measurements and of the generalised data share: the network tree and the
// intervals beside the workbook, the reading-back report and the question before edits are lost.
#include <QList>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>

class QTreeView;
class TSamplesTreeBox;
class QObject;
class TxlsZamerShablonForm;
struct TWorkbookSave;
enum class TConflictChoice;

namespace zamer {
// The workbook forms list the objects of the network tree; with no tree there is nothing to fill.
bool treeCanOpen();
// Fills a form's network tree and intervals once, choosing the latest interval of those with data; the callback
// gets the object chosen in the tree. True when they were filled now.
bool attachTreeAndIntervals(QTreeView* tree, TSamplesTreeBox* intervals, const QList<int>& withData, QObject* context,
                            std::function<void(int)> chosen);
void selectInTree(QTreeView* tree, int guid);
// The intervals with data as read; none when they cannot be read, so that the form opens on the latest interval
// that has begun instead of not opening.
QList<int> periodsWithData(const std::function<QList<int>()>& read);
// The host hands over the object chosen in its own tree.
void selectHandedObject(QTreeView* tree, intptr_t param);
// Logs how many rows a reading of the workbook changed and what it did not take as typed, or shows why it could
// not be read (changed < 0).
bool reportReadBack(TxlsZamerShablonForm& form, int changed, const QString& error, const QStringList& notes = {});
// Stores the rows read, logging the count; says so when there is nothing to store and shows a database error.
// What the reading did not take as typed (notes) is asked about first. Rows someone changed in the database
// since the workbook was written are listed, and the user chooses: the workbook's values (Да), the database's
// for those rows with the others stored (Нет), or nothing stored (Отмена). False when nothing was stored.
bool saveRows(TxlsZamerShablonForm& form, int pending, const QStringList& notes,
              const std::function<TWorkbookSave(TConflictChoice)>& store);
// Asks before rows not saved or a workbook edited but not read are given up; true to go on.
bool confirmDiscard(int pending, bool changedOnDisk, const QString& workbook);
}  // namespace zamer
