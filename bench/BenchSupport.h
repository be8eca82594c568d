#pragma once
#include <QString>
#include <memory>

class TfdbDatabase;

namespace benchmark {
class State;
}

namespace bench {
// The generated large network the benchmarks read (OZN3_BENCH_DB).
QString LargeDatabasePath();
// Opens the large network, or marks the benchmark skipped with the reason.
std::unique_ptr<TfdbDatabase> OpenLargeDatabase(benchmark::State& state);
// A fresh database with the schema only, in a temporary folder kept for the run.
std::unique_ptr<TfdbDatabase> FreshSchemaDatabase(const QString& name);
// Rows per second of plain inserts into "LVWResultsB" through one prepared statement:
// the baseline every benchmark of the project is compared with.
double RawInsertRate(TfdbDatabase& database, int rows);
}  // namespace bench
