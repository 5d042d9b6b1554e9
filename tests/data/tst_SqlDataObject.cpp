#include "DateText.h"
#include "LocaleText.h"
#include "NumberText.h"
#include "Schema.h"
#include "SqlValue.h"
#include "TempDatabase.h"

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>
#include <oquivran/SqlDataObject.h>

#include <QElapsedTimer>
#include <QSqlQuery>
#include <QTest>

#include <functional>
#include <memory>

using oquivran::DateText;
using oquivran::NumberText;
using oquivran::Recordset;
using oquivran::RuntimeError;
using oquivran::Schema;
using oquivran::SqlDataObject;
using oquivran::SqlValue;

// A second connection on the same file, with an object of its own; closed and removed at
// the end of the test.
struct OtherConnection
{
    explicit OtherConnection(const QString& file)
    {
        QSqlDatabase other = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        other.setDatabaseName(file);
        other.open();
        dao = std::make_unique<SqlDataObject>(other);
    }
    ~OtherConnection()
    {
        dao.reset();
        QSqlDatabase::database(name, false).close();
        QSqlDatabase::removeDatabase(name);
    }
    int count(const QString& table)
    {
        QSqlQuery query(QSqlDatabase::database(name, false));
        if (!query.exec(u"select count(*) from " + table) || !query.next())
            return -1;
        return query.value(0).toInt();
    }
    const QString name = QStringLiteral("tst_SqlDataObject-other");
    std::unique_ptr<SqlDataObject> dao;
};

class tst_SqlDataObject : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempDatabase> m_temp;

    QSqlDatabase db() const { return m_temp->database(); }

    static qint32 run(SqlDataObject& dao, const QString& sql)
    {
        dao.setSql(sql);
        return dao.execute();
    }

    static Recordset rows(SqlDataObject& dao, const QString& sql)
    {
        Recordset rs;
        dao.setSql(sql);
        dao.open(rs);
        return rs;
    }

    // The error a call raises; number 0 when it raises none.
    static RuntimeError errorOf(const std::function<void()>& call)
    {
        try {
            call();
        } catch (const RuntimeError& error) {
            return error;
        }
        return RuntimeError(0, QString());
    }

    // Row count of a table, read past the object under test.
    int count(const QString& table) const
    {
        QSqlQuery query(db());
        if (!query.exec(u"select count(*) from " + table) || !query.next())
            return -1;
        return query.value(0).toInt();
    }

    static QString quoted(double value) { return u'\'' + NumberText::toText(value) + u'\''; }

