#pragma once
// The problems of a workbook or of an edited table, one per line ("Участки!E12: …"), to read, copy and
// fix in the source before trying again.
#include <QDialog>
#include <QStringList>

class QListWidget;

class ProblemsDialog : public QDialog {
    Q_OBJECT
public:
    ProblemsDialog(const QString& title, const QString& intro, const QStringList& lines, QWidget* parent = nullptr);
    // Every line, as "Копировать" puts them on the clipboard.
    QString Text() const;

    // Shows the problems modally.
    static void Show(QWidget* parent, const QString& title, const QString& intro, const QStringList& lines);

private:
    QStringList lines_;
    QListWidget* list_;
};
