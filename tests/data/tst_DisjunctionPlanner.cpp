#include "TempDatabase.h"

#include "DisjunctionPlanner.h"
#include "Schema.h"

#include <oquivran/Recordset.h>
#include <oquivran/SqlDataObject.h>

#include <QDate>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QtTest>

#include <sqlite3.h>

using namespace oquivran;

namespace {

void run(const QSqlDatabase& db, const QString& sql)
{
    QSqlQuery query(db);
    if (!query.exec(sql))
        qFatal("%s: %s", qPrintable(sql), qPrintable(query.lastError().text()));
}

// Discharge lines with the cases a careless rewriting gets wrong: lines that match both
// branches, a NULL and a text group root, another operation with the same sub-items, an
// operation number that reads as a number, and item numbers that do not follow the table's
// order.
void seed(const QSqlDatabase& db)
{
    // Test data need not survive a crash.
    run(db, "PRAGMA synchronous=OFF");
    Schema::create(db, Schema::Database::Discharge);
    run(db, "insert into INTINS (INTDCL, INTFOF, INTIOK, INTVEN, INTADU) values "
            "('D1', '2024-03-01', 1, '2026-03-01', '001'), "
            "('D2', '2023-01-15', 1, '2025-01-15', '073'), "
            "('D3', '2024-03-01', 1, '2026-03-01', '002')");
    // (EXTINT, EXTSBT, EXTITM, idroot, ARTDCL, ARTNRO, DIPCAN, RALCAN)
    const char* lines[] = {
        "'OP1', 1, 5, NULL, 'D1', 'A', 1.5, 1.25", "'OP1', 2, 4, 1, 'D2', 'B', 2.25, 2",
        "'OP1', 1, 3, 1, 'D1', 'A', 0.1, 0.2",     "'OP1', 3, 2, 3, 'D3', 'C', 4, 4",
        "'OP1', 4, 1, 3, 'D1', 'A', 0.7, 0.3",     "'OP1', 2, 0, 2, 'D2', 'B', 3, 3.5",
        "'OP2', 1, 0, NULL, 'D1', 'A', 99, 99",    "'OP2', 2, 0, 1, 'D2', 'B', 98, 98",
        "'OP1', 5, 0, 'x', 'D3', 'C', 1, 1",       "'5', 1, 0, 1, 'D1', 'A', 7, 7",
        "'OP1', 1, 9, NULL, 'D9', 'Z', 0.2, 0.3",  "'OP1', 6, 0, 1, 'D3', 'C', 0.4, 0.5",
    };
    for (const char* line : lines)
        run(db, QStringLiteral("insert into DIP (EXTINT, EXTSBT, EXTITM, idroot, ARTDCL, ARTNRO, "
                               "DIPCAN, RALCAN, CATNRO, PRDNRO, PRDMUL, RIPCAN, ARTPRE) values (") +
                    QString::fromLatin1(line) + QStringLiteral(", 'CAT', 'P', 1, 0.5, 2)"));
}

// A value as text: dates as ISO text, so the data object's QDate and SQLite's text compare.
QString shown(const QVariant& value)
{
    if (value.typeId() == QMetaType::QDate)
        return value.toDate().toString(Qt::ISODate);
    if (value.isNull())
        return QStringLiteral("NULL");
    return value.toString();
}

// Every row of a query as SQLite answers the text itself.
QStringList sqliteRows(const QSqlDatabase& db, const QString& sql)
{
    QSqlQuery query(db);
    if (!query.exec(sql))
        return {QStringLiteral("error: ") + query.lastError().text()};
    QStringList rows;
    while (query.next()) {
        QStringList values;
        for (int c = 0; c < query.record().count(); ++c)
            values.append(shown(query.value(c)));
        rows.append(values.join(u'|'));
    }
    return rows;
}

QStringList recordsetRows(Recordset& rs)
{
    QStringList rows;
    for (; !rs.eof(); rs.moveNext()) {
        QStringList values;
        for (const QString& field : rs.fieldNames())
            values.append(shown(rs.value(field)));
        rows.append(values.join(u'|'));
    }
    return rows;
}

QStringList tableRows(const QSqlDatabase& db)
{
    return sqliteRows(db, QStringLiteral("select rowid, EXTINT, EXTSBT, EXTITM, idroot, ARTDCL "
                                         "from DIP order by rowid"));
}

const QString summed = QStringLiteral(
    "select INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,RIPMER,TRPMER,RIPPER,TRPPER,"
    "RIPCAN*PRDMUL as RIPCANex,sum(DIPCAN) as DIPCANex,sum(RALCAN) As RALCANex from DIP, INTINS "
    "where INTINS.INTDCL = ARTDCL   and EXTINT = '%1'  and (EXTSBT = %2 or idroot = %2) group by "
    "INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,RIPMER,TRPMER,RIPPER,TRPPER,RIPCAN*PRDMUL "
    "order by INTFOF, ARTNRO, INTVEN ");
const QString control = QStringLiteral(
    "select ARTDCL, ARTITM, ARTSBT, PRDNRO, ARTNRO, ARTNCM, RIPCAN, PRDMUL, DIPCAN, RIPPER, "
    "TRPPER, RIPMER, TRPMER, RALCAN, ARTPRE, DIPCTC, DIPEXP from DIP where  EXTINT = '%1' and "
    "(EXTSBT = %2 or idroot = %2)");

} // namespace

