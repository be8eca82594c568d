#include "host/profiles/ProfileText.h"

#include <QStringDecoder>
#include <charconv>
#include <cmath>

namespace profiles::text {

namespace {
// Days since 1970-01-01 of a civil date (proleptic Gregorian).
int64_t daysOfDate(int y, int m, int d)
{
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

int daysInMonth(int y, int m)
{
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return m == 2 && leap ? 29 : days[m - 1];
}

// Digits at s[pos..pos+n); false when any is not a digit.
bool digits(std::string_view s, size_t pos, size_t n, int& value)
{
    if (pos + n > s.size())
        return false;
    value = 0;
    for (size_t i = pos; i < pos + n; ++i) {
        if (s[i] < '0' || s[i] > '9')
            return false;
        value = value * 10 + (s[i] - '0');
    }
    return true;
}

}  // namespace

// "ДД.ММ.ГГГГ ЧЧ:ММ[:СС]" or "ГГГГ-ММ-ДД[T ]ЧЧ:ММ[:СС[.fff]][Z|±ЧЧ[:ММ]]"; seconds must be zero. The UTC
// offset of an ISO time, when it has one, goes to `offset` (minutes).
bool parseTime(std::string_view s, TMinute& minute, int& offset)
{
    offset = kNoOffset;
    int y, mo, d, h, mi, sec = 0;
    size_t pos;
    if (s.size() >= 16 && s[2] == '.' && s[5] == '.') {
        if (!digits(s, 0, 2, d) || !digits(s, 3, 2, mo) || !digits(s, 6, 4, y) || s[10] != ' ')
            return false;
        pos = 11;
    } else if (s.size() >= 16 && s[4] == '-' && s[7] == '-') {
        if (!digits(s, 0, 4, y) || !digits(s, 5, 2, mo) || !digits(s, 8, 2, d) || (s[10] != 'T' && s[10] != ' '))
            return false;
        pos = 11;
    } else {
        return false;
    }
    size_t hourDigits = s.size() > pos + 1 && s[pos + 1] == ':' ? 1 : 2;  // "9:00" as well as "09:00"
    if (!digits(s, pos, hourDigits, h) || s.size() < pos + hourDigits + 3 || s[pos + hourDigits] != ':' ||
        !digits(s, pos + hourDigits + 1, 2, mi))
        return false;
    pos += hourDigits + 3;
    if (pos < s.size() && s[pos] == ':') {
        if (!digits(s, pos + 1, 2, sec))
            return false;
        pos += 3;
        if (pos < s.size() && s[pos] == '.')
            for (++pos; pos < s.size() && s[pos] >= '0' && s[pos] <= '9'; ++pos)
                if (s[pos] != '0')
                    return false;
    }
    if (pos < s.size()) {
        if (s[pos] == 'Z' && pos + 1 == s.size()) {
            offset = 0;
        } else if (s[pos] == '+' || s[pos] == '-') {
            int oh = 0, om = 0;
            if (!digits(s, pos + 1, 2, oh))
                return false;
            size_t next = pos + 3;
            if (next < s.size() && s[next] == ':')
                ++next;
            if (next < s.size() && (!digits(s, next, 2, om) || next + 2 != s.size()))
                return false;
            offset = (s[pos] == '-' ? -1 : 1) * (oh * 60 + om);
        } else {
            return false;
        }
    }
    if (mo < 1 || mo > 12 || d < 1 || d > daysInMonth(y, mo) || h > 23 || mi > 59 || sec != 0 || y < 1900)
        return false;
    minute = (daysOfDate(y, mo, d) * 24 + h) * 60 + mi;
    return true;
}

// A number as meters give it: optional sign, a decimal point or comma, spaces between the thousands.
bool parseNumber(std::string_view s, double& value, int& decimals)
{
    char buffer[64];
    size_t n = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        const char c = s[i];
        if (c == ' ')
            continue;
        if (static_cast<unsigned char>(c) == 0xC2 && i + 1 < s.size() && static_cast<unsigned char>(s[i + 1]) == 0xA0) {
            ++i;  // no-break space
            continue;
        }
        if (n + 1 >= sizeof buffer)
            return false;
        buffer[n++] = c == ',' ? '.' : c;
    }
    if (n == 0)
        return false;
    const char* begin = buffer;
    if (*begin == '+')
        ++begin;
    const auto [end, error] = std::from_chars(begin, buffer + n, value, std::chars_format::fixed);
    if (error != std::errc() || end != buffer + n || !std::isfinite(value))
        return false;
    decimals = DecimalsOfText(begin, buffer + n);
    return true;
}

// Windows-1251, which many metering systems still write, as UTF-8.
QByteArray utf8OfCp1251(const QByteArray& bytes)
{
    static const char16_t high[64] = {
        0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021, 0x20AC, 0x2030, 0x0409, 0x2039, 0x040A,
        0x040C, 0x040B, 0x040F, 0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0xFFFD, 0x2122,
        0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F, 0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6,
        0x00A7, 0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407, 0x00B0, 0x00B1, 0x0406, 0x0456,
        0x0491, 0x00B5, 0x00B6, 0x00B7, 0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457};
    QString text;
    text.reserve(bytes.size());
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (b < 0x80)
            text.append(QChar(b));
        else if (b < 0xC0)
            text.append(QChar(high[b - 0x80]));
        else
            text.append(QChar(0x0410 + (b - 0xC0)));
    }
    return text.toUtf8();
}

bool validUtf8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(bytes);
    return !decoder.hasError();
}

// Splits a CSV line into cells (quotes removed, "" inside quotes read as one), trimmed.
void splitLine(const QByteArray& line, char separator, std::string& buffer, std::vector<std::string_view>& cells)
{
    buffer.clear();
    std::vector<std::pair<size_t, size_t>> spans;
    size_t start = 0;
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quoted) {
            if (c == '"') {
                if (i + 1 < line.size() && line[i + 1] == '"') {
                    buffer.push_back('"');
                    ++i;
                } else {
                    quoted = false;
                }
            } else {
                buffer.push_back(c);
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == separator) {
            spans.push_back({start, buffer.size()});
            start = buffer.size();
        } else {
            buffer.push_back(c);
        }
    }
    spans.push_back({start, buffer.size()});
    cells.clear();
    for (auto [from, to] : spans) {
        while (from < to && (buffer[from] == ' ' || buffer[from] == '\t'))
            ++from;
        while (to > from && (buffer[to - 1] == ' ' || buffer[to - 1] == '\t' || buffer[to - 1] == '\r'))
            --to;
        cells.push_back(std::string_view(buffer).substr(from, to - from));
    }
}

bool blankLine(const std::vector<std::string_view>& cells)
{
    return std::all_of(cells.begin(), cells.end(), [](std::string_view c) { return c.empty(); });
}

bool LineSource::Next(QByteArray& line)
{
    for (;;) {
        const qsizetype end = buffer_.indexOf('\n', pos_);
        if (end >= 0) {
            line = buffer_.mid(pos_, end - pos_);
            pos_ = end + 1;
            return true;
        }
        buffer_.remove(0, pos_);
        pos_ = 0;
        const QByteArray more = device_.read(1 << 20);
        if (more.isEmpty()) {
            if (buffer_.isEmpty())
                return false;
            line = buffer_;
            buffer_.clear();
            return true;
        }
        buffer_.append(more);
    }
}

}  // namespace profiles::text
