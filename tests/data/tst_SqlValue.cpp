#include "DateText.h"
#include "LocaleText.h"
#include "SqlValue.h"

#include <oquivran/RuntimeError.h>

#include <QtTest>

using namespace oquivran;

class tst_SqlValue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text();
    void refusesQuote_data();
    void refusesQuote();
    void whole();
    void real_data();
    void real();
    void date();
};

void tst_SqlValue::text()
{
    QCOMPARE(SqlValue::text(QStringLiteral("OP-001")), QStringLiteral("'OP-001'"));
    QCOMPARE(SqlValue::text(QString()), QStringLiteral("''"));
    // Double quotes and other characters are not the literal's delimiter and pass.
    QCOMPARE(SqlValue::text(QStringLiteral("A\"B")), QStringLiteral("'A\"B'"));
    QCOMPARE(SqlValue::checked(QStringLiteral("A B")), QStringLiteral("A B"));
}

void tst_SqlValue::refusesQuote_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("inside") << "A'B";
    QTest::newRow("alone") << "'";
    QTest::newRow("injection") << "x'; delete from DIP; --";
}

void tst_SqlValue::refusesQuote()
{
    QFETCH(QString, value);
    for (const auto& build : {&SqlValue::text, &SqlValue::checked}) {
        try {
            build(value);
            QFAIL("a value with a quote was accepted");
        } catch (const RuntimeError& error) {
            QCOMPARE(error.number, qint32(UserDefinedError));
            QVERIFY2(error.description.contains(value), qPrintable(error.description));
            QVERIFY(error.description.contains(QStringLiteral("comilla")));
        }
    }
}

void tst_SqlValue::whole()
{
    QCOMPARE(SqlValue::whole(0), QStringLiteral("0"));
    QCOMPARE(SqlValue::whole(-12), QStringLiteral("-12"));
    QCOMPARE(SqlValue::whole(32767), QStringLiteral("32767"));
}

void tst_SqlValue::real_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("whole") << 9.0 << "cdbl('9')";
    QTest::newRow("decimals") << 12.3456 << "cdbl('12.3456')";
    QTest::newRow("negative") << -0.5 << "cdbl('-0.5')";
}

void tst_SqlValue::real()
{
    QFETCH(double, value);
    QFETCH(QString, expected);
    QCOMPARE(SqlValue::real(value), localeText(expected));
}

void tst_SqlValue::date()
{
    QCOMPARE(SqlValue::date(QDate(2026, 11, 22)), QStringLiteral("datevalue('22/11/2026')"));
    QCOMPARE(SqlValue::date(QDate(2027, 3, 5)),
             QStringLiteral("datevalue('") + DateText::toText(QDate(2027, 3, 5)) + "')");
}

QTEST_GUILESS_MAIN(tst_SqlValue)
#include "tst_SqlValue.moc"