class tst_DisjunctionPlanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void plannedText_data();
    void plannedText();
    void sameRowsAsWritten_data();
    void sameRowsAsWritten();
    void sameChangesAsWritten_data();
    void sameChangesAsWritten();
    void branchesAreIndexLookups();
    void plannedTextThatDoesNotPrepareRunsAsWritten();

private:
    std::unique_ptr<TempDatabase> m_db;
};

void tst_DisjunctionPlanner::init()
{
    m_db = std::make_unique<TempDatabase>();
    QVERIFY(m_db->isOpen());
    seed(m_db->database());
    run(m_db->database(), "create view DIPVIEW as select * from DIP");
    run(m_db->database(), "create table KEYED (K text, A integer, B integer, C integer, "
                          "primary key (K, A)) without rowid");
    run(m_db->database(), "create index KEYED_A on KEYED (K, A)");
    run(m_db->database(), "create index KEYED_B on KEYED (K, B)");
    run(m_db->database(), "create table NAMED (rowid text, A integer, B integer)");
    run(m_db->database(), "create index NAMED_A on NAMED (A)");
    run(m_db->database(), "create index NAMED_B on NAMED (B)");
    run(m_db->database(), "create index DIP_PARTIAL on DIP (DIPCTC) where DIPCTC is not null");
}

void tst_DisjunctionPlanner::cleanup()
{
    m_db.reset();
}

