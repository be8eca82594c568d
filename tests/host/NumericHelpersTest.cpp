#include "host/NumericHelpers.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/TestSupport.h"

TEST(NumericHelpers, EmptyAwareArithmetic)
{
    const double e = EmptyFloat();
    EXPECT_TRUE(isEmptyFloat(e));
    EXPECT_FALSE(isEmptyFloat(0.0));
    EXPECT_FALSE(isEmptyFloat(-1.0));

    EXPECT_DOUBLE_EQ(AC_SumFloat(1.5, 2.25), 3.75);
    EXPECT_DOUBLE_EQ(AC_SumFloat(e, 2.0), 2.0);
    EXPECT_DOUBLE_EQ(AC_SumFloat(2.0, e), 2.0);
    EXPECT_TRUE(isEmptyFloat(AC_SumFloat(e, e)));
    // A chain of sums stays empty until a value comes.
    double sum = e;
    for (double v : {e, e, 4.0, e, -1.0})
        sum = AC_SumFloat(sum, v);
    EXPECT_DOUBLE_EQ(sum, 3.0);

    EXPECT_DOUBLE_EQ(AC_DifferenceFloat(5.0, 2.0), 3.0);
    EXPECT_DOUBLE_EQ(AC_DifferenceFloat(5.0, e), 5.0);
    EXPECT_DOUBLE_EQ(AC_DifferenceFloat(e, 2.0), -2.0);
    EXPECT_TRUE(isEmptyFloat(AC_DifferenceFloat(e, e)));
}

TEST(NumericHelpers, CompareFloatTreatsEmptyAsLowestAndEqualToItself)
{
    const double e = EmptyFloat();
    EXPECT_EQ(CompareFloat(1.0, 1.0), 0);
    EXPECT_EQ(CompareFloat(0.1 + 0.2, 0.3), 0);
    EXPECT_EQ(CompareFloat(1.0, 1.0001), -1);
    EXPECT_EQ(CompareFloat(2.0, 1.0), 1);
    EXPECT_EQ(CompareFloat(e, e), 0);
    EXPECT_EQ(CompareFloat(e, -1e300), -1);
    EXPECT_EQ(CompareFloat(0.0, e), 1);
    EXPECT_EQ(CompareFloat(-1.0, -2.0), 1);
}

TEST(NumericHelpers, CellNamesRoundTrip)
{
    EXPECT_EQ(GetNameCell(1, 1), "A1");
    EXPECT_EQ(GetNameCell(26, 7), "Z7");
    EXPECT_EQ(GetNameCell(27, 10), "AA10");
    EXPECT_EQ(GetNameCell(31, 5), "AE5");
    EXPECT_EQ(GetNameCell(702, 1), "ZZ1");
    EXPECT_EQ(GetNameCell(703, 1), "AAA1");
    for (int col = 1; col < 2000; ++col) {
        QString name = GetNameCell(col, 1);
        name.chop(1);
        ASSERT_EQ(GetNumCol(name), col) << name.toStdString();
    }
    EXPECT_EQ(GetNumCol("ab"), 28);
    EXPECT_EQ(GetNumCol("A1"), 0);
    EXPECT_EQ(GetNumCol(""), 0);
}

TEST(NumericHelpers, NominalVoltagesAndText)
{
    EXPECT_DOUBLE_EQ(RoundUnom(0.38), 0.4);
    EXPECT_DOUBLE_EQ(RoundUnom(0.23), 0.22);
    EXPECT_DOUBLE_EQ(RoundUnom(6.3), 6);
    EXPECT_DOUBLE_EQ(RoundUnom(10.5), 10);
    EXPECT_DOUBLE_EQ(RoundUnom(1.0), 1.0);
    EXPECT_TRUE(isEmptyFloat(RoundUnom(EmptyFloat())));

    EXPECT_EQ(dotFloatToStr(0.1), "0.1");
    EXPECT_EQ(dotFloatToStr(-2.5e-7), "-2.5e-07");
    EXPECT_EQ(dotFloatToStr(EmptyFloat()), "");
    EXPECT_DOUBLE_EQ(dotFloatToStr(1.0 / 3).toDouble(), 1.0 / 3);

    EXPECT_EQ(KestCompareText("Линия", "ЛИНИЯ"), 0);
    EXPECT_LT(KestCompareText("Абрикос", "берёза"), 0);
    EXPECT_GT(KestCompareText("ТП-20", "ТП-100"), 0);
}

TEST(NumericHelpers, FormatsByPattern)
{
    const QString nbsp = QString(QChar(0x00A0));
    EXPECT_EQ(FormatFloat("0.000", 95), "95,000");
    EXPECT_EQ(FormatFloat("#,##0.000", 1234567.8916), "1" + nbsp + "234" + nbsp + "567,892");
    EXPECT_EQ(FormatFloat("0.###", 0.5), "0,5");
    EXPECT_EQ(FormatFloat("0.###", 2), "2");
    EXPECT_EQ(FormatFloat("0.00#", 1.3), "1,30");
    EXPECT_EQ(FormatFloat("0.00#", 1.2346), "1,235");
    EXPECT_EQ(FormatFloat("0.#", 0.04), "0");
    EXPECT_EQ(FormatFloat("0", 2499.5), "2500");
    EXPECT_EQ(FormatFloat("#,##0", -12345), "-12" + nbsp + "345");
    EXPECT_EQ(FormatFloat("#,##0.000;-#,##0.000;", 0), "");
    EXPECT_EQ(FormatFloat("#,##0.000;-#,##0.000;", -2.5), "-2,500");
    EXPECT_EQ(FormatFloat("0.00", -0.001), "0,00");
    EXPECT_EQ(FormatFloat3(EmptyFloat()), "");
    EXPECT_EQ(FormatFloat3(0.2), "0,200");
    double v = 0;
    EXPECT_TRUE(ParseFloat("0,77", v));
    EXPECT_DOUBLE_EQ(v, 0.77);
    EXPECT_TRUE(ParseFloat(" 1" + nbsp + "234.5 ", v));
    EXPECT_DOUBLE_EQ(v, 1234.5);
    EXPECT_FALSE(ParseFloat("abc", v));
    EXPECT_DOUBLE_EQ(v, 1234.5);
}
