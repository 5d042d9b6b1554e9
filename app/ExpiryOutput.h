#pragma once

#include <QString>

namespace oquivran {
struct ExpiryReport;
}

// The expiry check as the `expiring` subcommand writes it: a table for people, CSV and JSON
// for scripts. The table shows numbers and dates as the user's locale does; CSV and JSON use
// "." for decimals and ISO dates (yyyy-mm-dd), whatever the locale.
class ExpiryOutput
{
public:
    enum class Format {
        Table,
        Csv,
        Json,
    };

    // The format of a --format value; false when there is none of that name.
    static bool formatOf(const QString& name, Format& format);

    static QString table(const oquivran::ExpiryReport& report);
    // One row per stock line after a header row; fields holding a comma or a quote are quoted.
    static QString csv(const oquivran::ExpiryReport& report);
    // An object with the reference date, horizon, lines, declarations and totals.
    static QString json(const oquivran::ExpiryReport& report);
    static QString text(const oquivran::ExpiryReport& report, Format format);
};
