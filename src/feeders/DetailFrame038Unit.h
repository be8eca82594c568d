#pragma once
#include "host/CommonDetailFrame.h"

class ToznListItemCommon;
class ToznFDConnection;
class QTableWidget;

// Nodes and sections of one LV feeder's 0.38 kV scheme.
class TDetail038Frame : public TCommonDetailFrame {
    Q_OBJECT
public:
    TDetail038Frame(QWidget* owner, ToznFDConnection& connection, ToznListItemCommon* feeder, int ident);
    int NodeCount() const;
    int SectionCount() const;

private:
    QTableWidget* nodes_;
    QTableWidget* sections_;
};
