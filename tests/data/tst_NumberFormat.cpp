#include "LocaleText.h"
#include "NumberFormat.h"

#include <QtTest>

#include <limits>

using namespace oquivran;

class tst_NumberFormat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void format_data();
    void format();
    void underBothSeparators();
    void rounded_data();
    void rounded();
};

void tst_NumberFormat::format_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("expected"); // "." stands for the locale's separator

    // Half away from zero on the decimal value, although the binary value lies just below.
    QTest::newRow("12.34565 four decimals") << 12.34565 << "00.0000"
                                            << "12.3457";
    QTest::newRow("2.675 two decimals") << 2.675 << "0.00"
                                        << "2.68";
    QTest::newRow("1.005 two decimals") << 1.005 << "0.00"
                                        << "1.01";
    QTest::newRow("negative half") << -2.675 << "0.00"
                                   << "-2.68";
    QTest::newRow("0.5 whole") << 0.5 << "0"
                               << "1";
    QTest::newRow("2.5 whole") << 2.5 << "0"
                               << "3";
    QTest::newRow("-2.5 whole") << -2.5 << "0"
                                << "-3";
    QTest::newRow("below half") << 1.23444999 << "0.0000"
                                << "1.2344";
    QTest::newRow("carry through nines") << 9.99995 << "0.0000"
                                         << "10.0000";
    QTest::newRow("carry into new digit") << 99.995 << "00.00"
                                          << "100.00";
    // Integer part padded to the zeros before the point; longer parts print whole.
    QTest::newRow("zero") << 0.0 << "00.0000"
                          << "00.0000";
    QTest::newRow("negative zero") << -0.0 << "0.00"
                                   << "0.00";
    QTest::newRow("pad") << 5.0 << "000"
                         << "005";
    QTest::newRow("sub-item") << 2.0 << "0000"
                              << "0002";
    QTest::newRow("small") << 0.25 << "00.00"
                           << "00.25";
    QTest::newRow("long integer part") << 123456.0 << "00.00"
                                       << "123456.00";
    QTest::newRow("large") << 1e20 << "00.00"
                           << "100000000000000000000.00";
    QTest::newRow("negative padded") << -5.5 << "00.0000"
                                     << "-05.5000";
    QTest::newRow("negative rounding to zero") << -0.00001 << "0.00"
                                               << "0.00";
    QTest::newRow("six decimals") << 1234.5678 << "00.000000"
                                  << "1234.567800";
    QTest::newRow("eight decimals") << 12.34567890123456 << "00.00000000"
                                    << "12.34567890";
    QTest::newRow("fifteen digits first") << 0.1 + 0.2 << "0.0000000000000000"
                                          << "0.3000000000000000";
    QTest::newRow("tiny value") << 0.000056789 << "0.000000"
                                << "0.000057";
    QTest::newRow("below smallest place") << 0.00004 << "0.0000"
                                          << "0.0000";
    QTest::newRow("half of smallest place") << 0.00005 << "0.0000"
                                            << "0.0001";
    QTest::newRow("no decimals rounds") << 1234.5 << "000"
                                        << "1235";
    QTest::newRow("required quantity") << 9.0 << "00.0000"
                                       << "09.0000";
}

void tst_NumberFormat::format()
{
    QFETCH(double, value);
    QFETCH(QString, pattern);
    QFETCH(QString, expected);
    QCOMPARE(NumberFormat::format(value, pattern), localeText(expected));
}

void tst_NumberFormat::underBothSeparators()
{
    const LocaleRules comma(QLocale(QStringLiteral("es_AR")));
    const LocaleRules point(QLocale::c());
    QCOMPARE(NumberFormat::format(12.34565, QStringLiteral("00.0000"), comma),
             QStringLiteral("12,3457"));
    QCOMPARE(NumberFormat::format(12.34565, QStringLiteral("00.0000"), point),
             QStringLiteral("12.3457"));
    // Never grouping.
    QCOMPARE(NumberFormat::format(1234567.5, QStringLiteral("0.00"), comma),
             QStringLiteral("1234567,50"));
    QCOMPARE(NumberFormat::format(1234567.5, QStringLiteral("0.00"), point),
             QStringLiteral("1234567.50"));
}

void tst_NumberFormat::rounded_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<double>("expected");
    QTest::newRow("quantity to four decimals") << 12.34565 << "00.0000" << 12.3457;
    QTest::newRow("price to six decimals") << 1.12345675 << "00.000000" << 1.123457;
    QTest::newRow("negative") << -2.675 << "0.00" << -2.68;
    QTest::newRow("already exact") << 9.0 << "00.0000" << 9.0;
}

void tst_NumberFormat::rounded()
{
    QFETCH(double, value);
    QFETCH(QString, pattern);
    QFETCH(double, expected);
    QCOMPARE(NumberFormat::rounded(value, pattern), expected);
}

QTEST_GUILESS_MAIN(tst_NumberFormat)
#include "tst_NumberFormat.moc"
