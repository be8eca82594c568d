#include "normative/NormativeJson.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "support/TestSupport.h"

using namespace testing_support;

namespace {
QJsonObject calc(const QByteArray& line)
{
    return QJsonDocument::fromJson(normative::CalculateJsonLine(line)).object();
}
}  // namespace

TEST(NormativeJson, ResultsOfTheMethodWorkedByHand)
{
    const QByteArray input =
        R"({"Wa":123.4,"Wa_bus":7.5,"T":8784,"Unom":1,"CosFi":0.87,"F":70,"NLines":3,"dp":0.63,"dn":0.12,)"
        R"("kzap":0.41,"Lma":1.2,"Lms":0.3,"L23a":0.8,"L23ia":0.1,"L1m":0.25,"L1is":0.05,"Info":9})";
    const QJsonObject out = calc(input);
    // Net supply 123.4 − 7.5; steel counts four times and copper 0.6 times aluminium; a building input adds to its
    // line of the same kind and material: Lm = 1.2 + 4·0.3, L23 = 0.8 + 0.1, L1 = 4·0.05 + 0.6·0.25.
    EXPECT_NEAR(out["WaNet"].toDouble(), 115.9, 1e-12);
    EXPECT_NEAR(out["Lm"].toDouble(), 2.4, 1e-12);
    EXPECT_NEAR(out["L23"].toDouble(), 0.9, 1e-12);
    EXPECT_NEAR(out["L1"].toDouble(), 0.35, 1e-12);
    EXPECT_NEAR(out["Lekv"].toDouble(), 2.4 + 0.44 * 0.9 + 0.22 * 0.35, 1e-12);  // 2.873
    EXPECT_EQ(out["ku"].toDouble(), 3);                                          // 220/127
    // k038 = 3 · (7.78 − 2.67·0.63 − 1.48·0.63²) · (1.25 + 0.14·0.63) = 3 · 6.0085588 · 1.3382
    EXPECT_NEAR(out["k038"].toDouble(), 22.1224051248, 1e-9);
    // w = 115.9 / 3 · 0.88, D = 70 · 8784 / 24 = 25620:
    // ΔW = 22.1224051248 · w² / 0.87² · 2.873 / 25620 · 1.82 / 1.23 = 5.6053962665 thousand kWh
    EXPECT_NEAR(out["deltaWa"].toDouble(), 5.6053962665, 1e-9);
    EXPECT_NEAR(out["deltaWaPercent"].toDouble(), 5.6053962665 / 123.4 * 100, 1e-8);  // of the whole Wa
    // j = 115.9 · 0.88 · 1000 / (√3 · 8784 · 0.22 · 3 · 70 · 0.87)
    EXPECT_NEAR(out["CurrentDensity"].toDouble(), 0.166783055321, 1e-11);
    EXPECT_NEAR(out["TotalLength"].toDouble(), 2.7, 1e-12);  // every positive length, building inputs too
    EXPECT_NEAR(out["AverageLength"].toDouble(), 0.9, 1e-12);
    const QJsonArray lengths = out["Lengths"].toArray();
    ASSERT_EQ(lengths.size(), 31);
    // A few places of the lengths table: Lm, the aluminium total of two/three-phase branches, L1, Lekv.
    EXPECT_NEAR(lengths[3].toDouble(), 2.4, 1e-12);
    EXPECT_NEAR(lengths[6].toDouble(), 0.9, 1e-12);
    EXPECT_NEAR(lengths[27].toDouble(), 0.35, 1e-12);
    EXPECT_NEAR(lengths[30].toDouble(), 2.873, 1e-12);
    EXPECT_EQ(out["Message"].toString(), "Расчет выполнен");
    // Numbers in their shortest exact form: 1.2 + 4·0.3 is the double nearest 2.4 and is written so.
    const QByteArray line = normative::CalculateJsonLine(input);
    EXPECT_TRUE(line.contains("\"Lm\":2.4,")) << line.constData();
    EXPECT_TRUE(line.contains("\"ku\":3,")) << line.constData();
}

TEST(NormativeJson, DefaultsValidationAndErrorLines)
{
    QJsonObject out = calc("{}");
    EXPECT_EQ(out["deltaWa"].toDouble(), -1);
    EXPECT_EQ(out["Message"].toString(), "Расчет не выполнен. Недостаточно исходных данных");
    EXPECT_EQ(out["TotalLength"].toDouble(), 0);

    // Out-of-range values go through the setters and become "not given".
    out = calc(R"({"Wa":100,"F":50,"dp":1.5,"dn":0.1,"Lma":1})");
    EXPECT_EQ(out["k038"].toDouble(), -1);
    EXPECT_EQ(out["deltaWa"].toDouble(), -1);
    out = calc(R"({"Wa":100,"F":50,"dp":0,"dn":0,"Lma":1,"T":null})");
    EXPECT_GT(out["deltaWa"].toDouble(), 0);  // null is the same as missing

    for (const QByteArray& bad :
         {QByteArray("not json"), QByteArray("[1,2]"), QByteArray(R"({"T":"x"})"), QByteArray(R"({"NLines":1.5})"),
          QByteArray(R"({"Wa":true})"), QByteArray(R"({"Lmа":1})")}) {
        out = calc(bad);
        EXPECT_TRUE(out.contains("Error")) << bad.toStdString();
        EXPECT_EQ(out.size(), 1);
    }
    EXPECT_EQ(calc(R"({"NLines":1.5})")["Error"].toString(), "Поле NLines должно быть целым числом");
    // kzap 0 divides by zero by design: the loss is not a number and is written as null.
    out = calc(R"({"Wa":100,"F":50,"dp":0,"dn":0,"Lma":1,"kzap":0})");
    EXPECT_TRUE(out["deltaWa"].isNull());
    EXPECT_EQ(out["Message"].toString(), "Расчет не сохранен. Потери электроэнергии превышают 100%");
}

TEST(NormativeJson, CommandLineAnswersLineByLine)
{
    const AppOutcome p =
        RunApp({"calc", "normative"}, {},
               "{\"Wa\":100,\"F\":50,\"dp\":0.5,\"dn\":0.1,\"Lma\":1}\n\nбез смысла\n{\"Unom\":1,\"dp\":0}\n");
    EXPECT_EQ(p.code, 0);
    const QList<QByteArray> lines = p.out.toUtf8().split('\n');
    ASSERT_EQ(lines.size(), 4);  // three answers and the final newline; the blank line is skipped
    EXPECT_EQ(QJsonDocument::fromJson(lines[0]).object()["Message"].toString(), "Расчет выполнен");
    EXPECT_TRUE(QJsonDocument::fromJson(lines[1]).object().contains("Error"));
    EXPECT_DOUBLE_EQ(QJsonDocument::fromJson(lines[2]).object()["k038"].toDouble(), 3 * 9.725);

    const QString text = RunApp({"--help"}).out;
    EXPECT_TRUE(text.contains("ozn3 calc normative"));
    EXPECT_TRUE(text.contains("ozn3 normative --db"));
}
