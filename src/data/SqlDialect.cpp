#include "SqlDialect.h"

namespace oquivran {

namespace {

// A text written as an SQL literal.
QString literal(const QString& text)
{
    QString quoted = text;
    quoted.replace(u'\'', QStringLiteral("''"));
    return u'\'' + quoted + u'\'';
}

} // namespace

const SqlDialect& SqlDialect::sqlite()
{
    static const SqlDialect dialect = [] {
        SqlDialect d;
        d.realValueBefore = QStringLiteral("oquivran_real(");
        d.realValueAfter = QStringLiteral(")");
        d.dateValueBefore = QStringLiteral("oquivran_date(");
        d.dateValueAfter = QStringLiteral(")");
        return d;
    }();
    return dialect;
}

SqlDialect SqlDialect::postgresql(const LocaleRules& rules)
{
    const QString separator = literal(QString(rules.decimalSeparator()));
    SqlDialect d;
    d.numberedParameters = true;
    d.readsWrittenValues = true;
    d.realType = QStringLiteral("double precision");
    d.dateType = QStringLiteral("date");
    // Text in the locale's format (what format() gives) becomes a number on the server; a
    // number passes through its exact text.
    d.realValueBefore = QStringLiteral("oquivran_real((");
    d.realValueAfter = QStringLiteral(")::text, ") + separator + u')';
    d.formatFunction = QStringLiteral("oquivran_format");
    d.formatLastArguments = QStringLiteral(", ") + separator;
    return d;
}

} // namespace oquivran
