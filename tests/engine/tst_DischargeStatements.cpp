#include "DischargeStatements.h"
#include "LiteralParameters.h"
#include "LocaleText.h"
#include "SharedStatementCheck.h"

#include <oquivran/RuntimeError.h>

#include <QRandomGenerator>
#include <QtTest>

#include <cmath>
#include <functional>

using namespace oquivran;

class tst_DischargeStatements : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void statements_data();
    void statements();
    void insertLine();
    void quoteIsRefused_data();
    void quoteIsRefused();
    void sharedFormsAreWhatTheLexerTakesOut();
    void negativeItemIsNotShared();
};

namespace {

const DischargeStatements::SubItem subItem{QStringLiteral("OP1"), 2, QStringLiteral("CAT"),
                                           QStringLiteral("PRD")};

DipCandidate stockLine()
{
    DipCandidate line;
    line.declaration = QStringLiteral("26001IC04000001A");
    line.inputCode = QStringLiteral("ART1");
    line.item = 3;
    line.subItem = 1;
    return line;
}

// A real of any size and sign, whole or not.
double randomReal(QRandomGenerator& random)
{
    const double magnitude = std::pow(10.0, random.bounded(-6, 12));
    const double value = random.generateDouble() * magnitude;
    switch (random.bounded(4)) {
    case 0:
        return std::round(value);
    case 1:
        return -value;
    case 2:
        return 0;
    default:
        return value;
    }
}

qint16 randomWhole(QRandomGenerator& random)
{
    return qint16(random.bounded(0, 32768));
}

} // namespace

void tst_DischargeStatements::statements_data()
{
    QTest::addColumn<QString>("built");
    QTest::addColumn<QString>("expected");

    QTest::newRow("multiplier")
        << DischargeStatements::productMultiplier("CAT", "PRD")
        << "select PRDMUL from PRD where CATNRO = 'CAT'  and PRDNRO = 'PRD'";
    QTest::newRow("relations")
        << DischargeStatements::relations(localeText("7.5"), "CAT", "PRD")
        << QStringLiteral("select ARTNRO, RPADES,RIPCAN as oRIPCAN, RIPCAN * cdbl('%1') as "
                          "sRIPCAN,RIPMER,RIPPER,TRPMER,TRPPER,DIPOBL from RIP where CATNRO = "
                          "'CAT'  and PRDNRO = 'PRD'")
               .arg(localeText("7.5"));
    QTest::newRow("stock of input")
        << DischargeStatements::stockOfInput("ART1")
        << "select INS.INTDCL as sINTDCL,INTFOF,ARTNRO,ARTITM,ARTSBT,ARTDSC,ARTPRE,ARTNCM,ARTCTC,"
           "INSEXP from INS, INTINS where ARTNRO = 'ART1' AND INTIOK = 1 and ARTDSC>0 AND "
           "INTINS.INTDCL = INS.INTDCL order by INTFOF,ARTITM,ARTSBT asc";
    QTest::newRow("delete") << DischargeStatements::deleteSubItem(subItem)
                            << "delete from DIP where EXTINT = 'OP1'  and EXTSBT = 2  and CATNRO = "
                               "'CAT'  and PRDNRO = 'PRD'";
    QTest::newRow("reload") << DischargeStatements::selectSubItem(subItem)
                            << "select * from DIP where EXTINT = 'OP1'  and EXTSBT = 2  and "
                               "CATNRO = 'CAT'  and PRDNRO = 'PRD'";
    QTest::newRow("totals")
        << DischargeStatements::subItemTotals(subItem)
        << "select sum(DIPCAN) as TotCan,format(sum(ARTPRE * RALCAN),'00.000000') as cif from DIP "
           "where EXTINT = 'OP1'  and EXTSBT = 2  and CATNRO = 'CAT'  and PRDNRO = 'PRD'";
    QTest::newRow("discharged sum")
        << DischargeStatements::dischargedSum(stockLine())
        << "select sum(DIPCAN) as total from DIP where ARTDCL = '26001IC04000001A'  and ARTNRO = "
           "'ART1'  and ARTITM = 3  and ARTSBT = 1";
    QTest::newRow("declared quantity")
        << DischargeStatements::declaredQuantity(stockLine())
        << "select ARTCAT from INS where INTDCL = '26001IC04000001A'  and ARTNRO = 'ART1'  and "
           "ARTITM = 3  and ARTSBT = 1";
    QTest::newRow("refresh")
        << DischargeStatements::refreshAvailability(localeText("12.5000"), "00.0000", stockLine())
        << QStringLiteral("update INS set ARTDSC = format(ARTCAT - cdbl('%1'),'00.0000')where "
                          "INTDCL = '26001IC04000001A'  and ARTNRO = 'ART1'  and ARTITM = 3  and "
                          "ARTSBT = 1")
               .arg(localeText("12.5000"));
    QTest::newRow("group") << DischargeStatements::groupSubItem("1", "3", "OP1")
                           << "update DIP set idroot = 1 where EXTSBT = 3 and EXTINT = 'OP1'";
    QTest::newRow("group, empty sub-item")
        << DischargeStatements::groupSubItem("1", "", "OP1")
        << "update DIP set idroot = 1 where EXTSBT =  and EXTINT = 'OP1'";
    QTest::newRow("reset") << DischargeStatements::resetItems("OP1")
                           << "update DIP set EXTITM = 0 where EXTINT = 'OP1'";
    QTest::newRow("number") << DischargeStatements::numberItem(4, "2", "OP1")
                            << "update DIP set EXTITM = 4 where EXTINT = 'OP1' and (EXTSBT = 2 or "
                               "idroot = 2) ";
    QTest::newRow("inputs")
        << DischargeStatements::itemInputs(4, "OP1")
        << "select ARTDCL, ARTITM, ARTSBT, ARTNCM, format(SUM(RALCAN),'00.00') AS RALCAN, DIPCTC, "
           "DIPEXP from DIP, INTINS where DIP.ARTDCL = INTINS.INTDCL and EXTINT = 'OP1' and "
           "EXTITM = 4 GROUP BY ARTDCL, ARTITM, ARTSBT, ARTNCM, DIPCTC, DIPEXP,INTFOF order by "
           "INTFOF";
}

