#include "DecimalDigits.h"
#include "LocaleText.h"
#include "NumberFormat.h"
#include "NumberText.h"

#include <oquivran/RuntimeError.h>

#include <QtTest>

#include <QRandomGenerator>

#include <cmath>
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
    void readingBackGivesWhatFormatPrints_data();
    void readingBackGivesWhatFormatPrints();
    void roundedRefusesWhatDoesNotReadBack();
    void formatPrintsTheFifteenDigits_data();
    void formatPrintsTheFifteenDigits();
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

void tst_NumberFormat::formatPrintsTheFifteenDigits_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<int>("integerZeros");
    QTest::addColumn<int>("decimals");
    QTest::newRow("quantity") << "00.0000" << 2 << 4;
    QTest::newRow("price") << "00.000000" << 2 << 6;
    QTest::newRow("whole") << "0" << 1 << 0;
    QTest::newRow("no integer zeros") << "#.00" << 0 << 2;
    QTest::newRow("no zeros at all") << "#" << 0 << 0;
    QTest::newRow("three integer zeros") << "000.0" << 3 << 1;
    QTest::newRow("ten decimals") << "0.0000000000" << 1 << 10;
}

// format() prints the value's 15 significant digits rounded to the pattern's places, whether
// the value already is such a decimal or not: checked against the digits themselves.
void tst_NumberFormat::formatPrintsTheFifteenDigits()
{
    QFETCH(QString, pattern);
    QFETCH(int, integerZeros);
    QFETCH(int, decimals);
    const LocaleRules point{QLocale::c()};
    QRandomGenerator random(20261126);
    QList<double> values = {0.0, -0.0, 0.5, -0.5, 1.0, -1.0, 0.1, 0.3, 2.675, 1.005, 1e-7, 1e14,
                            1e15, 999999999999999.0, 99999999999.9999, 12345.6789, -7.25, 0.999,
                            9.5,
                            // Longer than the digits kept without allocating.
                            1.5e47, -1e300, std::numeric_limits<double>::max(),
                            std::numeric_limits<double>::denorm_min()};
    for (int i = 0; i < 20000; ++i) {
        double value = random.generateDouble() * std::pow(10.0, random.bounded(-7, 16));
        if (random.bounded(2) == 1)
            value = -value;
        // Decimals as written: fewer, as many or more places than the pattern has.
        if (i % 2 == 0) {
            const double scale = std::pow(10.0, random.bounded(0, 12));
            value = std::round(value * scale) / scale;
        }
        values.append(value);
    }
    for (const double value : std::as_const(values)) {
        const DecimalDigits digits(value);
        std::string integerPart;
        std::string fraction;
        digits.fixed(decimals, integerPart, fraction);
        if (int(integerPart.size()) < integerZeros)
            integerPart.insert(0, size_t(integerZeros) - integerPart.size(), '0');
        const bool zero = integerPart.find_first_not_of('0') == std::string::npos &&
                          fraction.find_first_not_of('0') == std::string::npos;
        QString expected = digits.isNegative() && !zero ? QStringLiteral("-") : QString();
        expected += QString::fromStdString(integerPart);
        if (!fraction.empty())
            expected += u'.' + QString::fromStdString(fraction);
        const QString actual = NumberFormat::format(value, pattern, point);
        if (actual != expected)
            QFAIL(qPrintable(QStringLiteral("%1 with %2: \"%3\", its digits \"%4\"")
                                 .arg(value, 0, 'g', 17)
                                 .arg(pattern, actual, expected)));
    }
}

void tst_NumberFormat::readingBackGivesWhatFormatPrints_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::newRow("quantity") << "00.0000";
    QTest::newRow("price") << "00.000000";
    QTest::newRow("whole") << "0";
    QTest::newRow("no integer zeros") << "#.00";
    QTest::newRow("three integer zeros") << "000.0";
    QTest::newRow("no zeros at all") << "#";
}

