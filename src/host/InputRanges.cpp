#include "host/InputRanges.h"

namespace host::ranges {
namespace {
const QString kNonNegative = QStringLiteral("число не меньше 0");
}  // namespace

TInputRule Energy() { return TInputRule::AtLeast(0, kNonNegative); }
TInputRule Power() { return TInputRule::AtLeast(0, kNonNegative); }
TInputRule PhaseVoltage() { return TInputRule::Range(0, 300, QStringLiteral("число от 0 до 300")); }
TInputRule PhaseCurrent() { return TInputRule::Range(0, 10000, QStringLiteral("число от 0 до 10000")); }
TInputRule PowerFactor() { return TInputRule::AboveUpTo(0, 1, QStringLiteral("число больше 0 и не больше 1")); }
TInputRule IntervalHours() { return TInputRule::WholeRange(1, 8784, QStringLiteral("целое число часов от 1 до 8784")); }
TInputRule TmaxHours() { return TInputRule::WholeRange(0, 8784, QStringLiteral("целое число часов от 0 до 8784")); }
TInputRule TauHours() { return TInputRule::Range(0, 8784, QStringLiteral("число часов от 0 до 8784")); }
TInputRule TauRelative() { return TInputRule::Range(0, 1, QStringLiteral("число от 0 до 1")); }
TInputRule AdditionalLosses() { return TInputRule::AtLeast(0, kNonNegative); }
TInputRule FillFactor() { return TInputRule::AboveUpTo(0, 1, QStringLiteral("число больше 0 и не больше 1")); }
TInputRule SquaredFormFactor() { return TInputRule::AtLeast(1, QStringLiteral("число не меньше 1")); }
TInputRule Temperature() { return TInputRule::Range(-60, 60, QStringLiteral("число от -60 до 60")); }
TInputRule Length() { return TInputRule::AtLeast(0, kNonNegative); }
TInputRule BranchingFactor() { return TInputRule::Range(0, 1, QStringLiteral("число от 0 до 1")); }
TInputRule LossRatio() { return TInputRule::AtLeast(0, kNonNegative); }

TInputRule Share() { return TInputRule::Range(0, 1, QStringLiteral("число от 0 до 1")); }
TInputRule CrossSection() { return TInputRule::Above(0, QStringLiteral("число больше 0")); }
TInputRule LineCount() { return TInputRule::WholeRange(1, 1000000, QStringLiteral("целое число от 1")); }
}  // namespace host::ranges
