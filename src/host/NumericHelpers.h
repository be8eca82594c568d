#pragma once
#include <QByteArray>
#include <QString>
#include <string>

#include "host/HostApi.h"

// Numeric and text helpers shared by the host and the plug-in.
// A missing value is the "empty float", a quiet NaN.

OZN3HOST_API double EmptyFloat();
OZN3HOST_API bool isEmptyFloat(double value);

// -1, 0 or 1; two empty values are equal, an empty value is below any number.
OZN3HOST_API int CompareFloat(double a, double b);

// Empty-aware arithmetic: empty operands count as absent, only-empty stays empty.
OZN3HOST_API double AC_SumFloat(double a, double b);
OZN3HOST_API double AC_DifferenceFloat(double a, double b);

// The nearest standard nominal voltage (kV) when within 10 %, else the value rounded to 3 decimals.
OZN3HOST_API double RoundUnom(double kv);

// Shortest text that reads back to the same double, with a dot as separator; empty for an empty value.
OZN3HOST_API QString dotFloatToStr(double value);

// Case-insensitive, locale-aware comparison: <0, 0, >0.
OZN3HOST_API int KestCompareText(const QString& a, const QString& b);

// Spreadsheet cell names: column 1 is "A", 27 is "AA"; rows start at 1.
OZN3HOST_API QString GetNameCell(int col, int row);
// Column number of a column name ("A" -> 1, "AB" -> 28); 0 for text that is not a column name.
OZN3HOST_API int GetNumCol(const QString& name);

// The decimal separator of the users' locale (a comma) and the thousands separator (a no-break space).
OZN3HOST_API QChar DecimalSeparator();
OZN3HOST_API QChar ThousandSeparator();

// Formats a number by a pattern such as "0.000", "#,##0.00", "0.###" or "#,##0.000;-#,##0.000;":
// "0" is a required digit, "#" an optional one, "," groups thousands; sections after ";" are used for
// negative numbers and for zero. An empty value gives an empty text.
OZN3HOST_API QString FormatFloat(const QString& pattern, double value);
// The host's three-decimal format of lengths and coefficients ("#,##0.000").
OZN3HOST_API QString FormatFloat3(double value);
// Reads a number typed with either separator; false for text that is not a number.
OZN3HOST_API bool ParseFloat(const QString& text, double& value);

// A number for the JSON output of every command: the shortest text that reads back to the same double
// ("0.1", "1e+20", "3"); null when not finite.
OZN3HOST_API QByteArray JsonNumber(double value);
OZN3HOST_API void AppendJsonNumber(std::string& out, double value);
