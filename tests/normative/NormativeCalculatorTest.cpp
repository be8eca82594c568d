#include "normative/NormativeCalculator.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include "normative/LVNormativUnit.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
QJsonObject calc(const QByteArray& line)
{
    return QJsonDocument::fromJson(normative::CalculateJsonLine(line)).object();
}
}  // namespace

TEST(NormativeCalculator, ResultsMatchTheModelToTheLastDigit)
{
    const QByteArray input =
        R"({"Wa":123.4,"Wa_bus":7.5,"T":8784,"Unom":1,"CosFi":0.87,"F":70,"NLines":3,"dp":0.63,"dn":0.12,)"
        R"("kzap":0.41,"Lma":1.2,"Lms":0.3,"L23a":0.8,"L23ia":0.1,"L1m":0.25,"L1is":0.05,"Info":9})";
    const QJsonObject out = calc(input);
    TLVNormativSample0 s;
    s.SetWa(123.4);
    s.SetWa_bus(7.5);
    s.SetT(8784);
    s.SetUnom(1);
    s.SetCosFi(0.87);
    s.SetF(70);
    s.SetNLines(3);
    s.Setdp(0.63);
    s.Setdn(0.12);
    s.Setkzap(0.41);
    s.SetLength(TLVNormativSample0::Lma, 1.2);
    s.SetLength(TLVNormativSample0::Lms, 0.3);
    s.SetLength(TLVNormativSample0::L23a, 0.8);
    s.SetLength(TLVNormativSample0::L23ia, 0.1);
    s.SetLength(TLVNormativSample0::L1m, 0.25);
    s.SetLength(TLVNormativSample0::L1is, 0.05);
    s.Info = 9;
    EXPECT_EQ(out["WaNet"].toDouble(), s.WaNet());
    EXPECT_EQ(out["Lm"].toDouble(), s.Lm());
    EXPECT_EQ(out["L23"].toDouble(), s.L23());
    EXPECT_EQ(out["L1"].toDouble(), s.L1());
    EXPECT_EQ(out["Lekv"].toDouble(), s.Lekv());
    EXPECT_EQ(out["ku"].toDouble(), 3);
    EXPECT_EQ(out["k038"].toDouble(), s.k038());
    EXPECT_EQ(out["deltaWa"].toDouble(), s.deltaWa());
    EXPECT_EQ(out["deltaWaPercent"].toDouble(), s.deltaWaPercent());
    EXPECT_EQ(out["CurrentDensity"].toDouble(), s.CurrentDensity());
    EXPECT_EQ(out["TotalLength"].toDouble(), s.TotalLength());
    EXPECT_EQ(out["AverageLength"].toDouble(), s.AverageLength());
    const QJsonArray lengths = out["Lengths"].toArray();
    ASSERT_EQ(lengths.size(), 31);
    for (int i = 0; i < 31; ++i)
        EXPECT_EQ(lengths[i].toDouble(), s.GetLengths(i)) << i;
    EXPECT_EQ(out["Message"].toString(), "Расчет выполнен");
    // 17 significant digits: the text reads back to the same double.
    EXPECT_TRUE(normative::CalculateJsonLine(input).contains("\"Lm\":2.3999999999999999"));
}

TEST(NormativeCalculator, DefaultsValidationAndErrorLines)
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

TEST(NormativeCalculator, CommandLineAnswersLineByLine)
{
    QProcess p;
    p.start(AppPath(), {"calc", "normative"});
    ASSERT_TRUE(p.waitForStarted());
    p.write("{\"Wa\":100,\"F\":50,\"dp\":0.5,\"dn\":0.1,\"Lma\":1}\n\nбез смысла\n{\"Unom\":1,\"dp\":0}\n");
    p.closeWriteChannel();
    ASSERT_TRUE(p.waitForFinished(30000));
    EXPECT_EQ(p.exitCode(), 0);
    const QList<QByteArray> lines = p.readAllStandardOutput().split('\n');
    ASSERT_EQ(lines.size(), 4);  // three answers and the final newline; the blank line is skipped
    EXPECT_EQ(QJsonDocument::fromJson(lines[0]).object()["Message"].toString(), "Расчет выполнен");
    EXPECT_TRUE(QJsonDocument::fromJson(lines[1]).object().contains("Error"));
    EXPECT_DOUBLE_EQ(QJsonDocument::fromJson(lines[2]).object()["k038"].toDouble(), 3 * 9.725);

    QProcess help;
    help.start(AppPath(), {"--help"});
    ASSERT_TRUE(help.waitForFinished(30000));
    const QString text = QString::fromUtf8(help.readAllStandardOutput());
    EXPECT_TRUE(text.contains("ozn3 calc normative"));
    EXPECT_TRUE(text.contains("ozn3 normative --db"));
}
