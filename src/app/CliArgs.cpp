#include "app/CliArgs.h"

namespace cli {

namespace {
bool isOption(const QString& word) { return word.startsWith(QLatin1String("--")); }
}  // namespace

bool TArgs::Parse(const QStringList& args, int first, const TOptionKinds& kinds, QString& error)
{
    values_.clear();
    positionals_.clear();
    for (int i = first; i < args.size(); ++i) {
        const QString& word = args.at(i);
        if (!isOption(word) || word == QLatin1String("--")) {
            if (positionals_.size() >= kinds.positionals) {
                error = QStringLiteral("Лишний аргумент: %1").arg(word);
                return false;
            }
            positionals_ << word;
            continue;
        }
        if (values_.contains(word)) {
            error = QStringLiteral("Параметр %1 указан дважды").arg(word);
            return false;
        }
        if (kinds.flags.contains(word)) {
            values_.insert(word, {});
        } else if (kinds.valued.contains(word)) {
            // A value may itself begin with a dash ("--year -1"), but not be another option of the command.
            if (i + 1 >= args.size() || kinds.valued.contains(args.at(i + 1)) || kinds.flags.contains(args.at(i + 1)) ||
                kinds.multi.contains(args.at(i + 1))) {
                error = QStringLiteral("После %1 нужно значение").arg(word);
                return false;
            }
            values_.insert(word, {args.at(++i)});
        } else if (kinds.multi.contains(word)) {
            QStringList values;
            while (i + 1 < args.size() && !isOption(args.at(i + 1)))
                values << args.at(++i);
            if (values.isEmpty()) {
                error = QStringLiteral("После %1 нужно значение").arg(word);
                return false;
            }
            values_.insert(word, values);
        } else {
            error = QStringLiteral("Неизвестный параметр: %1").arg(word);
            return false;
        }
    }
    return true;
}

bool TArgs::Int(const QString& option, bool required, int& value, QString& error) const
{
    if (!Has(option)) {
        if (required)
            error = QStringLiteral("Не указан %1").arg(option);
        return !required;
    }
    bool ok = false;
    value = Value(option).toInt(&ok);
    if (!ok)
        error = QStringLiteral("%1: «%2» — не целое число").arg(option, Value(option));
    return ok;
}

bool TArgs::OneOf(const QStringList& options, QString& error) const
{
    QStringList given;
    for (const QString& o : options)
        if (Has(o))
            given << o;
    if (given.size() > 1) {
        error = QStringLiteral("Параметры %1 и %2 несовместимы").arg(given.at(0), given.at(1));
        return false;
    }
    return true;
}

}  // namespace cli
