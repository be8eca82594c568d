#pragma once
// The texts of a readings file as metering systems write them: times, numbers, Windows-1251, CSV lines read
// block by block. Used by the profile import only.
#include <QByteArray>
#include <QIODevice>
#include <climits>
#include <string>
#include <string_view>
#include <vector>

#include "host/profiles/ProfileSeries.h"

namespace profiles::text {

inline constexpr int kNoOffset = INT_MIN;

// "ДД.ММ.ГГГГ ЧЧ:ММ[:СС]" or "ГГГГ-ММ-ДД[T ]ЧЧ:ММ[:СС[.fff]][Z|±ЧЧ[:ММ]]"; seconds must be zero. The UTC offset
// of an ISO time, when it has one, goes to `offset` (minutes), else kNoOffset.
bool parseTime(std::string_view s, TMinute& minute, int& offset);
// A number as meters give it: optional sign, a decimal point or comma, spaces between the thousands; the
// decimals it shows.
bool parseNumber(std::string_view s, double& value, int& decimals);
// Windows-1251, which many metering systems still write, as UTF-8.
QByteArray utf8OfCp1251(const QByteArray& bytes);
bool validUtf8(const QByteArray& bytes);
// Splits a CSV line into cells (quotes removed, "" inside quotes read as one), trimmed; the cells point into
// `buffer`.
void splitLine(const QByteArray& line, char separator, std::string& buffer, std::vector<std::string_view>& cells);
bool blankLine(const std::vector<std::string_view>& cells);

// Reads lines from a device in blocks; the file is never held whole.
class LineSource {
public:
    explicit LineSource(QIODevice& device) : device_(device) {}
    bool Next(QByteArray& line);

private:
    QIODevice& device_;
    QByteArray buffer_;
    qsizetype pos_ = 0;
};

}  // namespace profiles::text
