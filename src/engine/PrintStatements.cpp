#include "PrintStatements.h"

#include "DischargeStatements.h"
#include "SqlValue.h"

namespace oquivran {

namespace {

// The sub-item's own lines and those of the sub-items grouped under it.
QString subItemAndGroup(qint16 idsub)
{
    const QString number = SqlValue::whole(idsub);
    return QStringLiteral(" and (EXTSBT = ") + number + QStringLiteral(" or idroot = ") + number +
           u')';
}

} // namespace

QString PrintStatements::exportData(const QString& interno)
{
    return QStringLiteral("select top 1 EXTNOF, EXTFOF,EXTFAC from DIP where EXTINT = '") +
           SqlValue::checked(interno) + u'\'';
}

QString PrintStatements::invoices(const QString& interno)
{
    return QStringLiteral("select FACTURA from facturas where interno = '") +
           SqlValue::checked(interno) + QStringLiteral("' order by ORDEN");
}

QString PrintStatements::items(const QString& interno)
{
    return QStringLiteral("select id from item where id<>0 and interno = '") +
           SqlValue::checked(interno) + QStringLiteral("' and cancelaciones = 'OK' order by id");
}

QString PrintStatements::subItems(const QString& interno, qint16 item)
{
    return QStringLiteral("select idsub,idcatalogo,idarticulo,cantidad from groupsubitems "
                          "where interno = '") +
           SqlValue::checked(interno) + QStringLiteral("' and cancelaciones = 'OK' and id = ") +
           SqlValue::whole(item) + QStringLiteral(" order by idsub");
}

QString PrintStatements::summedLines(const QString& interno, qint16 idsub)
{
    return QStringLiteral("select INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,RIPMER,TRPMER,"
                          "RIPPER,TRPPER,RIPCAN*PRDMUL as RIPCANex,sum(DIPCAN) as DIPCANex,"
                          "sum(RALCAN) As RALCANex "
                          "from DIP, INTINS "
                          "where INTINS.INTDCL = ARTDCL "
                          "  and EXTINT = '") +
           SqlValue::checked(interno) + QStringLiteral("' ") + subItemAndGroup(idsub) +
           QStringLiteral(" group by INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,RIPMER,"
                          "TRPMER,RIPPER,TRPPER,RIPCAN*PRDMUL"
                          " order by INTFOF, ARTNRO, INTVEN ");
}

QString PrintStatements::controlLines(const QString& interno, qint16 idsub)
{
    return QStringLiteral("select ARTDCL, ARTITM, ARTSBT, PRDNRO, ARTNRO, ARTNCM, RIPCAN, PRDMUL, "
                          "DIPCAN, RIPPER, TRPPER, RIPMER, TRPMER, RALCAN, ARTPRE, DIPCTC, DIPEXP "
                          "from DIP where  EXTINT = '") +
           SqlValue::checked(interno) + u'\'' + subItemAndGroup(idsub);
}

QString PrintStatements::recordExportData(const QString& officialNumber,
                                          const QString& officialDate, const QString& invoices,
                                          const QString& interno)
{
    return QStringLiteral("update DIP set EXTNOF = '") + SqlValue::checked(officialNumber) +
           QStringLiteral("', EXTFOF = datevalue('") + SqlValue::checked(officialDate) +
           QStringLiteral("'), EXTFAC = '") + SqlValue::checked(invoices) + QStringLiteral("' ") +
           DischargeStatements::operationWhere(interno);
}

} // namespace oquivran
