#pragma once

#include "SqlDialect.h"
#include "SqlLexer.h"

#include <QList>
#include <QString>

#include <functional>

namespace oquivran {

// How a data object makes a statement of the component run on its server as written: the
// translation is the same for every server, and SqlDialect says what a server writes
// differently.
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

    // How a value bound for one "?" of the text is to be converted before it is sent.
    enum class Conversion {
        AsWritten,
        Number,   // read as a number by the user's locale, or "Type mismatch"
        Date,     // read as a date by the user's locale, or "Type mismatch"
        Real,     // a value for a real column: locale number text becomes a number
        DateText, // a value for a date column: date text becomes a date
    };

    struct Translation
    {
        QString text;
        // One per "?" of the text translated, in order.
        QList<Conversion> parameters;
        // Statements the text holds: 0 for none, 2 for two or more.
        int statements = 1;
        // The tokens of text, and the problem when the text read did not lex (it then comes
        // back as it was).
        QList<SqlLexer::Token> tokens;
        SqlLexer::Problem problem = SqlLexer::Problem::None;

        // The text translated with its tokens, for planning.
        SqlLexer::Lexed lexed() const { return {text, tokens, problem}; }
    };

    // The text as the dialect's server runs it:
    // - "select top N rest" becomes "select rest limit N";
    // - in "insert into T (columns) values (values)" and "update T set column = value, ...
    //   where ...", each value written into a Real or Date column is enclosed as the dialect
    //   says, or, when the dialect reads written values and the value is a "?", converted;
    // - for a dialect that reads written values, cdbl('…') and datevalue('…') of a written
    //   value become typed values (a "?" converted, a quoted text read now), and format(value,
    //   pattern) runs as the dialect's function;
    // - parameters are numbered when the dialect numbers them.
    // Any other text comes back unchanged, and so does a text of several statements or one
    // that does not lex. The tokens of the text read are not lexed again, nor are those of the
    // translation. Throws RuntimeError "Type mismatch" when a quoted text in cdbl() or
    // datevalue() does not read, and RuntimeError with the reason when a text could not be
    // translated.
    static Translation translate(const SqlLexer::Lexed& sql, const ColumnLookup& lookup,
                                 const SqlDialect& dialect);
    // The same of a text not lexed yet.
    static Translation translate(const QString& sql, const ColumnLookup& lookup,
                                 const SqlDialect& dialect);

    // The translation for SQLite: "?" stay, values into REAL and DATE columns are wrapped as
    // oquivran_real(value) and oquivran_date(value).
    static QString rewrite(const QString& sql, const ColumnLookup& lookup);
};

} // namespace oquivran
