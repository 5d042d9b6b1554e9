#include "ExpiryStatements.h"

#include "SqlValue.h"

namespace oquivran {

QString ExpiryStatements::expiringStock(const QDate& lastDay)
{
    // Databases differ on where nulls sort, so the lines without expiry are put last by a
    // key of their own.
    return QStringLiteral("select INTINS.INTDCL as sINTDCL,INTADU,INTFOF,INTVEN,"
                          "INS.ARTNRO as sARTNRO,INS.ARTITM as sARTITM,INS.ARTSBT as sARTSBT,"
                          "ARTCAT,ARTDSC,ARTPRE,"
                          "(select sum(DIPCAN) from DIP where DIP.ARTDCL = INS.INTDCL"
                          " and DIP.ARTNRO = INS.ARTNRO and DIP.ARTITM = INS.ARTITM"
                          " and DIP.ARTSBT = INS.ARTSBT) as DIPCANsum "
                          "from INS, INTINS where INTINS.INTDCL = INS.INTDCL"
                          " AND INTIOK = 1 and ARTDSC>0"
                          " and (INTVEN is null or INTVEN <= ") +
           SqlValue::date(lastDay) +
           QStringLiteral(") order by case when INTVEN is null then 1 else 0 end, INTVEN,"
                          " INTINS.INTDCL, INS.ARTITM, INS.ARTSBT, INS.ARTNRO");
}

} // namespace oquivran
