#include "SqlLexer.h"
#include "StatementRewriter.h"

#include <oquivran/RuntimeError.h>

#include <QRandomGenerator>
#include <QTest>

using oquivran::RuntimeError;
using oquivran::SqlDialect;
using oquivran::SqlLexer;
using oquivran::StatementRewriter;
using Kind = StatementRewriter::ColumnKind;

namespace {

// Columns as the discharge tables declare them; names compare case-insensitively, as SQLite's.
Kind columnKind(const QString& table, const QString& column)
{
    const QString t = table.toUpper();
    const QString c = column.toUpper();
    if (t == u"DIP") {
        if (c == u"DIPCAN" || c == u"PRDMUL" || c == u"RIPCAN")
            return Kind::Real;
        if (c == u"DIPFEC" || c == u"EXTFOF")
            return Kind::Date;
    }
    if (t == u"INS" && (c == u"ARTCAT" || c == u"ARTDSC"))
        return Kind::Real;
    return Kind::Other;
}

QString rewrite(const QString& sql)
{
    return StatementRewriter::rewrite(sql, columnKind);
}

// The "?" parameters of a lexed text.
qsizetype parameterCount(const SqlLexer::Lexed& lexed)
{
    qsizetype count = 0;
    for (const SqlLexer::Token& token : lexed.tokens) {
        if (token.kind == SqlLexer::Token::Kind::Parameter && token.size() == 1 &&
            lexed.text.at(token.start) == u'?')
            ++count;
    }
    return count;
}

// What any text becomes: a well-formed statement or a clear error. A text that does not lex, or
// holds several statements or none, comes back as it was; any other comes back lexing, its
// parentheses balanced, with the tokens handed over being its own, as many "?" as the text
// read and one conversion for each; for SQLite the text made is that of rewrite().
void checkTranslation(const QString& sql, const SqlDialect& dialect)
{
    StatementRewriter::Translation translation;
    try {
        translation = StatementRewriter::translate(sql, columnKind, dialect);
    } catch (const RuntimeError& error) {
        QVERIFY2(!error.description.isEmpty(), qPrintable(sql));
        return;
    }
    const SqlLexer::Lexed read = SqlLexer::lex(sql);
    if (!read.isLexed() || translation.statements != 1) {
        QCOMPARE(translation.text, sql);
        QCOMPARE(translation.problem, read.problem);
        QVERIFY(translation.parameters.isEmpty());
        return;
    }
    const SqlLexer::Lexed made = SqlLexer::lex(translation.text);
    QVERIFY2(made.isLexed(), qPrintable(sql));
    QCOMPARE(parameterCount(read), translation.parameters.size());
    if (!dialect.numberedParameters) {
        QCOMPARE(translation.tokens, made.tokens);
        QCOMPARE(parameterCount(made), translation.parameters.size());
    }
}

// A text and a truncated or shuffled form of it, through both servers' translations.
void checkTranslations(const QString& sql)
{
    checkTranslation(sql, SqlDialect::sqlite());
    if (QTest::currentTestFailed())
        return;
    checkTranslation(sql, SqlDialect::postgresql());
}

} // namespace

