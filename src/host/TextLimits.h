#pragma once
// The texts users give (names, brands, labels) against the columns that keep them: the longest text each
// column takes, and the one check every workbook, command and form runs before it stores a text, so that the
// user hears which cell or field is too long instead of the engine's refusal at the end. A test compares each
// limit with the database's own description of the column.
#include <QString>
#include <vector>

#include "host/HostApi.h"

namespace host {

struct TTextColumn {
    const char* Table;
    const char* Column;
    int Length;  // characters
};

inline constexpr TTextColumn kSubstationName{"Nodes", "Name", 100};
inline constexpr TTextColumn kLVFiderName{"LVFiders", "Name", 100};
inline constexpr TTextColumn kLVNodeName{"LVNodes", "Name", 100};
inline constexpr TTextColumn kLVConsumerName{"LVNodes", "ConsumerName", 100};
inline constexpr TTextColumn kConsumerName{"LVConsumers", "Name", 100};
inline constexpr TTextColumn kLVLineInfo{"LVLines", "Info", 100};
inline constexpr TTextColumn kConductorMarka{"Provods", "Marka", 50};
inline constexpr TTextColumn kMeterName{"Meters", "MeterName", 40};
inline constexpr TTextColumn kLoadKindName{"TypeLoads", "Name", 100};
inline constexpr TTextColumn kFiderConsumerName{"LVFidersA", "ConsumerName", 100};
inline constexpr TTextColumn kFiderSwitchName{"LVFidersA", "SwitchGName", 100};
inline constexpr TTextColumn kUserName{"UserRights", "UserName", 63};

// Every limit above, for the test that holds them to the schema.
OZN3HOST_API const std::vector<TTextColumn>& TextColumns();

// What is wrong with a text for its column ("не более 50 знаков, а введено 300"); empty when it fits.
OZN3HOST_API QString TextProblem(const QString& text, const TTextColumn& column);
// Whether a text fits its column and has no control characters (a line break, a tab); false with
// "<where>: <what is wrong>", `where` naming the cell, the argument or the field.
OZN3HOST_API bool CheckText(const QString& text, const TTextColumn& column, const QString& where, QString& error);

}  // namespace host
