#include "DisjunctionPlanner.h"
#include "LiteralParameters.h"
#include "SqlLexer.h"
#include "SqlTokenCursor.h"
#include "StatementRewriter.h"

#include <QTest>

using oquivran::DisjunctionPlanner;
using oquivran::LiteralParameters;
using oquivran::SqlDialect;
using oquivran::SqlLexer;
using oquivran::SqlTokenCursor;
using oquivran::StatementRewriter;
using Kind = SqlLexer::Token::Kind;
using Problem = SqlLexer::Problem;

namespace {

// Each token as "<kind><depth>:<text>", the kind a letter: Word, Number, Text, Quoted name,
// Parameter, Symbol.
QStringList described(const SqlLexer::Lexed& lexed)
{
    QStringList result;
    for (const SqlLexer::Token& token : lexed.tokens) {
        static const char kinds[] = "WNTQPS";
        result.append(QChar(QLatin1Char(kinds[int(token.kind)])) + QString::number(token.depth) +
                      u':' + lexed.text.mid(token.start, token.size()));
    }
    return result;
}

// DIPCAN is a real column, DIPFEC a date column, as the discharge tables declare them.
StatementRewriter::ColumnKind columnKind(const QString& table, const QString& column)
{
    if (table.compare(u"DIP", Qt::CaseInsensitive) != 0)
        return StatementRewriter::ColumnKind::Other;
    if (column.compare(u"DIPCAN", Qt::CaseInsensitive) == 0)
        return StatementRewriter::ColumnKind::Real;
    if (column.compare(u"DIPFEC", Qt::CaseInsensitive) == 0)
        return StatementRewriter::ColumnKind::Date;
    return StatementRewriter::ColumnKind::Other;
}

// A table DIP with rowids, every column asked for, and an index for each branch of the
// disjunctions below.
DisjunctionPlanner::Catalog catalog()
{
    DisjunctionPlanner::Catalog catalog;
    catalog.hasColumn = [](const QString& table, const QString&) {
        return table.compare(u"DIP", Qt::CaseInsensitive) == 0;
    };
    catalog.hasRowid = [](const QString&) {
        return true;
    };
    catalog.indexes = [](const QString&) {
        return QList<QStringList>{{QStringLiteral("EXTINT"), QStringLiteral("EXTSBT")},
                                  {QStringLiteral("EXTINT"), QStringLiteral("idroot")}};
    };
    return catalog;
}

} // namespace

