#pragma once
#include <QtGlobal>

namespace db::demo {

// A small deterministic generator, the same on every platform.
class Random {
public:
    explicit Random(quint64 seed) : state_(seed ? seed : 0x9E3779B97F4A7C15ull) {}
    quint64 Next()
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }
    double Uniform(double lo, double hi) { return lo + (hi - lo) * (Next() % 1000000) / 1000000.0; }
    int Int(int lo, int hi) { return lo + static_cast<int>(Next() % quint64(hi - lo + 1)); }
    bool Chance(int percent) { return Int(1, 100) <= percent; }

private:
    quint64 state_;
};

}  // namespace db::demo
