#pragma once
// The columns of the measurement workbooks, shared by the working table and the worksheet.
#include <QString>
#include <functional>
#include <vector>

#include "import/LVZamerData.h"
#include "import/SheetInputs.h"

namespace zamer {

// An input column of the substations' and feeders' sheet: its number, caption, the record field behind it and
// what it accepts.
struct Column {
    int number;
    QString caption;
    std::function<double&(TLVZamerRecord&)> field;
    TInputRule rule;
    bool busbars = false;  // only a substation has busbars of its own
};
const std::vector<Column>& ValueColumns(TLVZamerKind kind);

// An input column of the consumers' sheet.
struct ConsumerColumn {
    int number;
    QString caption;
    std::function<double&(TLVZamerConsumer&)> field;
    TInputRule rule;
};
const std::vector<ConsumerColumn>& ConsumerColumns(TLVZamerKind kind);

}  // namespace zamer
