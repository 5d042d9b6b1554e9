#pragma once

#include <QDate>
#include <QString>

// Number text of the host's window and tables: the user's decimal separator and, like the
// component, never a grouping separator.
class HostText
{
public:
    // The value with a fixed number of decimals.
    static QString decimal(double value, int decimals = 4);
    // A date as the component writes it: two-digit day and month and a four-digit year in the
    // locale's order of day and month; empty for an invalid date.
    static QString date(const QDate& value);
    // A date typed as ISO (yyyy-mm-dd) or as date() writes it; invalid when it is neither.
    static QDate readDate(const QString& text);
};
