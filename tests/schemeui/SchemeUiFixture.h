#pragma once
// A database of the tests' own for the LV scheme forms: one substation with one LV feeder and its scheme,
// an interval, and conductors that only these tests use:
//   ТП -(АСт-50, 0.05 km)- Опора 1 -(АСт-35, 0.04 km)- Опора 2
//                          Опора 1 -(АСт-35, 0.02 km)- Ввод 1 (consumer «Иванов», phase A, 1.2 thousand kWh)
// plus a cable КбТ-120 that no scheme uses.
#include <gtest/gtest.h>

#include <QHeaderView>
#include <QTableWidget>
#include <memory>

#include "host/Connection.h"
#include "host/Database.h"
#include "support/TestSupport.h"

namespace schemeui {

inline constexpr int kAo = 100, kTp = 200, kFider = 300, kPeriod = 1;
inline constexpr int kOpora1 = 301, kOpora2 = 302, kVvod1 = 303;
inline constexpr int kA50 = 5001, kA35 = 5002, kCable120 = 5003;

class SchemeUiTest : public testing_support::DatabaseTest {
protected:
    void SetUp() override
    {
        using testing_support::Exec;
        OpenNew(false);
        ASSERT_TRUE(db_);
        SetCurrentDatabase(db_.get());
        for (const char* sql :
             {"set generator \"GUIDGen\" to 100000",
              "insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") "
              "values (1, '2024г.', 1, '2024-01-01', '2025-01-01')",
              "insert into \"AOEnergo\" (\"GUID\", \"Name\") values (100, 'АО Тест')",
              "insert into \"Nodes\" (\"GUID\", \"Name\", \"OwnerGUID\") values (200, 'ТП-1', 100)",
              "insert into \"LVFiders\" (\"GUID\", \"Name\", \"OwnerGUID\", \"TypeLoad\", \"Unom\") "
              "values (300, 'Л-1', 200, 1, 0.38)",
              "insert into \"ProvodTypes\" (\"Ident\", \"Unom\", \"Name\", \"CableFlags\") "
              "values (5001, 0.380, 'Провод 0,38 (тест)', 0)",
              "insert into \"ProvodTypes\" (\"Ident\", \"Unom\", \"Name\", \"CableFlags\") "
              "values (5002, 0.380, 'Кабель 0,38 (тест)', 1)",
              "insert into \"Provods\" (\"Ident\", \"Marka\", \"F\", \"R0\", \"X0\", \"ProvodType\") "
              "values (5001, 'АСт', 50, 0.6, 0.3, 5001)",
              "insert into \"Provods\" (\"Ident\", \"Marka\", \"F\", \"R0\", \"X0\", \"ProvodType\") "
              "values (5002, 'АСт', 35, 0.85, 0.31, 5001)",
              "insert into \"Provods\" (\"Ident\", \"Marka\", \"F\", \"R0\", \"X0\", \"ProvodType\") "
              "values (5003, 'КбТ', 120, 0.26, 0.06, 5002)",
              "insert into \"LVNodes\" (\"GUID\", \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\") "
              "values (301, 'Опора 1', 300, 1, 1)",
              "insert into \"LVNodes\" (\"GUID\", \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\") "
              "values (302, 'Опора 2', 300, 2, 4)",
              "insert into \"LVNodes\" (\"GUID\", \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\", \"Phases\", "
              "\"ConsumerName\") values (303, 'Ввод 1', 300, 3, 2, 'A', 'Иванов')",
              "insert into \"LVLines\" (\"GUID\", \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
              "\"Phase\", \"ProvodPhase\", \"TabOrder\", \"Kind\", \"Phases\", \"State\") "
              "values (311, 300, 300, 301, 'Пролет 1', 0.05, 3, 5001, 1, 0, 'ABC', 1)",
              "insert into \"LVLines\" (\"GUID\", \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
              "\"Phase\", \"ProvodPhase\", \"TabOrder\", \"Kind\", \"Phases\", \"State\") "
              "values (312, 300, 301, 302, 'Пролет 2', 0.04, 3, 5002, 2, 0, 'ABC', 1)",
              "insert into \"LVLines\" (\"GUID\", \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
              "\"Phase\", \"ProvodPhase\", \"TabOrder\", \"Kind\", \"Phases\", \"State\") "
              "values (313, 300, 301, 303, 'Ответвление', 0.02, 3, 5002, 3, 0, 'ABC', 1)",
              "insert into \"LVConsumers\" (\"SampleIdent\", \"GUID\", \"Name\", \"OwnerGUID\", \"Pust\") "
              "values (1, 303, 'Иванов', 300, 5)",
              "insert into \"LVWLoads\" (\"SampleIdent\", \"GUID\", \"Wa\", \"CosFi\") values (1, 303, 1.2, 0.95)"})
            Exec(*c_, QString::fromUtf8(sql));
    }
    void TearDown() override { SetCurrentDatabase(nullptr); }

    // Rows and length of a feeder's stored scheme, to compare before and after.
    QString Stored(int fider)
    {
        return QStringLiteral("%1 nodes, %2 lines, %3 km")
            .arg(Db(QStringLiteral("select count(*) from \"LVNodes\" where \"OwnerGUID\"=%1").arg(fider)))
            .arg(Db(QStringLiteral("select count(*) from \"LVLines\" where \"OwnerGUID\"=%1").arg(fider)))
            .arg(QString::number(
                Db(QStringLiteral("select sum(\"LineLength\") from \"LVLines\" where \"OwnerGUID\"=%1").arg(fider)),
                'g', 10));
    }
};

// The column of a table with this caption; -1 when there is none.
inline int Column(const QTableWidget* table, const QString& caption)
{
    for (int c = 0; c < table->columnCount(); ++c)
        if (table->horizontalHeaderItem(c)->text() == caption)
            return c;
    return -1;
}

inline QStringList Captions(const QTableWidget* table)
{
    QStringList captions;
    for (int c = 0; c < table->columnCount(); ++c)
        captions << table->horizontalHeaderItem(c)->text();
    return captions;
}

inline QString Text(const QTableWidget* table, int row, const QString& caption)
{
    const QTableWidgetItem* item = table->item(row, Column(table, caption));
    return item ? item->text() : QString();
}

inline void SetText(QTableWidget* table, int row, const QString& caption, const QString& text)
{
    table->item(row, Column(table, caption))->setText(text);
}

// The first row whose cell under the caption holds the text; -1 when none does.
inline int RowOf(const QTableWidget* table, const QString& caption, const QString& text)
{
    for (int r = 0; r < table->rowCount(); ++r)
        if (Text(table, r, caption) == text)
            return r;
    return -1;
}

}  // namespace schemeui