private Q_SLOTS:
    void init()
    {
        m_temp = std::make_unique<TempDatabase>();
        QVERIFY(m_temp->isOpen());
        Schema::create(db(), Schema::Database::Discharge);
    }
    void cleanup() { m_temp.reset(); }

    void insertStoresNumbersAndDates()
    {
        SqlDataObject dao(db());
        const QDate date(2026, 11, 22);
        QCOMPARE(run(dao, u"insert into DIP (EXTINT, EXTSBT, PRDMUL, DIPCAN, DIPFEC) values "
                          u"('OP1', 1, " +
                              quoted(2.5) + u", cdbl('" + NumberText::toText(12.3456) +
                              u"'), datevalue('" + DateText::toText(date) + u"'))"),
                 1);
        Recordset rs =
            rows(dao, QStringLiteral("select typeof(PRDMUL) as tp, typeof(DIPCAN) as tc, "
                                     "typeof(DIPFEC) as tf, PRDMUL, DIPCAN, DIPFEC from DIP"));
        QCOMPARE(rs.recordCount(), 1);
        QCOMPARE(rs.value(QStringLiteral("tp")).toString(), QStringLiteral("real"));
        QCOMPARE(rs.value(QStringLiteral("tc")).toString(), QStringLiteral("real"));
        QCOMPARE(rs.value(QStringLiteral("tf")).toString(), QStringLiteral("text"));
        QCOMPARE(rs.value(QStringLiteral("PRDMUL")).typeId(), QMetaType::Double);
        QCOMPARE(rs.value(QStringLiteral("prdmul")).toDouble(), 2.5);
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), 12.3456);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).typeId(), QMetaType::QDate);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).toDate(), date);
    }

    void quotedLocaleValues_data()
    {
        QTest::addColumn<double>("quantity");
        QTest::addColumn<QDate>("date");
        QTest::newRow("fraction") << 1234.5 << QDate(2026, 1, 2);
        QTest::newRow("small") << 0.0001 << QDate(1999, 12, 31);
        QTest::newRow("negative") << -3.25 << QDate(2000, 2, 29);
        QTest::newRow("whole") << 17.0 << QDate(2030, 7, 14);
    }
    void quotedLocaleValues()
    {
        QFETCH(double, quantity);
        QFETCH(QDate, date);
        SqlDataObject dao(db());
        run(dao, u"insert into DIP (EXTINT, EXTSBT, DIPCAN, EXTFOF) values ('A', 1, " +
                     quoted(quantity) + u", '" + DateText::toText(date) + u"')");
        Recordset rs =
            rows(dao, QStringLiteral("select typeof(DIPCAN) as t, DIPCAN, EXTFOF from DIP"));
        QCOMPARE(rs.value(QStringLiteral("t")).toString(), QStringLiteral("real"));
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), quantity);
        QCOMPARE(rs.value(QStringLiteral("EXTFOF")).toDate(), date);

        // The same values written by update, into lower-case names.
        run(dao, u"update dip set dipcan = " + quoted(quantity * 2) + u", extfof = '" +
                     DateText::toText(date.addDays(1)) + u"' where extint = 'A'");
        rs = rows(dao, QStringLiteral("select typeof(DIPCAN) as t, DIPCAN, EXTFOF from DIP"));
        QCOMPARE(rs.value(QStringLiteral("t")).toString(), QStringLiteral("real"));
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), quantity * 2);
        QCOMPARE(rs.value(QStringLiteral("EXTFOF")).toDate(), date.addDays(1));
    }

    void updateStoresFormattedReal()
    {
        SqlDataObject dao(db());
        for (const QString& declaration : {QStringLiteral("D1"), QStringLiteral("D2")})
            run(dao, u"insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC) values "
                     u"('" +
                         declaration + u"', 'A1', 1, 1, " + SqlValue::real(100.5) + u", 0)");
        QCOMPARE(run(dao, u"update INS set ARTDSC = format(ARTCAT - cdbl('" +
                              NumberText::toText(12.34565) +
                              u"'),'00.0000') where INTDCL = 'D1' and ARTNRO = 'A1'"),
                 1);
        Recordset rs = rows(dao, QStringLiteral("select INTDCL, typeof(ARTDSC) as t, ARTDSC "
                                                "from INS order by INTDCL"));
        QCOMPARE(rs.value(QStringLiteral("t")).toString(), QStringLiteral("real"));
        QCOMPARE(rs.value(QStringLiteral("ARTDSC")).toDouble(), 88.1544);
        rs.moveNext();
        QCOMPARE(rs.value(QStringLiteral("ARTDSC")).toDouble(), 0.0);

        // Stored as numbers, they compare as numbers.
        rs = rows(dao, QStringLiteral("select count(*) as n from INS where ARTDSC > 88"));
        QCOMPARE(rs.value(QStringLiteral("n")).toInt(), 1);
    }

    void selectTop()
    {
        SqlDataObject dao(db());
        for (int sub = 1; sub <= 3; ++sub)
            run(dao,
                u"insert into DIP (EXTINT, EXTSBT) values ('OP', " + QString::number(sub) + u')');
        Recordset rs =
            rows(dao, QStringLiteral("select top 1 EXTSBT from DIP order by EXTSBT desc"));
        QCOMPARE(rs.recordCount(), 1);
        QCOMPARE(rs.value(QStringLiteral("EXTSBT")).toInt(), 3);
        rs = rows(dao, QStringLiteral("SELECT TOP 2 * FROM DIP WHERE EXTINT = 'OP';"));
        QCOMPARE(rs.recordCount(), 2);
    }

    void oneStatementOnly_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::newRow("insert and delete") << QStringLiteral(
            "insert into PRD (CATNRO, PRDNRO) values ('C', 'P'); delete from PRD");
        QTest::newRow("two inserts")
            << QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P');insert into "
                              "PRD (CATNRO, PRDNRO) values ('C', 'Q')");
        QTest::newRow("insert and select")
            << QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P'); select 1");
        QTest::newRow("insert and garbage")
            << QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P'); garbage");
    }
    void oneStatementOnly()
    {
        QFETCH(QString, sql);
        SqlDataObject dao(db());
        dao.setSql(sql);
        RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QCOMPARE(error.description,
                 QStringLiteral("Unable to execute multiple statements at a time"));
        QCOMPARE(count(QStringLiteral("PRD")), 0);
        error = errorOf([&] {
            Recordset rs;
            dao.open(rs);
        });
        QCOMPARE(error.description,
                 QStringLiteral("Unable to execute multiple statements at a time"));
        QCOMPARE(count(QStringLiteral("PRD")), 0);
    }

    void endingsOfOneStatement_data()
    {
        QTest::addColumn<QString>("ending");
        QTest::newRow("nothing") << QString();
        QTest::newRow("semicolon") << QStringLiteral(";");
        QTest::newRow("semicolons and blanks") << QStringLiteral(" ;\n ; ");
        QTest::newRow("comment") << QStringLiteral("; -- done");
        QTest::newRow("block comment") << QStringLiteral(" /* done */");
    }
    void endingsOfOneStatement()
    {
        QFETCH(QString, ending);
        SqlDataObject dao(db());
        QCOMPARE(run(dao, u"insert into PRD (CATNRO, PRDNRO) values ('C', 'P')" + ending), 1);
        QCOMPARE(count(QStringLiteral("PRD")), 1);
    }

    void emptyStatement_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::newRow("empty") << QString();
        QTest::newRow("blank") << QStringLiteral("  \n ");
        QTest::newRow("semicolon") << QStringLiteral(" ; ");
        QTest::newRow("comment") << QStringLiteral("-- nothing");
    }
    void emptyStatement()
    {
        QFETCH(QString, sql);
        SqlDataObject dao(db());
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QVERIFY(!error.description.isEmpty());
    }

    void affectedRecords()
    {
        SqlDataObject dao(db());
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')")), 1);
        QCOMPARE(run(dao, QStringLiteral(
                              "insert into PRD (CATNRO, PRDNRO) values ('C', 'Q'), ('D', 'R')")),
                 2);
        QCOMPARE(run(dao, u"update PRD set PRDMUL = " + quoted(1.5)), 3);
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 2 where CATNRO = 'C'")), 2);
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 2 where CATNRO = 'X'")), 0);
        // Statements that change no rows count none, whatever ran before them.
        QCOMPARE(run(dao, QStringLiteral("select * from PRD")), 0);
        QCOMPARE(run(dao, QStringLiteral("create table EXTRA (A REAL)")), 0);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'R'")), 1);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'R'")), 0);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD")), 2);
        QCOMPARE(count(QStringLiteral("PRD")), 0);
    }

    void openWithoutRows()
    {
        SqlDataObject dao(db());
        Recordset rs(QStringList{QStringLiteral("OLD")});
        rs.appendRow({1});
        dao.setSql(QStringLiteral("select EXTINT, DIPCAN from DIP where EXTSBT = 99"));
        QVERIFY(!dao.open(rs));
        QVERIFY(rs.eof());
        QCOMPARE(rs.recordCount(), 0);
        QCOMPARE(rs.fieldNames(),
                 (QStringList{QStringLiteral("EXTINT"), QStringLiteral("DIPCAN")}));

        run(dao, QStringLiteral("insert into DIP (EXTINT, EXTSBT) values ('A', 99)"));
        dao.setSql(QStringLiteral("select EXTINT, DIPCAN from DIP where EXTSBT = 99"));
        QVERIFY(dao.open(rs));
        QCOMPARE(rs.recordCount(), 1);
        QCOMPARE(rs.value(QStringLiteral("extint")).toString(), QStringLiteral("A"));
        QVERIFY(rs.value(QStringLiteral("DIPCAN")).isNull());
    }

    void sumOverNoRows()
    {
        SqlDataObject dao(db());
        Recordset rs;
        dao.setSql(QStringLiteral("select sum(DIPCAN) as total from DIP"));
        QVERIFY(dao.open(rs));
        QCOMPARE(rs.recordCount(), 1);
        QVERIFY(rs.value(QStringLiteral("total")).isNull());
    }

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
        QCOMPARE(rs.value(QStringLiteral("EXTINT")).typeId(), QMetaType::QString);
        QCOMPARE(rs.value(QStringLiteral("EXTSBT")).typeId(), QMetaType::Int);
        QCOMPARE(rs.value(QStringLiteral("idroot")).typeId(), QMetaType::LongLong);
        QCOMPARE(rs.value(QStringLiteral("idroot")).toLongLong(), 5000000000LL);
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).typeId(), QMetaType::Double);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).toDate(), QDate(2026, 11, 22));
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).typeId(), QMetaType::QDate);
        QCOMPARE(rs.value(QStringLiteral("EXTFOF")).toString(), QStringLiteral("not a date"));
        QCOMPARE(rs.value(QStringLiteral("DIPUSR")).typeId(), QMetaType::QByteArray);
        QCOMPARE(rs.value(QStringLiteral("DIPUSR")).toByteArray(), QByteArray("\x01\x02"));
        QVERIFY(rs.value(QStringLiteral("RALCAN")).isNull());
        // An expression has no declared type: its date comes back as text.
        QCOMPARE(rs.value(QStringLiteral("latest")).typeId(), QMetaType::QString);
    }

    void errorsCarryTheDatabaseMessage_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("message");
        QTest::newRow("no table") << QStringLiteral("select * from NOPE")
                                  << QStringLiteral("no such table: NOPE");
        QTest::newRow("syntax") << QStringLiteral("selec 1") << QStringLiteral("syntax error");
        QTest::newRow("type mismatch")
            << QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('C', 'P', "
                              "cdbl('x'))")
            << QStringLiteral("Type mismatch");
        QTest::newRow("bad date") << QStringLiteral(
                                         "insert into DIP (EXTINT, EXTSBT, DIPFEC) values ('A', 1, "
                                         "datevalue('x'))")
                                  << QStringLiteral("Type mismatch");
        QTest::newRow("not null") << QStringLiteral("insert into PRD (CATNRO) values ('C')")
                                  << QStringLiteral("NOT NULL constraint failed: PRD.PRDNRO");
    }
    void errorsCarryTheDatabaseMessage()
    {
        QFETCH(QString, sql);
        QFETCH(QString, message);
        SqlDataObject dao(db());
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QCOMPARE(error.source, QStringLiteral("SqlDataObject"));
        QVERIFY2(error.description.contains(message), qPrintable(error.description));
        QCOMPARE(count(QStringLiteral("PRD")), 0);
        QCOMPARE(count(QStringLiteral("DIP")), 0);
        // The connection stays usable.
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')")), 1);
    }

    void duplicateKeyMessage()
    {
        SqlDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        dao.setSql(QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QVERIFY2(error.description.contains(QStringLiteral("UNIQUE constraint failed")),
                 qPrintable(error.description));
    }

    void quantityRoundTrip_data()
    {
        QTest::addColumn<double>("quantity");
        QTest::addColumn<QString>("formatted"); // "." is the locale's decimal separator
        QTest::newRow("four decimals") << 1234.5678 << QStringLiteral("1234.5678");
        QTest::newRow("small") << 0.0001 << QStringLiteral("0.0001");
        QTest::newRow("whole") << 250.0 << QStringLiteral("250.0000");
        QTest::newRow("large") << 99999.9999 << QStringLiteral("99999.9999");
    }
    void quantityRoundTrip()
    {
        QFETCH(double, quantity);
        QFETCH(QString, formatted);
        SqlDataObject dao(db());
        run(dao, u"insert into DIP (EXTINT, EXTSBT, DIPCAN) values ('A', 1, " +
                     SqlValue::real(quantity) + u')');
        QCOMPARE(run(dao, QStringLiteral("update DIP set RALCAN = format(DIPCAN,'0.0000')")), 1);
        const Recordset rs = rows(dao, QStringLiteral("select format(DIPCAN,'0.0000') as F, "
                                                      "typeof(RALCAN) as t, DIPCAN, RALCAN "
                                                      "from DIP"));
        QCOMPARE(rs.value(QStringLiteral("F")).toString(), localeText(formatted));
        QCOMPARE(NumberText::toNumber(rs.value(QStringLiteral("F")).toString()), quantity);
        QCOMPARE(rs.value(QStringLiteral("t")).toString(), QStringLiteral("real"));
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), quantity);
        QCOMPARE(rs.value(QStringLiteral("RALCAN")).toDouble(), quantity);

        // Text read back goes into the next statement as it came.
        QCOMPARE(run(dao, u"update DIP set RIPCAN = cdbl('" +
                              rs.value(QStringLiteral("F")).toString() + u"')"),
                 1);
        QCOMPARE(rows(dao, QStringLiteral("select RIPCAN from DIP"))
                     .value(QStringLiteral("RIPCAN"))
                     .toDouble(),
                 quantity);
    }

    void dateRoundTrip()
    {
        SqlDataObject dao(db());
        const QDate date(2026, 3, 4);
        run(dao,
            u"insert into INTINS (INTDCL, INTFOF) values ('X', " + SqlValue::date(date) + u')');
        Recordset rs =
            rows(dao, u"select INTFOF from INTINS where INTFOF = " + SqlValue::date(date));
        QCOMPARE(rs.recordCount(), 1);
        QCOMPARE(rs.value(QStringLiteral("INTFOF")).toDate(), date);
        rs = rows(dao, QStringLiteral("select INTFOF from INTINS where INTFOF = '2026-03-04'"));
        QCOMPARE(rs.recordCount(), 1);
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

    // Rows are read only as the visitor asks: a third row that cannot be evaluated is never
    // reached when the visitor stops at the second, and fails when it goes on.
    void forEachRowReadsOnlyWhatIsAsked()
    {
        SqlDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('1', 'P1')"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('2', 'P2')"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('abc', 'P3')"));
        const QString sql =
            QStringLiteral("select PRDNRO, cdbl(CATNRO) as n from PRD where PRDNRO > 'P'");
        QStringList seen;
        dao.setSql(sql);
        QVERIFY(dao.forEachRow([&](const Recordset& row) {
            seen << row.value(QStringLiteral("PRDNRO")).toString() + u'=' +
                        NumberText::toText(row.value(QStringLiteral("n")).toDouble());
            return seen.size() < 2;
        }));
        QCOMPARE(seen, QStringList({QStringLiteral("P1=1"), QStringLiteral("P2=2")}));

        // Read to its end, the same text fails on the third row, after two were handed over.
        seen.clear();
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] {
            dao.forEachRow([&](const Recordset& row) {
                seen << row.value(QStringLiteral("PRDNRO")).toString();
                return true;
            });
        });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QCOMPARE(error.description, QStringLiteral("Type mismatch"));
        QCOMPARE(seen.size(), 2);
        // open() reads every row, so it fails before giving any.
        Recordset rs;
        dao.setSql(sql);
        QCOMPARE(errorOf([&] { dao.open(rs); }).description, QStringLiteral("Type mismatch"));
    }

    void forEachRowWithoutRows()
    {
        SqlDataObject dao(db());
        int visits = 0;
        dao.setSql(QStringLiteral("select PRDNRO from PRD where PRDNRO = 'none'"));
        QVERIFY(!dao.forEachRow([&](const Recordset&) {
            ++visits;
            return true;
        }));
        QCOMPARE(visits, 0);
    }

    // A statement run from inside the visit is refused without harm to either; a visit that
    // throws leaves the statement reset, holding no read of the database.
    void forEachRowKeepsItsStatement()
    {
        SqlDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P1')"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P2')"));
        const QString sql = QStringLiteral("select PRDNRO from PRD where CATNRO = 'C'");
        RuntimeError inner(0, QString());
        int visits = 0;
        dao.setSql(sql);
        QVERIFY(dao.forEachRow([&](const Recordset&) {
            ++visits;
            inner = errorOf([&] { run(dao, QStringLiteral("delete from PRD")); });
            return true;
        }));
        QCOMPARE(visits, 2);
        QCOMPARE(inner.number, qint32(oquivran::DatabaseError));
        QCOMPARE(inner.description,
                 QStringLiteral("A statement cannot run while the rows of another are being read"));
        QCOMPARE(count(QStringLiteral("PRD")), 2);

        dao.setSql(sql);
        const RuntimeError thrown = errorOf([&] {
            dao.forEachRow([](const Recordset&) -> bool {
                throw RuntimeError(5, QStringLiteral("from the visit"));
            });
        });
        QCOMPARE(thrown.description, QStringLiteral("from the visit"));
        // Nothing is left reading: another connection can checkpoint and truncate the log.
        QSqlQuery other(db());
        QVERIFY(other.exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)")));
        QVERIFY(other.next());
        QCOMPARE(other.value(0).toInt(), 0);
        other.finish();
        // And the same text runs again from its first row.
        QStringList seen;
        dao.setSql(sql);
        QVERIFY(dao.forEachRow([&](const Recordset& row) {
            seen << row.value(QStringLiteral("PRDNRO")).toString();
            return true;
        }));
        QCOMPARE(seen, QStringList({QStringLiteral("P1"), QStringLiteral("P2")}));
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'P1'")), 1);
    }

    // A kept statement whose table changed is prepared again with the new columns.
    void forEachRowAfterTableChange()
    {
        SqlDataObject dao(db());
        run(dao, QStringLiteral("create table T (A integer)"));
        run(dao, QStringLiteral("insert into T values (1)"));
        const QString sql = QStringLiteral("select * from T where A = 1");
        QStringList fields;
        const auto visit = [&](const Recordset& row) {
            fields = row.fieldNames();
            return false;
        };
        dao.setSql(sql);
        QVERIFY(dao.forEachRow(visit));
        QCOMPARE(fields, QStringList({QStringLiteral("A")}));
        QSqlQuery other(db());
        QVERIFY(other.exec(QStringLiteral("alter table T add column B text default 'b'")));
        dao.setSql(sql);
        QVERIFY(dao.forEachRow(visit));
        QCOMPARE(fields, QStringList({QStringLiteral("A"), QStringLiteral("B")}));
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

    void unitTakesEffectAtCommit()
    {
        SqlDataObject dao(db());
        OtherConnection other(m_temp->filePath());
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P1')"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P2')"));
        QCOMPARE(other.count(QStringLiteral("PRD")), 0);
        dao.commit();
        QCOMPARE(other.count(QStringLiteral("PRD")), 2);
    }

    void rollbackUndoesTheUnit()
    {
        SqlDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('C', 'P', 1)"));
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'Q')"));
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 7")), 2);
        dao.rollback();
        QCOMPARE(count(QStringLiteral("PRD")), 1);
        QCOMPARE(rows(dao, QStringLiteral("select PRDMUL from PRD")).value(QStringLiteral("PRDMUL")).toDouble(),
                 1.0);
        // Outside a unit each statement takes effect on its own again.
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'R')"));
        dao.rollback();
        QCOMPARE(count(QStringLiteral("PRD")), 2);
    }

    void unitWaitsForTheWriterLockThenReports()
    {
        SqlDataObject dao(db());
        dao.setLockWait(200);
        QCOMPARE(dao.lockWait(), 200);
        OtherConnection other(m_temp->filePath());
        other.dao->transaction();
        run(*other.dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));

        QElapsedTimer timer;
        timer.start();
        const RuntimeError error = errorOf([&] { dao.transaction(); });
        QVERIFY(timer.elapsed() >= 150);
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QCOMPARE(error.description, QStringLiteral("database is locked"));
        // Reading is not held up by the other unit, and does not see it.
        QCOMPARE(rows(dao, QStringLiteral("select count(*) as n from PRD")).value(QStringLiteral("n")).toInt(),
                 0);

        other.dao->commit();
        dao.transaction();
        // The unit sees what the other one committed.
        QCOMPARE(rows(dao, QStringLiteral("select count(*) as n from PRD")).value(QStringLiteral("n")).toInt(),
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
        OtherConnection other(m_temp->filePath());
        other.dao->setLockWait(0);
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
            other.dao->transaction();
            other.dao->rollback();
        }
        QCOMPARE(rows(dao, QStringLiteral("select sum(PRDMUL) as s from PRD")).value(QStringLiteral("s")).toInt(),
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
