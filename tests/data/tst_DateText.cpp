#include "DateText.h"

#include <oquivran/RuntimeError.h>

#include <QtTest>

using namespace oquivran;

class tst_DateText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toTextByLocale_data();
    void toTextByLocale();
    void toTextPadsEveryPart_data();
    void toTextPadsEveryPart();
    void systemLocaleIsDayFirst();
    void parse_data();
    void parse();
    void refuses_data();
    void refuses();
    void monthFirstLocale();
    void roundTrip();
};

void tst_DateText::toTextByLocale_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("expected");
    QTest::newRow("es_AR") << "es_AR"
                           << "05/03/2027";
    QTest::newRow("C") << "C"
                       << "05/03/2027";
    QTest::newRow("en_US") << "en_US"
                           << "03/05/2027";
    QTest::newRow("de_DE") << "de_DE"
                           << "05.03.2027";
}

void tst_DateText::toTextByLocale()
{
    QFETCH(QString, locale);
    QFETCH(QString, expected);
    const LocaleRules rules{QLocale(locale)};
    QCOMPARE(DateText::toText(QDate(2027, 3, 5), rules), expected);
}

void tst_DateText::toTextPadsEveryPart_data()
{
    QTest::addColumn<QDate>("date");
    QTest::addColumn<QString>("dayFirst");
    QTest::addColumn<QString>("monthFirst");
    QTest::newRow("two-digit day and month") << QDate(2026, 12, 31) << "31/12/2026"
                                             << "12/31/2026";
    QTest::newRow("year one") << QDate(1, 1, 9) << "09/01/0001"
                              << "01/09/0001";
    QTest::newRow("three-digit year") << QDate(999, 10, 1) << "01/10/0999"
                                      << "10/01/0999";
    QTest::newRow("last four-digit year") << QDate(9999, 12, 31) << "31/12/9999"
                                          << "12/31/9999";
    // Years beyond four digits print whole.
    QTest::newRow("five-digit year") << QDate(12345, 6, 7) << "07/06/12345"
                                     << "06/07/12345";
}

void tst_DateText::toTextPadsEveryPart()
{
    QFETCH(QDate, date);
    QFETCH(QString, dayFirst);
    QFETCH(QString, monthFirst);
    QCOMPARE(DateText::toText(date, LocaleRules{QLocale(QStringLiteral("es_AR"))}), dayFirst);
    QCOMPARE(DateText::toText(date, LocaleRules{QLocale(QStringLiteral("en_US"))}), monthFirst);
}

void tst_DateText::systemLocaleIsDayFirst()
{
    // Both locales the tests run under put the day first.
    QCOMPARE(DateText::toText(QDate(2026, 11, 22)), QStringLiteral("22/11/2026"));
    QCOMPARE(DateText::toText(QDate()), QString());
}

void tst_DateText::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDate>("expected");
    QTest::newRow("four-digit year") << "22/11/2026" << QDate(2026, 11, 22);
    QTest::newRow("one-digit day and month") << "5/3/2027" << QDate(2027, 3, 5);
    QTest::newRow("two-digit year, this century") << "05/03/27" << QDate(2027, 3, 5);
    QTest::newRow("two-digit year 29") << "01/01/29" << QDate(2029, 1, 1);
    QTest::newRow("two-digit year 30") << "01/01/30" << QDate(1930, 1, 1);
    QTest::newRow("dashes") << "05-03-2027" << QDate(2027, 3, 5);
    QTest::newRow("dots") << "05.03.2027" << QDate(2027, 3, 5);
    QTest::newRow("blanks around") << "  05/03/2027 " << QDate(2027, 3, 5);
    QTest::newRow("leap day") << "29/02/2024" << QDate(2024, 2, 29);
    QTest::newRow("ISO") << "2026-11-22" << QDate(2026, 11, 22);
}

void tst_DateText::parse()
{
    QFETCH(QString, text);
    QFETCH(QDate, expected);
    QCOMPARE(DateText::toDate(text), expected);
    QVERIFY(DateText::holdsDate(text));
}

void tst_DateText::refuses_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("letters") << "abc";
    QTest::newRow("no leap day") << "29/02/2023";
    QTest::newRow("month 13") << "01/13/2027";
    QTest::newRow("mixed separators") << "05/03-2027";
    QTest::newRow("three-digit year") << "05/03/202";
    QTest::newRow("two parts") << "05/03";
    QTest::newRow("trailing text") << "05/03/2027x";
}

void tst_DateText::refuses()
{
    QFETCH(QString, text);
    QVERIFY(!DateText::holdsDate(text));
    try {
        DateText::toDate(text);
        QFAIL("no error raised");
    } catch (const RuntimeError& error) {
        QCOMPARE(error.number, qint32(13));
    }
}

void tst_DateText::monthFirstLocale()
{
    const LocaleRules rules(QLocale(QStringLiteral("en_US")));
    QCOMPARE(DateText::toDate(QStringLiteral("03/05/2027"), rules), QDate(2027, 3, 5));
    QVERIFY(!DateText::holdsDate(QStringLiteral("22/11/2026"), rules));
}

void tst_DateText::roundTrip()
{
    for (const QDate date : {QDate(2026, 11, 22), QDate(1999, 1, 31), QDate(2030, 12, 1)})
        QCOMPARE(DateText::toDate(DateText::toText(date)), date);
}

QTEST_GUILESS_MAIN(tst_DateText)
#include "tst_DateText.moc"
