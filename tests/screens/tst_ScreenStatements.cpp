#include "ScreenStatements.h"

#include <oquivran/RuntimeError.h>

#include <QtTest>

using namespace oquivran;

class tst_ScreenStatements : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void updates();
    void stockSearch();
    void quoteIsRefused();
};

void tst_ScreenStatements::updates()
{
    QCOMPARE(ScreenStatements::updateCtc("C1", "D1", "1234.56.78"),
             QStringLiteral(
                 "update INS set ARTCTC = 'C1' where INTDCL = 'D1'  and ARTNCM = '1234.56.78'"));
    QCOMPARE(ScreenStatements::updateExportReference("E1", "D1", "1234.56.78"),
             QStringLiteral(
                 "update INS set INSEXP = 'E1' where INTDCL = 'D1'  and ARTNCM = '1234.56.78'"));
}

void tst_ScreenStatements::stockSearch()
{
    QCOMPARE(ScreenStatements::stockSearch("AB", ScreenStatements::StockFilter::AvailableOnly),
             QStringLiteral(
                 "select ARTNRO, INS.INTDCL as DIT, ARTNCM, ARTDSC, INTVEN, INTIOK, ARTITM, "
                 "ARTSBT, ARTPRE, ARTCTC, INSEXP from INS, INTINS where ARTNRO like 'AB%' "
                 "AND INS.INTDCL = INTINS.INTDCL AND ARTDSC>0 AND INTIOK = 1 order by INTVEN"));
    QVERIFY(
        ScreenStatements::stockSearch("A ", ScreenStatements::StockFilter::AllLines)
            .endsWith(QStringLiteral("like 'A %' AND INS.INTDCL = INTINS.INTDCL order by INTVEN")));
}

void tst_ScreenStatements::quoteIsRefused()
{
    QVERIFY_THROWS_EXCEPTION(RuntimeError, ScreenStatements::updateCtc("A'B", "D1", "N"));
    QVERIFY_THROWS_EXCEPTION(RuntimeError,
                             ScreenStatements::updateExportReference("E", "D'1", "N"));
    QVERIFY_THROWS_EXCEPTION(
        RuntimeError, ScreenStatements::stockSearch("A'", ScreenStatements::StockFilter::AllLines));
}

QTEST_MAIN(tst_ScreenStatements)
#include "tst_ScreenStatements.moc"