void tst_DisjunctionPlanner::plannedText_data()
{
    QTest::addColumn<QString>("sql");
    QTest::addColumn<QString>("planned"); // empty: the text stays as it is

    const QString lookups = QStringLiteral(
        " and DIP.rowid in (select rowid from DIP where EXTINT = ?1 and EXTSBT = ?2 union all "
        "select rowid from DIP where EXTINT = ?1 and idroot = ?3)");
    QTest::newRow("lines of a sub-item")
        << "select ARTDCL from DIP where EXTINT = ? and (EXTSBT = ? or idroot = ?)"
        << "select ARTDCL from DIP not indexed where EXTINT = ?1 and (EXTSBT = ?2 or idroot = ?3)" +
               lookups;
    QTest::newRow("join, grouped and ordered")
        << "select INTFOF, sum(DIPCAN) from DIP, INTINS where INTINS.INTDCL = ARTDCL and EXTINT "
           "= ? and (EXTSBT = ? or idroot = ?) group by INTFOF order by INTFOF "
        << "select INTFOF, sum(DIPCAN) from DIP not indexed, INTINS where INTINS.INTDCL = ARTDCL "
           "and EXTINT = ?1 and (EXTSBT = ?2 or idroot = ?3)" +
               lookups + " group by INTFOF order by INTFOF ";
    QTest::newRow("item numbering")
        << "update DIP set EXTITM = ? where EXTINT = ? and (EXTSBT = ? or idroot = ?) "
        << "update DIP not indexed set EXTITM = ?1 where EXTINT = ?2 and (EXTSBT = ?3 or idroot "
           "= ?4) and DIP.rowid in (select rowid from DIP where EXTINT = ?2 and EXTSBT = ?3 "
           "union all select rowid from DIP where EXTINT = ?2 and idroot = ?4) ";
    QTest::newRow("delete, literals, qualified")
        << "delete from DIP where DIP.EXTINT = 'OP1' and (DIP.EXTSBT = 2 or idroot == 2);"
        << "delete from DIP not indexed where DIP.EXTINT = 'OP1' and (DIP.EXTSBT = 2 or idroot "
           "== 2) and DIP.rowid in (select rowid from DIP where DIP.EXTINT = 'OP1' and "
           "DIP.EXTSBT = 2 union all select rowid from DIP where DIP.EXTINT = 'OP1' and idroot "
           "== 2);";
    QTest::newRow("three branches, other parts kept")
        << "select * from DIP where DIPCAN > 1 and EXTINT = 'a' and (EXTSBT = 1 or idroot = 2 or "
           "EXTSBT = 3)"
        << "select * from DIP not indexed where DIPCAN > 1 and EXTINT = 'a' and (EXTSBT = 1 or "
           "idroot = 2 or EXTSBT = 3) and DIP.rowid in (select rowid from DIP where EXTINT = 'a' "
           "and EXTSBT = 1 union all select rowid from DIP where EXTINT = 'a' and idroot = 2 "
           "union all select rowid from DIP where EXTINT = 'a' and EXTSBT = 3)";
    QTest::newRow("branches on the leading column need no key")
        << "select * from DIP where (ARTDCL = 'D1' or EXTINT = 'OP2')"
        << "select * from DIP not indexed where (ARTDCL = 'D1' or EXTINT = 'OP2') and "
           "DIP.rowid in (select rowid from DIP where ARTDCL = 'D1' union all select rowid "
           "from DIP where EXTINT = 'OP2')";

    // Left as written.
    QTest::newRow("no disjunction") << "select * from DIP where EXTINT = ? and EXTSBT = ?"
                                    << "";
    QTest::newRow("disjunction at the top")
        << "select * from DIP where EXTINT = ? and EXTSBT = ? or idroot = ?"
        << "";
    QTest::newRow("negated") << "select * from DIP where EXTINT = 'a' and not (EXTSBT = 1 or "
                                "idroot = 1)"
                             << "";
    QTest::newRow("compared after the parenthesis")
        << "select * from DIP where EXTINT = 'a' and (EXTSBT = 1 or idroot = 1) = 0"
        << "";
    QTest::newRow("two parentheses")
        << "select * from DIP where EXTINT = 'a' and (EXTSBT = 1) or (idroot = 1)"
        << "";
    QTest::newRow("branch not an equality")
        << "select * from DIP where EXTINT = 'a' and (EXTSBT > 1 or idroot = 1)"
        << "";
    QTest::newRow("branch against NULL")
        << "select * from DIP where EXTINT = 'a' and (EXTSBT = 1 or idroot = NULL)"
        << "";
    QTest::newRow("branch against a column")
        << "select * from DIP, INTINS where EXTINT = 'a' and (EXTSBT = 1 or idroot = INTIOK)"
        << "";
    QTest::newRow("branch without an index")
        << "select * from DIP where EXTINT = 'a' and (EXTSBT = 1 or DIPCAN = 1)"
        << "";
    QTest::newRow("partial index only")
        << "select * from DIP where EXTINT = 'a' and (EXTSBT = 1 or DIPCTC = 'c')"
        << "";
    QTest::newRow("index not led by the keys")
        << "select * from DIP where ARTNRO = 'a' and (EXTSBT = 1 or idroot = 1)"
        << "";
    QTest::newRow("branches on two tables")
        << "select * from DIP, INTINS where INTDCL = ARTDCL and (EXTSBT = 1 or INTDCL = 'D1')"
        << "";
    QTest::newRow("column of two tables")
        << "select * from DIP, INS where INS.INTDCL = ARTDCL and EXTINT = 'a' and (ARTNRO = 'x' "
           "or idroot = 1)"
        << "";
    QTest::newRow("limit") << "select * from DIP where EXTINT = 'a' and (EXTSBT = 1 or idroot = "
                              "1) limit 1"
                           << "";
    QTest::newRow("compound")
        << "select ARTDCL from DIP where EXTINT = 'a' and (EXTSBT = 1 or idroot = 1) union "
           "select INTDCL from INTINS"
        << "";
    QTest::newRow("named parameter")
        << "select * from DIP where EXTINT = :op and (EXTSBT = 1 or idroot = 1)"
        << "";
    QTest::newRow("numbered parameter")
        << "select * from DIP where EXTINT = ?1 and (EXTSBT = ?2 or idroot = ?2)"
        << "";
    QTest::newRow("between at the top")
        << "select * from DIP where EXTSBT between 1 and 2 and (EXTINT = 'a' or idroot = 1)"
        << "";
    QTest::newRow("aliased table")
        << "select * from DIP d where EXTINT = 'a' and (EXTSBT = 1 or idroot = 1)"
        << "";
    QTest::newRow("view") << "select * from DIPVIEW where EXTINT = 'a' and (EXTSBT = 1 or idroot "
                             "= 1)"
                          << "";
    QTest::newRow("without rowid") << "select * from KEYED where K = 'a' and (A = 1 or B = 1)"
                                   << "";
    QTest::newRow("column named rowid") << "select * from NAMED where (A = 1 or B = 1)"
                                        << "";
    QTest::newRow("returning")
        << "delete from DIP where EXTINT = 'a' and (EXTSBT = 1 or idroot = 1) returning EXTSBT"
        << "";
    QTest::newRow("two statements")
        << "delete from DIP where EXTINT = 'a' and (EXTSBT = 1 or idroot = 1); select 1"
        << "";
    QTest::newRow("quote not closed")
        << "select * from DIP where EXTINT = 'a and (EXTSBT = 1 or idroot = 1)"
        << "";
    QTest::newRow("words inside quotes and comments")
        << "select * from DIP where EXTINT = 'a or b' /* and (x = 1 or y = 2) */ and "
           "\"EXTSBT\" = 1 -- or idroot = 1"
        << "";
}

