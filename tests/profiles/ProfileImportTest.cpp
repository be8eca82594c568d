// Reading and checking profile files without a database: the names a file may use come from hand-made targets.
#include "host/profiles/ProfileImport.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>
#include <QStringList>
#include <random>

#include "support/TestSupport.h"

using namespace profiles;

namespace {
TMinute At(int y, int mo, int d, int h = 0, int mi = 0)
{
    return MinuteOf(QDateTime(QDate(y, mo, d), QTime(h, mi), Qt::UTC));
}

// Л-1 with the consumers "Дом 1" (101) and "Дом 2" (102), the pole "Опора 5" (103); Л-2 with "Дом 1" (201).
TProfileTargets Targets()
{
    TProfileTargets t;
    t.AddFider(100, "Л-1 ул. Лесная");
    t.AddNode(100, 101, "Дом 1", true);
    t.AddNode(100, 102, "Дом 2", true);
    t.AddNode(100, 103, "Опора 5", false);
    t.AddFider(200, "Л-2");
    t.AddNode(200, 201, "Дом 1", true);
    t.AddMeter("СЕ301-0001", 101);
    t.AddMeter("СЕ301-0002", 100);   // the head meter of Л-1
    t.AddMeter("СЕ301-0003", -777);  // a meter of another substation
    return t;
}

std::vector<TProfileInterval> Intervals()
{
    return {{1, "2025г.", At(2025, 1, 1), At(2026, 1, 1)},
            {2, "1 марта 2025", At(2025, 3, 1), At(2025, 3, 2)},
            {3, "30 марта 2025", At(2025, 3, 30), At(2025, 3, 31)},
            {4, "26 октября 2025", At(2025, 10, 26), At(2025, 10, 27)}};
}

// Lines of one consumer for a day from 00:00 with the given step, values 0.1·(i+1) with a decimal comma.
QStringList Day(const QString& fider, const QString& node, const QDate& day, int step)
{
    QStringList lines;
    for (int i = 0; i < 24 * 60 / step; ++i) {
        const QDateTime t(day, QTime(0, 0).addSecs(i * step * 60));
        lines << QStringLiteral("%1;%2;%3;%4")
                     .arg(fider, node, t.toString("dd.MM.yyyy HH:mm"),
                          QString::number(0.1 * (i + 1), 'f', 1).replace('.', ','));
    }
    return lines;
}

TProfileImport Read(const QStringList& lines, int sample = 0)
{
    return ReadProfileText((lines.join('\n') + '\n').toUtf8(), Targets(), Intervals(), sample);
}

const QString kHeader = "Линия;Узел;Дата и время;кВт·ч";
}  // namespace

TEST(ProfileCodec, KeepsEveryDecimalValueAndRefusesDamagedBytes)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> units(0, 5'000'000);
    std::vector<double> values;
    for (int i = 0; i < 17520; ++i)
        values.push_back(units(random) / 1000.0);
    values[5] = 0;
    values[6] = 1234567.891;
    const QByteArray bytes = EncodeValues(values, 3);
    // Household values of a few kWh in Wh: about three bytes a step, far under the eight of a double.
    EXPECT_LT(bytes.size(), 17520 * 4);
    std::vector<double> back;
    ASSERT_TRUE(DecodeValues(bytes, back));
    ASSERT_EQ(back.size(), values.size());
    for (size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(back[i], values[i]) << i;  // exact: the same decimal text gives the same double

    EXPECT_FALSE(DecodeValues(bytes.left(bytes.size() - 1), back));  // cut short
    QByteArray longer = bytes;
    longer.append('\x01');
    EXPECT_FALSE(DecodeValues(longer, back));  // more than it says
    QByteArray version = bytes;
    version[0] = 9;
    EXPECT_FALSE(DecodeValues(version, back));
    EXPECT_FALSE(DecodeValues(QByteArray("\x01\x03\xff\xff\xff\xff\x0f", 7), back));  // a count beyond the bytes
    const char number[] = "12,345";
    EXPECT_EQ(DecimalsOfText(number, number + 6), 3);
}