void tst_DischargeStatements::statements()
{
    QFETCH(QString, built);
    QFETCH(QString, expected);
    QCOMPARE(built, expected);
}

void tst_DischargeStatements::insertLine()
{
    DischargeStatements::InsertValues values;
    values.subItem = subItem;
    values.productMultiplier = 1.5;
    values.realQuantity = 48;
    values.today = QDate(2026, 11, 22);
    DipCandidate line = stockLine();
    line.tariffPosition = QStringLiteral("1234-56-78");
    line.quantity = 50;
    line.unitPrice = 2.25;
    line.relationQuantity = 1.25;
    line.shrinkage = 2;
    line.loss = 1;
    line.shrinkageKind = 0;
    line.lossKind = 1;
    line.obligatory = 1;
    line.ctc = QStringLiteral("CTC-9");
    line.exportReference = QStringLiteral("EXP-1");
    // Flags quoted, item and sub-item bare, a blank after "cdbl('" of the real quantity.
    QCOMPARE(
        DischargeStatements::insertLine(values, line),
        QStringLiteral("insert into DIP (EXTINT,EXTSBT,ARTDCL,ARTNRO,ARTITM,ARTSBT,ARTPRE,CATNRO,"
                       "PRDNRO,PRDMUL,TRPMER,TRPPER,DIPOBL,DIPCTC,DIPEXP,ARTNCM,DIPCAN,RIPMER,"
                       "RIPPER,RIPCAN,DIPFEC,DIPUSR,RALCAN) values ('OP1',2,'26001IC04000001A',"
                       "'ART1',3,1,cdbl('%1'),'CAT','PRD','%2','0','1','1','CTC-9','EXP-1',"
                       "'1234-56-78',cdbl('50'),cdbl('2'),cdbl('1'),cdbl('%3'),"
                       "datevalue('22/11/2026'),'',cdbl(' 48'))")
            .arg(localeText("2.25"), localeText("1.5"), localeText("1.25")));
}

void tst_DischargeStatements::quoteIsRefused_data()
{
    QTest::addColumn<int>("builder");
    for (int i = 0; i < 13; ++i)
        QTest::newRow(qPrintable(QString::number(i))) << i;
}

