#include "PrintStatements.h"
#include "SharedStatementCheck.h"

#include <oquivran/RuntimeError.h>

#include <QtTest>

#include <functional>

using namespace oquivran;

class tst_PrintStatements : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exactText_data();
    void exactText();
    void quoteIsRefused_data();
    void quoteIsRefused();
    void sharedFormsAreWhatTheLexerTakesOut();
    void negativeSubItemIsNotShared();
};

void tst_PrintStatements::exactText_data()
{
    QTest::addColumn<QString>("actual");
    QTest::addColumn<QString>("expected");
    const QString op = QStringLiteral("OP-1");
    QTest::newRow("export data")
        << PrintStatements::exportData(op)
        << "select top 1 EXTNOF, EXTFOF,EXTFAC from DIP where EXTINT = 'OP-1'";
    QTest::newRow("invoices")
        << PrintStatements::invoices(op)
        << "select FACTURA from facturas where interno = 'OP-1' order by ORDEN";
    QTest::newRow("items") << PrintStatements::items(op)
                           << "select id from item where id<>0 and interno = 'OP-1' and "
                              "cancelaciones = 'OK' order by id";
    QTest::newRow("sub-items")
        << PrintStatements::subItems(op, 7)
        << "select idsub,idcatalogo,idarticulo,cantidad from groupsubitems where interno = 'OP-1' "
           "and cancelaciones = 'OK' and id = 7 order by idsub";
    QTest::newRow("summed lines")
        << PrintStatements::summedLines(op, 3)
        << "select INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,RIPMER,TRPMER,RIPPER,TRPPER,"
           "RIPCAN*PRDMUL as RIPCANex,sum(DIPCAN) as DIPCANex,sum(RALCAN) As RALCANex from DIP, "
           "INTINS where INTINS.INTDCL = ARTDCL   and EXTINT = 'OP-1'  and (EXTSBT = 3 or idroot "
           "= 3) group by INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,RIPMER,TRPMER,RIPPER,"
           "TRPPER,RIPCAN*PRDMUL order by INTFOF, ARTNRO, INTVEN ";
    QTest::newRow("control lines")
        << PrintStatements::controlLines(op, 3)
        << "select ARTDCL, ARTITM, ARTSBT, PRDNRO, ARTNRO, ARTNCM, RIPCAN, PRDMUL, DIPCAN, RIPPER, "
           "TRPPER, RIPMER, TRPMER, RALCAN, ARTPRE, DIPCTC, DIPEXP from DIP where  EXTINT = 'OP-1' "
           "and (EXTSBT = 3 or idroot = 3)";
    QTest::newRow("record export data")
        << PrintStatements::recordExportData(QStringLiteral("24/001/EC01/000123/K"),
                                             QStringLiteral("05/03/2027"), QStringLiteral("A,B"),
                                             op)
        << "update DIP set EXTNOF = '24/001/EC01/000123/K', EXTFOF = datevalue('05/03/2027'), "
           "EXTFAC = 'A,B' where EXTINT = 'OP-1'";
}

void tst_PrintStatements::exactText()
{
    QFETCH(QString, actual);
    QFETCH(QString, expected);
    QCOMPARE(actual, expected);
}

void tst_PrintStatements::quoteIsRefused_data()
{
    QTest::addColumn<std::function<QString()>>("build");
    const QString quoted = QStringLiteral("O'1");
    QTest::newRow("export data") << std::function<QString()>(
        [=] { return PrintStatements::exportData(quoted); });
    QTest::newRow("invoices") << std::function<QString()>(
        [=] { return PrintStatements::invoices(quoted); });
    QTest::newRow("items") << std::function<QString()>(
        [=] { return PrintStatements::items(quoted); });
    QTest::newRow("sub-items") << std::function<QString()>(
        [=] { return PrintStatements::subItems(quoted, 1); });
    QTest::newRow("summed lines") << std::function<QString()>(
        [=] { return PrintStatements::summedLines(quoted, 1); });
    QTest::newRow("control lines")
        << std::function<QString()>([=] { return PrintStatements::controlLines(quoted, 1); });
    // A quote in the official number breaks the update before anything runs.
    QTest::newRow("official number") << std::function<QString()>([=] {
        return PrintStatements::recordExportData(quoted, QStringLiteral("05/03/2027"),
                                                 QStringLiteral("-"), QStringLiteral("OP"));
    });
    QTest::newRow("official date") << std::function<QString()>([=] {
        return PrintStatements::recordExportData(QStringLiteral("N"), quoted, QStringLiteral("-"),
                                                 QStringLiteral("OP"));
    });
}

void tst_PrintStatements::quoteIsRefused()
{
    QFETCH(std::function<QString()>, build);
    try {
        build();
        QFAIL("no error");
    } catch (const RuntimeError& error) {
        QCOMPARE(error.number, qint32(UserDefinedError));
    }
}

void tst_PrintStatements::sharedFormsAreWhatTheLexerTakesOut()
{
    QRandomGenerator random(20261127);
    for (int round = 0; round < 2000; ++round) {
        const QString interno = randomValueText(random);
        const auto number = qint16(random.bounded(0, 32768));
        compareWithTaken(PrintStatements::itemsStatement(interno), PrintStatements::items(interno));
        compareWithTaken(PrintStatements::subItemsStatement(interno, number),
                         PrintStatements::subItems(interno, number));
        compareWithTaken(PrintStatements::summedLinesStatement(interno, number),
                         PrintStatements::summedLines(interno, number));
        compareWithTaken(PrintStatements::controlLinesStatement(interno, number),
                         PrintStatements::controlLines(interno, number));
        if (QTest::currentTestFailed()) {
            qWarning() << "round" << round;
            return;
        }
    }
}

void tst_PrintStatements::negativeSubItemIsNotShared()
{
    // The lexer reads a minus apart from the number after it: such a sub-item's lines are not
    // shared and run as their text, which keeps the number as written.
    const SharedStatement lines = PrintStatements::controlLinesStatement(QStringLiteral("OP"), -2);
    QVERIFY(!lines.isShared());
    QVERIFY(
        lines.text().endsWith(QStringLiteral("EXTINT = 'OP' and (EXTSBT = -2 or idroot = -2)")));
    const SharedStatement subItems = PrintStatements::subItemsStatement(QStringLiteral("OP"), -1);
    QVERIFY(!subItems.isShared());
    QVERIFY(subItems.text().contains(QStringLiteral(" and id = -1 order by idsub")));
}

QTEST_APPLESS_MAIN(tst_PrintStatements)
#include "tst_PrintStatements.moc"
