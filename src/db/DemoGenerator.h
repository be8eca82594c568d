#pragma once
#include <QString>
#include <functional>

#include "host/HostApi.h"

class ToznFDConnection;

namespace db {

enum class DemoSize { Small, Large };

// Shape of a generated utility network.
struct OZN3HOST_API DemoShape {
    int pes, resPerPes, centersPerRes, sectionsPerCenter, fidersPerSection, nodesPerFider;
    int firstYear, years;
    int schemeEvery;  // every n-th LV feeder gets an LV scheme
    static DemoShape For(DemoSize size);
};

// Counts of what was generated.
struct OZN3HOST_API DemoCounts {
    int nodes = 0, lvFiders = 0, rows = 0;
    int regimeRuns = 0, regimeRefused = 0;  // feeders calculated and refused, over every year
    int profiles = 0;                       // metering profiles of the latest year
    double profileSeconds = 0;
};

// Fills an empty database with a deterministic, plausible utility network: the hierarchy with
// Russian names, catalogues, periods, measurements, normative inputs of the first year and
// LV regime results of every year. The same shape always gives the same rows.
class OZN3HOST_API DemoGenerator {
public:
    explicit DemoGenerator(ToznFDConnection& connection) : connection_(connection) {}
    // progress(rows written so far, stage name)
    DemoCounts Generate(const DemoShape& shape, const std::function<void(int, const QString&)>& progress = {});

private:
    ToznFDConnection& connection_;
};

OZN3HOST_API bool ParseDemoSize(const QString& text, DemoSize& size);

}  // namespace db
