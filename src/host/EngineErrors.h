#pragma once
// The database engine's messages in the users' words. The engine speaks English and names its own internals
// (constraint names, transaction numbers); users get a Russian text that says what happened and to which
// table or file, and the engine's own text goes to the application's log for whoever looks into it.
#include <QString>

#include "host/HostApi.h"

namespace host {

enum class TEngineErrorKind {
    Other,
    Permission,      // no privilege for a table, procedure, generator
    Truncation,      // a text longer than its column, a number out of its column's range
    Conflict,        // another user's change or lock of the same rows, a deadlock
    UniqueKey,       // a row with the same key exists
    ForeignKey,      // a row refers to a missing one, or is referred to
    NotNull,         // a required column left empty
    ConnectionLost,  // the server went away or cannot be reached
    DiskFull,        // the database file could not grow
    Login,           // a wrong user name or password
    Missing,         // the database file does not exist
};

struct TEngineError {
    TEngineErrorKind Kind = TEngineErrorKind::Other;
    QString Text;  // the users' words
};

// Classifies the engine's text and words it for the user.
OZN3HOST_API TEngineError TranslateEngineError(const QString& engineText);

// The engine's text of a refused access in the users' words ("Нет прав на чтение таблицы «…»"); any other text
// as it is.
OZN3HOST_API QString PermissionText(const QString& engineText);

}  // namespace host
