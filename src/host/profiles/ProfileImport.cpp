#include "host/profiles/ProfileImport.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <map>
#include <optional>
#include <tuple>

#include "host/XlsxReader.h"
#include "host/scheme/SchemeBook.h"

namespace profiles {

namespace {
constexpr int kNoOffset = INT_MIN;
constexpr const char* kHeadNode = "ТП";
const QString kFormat = QStringLiteral("ожидается ДД.ММ.ГГГГ ЧЧ:ММ или ГГГГ-ММ-ДДTЧЧ:ММ");

QString Key(const QString& name) { return scheme::NameKey(name); }
QString Text(std::string_view s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

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

// Captions compared without case, spaces, dots and the signs users put between kW and h.
QString captionKey(std::string_view cell)
{
    QString key = Text(cell).toLower();
    key.replace(QChar(0x0451), QChar(0x0435));  // ё
    QString out;
    for (QChar c : key)
        if (!c.isSpace() && c != QLatin1Char('.') && c != QLatin1Char('*') && c != QChar(0x00B7) &&
            c != QChar(0x22C5) && c != QLatin1Char('-'))
            out.append(c);
    return out;
}

struct Reading {
    TMinute minute;
    int line;
    double active, reactive;  // reactive NaN where the line gives none
    int decimals;
};

struct Columns {
    int fider = -1, node = -1, meter = -1, time = -1, active = -1, reactive = -1, count = 0;
};

class Collector {
public:
    Collector(const TProfileTargets& targets, TProfileImport& result)
        : targets_(targets), result_(result), readings_(targets.Count())
    {
    }

    bool HasHeader() const { return columns_.time >= 0; }

    // The header line; false (with a problem) when it is not one.
    bool Header(const std::vector<std::string_view>& cells, int line)
    {
        Columns c;
        c.count = static_cast<int>(cells.size());
        for (int i = 0; i < c.count; ++i) {
            const QString key = captionKey(cells[i]);
            int* column = key == QStringLiteral("линия")        ? &c.fider
                          : key == QStringLiteral("узел")       ? &c.node
                          : key == QStringLiteral("счетчик")    ? &c.meter
                          : key == QStringLiteral("датаивремя") ? &c.time
                          : key == QStringLiteral("квтч")       ? &c.active
                          : key == QStringLiteral("кварч")      ? &c.reactive
                                                                : nullptr;
            if (column && *column < 0)
                *column = i;
        }
        const bool named = c.fider >= 0 && c.node >= 0;
        if ((!named && c.meter < 0) || c.time < 0 || c.active < 0) {
            Problem(line, 0,
                    QStringLiteral("первая строка должна быть заголовком: «Линия;Узел;Дата и время;кВт·ч[;квар·ч]» "
                                   "или «Счетчик;Дата и время;кВт·ч[;квар·ч]»"));
            return false;
        }
        if (named)
            c.meter = -1;
        columns_ = c;
        return true;
    }

    void Row(const std::vector<std::string_view>& cells, int line)
    {
        ++result_.Lines;
        if (static_cast<int>(cells.size()) > columns_.count) {
            Problem(line, 0,
                    QStringLiteral("полей больше, чем в заголовке (%1): при разделителе «,» десятичные числа пишут с "
                                   "точкой или в кавычках")
                        .arg(columns_.count));
            return;
        }
        auto cell = [&](int column) {
            return column >= 0 && column < static_cast<int>(cells.size()) ? cells[column] : std::string_view();
        };
        const int target = Target(cell(columns_.fider), cell(columns_.node), cell(columns_.meter), line);
        Reading r{0, line, 0, std::nan(""), 0};
        int offset = kNoOffset;
        bool ok = target >= 0;
        const std::string_view time = cell(columns_.time);
        if (!parseTime(time, r.minute, offset)) {
            Problem(line, columns_.time + 1,
                    QStringLiteral("неверные дата и время «%1» (%2)").arg(Text(time), kFormat));
            ok = false;
        } else if (offset != kNoOffset) {
            if (offset_ == kNoOffset) {
                offset_ = offset;
            } else if (offset != offset_) {
                Problem(line, columns_.time + 1,
                        QStringLiteral("переход на летнее или зимнее время: смещение от UTC %1 вместо %2 мин "
                                       "(графики принимаются в одном поясном времени)")
                            .arg(offset)
                            .arg(offset_));
                ok = false;
            }
        }
        ok = Value(cell(columns_.active), line, columns_.active, r.active, &r.decimals) && ok;
        if (columns_.reactive >= 0 && !cell(columns_.reactive).empty()) {
            int decimals = 0;
            ok = Value(cell(columns_.reactive), line, columns_.reactive, r.reactive, &decimals) && ok;
            r.decimals = std::max(r.decimals, decimals);
        }
        if (ok)
            readings_[target].push_back(r);
    }

    void Problem(int line, int column, const QString& text)
    {
        ++result_.ProblemCount;
        // The listed problems are those of the first lines: a heap whose top is the last line kept.
        auto& heap = result_.Problems;
        auto later = [](const TImportProblem& a, const TImportProblem& b) { return a.Line < b.Line; };
        if (static_cast<int>(heap.size()) < kMaxListedProblems) {
            heap.push_back({line, column, text});
            std::push_heap(heap.begin(), heap.end(), later);
        } else if (line < heap.front().Line) {
            std::pop_heap(heap.begin(), heap.end(), later);
            heap.back() = {line, column, text};
            std::push_heap(heap.begin(), heap.end(), later);
        }
    }

    void Finish(const std::vector<TProfileInterval>& intervals, int sampleIdent)
    {
        if (HasHeader() && result_.Lines == 0 && result_.ProblemCount == 0)
            Problem(0, 0, QStringLiteral("в файле нет строк с показаниями"));
        if (!HasHeader() && result_.ProblemCount == 0)
            Problem(0, 0, QStringLiteral("файл пуст"));
        if (Interval(intervals, sampleIdent))
            for (int t = 0; t < targets_.Count(); ++t)
                if (!readings_[t].empty())
                    Check(t);
        std::sort(result_.Problems.begin(), result_.Problems.end(),
                  [](const TImportProblem& a, const TImportProblem& b) {
                      return std::tie(a.Line, a.Column, a.Text) < std::tie(b.Line, b.Column, b.Text);
                  });
        if (result_.ProblemCount)
            result_.Profiles.clear();
        std::sort(result_.Profiles.begin(), result_.Profiles.end(),
                  [](const TStoredProfile& a, const TStoredProfile& b) {
                      return std::tie(a.FiderGuid, a.Kind, a.Guid) < std::tie(b.FiderGuid, b.Kind, b.Guid);
                  });
    }

private:
    bool Value(std::string_view text, int line, int column, double& value, int* decimals)
    {
        if (!parseNumber(text, value, *decimals)) {
            Problem(line, column + 1,
                    text.empty() ? QStringLiteral("не задана энергия")
                                 : QStringLiteral("неверное число «%1»").arg(Text(text)));
            return false;
        }
        if (value < 0) {
            Problem(line, column + 1, QStringLiteral("отрицательная энергия %1").arg(Text(text)));
            return false;
        }
        return true;
    }

    int Target(std::string_view fider, std::string_view node, std::string_view meter, int line)
    {
        QByteArray key;
        key.reserve(static_cast<qsizetype>(fider.size() + node.size() + meter.size() + 2));
        key.append(fider.data(), static_cast<qsizetype>(fider.size())).append('\x1f');
        key.append(node.data(), static_cast<qsizetype>(node.size())).append('\x1f');
        key.append(meter.data(), static_cast<qsizetype>(meter.size()));
        auto it = cache_.constFind(key);
        if (it == cache_.constEnd()) {
            QString why;
            const int target = columns_.meter >= 0 ? targets_.FindMeter(Text(meter), why)
                                                   : targets_.Find(Text(fider), Text(node), why);
            it = cache_.insert(key, {target, why});
        }
        if (it->first < 0)
            Problem(line, columns_.meter >= 0 ? columns_.meter + 1 : columns_.node + 1, it->second);
        return it->first;
    }

    bool Interval(const std::vector<TProfileInterval>& intervals, int sampleIdent)
    {
        if (sampleIdent) {
            for (const TProfileInterval& i : intervals)
                if (i.Ident == sampleIdent) {
                    result_.Interval = i;
                    return true;
                }
            Problem(0, 0, QStringLiteral("нет расчетного периода %1").arg(sampleIdent));
            return false;
        }
        TMinute first = std::numeric_limits<TMinute>::max(), last = std::numeric_limits<TMinute>::min();
        for (const auto& list : readings_)
            for (const Reading& r : list) {
                first = std::min(first, r.minute);
                last = std::max(last, r.minute);
            }
        if (first > last)
            return false;
        const TProfileInterval* best = nullptr;
        for (const TProfileInterval& i : intervals)
            if (i.Start <= first && last < i.End && (!best || i.End - i.Start < best->End - best->Start))
                best = &i;
        result_.FirstStep = first;
        result_.LastStep = last;
        if (!best) {
            result_.NoInterval = true;
            Problem(0, 0,
                    QStringLiteral("нет расчетного периода, в который входят все шаги файла (с %1 по %2); "
                                   "укажите период (--sample)")
                        .arg(MinuteText(first), MinuteText(last)));
            return false;
        }
        result_.Interval = *best;
        return true;
    }

    // The step of a consumer: the commonest difference between its successive times.
    static int CommonStep(const std::vector<Reading>& list)
    {
        std::map<TMinute, int> counts;
        for (size_t i = 1; i < list.size(); ++i)
            if (list[i].minute > list[i - 1].minute)
                ++counts[list[i].minute - list[i - 1].minute];
        int step = 0, best = 0;
        for (const auto& [difference, count] : counts)
            if (count > best && difference <= INT_MAX) {
                best = count;
                step = static_cast<int>(difference);
            }
        return step;
    }

    void Check(int t)
    {
        std::vector<Reading>& list = readings_[t];
        std::stable_sort(list.begin(), list.end(),
                         [](const Reading& a, const Reading& b) { return a.minute < b.minute; });
        const TProfileInterval& interval = result_.Interval;
        const int before = result_.ProblemCount;
        const QString who = targets_.At(t).Title + QStringLiteral(": ");
        int step = CommonStep(list);
        if (step == 0)  // one step, or one time repeated
            step = static_cast<int>(std::min<TMinute>(60, interval.End - interval.Start));
        if (!IsStepMinutes(step)) {
            Problem(list[std::min<size_t>(1, list.size() - 1)].line, columns_.time + 1,
                    who + QStringLiteral("шаг %1 мин не допускается (шаг от 1 до 60 мин, целое число шагов в часе)")
                              .arg(step));
            return;
        }
        bool mixed = false;
        for (size_t i = 2; i < list.size() && !mixed; ++i) {
            const TMinute d1 = list[i - 1].minute - list[i - 2].minute, d2 = list[i].minute - list[i - 1].minute;
            if (d1 == d2 && d1 != step && d1 > 0) {
                Problem(list[i - 2].line, columns_.time + 1,
                        who + QStringLiteral("разные шаги у одного абонента: %1 мин, а с этой строки %2 мин")
                                  .arg(step)
                                  .arg(d1));
                mixed = true;
            }
        }
        const bool reactive = !std::isnan(list.front().reactive);
        TMinute expect = interval.Start;
        const Reading* previous = nullptr;
        bool misaligned = false;
        TMinute autumnDay = -1;
        for (const Reading& r : list) {
            if (r.minute < interval.Start || r.minute + step > interval.End) {
                Problem(
                    r.line, columns_.time + 1,
                    who +
                        QStringLiteral("шаг %1 вне расчетного периода %2").arg(MinuteText(r.minute), interval.Text()));
                continue;
            }
            if ((r.minute - interval.Start) % step != 0) {
                if (!misaligned && !mixed)
                    Problem(r.line, columns_.time + 1,
                            who + QStringLiteral("время %1 не на сетке шага %2 мин от начала периода")
                                      .arg(MinuteText(r.minute))
                                      .arg(step));
                misaligned = true;
                continue;
            }
            if (std::isnan(r.reactive) == reactive)
                Problem(r.line, columns_.reactive >= 0 ? columns_.reactive + 1 : 0,
                        who + (reactive
                                   ? QStringLiteral("нет реактивной энергии, хотя в других строках абонента она есть")
                                   : QStringLiteral("реактивная энергия есть не во всех строках абонента")));
            if (previous && previous->minute == r.minute) {
                if (InClockChangeHour(r.minute, false)) {
                    if (autumnDay != r.minute / 1440)
                        Problem(r.line, columns_.time + 1,
                                who + QStringLiteral("переход на зимнее время: час %1 повторен; графики принимаются "
                                                     "без перехода на летнее время")
                                          .arg(MinuteText(r.minute - r.minute % 60)));
                    autumnDay = r.minute / 1440;
                } else {
                    Problem(r.line, columns_.time + 1,
                            who + QStringLiteral("шаг %1 повторен (строка %2)")
                                      .arg(MinuteText(r.minute))
                                      .arg(previous->line));
                }
                continue;
            }
            if (r.minute > expect && !mixed)
                Gap(who, expect, r.minute, r.line);
            expect = r.minute + step;
            previous = &r;
        }
        if (expect < interval.End && !mixed && previous)
            Gap(who, expect, interval.End, list.back().line);
        if (result_.ProblemCount != before)
            return;
        Store(t, list, step, reactive);
    }

    void Gap(const QString& who, TMinute from, TMinute to, int line)
    {
        if (InClockChangeHour(from, true) && InClockChangeHour(to - 1, true) && from / 1440 == (to - 1) / 1440)
            Problem(line, columns_.time + 1,
                    who + QStringLiteral("переход на летнее время: нет часа %1; графики принимаются без перехода на "
                                         "летнее время")
                              .arg(MinuteText(from - from % 60)));
        else
            Problem(line, columns_.time + 1,
                    who + QStringLiteral("пропуск: нет шагов с %1 по %2").arg(MinuteText(from), MinuteText(to)));
    }

    void Store(int t, const std::vector<Reading>& list, int step, bool reactive)
    {
        const TProfileTargets::Target& target = targets_.At(t);
        TStoredProfile p;
        p.Kind = target.Kind;
        p.Guid = target.Guid;
        p.FiderGuid = target.FiderGuid;
        p.Series.Start = result_.Interval.Start;
        p.Series.StepMinutes = step;
        p.Series.Decimals = 0;
        p.Series.Active.reserve(list.size());
        for (const Reading& r : list) {
            p.Series.Active.push_back(r.active);
            if (reactive)
                p.Series.Reactive.push_back(r.reactive);
            p.Series.Decimals = std::max(p.Series.Decimals, r.decimals);
        }
        result_.Profiles.push_back(std::move(p));
        std::vector<Reading>().swap(readings_[t]);  // the readings go as the series come
    }

    const TProfileTargets& targets_;
    TProfileImport& result_;
    Columns columns_;
    std::vector<std::vector<Reading>> readings_;
    QHash<QByteArray, std::pair<int, QString>> cache_;
    int offset_ = kNoOffset;
};

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

// Reads lines from a device in blocks; the file is never held whole.
class LineSource {
public:
    explicit LineSource(QIODevice& device) : device_(device) {}
    bool Next(QByteArray& line)
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

private:
    QIODevice& device_;
    QByteArray buffer_;
    qsizetype pos_ = 0;
};

void readText(QIODevice& device, Collector& collector)
{
    LineSource source(device);
    QByteArray line;
    std::string buffer;
    std::vector<std::string_view> cells;
    char separator = ';';
    bool cp1251 = false, first = true;
    for (int number = 1; source.Next(line); ++number) {
        if (first && line.startsWith("\xEF\xBB\xBF"))
            line.remove(0, 3);
        if (cp1251 || (first && !validUtf8(line)))
            cp1251 = true;
        if (cp1251)
            line = utf8OfCp1251(line);
        if (!collector.HasHeader()) {
            if (line.trimmed().isEmpty())
                continue;
            separator = line.count(';') > 0 ? ';' : ',';
            splitLine(line, separator, buffer, cells);
            first = false;
            if (!collector.Header(cells, number))
                return;
            continue;
        }
        splitLine(line, separator, buffer, cells);
        if (!blankLine(cells))
            collector.Row(cells, number);
    }
}

// A cell of a sheet as the text a metering system would write: numbers in their shortest form, dates (numbers
// of days since 1899-12-30 in a time column) as "ГГГГ-ММ-ДД ЧЧ:ММ".
std::string cellText(const QVariant& value, bool timeColumn)
{
    if (!value.isValid())
        return {};
    if (value.typeId() == QMetaType::Double) {
        const double v = value.toDouble();
        if (timeColumn) {
            const TMinute minute = std::llround((v - 25569.0) * 1440.0);
            return TimeOfMinute(minute).toString(QStringLiteral("yyyy-MM-dd HH:mm")).toStdString();
        }
        return QString::number(v, 'f', QLocale::FloatingPointShortest).toStdString();
    }
    return value.toString().trimmed().toStdString();
}

void readWorkbook(const TXlsxWorkbook& book, Collector& collector, TProfileImport& result)
{
    result.Sheet = book.SheetNames().value(0);
    int timeColumn = -1;
    std::vector<std::string> texts;
    std::vector<std::string_view> cells;
    for (int row : book.RowNumbers(0)) {
        int width = 0;
        for (int c = 1; c <= 16; ++c)
            if (book.Cell(0, row, c).isValid())
                width = c;
        texts.assign(width, {});
        for (int c = 0; c < width; ++c)
            texts[c] = cellText(book.Cell(0, row, c + 1), c == timeColumn);
        cells.assign(texts.begin(), texts.end());
        if (blankLine(cells))
            continue;
        if (!collector.HasHeader()) {
            if (!collector.Header(cells, row))
                return;
            for (int c = 0; c < width; ++c)
                if (captionKey(cells[c]) == QStringLiteral("датаивремя"))
                    timeColumn = c;
            continue;
        }
        collector.Row(cells, row);
    }
}

QString columnLetters(int column)
{
    QString letters;
    for (; column > 0; column = (column - 1) / 26)
        letters.prepend(QChar('A' + (column - 1) % 26));
    return letters;
}
}  // namespace

QString TProfileInterval::Text() const
{
    return QStringLiteral("«%1» (%2 – %3)").arg(Name, MinuteText(Start), MinuteText(End));
}

void TProfileTargets::AddFider(int guid, const QString& name)
{
    fiders_[Key(name)] << guid;
    fiderNames_.insert(guid, name.simplified());
    byObject_.insert((qint64(TProfileKind::Head) << 32) | quint32(guid), static_cast<int>(targets_.size()));
    targets_.push_back(
        {TProfileKind::Head, guid, guid, name.simplified() + QStringLiteral(", ") + QString::fromUtf8(kHeadNode)});
}

void TProfileTargets::AddNode(int fiderGuid, int nodeGuid, const QString& name, bool consumer)
{
    nodes_[fiderGuid][Key(name)] << (consumer ? nodeGuid : -nodeGuid);
    if (!consumer)
        return;
    byObject_.insert((qint64(TProfileKind::Consumer) << 32) | quint32(nodeGuid), static_cast<int>(targets_.size()));
    targets_.push_back(
        {TProfileKind::Consumer, nodeGuid, fiderGuid, fiderNames_.value(fiderGuid) + QStringLiteral(", ") + name});
}

void TProfileTargets::AddMeter(const QString& name, int objectGuid)
{
    if (!name.trimmed().isEmpty())
        meters_[Key(name)] << objectGuid;
}

int TProfileTargets::TargetOf(int guid, TProfileKind kind) const
{
    return byObject_.value((qint64(kind) << 32) | quint32(guid), -1);
}

int TProfileTargets::Find(const QString& fider, const QString& node, QString& why) const
{
    const QList<int> fiders = fiders_.value(Key(fider));
    if (fiders.isEmpty()) {
        why = fider.trimmed().isEmpty() ? QStringLiteral("не указана линия")
                                        : QStringLiteral("в ТП нет линии «%1»").arg(fider.trimmed());
        return -1;
    }
    if (fiders.size() > 1) {
        why = QStringLiteral("в ТП несколько линий «%1»; укажите счетчик").arg(fider.trimmed());
        return -1;
    }
    if (Key(node) == Key(QString::fromUtf8(kHeadNode)))
        return TargetOf(fiders.front(), TProfileKind::Head);
    const QList<int> nodes = nodes_.value(fiders.front()).value(Key(node));
    if (nodes.isEmpty()) {
        why = node.trimmed().isEmpty() ? QStringLiteral("не указан узел")
                                       : QStringLiteral("неизвестный абонент: на линии «%1» нет узла «%2»")
                                             .arg(fider.trimmed(), node.trimmed());
        return -1;
    }
    if (nodes.front() < 0) {
        why = QStringLiteral("узел «%2» линии «%1» — не абонент").arg(fider.trimmed(), node.trimmed());
        return -1;
    }
    return TargetOf(nodes.front(), TProfileKind::Consumer);
}

int TProfileTargets::FindMeter(const QString& meter, QString& why) const
{
    const QList<int> objects = meters_.value(Key(meter));
    if (meter.trimmed().isEmpty()) {
        why = QStringLiteral("не указан счетчик");
        return -1;
    }
    int found = -1, count = 0;
    for (int guid : objects) {
        int t = TargetOf(guid, TProfileKind::Consumer);
        if (t < 0)
            t = TargetOf(guid, TProfileKind::Head);
        if (t >= 0) {
            found = t;
            ++count;
        }
    }
    if (count > 1)
        why = QStringLiteral("счетчик «%1» записан за несколькими абонентами ТП").arg(meter.trimmed());
    else if (count == 0)
        why = objects.isEmpty()
                  ? QStringLiteral("неизвестный счетчик «%1»").arg(meter.trimmed())
                  : QStringLiteral("счетчик «%1» не относится к абонентам и линиям ТП").arg(meter.trimmed());
    return count == 1 ? found : -1;
}

QStringList TProfileImport::ProblemTexts() const
{
    QStringList texts;
    for (const TImportProblem& p : Problems) {
        QString where;
        if (p.Line == 0)
            where = QStringLiteral("файл");
        else if (Sheet.isEmpty())
            where = QStringLiteral("строка %1").arg(p.Line);
        else
            where = QStringLiteral("%1!%2%3").arg(Sheet, p.Column ? columnLetters(p.Column) : QString()).arg(p.Line);
        texts << where + QStringLiteral(": ") + p.Text;
    }
    if (ProblemCount > static_cast<int>(Problems.size()))
        texts << QStringLiteral("… и еще ошибок: %1").arg(ProblemCount - Problems.size());
    return texts;
}

bool InClockChangeHour(TMinute minute, bool spring)
{
    const QDateTime t = TimeOfMinute(minute);
    const QDate d = t.date();
    if (d.month() != (spring ? 3 : 10) || d.dayOfWeek() != Qt::Sunday || d.day() + 7 <= 31 || t.time().hour() != 2)
        return false;
    return true;
}

TProfileImport ReadProfileText(const QByteArray& text, const TProfileTargets& targets,
                               const std::vector<TProfileInterval>& intervals, int sampleIdent)
{
    TProfileImport result;
    Collector collector(targets, result);
    QByteArray copy = text;
    QBuffer buffer(&copy);
    buffer.open(QIODevice::ReadOnly);
    readText(buffer, collector);
    collector.Finish(intervals, sampleIdent);
    return result;
}

TProfileImport ReadProfileFile(const QString& file, const TProfileTargets& targets,
                               const std::vector<TProfileInterval>& intervals, int sampleIdent)
{
    TProfileImport result;
    Collector collector(targets, result);
    if (QFileInfo(file).suffix().compare(QLatin1String("xlsx"), Qt::CaseInsensitive) == 0) {
        TXlsxWorkbook book;
        QString error;
        if (!book.Open(file, error)) {
            collector.Problem(0, 0, error);
            collector.Finish(intervals, sampleIdent);
            return result;
        }
        readWorkbook(book, collector, result);
    } else {
        QFile device(file);
        if (!device.open(QIODevice::ReadOnly)) {
            collector.Problem(0, 0, QStringLiteral("не удалось открыть %1: %2").arg(file, device.errorString()));
            return result;
        }
        readText(device, collector);
    }
    collector.Finish(intervals, sampleIdent);
    return result;
}

}  // namespace profiles