class tst_StatementRewriter : public QObject
{
    Q_OBJECT

private:
    static void addUnchanged(const char* name, const QString& sql)
    {
        QTest::newRow(name) << sql << sql;
    }

private Q_SLOTS:
    void top_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("expected");
        QTest::newRow("plain") << QStringLiteral("select top 1 * from DIP")
                               << QStringLiteral("select * from DIP limit 1");
        QTest::newRow("order by")
            << QStringLiteral("SELECT TOP 5 ARTNRO, ARTDSC FROM INS ORDER BY ARTDSC DESC")
            << QStringLiteral("SELECT ARTNRO, ARTDSC FROM INS ORDER BY ARTDSC DESC limit 5");
        QTest::newRow("where and order by")
            << QStringLiteral("Select Top 1 EXTITM from DIP where EXTINT = 'A' order by EXTITM")
            << QStringLiteral("Select EXTITM from DIP where EXTINT = 'A' order by EXTITM limit 1");
        QTest::newRow("trailing semicolon") << QStringLiteral("select top 2 a from t;")
                                            << QStringLiteral("select a from t limit 2;");
        QTest::newRow("flexible blanks") << QStringLiteral("select\n  top\t10   a from t  ")
                                         << QStringLiteral("select   a from t limit 10  ");
        QTest::newRow("distinct") << QStringLiteral("select distinct top 3 a from t")
                                  << QStringLiteral("select distinct a from t limit 3");
        QTest::newRow("top inside quotes")
            << QStringLiteral("select top 1 a from t where b = 'select top 9 x'")
            << QStringLiteral("select a from t where b = 'select top 9 x' limit 1");
        QTest::newRow("parenthesis in quotes")
            << QStringLiteral("select top 1 a from t where b = ')'")
            << QStringLiteral("select a from t where b = ')' limit 1");
        QTest::newRow("subquery")
            << QStringLiteral("select a from t where b in (select top 1 c from u order by c)")
            << QStringLiteral("select a from t where b in (select c from u order by c limit 1)");
        addUnchanged("no top", QStringLiteral("select a from t order by a"));
        addUnchanged("column named top", QStringLiteral("select top from t"));
        addUnchanged("top percent", QStringLiteral("select top 5 percent a from t"));
        addUnchanged("two statements", QStringLiteral("select top 1 a from t; delete from t"));
    }
    void top()
    {
        QFETCH(QString, sql);
        QFETCH(QString, expected);
        QCOMPARE(rewrite(sql), expected);
    }

    void insert_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("expected");
        QTest::newRow("real and date")
            << QStringLiteral("insert into DIP (EXTINT, DIPCAN, DIPFEC) values ('A', '1,5', "
                              "'22/11/2026')")
            << QStringLiteral("insert into DIP (EXTINT, DIPCAN, DIPFEC) values ('A', "
                              "oquivran_real('1,5'), oquivran_date('22/11/2026'))");
        QTest::newRow("functions inside")
            << QStringLiteral("INSERT INTO DIP (DIPCAN,EXTINT,DIPFEC,PRDMUL) VALUES "
                              "(cdbl('1,5'),'a,b',datevalue('22/11/2026'),"
                              "format(ARTCAT - cdbl('2'),'00.0000'))")
            << QStringLiteral("INSERT INTO DIP (DIPCAN,EXTINT,DIPFEC,PRDMUL) VALUES "
                              "(oquivran_real(cdbl('1,5')),'a,b',oquivran_date(datevalue("
                              "'22/11/2026')),oquivran_real(format(ARTCAT - cdbl('2'),"
                              "'00.0000')))");
        QTest::newRow("escaped quote and nested parentheses")
            << QStringLiteral("insert into DIP (EXTINT, DIPCAN) values ('it''s, (x', "
                              "(1 + (2 * 3)))")
            << QStringLiteral("insert into DIP (EXTINT, DIPCAN) values ('it''s, (x', "
                              "oquivran_real((1 + (2 * 3))))");
        QTest::newRow("case of names")
            << QStringLiteral("insert into dip (dipcan) values ('2')")
            << QStringLiteral("insert into dip (dipcan) values (oquivran_real('2'))");
        QTest::newRow("quoted names")
            << QStringLiteral("insert into \"DIP\" ([DIPCAN], \"DIPFEC\") values (1, 2)")
            << QStringLiteral(
                   "insert into \"DIP\" ([DIPCAN], \"DIPFEC\") values (oquivran_real(1), "
                   "oquivran_date(2))");
        QTest::newRow("several rows")
            << QStringLiteral("insert into DIP (EXTINT, DIPCAN) values ('a', '1'), ('b', '2');")
            << QStringLiteral("insert into DIP (EXTINT, DIPCAN) values ('a', oquivran_real('1')), "
                              "('b', oquivran_real('2'));");
        QTest::newRow("or replace")
            << QStringLiteral("insert or replace into INS (ARTNRO, ARTCAT) values ('x', '3')")
            << QStringLiteral(
                   "insert or replace into INS (ARTNRO, ARTCAT) values ('x', oquivran_real('3'))");
        addUnchanged("other columns only",
                     QStringLiteral("insert into DIP (EXTINT, EXTSBT) values ('1,5', 2)"));
        addUnchanged("unknown table", QStringLiteral("insert into XYZ (DIPCAN) values ('1,5')"));
        addUnchanged("insert select",
                     QStringLiteral("insert into DIP (EXTINT, DIPCAN) select a, b from t"));
        addUnchanged("no column list", QStringLiteral("insert into DIP values ('a', '1,5')"));
        addUnchanged("count mismatch",
                     QStringLiteral("insert into DIP (EXTINT, DIPCAN) values ('a')"));
        addUnchanged("default values", QStringLiteral("insert into DIP default values"));
    }
    void insert()
    {
        QFETCH(QString, sql);
        QFETCH(QString, expected);
        QCOMPARE(rewrite(sql), expected);
    }

    void update_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("expected");
        QTest::newRow("with where")
            << QStringLiteral("update INS set ARTDSC = format(ARTCAT - cdbl('2,5'),'00.0000') "
                              "where ARTNRO = 'X' and ARTCAT > 0")
            << QStringLiteral("update INS set ARTDSC = oquivran_real(format(ARTCAT - "
                              "cdbl('2,5'),'00.0000')) where ARTNRO = 'X' and ARTCAT > 0");
        QTest::newRow("without where")
            << QStringLiteral("UPDATE DIP SET DIPCAN = '1,5', EXTINT = 'a', DIPFEC = '01/02/2026'")
            << QStringLiteral("UPDATE DIP SET DIPCAN = oquivran_real('1,5'), EXTINT = 'a', "
                              "DIPFEC = oquivran_date('01/02/2026')");
        QTest::newRow("where with set and commas in quotes")
            << QStringLiteral("update DIP set PRDMUL = 2 where DIPUSR = 'a set DIPCAN = 3, b' "
                              "and EXTINT in ('x', 'y')")
            << QStringLiteral("update DIP set PRDMUL = oquivran_real(2) where DIPUSR = 'a set "
                              "DIPCAN = 3, b' and EXTINT in ('x', 'y')");
        QTest::newRow("where keyword in text value")
            << QStringLiteral("update DIP set DIPUSR = 'x where y', DIPCAN = '7' where EXTSBT = 1;")
            << QStringLiteral("update DIP set DIPUSR = 'x where y', DIPCAN = oquivran_real('7') "
                              "where EXTSBT = 1;");
        QTest::newRow("subquery value")
            << QStringLiteral("update DIP set DIPCAN = (select sum(ARTDSC) from INS where "
                              "INS.ARTNRO = DIP.ARTNRO) where EXTINT = 'a'")
            << QStringLiteral("update DIP set DIPCAN = oquivran_real((select sum(ARTDSC) from "
                              "INS where INS.ARTNRO = DIP.ARTNRO)) where EXTINT = 'a'");
        QTest::newRow("qualified column")
            << QStringLiteral("update DIP set DIP.DIPCAN = '1' where 1 = 1")
            << QStringLiteral("update DIP set DIP.DIPCAN = oquivran_real('1') where 1 = 1");
        QTest::newRow("compact")
            << QStringLiteral("update DIP set DIPCAN='1',RIPCAN='2'where EXTINT='a'")
            << QStringLiteral(
                   "update DIP set DIPCAN=oquivran_real('1'),RIPCAN=oquivran_real('2')where "
                   "EXTINT='a'");
        addUnchanged("other columns only",
                     QStringLiteral("update DIP set EXTINT = '1,5' where DIPCAN = '1,5'"));
        addUnchanged("unknown table", QStringLiteral("update XYZ set DIPCAN = '1,5'"));
    }
    void update()
    {
        QFETCH(QString, sql);
        QFETCH(QString, expected);
        QCOMPARE(rewrite(sql), expected);
    }

    void otherStatements_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::newRow("empty") << QString();
        QTest::newRow("blank") << QStringLiteral("   \n ");
        QTest::newRow("delete") << QStringLiteral("delete from DIP where DIPCAN = '1,5'");
        QTest::newRow("select") << QStringLiteral("select DIPCAN from DIP where DIPCAN > 0");
        QTest::newRow("create") << QStringLiteral(
            "create table X (DIPCAN REAL, DIPFEC DATE, top INTEGER)");
        QTest::newRow("pragma") << QStringLiteral("PRAGMA journal_mode");
        QTest::newRow("comment") << QStringLiteral("-- update DIP set DIPCAN = 1");
        QTest::newRow("two statements")
            << QStringLiteral("update DIP set DIPCAN = '1'; delete from DIP");
    }
    void otherStatements()
    {
        QFETCH(QString, sql);
        QCOMPARE(rewrite(sql), sql);
    }

    void garbage_data()
    {
        QTest::addColumn<QString>("sql");
        const char* const texts[] = {
            "select top",
            "select top 1",
            "select top x from t",
            "insert",
            "insert into",
            "insert into DIP (",
            "insert into DIP (DIPCAN) values (",
            "insert into DIP (DIPCAN) values ()",
            "insert into DIP () values ()",
            "insert into DIP (DIPCAN,) values ('1',)",
            "insert into DIP (DIPCAN) values ('1'",
            "insert into . (DIPCAN) values (1)",
            "update",
            "update DIP",
            "update DIP set",
            "update DIP set = 1",
            "update DIP set DIPCAN",
            "update DIP set DIPCAN =",
            "update DIP set DIPCAN = where",
            "update DIP set , where",
            "update DIP set (a, b) = (1, 2)",
            "update DIP set DIP. = 1",
            "'unterminated",
            "\"unterminated",
            "[unterminated",
            "((",
            "))",
            ")(",
            ";;;",
            "/* open comment",
            "select 'a''",
        };
        for (const char* text : texts)
            QTest::newRow(text) << QString::fromUtf8(text);
    }
    void garbage()
    {
        QFETCH(QString, sql);
        QCOMPARE(rewrite(sql), sql);
    }

    void truncatedStatements()
    {
        const QString statements[] = {
            QStringLiteral("insert into DIP (EXTINT, DIPCAN, DIPFEC) values ('a''b', "
                           "cdbl('1,5'), datevalue('22/11/2026'))"),
            QStringLiteral("update INS set ARTDSC = format(ARTCAT - cdbl('2'),'00.0000') where "
                           "ARTNRO = 'x'"),
            QStringLiteral("select top 1 \"a\" from [t] where b in (select top 2 c from u)"),
        };
        for (const QString& statement : statements) {
            for (qsizetype length = 0; length <= statement.size(); ++length) {
                const QString head = statement.left(length);
                const QString tail = statement.mid(length);
                for (const QString& text : {head, tail, QString(tail + head)}) {
                    checkTranslations(text);
                    if (QTest::currentTestFailed())
                        return;
                }
            }
        }
    }

    void randomText()
    {
        const QString alphabet = QStringLiteral("selct opinsrudaw TOPSETVALUE()',\";-/*[]`=.1 ");
        const QString words[] = {
            QStringLiteral("? "),      QStringLiteral("cdbl(? "), QStringLiteral("datevalue("),
            QStringLiteral("select "), QStringLiteral("top "),    QStringLiteral("insert "),
            QStringLiteral("into "),   QStringLiteral("values "), QStringLiteral("update "),
            QStringLiteral("set "),    QStringLiteral("where "),  QStringLiteral("DIPCAN "),
            QStringLiteral("DIP "),    QStringLiteral("( "),      QStringLiteral(") "),
            QStringLiteral(", "),      QStringLiteral("= "),      QStringLiteral("'x' "),
            QStringLiteral("3 "),
        };
        QRandomGenerator random(20261122);
        for (int round = 0; round < 20000; ++round) {
            QString sql;
            const int length = random.bounded(1, 24);
            for (int i = 0; i < length; ++i) {
                if (random.bounded(2) == 0)
                    sql += alphabet.at(random.bounded(int(alphabet.size())));
                else
                    sql += words[random.bounded(int(std::size(words)))];
            }
            checkTranslations(sql);
            if (QTest::currentTestFailed())
                return;
        }
    }

    void lookupIsAskedOnlyForWrittenColumns()
    {
        QStringList asked;
        const auto lookup = [&](const QString& table, const QString& column) {
            asked.append(table + u'.' + column);
            return Kind::Other;
        };
        StatementRewriter::rewrite(
            QStringLiteral(
                "update \"DIP\" set \"DIP\".\"DIPCAN\" = 1, [DIPFEC] = 2 where PRDMUL = 3"),
            lookup);
        QCOMPARE(asked, (QStringList{QStringLiteral("DIP.DIPCAN"), QStringLiteral("DIP.DIPFEC")}));
        asked.clear();
        StatementRewriter::rewrite(
            QStringLiteral("insert into main.\"D\"\"IP\" (\"A\"\"B\") values (1)"), lookup);
        QCOMPARE(asked, QStringList{QStringLiteral("main.D\"IP.A\"B")});
    }
};

QTEST_GUILESS_MAIN(tst_StatementRewriter)
#include "tst_StatementRewriter.moc"
