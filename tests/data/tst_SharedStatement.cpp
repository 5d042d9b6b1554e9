#include "LiteralParameters.h"
#include "SharedStatement.h"

#include <oquivran/RuntimeError.h>

#include <QtTest>

using namespace oquivran;

// A statement built shared must write the text the component writes, and its form and values
// must be what taking the literals out of that text gives, or it must say it is not shared.
class tst_SharedStatement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text_data();
    void text();
    void quoteIsRefused_data();
    void quoteIsRefused();
};

using Values = QList<QVariant>;

void tst_SharedStatement::text_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<Values>("values");
    QTest::addColumn<qsizetype>("valueCount");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("shared");

    QTest::newRow("texts and numbers")
        << QStringLiteral("select A from T where B = ?  and C = ? and D = cdbl(?)")
        << Values{QStringLiteral("x y"), qint64(3), QStringLiteral(" 1,5")} << qsizetype(3)
        << QStringLiteral("select A from T where B = 'x y'  and C = 3 and D = cdbl(' 1,5')")
        << true;
    QTest::newRow("empty and non-ASCII texts")
        << QStringLiteral("insert into T (A,B,C) values (?,?,?)")
        << Values{QString(), QStringLiteral(""), QStringLiteral("ñandú €")} << qsizetype(3)
        << QStringLiteral("insert into T (A,B,C) values ('','','ñandú €')") << true;
    QTest::newRow("a ? within quotes is the form's own")
        << QStringLiteral("select '?' as q, 'a''?' as r from T where A = ?")
        << Values{QStringLiteral("?")} << qsizetype(1)
        << QStringLiteral("select '?' as q, 'a''?' as r from T where A = '?'") << true;
    QTest::newRow("a value that is a question mark stays a value")
        << QStringLiteral("update T set A = ? where B = ?")
        << Values{QStringLiteral("?"), qint64(0)} << qsizetype(2)
        << QStringLiteral("update T set A = '?' where B = 0") << true;
    QTest::newRow("ends with a value")
        << QStringLiteral("delete from T where A = ?") << Values{qint64(1234567890123)}
        << qsizetype(1) << QStringLiteral("delete from T where A = 1234567890123") << true;
    QTest::newRow("a negative whole number is written but not shared")
        << QStringLiteral("delete from T where A = ?  and B = ?")
        << Values{qint64(-7), QStringLiteral("b")} << qsizetype(2)
        << QStringLiteral("delete from T where A = -7  and B = 'b'") << false;
    QTest::newRow("no values") << QStringLiteral("select A from T") << Values{} << qsizetype(0)
                               << QStringLiteral("select A from T") << true;
}

void tst_SharedStatement::text()
{
    QFETCH(QString, form);
    QFETCH(Values, values);
    QFETCH(qsizetype, valueCount);
    QFETCH(QString, expected);
    QFETCH(bool, shared);

    const SharedStatement::Form built(form);
    QCOMPARE(built.valueCount(), valueCount);
    SharedStatement statement(built);
    for (const QVariant& value : values) {
        if (value.typeId() == QMetaType::QString)
            statement.appendText(value.toString());
        else
            statement.appendWhole(value.toLongLong());
    }
    QCOMPARE(statement.text(), expected);
    QCOMPARE(statement.form(), form);
    QCOMPARE(statement.isShared(), shared);
    QCOMPARE(statement.values().size(), values.size());
    for (qsizetype i = 0; i < values.size(); ++i) {
        QCOMPARE(statement.values().at(i).typeId(), values.at(i).typeId());
        QCOMPARE(statement.values().at(i), values.at(i));
    }

    // What the lexer takes out of the text: this form and these values exactly, when shared.
    const std::optional<LiteralParameters::Result> taken = LiteralParameters::extract(expected);
    QVERIFY(taken);
    QCOMPARE(taken->text == form && taken->values == statement.values(), shared);
    // An empty text is an empty text, not a null one, as the lexer reads it: a database may
    // store a null text as null.
    if (shared) {
        for (qsizetype i = 0; i < taken->values.size(); ++i)
            QCOMPARE(statement.values().at(i).toString().isNull(),
                     taken->values.at(i).toString().isNull());
    }
}

void tst_SharedStatement::quoteIsRefused_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("alone") << QStringLiteral("'");
    QTest::newRow("first") << QStringLiteral("'abc");
    QTest::newRow("inside") << QStringLiteral("o'brien");
    QTest::newRow("last") << QStringLiteral("abc'");
}

void tst_SharedStatement::quoteIsRefused()
{
    QFETCH(QString, value);
    SharedStatement statement(SharedStatement::Form(QStringLiteral("select A from T where B = ?")));
    try {
        statement.appendText(value);
        QFAIL("a text holding a quote was taken");
    } catch (const RuntimeError& error) {
        QVERIFY2(error.description.contains(value), qPrintable(error.description));
    }
    QVERIFY(statement.values().isEmpty());
}

QTEST_GUILESS_MAIN(tst_SharedStatement)
#include "tst_SharedStatement.moc"
