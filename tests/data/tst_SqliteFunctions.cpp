#include "DateText.h"
#include "LocaleText.h"
#include "NumberText.h"
#include "OperatingSystemUser.h"
#include "SqliteFunctions.h"
#include "TempDatabase.h"

#include <QDate>
#include <QDateTime>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

#include <memory>

using oquivran::DateText;
using oquivran::NumberText;
using oquivran::SqliteFunctions;

namespace {

// What one "select expression" gives: the value and SQLite's type name, or the error.
struct Outcome
{
    QVariant value;
    QString type;
    QString error;
};

} // namespace

class tst_SqliteFunctions : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempDatabase> m_db;

    Outcome evaluate(const QString& expression) const
    {
        QSqlQuery query(m_db->database());
        Outcome outcome;
        if (!query.exec(u"select " + expression + u", typeof(" + expression + u")") ||
            !query.next()) {
            outcome.error = query.lastError().databaseText();
            return outcome;
        }
        outcome.value = query.value(0);
        outcome.type = query.value(1).toString();
        return outcome;
    }

    // A number as the user's locale writes it, between quotes.
    static QString quoted(double value) { return u'\'' + NumberText::toText(value) + u'\''; }

private Q_SLOTS:
    void initTestCase()
    {
        m_db = std::make_unique<TempDatabase>();
        QVERIFY(m_db->isOpen());
        QVERIFY(m_db->handle());
        QVERIFY(SqliteFunctions::install(m_db->handle()));
    }
    void cleanupTestCase() { m_db.reset(); }

    void installNeedsConnection() { QVERIFY(!SqliteFunctions::install(nullptr)); }

    void format_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::addColumn<QString>("expected"); // "." is the locale's decimal separator
        QTest::newRow("half up at 4 decimals")
            << QStringLiteral("format(12.34565,'00.0000')") << QStringLiteral("12.3457");
        QTest::newRow("2.675") << QStringLiteral("format(2.675,'0.00')") << QStringLiteral("2.68");
        QTest::newRow("integer padded")
            << QStringLiteral("format(5,'000')") << QStringLiteral("005");
        QTest::newRow("integer with decimals")
            << QStringLiteral("format(7,'0.00')") << QStringLiteral("7.00");
        QTest::newRow("negative") << QStringLiteral("format(-1.005,'0.00')")
                                  << QStringLiteral("-1.01");
        QTest::newRow("rounds to zero")
            << QStringLiteral("format(-0.001,'0.00')") << QStringLiteral("0.00");
        QTest::newRow("long integer part")
            << QStringLiteral("format(12345.6,'00.0')") << QStringLiteral("12345.6");
        QTest::newRow("arithmetic")
            << QStringLiteral("format(100.5 - 12.34565,'00.0000')") << QStringLiteral("88.1544");
        QTest::newRow("one argument") << QStringLiteral("format(1.5)") << QStringLiteral("1.5");
        QTest::newRow("one argument integer")
            << QStringLiteral("format(42)") << QStringLiteral("42");
        QTest::newRow("not printf") << QStringLiteral("format('%d',3)") << QStringLiteral("%d");
        QTest::newRow("text unchanged")
            << QStringLiteral("format('abc','0.00')") << QStringLiteral("abc");
        QTest::newRow("empty text unchanged") << QStringLiteral("format('','0.00')") << QString();
    }
    void format()
    {
        QFETCH(QString, expression);
        QFETCH(QString, expected);
        const Outcome outcome = evaluate(expression);
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.type, QStringLiteral("text"));
        QCOMPARE(outcome.value.toString(), localeText(expected));
    }

    void formatLocaleText()
    {
        // Text holding a number in the user's locale is formatted as that number.
        Outcome outcome = evaluate(u"format(" + quoted(12.34565) + u",'00.0000')");
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.value.toString(), localeText(QStringLiteral("12.3457")));
        outcome = evaluate(u"format(cdbl(" + quoted(0.5) + u"),'000.000')");
        QCOMPARE(outcome.value.toString(), localeText(QStringLiteral("000.500")));
    }

    void formatNulls_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::newRow("null value") << QStringLiteral("format(NULL,'0.00')");
        QTest::newRow("null pattern") << QStringLiteral("format(1.5,NULL)");
        QTest::newRow("null alone") << QStringLiteral("format(NULL)");
    }
    void formatNulls()
    {
        QFETCH(QString, expression);
        const Outcome outcome = evaluate(expression);
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.type, QStringLiteral("null"));
        QVERIFY(outcome.value.isNull());
    }

    void formatArgumentCount()
    {
        QVERIFY(!evaluate(QStringLiteral("format(1,'0','x')")).error.isEmpty());
        QVERIFY(!evaluate(QStringLiteral("format()")).error.isEmpty());
    }

    void cdbl_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<double>("expected");
        QTest::newRow("locale decimal") << quoted(12.3456) << 12.3456;
        QTest::newRow("locale negative") << quoted(-0.25) << -0.25;
        QTest::newRow("locale integer") << QStringLiteral("'17'") << 17.0;
        QTest::newRow("blanks around") << u"'  " + NumberText::toText(1.5) + u" '" << 1.5;
        QTest::newRow("integer") << QStringLiteral("3") << 3.0;
        QTest::newRow("real") << QStringLiteral("2.5") << 2.5;
        QTest::newRow("large") << quoted(123456789.125) << 123456789.125;
    }
    void cdbl()
    {
        QFETCH(QString, argument);
        QFETCH(double, expected);
        const Outcome outcome = evaluate(u"cdbl(" + argument + u')');
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.type, QStringLiteral("real"));
        QCOMPARE(outcome.value.toDouble(), expected);
    }

    void cdblNull()
    {
        const Outcome outcome = evaluate(QStringLiteral("cdbl(NULL)"));
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.type, QStringLiteral("null"));
    }

    void typeMismatch_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::newRow("cdbl text") << QStringLiteral("cdbl('abc')");
        QTest::newRow("cdbl empty") << QStringLiteral("cdbl('')");
        QTest::newRow("cdbl blob") << QStringLiteral("cdbl(x'01')");
        QTest::newRow("datevalue text") << QStringLiteral("datevalue('abc')");
        QTest::newRow("datevalue empty") << QStringLiteral("datevalue('')");
        QTest::newRow("datevalue bad day") << QStringLiteral("datevalue('2026-02-30')");
        QTest::newRow("datevalue number") << QStringLiteral("datevalue(5)");
    }
    void typeMismatch()
    {
        QFETCH(QString, expression);
        QCOMPARE(evaluate(expression).error, QStringLiteral("Type mismatch"));
    }

    void typeMismatchStopsStatement()
    {
        QSqlQuery query(m_db->database());
        QVERIFY(query.exec(QStringLiteral("create table T (A REAL)")));
        QVERIFY(!query.exec(QStringLiteral("insert into T (A) values (cdbl('x'))")));
        QCOMPARE(query.lastError().databaseText(), QStringLiteral("Type mismatch"));
        QVERIFY(query.exec(QStringLiteral("select count(*) from T")));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toInt(), 0);
        QVERIFY(query.exec(QStringLiteral("drop table T")));
    }

    void datevalue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDate>("expected");
        const QDate dates[] = {QDate(2026, 11, 22), QDate(2026, 1, 2), QDate(1999, 12, 31),
                               QDate(2000, 2, 29)};
        for (const QDate& date : dates)
            QTest::newRow(qPrintable(date.toString(Qt::ISODate))) << DateText::toText(date) << date;
        QTest::newRow("iso") << QStringLiteral("2026-11-22") << QDate(2026, 11, 22);
        QTest::newRow("two-digit year")
            << DateText::toText(QDate(2026, 3, 4))
                   .replace(QStringLiteral("2026"), QStringLiteral("26"))
            << QDate(2026, 3, 4);
    }
    void datevalue()
    {
        QFETCH(QString, text);
        QFETCH(QDate, expected);
        const Outcome outcome = evaluate(u"datevalue('" + text + u"')");
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.type, QStringLiteral("text"));
        QCOMPARE(outcome.value.toString(), expected.toString(QStringLiteral("yyyy-MM-dd")));
        // Back to the user's text.
        QCOMPARE(DateText::toText(QDate::fromString(outcome.value.toString(), Qt::ISODate)),
                 DateText::toText(expected));
    }

    void datevalueNull()
    {
        QCOMPARE(evaluate(QStringLiteral("datevalue(NULL)")).type, QStringLiteral("null"));
    }

    void storedValues_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("real from locale text")
            << u"oquivran_real(" + quoted(1.5) + u')' << QStringLiteral("real") << QVariant(1.5);
        QTest::newRow("real from integer text")
            << QStringLiteral("oquivran_real('12')") << QStringLiteral("real") << QVariant(12.0);
        QTest::newRow("real keeps integer")
            << QStringLiteral("oquivran_real(7)") << QStringLiteral("integer") << QVariant(7);
        QTest::newRow("real keeps real")
            << QStringLiteral("oquivran_real(7.25)") << QStringLiteral("real") << QVariant(7.25);
        QTest::newRow("real keeps empty text")
            << QStringLiteral("oquivran_real('')") << QStringLiteral("text") << QVariant(QString());
        QTest::newRow("real keeps other text")
            << QStringLiteral("oquivran_real('abc')") << QStringLiteral("text")
            << QVariant(QStringLiteral("abc"));
        QTest::newRow("real keeps null")
            << QStringLiteral("oquivran_real(NULL)") << QStringLiteral("null") << QVariant();
        QTest::newRow("date from locale text")
            << u"oquivran_date('" + DateText::toText(QDate(2026, 11, 22)) + u"')"
            << QStringLiteral("text") << QVariant(QStringLiteral("2026-11-22"));
        QTest::newRow("date keeps other text")
            << QStringLiteral("oquivran_date('abc')") << QStringLiteral("text")
            << QVariant(QStringLiteral("abc"));
        QTest::newRow("date keeps number")
            << QStringLiteral("oquivran_date(3)") << QStringLiteral("integer") << QVariant(3);
        QTest::newRow("date keeps null")
            << QStringLiteral("oquivran_date(NULL)") << QStringLiteral("null") << QVariant();
    }
    void storedValues()
    {
        QFETCH(QString, expression);
        QFETCH(QString, type);
        QFETCH(QVariant, expected);
        const Outcome outcome = evaluate(expression);
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.type, type);
        if (expected.isNull())
            QVERIFY(outcome.value.isNull() || outcome.value.toString().isEmpty());
        else if (type == u"text")
            QCOMPARE(outcome.value.toString(), expected.toString());
        else
            QCOMPARE(outcome.value.toDouble(), expected.toDouble());
    }

    // Who the audit trail names on SQLite when the host gives no name.
    void auditUser()
    {
        const Outcome outcome = evaluate(QStringLiteral("oquivran_audit_user()"));
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.type, QStringLiteral("text"));
        QCOMPARE(outcome.value.toString(), oquivran::OperatingSystemUser::name());
    }

    // When: local time with milliseconds and the offset from UTC, read back as the instant it
    // was written.
    void auditTime()
    {
        const QDateTime before = QDateTime::currentDateTime();
        const Outcome outcome = evaluate(QStringLiteral("oquivran_audit_time()"));
        const QDateTime after = QDateTime::currentDateTime();
        QCOMPARE(outcome.error, QString());
        QCOMPARE(outcome.type, QStringLiteral("text"));
        const QString text = outcome.value.toString();
        static const QRegularExpression shape(
            QStringLiteral(R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}\.\d{3}(Z|[+-]\d{2}:\d{2})$)"));
        QVERIFY2(shape.match(text).hasMatch(), qPrintable(text));
        const QDateTime written = QDateTime::fromString(text, Qt::ISODateWithMs);
        QVERIFY(written.isValid());
        QCOMPARE(written.offsetFromUtc(), before.offsetFromUtc());
        // Milliseconds are whole: the instant is at most one below the clock's.
        QVERIFY2(written.msecsTo(before) <= 1 && written <= after, qPrintable(text));
    }

    void functionsBelongToConnection()
    {
        TempDatabase other;
        QSqlQuery query(other.database());
        QVERIFY(!query.exec(QStringLiteral("select cdbl('1')")));
        // SQLite's own format is printf-like until the component's replaces it.
        QVERIFY(query.exec(QStringLiteral("select format('%d',3)")));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString(), QStringLiteral("3"));
        // SQLite refuses to replace a function while a statement is running.
        QVERIFY(!SqliteFunctions::install(other.handle()));
        query.finish();
        QVERIFY(SqliteFunctions::install(other.handle()));
        QVERIFY(query.exec(QStringLiteral("select format('%d',3), cdbl('1')")));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString(), QStringLiteral("%d"));
        QCOMPARE(query.value(1).toDouble(), 1.0);
    }
};

QTEST_GUILESS_MAIN(tst_SqliteFunctions)
#include "tst_SqliteFunctions.moc"
