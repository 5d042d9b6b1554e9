#pragma once

#include <QDate>
#include <QString>
#include <QVariant>

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

    // A number the component handed over as text in the user's locale ("01,50"), as a
    // number; a value that is not such a text is returned as it is.
    static QVariant number(const QVariant& value);

    // The Spanish heading of a column of an item's inputs (Obtener_Insumos), as the window's
    // dialog and the inputs subcommand show it; an unknown column keeps its name.
    static QString inputHeading(const QString& field);
    // The key of that column in CSV and JSON output; an unknown column keeps its name.
    static QString inputKey(const QString& field);
};
