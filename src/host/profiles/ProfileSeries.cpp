#include "host/profiles/ProfileSeries.h"

#include <cmath>
#include <limits>
#include <numeric>

namespace profiles {

namespace {
constexpr uint8_t kCodecVersion = 1;
constexpr int kMaxDecimals = 6;
const double kScales[kMaxDecimals + 1] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6};

void putVarint(QByteArray& out, uint64_t v)
{
    while (v >= 0x80) {
        out.append(static_cast<char>((v & 0x7f) | 0x80));
        v >>= 7;
    }
    out.append(static_cast<char>(v));
}

bool getVarint(const uint8_t*& p, const uint8_t* end, uint64_t& v)
{
    v = 0;
    for (int shift = 0; shift < 64 && p < end; shift += 7) {
        const uint8_t b = *p++;
        v |= static_cast<uint64_t>(b & 0x7f) << shift;
        if (!(b & 0x80))
            return true;
    }
    return false;
}

uint64_t zigzag(int64_t v) { return (static_cast<uint64_t>(v) << 1) ^ static_cast<uint64_t>(v >> 63); }
int64_t unzigzag(uint64_t v) { return static_cast<int64_t>(v >> 1) ^ -static_cast<int64_t>(v & 1); }
}  // namespace

TMinute MinuteOf(const QDateTime& time)
{
    const QDateTime wall(time.date(), time.time(), Qt::UTC);
    return wall.toSecsSinceEpoch() / 60;
}

QDateTime TimeOfMinute(TMinute minute) { return QDateTime::fromSecsSinceEpoch(minute * 60, Qt::UTC); }

QString MinuteText(TMinute minute) { return TimeOfMinute(minute).toString(QStringLiteral("dd.MM.yyyy HH:mm")); }

bool IsStepMinutes(int minutes) { return minutes >= 1 && minutes <= 60 && 60 % minutes == 0; }

double TProfileSeries::SumActive() const { return std::accumulate(Active.begin(), Active.end(), 0.0); }

double TProfileSeries::SumReactive() const
{
    return Reactive.empty() ? std::numeric_limits<double>::quiet_NaN()
                            : std::accumulate(Reactive.begin(), Reactive.end(), 0.0);
}

QByteArray EncodeValues(const std::vector<double>& values, int decimals)
{
    decimals = std::clamp(decimals, 0, kMaxDecimals);
    QByteArray out;
    out.reserve(static_cast<qsizetype>(values.size()) * 2 + 12);
    out.append(static_cast<char>(kCodecVersion));
    out.append(static_cast<char>(decimals));
    putVarint(out, values.size());
    const double scale = kScales[decimals];
    int64_t previous = 0;
    for (double v : values) {
        const int64_t units = std::llround(v * scale);
        putVarint(out, zigzag(units - previous));
        previous = units;
    }
    return out;
}

bool DecodeValues(const QByteArray& bytes, std::vector<double>& values)
{
    values.clear();
    const auto* p = reinterpret_cast<const uint8_t*>(bytes.constData());
    const uint8_t* end = p + bytes.size();
    if (end - p < 3 || p[0] != kCodecVersion || p[1] > kMaxDecimals)
        return false;
    const double scale = kScales[p[1]];
    p += 2;
    uint64_t count = 0;
    // Every value takes at least a byte: a count beyond the bytes left is damage, not a reason to allocate.
    if (!getVarint(p, end, count) || count > static_cast<uint64_t>(end - p))
        return false;
    values.resize(count);
    int64_t units = 0;
    for (uint64_t i = 0; i < count; ++i) {
        uint64_t v;
        if (!getVarint(p, end, v))
            return false;
        units += unzigzag(v);
        values[i] = static_cast<double>(units) / scale;
    }
    return p == end;
}

int DecimalsOfText(const char* begin, const char* end)
{
    for (const char* p = begin; p < end; ++p)
        if (*p == '.' || *p == ',') {
            int digits = 0;
            for (const char* q = p + 1; q < end && *q >= '0' && *q <= '9'; ++q)
                ++digits;
            return std::min(digits, kMaxDecimals);
        }
    return 0;
}

}  // namespace profiles
