#include "PrintStatements.h"

#include "DischargeStatements.h"
#include "SharedStatement.h"
#include "SqlValue.h"

namespace oquivran {

namespace {

using Form = SharedStatement::Form;
// The quoted 'OK' and the 0 are literals like the values, so the forms take them out too.
const Form itemsForm(QStringLiteral(
    "select id from item where id<>? and interno = ? and cancelaciones = ? order by id"));
const Form subItemsForm(QStringLiteral("select idsub,idcatalogo,idarticulo,cantidad from "
                                       "groupsubitems where interno = ? and cancelaciones = ? "
                                       "and id = ? order by idsub"));
// The sub-item's own lines and those of the sub-items grouped under it.
const QString subItemAndGroup = QStringLiteral(" and (EXTSBT = ? or idroot = ?)");
// The three blanks before "and", the two after the operation and the one at the end are the
// system's own.
const Form summedLinesForm(
    QStringLiteral("select INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,RIPMER,TRPMER,"
                   "RIPPER,TRPPER,RIPCAN*PRDMUL as RIPCANex,sum(DIPCAN) as DIPCANex,"
                   "sum(RALCAN) As RALCANex from DIP, INTINS where INTINS.INTDCL = ARTDCL "
                   "  and EXTINT = ? ") +
    subItemAndGroup +
    QStringLiteral(" group by INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,RIPMER,TRPMER,"
                   "RIPPER,TRPPER,RIPCAN*PRDMUL order by INTFOF, ARTNRO, INTVEN "));
// Two blanks after "where", as the system sends it.
const Form controlLinesForm(
    QStringLiteral("select ARTDCL, ARTITM, ARTSBT, PRDNRO, ARTNRO, ARTNCM, RIPCAN, PRDMUL, "
                   "DIPCAN, RIPPER, TRPPER, RIPMER, TRPMER, RALCAN, ARTPRE, DIPCTC, DIPEXP "
                   "from DIP where  EXTINT = ?") +
    subItemAndGroup);

// A sub-item's lines: the operation and the sub-item, twice.
SharedStatement subItemLines(const Form& form, const QString& interno, qint16 idsub)
{
    SharedStatement statement(form);
    statement.appendText(interno);
    statement.appendWhole(idsub);
    statement.appendWhole(idsub);
    return statement;
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

SharedStatement PrintStatements::itemsStatement(const QString& interno)
{
    SharedStatement statement(itemsForm);
    statement.appendWhole(0);
    statement.appendText(interno);
    statement.appendText(QStringLiteral("OK"));
    return statement;
}

SharedStatement PrintStatements::subItemsStatement(const QString& interno, qint16 item)
{
    SharedStatement statement(subItemsForm);
    statement.appendText(interno);
    statement.appendText(QStringLiteral("OK"));
    statement.appendWhole(item);
    return statement;
}

SharedStatement PrintStatements::summedLinesStatement(const QString& interno, qint16 idsub)
{
    return subItemLines(summedLinesForm, interno, idsub);
}

SharedStatement PrintStatements::controlLinesStatement(const QString& interno, qint16 idsub)
{
    return subItemLines(controlLinesForm, interno, idsub);
}

QString PrintStatements::items(const QString& interno)
{
    return itemsStatement(interno).text();
}

QString PrintStatements::subItems(const QString& interno, qint16 item)
{
    return subItemsStatement(interno, item).text();
}

QString PrintStatements::summedLines(const QString& interno, qint16 idsub)
{
    return summedLinesStatement(interno, idsub).text();
}

QString PrintStatements::controlLines(const QString& interno, qint16 idsub)
{
    return controlLinesStatement(interno, idsub).text();
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
