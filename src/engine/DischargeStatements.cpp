#include "DischargeStatements.h"

#include "DateText.h"
#include "NumberText.h"
#include "SqlValue.h"

namespace oquivran {

namespace {

QString number(double value)
{
    return NumberText::toText(value);
}

// The rest of a stock line's key after its declaration.
QString stockLineRest(const DipCandidate& line)
{
    return QStringLiteral("'  and ARTNRO = '") + SqlValue::checked(line.inputCode) +
           QStringLiteral("'  and ARTITM = ") + SqlValue::whole(line.item) +
           QStringLiteral("  and ARTSBT = ") + SqlValue::whole(line.subItem);
}

} // namespace

QString DischargeStatements::subItemWhere(const SubItem& s)
{
    // The two blanks before each "and" are the system's own.
    return QStringLiteral("where EXTINT = '") + SqlValue::checked(s.interno) +
           QStringLiteral("'  and EXTSBT = ") + SqlValue::whole(s.subItem) +
           QStringLiteral("  and CATNRO = '") + SqlValue::checked(s.catalog) +
           QStringLiteral("'  and PRDNRO = '") + SqlValue::checked(s.product) + u'\'';
}

QString DischargeStatements::stockLineWhere(const DipCandidate& line)
{
    return QStringLiteral("where INTDCL = '") + SqlValue::checked(line.declaration) +
           stockLineRest(line);
}

QString DischargeStatements::productMultiplier(const QString& catalog, const QString& product)
{
    return QStringLiteral("select PRDMUL from PRD where CATNRO = '") + SqlValue::checked(catalog) +
           QStringLiteral("'  and PRDNRO = '") + SqlValue::checked(product) + u'\'';
}

QString DischargeStatements::relations(const QString& productFigure, const QString& catalog,
                                       const QString& product)
{
    return QStringLiteral("select ARTNRO, RPADES,RIPCAN as oRIPCAN, RIPCAN * cdbl('") +
           SqlValue::checked(productFigure) +
           QStringLiteral("') as sRIPCAN,RIPMER,RIPPER,TRPMER,TRPPER,DIPOBL from RIP "
                          "where CATNRO = '") +
           SqlValue::checked(catalog) + QStringLiteral("'  and PRDNRO = '") +
           SqlValue::checked(product) + u'\'';
}

QString DischargeStatements::stockOfInput(const QString& inputCode)
{
    return QStringLiteral("select INS.INTDCL as sINTDCL,INTFOF,ARTNRO,ARTITM,ARTSBT,ARTDSC,ARTPRE,"
                          "ARTNCM,ARTCTC,INSEXP from INS, INTINS where ARTNRO = '") +
           SqlValue::checked(inputCode) +
           QStringLiteral("' AND INTIOK = 1 and ARTDSC>0 AND INTINS.INTDCL = INS.INTDCL order by "
                          "INTFOF,ARTITM,ARTSBT asc");
}

QString DischargeStatements::insertLine(const InsertValues& values, const DipCandidate& line)
{
    const SubItem& s = values.subItem;
    // The whole-number flags go in quotes while item and sub-item go bare, and the real
    // quantity has a blank after its opening quote: both as the system writes them.
    return QStringLiteral(
               "insert into DIP (EXTINT,EXTSBT,ARTDCL,ARTNRO,ARTITM,ARTSBT,ARTPRE,CATNRO,"
               "PRDNRO,PRDMUL,TRPMER,TRPPER,DIPOBL,DIPCTC,DIPEXP,ARTNCM,DIPCAN,RIPMER,"
               "RIPPER,RIPCAN,DIPFEC,DIPUSR,RALCAN) values (") +
           SqlValue::text(s.interno) + u',' + SqlValue::whole(s.subItem) + u',' +
           SqlValue::text(line.declaration) + u',' + SqlValue::text(line.inputCode) + u',' +
           SqlValue::whole(line.item) + u',' + SqlValue::whole(line.subItem) + u',' +
           QStringLiteral("cdbl('") + number(line.unitPrice) + QStringLiteral("'),") +
           SqlValue::text(s.catalog) + u',' + SqlValue::text(s.product) + u',' +
           SqlValue::text(number(values.productMultiplier)) + u',' +
           SqlValue::text(SqlValue::whole(line.shrinkageKind)) + u',' +
           SqlValue::text(SqlValue::whole(line.lossKind)) + u',' +
           SqlValue::text(SqlValue::whole(line.obligatory)) + u',' + SqlValue::text(line.ctc) +
           u',' + SqlValue::text(line.exportReference) + u',' +
           SqlValue::text(line.tariffPosition) + u',' + QStringLiteral("cdbl('") +
           number(line.quantity) + QStringLiteral("'),cdbl('") + number(line.shrinkage) +
           QStringLiteral("'),cdbl('") + number(line.loss) + QStringLiteral("'),cdbl('") +
           number(line.relationQuantity) + QStringLiteral("'),datevalue('") +
           DateText::toText(values.today) + QStringLiteral("'),'',cdbl(' ") +
           number(values.realQuantity) + QStringLiteral("'))");
}

QString DischargeStatements::deleteSubItem(const SubItem& subItem)
{
    return QStringLiteral("delete from DIP ") + subItemWhere(subItem);
}

QString DischargeStatements::selectSubItem(const SubItem& subItem)
{
    return QStringLiteral("select * from DIP ") + subItemWhere(subItem);
}

QString DischargeStatements::subItemTotals(const SubItem& subItem)
{
    return QStringLiteral("select sum(DIPCAN) as TotCan,format(sum(ARTPRE * RALCAN),'00.000000') "
                          "as cif from DIP ") +
           subItemWhere(subItem);
}

QString DischargeStatements::dischargedSum(const DipCandidate& line)
{
    return QStringLiteral("select sum(DIPCAN) as total from DIP where ARTDCL = '") +
           SqlValue::checked(line.declaration) + stockLineRest(line);
}

QString DischargeStatements::declaredQuantity(const DipCandidate& line)
{
    return QStringLiteral("select ARTCAT from INS ") + stockLineWhere(line);
}

QString DischargeStatements::refreshAvailability(const QString& totalText,
                                                 const QString& valueFormat,
                                                 const DipCandidate& line)
{
    // The where-clause follows the closing parenthesis with no blank, as the system sends it.
    return QStringLiteral("update INS set ARTDSC = format(ARTCAT - cdbl('") +
           SqlValue::checked(totalText) + QStringLiteral("'),'") + SqlValue::checked(valueFormat) +
           QStringLiteral("')") + stockLineWhere(line);
}

QString DischargeStatements::groupSubItem(const QString& root, const QString& subItem,
                                          const QString& interno)
{
    return QStringLiteral("update DIP set idroot = ") + SqlValue::checked(root) + u' ' +
           groupSubItemWhere(subItem, interno);
}

QString DischargeStatements::groupSubItemWhere(const QString& subItem, const QString& interno)
{
    return QStringLiteral("where EXTSBT = ") + SqlValue::checked(subItem) +
           QStringLiteral(" and EXTINT = '") + SqlValue::checked(interno) + u'\'';
}

QString DischargeStatements::resetItems(const QString& interno)
{
    return QStringLiteral("update DIP set EXTITM = 0 ") + operationWhere(interno);
}

QString DischargeStatements::operationWhere(const QString& interno)
{
    return QStringLiteral("where EXTINT = '") + SqlValue::checked(interno) + u'\'';
}

QString DischargeStatements::numberItem(qint16 item, const QString& subItem, const QString& interno)
{
    return QStringLiteral("update DIP set EXTITM = ") + SqlValue::whole(item) + u' ' +
           numberItemWhere(subItem, interno);
}

QString DischargeStatements::numberItemWhere(const QString& subItem, const QString& interno)
{
    const QString sub = SqlValue::checked(subItem);
    return QStringLiteral("where EXTINT = '") + SqlValue::checked(interno) +
           QStringLiteral("' and (EXTSBT = ") + sub + QStringLiteral(" or idroot = ") + sub +
           QStringLiteral(") ");
}

QString DischargeStatements::itemInputs(qint32 item, const QString& interno)
{
    return QStringLiteral("select ARTDCL, ARTITM, ARTSBT, ARTNCM, format(SUM(RALCAN),'00.00') AS "
                          "RALCAN, DIPCTC, DIPEXP from DIP, INTINS where DIP.ARTDCL = "
                          "INTINS.INTDCL and EXTINT = '") +
           SqlValue::checked(interno) + QStringLiteral("' and EXTITM = ") + SqlValue::whole(item) +
           QStringLiteral(" GROUP BY ARTDCL, ARTITM, ARTSBT, ARTNCM, DIPCTC, DIPEXP,INTFOF order "
                          "by INTFOF");
}

} // namespace oquivran
