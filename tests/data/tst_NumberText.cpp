#include "LocaleText.h"
#include "NumberText.h"

#include <oquivran/RuntimeError.h>

#include <QRandomGenerator>
#include <QtTest>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

using namespace oquivran;

class tst_NumberText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toText_data();
    void toText();
    void toTextUnderBothSeparators();
    void toTextIsFifteenDigits();
    void toNumber_data();
    void toNumber();
    void refusesNonNumbers_data();
    void refusesNonNumbers();
    void groupingFollowsTheLocale();
    void roundTrip_data();
    void roundTrip();
};

// Between 1E-04 and 1E+15, with 15 decimals at most, the text is the value's 15 significant digits
// without trailing zeros, as "%.15g" prints it in C: values written with few decimals, many or none
// alike.
void tst_NumberText::toTextIsFifteenDigits()
{
    const LocaleRules point{QLocale::c()};
    QRandomGenerator random(20261126);
    QList<double> values = {0.1,
                            0.3,
                            -0.5,
                            2.5,
                            7.25,
                            1e-4,
                            0.000123,
                            12345.6789,
                            1e14,
                            -1e14,
                            99999999999.9999,
                            999999999999999.0,
                            0.1 + 0.2,
                            1.0 / 3};
    for (int i = 0; i < 20000; ++i) {
        double value = random.generateDouble() * std::pow(10.0, random.bounded(-3, 15));
        if (random.bounded(2) == 1)
            value = -value;
        if (i % 2 == 0) {
            const double scale = std::pow(10.0, random.bounded(0, 10));
            value = std::round(value * scale) / scale;
        }
        values.append(value);
    }
    for (const double value : std::as_const(values)) {
        if (std::fabs(value) < 1e-4 || std::fabs(value) >= 1e15)
            continue;
        char expected[64] = {};
        std::to_chars(expected, expected + sizeof expected - 1, value, std::chars_format::general,
                      15);
        // More than 15 decimals print in scientific notation.
        const char* decimals = std::strchr(expected, '.');
        if (decimals && std::strlen(decimals + 1) > 15)
            continue;
        const QString actual = NumberText::toText(value, point);
        if (actual != QLatin1String(expected))
            QFAIL(qPrintable(QStringLiteral("%1: \"%2\", C prints \"%3\"")
                                 .arg(value, 0, 'g', 17)
                                 .arg(actual, QLatin1String(expected))));
    }
}

void tst_NumberText::toText_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("expected"); // "." stands for the locale's separator

    QTest::newRow("zero") << 0.0 << "0";
    QTest::newRow("negative zero") << -0.0 << "0";
    QTest::newRow("whole") << 48.0 << "48";
    QTest::newRow("negative") << -12.5 << "-12.5";
    QTest::newRow("trailing zeros dropped") << 12.3400 << "12.34";
    QTest::newRow("binary noise hidden") << 0.1 + 0.2 << "0.3";
    QTest::newRow("fifteen digits") << 123456789.012345 << "123456789.012345";
    QTest::newRow("rounded to fifteen") << 1.23456789012345678 << "1.23456789012346";
    QTest::newRow("small fixed") << 0.000056789 << "0.000056789";
    QTest::newRow("fifteen decimals fixed") << 0.000000000000001 << "0.000000000000001";
    QTest::newRow("sixteen decimals scientific") << 1.5e-16 << "1.5E-16";
    QTest::newRow("tiny") << 1.5e-20 << "1.5E-20";
    QTest::newRow("long small scientific") << 1.23456789012345e-5 << "1.23456789012345E-05";
    QTest::newRow("below 1E+15 fixed") << 999999999999999.0 << "999999999999999";
    QTest::newRow("1E+15") << 1e15 << "1E+15";
    QTest::newRow("1.2E+15") << 1.2e15 << "1.2E+15";
    QTest::newRow("rounds up to 1E+15") << 999999999999999.9 << "1E+15";
    QTest::newRow("negative large") << -3.5e100 << "-3.5E+100";
    QTest::newRow("quantity") << 9.0 << "9";
    QTest::newRow("negative whole") << -7.0 << "-7";
    QTest::newRow("one") << 1.0 << "1";
    QTest::newRow("fifteen digits whole") << 123456789012345.0 << "123456789012345";
    QTest::newRow("negative below 1E+15") << -999999999999999.0 << "-999999999999999";
    QTest::newRow("negative 1E+15") << -1e15 << "-1E+15";
    QTest::newRow("multiplier") << 0.5 << "0.5";
}

void tst_NumberText::toText()
{
    QFETCH(double, value);
    QFETCH(QString, expected);
    QCOMPARE(NumberText::toText(value), localeText(expected));
}

