#include "ScreenStatements.h"

#include "SqlValue.h"

namespace oquivran {

namespace {

QString stockUpdate(const QString& column, const QString& value, const QString& declaration,
                    const QString& tariffPosition)
{
    return QStringLiteral("update INS set ") + column + QStringLiteral(" = '") +
           SqlValue::checked(value) + QStringLiteral("' ") +
           ScreenStatements::tariffLinesWhere(declaration, tariffPosition);
}

} // namespace

QString ScreenStatements::tariffLinesWhere(const QString& declaration,
                                           const QString& tariffPosition)
{
    return QStringLiteral("where INTDCL = '") + SqlValue::checked(declaration) +
           QStringLiteral("'  and ARTNCM = '") + SqlValue::checked(tariffPosition) + u'\'';
}

QString ScreenStatements::updateCtc(const QString& ctc, const QString& declaration,
                                    const QString& tariffPosition)
{
    return stockUpdate(QStringLiteral("ARTCTC"), ctc, declaration, tariffPosition);
}

QString ScreenStatements::updateExportReference(const QString& exportReference,
                                                const QString& declaration,
                                                const QString& tariffPosition)
{
    return stockUpdate(QStringLiteral("INSEXP"), exportReference, declaration, tariffPosition);
}

QString ScreenStatements::stockSearch(const QString& prefix, StockFilter filter)
{
    QString sql =
        QStringLiteral("select ARTNRO, INS.INTDCL as DIT, ARTNCM, ARTDSC, INTVEN, INTIOK, "
                       "ARTITM, ARTSBT, ARTPRE, ARTCTC, INSEXP from INS, INTINS where ") +
        QStringLiteral("ARTNRO like '") + SqlValue::checked(prefix) + QStringLiteral("%' ") +
        QStringLiteral("AND INS.INTDCL = INTINS.INTDCL ");
    if (filter == StockFilter::AvailableOnly)
        sql += QStringLiteral("AND ARTDSC>0 AND INTIOK = 1 ");
    sql += QStringLiteral("order by INTVEN");
    return sql;
}

} // namespace oquivran