TEST(ProfileImport, AFileOfConsumersAndAHeadMeterBecomesOneSeriesEach)
{
    QStringList lines{kHeader + ";квар·ч"};
    // Half-hour steps of one day, in an order of its own: the file is sorted by consumer, not by time.
    QStringList dom1 = Day("Л-1 ул. Лесная", "Дом 1", QDate(2025, 3, 1), 30);
    std::reverse(dom1.begin(), dom1.end());
    for (QString& l : dom1)
        l += ";0,05";
    QStringList head = Day("л-1  ул. лесная", "тп", QDate(2025, 3, 1), 30);  // case and spaces aside
    for (QString& l : head)
        l += ";0,2";
    lines << dom1 << head;
    const TProfileImport r = Read(lines);
    ASSERT_TRUE(r.Ok()) << r.ProblemTexts().join('\n').toStdString();
    EXPECT_EQ(r.Interval.Ident, 2);  // the shortest interval that holds every step
    EXPECT_EQ(r.Lines, 96);
    ASSERT_EQ(r.Profiles.size(), 2u);
    const TStoredProfile& consumer = r.Profiles[0];
    EXPECT_EQ(consumer.Kind, TProfileKind::Consumer);
    EXPECT_EQ(consumer.Guid, 101);
    EXPECT_EQ(consumer.FiderGuid, 100);
    EXPECT_EQ(consumer.Series.Start, At(2025, 3, 1));
    EXPECT_EQ(consumer.Series.StepMinutes, 30);
    ASSERT_EQ(consumer.Series.Steps(), 48);
    EXPECT_DOUBLE_EQ(consumer.Series.Active[0], 0.1);
    EXPECT_DOUBLE_EQ(consumer.Series.Active[47], 4.8);
    // 0.1 + 0.2 + … + 4.8 = 0.1 · 48 · 49 / 2
    EXPECT_NEAR(consumer.Series.SumActive(), 117.6, 1e-9);
    EXPECT_NEAR(consumer.Series.SumReactive(), 48 * 0.05, 1e-12);
    EXPECT_EQ(consumer.Series.Decimals, 2);
    EXPECT_EQ(r.Profiles[1].Kind, TProfileKind::Head);
    EXPECT_EQ(r.Profiles[1].Guid, 100);
}

TEST(ProfileImport, CommasIsoTimesMetersAndWindows1251AreReadAsMeteringSystemsWriteThem)
{
    // "," as separator with decimal points, ISO times with a fixed offset, meters instead of names.
    QStringList lines{"Счетчик,Дата и время,кВт·ч"};
    for (int h = 0; h < 24; ++h) {
        lines << QStringLiteral("СЕ301-0001,2025-03-01T%1:00+03:00,1.5").arg(h, 2, 10, QChar('0'));
        lines << QStringLiteral("\"се301-0002\",2025-03-01 %1:00,\"2,5\"").arg(h, 2, 10, QChar('0'));
    }
    const TProfileImport r = Read(lines);
    ASSERT_TRUE(r.Ok()) << r.ProblemTexts().join('\n').toStdString();
    ASSERT_EQ(r.Profiles.size(), 2u);
    EXPECT_EQ(r.Profiles[0].Guid, 101);
    EXPECT_EQ(r.Profiles[0].Series.StepMinutes, 60);
    EXPECT_DOUBLE_EQ(r.Profiles[0].Series.SumActive(), 36.0);
    EXPECT_EQ(r.Profiles[1].Kind, TProfileKind::Head);
    EXPECT_DOUBLE_EQ(r.Profiles[1].Series.SumActive(), 60.0);

    // The same names in Windows-1251, with a byte-order mark-less header and CR LF line ends.
    QString text = kHeader + "\r\n";
    for (const QString& l : Day("Л-2", "Дом 1", QDate(2025, 3, 1), 60))
        text += l + "\r\n";
    QByteArray cp1251;
    for (QChar c : text) {
        const ushort u = c.unicode();
        cp1251.append(u < 0x80 ? char(u) : u == 0x00B7 ? char(0xB7) : char(0xC0 + (u - 0x0410)));
    }
    const TProfileImport w = ReadProfileText(cp1251, Targets(), Intervals(), 0);
    ASSERT_TRUE(w.Ok()) << w.ProblemTexts().join('\n').toStdString();
    ASSERT_EQ(w.Profiles.size(), 1u);
    EXPECT_EQ(w.Profiles[0].Guid, 201);
    EXPECT_NEAR(w.Profiles[0].Series.SumActive(), 0.1 * 24 * 25 / 2, 1e-9);
}

