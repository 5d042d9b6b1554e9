#include "DataObjectCalls.h"
#include "Schema.h"
#include "SecondConnection.h"
#include "TempDatabase.h"

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>
#include <oquivran/SqlDataObject.h>

#include <QElapsedTimer>
#include <QSqlQuery>
#include <QTest>

#include <functional>
#include <memory>

using oquivran::Recordset;
using oquivran::RuntimeError;
using oquivran::Schema;
using oquivran::SqlDataObject;

using namespace DataObjectCalls;

// SqlDataObject on a SQLite file: what only SQLite has (storage classes, its connection
// settings, the writer lock, rows read as they are asked for). The cases every data object
// shares are tst_DataObjectContract's.
class tst_SqlDataObject : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempDatabase> m_temp;

    QSqlDatabase db() const { return m_temp->database(); }
    // Row count of a table, read past the object under test.
    int count(const QString& table) const
    {
        QSqlQuery query(db());
        if (!query.exec(u"select count(*) from " + table) || !query.next())
            return -1;
        return query.value(0).toInt();
    }

private Q_SLOTS:
    void init()
    {
        m_temp = std::make_unique<TempDatabase>();
        QVERIFY(m_temp->isOpen());
        Schema::create(db(), Schema::Database::Discharge);
    }
    void cleanup() { m_temp.reset(); }

    void valueTypes()
    {
        SqlDataObject dao(db());
        run(dao, QStringLiteral("insert into DIP (EXTINT, EXTSBT, idroot, DIPCAN, DIPFEC, EXTFOF, "
                                "DIPUSR) values ('A', 1, 5000000000, 2, '2026-11-22 10:30:00', "
                                "'not a date', x'0102')"));
        const Recordset rs =
            rows(dao, QStringLiteral("select EXTINT, EXTSBT, idroot, DIPCAN, DIPFEC, "
                                     "EXTFOF, DIPUSR, RALCAN, max(DIPFEC) as latest "
                                     "from DIP"));
        // The types every data object gives are tst_DataObjectContract's; these are SQLite's
        // own: a large whole number, a date with a time, a text in a date column, a blob.
        QCOMPARE(rs.value(QStringLiteral("idroot")).typeId(), QMetaType::LongLong);
        QCOMPARE(rs.value(QStringLiteral("idroot")).toLongLong(), 5000000000LL);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).toDate(), QDate(2026, 11, 22));
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).typeId(), QMetaType::QDate);
        QCOMPARE(rs.value(QStringLiteral("EXTFOF")).toString(), QStringLiteral("not a date"));
        QCOMPARE(rs.value(QStringLiteral("DIPUSR")).typeId(), QMetaType::QByteArray);
        QCOMPARE(rs.value(QStringLiteral("DIPUSR")).toByteArray(), QByteArray("\x01\x02"));
        // An expression has no declared type: its date comes back as text.
        QCOMPARE(rs.value(QStringLiteral("latest")).typeId(), QMetaType::QString);
    }

    void functionsAfterReopen()
    {
        QSqlDatabase connection = db();
        SqlDataObject dao(connection);
        const QString statement = QStringLiteral(
            "select format('%d', 3) as f, cdbl('2') as c, datevalue('2026-01-02') as d");
        Recordset rs = rows(dao, statement);
        QCOMPARE(rs.value(QStringLiteral("f")).toString(), QStringLiteral("%d"));

        for (int round = 0; round < 3; ++round) {
            connection.close();
            QVERIFY(connection.open());
            rs = rows(dao, statement);
            QCOMPARE(rs.value(QStringLiteral("f")).toString(), QStringLiteral("%d"));
            QCOMPARE(rs.value(QStringLiteral("c")).toDouble(), 2.0);
            QCOMPARE(rs.value(QStringLiteral("d")).toString(), QStringLiteral("2026-01-02"));
            rs = rows(dao, QStringLiteral("PRAGMA journal_mode"));
            QCOMPARE(rs.value(QStringLiteral("journal_mode")).toString(), QStringLiteral("wal"));
        }

        // A closed connection is opened on first use.
        connection.close();
        QVERIFY(!connection.isOpen());
        rs = rows(dao, statement);
        QVERIFY(connection.isOpen());
        QCOMPARE(rs.value(QStringLiteral("c")).toDouble(), 2.0);
    }

    void objectsSharingConnection()
    {
        SqlDataObject first(db());
        run(first, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        QSqlQuery reading(db());
        QVERIFY(reading.exec(QStringLiteral("select CATNRO from PRD")));
        QVERIFY(reading.next());
        // A second object finds the connection set up, even with a statement running on it.
        SqlDataObject second(db());
        QCOMPARE(rows(second, u"select cdbl(" + quoted(1.5) + u") as c").value(QStringLiteral("c")),
                 QVariant(1.5));
        QCOMPARE(run(second, u"update PRD set PRDMUL = " + quoted(0.5)), 1);
        reading.finish();
        QCOMPARE(rows(first, QStringLiteral("select PRDMUL from PRD"))
                     .value(QStringLiteral("PRDMUL"))
                     .toDouble(),
                 0.5);
    }

    void connectionSettings()
    {
        SqlDataObject dao(db());
        QCOMPARE(rows(dao, QStringLiteral("PRAGMA journal_mode"))
                     .value(QStringLiteral("journal_mode"))
                     .toString(),
                 QStringLiteral("wal"));
        QCOMPARE(rows(dao, QStringLiteral("PRAGMA synchronous"))
                     .value(QStringLiteral("synchronous"))
                     .toInt(),
                 1);
        QCOMPARE(rows(dao, QStringLiteral("PRAGMA cache_size"))
                     .value(QStringLiteral("cache_size"))
                     .toInt(),
                 -65536);
        QCOMPARE(rows(dao, QStringLiteral("PRAGMA busy_timeout"))
                     .value(QStringLiteral("timeout"))
                     .toInt(),
                 5000);
        QCOMPARE(dao.database().connectionName(), m_temp->connectionName());
    }

    void openFailure()
    {
        const QString name = QStringLiteral("tst_SqlDataObject-unopenable");
        {
            QSqlDatabase bad = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            bad.setDatabaseName(m_temp->folder() + QStringLiteral("/missing/folder/x.sqlite"));
            SqlDataObject dao(bad);
            dao.setSql(QStringLiteral("select 1"));
            const RuntimeError error = errorOf([&] { dao.execute(); });
            QCOMPARE(error.number, qint32(oquivran::DatabaseError));
            QCOMPARE(error.source, QStringLiteral("SqlDataObject"));
            QVERIFY(!error.description.isEmpty());
        }
        QSqlDatabase::removeDatabase(name);
    }

    void lockedDatabase()
    {
        const QString name = QStringLiteral("tst_SqlDataObject-locker");
        {
            SqlDataObject dao(db());
            run(dao, QStringLiteral("select 1"));
            QSqlDatabase locker = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            locker.setDatabaseName(m_temp->filePath());
            QVERIFY(locker.open());
            QSqlQuery lock(locker);
            QVERIFY(lock.exec(QStringLiteral("begin exclusive")));

            dao.setSql(QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
            QElapsedTimer timer;
            timer.start();
            const RuntimeError error = errorOf([&] { dao.execute(); });
            QVERIFY(timer.elapsed() >= 4000);
            QCOMPARE(error.number, qint32(oquivran::DatabaseError));
            QVERIFY2(error.description.contains(QStringLiteral("database is locked")),
                     qPrintable(error.description));

            QVERIFY(lock.exec(QStringLiteral("rollback")));
            QCOMPARE(dao.execute(), 1);
            lock.finish();
            locker.close();
        }
        QSqlDatabase::removeDatabase(name);
    }

    void unitWaitsForTheWriterLockThenReports()
    {
        SqlDataObject dao(db());
        dao.setLockWait(200);
        QCOMPARE(dao.lockWait(), 200);
        SecondConnection second(db(), QStringLiteral("tst_SqlDataObject-other"));
        SqlDataObject other(second.database());
        other.transaction();
        run(other, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));

        QElapsedTimer timer;
        timer.start();
        const RuntimeError error = errorOf([&] { dao.transaction(); });
        QVERIFY(timer.elapsed() >= 150);
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QCOMPARE(error.description, QStringLiteral("database is locked"));
        // SQLITE_BUSY, a conflict after which a unit may run again.
        QCOMPARE(error.nativeErrorCode, QStringLiteral("5"));
        QVERIFY(dao.isConflict(error));
        // Reading is not held up by the other unit, and does not see it.
        QCOMPARE(rows(dao, QStringLiteral("select count(*) as n from PRD"))
                     .value(QStringLiteral("n"))
                     .toInt(),
                 0);

        other.commit();
        dao.transaction();
        // The unit sees what the other one committed.
        QCOMPARE(rows(dao, QStringLiteral("select count(*) as n from PRD"))
                     .value(QStringLiteral("n"))
                     .toInt(),
                 1);
        dao.rollback();
    }

    void secondUnitOnOneConnectionIsRefused()
    {
        SqlDataObject dao(db());
        dao.transaction();
        const RuntimeError error = errorOf([&] { dao.transaction(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QVERIFY2(error.description.contains(QStringLiteral("within a transaction")),
                 qPrintable(error.description));
        dao.rollback();
    }

    void keptStatementsDoNotHoldTheUnit()
    {
        SqlDataObject dao(db());
        for (int i = 1; i <= 5; ++i)
            run(dao, u"insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('C', 'P" +
                         QString::number(i) + u"', " + QString::number(i) + u")");
        SecondConnection second(db(), QStringLiteral("tst_SqlDataObject-other"));
        SqlDataObject other(second.database());
        other.setLockWait(0);
        const auto readSome = [&dao](int from) {
            dao.setSql(u"select PRDNRO from PRD where PRDMUL >= " + QString::number(from));
            int seen = 0;
            dao.forEachRow([&seen](const Recordset&) { return ++seen < 2; });
            rows(dao, u"select PRDMUL from PRD where PRDNRO = 'P" + QString::number(from) + u"'");
        };
        for (int round = 1; round <= 3; ++round) {
            dao.transaction();
            readSome(round);
            run(dao, u"update PRD set PRDMUL = PRDMUL + 1 where PRDNRO = 'P" +
                         QString::number(round) + u"'");
            readSome(round + 1);
            if (round == 2)
                dao.rollback();
            else
                dao.commit();
            // No statement kept by the object holds the lock or the unit once it ended.
            other.transaction();
            other.rollback();
        }
        QCOMPARE(rows(dao, QStringLiteral("select sum(PRDMUL) as s from PRD"))
                     .value(QStringLiteral("s"))
                     .toInt(),
                 15 + 2);
    }

    void closedConnectionUndoesTheUnit()
    {
        SqlDataObject dao(db());
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        db().close();
        // The next statement would run on a new connection outside the unit: it is refused.
        dao.setSql(QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'Q')"));
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QVERIFY2(error.description.contains(QStringLiteral("undone")),
                 qPrintable(error.description));
        dao.rollback();
        QCOMPARE(count(QStringLiteral("PRD")), 0);
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'R')"));
        dao.commit();
        QCOMPARE(count(QStringLiteral("PRD")), 1);
    }

    void rollbackWithoutUnitIsNoError()
    {
        SqlDataObject dao(db());
        QCOMPARE(errorOf([&] { dao.rollback(); }).number, 0);
        const RuntimeError error = errorOf([&] { dao.commit(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
    }
};

QTEST_GUILESS_MAIN(tst_SqlDataObject)
#include "tst_SqlDataObject.moc"