void tst_DisjunctionPlanner::plannedText()
{
    QFETCH(QString, sql);
    QFETCH(QString, planned);
    const QString result =
        DisjunctionPlanner::plan(sql, DisjunctionPlanner::catalogOf(m_db->handle()));
    QCOMPARE(result, planned.isEmpty() ? sql : planned);
}

void tst_DisjunctionPlanner::sameRowsAsWritten_data()
{
    QTest::addColumn<QString>("sql");
    // SQLite's own answer to this text is the expected one, row for row and in order; it is
    // the text itself with the table's order made explicit where the text orders nothing.
    QTest::addColumn<QString>("reference");
    QTest::addColumn<int>("rows");

    for (const int subItem : {1, 2, 3, 4, 9}) {
        const QString sql = summed.arg(QStringLiteral("OP1")).arg(subItem);
        QTest::addRow("summed lines of sub-item %d", subItem)
            << sql << sql
            << QList<int>{3, 1, 2, 1, 0}.at(QList<int>{1, 2, 3, 4, 9}.indexOf(subItem));
    }
    for (const int subItem : {1, 2, 3}) {
        const QString sql = control.arg(QStringLiteral("OP1")).arg(subItem);
        QTest::addRow("control lines of sub-item %d", subItem)
            << sql << sql + QStringLiteral(" order by rowid") << QList<int>{0, 5, 2, 2}.at(subItem);
    }
    const QString count = QStringLiteral("select count(*), sum(DIPCAN), total(RALCAN) from DIP "
                                         "where EXTINT = 'OP1' and (EXTSBT = %1 or idroot = %1)");
    QTest::newRow("a line in both branches counts once") << count.arg(2) << count.arg(2) << 1;
    QTest::newRow("nothing matches") << count.arg(8) << count.arg(8) << 1;
    const QString lines = QStringLiteral("select rowid, EXTSBT, idroot from DIP where %1");
    const QStringList conditions = {
        "EXTINT = 'OP1' and (EXTSBT = 1 or idroot = 1 or EXTSBT = 4)",
        "EXTINT = 5 and (EXTSBT = 1 or idroot = 1)",
        "EXTINT = 'OP1' and (EXTSBT = '3' or idroot = '3')",
        "EXTINT = 'OP1' and (EXTSBT = 5 or idroot = 'x')",
        "EXTINT = 'OP1' and CATNRO = 'CAT' and (EXTSBT = 1 or idroot = 1)",
        "EXTINT = 'OP1' and DIPCAN > 1 and (EXTSBT = 1 or idroot = 1)",
        "DIP.EXTINT = 'OP1' and (DIP.EXTSBT = 1 or DIP.idroot = 1)",
        "(EXTSBT = 2 or idroot = 1) and EXTINT = 'OP2'",
        "(ARTDCL = 'D2' or EXTINT = '5')",
    };
    const QList<int> counts = {6, 1, 2, 1, 5, 2, 5, 1, 4};
    for (int i = 0; i < conditions.size(); ++i) {
        const QString sql = lines.arg(conditions.at(i));
        QTest::newRow(qPrintable(conditions.at(i)))
            << sql << sql + QStringLiteral(" order by rowid") << counts.at(i);
    }
}

void tst_DisjunctionPlanner::sameRowsAsWritten()
{
    QFETCH(QString, sql);
    QFETCH(QString, reference);
    QFETCH(int, rows);
    // The test means the planned form: the text must be one the planner takes.
    QVERIFY(DisjunctionPlanner::plan(sql, DisjunctionPlanner::catalogOf(m_db->handle())) != sql);
    const QStringList expected = sqliteRows(m_db->database(), reference);
    QCOMPARE(expected.size(), rows);
    SqlDataObject data(m_db->database());
    // Twice: the second run binds its values into the kept statement.
    for (int run = 0; run < 2; ++run) {
        data.setSql(sql);
        Recordset rs;
        data.open(rs);
        QCOMPARE(recordsetRows(rs), expected);
    }
}