TEST(ProfileImport, EveryKindOfBadLineIsNamedWithItsLineAndNothingIsKept)
{
    QStringList lines{kHeader};
    lines << Day("Л-1 ул. Лесная", "Дом 1", QDate(2025, 3, 1), 60);  // lines 2-25, good
    lines[5] = "Л-1 ул. Лесная;Дом 1;01.03.2025 04:00;-0,5";         // line 6: negative
    lines[6] = "Л-1 ул. Лесная;Дом 1;01.03.2025 05:00;пять";         // line 7: not a number
    lines[7] = "Л-1 ул. Лесная;Дом 1;1.3.2025 6:00;1";               // line 8: not a date
    lines << "Л-3;Дом 1;01.03.2025 00:00;1"                          // 26: unknown feeder
          << "Л-1 ул. Лесная;Дом 9;01.03.2025 00:00;1"               // 27: unknown node
          << "Л-1 ул. Лесная;Опора 5;01.03.2025 00:00;1"             // 28: not a consumer
          << "Л-1 ул. Лесная;Дом 1;02.03.2025 00:00;1";              // 29: outside the interval
    // Дом 2: a gap of two hours, a repeated step and 30-minute steps from the afternoon.
    QStringList dom2 = Day("Л-1 ул. Лесная", "Дом 2", QDate(2025, 3, 1), 60);
    dom2.removeAt(10);  // 10:00
    dom2.removeAt(10);  // 11:00
    dom2.insert(3, dom2[3]);
    lines << dom2;  // lines 30-52: 03:00 at 33 and 34, 09:00 at 40, 12:00 at 41
    for (int m = 30; m < 12 * 60; m += 30)
        lines << QStringLiteral("Л-2;Дом 1;01.03.2025 %1:%2;1")
                     .arg(12 + m / 60, 2, 10, QChar('0'))
                     .arg(m % 60, 2, 10, QChar('0'));
    const TProfileImport r = Read(lines, 2);
    EXPECT_TRUE(r.Profiles.empty());
    const QStringList texts = r.ProblemTexts();
    auto has = [&](const QString& text) {
        return std::any_of(texts.begin(), texts.end(), [&](const QString& t) { return t.startsWith(text); });
    };
    EXPECT_TRUE(has("строка 6: отрицательная энергия -0,5")) << texts.join('\n').toStdString();
    EXPECT_TRUE(has("строка 7: неверное число «пять»"));
    EXPECT_TRUE(has("строка 8: неверные дата и время «1.3.2025 6:00»"));
    EXPECT_TRUE(has("строка 26: в ТП нет линии «Л-3»"));
    EXPECT_TRUE(has("строка 27: неизвестный абонент: на линии «Л-1 ул. Лесная» нет узла «Дом 9»"));
    EXPECT_TRUE(has("строка 28: узел «Опора 5» линии «Л-1 ул. Лесная» — не абонент"));
    EXPECT_TRUE(has("строка 29: Л-1 ул. Лесная, Дом 1: шаг 02.03.2025 00:00 вне расчетного периода «1 марта 2025»"));
    EXPECT_TRUE(has("строка 34: Л-1 ул. Лесная, Дом 2: шаг 01.03.2025 03:00 повторен (строка 33)"));
    EXPECT_TRUE(has("строка 41: Л-1 ул. Лесная, Дом 2: пропуск: нет шагов с 01.03.2025 10:00 по 01.03.2025 12:00"));
    // Дом 1 lost 04:00-06:00 to its bad lines: a gap too, at the line after it.
    EXPECT_TRUE(has("строка 9: Л-1 ул. Лесная, Дом 1: пропуск: нет шагов с 01.03.2025 04:00 по 01.03.2025 07:00"));
    // Л-2 Дом 1 starts at noon with 30-minute steps: the morning is a gap.
    EXPECT_TRUE(has("строка 53: Л-2, Дом 1: пропуск: нет шагов с 01.03.2025 00:00 по 01.03.2025 12:30"));
    EXPECT_EQ(r.ProblemCount, texts.size());

    // Mixed steps of one consumer: hourly in the morning, half-hourly from noon.
    QStringList mixed{kHeader};
    for (int h = 0; h < 12; ++h)
        mixed << QStringLiteral("Л-2;Дом 1;01.03.2025 %1:00;1").arg(h, 2, 10, QChar('0'));
    for (int m = 0; m < 12 * 60; m += 30)
        mixed << QStringLiteral("Л-2;Дом 1;01.03.2025 %1:%2;1")
                     .arg(12 + m / 60, 2, 10, QChar('0'))
                     .arg(m % 60, 2, 10, QChar('0'));
    const TProfileImport m = Read(mixed, 2);
    ASSERT_EQ(m.ProblemTexts().size(), 1) << m.ProblemTexts().join('\n').toStdString();
    EXPECT_EQ(m.ProblemTexts()[0],
              "строка 2: Л-2, Дом 1: разные шаги у одного абонента: 30 мин, а с этой строки 60 мин");

    // A step that does not divide an hour.
    QStringList odd{kHeader};
    for (int m = 0; m < 24 * 60; m += 45)
        odd << QStringLiteral("Л-2;Дом 1;01.03.2025 %1:%2;1")
                   .arg(m / 60, 2, 10, QChar('0'))
                   .arg(m % 60, 2, 10, QChar('0'));
    EXPECT_EQ(Read(odd, 2).ProblemTexts().value(0),
              "строка 3: Л-2, Дом 1: шаг 45 мин не допускается (шаг от 1 до 60 мин, целое число шагов в часе)");
}

