#pragma once
#include <QString>

// Russian names of the generated demo network.
namespace db::demo {
QString PesName(int index);
QString ResName(int index);
QString CenterName(int index);
QString StreetName(int index);
QString SettlementName(int index);
}  // namespace db::demo
