#include "LocaleText.h"
#include "ValueConversion.h"

#include <oquivran/RuntimeError.h>

#include <QtTest>

using namespace oquivran;

class tst_ValueConversion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toReal_data();
    void toReal();
    void toRealRefusesText();
    void toText_data();
    void toText();
};

void tst_ValueConversion::toReal_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<double>("expected");
    QTest::newRow("null is zero") << QVariant() << 0.0;
    QTest::newRow("null double is zero") << QVariant(QMetaType(QMetaType::Double)) << 0.0;
    QTest::newRow("int") << QVariant(7) << 7.0;
    QTest::newRow("negative int") << QVariant(-32768) << -32768.0;
    QTest::newRow("null int is zero") << QVariant(QMetaType(QMetaType::Int)) << 0.0;
    QTest::newRow("null long long is zero") << QVariant(QMetaType(QMetaType::LongLong)) << 0.0;
    QTest::newRow("long long") << QVariant(qlonglong(5000000000)) << 5000000000.0;
    QTest::newRow("double") << QVariant(12.25) << 12.25;
    QTest::newRow("locale text") << QVariant(localeText("12.3457")) << 12.3457;
    QTest::newRow("formatted total") << QVariant(localeText("00.000000")) << 0.0;
    QTest::newRow("true") << QVariant(true) << -1.0;
    QTest::newRow("date") << QVariant(QDate(1900, 1, 1)) << 2.0;
}

void tst_ValueConversion::toReal()
{
    QFETCH(QVariant, value);
    QFETCH(double, expected);
    QCOMPARE(ValueConversion::toReal(value), expected);
}

void tst_ValueConversion::toRealRefusesText()
{
    QVERIFY_THROWS_EXCEPTION(RuntimeError, ValueConversion::toReal(QVariant(QStringLiteral("x"))));
    QVERIFY_THROWS_EXCEPTION(RuntimeError, ValueConversion::toReal(QVariant(QString())));
}

void tst_ValueConversion::toText_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("null") << QVariant() << "";
    QTest::newRow("null text") << QVariant(QMetaType(QMetaType::QString)) << "";
    QTest::newRow("text") << QVariant(QStringLiteral(" CTC ")) << " CTC ";
    QTest::newRow("int") << QVariant(12) << "12";
    QTest::newRow("double") << QVariant(0.5) << localeText("0.5");
    QTest::newRow("date") << QVariant(QDate(2027, 3, 5)) << "05/03/2027";
}

void tst_ValueConversion::toText()
{
    QFETCH(QVariant, value);
    QFETCH(QString, expected);
    QCOMPARE(ValueConversion::toText(value), expected);
}

QTEST_GUILESS_MAIN(tst_ValueConversion)
#include "tst_ValueConversion.moc"
