#include "DischargeStatements.h"

#include "DateText.h"
#include "NumberText.h"
#include "SharedStatement.h"
#include "SqlValue.h"

namespace oquivran {

namespace {

QString number(double value)
{
    return NumberText::toText(value);
}

// The stock line a candidate line draws on: its declaration, input, item and sub-item.
void appendStockLine(SharedStatement& statement, const DipCandidate& line)
{
    statement.appendText(line.declaration);
    statement.appendText(line.inputCode);
    statement.appendWhole(line.item);
    statement.appendWhole(line.subItem);
}

// The shared forms of the statements the discharge loop runs for each line. The key of a
// stock line after its declaration; the two blanks before each "and" are the system's own.
using Form = SharedStatement::Form;
const QString stockLineRest = QStringLiteral("  and ARTNRO = ?  and ARTITM = ?  and ARTSBT = ?");
const QString stockLineWhereText = QStringLiteral("where INTDCL = ?") + stockLineRest;
const Form stockLineWhereForm(stockLineWhereText);
const Form dischargedSumForm(
    QStringLiteral("select sum(DIPCAN) as total from DIP where ARTDCL = ?") + stockLineRest);
const Form declaredQuantityForm(QStringLiteral("select ARTCAT from INS ") + stockLineWhereText);
// The where-clause follows the closing parenthesis with no blank, as the system sends it.
const Form refreshAvailabilityForm(
    QStringLiteral("update INS set ARTDSC = format(ARTCAT - cdbl(?),?)") + stockLineWhereText);
// The whole-number flags go in quotes while item and sub-item go bare, and the real quantity
// has a blank after its opening quote: both as the system writes them.
const Form insertLineForm(QStringLiteral(
    "insert into DIP (EXTINT,EXTSBT,ARTDCL,ARTNRO,ARTITM,ARTSBT,ARTPRE,CATNRO,PRDNRO,PRDMUL,"
    "TRPMER,TRPPER,DIPOBL,DIPCTC,DIPEXP,ARTNCM,DIPCAN,RIPMER,RIPPER,RIPCAN,DIPFEC,DIPUSR,"
    "RALCAN) values (?,?,?,?,?,?,cdbl(?),?,?,?,?,?,?,?,?,?,cdbl(?),cdbl(?),cdbl(?),cdbl(?),"
    "datevalue(?),?,cdbl(?))"));

// An input's stock lines still available, oldest first.
const Form stockOfInputForm(
    QStringLiteral("select INS.INTDCL as sINTDCL,INTFOF,ARTNRO,ARTITM,ARTSBT,ARTDSC,ARTPRE,ARTNCM,"
                   "ARTCTC,INSEXP from INS, INTINS where ARTNRO = ? AND INTIOK = ? and ARTDSC>? "
                   "AND INTINS.INTDCL = INS.INTDCL order by INTFOF,ARTITM,ARTSBT asc"));

// A stock line's statement: its form and the stock line's key.
SharedStatement stockLineStatement(const Form& form, const DipCandidate& line)
{
    SharedStatement statement(form);
    appendStockLine(statement, line);
    return statement;
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
    return stockLineStatement(stockLineWhereForm, line).text();
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
    return stockOfInputStatement(inputCode).text();
}

SharedStatement DischargeStatements::stockOfInputStatement(const QString& inputCode)
{
    SharedStatement statement(stockOfInputForm);
    statement.appendText(inputCode);
    // The flag and the least availability are literals the form takes out too.
    statement.appendWhole(1);
    statement.appendWhole(0);
    return statement;
}

SharedStatement DischargeStatements::insertLineStatement(const InsertValues& values,
                                                         const DipCandidate& line)
{
    const SubItem& s = values.subItem;
    SharedStatement statement(insertLineForm);
    statement.appendText(s.interno);
    statement.appendWhole(s.subItem);
    statement.appendText(line.declaration);
    statement.appendText(line.inputCode);
    statement.appendWhole(line.item);
    statement.appendWhole(line.subItem);
    statement.appendText(number(line.unitPrice));
    statement.appendText(s.catalog);
    statement.appendText(s.product);
    statement.appendText(number(values.productMultiplier));
    statement.appendText(SqlValue::whole(line.shrinkageKind));
    statement.appendText(SqlValue::whole(line.lossKind));
    statement.appendText(SqlValue::whole(line.obligatory));
    statement.appendText(line.ctc);
    statement.appendText(line.exportReference);
    statement.appendText(line.tariffPosition);
    statement.appendText(number(line.quantity));
    statement.appendText(number(line.shrinkage));
    statement.appendText(number(line.loss));
    statement.appendText(number(line.relationQuantity));
    statement.appendText(DateText::toText(values.today));
    statement.appendText(QString());
    statement.appendText(u' ' + number(values.realQuantity));
    return statement;
}

QString DischargeStatements::insertLine(const InsertValues& values, const DipCandidate& line)
{
    return insertLineStatement(values, line).text();
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

SharedStatement DischargeStatements::dischargedSumStatement(const DipCandidate& line)
{
    return stockLineStatement(dischargedSumForm, line);
}

QString DischargeStatements::dischargedSum(const DipCandidate& line)
{
    return dischargedSumStatement(line).text();
}

SharedStatement DischargeStatements::declaredQuantityStatement(const DipCandidate& line)
{
    return stockLineStatement(declaredQuantityForm, line);
}

QString DischargeStatements::declaredQuantity(const DipCandidate& line)
{
    return declaredQuantityStatement(line).text();
}

SharedStatement DischargeStatements::refreshAvailabilityStatement(const QString& totalText,
                                                                  const QString& valueFormat,
                                                                  const DipCandidate& line)
{
    SharedStatement statement(refreshAvailabilityForm);
    statement.appendText(totalText);
    statement.appendText(valueFormat);
    appendStockLine(statement, line);
    return statement;
}

QString DischargeStatements::refreshAvailability(const QString& totalText,
                                                 const QString& valueFormat,
                                                 const DipCandidate& line)
{
    return refreshAvailabilityStatement(totalText, valueFormat, line).text();
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
