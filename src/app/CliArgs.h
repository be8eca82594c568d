#pragma once
// The options of a command-line job, checked whole before the job starts: an option the job does not know, an
// option without its value, an option given twice or a word too many is refused with a message that names it,
// instead of being passed over.
#include <QHash>
#include <QStringList>

namespace cli {

struct TOptionKinds {
    QStringList valued;   // "--db X"
    QStringList multi;    // "--right 12 13": every word up to the next option
    QStringList flags;    // "--json"
    int positionals = 0;  // the words that are not options, after the command words
};

class TArgs {
public:
    // Reads `args` from `first` on (the command words before it); false with a message.
    bool Parse(const QStringList& args, int first, const TOptionKinds& kinds, QString& error);
    bool Has(const QString& option) const { return values_.contains(option); }
    QString Value(const QString& option) const { return values_.value(option).value(0); }
    QStringList Values(const QString& option) const { return values_.value(option); }
    QString Positional(int i) const { return positionals_.value(i); }
    int PositionalCount() const { return static_cast<int>(positionals_.size()); }
    // An integer option: false with a message when given and not a whole number, or required and missing.
    bool Int(const QString& option, bool required, int& value, QString& error) const;
    // At most one of the options: false with a message naming the two that are given.
    bool OneOf(const QStringList& options, QString& error) const;

private:
    QHash<QString, QStringList> values_;  // flags have an empty list
    QStringList positionals_;
};

}  // namespace cli
