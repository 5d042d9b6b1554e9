#include "LiteralParameters.h"

#include <QtTest>

using namespace oquivran;

class tst_LiteralParameters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void extract_data();
    void extract();
    void notShared_data();
    void notShared();
};

void tst_LiteralParameters::extract_data()
{
    QTest::addColumn<QString>("sql");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariantList>("values");

    QTest::newRow("text and number")
        << "select A from T where B = 'x' and C = 12"
        << "select A from T where B = ? and C = ?" << QVariantList{QStringLiteral("x"), qint64(12)};
    QTest::newRow("doubled quote")
        << "delete from T where A = 'O''Brien'"
        << "delete from T where A = ?" << QVariantList{QStringLiteral("O'Brien")};
    QTest::newRow("quotes only") << "update T set A = '''' where B = ''"
                                 << "update T set A = ? where B = ?"
                                 << QVariantList{QStringLiteral("'"), QString()};
    QTest::newRow("result columns keep their literals")
        << "select 'k' as K, 3, A from T where A = 'v'"
        << "select 'k' as K, 3, A from T where A = ?" << QVariantList{QStringLiteral("v")};
    QTest::newRow("alias after as")
        << "select A from T as 'x' where B = 1"
        << "select A from T as 'x' where B = ?" << QVariantList{qint64(1)};
    QTest::newRow("top and order by")
        << "select top 5 A from T where B = 2 order by 1, 2"
        << "select top 5 A from T where B = ? order by 1, 2" << QVariantList{qint64(2)};
    QTest::newRow("limit after order by")
        << "select A from T order by 1 limit 3"
        << "select A from T order by 1 limit ?" << QVariantList{qint64(3)};
    QTest::newRow("decimals and blobs stay")
        << "insert into T values (1.5, x'0A', .5, 7)"
        << "insert into T values (1.5, x'0A', .5, ?)" << QVariantList{qint64(7)};
    QTest::newRow("quoted names stay") << "update [a]] b] set \"c\"\"d\" = 'e', `f` = 2"
                                       << "update [a]] b] set \"c\"\"d\" = ?, `f` = ?"
                                       << QVariantList{QStringLiteral("e"), qint64(2)};
    // Only the outer select's columns name the result; a subquery's literal is a value.
    QTest::newRow("subquery literal")
        << "select A from T where B in (select 'z' from U) and C = 'y'"
        << "select A from T where B in (select ? from U) and C = ?"
        << QVariantList{QStringLiteral("z"), QStringLiteral("y")};
    QTest::newRow("comments") << "delete from T -- 'a'\nwhere A = 'b' /* 'c' */"
                              << "delete from T -- 'a'\nwhere A = ? /* 'c' */"
                              << QVariantList{QStringLiteral("b")};
    QTest::newRow("trailing semicolons")
        << "delete from T where A = 1;;"
        << "delete from T where A = ?;;" << QVariantList{qint64(1)};
    // Digits of other scripts are letters of a name to SQLite, not a number.
    QTest::newRow("other digits") << QStringLiteral("select A from T where B = \u0663 and C = 4")
                                  << QStringLiteral("select A from T where B = \u0663 and C = ?")
                                  << QVariantList{qint64(4)};
    QTest::newRow("accents and upper case")
        << "SELECT A FROM T WHERE B = 'Año'"
        << "SELECT A FROM T WHERE B = ?" << QVariantList{QStringLiteral("Año")};
}

void tst_LiteralParameters::extract()
{
    QFETCH(QString, sql);
    QFETCH(QString, text);
    QFETCH(QVariantList, values);
    const auto shared = LiteralParameters::extract(sql);
    QVERIFY(shared.has_value());
    QCOMPARE(shared->text, text);
    QCOMPARE(shared->values, values);
}

void tst_LiteralParameters::notShared_data()
{
    QTest::addColumn<QString>("sql");
    QTest::newRow("quote not closed") << "select A from T where B = 'x";
    QTest::newRow("doubled quote at the end") << "select A from T where B = 'x''";
    QTest::newRow("name not closed") << "select [A from T";
    QTest::newRow("comment not closed") << "select A from T /* where";
    QTest::newRow("own parameter") << "select A from T where B = ?";
    QTest::newRow("named parameter") << "select A from T where B = :b";
    QTest::newRow("two statements") << "delete from T; delete from U";
    QTest::newRow("not a query or action") << "create table T (A)";
    QTest::newRow("pragma") << "pragma journal_mode";
    QTest::newRow("empty") << "   ";
}

void tst_LiteralParameters::notShared()
{
    QFETCH(QString, sql);
    QVERIFY(!LiteralParameters::extract(sql).has_value());
}

QTEST_GUILESS_MAIN(tst_LiteralParameters)
#include "tst_LiteralParameters.moc"