// rounded() must give exactly the number that reading format()'s text gives, sign of zero
// included, under both separators; printed() that text and that number, or refuse as rounded()
// does.
void tst_NumberFormat::readingBackGivesWhatFormatPrints()
{
    QFETCH(QString, pattern);
    const LocaleRules point{QLocale::c()};
    const LocaleRules comma{QLocale(QLocale::Spanish, QLocale::Argentina)};
    QRandomGenerator random(20261122);
    QList<double> values = {0.0,
                            -0.0,
                            0.00004,
                            -0.00004,
                            0.00005,
                            -0.00005,
                            2.675,
                            -2.675,
                            12.34565,
                            1.005,
                            0.5,
                            -0.5,
                            1e15,
                            1e20,
                            -1e20,
                            123456789012345.6,
                            9.99995,
                            0.99995,
                            1.125e-7,
                            5e-324,
                            1e300,
                            99999999999.9999,
                            99999999999.99999,
                            999999999999999.0,
                            9999999999999999.0,
                            0.1,
                            0.3,
                            2.5,
                            -7.25,
                            1e-4,
                            1e-5,
                            12345.6789,
                            std::numeric_limits<double>::infinity(),
                            std::nan("")};
    for (int i = 0; i < 20000; ++i) {
        // Mantissas of every size, from a millionth to a thousand million, both signs.
        const double magnitude = std::pow(10.0, random.bounded(-7, 10));
        double value = random.generateDouble() * magnitude;
        if (random.bounded(2) == 1)
            value = -value;
        // Values that sit on a rounding half of the last printed place.
        if (i % 4 == 0)
            value = std::round(value * 1e5) / 1e5 + 0.000005;
        // Values written with a few decimals, as the stock holds them: fewer, as many or more
        // than the pattern prints.
        if (i % 4 == 1) {
            const double scale = std::pow(10.0, random.bounded(0, 9));
            value = std::round(value * scale) / scale;
        }
        values.append(value);
    }
    // Written into the same strings value after value, as a report writes its lines: longer
    // and shorter texts in turn leave nothing of the one before.
    QString written;
    QString printedInto;
    for (const double value : std::as_const(values)) {
        for (const LocaleRules* rules : {&point, &comma}) {
            const QString text = NumberFormat::format(value, pattern, *rules);
            NumberFormat::write(written, value, pattern, *rules);
            QCOMPARE(written, text);
            if (!NumberText::holdsNumber(text, *rules)) {
                QVERIFY_THROWS_EXCEPTION(RuntimeError,
                                         NumberFormat::rounded(value, pattern, *rules));
                QVERIFY_THROWS_EXCEPTION(RuntimeError,
                                         NumberFormat::printed(value, pattern, *rules));
                // A refused value leaves the string it was to be printed into as it was.
                const QString before = printedInto;
                QVERIFY_THROWS_EXCEPTION(RuntimeError,
                                         NumberFormat::print(printedInto, value, pattern, *rules));
                QCOMPARE(printedInto, before);
                continue;
            }
            const double expected = NumberText::toNumber(text, *rules);
            const double actual = NumberFormat::rounded(value, pattern, *rules);
            if (actual != expected || std::signbit(actual) != std::signbit(expected))
                QFAIL(qPrintable(QStringLiteral("%1 with %2: %3, reading \"%4\" gives %5")
                                     .arg(value, 0, 'g', 17)
                                     .arg(pattern)
                                     .arg(actual, 0, 'g', 17)
                                     .arg(text)
                                     .arg(expected, 0, 'g', 17)));
            const NumberFormat::Printed both = NumberFormat::printed(value, pattern, *rules);
            const double number = NumberFormat::print(printedInto, value, pattern, *rules);
            if (both.text != text || both.number != actual ||
                std::signbit(both.number) != std::signbit(actual) || printedInto != text ||
                number != actual)
                QFAIL(qPrintable(QStringLiteral("%1 with %2: printed \"%3\" and %4")
                                     .arg(value, 0, 'g', 17)
                                     .arg(pattern, both.text)
                                     .arg(both.number, 0, 'g', 17)));
        }
    }
}

void tst_NumberFormat::roundedRefusesWhatDoesNotReadBack()
{
    // Both rounded() and printed() refuse with a type mismatch, as reading the text does.
    const auto refused = [](double value, const QString& pattern) {
        const auto refuses = [](const auto& run) {
            try {
                run();
            } catch (const RuntimeError& error) {
                return error.number == 13;
            }
            return false;
        };
        return refuses([&] { NumberFormat::rounded(value, pattern); }) &&
               refuses([&] { NumberFormat::printed(value, pattern); });
    };
    // A pattern without zeros prints nothing for a value that rounds to zero.
    QVERIFY(refused(0.3, QStringLiteral("#")));
    QCOMPARE(NumberFormat::rounded(0.6, QStringLiteral("#")), 1.0);
    // Fifteen digits of the largest double lie beyond the range.
    QVERIFY(refused(std::numeric_limits<double>::max(), QStringLiteral("0.00")));
    QVERIFY(refused(std::numeric_limits<double>::infinity(), QStringLiteral("0.00")));
    QVERIFY(refused(std::nan(""), QStringLiteral("0.00")));
    // A negative value that rounds to zero reads back as zero without a sign.
    QVERIFY(!std::signbit(NumberFormat::rounded(-0.00004, QStringLiteral("0.0000"))));
}

QTEST_GUILESS_MAIN(tst_NumberFormat)
#include "tst_NumberFormat.moc"
