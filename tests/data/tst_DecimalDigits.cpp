#include "DecimalDigits.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

using namespace oquivran;

namespace {

// The value correctly rounded to 15 significant digits as the C library prints it ("%.14e"),
// with trailing zeros dropped: the digits and exponent DecimalDigits must give.
struct Expected
{
    std::string digits;
    int exponent = 0;
};

Expected printed(double value)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.14e", std::fabs(value));
    Expected expected;
    const char* e = std::strchr(buffer, 'e');
    expected.digits = std::string(1, buffer[0]) + std::string(buffer + 2, size_t(e - (buffer + 2)));
    expected.exponent = std::atoi(e + 1);
    while (!expected.digits.empty() && expected.digits.back() == '0')
        expected.digits.pop_back();
    return expected;
}

bool matches(double value, QString& failure)
{
    const DecimalDigits digits(value);
    if (value == 0.0)
        return digits.isZero() && digits.isNegative() == std::signbit(value);
    const Expected expected = printed(value);
    if (digits.digits() == expected.digits && digits.exponent() == expected.exponent &&
        digits.isNegative() == std::signbit(value))
        return true;
    failure = QStringLiteral("%1: %2e%3, expected %4e%5")
                  .arg(value, 0, 'g', 17)
                  .arg(QString::fromStdString(digits.digits()))
                  .arg(digits.exponent())
                  .arg(QString::fromStdString(expected.digits))
                  .arg(expected.exponent);
    return false;
}

} // namespace

class tst_DecimalDigits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chosenValues_data();
    void chosenValues();
    void everyKindOfDouble();
    void decimalsAsWritten();
};

void tst_DecimalDigits::chosenValues_data()
{
    QTest::addColumn<double>("value");
    QTest::newRow("zero") << 0.0;
    QTest::newRow("negative zero") << -0.0;
    QTest::newRow("one") << 1.0;
    QTest::newRow("tenth") << 0.1;
    QTest::newRow("2.675") << 2.675;
    QTest::newRow("12.34565") << 12.34565;
    QTest::newRow("fifteen digits") << 123456789012345.0;
    QTest::newRow("sixteen digits") << 1234567890123456.0;
    QTest::newRow("seventeen digits") << 0.30000000000000004;
    QTest::newRow("rounds up a decade") << 9.9999999999999995;
    QTest::newRow("just below ten") << std::nextafter(10.0, 0.0);
    QTest::newRow("just above ten") << std::nextafter(10.0, 20.0);
    QTest::newRow("1E+15") << 1e15;
    QTest::newRow("1E+20") << 1e20;
    QTest::newRow("largest") << std::numeric_limits<double>::max();
    QTest::newRow("smallest normal") << std::numeric_limits<double>::min();
    QTest::newRow("below smallest normal")
        << std::nextafter(std::numeric_limits<double>::min(), 0.0);
    QTest::newRow("smallest subnormal") << std::numeric_limits<double>::denorm_min();
    QTest::newRow("negative") << -1234.5678;
}

void tst_DecimalDigits::chosenValues()
{
    QFETCH(double, value);
    QString failure;
    QVERIFY2(matches(value, failure), qPrintable(failure));
}

// Doubles of every exponent and mantissa, from random bit patterns.
void tst_DecimalDigits::everyKindOfDouble()
{
    QRandomGenerator random(15);
    for (int i = 0; i < 300000; ++i) {
        const quint64 bits = random.generate64();
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value))
            continue;
        QString failure;
        if (!matches(value, failure))
            QFAIL(qPrintable(failure));
    }
}

// Quantities and prices as operators write them: a few digits and decimals, and their sums and
// products, where the rounding to 15 digits is what the number rules rely on.
void tst_DecimalDigits::decimalsAsWritten()
{
    QRandomGenerator random(2675);
    for (int i = 0; i < 300000; ++i) {
        const double a =
            double(random.bounded(1, 100000000)) / std::pow(10.0, random.bounded(0, 9));
        const double b = double(random.bounded(1, 100000)) / std::pow(10.0, random.bounded(0, 7));
        for (const double value : {a, a + b, a - b, a * b, a / b, a * 1.02, -a}) {
            QString failure;
            if (!matches(value, failure))
                QFAIL(qPrintable(failure));
        }
    }
}

QTEST_GUILESS_MAIN(tst_DecimalDigits)
#include "tst_DecimalDigits.moc"
