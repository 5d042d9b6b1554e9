#pragma once

#include "DateText.h"
#include "LocaleText.h"
#include "NumberText.h"
#include "SqlValue.h"

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QSqlQuery>
#include <QTest>

#include <functional>

// What every data object promises whatever its server: the cases tst_SqlDataObject and
// tst_PgDataObject share, written once. Server is the test's own fixture and names what
// differs:
//   using Object = the data object under test;
//   QSqlDatabase database();             the connection of the test's database
//   int count(const QString& table);     a table's rows, read past the object (-1 on failure)
//   static QString source();             the source its errors carry
//   static QString typeOf(column);       an expression giving the column's storage class in a
//                                         row, empty when the server keeps the declared type
//   static QString realType();           the column type of a real number in a create table
//   static QString noTableMessage(), notNullMessage(), duplicateKeyMessage(),
//   duplicateKeyCode();
//   static QStringList fieldsAfterAddedColumn();  the fields of "select *" on T(A) once a
//                                         column b was added as "B"
//   void nothingLeftReading();           checks that no statement of the object still reads
//   void visitAfterAddedColumn(dao, sql); checks a visit of "select *" on T once a column was
//                                         added, where the object keeps its statements
template <typename Server> class DataObjectContract
{
public:
    using Object = typename Server::Object;
    using Recordset = oquivran::Recordset;
    using RuntimeError = oquivran::RuntimeError;

    static qint32 run(Object& dao, const QString& sql)
    {
        dao.setSql(sql);
        return dao.execute();
    }

    static Recordset rows(Object& dao, const QString& sql)
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

    static QString quoted(double value)
    {
        return u'\'' + oquivran::NumberText::toText(value) + u'\'';
    }

    // The storage class of a column in the only row of a table, where the server has one.
    static void checkStoredAs(Object& dao, const QString& table, const QString& column,
                              const QString& storage)
    {
        const QString expression = Server::typeOf(column);
        if (expression.isEmpty())
            return;
        QCOMPARE(rows(dao, u"select " + expression + u" as t from " + table)
                     .value(QStringLiteral("t"))
                     .toString(),
                 storage);
    }

    static void insertStoresNumbersAndDates(Server& server)
    {
        using oquivran::DateText;
        using oquivran::NumberText;
        Object dao(server.database());
        const QDate date(2026, 11, 22);
        QCOMPARE(run(dao, u"insert into DIP (EXTINT, EXTSBT, PRDMUL, DIPCAN, DIPFEC) values "
                          u"('OP1', 1, " +
                              quoted(2.5) + u", cdbl('" + NumberText::toText(12.3456) +
                              u"'), datevalue('" + DateText::toText(date) + u"'))"),
                 1);
        checkStoredAs(dao, QStringLiteral("DIP"), QStringLiteral("PRDMUL"), QStringLiteral("real"));
        checkStoredAs(dao, QStringLiteral("DIP"), QStringLiteral("DIPCAN"), QStringLiteral("real"));
        checkStoredAs(dao, QStringLiteral("DIP"), QStringLiteral("DIPFEC"), QStringLiteral("text"));
        Recordset rs = rows(dao, QStringLiteral("select PRDMUL, DIPCAN, DIPFEC from DIP"));
        QCOMPARE(rs.recordCount(), 1);
        QCOMPARE(rs.value(QStringLiteral("PRDMUL")).typeId(), QMetaType::Double);
        QCOMPARE(rs.value(QStringLiteral("prdmul")).toDouble(), 2.5);
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), 12.3456);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).typeId(), QMetaType::QDate);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).toDate(), date);
    }

    static void quotedLocaleValuesData()
    {
        QTest::addColumn<double>("quantity");
        QTest::addColumn<QDate>("date");
        QTest::newRow("fraction") << 1234.5 << QDate(2026, 1, 2);
        QTest::newRow("small") << 0.0001 << QDate(1999, 12, 31);
        QTest::newRow("negative") << -3.25 << QDate(2000, 2, 29);
        QTest::newRow("whole") << 17.0 << QDate(2030, 7, 14);
    }
    static void quotedLocaleValues(Server& server, double quantity, const QDate& date)
    {
        using oquivran::DateText;
        Object dao(server.database());
        run(dao, u"insert into DIP (EXTINT, EXTSBT, DIPCAN, EXTFOF) values ('A', 1, " +
                     quoted(quantity) + u", '" + DateText::toText(date) + u"')");
        checkStoredAs(dao, QStringLiteral("DIP"), QStringLiteral("DIPCAN"), QStringLiteral("real"));
        Recordset rs = rows(dao, QStringLiteral("select DIPCAN, EXTFOF from DIP"));
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), quantity);
        QCOMPARE(rs.value(QStringLiteral("EXTFOF")).toDate(), date);

        // The same values written by update, into lower-case names.
        run(dao, u"update dip set dipcan = " + quoted(quantity * 2) + u", extfof = '" +
                     DateText::toText(date.addDays(1)) + u"' where extint = 'A'");
        checkStoredAs(dao, QStringLiteral("DIP"), QStringLiteral("DIPCAN"), QStringLiteral("real"));
        rs = rows(dao, QStringLiteral("select DIPCAN, EXTFOF from DIP"));
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).toDouble(), quantity * 2);
        QCOMPARE(rs.value(QStringLiteral("EXTFOF")).toDate(), date.addDays(1));
    }

    static void updateStoresFormattedReal(Server& server)
    {
        using oquivran::NumberText;
        Object dao(server.database());
        for (const QString& declaration : {QStringLiteral("D1"), QStringLiteral("D2")})
            run(dao, u"insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC) values "
                     u"('" +
                         declaration + u"', 'A1', 1, 1, " + oquivran::SqlValue::real(100.5) +
                         u", 0)");
        QCOMPARE(run(dao, u"update INS set ARTDSC = format(ARTCAT - cdbl('" +
                              NumberText::toText(12.34565) +
                              u"'),'00.0000') where INTDCL = 'D1' and ARTNRO = 'A1'"),
                 1);
        checkStoredAs(dao, QStringLiteral("INS where INTDCL = 'D1'"), QStringLiteral("ARTDSC"),
                      QStringLiteral("real"));
        Recordset rs = rows(dao, QStringLiteral("select INTDCL, ARTDSC from INS order by INTDCL"));
        QCOMPARE(rs.value(QStringLiteral("ARTDSC")).typeId(), QMetaType::Double);
        QCOMPARE(rs.value(QStringLiteral("ARTDSC")).toDouble(), 88.1544);
        rs.moveNext();
        QCOMPARE(rs.value(QStringLiteral("ARTDSC")).toDouble(), 0.0);

        // Stored as numbers, they compare as numbers.
        rs = rows(dao, QStringLiteral("select count(*) as n from INS where ARTDSC > 88"));
        QCOMPARE(rs.value(QStringLiteral("n")).toInt(), 1);
    }

    static void selectTop(Server& server)
    {
        Object dao(server.database());
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

    static void oneStatementOnlyData()
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
    static void oneStatementOnly(Server& server, const QString& sql)
    {
        Object dao(server.database());
        dao.setSql(sql);
        RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QCOMPARE(error.description,
                 QStringLiteral("Unable to execute multiple statements at a time"));
        QCOMPARE(server.count(QStringLiteral("PRD")), 0);
        error = errorOf([&] {
            Recordset rs;
            dao.open(rs);
        });
        QCOMPARE(error.description,
                 QStringLiteral("Unable to execute multiple statements at a time"));
        QCOMPARE(server.count(QStringLiteral("PRD")), 0);
    }

    static void endingsOfOneStatementData()
    {
        QTest::addColumn<QString>("ending");
        QTest::newRow("nothing") << QString();
        QTest::newRow("semicolon") << QStringLiteral(";");
        QTest::newRow("semicolons and blanks") << QStringLiteral(" ;\n ; ");
        QTest::newRow("comment") << QStringLiteral("; -- done");
        QTest::newRow("block comment") << QStringLiteral(" /* done */");
    }
    static void endingsOfOneStatement(Server& server, const QString& ending)
    {
        Object dao(server.database());
        QCOMPARE(run(dao, u"insert into PRD (CATNRO, PRDNRO) values ('C', 'P')" + ending), 1);
        QCOMPARE(server.count(QStringLiteral("PRD")), 1);
    }

    static void emptyStatementData()
    {
        QTest::addColumn<QString>("sql");
        QTest::newRow("empty") << QString();
        QTest::newRow("blank") << QStringLiteral("  \n ");
        QTest::newRow("semicolon") << QStringLiteral(" ; ");
        QTest::newRow("comment") << QStringLiteral("-- nothing");
    }
    static void emptyStatement(Server& server, const QString& sql)
    {
        Object dao(server.database());
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QVERIFY(!error.description.isEmpty());
    }

    static void affectedRecords(Server& server)
    {
        Object dao(server.database());
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')")), 1);
        QCOMPARE(run(dao, QStringLiteral(
                              "insert into PRD (CATNRO, PRDNRO) values ('C', 'Q'), ('D', 'R')")),
                 2);
        QCOMPARE(run(dao, u"update PRD set PRDMUL = " + quoted(1.5)), 3);
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 2 where CATNRO = 'C'")), 2);
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 2 where CATNRO = 'X'")), 0);
        // Statements that change no rows count none, whatever ran before them.
        QCOMPARE(run(dao, QStringLiteral("select * from PRD")), 0);
        QCOMPARE(run(dao, u"create table EXTRA (A " + Server::realType() + u')'), 0);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'R'")), 1);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'R'")), 0);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD")), 2);
        QCOMPARE(server.count(QStringLiteral("PRD")), 0);
    }

    // Fields are named as the statement writes them (a server may fold unquoted names) and
    // found whatever the case of the name asked for.
    static void openWithoutRows(Server& server)
    {
        Object dao(server.database());
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
        QCOMPARE(rs.value(QStringLiteral("EXTINT")).toString(), QStringLiteral("A"));
        QVERIFY(rs.value(QStringLiteral("DIPCAN")).isNull());
        QVERIFY(rs.value(QStringLiteral("DipCan")).isNull());
    }

    static void sumOverNoRows(Server& server)
    {
        Object dao(server.database());
        Recordset rs;
        dao.setSql(QStringLiteral("select sum(DIPCAN) as total from DIP"));
        QVERIFY(dao.open(rs));
        QCOMPARE(rs.recordCount(), 1);
        QVERIFY(rs.value(QStringLiteral("total")).isNull());
    }

    static void errorsCarryTheDatabaseMessageData()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("message");
        QTest::newRow("no table") << QStringLiteral("select * from NOPE")
                                  << Server::noTableMessage();
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
                                  << Server::notNullMessage();
    }
    static void errorsCarryTheDatabaseMessage(Server& server, const QString& sql,
                                              const QString& message)
    {
        Object dao(server.database());
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(oquivran::DatabaseError));
        QCOMPARE(error.source, Server::source());
        QVERIFY2(error.description.contains(message), qPrintable(error.description));
        QCOMPARE(server.count(QStringLiteral("PRD")), 0);
        QCOMPARE(server.count(QStringLiteral("DIP")), 0);
        // The connection stays usable.
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')")), 1);
    }

    static void duplicateKeyMessage(Server& server)
    {
        Object dao(server.database());
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        dao.setSql(QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QVERIFY2(error.description.contains(Server::duplicateKeyMessage()),
                 qPrintable(error.description));
        // The database's own code, and no conflict to run a unit again for.
        QCOMPARE(error.nativeErrorCode, Server::duplicateKeyCode());
        QVERIFY(!dao.isConflict(error));
    }

    static void quantityRoundTripData()
    {
        QTest::addColumn<double>("quantity");
        QTest::addColumn<QString>("formatted"); // "." is the locale's decimal separator
        QTest::newRow("four decimals") << 1234.5678 << QStringLiteral("1234.5678");
        QTest::newRow("small") << 0.0001 << QStringLiteral("0.0001");
        QTest::newRow("whole") << 250.0 << QStringLiteral("250.0000");
        QTest::newRow("large") << 99999.9999 << QStringLiteral("99999.9999");
    }
    static void quantityRoundTrip(Server& server, double quantity, const QString& formatted)
    {
        using oquivran::NumberText;
        Object dao(server.database());
        run(dao, u"insert into DIP (EXTINT, EXTSBT, DIPCAN) values ('A', 1, " +
                     oquivran::SqlValue::real(quantity) + u')');
        QCOMPARE(run(dao, QStringLiteral("update DIP set RALCAN = format(DIPCAN,'0.0000')")), 1);
        const Recordset rs = rows(
            dao, QStringLiteral("select format(DIPCAN,'0.0000') as F, DIPCAN, RALCAN from DIP"));
        QCOMPARE(rs.value(QStringLiteral("F")).toString(), localeText(formatted));
        QCOMPARE(NumberText::toNumber(rs.value(QStringLiteral("F")).toString()), quantity);
        checkStoredAs(dao, QStringLiteral("DIP"), QStringLiteral("RALCAN"), QStringLiteral("real"));
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

    static void dateRoundTrip(Server& server)
    {
        using oquivran::SqlValue;
        Object dao(server.database());
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

    static void forEachRowWithoutRows(Server& server)
    {
        Object dao(server.database());
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
    static void forEachRowKeepsItsStatement(Server& server)
    {
        Object dao(server.database());
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
        QCOMPARE(inner.number, qint32(oquivran::DatabaseError));
        QCOMPARE(inner.description,
                 QStringLiteral("A statement cannot run while the rows of another are being read"));
        QCOMPARE(server.count(QStringLiteral("PRD")), 2);

        dao.setSql(sql);
        const RuntimeError thrown = errorOf([&] {
            dao.forEachRow([](const Recordset&) -> bool {
                throw RuntimeError(5, QStringLiteral("from the visit"));
            });
        });
        QCOMPARE(thrown.description, QStringLiteral("from the visit"));
        server.nothingLeftReading();
        if (QTest::currentTestFailed())
            return;
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

    // A statement whose table changed is read with the new columns.
    static void forEachRowAfterTableChange(Server& server)
    {
        Object dao(server.database());
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
        QSqlQuery other(server.database());
        QVERIFY(other.exec(QStringLiteral("alter table T add column B text default 'b'")));
        QCOMPARE(rows(dao, sql).fieldNames(), Server::fieldsAfterAddedColumn());
        server.visitAfterAddedColumn(dao, sql);
    }
};