class tst_SqlLexer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tokens_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QStringList>("tokens");
        QTest::addColumn<Problem>("problem");
        const auto row = [](const char* name, const QString& sql, const QString& tokens,
                            Problem problem = Problem::None) {
            QTest::newRow(name) << sql << (tokens.isEmpty() ? QStringList() : tokens.split(u' '))
                                << problem;
        };
        row("words", QStringLiteral(u"select a from t"),
            QStringLiteral(u"W0:select W0:a W0:from W0:t"));
        row("empty", QStringLiteral(u"  \n\t "), QString());
        row("line comment", QStringLiteral(u"a -- b 'c\nd"), QStringLiteral(u"W0:a W0:d"));
        row("line comment at the end", QStringLiteral(u"a --"), QStringLiteral(u"W0:a"));
        row("block comment", QStringLiteral(u"a/* b ' */c"), QStringLiteral(u"W0:a W0:c"));
        row("comment marks inside quotes", QStringLiteral(u"'--' '/*'"),
            QStringLiteral(u"T0:'--' T0:'/*'"));
        row("unclosed comment", QStringLiteral(u"a /* b"), QStringLiteral(u"W0:a"),
            Problem::UnclosedComment);
        row("unclosed quote", QStringLiteral(u"a 'b"), QStringLiteral(u"W0:a"),
            Problem::UnclosedQuote);
        row("unclosed name", QStringLiteral(u"a [b"), QStringLiteral(u"W0:a"),
            Problem::UnclosedQuote);
        row("doubled quote at the end", QStringLiteral(u"'a''"), QString(), Problem::UnclosedQuote);
        row("doubled quotes", QStringLiteral(u"'it''s' \"a\"\"b\" `c``d`"),
            QStringLiteral(u"T0:'it''s' Q0:\"a\"\"b\" Q0:`c``d`"));
        row("brackets do not double", QStringLiteral(u"[a]]"), QStringLiteral(u"Q0:[a] S0:]"));
        row("bracketed names", QStringLiteral(u"[a].[c]"), QStringLiteral(u"Q0:[a] S0:. Q0:[c]"));
        row("numbers", QStringLiteral(u"1 1e-5 .5 1.5 1E+2 12abc"),
            QStringLiteral(u"N0:1 N0:1e-5 N0:.5 N0:1.5 N0:1E+2 N0:12abc"));
        row("hexadecimal has no exponent", QStringLiteral(u"0x1E+2"),
            QStringLiteral(u"N0:0x1E S0:+ N0:2"));
        row("qualified name is no number", QStringLiteral(u"t.a t.5"),
            QStringLiteral(u"W0:t S0:. W0:a W0:t N0:.5"));
        row("blob", QStringLiteral(u"x'0A'"), QStringLiteral(u"W0:x T0:'0A'"));
        row("parameters", QStringLiteral(u"? ?3 :a @a $a"),
            QStringLiteral(u"P0:? P0:?3 P0::a P0:@a P0:$a"));
        row("dollar inside a word", QStringLiteral(u"a$b $"), QStringLiteral(u"W0:a$b S0:$"));
        row("two-character operators", QStringLiteral(u"a<=b<>c!=d==e>=f||g<<h>>i->j"),
            QStringLiteral(
                u"W0:a S0:<= W0:b S0:<> W0:c S0:!= W0:d S0:== W0:e S0:>= W0:f S0:|| W0:g S0:<< "
                u"W0:h S0:>> W0:i S0:-> W0:j"));
        row("one-character operators", QStringLiteral(u"a<b>c=d-e+f*g/h%i"),
            QStringLiteral(
                u"W0:a S0:< W0:b S0:> W0:c S0:= W0:d S0:- W0:e S0:+ W0:f S0:* W0:g S0:/ W0:h "
                u"S0:% W0:i"));
        row("depth", QStringLiteral(u"f(a, (b)) c"),
            QStringLiteral(u"W0:f S0:( W1:a S1:, S1:( W2:b S1:) S0:) W0:c"));
        row("closing unopened", QStringLiteral(u"a) (b"), QStringLiteral(u"W0:a"),
            Problem::UnbalancedParentheses);
        row("left open", QStringLiteral(u"(a"), QStringLiteral(u"S0:( W1:a"),
            Problem::UnbalancedParentheses);
        row("other scripts", QStringLiteral(u"año \u0663 a\u00A0b \u00A0c"),
            QStringLiteral(u"W0:año W0:\u0663 W0:a\u00A0b W0:c"));
    }

    void tokens()
    {
        QFETCH(QString, sql);
        QFETCH(QStringList, tokens);
        QFETCH(Problem, problem);
        const SqlLexer::Lexed lexed = SqlLexer::lex(sql);
        QCOMPARE(described(lexed), tokens);
        QCOMPARE(lexed.problem, problem);
        QCOMPARE(lexed.isLexed(), problem == Problem::None);
    }

    void piecesReadOneByOne()
    {
        // A piece may close a parenthesis opened before it.
        SqlLexer lexer(u" AS REAL)", 1);
        SqlLexer::Token token;
        QVERIFY(lexer.next(token));
        QCOMPARE(token.kind, Kind::Word);
        QVERIFY(lexer.next(token));
        QVERIFY(lexer.next(token));
        QCOMPARE(token.kind, Kind::Symbol);
        QCOMPARE(token.depth, 0);
        QVERIFY(!lexer.next(token));
        QCOMPARE(lexer.problem(), Problem::None);
        QCOMPARE(lexer.depth(), 0);
    }

    void cursor()
    {
        const SqlLexer::Lexed lexed = SqlLexer::lex(QStringLiteral(
            u"SELECT \"a\"\"b\", [c] FROM t WHERE (x = 'it''s' or y = ?) ORDER BY 1"));
        const SqlTokenCursor cursor(lexed);
        QVERIFY(cursor.isWord(0, u"select"));
        QVERIFY(!cursor.isWord(-1, u"select"));
        QVERIFY(!cursor.isWord(cursor.count(), u"select"));
        QCOMPARE(cursor.nameOf(1), QStringLiteral(u"a\"b"));
        QCOMPARE(cursor.nameOf(3), QStringLiteral(u"c"));
        QVERIFY(cursor.isSymbol(2, u","));
        const qsizetype where = cursor.findWord(0, cursor.count(), 0, {u"where"});
        QCOMPARE(where, 6);
        QCOMPARE(cursor.closing(where + 1), 15);
        QCOMPARE(cursor.quotedText(10), QStringLiteral(u"it's"));
        QVERIFY(cursor.isPlainParameter(14));
        // "or" is inside the parentheses: not at the top level.
        QCOMPARE(cursor.findWord(0, cursor.count(), 0, {u"or", u"order"}), 16);
        QCOMPARE(cursor.findWord(0, cursor.count(), 1, {u"or", u"order"}), 11);
    }

    // The texts the readers of statements once read each in their own way: literal
    // parameters, translation and planning now agree on each, and a text that does not lex
    // is left as written by all three.
    void readersAgree_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<bool>("lexes");
        QTest::newRow("unclosed comment")
            << QStringLiteral(u"update DIP set DIPCAN = 1 where EXTINT = 'a' /* and (EXTSBT = 1 or "
                              u"idroot = 1)")
            << false;
        QTest::newRow("unclosed comment after a disjunction")
            << QStringLiteral(
                   u"select * from DIP where EXTINT = 'a' and (EXTSBT = 1 or idroot = 2) /*")
            << false;
        QTest::newRow("unclosed quote")
            << QStringLiteral(u"select * from DIP where EXTINT = 'a and (EXTSBT = 1 or idroot = 2)")
            << false;
        QTest::newRow("closing unopened")
            << QStringLiteral(
                   u"select * from DIP where EXTINT = 'a' and (EXTSBT = 1 or idroot = 2))")
            << false;
        QTest::newRow("left open")
            << QStringLiteral(u"insert into DIP (EXTINT, DIPCAN) values ('a', 1") << false;
        QTest::newRow("comment closed")
            << QStringLiteral(
                   u"select * from DIP where EXTINT = 'a' and (EXTSBT = 1 or idroot = 2) /* x */")
            << true;
        QTest::newRow("exponent")
            << QStringLiteral(
                   u"select * from DIP where EXTINT = 'a' and (EXTSBT = 1e-5 or idroot = 2)")
            << true;
        QTest::newRow("two-character operator")
            << QStringLiteral(
                   u"select * from DIP where EXTINT == 'a' and (EXTSBT = 1 or idroot <= 2)")
            << true;
        QTest::newRow("insert of a real")
            << QStringLiteral(u"insert into DIP (EXTINT, DIPCAN) values ('a', 1)") << true;
        QTest::newRow("update of a date")
            << QStringLiteral(u"update DIP set DIPFEC = '2026-11-22' where EXTINT = 'a' and "
                              u"(EXTSBT = 1 or idroot = 2)")
            << true;
        QTest::newRow("top") << QStringLiteral(u"select top 1 * from DIP where EXTINT = 'a' and "
                                               u"(EXTSBT = 1 or idroot = 2)")
                             << true;
    }

    void readersAgree()
    {
        QFETCH(QString, sql);
        QFETCH(bool, lexes);
        QCOMPARE(SqlLexer::lex(sql).isLexed(), lexes);
        if (!lexes) {
            QVERIFY(!LiteralParameters::extract(sql).has_value());
            QCOMPARE(StatementRewriter::rewrite(sql, columnKind), sql);
            QCOMPARE(DisjunctionPlanner::plan(sql, catalog()), sql);
            return;
        }
        // What a data object does with a statement it has not prepared yet, each step reading
        // the tokens the step before handed over: they are the tokens of its text.
        const std::optional<LiteralParameters::Result> shared = LiteralParameters::extract(sql);
        QVERIFY(shared.has_value());
        const SqlLexer::Lexed sharedLexed = shared->lexed();
        QCOMPARE(sharedLexed.tokens, SqlLexer::lex(shared->text).tokens);
        const StatementRewriter::Translation translation =
            StatementRewriter::translate(sharedLexed, columnKind, SqlDialect::sqlite());
        QCOMPARE(translation.text, StatementRewriter::rewrite(shared->text, columnKind));
        QCOMPARE(translation.tokens, SqlLexer::lex(translation.text).tokens);
        QCOMPARE(DisjunctionPlanner::plan(translation.lexed(), catalog()),
                 DisjunctionPlanner::plan(translation.text, catalog()));
        // The text written runs through the same steps as its shared form does.
        QCOMPARE(StatementRewriter::translate(SqlLexer::lex(sql), columnKind, SqlDialect::sqlite())
                     .tokens,
                 SqlLexer::lex(StatementRewriter::rewrite(sql, columnKind)).tokens);
    }
};

QTEST_GUILESS_MAIN(tst_SqlLexer)
#include "tst_SqlLexer.moc"
