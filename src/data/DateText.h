#pragma once

#include "LocaleRules.h"

#include <QDate>
#include <QString>

#include <optional>

namespace oquivran {

// Dates as text in the user's short-date order, with two-digit day and month and a four-digit
// year: 22/11/2026 under es_AR and C, 11/22/2026 under en_US.
class DateText
{
public:
    // The date as text; an invalid date gives the empty text.
    static QString toText(const QDate& date, const LocaleRules& rules = LocaleRules::system());

    // Reads day, month and year in the locale's order, separated by "/", "-" or ".", with a
    // four-digit or two-digit year (00-29 are 2000-2029, 30-99 are 1930-1999); an ISO date
    // "yyyy-mm-dd" is read too. Anything else throws RuntimeError 13 "Type mismatch".
    static QDate toDate(const QString& text, const LocaleRules& rules = LocaleRules::system());

    // True exactly when toDate() would succeed.
    static bool holdsDate(const QString& text, const LocaleRules& rules = LocaleRules::system());

    // toDate() without the error.
    static std::optional<QDate> parse(const QString& text,
                                      const LocaleRules& rules = LocaleRules::system());
};

} // namespace oquivran