void tst_DischargeStatements::quoteIsRefused()
{
    QFETCH(int, builder);
    const QString quoted = QStringLiteral("O'P");
    DipCandidate line = stockLine();
    line.ctc = quoted;
    DischargeStatements::SubItem quotedSubItem = subItem;
    quotedSubItem.interno = quoted;
    DischargeStatements::InsertValues values;
    values.subItem = subItem;
    // A stock line's key with a quote in its declaration, and in its input.
    DipCandidate quotedDeclaration = stockLine();
    quotedDeclaration.declaration = quoted;
    DipCandidate quotedInput = stockLine();
    quotedInput.inputCode = quoted;
    const std::function<QString()> builders[] = {
        [&] { return DischargeStatements::productMultiplier(quoted, "PRD"); },
        [&] { return DischargeStatements::stockOfInput(quoted); },
        [&] { return DischargeStatements::insertLine(values, line); },
        [&] { return DischargeStatements::deleteSubItem(quotedSubItem); },
        [&] { return DischargeStatements::subItemTotals(quotedSubItem); },
        [&] { return DischargeStatements::groupSubItem("1", "2", quoted); },
        [&] { return DischargeStatements::resetItems(quoted); },
        [&] { return DischargeStatements::numberItem(1, "2", quoted); },
        [&] { return DischargeStatements::itemInputs(1, quoted); },
        [&] { return DischargeStatements::dischargedSum(quotedDeclaration); },
        [&] { return DischargeStatements::declaredQuantity(quotedInput); },
        [&] { return DischargeStatements::refreshAvailability(quoted, "00.00", stockLine()); },
        [&] { return DischargeStatements::stockLineWhere(quotedDeclaration); },
    };
    QVERIFY_THROWS_EXCEPTION(RuntimeError, builders[builder]());
}

void tst_DischargeStatements::sharedFormsAreWhatTheLexerTakesOut()
{
    QRandomGenerator random(20261126);
    for (int round = 0; round < 2000; ++round) {
        DipCandidate line;
        line.declaration = randomValueText(random);
        line.inputCode = randomValueText(random);
        line.item = randomWhole(random);
        line.subItem = randomWhole(random);
        line.tariffPosition = randomValueText(random);
        line.quantity = randomReal(random);
        line.unitPrice = randomReal(random);
        line.relationQuantity = randomReal(random);
        line.shrinkage = randomReal(random);
        line.loss = randomReal(random);
        // The flags are written as quoted texts, so a negative one is a text like any other.
        line.shrinkageKind = qint16(random.bounded(-2, 3));
        line.lossKind = qint16(random.bounded(-2, 3));
        line.obligatory = qint16(random.bounded(-2, 3));
        line.ctc = randomValueText(random);
        line.exportReference = randomValueText(random);
        DischargeStatements::InsertValues values;
        values.subItem = {randomValueText(random), randomWhole(random), randomValueText(random),
                          randomValueText(random)};
        values.productMultiplier = randomReal(random);
        values.realQuantity = randomReal(random);
        values.today = QDate(2000, 1, 1).addDays(random.bounded(20000));
        const QString total = randomValueText(random);
        const QString pattern = randomValueText(random);

        compareWithTaken(DischargeStatements::insertLineStatement(values, line),
                         DischargeStatements::insertLine(values, line));
        compareWithTaken(DischargeStatements::stockOfInputStatement(line.inputCode),
                         DischargeStatements::stockOfInput(line.inputCode));
        compareWithTaken(DischargeStatements::dischargedSumStatement(line),
                         DischargeStatements::dischargedSum(line));
        compareWithTaken(DischargeStatements::declaredQuantityStatement(line),
                         DischargeStatements::declaredQuantity(line));
        compareWithTaken(DischargeStatements::refreshAvailabilityStatement(total, pattern, line),
                         DischargeStatements::refreshAvailability(total, pattern, line));
        if (QTest::currentTestFailed()) {
            qWarning() << "round" << round;
            return;
        }
    }
}

void tst_DischargeStatements::negativeItemIsNotShared()
{
    // The lexer reads a minus apart from the number after it, so a negative item's text has
    // another shared form: the statement says so and runs as its text.
    DipCandidate line = stockLine();
    line.item = -3;
    const SharedStatement statement = DischargeStatements::declaredQuantityStatement(line);
    QVERIFY(!statement.isShared());
    QCOMPARE(statement.text(),
             QStringLiteral("select ARTCAT from INS where INTDCL = '26001IC04000001A'  and ARTNRO "
                            "= 'ART1'  and ARTITM = -3  and ARTSBT = 1"));
    const std::optional<LiteralParameters::Result> taken =
        LiteralParameters::extract(statement.text());
    QVERIFY(taken);
    QVERIFY(taken->text != statement.form());
    DischargeStatements::InsertValues values;
    values.subItem = subItem;
    values.subItem.subItem = -2;
    QVERIFY(!DischargeStatements::insertLineStatement(values, stockLine()).isShared());
    QVERIFY(DischargeStatements::insertLineStatement(values, line).text().contains(u",-2,"));
}

QTEST_GUILESS_MAIN(tst_DischargeStatements)
#include "tst_DischargeStatements.moc"
