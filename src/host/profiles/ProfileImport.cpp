#include "host/profiles/ProfileImport.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <climits>
#include <cmath>
#include <map>
#include <tuple>

#include "host/XlsxReader.h"
#include "host/profiles/ProfileText.h"
#include "host/scheme/SchemeBook.h"

namespace profiles {

namespace {
using namespace text;
constexpr const char* kHeadNode = "ТП";
const QString kFormat = QStringLiteral("ожидается ДД.ММ.ГГГГ ЧЧ:ММ или ГГГГ-ММ-ДДTЧЧ:ММ");

QString Key(const QString& name) { return scheme::NameKey(name); }
QString Text(std::string_view s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

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
