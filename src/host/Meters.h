#pragma once
#include <QHash>
#include <QString>
#include <QStringList>

#include "host/HostApi.h"

class ToznFDConnection;

// The register of meters: one meter per object (a substation, an LV feeder or a consumer) with its name and
// its state. The measurement workbooks show both and write back what the user changes.
struct TMeter {
    QString Name;
    int State = 0;  // an index of MeterStateNames()
};

// The states of a meter, by code: 0 "не указано", 1 "исправен", … The workbooks show the texts.
OZN3HOST_API const QStringList& MeterStateNames();
// The code of a state's text (case and surrounding spaces aside); -1 for a text that is not a state.
OZN3HOST_API int MeterStateCode(const QString& text);
// The longest meter name the register keeps.
inline constexpr int kMeterNameLength = 40;

// The meters of every object that has one.
OZN3HOST_API QHash<int, TMeter> LoadMeters(ToznFDConnection& connection);
// Registers an object's meter (name and state) inside the caller's transaction; an empty name with the state
// "не указано" removes it.
OZN3HOST_API void SaveMeter(ToznFDConnection& connection, int guid, const TMeter& meter);
