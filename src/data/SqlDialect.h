#pragma once

#include "LocaleRules.h"

#include <QString>

namespace oquivran {

// What a server needs written differently when the component's SQL text is translated for it
// (StatementRewriter): everything else of the translation is the same for every server.
class SqlDialect
{
public:
    // SQLite with the component's functions installed on the connection (SqliteFunctions):
    // cdbl, datevalue and format run there as written, values written into REAL and DATE
    // columns go through oquivran_real() and oquivran_date(), parameters are "?".
    static const SqlDialect& sqlite();
    // PostgreSQL with the functions of the PostgreSQL schema: parameters are $1, $2...;
    // cdbl() and datevalue() of a written value are read here, by the user's locale, and sent
    // as a typed value; format(value, pattern) runs as oquivran_format with the locale's
    // decimal separator; a value written into a real column that is not a written value goes
    // through oquivran_real().
    static SqlDialect postgresql(const LocaleRules& rules = LocaleRules::system());

    // "$1" for the first parameter rather than "?".
    bool numberedParameters = false;
    // cdbl('…') and datevalue('…') are read on this side; written values bound for real and
    // date columns are converted before they are sent.
    bool readsWrittenValues = false;
    // The server's types for a real and a date, as a cast names them.
    QString realType;
    QString dateType;
    // What encloses a value written into a real or date column that is not a written value;
    // empty when it goes as it is.
    QString realValueBefore;
    QString realValueAfter;
    QString dateValueBefore;
    QString dateValueAfter;
    // The function that runs format(value, pattern), with what follows the pattern; empty when
    // format runs as written.
    QString formatFunction;
    QString formatLastArguments;
};

} // namespace oquivran
