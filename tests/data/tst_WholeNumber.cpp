#include "WholeNumber.h"

#include <oquivran/RuntimeError.h>

#include <QtTest>

#include <cmath>
#include <limits>

using namespace oquivran;

class tst_WholeNumber : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fromReal_data();
    void fromReal();
    void overflowFromReal_data();
    void overflowFromReal();
    void fromWhole();
};

void tst_WholeNumber::fromReal_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("2.5 to even") << 2.5 << 2;
    QTest::newRow("3.5 to even") << 3.5 << 4;
    QTest::newRow("-2.5 to even") << -2.5 << -2;
    QTest::newRow("2.4") << 2.4 << 2;
    QTest::newRow("2.6") << 2.6 << 3;
    QTest::newRow("largest") << 32767.0 << 32767;
    QTest::newRow("largest plus a little") << 32767.4 << 32767;
    QTest::newRow("smallest") << -32768.0 << -32768;
    QTest::newRow("-32768.5 to even") << -32768.5 << -32768;
}

void tst_WholeNumber::fromReal()
{
    QFETCH(double, value);
    QFETCH(int, expected);
    QCOMPARE(int(WholeNumber::toInt16(value)), expected);
}

void tst_WholeNumber::overflowFromReal_data()
{
    QTest::addColumn<double>("value");
    QTest::newRow("32767.5 rounds to 32768") << 32767.5;
    QTest::newRow("32768") << 32768.0;
    QTest::newRow("-32768.6") << -32768.6;
    QTest::newRow("huge") << 1e300;
    QTest::newRow("NaN") << std::numeric_limits<double>::quiet_NaN();
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity();
}

void tst_WholeNumber::overflowFromReal()
{
    QFETCH(double, value);
    try {
        WholeNumber::toInt16(value);
        QFAIL("no error raised");
    } catch (const RuntimeError& error) {
        QCOMPARE(error.number, qint32(6));
        QCOMPARE(error.description, QStringLiteral("Overflow"));
    }
}

void tst_WholeNumber::fromWhole()
{
    QCOMPARE(WholeNumber::toInt16(qint64(-32768)), qint16(-32768));
    QCOMPARE(WholeNumber::toInt16(qint64(32767)), qint16(32767));
    QVERIFY_THROWS_EXCEPTION(RuntimeError, WholeNumber::toInt16(qint64(32768)));
    QVERIFY_THROWS_EXCEPTION(RuntimeError, WholeNumber::toInt16(qint64(-32769)));
    QVERIFY_THROWS_EXCEPTION(RuntimeError, WholeNumber::toInt16(qint64(40000)));
}

QTEST_GUILESS_MAIN(tst_WholeNumber)
#include "tst_WholeNumber.moc"
