#pragma once
// A feeder of the tests' own under a demo substation, calculated and stored, for the scheme detail and its drawing.
#include <gtest/gtest.h>

#include "host/Database.h"
#include "host/Tree.h"
#include "host/fider/RegimeBatch.h"
#include "support/TestSupport.h"

namespace testing_support {
// A feeder of the test's own under a demo substation, calculated and stored:
//   centre -Пролет 1- Опора 1 (tap) -перемычка- Рубильник (off) -Пролет 2- Опора 2 -кабель- Ввод 2 (three-phase)
//                      Опора 1 -Ввод 1 (phase B, the consumer's own)- Ввод 1
class Detail : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        year_ = IntScalar(*c_, "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
        const int tp = IntScalar(*c_, "select first 1 \"OwnerGUID\" from \"LVFiders\" order by guid");
        const QStringList sql = {
            Fmt("insert into \"LVFiders\" (guid, \"Name\", \"OwnerGUID\", \"TypeLoad\", \"Unom\") values "
                "(%1, 'Л-9 Опытная', %2, 1, 0.38)",
                kFeeder, tp),
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\") values "
            "(900001, 'Опора 1', 900000, 1, 1)",
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\", \"State\") values "
            "(900002, 'Рубильник', 900000, 2, 3, 0)",
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\") values (900003, 'Опора 2', 900000, "
            "3)",
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\", \"Phases\", "
            "\"ConsumerName\") values (900004, 'Ввод 1', 900000, 4, 2, 'B', 'Иванов')",
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\", \"ConsumerName\") "
            "values (900005, 'Ввод 2', 900000, 5, 2, 'Мастерская')",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"TabOrder\") values (900011, 900000, 900000, 900001, 'Пролет 1', 0.04, 644, 1)",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"TabOrder\") values (900012, 900000, 900001, 900002, 'Перемычка', 0, 0, 2)",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"TabOrder\") values (900013, 900000, 900002, 900003, 'Пролет 2', 0.04, 644, 3)",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"TabOrder\", \"Phases\", \"Owner\") values "
            "(900014, 900000, 900001, 900004, 'Ввод 1', 0.02, 640, 4, 'B', 2)",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"ProvodNull\", \"TabOrder\") values "
            "(900015, 900000, 900003, 900005, 'Кабель', 0.02, 660, 661, 5)",
            Fmt("insert into \"LVWLoads\" (\"SampleIdent\", guid, \"Wa\") values (%1, 900004, 4)", year_),
            Fmt("insert into \"LVWLoads\" (\"SampleIdent\", guid, \"Wa\") values (%1, 900005, 20)", year_),
        };
        for (const QString& statement : sql)
            Exec(*c_, statement);
        db_->GetTree()->CreateFiderHH(tp, kFeeder, 0, "Л-9 Опытная", unom_);
        fider::TRegimeRequest request;
        request.SampleIdent = year_;
        request.Mode = fider::TLoadMode::Loads;
        fider::TRegimeBatchEvents events;
        events.Stored = [this](const fider::TFiderJob&, const fider::TCalcWInfoHHCommon& run, int ident) {
            run_ = run;
            ident_ = ident;
        };
        ASSERT_EQ(fider::RunRegimeBatch(*db_, {kFeeder}, request, events).Calculated, 1);
    }
    static constexpr int kFeeder = 900000;
    int year_ = 0, ident_ = 0;
    double unom_ = 0.38;
    fider::TCalcWInfoHHCommon run_;
};

}  // namespace testing_support
