#include "host/TextLimits.h"

#include <QList>

namespace host {

const std::vector<TTextColumn>& TextColumns()
{
    static const std::vector<TTextColumn> columns = {
        kSubstationName, kLVFiderName, kLVNodeName,   kLVConsumerName,    kConsumerName,    kLVLineInfo,
        kConductorMarka, kMeterName,   kLoadKindName, kFiderConsumerName, kFiderSwitchName, kUserName};
    return columns;
}

QString TextProblem(const QString& text, const TTextColumn& column)
{
    // The database counts characters, not the two halves of a character outside the basic plane.
    const qsizetype length = text.toUcs4().size();
    if (length > column.Length)
        return QStringLiteral("не более %1 знаков, а введено %2").arg(column.Length).arg(length);
    for (const QChar ch : text)
        if (ch.category() == QChar::Other_Control)
            return QStringLiteral("недопустимый знак (перевод строки, табуляция или другой управляющий знак)");
    return {};
}

bool CheckText(const QString& text, const TTextColumn& column, const QString& where, QString& error)
{
    const QString problem = TextProblem(text, column);
    if (problem.isEmpty())
        return true;
    error = QStringLiteral("%1: %2").arg(where, problem);
    return false;
}

}  // namespace host