TEST(ProfileImport, AClockMovedToSummerOrWinterTimeIsNamedAsSuch)
{
    // 30 March 2025, the last Sunday of March: a meter on summer time skips 02:00 (the line of 03:00 says so).
    QStringList spring{kHeader};
    spring << Day("Л-2", "Дом 1", QDate(2025, 3, 30), 60);
    spring.removeAt(3);
    EXPECT_EQ(Read(spring, 3).ProblemTexts(),
              QStringList{"строка 4: Л-2, Дом 1: переход на летнее время: нет часа 30.03.2025 02:00; графики "
                          "принимаются без перехода на летнее время"});
    // 26 October 2025: the hour 02:00 comes twice.
    QStringList autumn{kHeader};
    autumn << Day("Л-2", "Дом 1", QDate(2025, 10, 26), 30);
    autumn.insert(7, autumn[5]);
    autumn.insert(8, autumn[6]);
    EXPECT_EQ(Read(autumn, 4).ProblemTexts(),
              QStringList{"строка 8: Л-2, Дом 1: переход на зимнее время: час 26.10.2025 02:00 повторен; графики "
                          "принимаются без перехода на летнее время"});
    // The same hour on any other day is a plain gap.
    QStringList plain{kHeader};
    plain << Day("Л-2", "Дом 1", QDate(2025, 3, 1), 60);
    plain.removeAt(3);
    EXPECT_TRUE(
        Read(plain, 2).ProblemTexts().value(0).contains("пропуск: нет шагов с 01.03.2025 02:00 по 01.03.2025 03:00"));
    // ISO times whose offset changes in the file.
    QStringList offsets{"Линия;Узел;Дата и время;кВт·ч", "Л-2;Дом 1;2025-03-30T01:00+01:00;1",
                        "Л-2;Дом 1;2025-03-30T03:00+02:00;1"};
    EXPECT_TRUE(
        Read(offsets, 3).ProblemTexts().filter("переход на летнее или зимнее время").value(0).startsWith("строка 3: "));
}

TEST(ProfileImport, AFileWithoutItsHeaderOrLinesOrIntervalIsRefusedWhole)
{
    EXPECT_EQ(Read({"Л-2;Дом 1;01.03.2025 00:00;1"}).ProblemTexts().value(0),
              "строка 1: первая строка должна быть заголовком: «Линия;Узел;Дата и время;кВт·ч[;квар·ч]» или "
              "«Счетчик;Дата и время;кВт·ч[;квар·ч]»");
    EXPECT_EQ(Read({kHeader}).ProblemTexts(), QStringList{"файл: в файле нет строк с показаниями"});
    EXPECT_EQ(Read({}).ProblemTexts(), QStringList{"файл: файл пуст"});
    EXPECT_EQ(Read({kHeader, "Л-2;Дом 1;01.03.2024 00:00;1"}).ProblemTexts().value(0),
              "файл: нет расчетного периода, в который входят все шаги файла (с 01.03.2024 00:00 по 01.03.2024 "
              "00:00); укажите период (--sample)");
    EXPECT_EQ(Read({kHeader, "Л-2;Дом 1;01.03.2025 00:00;1"}, 99).ProblemTexts().value(0),
              "файл: нет расчетного периода 99");
    // Meters that are unknown or belong elsewhere.
    const TProfileImport m =
        Read({"Счетчик;Дата и время;кВт·ч", "X-1;01.03.2025 00:00;1", "СЕ301-0003;01.03.2025 00:00;1"}, 2);
    EXPECT_EQ(m.ProblemTexts().value(0), "строка 2: неизвестный счетчик «X-1»");
    EXPECT_EQ(m.ProblemTexts().value(1), "строка 3: счетчик «СЕ301-0003» не относится к абонентам и линиям ТП");
}

TEST(ProfileImport, AMillionBadLinesListTheFirstThousandAndCountTheRest)
{
    QByteArray text = kHeader.toUtf8() + '\n';
    for (int i = 0; i < 5000; ++i)
        text += "Л-9;Дом 1;01.03.2025 00:00;1\n";
    const TProfileImport r = ReadProfileText(text, Targets(), Intervals(), 2);
    EXPECT_EQ(r.ProblemCount, 5000);
    ASSERT_EQ(r.Problems.size(), size_t(kMaxListedProblems));
    EXPECT_EQ(r.Problems.front().Line, 2);
    EXPECT_EQ(r.Problems.back().Line, kMaxListedProblems + 1);
    EXPECT_EQ(r.ProblemTexts().back(), "… и еще ошибок: 4000");
}
