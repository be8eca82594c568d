#pragma once
#include <QHash>
#include <QString>
#include <QStringList>

#include "host/HostApi.h"

class ToznFDConnection;

// One conductor of the catalogue.
struct OZN3HOST_API TProvodRec {
    int Ident = 0;
    QString Marka;
    double F = 0, R0 = 0, X0 = 0;
    QString AddStr;
    bool isCable = false;
    bool ownNull = false;  // carries its own neutral (four-core cable, self-supporting wire)
    QString GetMarka() const { return Marka; }
    // The text of the conductor in lists: brand, cross-section and the additional text.
    QString Text() const;
};

// The reference of 0.38 kV conductors ("Provods" of kinds with "Unom"=0.380).
class OZN3HOST_API TProvod038 {
public:
    void Load(ToznFDConnection& connection);
    const TProvodRec* GetProvodRec(int ident) const;
    QList<int> Idents() const { return order_; }

private:
    QHash<int, TProvodRec> items_;
    QList<int> order_;
};