void tst_DisjunctionPlanner::sameChangesAsWritten_data()
{
    QTest::addColumn<QString>("sql");
    QTest::addColumn<int>("changed");
    QTest::newRow("item numbering")
        << "update DIP set EXTITM = 7 where EXTINT = 'OP1' and (EXTSBT = 3 or idroot = 3) " << 2;
    QTest::newRow("a line in both branches changes once")
        << "update DIP set EXTITM = EXTITM + 1 where EXTINT = 'OP1' and (EXTSBT = 1 or idroot = "
           "1)"
        << 5;
    QTest::newRow("changing a branch's column")
        << "update DIP set EXTSBT = 1, idroot = 2 where EXTINT = 'OP1' and (EXTSBT = 2 or "
           "idroot = 1)"
        << 4;
    QTest::newRow("delete") << "delete from DIP where EXTINT = 'OP1' and (EXTSBT = 2 or idroot = "
                               "2)"
                            << 2;
    QTest::newRow("nothing matches")
        << "update DIP set EXTITM = 7 where EXTINT = 'OP3' and (EXTSBT = 3 or idroot = 3)" << 0;
}

void tst_DisjunctionPlanner::sameChangesAsWritten()
{
    QFETCH(QString, sql);
    QFETCH(int, changed);
    QVERIFY(DisjunctionPlanner::plan(sql, DisjunctionPlanner::catalogOf(m_db->handle())) != sql);
    TempDatabase written;
    QVERIFY(written.isOpen());
    seed(written.database());
    QSqlQuery query(written.database());
    QVERIFY(query.exec(sql));
    QCOMPARE(query.numRowsAffected(), changed);
    const QStringList expected = tableRows(written.database());

    SqlDataObject data(m_db->database());
    data.setSql(sql);
    QCOMPARE(data.execute(), changed);
    QCOMPARE(tableRows(m_db->database()), expected);
}

void tst_DisjunctionPlanner::branchesAreIndexLookups()
{
    // The sum of a sub-item's lines reads them by rowid, found through one index per branch,
    // not by reading every line of the operation.
    const QString planned = DisjunctionPlanner::plan(summed.arg(QStringLiteral("OP1")).arg(1),
                                                     DisjunctionPlanner::catalogOf(m_db->handle()));
    const QStringList plan = sqliteRows(m_db->database(), "explain query plan " + planned);
    const QString joined = plan.join(u'\n');
    QVERIFY2(joined.contains("SEARCH DIP USING INTEGER PRIMARY KEY (rowid=?)"), qPrintable(joined));
    QVERIFY2(joined.contains("INDEX DIP_SUBITEM (EXTINT=? AND EXTSBT=?)"), qPrintable(joined));
    QVERIFY2(joined.contains("INDEX DIP_ROOT (EXTINT=? AND idroot=?)"), qPrintable(joined));
    QVERIFY2(!joined.contains("DIP_ITEM"), qPrintable(joined));
}

void tst_DisjunctionPlanner::plannedTextThatDoesNotPrepareRunsAsWritten()
{
    // A catalog that takes a WITHOUT ROWID table for one with rowids plans a text SQLite
    // refuses ("no such column: rowid"); the table's own catalog leaves the text as it is, and
    // the data object answers it as SQLite does.
    run(m_db->database(), "insert into KEYED values ('a', 1, 2, 3), ('b', 1, 1, 1), "
                          "('a', 2, 1, 4), ('a', 3, 3, 5)");
    DisjunctionPlanner::Catalog catalog = DisjunctionPlanner::catalogOf(m_db->handle());
    const QString sql =
        QStringLiteral("select C from KEYED where K = 'a' and (A = 1 or B = 1) order by C");
    catalog.hasRowid = [](const QString&) {
        return true;
    };
    const QString planned = DisjunctionPlanner::plan(sql, catalog);
    QVERIFY(planned.contains("KEYED not indexed"));
    sqlite3_stmt* statement = nullptr;
    QVERIFY(sqlite3_prepare_v2(m_db->handle(), planned.toUtf8().constData(), -1, &statement,
                               nullptr) != SQLITE_OK);
    sqlite3_finalize(statement);

    SqlDataObject data(m_db->database());
    data.setSql(sql);
    Recordset rs;
    QVERIFY(data.open(rs));
    QCOMPARE(recordsetRows(rs), QStringList({"3", "4"}));
}

QTEST_MAIN(tst_DisjunctionPlanner)
#include "tst_DisjunctionPlanner.moc"
