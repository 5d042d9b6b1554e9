#include "DataObjectCalls.h"
#include "LocaleText.h"
#include "NumberFormat.h"
#include "NumberText.h"
#include "PgTestDatabase.h"
#include "Schema.h"
#include "SecondConnection.h"

#include <oquivran/PgDataObject.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSqlQuery>
#include <QTest>

#include <cmath>
#include <functional>
#include <memory>

using oquivran::NumberFormat;
using oquivran::NumberText;
using oquivran::PgDataObject;
using oquivran::Recordset;
using oquivran::RuntimeError;
using oquivran::Schema;

using namespace DataObjectCalls;

// PgDataObject on the throwaway server: what only a server has (statements prepared on the
// server, units of atomic writes, a connection that breaks), with the same results under both
// decimal separators. The cases every data object shares are tst_DataObjectContract's.
class tst_PgDataObject : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<PgTestDatabase> m_temp;
    // Reads past the object under test.
    std::unique_ptr<SecondConnection> m_observer;

    QSqlDatabase db() const { return m_temp->database(); }
    QVariant scalar(const QString& sql) const { return m_observer->scalar(sql); }
    int count(const QString& table) const { return m_observer->count(table); }

private Q_SLOTS:
    void initTestCase()
    {
        if (!PgTestDatabase::requested())
            QSKIP("runs on the throwaway PostgreSQL server (OQUIVRAN_TEST_DATABASE=postgresql)");
    }
    void init()
    {
        m_temp = std::make_unique<PgTestDatabase>();
        QVERIFY(m_temp->isOpen());
        Schema::create(db(), Schema::Database::Discharge);
        m_observer = std::make_unique<SecondConnection>(db(), QStringLiteral("observer"));
        QVERIFY(m_observer->isOpen());
    }
    void cleanup()
    {
        m_observer.reset();
        m_temp.reset();
    }

    // format() on the server gives what NumberFormat gives here, for values that sit on a
    // rounding edge and for random ones, under the locale's separator.
    void formatAsTheComponentRounds_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("pattern");
        const QStringList patterns = {QStringLiteral("00.0000"),     QStringLiteral("00.000000"),
                                      QStringLiteral("00.00000000"), QStringLiteral("00.00"),
                                      QStringLiteral("0000"),        QStringLiteral("0.0000000")};
        const QList<double> edges = {12.34565, 2.675, 1.005,       -0.00001,  -3.25,
                                     0.0,      1e20,  99999.99995, 0.1 + 0.2, 123456789.123456789,
                                     -2.5e-9};
        int n = 0;
        for (const double value : edges) {
            for (const QString& pattern : patterns)
                QTest::addRow("edge %d", n++) << value << pattern;
        }
        QRandomGenerator random(20261123);
        for (int i = 0; i < 200; ++i) {
            const double magnitude = std::pow(10.0, random.bounded(-6, 9));
            const double value = (random.generateDouble() - 0.3) * magnitude;
            QTest::addRow("random %d", i) << value << patterns.at(i % patterns.size());
        }
    }
    void formatAsTheComponentRounds()
    {
        QFETCH(double, value);
        QFETCH(QString, pattern);
        PgDataObject dao(db());
        run(dao, QStringLiteral("delete from PRD"));
        run(dao, u"insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('C', 'P', cdbl('" +
                     NumberText::toText(value) + u"'))");
        const Recordset rs = rows(dao, u"select format(PRDMUL,'" + pattern + u"') as F from PRD");
        QCOMPARE(rs.value(QStringLiteral("F")).toString(), NumberFormat::format(value, pattern));
        // Written into a real column, it is the number it shows.
        run(dao, u"update PRD set PRDMUL = format(PRDMUL,'" + pattern + u"')");
        QCOMPARE(rows(dao, QStringLiteral("select PRDMUL from PRD"))
                     .value(QStringLiteral("PRDMUL"))
                     .toDouble(),
                 NumberFormat::rounded(value, pattern));
    }

    // Without a name in the statement, a field is named as the tables of the component name
    // their columns; aliases as written.
    void fieldNamesAsSQLiteGivesThem()
    {
        PgDataObject dao(db());
        run(dao, QStringLiteral("insert into DIP (EXTINT, EXTSBT) values ('A', 1)"));
        const QStringList names = rows(dao, QStringLiteral("select * from DIP")).fieldNames();
        QCOMPARE(names.first(), QStringLiteral("EXTINT"));
        QVERIFY(names.contains(QStringLiteral("idroot")));
        QVERIFY(names.contains(QStringLiteral("DIPCAN")));
        QCOMPARE(rows(dao, QStringLiteral("select sum(DIPCAN) as TotCan, count(*) AS n from DIP"))
                     .fieldNames(),
                 QStringList({QStringLiteral("TotCan"), QStringLiteral("n")}));
    }

    void valueTypes()
    {
        PgDataObject dao(db());
        run(dao, QStringLiteral("insert into DIP (EXTINT, EXTSBT, idroot, DIPCAN, DIPFEC) "
                                "values ('A', 1, 50000, 2, '2026-11-22')"));
        const Recordset rs =
            rows(dao, QStringLiteral("select EXTINT, EXTSBT, idroot, DIPCAN, DIPFEC, RALCAN, "
                                     "count(*) over () as n, 5000000000 as big, "
                                     "'\\x0102'::bytea as b, EXTSBT = 1 as yes from DIP"));
        // The types every data object gives are tst_DataObjectContract's; these are the
        // server's own.
        QCOMPARE(rs.value(QStringLiteral("idroot")).toInt(), 50000);
        // Counts fit an int, as on SQLite; larger whole numbers do not.
        QCOMPARE(rs.value(QStringLiteral("n")).typeId(), QMetaType::Int);
        QCOMPARE(rs.value(QStringLiteral("big")).typeId(), QMetaType::LongLong);
        QCOMPARE(rs.value(QStringLiteral("big")).toLongLong(), 5000000000LL);
        QCOMPARE(rs.value(QStringLiteral("b")).toByteArray(), QByteArray("\x01\x02"));
        QCOMPARE(rs.value(QStringLiteral("yes")), QVariant(1));
    }

    // The values go as parameters of one prepared statement: a quote inside a value never
    // becomes statement text, and a second text of the same shape prepares nothing new.
    void valuesAreBoundToOneStatement()
    {
        PgDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('O''Brien', 'P1')"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('x'');drop table "
                                "PRD;--', 'P2')"));
        QCOMPARE(count(QStringLiteral("PRD")), 2);
        QCOMPARE(scalar(QStringLiteral("select CATNRO from PRD where PRDNRO = 'P2'")).toString(),
                 QStringLiteral("x');drop table PRD;--"));
        for (int i = 0; i < 20; ++i)
            QCOMPARE(rows(dao, u"select PRDNRO from PRD where CATNRO = 'O''Brien' and PRDMUL = " +
                                   QString::number(i))
                         .recordCount(),
                     i == 1 ? 1 : 0);
        Recordset statements =
            rows(dao, QStringLiteral("select statement from pg_prepared_statements where name like "
                                     "'oquivran%' and statement like 'select PRDNRO%'"));
        QCOMPARE(statements.recordCount(), 1);
        QCOMPARE(statements.value(QStringLiteral("statement")).toString(),
                 QStringLiteral("select PRDNRO from PRD where CATNRO = $1 and PRDMUL = $2"));
        statements = rows(dao, QStringLiteral("select count(*) as n from pg_prepared_statements "
                                              "where statement like '%Brien%' or statement "
                                              "like '%drop table%'"));
        QCOMPARE(statements.value(QStringLiteral("n")).toInt(), 0);
    }

    void reopenedOnFirstUse()
    {
        QSqlDatabase connection = db();
        PgDataObject dao(connection);
        const QString statement = QStringLiteral(
            "select format(2.5,'00.00') as f, cdbl('2') as c, datevalue('2026-01-02') as d");
        for (int round = 0; round < 3; ++round) {
            const Recordset rs = rows(dao, statement);
            QCOMPARE(rs.value(QStringLiteral("f")).toString(), localeText(QStringLiteral("02.50")));
            QCOMPARE(rs.value(QStringLiteral("c")).toDouble(), 2.0);
            QCOMPARE(rs.value(QStringLiteral("d")).toDate(), QDate(2026, 1, 2));
            connection.close();
        }
        QVERIFY(!connection.isOpen());
        rows(dao, statement);
        QVERIFY(connection.isOpen());
    }

    // A connection the server ended: the statement that meets the break fails with the
    // server's message, and the next one runs on a new connection.
    void brokenConnectionIsOpenedAgain()
    {
        PgDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        const int pid = rows(dao, QStringLiteral("select pg_backend_pid() as p"))
                            .value(QStringLiteral("p"))
                            .toInt();
        PgTestDatabase other;
        QVERIFY(other.isOpen());
        QSqlQuery kill(other.database());
        QVERIFY(kill.exec(u"select pg_terminate_backend(" + QString::number(pid) + u')'));
        QTest::qWait(100);
        const RuntimeError error =
            errorOf([&] { rows(dao, QStringLiteral("select count(*) as n from PRD")); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QVERIFY2(!error.description.isEmpty(), qPrintable(error.description));
        QCOMPARE(rows(dao, QStringLiteral("select count(*) as n from PRD"))
                     .value(QStringLiteral("n"))
                     .toInt(),
                 1);
        QVERIFY(rows(dao, QStringLiteral("select pg_backend_pid() as p"))
                    .value(QStringLiteral("p"))
                    .toInt() != pid);
    }

    // A visit that stops early on a long query does not wait for the rest, and the connection
    // goes on as before.
    void forEachRowStopsEarly()
    {
        PgDataObject dao(db());
        dao.setSql(QStringLiteral("select g as n, repeat('x', 200) as pad from "
                                  "generate_series(1, 3000000) g"));
        QElapsedTimer timer;
        timer.start();
        int visits = 0;
        QVERIFY(dao.forEachRow([&](const Recordset& row) {
            ++visits;
            return row.value(QStringLiteral("n")).toInt() < 3;
        }));
        QCOMPARE(visits, 3);
        qInfo("stopped after %d rows in %lld ms", visits, timer.elapsed());
        QCOMPARE(rows(dao, QStringLiteral("select 7 as n")).value(QStringLiteral("n")).toInt(), 7);
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')")), 1);
    }

    // A unit in which a statement failed is undone by commit, which says so. (How a unit
    // commits or rolls back otherwise is tst_DataObjectContract's.)
    void failedStatementUndoesTheUnit()
    {
        PgDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P1')"));
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P3')"));
        QVERIFY(errorOf([&] {
                    run(dao, QStringLiteral("insert into PRD (CATNRO) values ('C')"));
                }).number != 0);
        const RuntimeError error = errorOf([&] { dao.commit(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QVERIFY(!error.description.isEmpty());
        QCOMPARE(count(QStringLiteral("PRD")), 1);
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P4')")),
                 1);
    }

    // Two units that read a stock line's discharges and write its availability at the same
    // time: the second to write fails with the server's message and is undone.
    void concurrentUnitsOnOneStockLine()
    {
        PgDataObject first(db());
        SecondConnection second(db(), QStringLiteral("second-unit"));
        QVERIFY(second.isOpen());
        PgDataObject other(second.database());
        run(first, QStringLiteral("insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, "
                                  "ARTDSC) values ('D', 'A', 1, 1, 10, 10)"));
        first.transaction();
        other.transaction();
        const QString sum =
            QStringLiteral("select sum(DIPCAN) as s from DIP where ARTDCL = 'D' and ARTNRO = 'A'");
        rows(first, sum);
        rows(other, sum);
        run(first, QStringLiteral("insert into DIP (EXTINT, EXTSBT, ARTDCL, ARTNRO, ARTITM, "
                                  "ARTSBT, DIPCAN) values ('OP1', 1, 'D', 'A', 1, 1, 6)"));
        run(first, QStringLiteral("update INS set ARTDSC = 4 where INTDCL = 'D'"));
        first.commit();
        const RuntimeError error = errorOf([&] {
            run(other, QStringLiteral("insert into DIP (EXTINT, EXTSBT, ARTDCL, ARTNRO, "
                                      "ARTITM, ARTSBT, DIPCAN) values ('OP2', 1, 'D', 'A', "
                                      "1, 1, 7)"));
            run(other, QStringLiteral("update INS set ARTDSC = 3 where INTDCL = 'D'"));
            other.commit();
        });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QCOMPARE(error.source, QStringLiteral("PgDataObject"));
        QVERIFY2(error.description.contains(QStringLiteral("could not serialize")),
                 qPrintable(error.description));
        QCOMPARE(error.nativeErrorCode, QStringLiteral("40001"));
        QVERIFY(other.isConflict(error));
        other.rollback();
        QCOMPARE(scalar(QStringLiteral("select ARTDSC from INS")).toDouble(), 4.0);
        QCOMPARE(count(QStringLiteral("DIP")), 1);
        QCOMPARE(run(other, QStringLiteral("update INS set ARTDSC = 4 where INTDCL = 'D'")), 1);
    }

    // The stock of an input is held by one connection at a time; another waits its bounded
    // time for it and then fails with a conflict, while other inputs' stock stays free.
    void stockLocksKeepUnitsApart()
    {
        PgDataObject first(db());
        SecondConnection second(db(), QStringLiteral("second-unit"));
        QVERIFY(second.isOpen());
        PgDataObject other(second.database());
        QCOMPARE(other.lockWait(), 5000);
        first.lockStock({QStringLiteral("A"), QStringLiteral("B")}, 1000);
        QElapsedTimer timer;
        timer.start();
        const RuntimeError waited = errorOf([&] { other.lockStock({QStringLiteral("B")}, 200); });
        QVERIFY(timer.elapsed() >= 200);
        QCOMPARE(waited.nativeErrorCode, QStringLiteral("55P03"));
        QVERIFY2(waited.description.contains(QStringLiteral("lock timeout")),
                 qPrintable(waited.description));
        QVERIFY(other.isConflict(waited));
        // Another input's stock, and the session's own setting, are untouched.
        other.lockStock({QStringLiteral("C")}, 200);
        QCOMPARE(rows(other, QStringLiteral("select current_setting('lock_timeout') as t"))
                     .value(QStringLiteral("t"))
                     .toString(),
                 QStringLiteral("0"));
        other.unlockStock();
        first.unlockStock();
        // Released, in any order of the inputs.
        other.lockStock({QStringLiteral("B"), QStringLiteral("A")}, 200);
        const QString held = u"select count(*) from pg_locks where locktype = 'advisory' and "
                             u"granted and pid = " +
                             rows(other, QStringLiteral("select pg_backend_pid() as p"))
                                 .value(QStringLiteral("p"))
                                 .toString();
        QCOMPARE(scalar(held).toInt(), 2);
        other.unlockStock();
        other.unlockStock();
        QCOMPARE(scalar(held).toInt(), 0);
    }

    // A unit whose connection breaks is not carried on statement by statement on a new one.
    void unitLostWithItsConnection()
    {
        PgDataObject dao(db());
        const int pid = rows(dao, QStringLiteral("select pg_backend_pid() as p"))
                            .value(QStringLiteral("p"))
                            .toInt();
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P1')"));
        PgTestDatabase other;
        QSqlQuery kill(other.database());
        QVERIFY(kill.exec(u"select pg_terminate_backend(" + QString::number(pid) + u')'));
        QTest::qWait(100);
        QVERIFY(errorOf([&] {
                    run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P2')"));
                }).number != 0);
        const RuntimeError lost = errorOf([&] {
            run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P3')"));
        });
        QVERIFY2(lost.description.contains(QStringLiteral("was undone")),
                 qPrintable(lost.description));
        // A connection failure, never a conflict: the unit is not run again on a new one.
        QCOMPARE(lost.nativeErrorCode, QStringLiteral("08006"));
        QVERIFY(!dao.isConflict(lost));
        QVERIFY(errorOf([&] { dao.commit(); }).number != 0);
        dao.rollback();
        QCOMPARE(count(QStringLiteral("PRD")), 0);
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P4')")),
                 1);
        QCOMPARE(count(QStringLiteral("PRD")), 1);
    }
};

QTEST_GUILESS_MAIN(tst_PgDataObject)
#include "tst_PgDataObject.moc"
