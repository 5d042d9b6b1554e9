#pragma once

#include <QString>

#include <functional>

namespace oquivran {

// How SqlDataObject makes a statement of the component run on SQLite as written.
class StatementRewriter
{
public:
    enum class ColumnKind {
        Other,
        Real, // declared REAL, DOUBLE, FLOAT or NUMERIC
        Date, // declared DATE (or DATETIME)
    };
    // Declared kind of a column of a table; Other when either is unknown.
    using ColumnLookup = std::function<ColumnKind(const QString& table, const QString& column)>;

    // "select top N rest" becomes "select rest limit N". In "insert into T (columns) values
    // (values)" and "update T set column = value, ... where ...", each value written into a
    // Real column is wrapped as oquivran_real(value) and into a Date column as
    // oquivran_date(value). Any other text comes back unchanged.
    static QString rewrite(const QString& sql, const ColumnLookup& lookup);
};

} // namespace oquivran
