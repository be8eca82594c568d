#pragma once
#include <QColor>

#include "normative/LVNormativMethod03Unit.h"

class QPushButton;
class QRadioButton;
class QTextBrowser;

// Adds the summary page: the aggregated results by levels of the hierarchy, general or detailed, with the
// colours of the level header rows and the rewriting of an element's data from its aggregate.
class TLVNormativMethodForm4 : public TLVNormativMethodForm3 {
    Q_OBJECT
public:
    using TLVNormativMethodForm3::TLVNormativMethodForm3;
    void Created() override;
    void FullRunChanged() override;
    void RefreshSummary();
    QString SummaryHtml() const;
    void SetDetailed(bool detailed);
    // The legend entries: "Заголовок АО" ... "Заголовок ТП", then "Шапка таблицы".
    static QStringList LegendEntries();
    static QColor LegendColour(int entry);
    static void SetLegendColour(int entry, const QColor& colour);
    // Asks and rewrites the selected element's stored data of the period from its aggregate; false when
    // declined or nothing is stored under it.
    bool RewriteData();

private:
    void EditLegend();
    QTextBrowser* summary_ = nullptr;
    QRadioButton* detailed_ = nullptr;
    QPushButton* rewrite_ = nullptr;
};
