// The two JSON Lines calculations refuse what the forms refuse, each with its reason, instead of computing.
#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>

#include "feeders/SampleCalcJson.h"
#include "normative/NormativeJson.h"
#include "support/TestSupport.h"

namespace {
QJsonObject Answer(QByteArray (*calculate)(const QByteArray&), const QByteArray& line)
{
    return QJsonDocument::fromJson(calculate(line)).object();
}

// A complete measurement of a feeder with one field replaced by a raw JSON value.
QByteArray Sample(const char* field, const char* value)
{
    QByteArray line = R"({"Ia":100,"Ib":90,"Ic":80,"Ua":230,"Ub":229,"Uc":231,"U2a":220,"U2b":219,"U2c":221,)"
                      R"("CosFi":0.9,"Rf":0.3,"Xf":0.1,"Rn":0.4,"Tmax":2500,"Krazv":0.8,"Knm":1.1})";
    const int at = line.indexOf(QByteArray("\"") + field + "\":");
    const int from = line.indexOf(':', at) + 1;
    int to = from;
    while (line[to] != ',' && line[to] != '}')
        ++to;
    return line.replace(from, to - from, value);
}
}  // namespace

TEST(CalcRanges, AFeederSampleOutOfRangeGetsAnErrorLine)
{
    // The unchanged measurement calculates.
    EXPECT_TRUE(Answer(&feeders::CalculateSampleJsonLine, Sample("Ia", "100")).contains("dW"));
    const std::pair<std::pair<const char*, const char*>, QString> cases[] = {
        {{"Ia", "-5"}, "Поле Ia не может быть отрицательным"},
        {{"Uc", "-231"}, "Поле Uc не может быть отрицательным"},
        {{"Rn", "-0.1"}, "Поле Rn не может быть отрицательным"},
        {{"CosFi", "5"}, "Коэффициент мощности CosFi должен быть больше 0 и не больше 1"},
        {{"CosFi", "0"}, "Коэффициент мощности CosFi должен быть больше 0 и не больше 1"},
        {{"Tmax", "-5"}, "Число часов Tmax должно быть от 0 до 8784"},
        {{"Tmax", "9000"}, "Число часов Tmax должно быть от 0 до 8784"},
    };
    for (const auto& [input, message] : cases) {
        const QJsonObject answer = Answer(&feeders::CalculateSampleJsonLine, Sample(input.first, input.second));
        EXPECT_EQ(answer.value("Error").toString(), message) << input.first << "=" << input.second;
    }
    // The limits themselves are taken.
    EXPECT_FALSE(Answer(&feeders::CalculateSampleJsonLine, Sample("CosFi", "1")).contains("Error"));
    EXPECT_FALSE(Answer(&feeders::CalculateSampleJsonLine, Sample("Tmax", "8784")).contains("Error"));
}

TEST(CalcRanges, ANormativeElementThatOverflowsGetsAnErrorLineNotOverOneHundredPercent)
{
    const QJsonObject overflow =
        Answer(&normative::CalculateJsonLine, R"({"Wa":1e308,"F":50,"dp":0.5,"dn":0.1,"Lma":1e308})");
    EXPECT_EQ(overflow.value("Error").toString(), "Расчет невозможен: исходные данные вне допустимого диапазона");
    // Losses truly above the energy supplied are still reported as such.
    const QJsonObject over =
        Answer(&normative::CalculateJsonLine, R"({"Wa":100,"F":1e-300,"dp":0.5,"dn":0.1,"Lma":1})");
    EXPECT_EQ(over.value("Message").toString(), "Расчет не сохранен. Потери электроэнергии превышают 100%");
}
