#pragma once

#include "LocaleRules.h"

#include <QString>

#include <optional>

namespace oquivran {

// The ordinary conversions between numbers and text, by the user's locale.
class NumberText
{
public:
    // Number to text: 15 significant digits, trailing zeros dropped, the locale's decimal
    // separator and no grouping; fixed notation while at most 15 decimals are needed, otherwise
    // and from 1E+15 up scientific ("1E+15", "1,2E+15", "1,5E-20"); negative zero is "0".
    static QString toText(double value, const LocaleRules& rules = LocaleRules::system());

    // Text to number: blanks around the number, a leading or trailing sign and an exponent are
    // accepted; grouping separators in the integer part are skipped. Empty or non-numeric text
    // throws RuntimeError 13 "Type mismatch".
    static double toNumber(const QString& text, const LocaleRules& rules = LocaleRules::system());

    // True exactly when toNumber() would succeed.
    static bool holdsNumber(const QString& text, const LocaleRules& rules = LocaleRules::system());

    // toNumber() without the error: no value for text that is not a number.
    static std::optional<double> parse(const QString& text,
                                       const LocaleRules& rules = LocaleRules::system());
};

} // namespace oquivran
