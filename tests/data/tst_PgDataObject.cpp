#include "DateText.h"
#include "LocaleText.h"
#include "NumberFormat.h"
#include "NumberText.h"
#include "PgTestDatabase.h"
#include "Schema.h"
#include "SqlValue.h"

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

using oquivran::DateText;
using oquivran::NumberFormat;
using oquivran::NumberText;
using oquivran::PgDataObject;
using oquivran::Recordset;
using oquivran::RuntimeError;
using oquivran::Schema;
using oquivran::SqlValue;

// PgDataObject on the throwaway server: the cases of tst_SqlDataObject, with the same results
// under both decimal separators, and what only a server has (units of atomic writes, a
// connection that breaks).
class tst_PgDataObject : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<PgTestDatabase> m_temp;

    QSqlDatabase db() const { return m_temp->database(); }

    static qint32 run(PgDataObject& dao, const QString& sql)
    {
        dao.setSql(sql);
        return dao.execute();
    }

    static Recordset rows(PgDataObject& dao, const QString& sql)
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

    // A value read past the object under test, on a connection of its own.
    QVariant scalar(const QString& sql) const
    {
        QSqlDatabase observer = QSqlDatabase::database(QStringLiteral("observer"), false);
        if (!observer.isOpen())
            return QVariant();
        QSqlQuery query(observer);
        if (!query.exec(sql) || !query.next())
            return QVariant();
        return query.value(0);
    }
    int count(const QString& table) const
    {
        const QVariant n = scalar(u"select count(*) from " + table);
        return n.isValid() ? n.toInt() : -1;
    }

    static QString quoted(double value) { return u'\'' + NumberText::toText(value) + u'\''; }

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
        QVERIFY(QSqlDatabase::cloneDatabase(db(), QStringLiteral("observer")).open());
    }
    void cleanup()
    {
        QSqlDatabase::database(QStringLiteral("observer"), false).close();
        QSqlDatabase::removeDatabase(QStringLiteral("observer"));
        m_temp.reset();
    }

    void insertStoresNumbersAndDates()
    {
        PgDataObject dao(db());
        const QDate date(2026, 11, 22);
        QCOMPARE(run(dao, u"insert into DIP (EXTINT, EXTSBT, PRDMUL, DIPCAN, DIPFEC) values "
                          u"('OP1', 1, " +
                              quoted(2.5) + u", cdbl('" + NumberText::toText(12.3456) +
                              u"'), datevalue('" + DateText::toText(date) + u"'))"),
                 1);
        Recordset rs = rows(dao, QStringLiteral("select PRDMUL, DIPCAN, DIPFEC from DIP"));
        QCOMPARE(rs.recordCount(), 1);
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
        PgDataObject dao(db());
        run(dao, u"insert into DIP (EXTINT, EXTSBT, DIPCAN, EXTFOF) values ('A', 1, " +
                     quoted(quantity) + u", '" + DateText::toText(date) + u"')");
        Recordset rs = rows(dao, QStringLiteral("select DIPCAN, EXTFOF from DIP"));
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), quantity);
        QCOMPARE(rs.value(QStringLiteral("EXTFOF")).toDate(), date);

        // The same values written by update, into lower-case names.
        run(dao, u"update dip set dipcan = " + quoted(quantity * 2) + u", extfof = '" +
                     DateText::toText(date.addDays(1)) + u"' where extint = 'A'");
        rs = rows(dao, QStringLiteral("select DIPCAN, EXTFOF from DIP"));
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), quantity * 2);
        QCOMPARE(rs.value(QStringLiteral("EXTFOF")).toDate(), date.addDays(1));
    }

    void updateStoresFormattedReal()
    {
        PgDataObject dao(db());
        for (const QString& declaration : {QStringLiteral("D1"), QStringLiteral("D2")})
            run(dao, u"insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC) values "
                     u"('" +
                         declaration + u"', 'A1', 1, 1, " + SqlValue::real(100.5) + u", 0)");
        QCOMPARE(run(dao, u"update INS set ARTDSC = format(ARTCAT - cdbl('" +
                              NumberText::toText(12.34565) +
                              u"'),'00.0000') where INTDCL = 'D1' and ARTNRO = 'A1'"),
                 1);
        Recordset rs = rows(dao, QStringLiteral("select INTDCL, ARTDSC from INS order by INTDCL"));
        QCOMPARE(rs.value(QStringLiteral("ARTDSC")).typeId(), QMetaType::Double);
        QCOMPARE(rs.value(QStringLiteral("ARTDSC")).toDouble(), 88.1544);
        rs.moveNext();
        QCOMPARE(rs.value(QStringLiteral("ARTDSC")).toDouble(), 0.0);
        rs = rows(dao, QStringLiteral("select count(*) as n from INS where ARTDSC > 88"));
        QCOMPARE(rs.value(QStringLiteral("n")).toInt(), 1);
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

    void selectTop()
    {
        PgDataObject dao(db());
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
        QTest::newRow("not shared") << QStringLiteral("create table X1 (A int); drop table PRD");
    }
    void oneStatementOnly()
    {
        QFETCH(QString, sql);
        PgDataObject dao(db());
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
        PgDataObject dao(db());
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
        PgDataObject dao(db());
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QVERIFY(!error.description.isEmpty());
    }

    void affectedRecords()
    {
        PgDataObject dao(db());
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')")), 1);
        QCOMPARE(run(dao, QStringLiteral(
                              "insert into PRD (CATNRO, PRDNRO) values ('C', 'Q'), ('D', 'R')")),
                 2);
        QCOMPARE(run(dao, u"update PRD set PRDMUL = " + quoted(1.5)), 3);
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 2 where CATNRO = 'C'")), 2);
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 2 where CATNRO = 'X'")), 0);
        QCOMPARE(run(dao, QStringLiteral("select * from PRD")), 0);
        QCOMPARE(run(dao, QStringLiteral("create table EXTRA (A DOUBLE PRECISION)")), 0);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'R'")), 1);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'R'")), 0);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD")), 2);
        QCOMPARE(count(QStringLiteral("PRD")), 0);
    }

    void openWithoutRows()
    {
        PgDataObject dao(db());
        Recordset rs(QStringList{QStringLiteral("OLD")});
        rs.appendRow({1});
        dao.setSql(QStringLiteral("select EXTINT, DIPCAN from DIP where EXTSBT = 99"));
        QVERIFY(!dao.open(rs));
        QVERIFY(rs.eof());
        QCOMPARE(rs.recordCount(), 0);
        // The server folds unquoted names to lower case; fields come back named as written.
        QCOMPARE(rs.fieldNames(),
                 (QStringList{QStringLiteral("EXTINT"), QStringLiteral("DIPCAN")}));

        run(dao, QStringLiteral("insert into DIP (EXTINT, EXTSBT) values ('A', 99)"));
        dao.setSql(QStringLiteral("select EXTINT, DIPCAN from DIP where EXTSBT = 99"));
        QVERIFY(dao.open(rs));
        QCOMPARE(rs.recordCount(), 1);
        QCOMPARE(rs.value(QStringLiteral("EXTINT")).toString(), QStringLiteral("A"));
        QVERIFY(rs.value(QStringLiteral("DipCan")).isNull());
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

    void sumOverNoRows()
    {
        PgDataObject dao(db());
        Recordset rs;
        dao.setSql(QStringLiteral("select sum(DIPCAN) as total from DIP"));
        QVERIFY(dao.open(rs));
        QCOMPARE(rs.recordCount(), 1);
        QVERIFY(rs.value(QStringLiteral("total")).isNull());
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
        QCOMPARE(rs.value(QStringLiteral("EXTINT")).typeId(), QMetaType::QString);
        QCOMPARE(rs.value(QStringLiteral("EXTSBT")).typeId(), QMetaType::Int);
        QCOMPARE(rs.value(QStringLiteral("idroot")).toInt(), 50000);
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).typeId(), QMetaType::Double);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).typeId(), QMetaType::QDate);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).toDate(), QDate(2026, 11, 22));
        QVERIFY(rs.value(QStringLiteral("RALCAN")).isNull());
        // Counts fit an int, as on SQLite; larger whole numbers do not.
        QCOMPARE(rs.value(QStringLiteral("n")).typeId(), QMetaType::Int);
        QCOMPARE(rs.value(QStringLiteral("big")).typeId(), QMetaType::LongLong);
        QCOMPARE(rs.value(QStringLiteral("big")).toLongLong(), 5000000000LL);
        QCOMPARE(rs.value(QStringLiteral("b")).toByteArray(), QByteArray("\x01\x02"));
        QCOMPARE(rs.value(QStringLiteral("yes")), QVariant(1));
    }

    void errorsCarryTheDatabaseMessage_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("message");
        QTest::newRow("no table") << QStringLiteral("select * from NOPE")
                                  << QStringLiteral("relation \"nope\" does not exist");
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
                                  << QStringLiteral("null value in column \"prdnro\"");
    }
    void errorsCarryTheDatabaseMessage()
    {
        QFETCH(QString, sql);
        QFETCH(QString, message);
        PgDataObject dao(db());
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QCOMPARE(error.source, QStringLiteral("PgDataObject"));
        QVERIFY2(error.description.contains(message), qPrintable(error.description));
        QCOMPARE(count(QStringLiteral("PRD")), 0);
        QCOMPARE(count(QStringLiteral("DIP")), 0);
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')")), 1);
    }

    void duplicateKeyMessage()
    {
        PgDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        dao.setSql(QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QVERIFY2(error.description.contains(QStringLiteral("duplicate key value")),
                 qPrintable(error.description));
    }

    void quantityRoundTrip_data()
    {
        QTest::addColumn<double>("quantity");
        QTest::addColumn<QString>("formatted");
        QTest::newRow("four decimals") << 1234.5678 << QStringLiteral("1234.5678");
        QTest::newRow("small") << 0.0001 << QStringLiteral("0.0001");
        QTest::newRow("whole") << 250.0 << QStringLiteral("250.0000");
        QTest::newRow("large") << 99999.9999 << QStringLiteral("99999.9999");
    }
    void quantityRoundTrip()
    {
        QFETCH(double, quantity);
        QFETCH(QString, formatted);
        PgDataObject dao(db());
        run(dao, u"insert into DIP (EXTINT, EXTSBT, DIPCAN) values ('A', 1, " +
                     SqlValue::real(quantity) + u')');
        QCOMPARE(run(dao, QStringLiteral("update DIP set RALCAN = format(DIPCAN,'0.0000')")), 1);
        const Recordset rs = rows(
            dao, QStringLiteral("select format(DIPCAN,'0.0000') as F, DIPCAN, RALCAN from DIP"));
        QCOMPARE(rs.value(QStringLiteral("F")).toString(), localeText(formatted));
        QCOMPARE(NumberText::toNumber(rs.value(QStringLiteral("F")).toString()), quantity);
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), quantity);
        QCOMPARE(rs.value(QStringLiteral("RALCAN")).toDouble(), quantity);

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
        PgDataObject dao(db());
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

    // Rows are read only as the visitor asks: a third row that cannot be evaluated is never
    // reached when the visitor stops at the second, and fails when it goes on.
    void forEachRowReadsOnlyWhatIsAsked()
    {
        PgDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('1', 'P1', 1)"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('2', 'P2', 2)"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('3', 'P3', 0)"));
        // No sort: the rows leave the table in the order they went in, each computed as it is
        // sent.
        const QString sql =
            QStringLiteral("select PRDNRO, 2 / PRDMUL as n from PRD where PRDNRO > 'P'");
        QStringList seen;
        dao.setSql(sql);
        QVERIFY(dao.forEachRow([&](const Recordset& row) {
            seen << row.value(QStringLiteral("PRDNRO")).toString() + u'=' +
                        NumberText::toText(row.value(QStringLiteral("n")).toDouble());
            return seen.size() < 2;
        }));
        QCOMPARE(seen, QStringList({QStringLiteral("P1=2"), QStringLiteral("P2=1")}));

        seen.clear();
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] {
            dao.forEachRow([&](const Recordset& row) {
                seen << row.value(QStringLiteral("PRDNRO")).toString();
                return true;
            });
        });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QVERIFY2(error.description.contains(QStringLiteral("division by zero")),
                 qPrintable(error.description));
        QCOMPARE(seen.size(), 2);
        Recordset rs;
        dao.setSql(sql);
        QVERIFY(errorOf([&] { dao.open(rs); }).description.contains(u"division by zero"));
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

    void forEachRowWithoutRows()
    {
        PgDataObject dao(db());
        int visits = 0;
        dao.setSql(QStringLiteral("select PRDNRO from PRD where PRDNRO = 'none'"));
        QVERIFY(!dao.forEachRow([&](const Recordset&) {
            ++visits;
            return true;
        }));
        QCOMPARE(visits, 0);
    }

    void forEachRowKeepsItsStatement()
    {
        PgDataObject dao(db());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P1')"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P2')"));
        const QString sql =
            QStringLiteral("select PRDNRO from PRD where CATNRO = 'C' order by PRDNRO");
        RuntimeError inner(0, QString());
        int visits = 0;
        dao.setSql(sql);
        QVERIFY(dao.forEachRow([&](const Recordset&) {
            ++visits;
            inner = errorOf([&] { run(dao, QStringLiteral("delete from PRD")); });
            return true;
        }));
        QCOMPARE(visits, 2);
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
        QStringList seen;
        dao.setSql(sql);
        QVERIFY(dao.forEachRow([&](const Recordset& row) {
            seen << row.value(QStringLiteral("PRDNRO")).toString();
            return true;
        }));
        QCOMPARE(seen, QStringList({QStringLiteral("P1"), QStringLiteral("P2")}));
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'P1'")), 1);
    }

    void forEachRowAfterTableChange()
    {
        PgDataObject dao(db());
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
        Recordset rs = rows(dao, sql);
        // A field the statement does not write keeps the server's name.
        QCOMPARE(rs.fieldNames(), QStringList({QStringLiteral("A"), QStringLiteral("b")}));
    }

    void unitCommitsOrUndoes()
    {
        PgDataObject dao(db());
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P1')"));
        QCOMPARE(count(QStringLiteral("PRD")), 0); // not seen from another connection yet
        dao.commit();
        QCOMPARE(count(QStringLiteral("PRD")), 1);
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P2')"));
        dao.rollback();
        QCOMPARE(count(QStringLiteral("PRD")), 1);
        // A unit in which a statement failed is undone by commit, which says so.
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
        QSqlDatabase second = QSqlDatabase::cloneDatabase(db(), QStringLiteral("second-unit"));
        {
            QVERIFY(second.open());
            PgDataObject other(second);
            run(first, QStringLiteral("insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, "
                                      "ARTDSC) values ('D', 'A', 1, 1, 10, 10)"));
            first.transaction();
            other.transaction();
            const QString sum = QStringLiteral(
                "select sum(DIPCAN) as s from DIP where ARTDCL = 'D' and ARTNRO = 'A'");
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
            other.rollback();
            QCOMPARE(scalar(QStringLiteral("select ARTDSC from INS")).toDouble(), 4.0);
            QCOMPARE(count(QStringLiteral("DIP")), 1);
            QCOMPARE(run(other, QStringLiteral("update INS set ARTDSC = 4 where INTDCL = 'D'")), 1);
        }
        second.close();
        second = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("second-unit"));
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
