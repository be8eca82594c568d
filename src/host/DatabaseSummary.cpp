#include "host/DatabaseSummary.h"

#include <QLocale>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"

namespace host {

namespace {
qint64 count(ToznFDConnection& connection, const QString& sql)
{
    auto q = connection.NewQuery();
    q->SetSQLText(sql);
    q->Open();
    return q->Eof() ? 0 : q->Value(0).toLongLong();
}
}  // namespace

std::vector<TDatabaseFact> DatabaseSummary(TfdbDatabase& database)
{
    ToznFDConnection& c = *database.GetDefaultConnection();
    const QLocale russian(QLocale::Russian);
    std::vector<TDatabaseFact> facts;
    facts.push_back({QStringLiteral("База данных"), database.ConnectionString()});
    // The engine's own size of the database (pages in use), the same for a file and a server.
    const qint64 bytes = count(c, QStringLiteral("select mon$page_size * mon$pages from mon$database"));
    facts.push_back({QStringLiteral("Размер"), russian.toString(bytes / 1048576.0, 'f', 1) + QStringLiteral(" МБ")});
    facts.push_back({QStringLiteral("Пользователь"), database.UserName()});
    const std::pair<int, const char*> levels[] = {{NodeType::AOEnergo, "0 АО энерго"},
                                                  {NodeType::PES, "1 ПЭС"},
                                                  {NodeType::RES, "2 РЭС"},
                                                  {NodeType::Centers, "3 ЦП"},
                                                  {NodeType::Sections, "4 Секции"},
                                                  {NodeType::Fiders, "5 Фидеры"},
                                                  {NodeType::Nodes, "6 ТП"},
                                                  {NodeType::LVFiders, "7 Линии 0,4 кВ"}};
    TfdbTree* tree = database.GetTree();
    for (const auto& [type, caption] : levels)
        facts.push_back({QString::fromUtf8(caption), QString::number(tree->CountOfType(type))});
    facts.push_back({QStringLiteral("Узлов схем 0,4 кВ"),
                     QString::number(count(c, QStringLiteral("select count(*) from \"LVNodes\"")))});
    facts.push_back({QStringLiteral("Интервалов"), QString::number(database.GetSamplePeriods()->Items().size())});
    facts.push_back({QStringLiteral("Расчетов режима"),
                     QString::number(count(c, QStringLiteral("select count(*) from \"LVResults\"")))});
    return facts;
}

}  // namespace host