void tst_NumberText::toTextUnderBothSeparators()
{
    const LocaleRules comma(QLocale(QStringLiteral("es_AR")));
    const LocaleRules point(QLocale::c());
    QCOMPARE(NumberText::toText(12.5, comma), QStringLiteral("12,5"));
    QCOMPARE(NumberText::toText(12.5, point), QStringLiteral("12.5"));
    QCOMPARE(NumberText::toText(1.2e15, comma), QStringLiteral("1,2E+15"));
    QCOMPARE(NumberText::toText(1234567.25, comma), QStringLiteral("1234567,25"));
}

void tst_NumberText::toNumber_data()
{
    QTest::addColumn<QString>("text"); // "." decimal separator, "_" grouping separator
    QTest::addColumn<double>("expected");

    QTest::newRow("whole") << "48" << 48.0;
    QTest::newRow("decimal") << "12.3456" << 12.3456;
    QTest::newRow("blanks around") << "  12.5  " << 12.5;
    QTest::newRow("leading minus") << "-3.25" << -3.25;
    QTest::newRow("leading plus") << "+3.25" << 3.25;
    QTest::newRow("trailing minus") << "3.25-" << -3.25;
    QTest::newRow("trailing plus") << "3.25+" << 3.25;
    QTest::newRow("minus then blank") << "- 7" << -7.0;
    QTest::newRow("grouped") << "1_234_567.5" << 1234567.5;
    QTest::newRow("exponent") << "1.5E3" << 1500.0;
    QTest::newRow("negative exponent") << "25e-2" << 0.25;
    QTest::newRow("exponent with plus") << "1.2E+15" << 1.2e15;
    QTest::newRow("leading separator") << ".5" << 0.5;
    QTest::newRow("trailing separator") << "5." << 5.0;
    QTest::newRow("zero") << "0" << 0.0;
    QTest::newRow("formatted quantity") << "00.0000" << 0.0;
}

void tst_NumberText::toNumber()
{
    QFETCH(QString, text);
    QFETCH(double, expected);
    QCOMPARE(NumberText::toNumber(localeText(text)), expected);
    QVERIFY(NumberText::holdsNumber(localeText(text)));
}

void tst_NumberText::refusesNonNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("blanks") << "   ";
    QTest::newRow("letters") << "abc";
    QTest::newRow("number then letters") << "12abc";
    QTest::newRow("sign only") << "-";
    QTest::newRow("two signs") << "-5-";
    QTest::newRow("exponent without digits") << "1.5E";
    QTest::newRow("separator only") << ".";
    QTest::newRow("two decimal separators") << "1.2.3";
    QTest::newRow("tab around") << "\t5";
    QTest::newRow("grouping after the decimals") << "1.5_0";
    QTest::newRow("overflow") << "1E+400";
}

void tst_NumberText::refusesNonNumbers()
{
    QFETCH(QString, text);
    const QString input = localeText(text);
    QVERIFY(!NumberText::holdsNumber(input));
    try {
        NumberText::toNumber(input);
        QFAIL("no error raised");
    } catch (const RuntimeError& error) {
        QCOMPARE(error.number, qint32(13));
        QCOMPARE(error.description, QStringLiteral("Type mismatch"));
    }
}

void tst_NumberText::groupingFollowsTheLocale()
{
    // Under "," decimals the "." groups thousands, and the other way round.
    const LocaleRules comma(QLocale(QStringLiteral("es_AR")));
    const LocaleRules point(QLocale::c());
    QCOMPARE(NumberText::toNumber(QStringLiteral("1.234,5"), comma), 1234.5);
    QCOMPARE(NumberText::toNumber(QStringLiteral("1,5"), comma), 1.5);
    QCOMPARE(NumberText::toNumber(QStringLiteral("1.5"), comma), 15.0);
    QCOMPARE(NumberText::toNumber(QStringLiteral("1,234.5"), point), 1234.5);
    QCOMPARE(NumberText::toNumber(QStringLiteral("1.5"), point), 1.5);
}

void tst_NumberText::roundTrip_data()
{
    QTest::addColumn<double>("value");
    QTest::newRow("quantity") << 12.3456;
    QTest::newRow("price") << 0.1234567;
    QTest::newRow("negative") << -48.25;
    QTest::newRow("large") << 123456789012.5;
    QTest::newRow("scientific") << 1.5e-20;
    QTest::newRow("big scientific") << 2.5e20;
}

void tst_NumberText::roundTrip()
{
    QFETCH(double, value);
    QCOMPARE(NumberText::toNumber(NumberText::toText(value)), value);
}

QTEST_GUILESS_MAIN(tst_NumberText)
#include "tst_NumberText.moc"
