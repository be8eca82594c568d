#pragma once
#include <QString>
#include <QStringList>
#include <stdexcept>
#include <vector>

#include "host/HostApi.h"

// Base of the host objects that cross the plug-in boundary as plain pointers,
// so that the plug-in can test their class before use.
class OZN3HOST_API TObject {
public:
    virtual ~TObject();
    virtual QString ClassName() const { return QStringLiteral("TObject"); }
};

// Raised when a host object is not of the class an operation needs.
class OZN3HOST_API EInvalidCast : public std::runtime_error {
public:
    EInvalidCast() : std::runtime_error("Invalid class typecast") {}
};

// Casts a host object or raises the host's invalid-cast error.
template <class T> T* HostCast(TObject* object)
{
    auto* result = dynamic_cast<T*>(object);
    if (!result)
        throw EInvalidCast();
    return result;
}

// The host's export object: a titled table that the feeder detail view saves or prints.
class OZN3HOST_API TOExport : public TObject {
public:
    QString ClassName() const override { return QStringLiteral("TOExport"); }
    void SetTitle(const QString& title) { title_ = title; }
    QString Title() const { return title_; }
    void AddRow(const QStringList& cells) { rows_.push_back(cells); }
    const std::vector<QStringList>& Rows() const { return rows_; }

private:
    QString title_;
    std::vector<QStringList> rows_;
};

// The host's LV feeder object handed to the feeder result views.
class OZN3HOST_API TFiderHH : public TObject {
public:
    TFiderHH(int guid, const QString& name, int ownerGuid) : guid_(guid), name_(name), owner_(ownerGuid) {}
    QString ClassName() const override { return QStringLiteral("TFiderHH"); }
    int GetGUID() const { return guid_; }
    QString GetName() const { return name_; }
    int GetOwnerGUID() const { return owner_; }

private:
    int guid_;
    QString name_;
    int owner_;
};
