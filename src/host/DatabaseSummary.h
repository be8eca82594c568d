#pragma once
// What a database holds, in lines a user reads: where it is, its size, who is attached, how many elements of
// each level the network has, the intervals and the stored regime runs. The command line's summary and the
// window's "Свойства базы данных" show these same lines.
#include <QString>
#include <vector>

#include "host/HostApi.h"

class TfdbDatabase;

namespace host {

struct TDatabaseFact {
    QString Caption;
    QString Value;
};

OZN3HOST_API std::vector<TDatabaseFact> DatabaseSummary(TfdbDatabase& database);

}  // namespace host
