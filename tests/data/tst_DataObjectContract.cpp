#include "DataObjectCalls.h"
#include "DateText.h"
#include "LocaleText.h"
#include "NumberText.h"
#include "PgTestDatabase.h"
#include "Schema.h"
#include "SecondConnection.h"
#include "SharedStatement.h"
#include "SqlValue.h"
#include "StatementPipeline.h"
#include "TempDatabase.h"

#include <oquivran/DataObject.h>
#include <oquivran/PgDataObject.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>
#include <oquivran/SqlDataObject.h>

#include <QSqlQuery>
#include <QTest>

#include <memory>

using namespace oquivran;
using namespace DataObjectCalls;

namespace {

// A database the contract runs on, with its schema created and one data object of its kind,
// and what its server does differently.
class ContractDatabase
{
public:
    virtual ~ContractDatabase() = default;

    // True when the database could be opened.
    virtual bool isOpen() const = 0;
    // The connection of the database.
    virtual QSqlDatabase database() const = 0;
    // A new data object of the kind under test on the connection.
    virtual std::unique_ptr<DataObject> object() const = 0;
    // A table's rows, read past the object on a connection of its own, as committed (-1 on
    // failure).
    virtual int count(const QString& table) const = 0;
    // The source its errors carry.
    virtual QString source() const = 0;
    // An expression giving the column's storage class in a row, empty when the server keeps
    // the declared type.
    virtual QString typeOf(const QString& column) const = 0;
    // The column type of a real number in a create table.
    virtual QString realType() const = 0;
    virtual QString noTableMessage() const = 0;
    virtual QString notNullMessage() const = 0;
    virtual QString duplicateKeyMessage() const = 0;
    virtual QString duplicateKeyCode() const = 0;
    // The fields of "select *" on T(A) once a column b was added as "B".
    virtual QStringList fieldsAfterAddedColumn() const = 0;
    // Checks that no statement of the object still reads.
    virtual void nothingLeftReading() const = 0;
    // Checks a visit of "select *" on T once a column was added, where the object keeps its
    // statements.
    virtual void visitAfterAddedColumn(DataObject& dao, const QString& sql) const = 0;

    // A query whose last row cannot be evaluated, and what its rows before give.
    struct FailingLastRow
    {
        // "select PRDNRO, <expression> as n from PRD where PRDNRO > 'P'" over the rows
        // (CATNRO, PRDNRO, PRDMUL) ('1', 'P1', 1), ('2', 'P2', 2) and ('abc', 'P3', 0), in
        // that order; the expression fails on the last.
        QString sql;
        // "PRDNRO=n" of the first two rows.
        QStringList firstRows;
    };
    virtual FailingLastRow failingLastRow() const = 0;
    // Checks the message of the error failingLastRow()'s last row raises.
    virtual void checkLastRowError(const QString& description) const = 0;
};

// SqlDataObject on a SQLite file of its own.
class SqliteDatabase : public ContractDatabase
{
public:
    bool isOpen() const override { return m_temp.isOpen() && m_observer.isOpen(); }
    QSqlDatabase database() const override { return m_temp.database(); }
    std::unique_ptr<DataObject> object() const override
    {
        return std::make_unique<SqlDataObject>(database());
    }
    int count(const QString& table) const override { return m_observer.count(table); }
    QString source() const override { return QStringLiteral("SqlDataObject"); }
    // SQLite stores each value with a class of its own, whatever the column declares.
    QString typeOf(const QString& column) const override { return u"typeof(" + column + u')'; }
    QString realType() const override { return QStringLiteral("REAL"); }
    QString noTableMessage() const override { return QStringLiteral("no such table: NOPE"); }
    QString notNullMessage() const override
    {
        return QStringLiteral("NOT NULL constraint failed: PRD.PRDNRO");
    }
    QString duplicateKeyMessage() const override
    {
        return QStringLiteral("UNIQUE constraint failed");
    }
    // SQLITE_CONSTRAINT_PRIMARYKEY.
    QString duplicateKeyCode() const override { return QStringLiteral("1555"); }
    QStringList fieldsAfterAddedColumn() const override
    {
        return {QStringLiteral("A"), QStringLiteral("B")};
    }
    // Nothing is left reading: another connection can checkpoint and truncate the log.
    void nothingLeftReading() const override
    {
        QSqlQuery other(database());
        QVERIFY(other.exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)")));
        QVERIFY(other.next());
        QCOMPARE(other.value(0).toInt(), 0);
    }
    // A kept statement whose table changed is prepared again with the new columns.
    void visitAfterAddedColumn(DataObject& dao, const QString& sql) const override
    {
        QStringList fields;
        dao.setSql(sql);
        QVERIFY(dao.forEachRow([&](const Recordset& row) {
            fields = row.fieldNames();
            return false;
        }));
        QCOMPARE(fields, fieldsAfterAddedColumn());
    }
    // Text that is no number fails cdbl() on the row that holds it.
    FailingLastRow failingLastRow() const override
    {
        return {QStringLiteral("select PRDNRO, cdbl(CATNRO) as n from PRD where PRDNRO > 'P'"),
                {QStringLiteral("P1=1"), QStringLiteral("P2=2")}};
    }
    void checkLastRowError(const QString& description) const override
    {
        QCOMPARE(description, QStringLiteral("Type mismatch"));
    }

private:
    TempDatabase m_temp;
    // Declared after the file it reads, so it closes first.
    SecondConnection m_observer{m_temp.database(), QStringLiteral("observer")};
};

// PgDataObject on a schema of its own on the throwaway server, with an observer connection
// that reads past the object.
class PostgresqlDatabase : public ContractDatabase
{
public:
    bool isOpen() const override { return m_temp.isOpen() && m_observer.isOpen(); }
    QSqlDatabase database() const override { return m_temp.database(); }
    std::unique_ptr<DataObject> object() const override
    {
        return std::make_unique<PgDataObject>(database());
    }
    int count(const QString& table) const override { return m_observer.count(table); }
    QString source() const override { return QStringLiteral("PgDataObject"); }
    // A column keeps the type it was declared with: there is no class per value to check.
    QString typeOf(const QString&) const override { return QString(); }
    QString realType() const override { return QStringLiteral("DOUBLE PRECISION"); }
    QString noTableMessage() const override
    {
        return QStringLiteral("relation \"nope\" does not exist");
    }
    QString notNullMessage() const override
    {
        return QStringLiteral("null value in column \"prdnro\"");
    }
    QString duplicateKeyMessage() const override { return QStringLiteral("duplicate key value"); }
    QString duplicateKeyCode() const override { return QStringLiteral("23505"); }
    // A field the statement does not write keeps the server's name.
    QStringList fieldsAfterAddedColumn() const override
    {
        return {QStringLiteral("A"), QStringLiteral("b")};
    }
    // A statement read in part is closed on the server when the visit ends; nothing of it is
    // seen from outside.
    void nothingLeftReading() const override {}
    // Statements are prepared on the server per text; the fields of a changed table are read
    // through open().
    void visitAfterAddedColumn(DataObject&, const QString&) const override {}
    // A division by zero fails on the row that divides. Unsorted, the rows leave the table in
    // the order they went in, each computed as it is sent.
    FailingLastRow failingLastRow() const override
    {
        return {QStringLiteral("select PRDNRO, 2 / PRDMUL as n from PRD where PRDNRO > 'P'"),
                {QStringLiteral("P1=2"), QStringLiteral("P2=1")}};
    }
    void checkLastRowError(const QString& description) const override
    {
        QVERIFY2(description.contains(QStringLiteral("division by zero")), qPrintable(description));
    }

private:
    PgTestDatabase m_temp;
    // Declared after the schema it reads, so it closes first.
    SecondConnection m_observer{m_temp.database(), QStringLiteral("observer")};
};

} // namespace

// What every data object promises whatever its server, run on each database of the run: the
// rows of initTestCase_data. SQLite always; PostgreSQL when the run has the throwaway server
// (OQUIVRAN_TEST_DATABASE=postgresql). Each case starts on a new database with the discharge
// schema and one data object of the database's kind.
class tst_DataObjectContract : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<ContractDatabase> m_db;
    std::unique_ptr<DataObject> m_dao;
    // Stand for the database's own messages in the rows of errorsCarryTheDatabaseMessage.
    inline static const QString noTable = QStringLiteral("(no table)");
    inline static const QString notNull = QStringLiteral("(not null)");

    // The storage class of a column in the only row of a table, where the server has one.
    void checkStoredAs(DataObject& dao, const QString& table, const QString& column,
                       const QString& storage)
    {
        const QString expression = m_db->typeOf(column);
        if (expression.isEmpty())
            return;
        QCOMPARE(rows(dao, u"select " + expression + u" as t from " + table)
                     .value(QStringLiteral("t"))
                     .toString(),
                 storage);
    }

    // The pipeline the component runs its own shared statements through on this object.
    static StatementPipeline& pipelineOf(DataObject& dao)
    {
        if (auto* sqlite = dynamic_cast<SqlDataObject*>(&dao))
            return sqlite->pipeline();
        return dynamic_cast<PgDataObject&>(dao).pipeline();
    }

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<QString>("database");
        QTest::newRow("sqlite") << QStringLiteral("sqlite");
        if (PgTestDatabase::requested())
            QTest::newRow("postgresql") << QStringLiteral("postgresql");
    }
    void init()
    {
        QFETCH_GLOBAL(QString, database);
        if (database == u"postgresql")
            m_db = std::make_unique<PostgresqlDatabase>();
        else
            m_db = std::make_unique<SqliteDatabase>();
        QVERIFY(m_db->isOpen());
        Schema::create(m_db->database(), Schema::Database::Discharge);
        m_dao = m_db->object();
    }
    void cleanup()
    {
        m_dao.reset();
        m_db.reset();
    }

    void insertStoresNumbersAndDates()
    {
        DataObject& dao = *m_dao;
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

    // Each column's value comes back in the type its column declares; a null as null.
    void valueTypes()
    {
        DataObject& dao = *m_dao;
        run(dao, QStringLiteral("insert into DIP (EXTINT, EXTSBT, DIPCAN, DIPFEC) values ('A', 1, "
                                "2, '2026-11-22')"));
        const Recordset rs =
            rows(dao, QStringLiteral("select EXTINT, EXTSBT, DIPCAN, DIPFEC, RALCAN from DIP"));
        QCOMPARE(rs.value(QStringLiteral("EXTINT")).typeId(), QMetaType::QString);
        QCOMPARE(rs.value(QStringLiteral("EXTSBT")).typeId(), QMetaType::Int);
        QCOMPARE(rs.value(QStringLiteral("DIPCAN")).typeId(), QMetaType::Double);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).typeId(), QMetaType::QDate);
        QCOMPARE(rs.value(QStringLiteral("DIPFEC")).toDate(), QDate(2026, 11, 22));
        QVERIFY(rs.value(QStringLiteral("RALCAN")).isNull());
    }

    // The same statement run again with other texts stores each as given, and rows that repeat
    // a text, or follow one with another, read back each their own: ASCII or not, empty, with a
    // quote, or null.
    void textsRunAfterRun()
    {
        DataObject& dao = *m_dao;
        const QStringList texts = {QStringLiteral("ARG"),
                                   QStringLiteral("ARG"),
                                   QStringLiteral("ñandú"),
                                   QStringLiteral("ñandú"),
                                   QString(),
                                   QStringLiteral("ñandú"),
                                   QStringLiteral(""),
                                   QStringLiteral(""),
                                   QStringLiteral("AR"),
                                   QStringLiteral("ARGENTINA"),
                                   QStringLiteral("o'brien"),
                                   QStringLiteral("€ 1"),
                                   QStringLiteral("ARG"),
                                   QString(),
                                   QString(),
                                   QStringLiteral("arg")};
        for (int i = 0; i < texts.size(); ++i) {
            const QString value =
                texts.at(i).isNull()
                    ? QStringLiteral("null")
                    : u'\'' +
                          QString(texts.at(i)).replace(QStringLiteral("'"), QStringLiteral("''")) +
                          u'\'';
            QCOMPARE(run(dao, u"insert into DIP (EXTINT, EXTSBT, DIPCTC) values ('T', " +
                                  QString::number(i + 1) + u", " + value + u")"),
                     1);
        }
        for (int pass = 0; pass < 2; ++pass) {
            Recordset rs = rows(dao, QStringLiteral("select EXTSBT, DIPCTC from DIP where EXTINT = "
                                                    "'T' order by EXTSBT"));
            QCOMPARE(rs.recordCount(), texts.size());
            for (int i = 0; i < texts.size(); ++i, rs.moveNext()) {
                const QVariant stored = rs.value(QStringLiteral("DIPCTC"));
                QCOMPARE(stored.isNull(), texts.at(i).isNull());
                if (!texts.at(i).isNull())
                    QCOMPARE(stored.toString(), texts.at(i));
            }
        }
        // Row by row as well, each row read while the statement steps on.
        QVariantList seen;
        dao.setSql(QStringLiteral("select DIPCTC from DIP where EXTINT = 'T' order by EXTSBT"));
        QVERIFY(dao.forEachRow([&](const Recordset& row) {
            seen.append(row.value(QStringLiteral("DIPCTC")));
            return true;
        }));
        QCOMPARE(seen.size(), texts.size());
        for (int i = 0; i < texts.size(); ++i) {
            QCOMPARE(seen.at(i).isNull(), texts.at(i).isNull());
            if (!texts.at(i).isNull())
                QCOMPARE(seen.at(i).toString(), texts.at(i));
        }
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
        DataObject& dao = *m_dao;
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

    void updateStoresFormattedReal()
    {
        DataObject& dao = *m_dao;
        for (const QString& declaration : {QStringLiteral("D1"), QStringLiteral("D2")})
            run(dao, u"insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC) values "
                     u"('" +
                         declaration + u"', 'A1', 1, 1, " + SqlValue::real(100.5) + u", 0)");
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

    void selectTop()
    {
        DataObject& dao = *m_dao;
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
        // Statements a server would run in one go are refused as well.
        QTest::newRow("not shared") << QStringLiteral("create table X1 (A int); drop table PRD");
    }
    void oneStatementOnly()
    {
        QFETCH(QString, sql);
        DataObject& dao = *m_dao;
        dao.setSql(sql);
        RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(DatabaseError));
        QCOMPARE(error.description,
                 QStringLiteral("Unable to execute multiple statements at a time"));
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 0);
        error = errorOf([&] {
            Recordset rs;
            dao.open(rs);
        });
        QCOMPARE(error.description,
                 QStringLiteral("Unable to execute multiple statements at a time"));
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 0);
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
        DataObject& dao = *m_dao;
        QCOMPARE(run(dao, u"insert into PRD (CATNRO, PRDNRO) values ('C', 'P')" + ending), 1);
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 1);
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
        DataObject& dao = *m_dao;
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(DatabaseError));
        QVERIFY(!error.description.isEmpty());
    }

    void affectedRecords()
    {
        DataObject& dao = *m_dao;
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')")), 1);
        QCOMPARE(run(dao, QStringLiteral(
                              "insert into PRD (CATNRO, PRDNRO) values ('C', 'Q'), ('D', 'R')")),
                 2);
        QCOMPARE(run(dao, u"update PRD set PRDMUL = " + quoted(1.5)), 3);
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 2 where CATNRO = 'C'")), 2);
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 2 where CATNRO = 'X'")), 0);
        // Statements that change no rows count none, whatever ran before them.
        QCOMPARE(run(dao, QStringLiteral("select * from PRD")), 0);
        QCOMPARE(run(dao, u"create table EXTRA (A " + m_db->realType() + u')'), 0);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'R'")), 1);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD where PRDNRO = 'R'")), 0);
        QCOMPARE(run(dao, QStringLiteral("delete from PRD")), 2);
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 0);
    }

    // Fields are named as the statement writes them (a server may fold unquoted names) and
    // found whatever the case of the name asked for.
    void openWithoutRows()
    {
        DataObject& dao = *m_dao;
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

    void sumOverNoRows()
    {
        DataObject& dao = *m_dao;
        Recordset rs;
        dao.setSql(QStringLiteral("select sum(DIPCAN) as total from DIP"));
        QVERIFY(dao.open(rs));
        QCOMPARE(rs.recordCount(), 1);
        QVERIFY(rs.value(QStringLiteral("total")).isNull());
    }

    void errorsCarryTheDatabaseMessage_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("message");
        // A message in the database's own words is named here and read in the case, once the
        // database is known.
        QTest::newRow("no table") << QStringLiteral("select * from NOPE") << noTable;
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
                                  << notNull;
    }
    void errorsCarryTheDatabaseMessage()
    {
        QFETCH(QString, sql);
        QFETCH(QString, message);
        if (message == noTable)
            message = m_db->noTableMessage();
        else if (message == notNull)
            message = m_db->notNullMessage();
        DataObject& dao = *m_dao;
        dao.setSql(sql);
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QCOMPARE(error.number, qint32(DatabaseError));
        QCOMPARE(error.source, m_db->source());
        QVERIFY2(error.description.contains(message), qPrintable(error.description));
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 0);
        QCOMPARE(m_db->count(QStringLiteral("DIP")), 0);
        // The connection stays usable.
        QCOMPARE(run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')")), 1);
    }

    void duplicateKeyMessage()
    {
        DataObject& dao = *m_dao;
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        dao.setSql(QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P')"));
        const RuntimeError error = errorOf([&] { dao.execute(); });
        QVERIFY2(error.description.contains(m_db->duplicateKeyMessage()),
                 qPrintable(error.description));
        // The database's own code, and no conflict to run a unit again for.
        QCOMPARE(error.nativeErrorCode, m_db->duplicateKeyCode());
        QVERIFY(!dao.isConflict(error));
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
        DataObject& dao = *m_dao;
        run(dao, u"insert into DIP (EXTINT, EXTSBT, DIPCAN) values ('A', 1, " +
                     SqlValue::real(quantity) + u')');
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

    void dateRoundTrip()
    {
        DataObject& dao = *m_dao;
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

    void forEachRowWithoutRows()
    {
        DataObject& dao = *m_dao;
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
        DataObject& dao = *m_dao;
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
        QCOMPARE(inner.number, qint32(DatabaseError));
        QCOMPARE(inner.description,
                 QStringLiteral("A statement cannot run while the rows of another are being read"));
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 2);

        dao.setSql(sql);
        const RuntimeError thrown = errorOf([&] {
            dao.forEachRow([](const Recordset&) -> bool {
                throw RuntimeError(5, QStringLiteral("from the visit"));
            });
        });
        QCOMPARE(thrown.description, QStringLiteral("from the visit"));
        m_db->nothingLeftReading();
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

    // Rows are read only as the visitor asks: a last row that cannot be evaluated is never
    // reached when the visitor stops before it, and fails when it goes on.
    void forEachRowReadsOnlyWhatIsAsked()
    {
        DataObject& dao = *m_dao;
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('1', 'P1', 1)"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('2', 'P2', 2)"));
        run(dao,
            QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('abc', 'P3', 0)"));
        const ContractDatabase::FailingLastRow failing = m_db->failingLastRow();
        QStringList seen;
        dao.setSql(failing.sql);
        QVERIFY(dao.forEachRow([&](const Recordset& row) {
            seen << row.value(QStringLiteral("PRDNRO")).toString() + u'=' +
                        NumberText::toText(row.value(QStringLiteral("n")).toDouble());
            return seen.size() < 2;
        }));
        QCOMPARE(seen, failing.firstRows);

        // Read to its end, the same text fails on the third row, after two were handed over.
        seen.clear();
        dao.setSql(failing.sql);
        const RuntimeError error = errorOf([&] {
            dao.forEachRow([&](const Recordset& row) {
                seen << row.value(QStringLiteral("PRDNRO")).toString();
                return true;
            });
        });
        QCOMPARE(error.number, qint32(DatabaseError));
        m_db->checkLastRowError(error.description);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(seen.size(), 2);
        // open() reads every row, so it fails before giving any.
        Recordset rs;
        dao.setSql(failing.sql);
        m_db->checkLastRowError(errorOf([&] { dao.open(rs); }).description);
    }

    // A statement whose table changed is read with the new columns.
    void forEachRowAfterTableChange()
    {
        DataObject& dao = *m_dao;
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
        QSqlQuery other(m_db->database());
        QVERIFY(other.exec(QStringLiteral("alter table T add column B text default 'b'")));
        QCOMPARE(rows(dao, sql).fieldNames(), m_db->fieldsAfterAddedColumn());
        m_db->visitAfterAddedColumn(dao, sql);
    }

    // A statement built shared writes and reads what its text does: the first time, when its
    // form is not kept yet, and after, with texts empty, null, not ASCII or holding a "?",
    // numbers in the locale's notation, and a negative number, whose statement is not shared.
    void sharedStatementsRunAsTheirTexts()
    {
        DataObject& dao = *m_dao;
        StatementPipeline& pipeline = pipelineOf(dao);
        const SharedStatement::Form insert(QStringLiteral(
            "insert into DIP (EXTINT, EXTSBT, DIPCTC, DIPCAN) values (?, ?, ?, cdbl(?))"));
        const SharedStatement::Form select(QStringLiteral(
            "select EXTSBT, DIPCTC, DIPCAN from DIP where EXTINT = ?  and EXTSBT = ?"));
        struct Row
        {
            qint64 subItem;
            QString ctc;
            double quantity;
        };
        const QList<Row> written = {{1, QStringLiteral("ARG"), 1.5},
                                    {2, QStringLiteral(""), 0},
                                    {3, QString(), -2.25},
                                    {-4, QStringLiteral("ñandú €"), 1e6},
                                    {5, QStringLiteral("? x"), 0.0001},
                                    {6, QStringLiteral("ARG"), 12.3456}};
        for (const Row& row : written) {
            SharedStatement statement(insert);
            statement.appendText(QStringLiteral("S"));
            statement.appendWhole(row.subItem);
            statement.appendText(row.ctc);
            statement.appendText(NumberText::toText(row.quantity));
            QCOMPARE(statement.isShared(), row.subItem >= 0);
            QCOMPARE(pipeline.execute(statement), 1);
        }
        for (int pass = 0; pass < 2; ++pass) {
            for (const Row& row : written) {
                SharedStatement statement(select);
                statement.appendText(QStringLiteral("S"));
                statement.appendWhole(row.subItem);
                Recordset shared;
                QVERIFY(pipeline.open(statement, shared));
                const Recordset asText = rows(dao, statement.text());
                for (const Recordset* rs :
                     std::initializer_list<const Recordset*>{&shared, &asText}) {
                    QCOMPARE(rs->recordCount(), 1);
                    QCOMPARE(rs->value(QStringLiteral("EXTSBT")).toLongLong(), row.subItem);
                    // An empty text is stored as an empty text, not as null.
                    QVERIFY(!rs->value(QStringLiteral("DIPCTC")).isNull());
                    QCOMPARE(rs->value(QStringLiteral("DIPCTC")).toString(),
                             row.ctc.isNull() ? QStringLiteral("") : row.ctc);
                    QCOMPARE(rs->value(QStringLiteral("DIPCAN")).toDouble(), row.quantity);
                }
            }
        }
        SharedStatement none(select);
        none.appendText(QStringLiteral("S"));
        none.appendWhole(7);
        Recordset rs;
        QVERIFY(!pipeline.open(none, rs));
        QCOMPARE(rs.recordCount(), 0);
        QCOMPARE(rs.fieldNames().size(), 3);

        // Visited, read whole or row by row, the rows come in their order, and a visit that
        // stops is handed no more.
        const SharedStatement::Form all(
            QStringLiteral("select EXTSBT from DIP where EXTINT = ? order by EXTSBT"));
        for (const StatementDriver::Reading reading :
             {StatementDriver::Reading::Whole, StatementDriver::Reading::RowByRow}) {
            SharedStatement statement(all);
            statement.appendText(QStringLiteral("S"));
            QList<qint64> seen;
            const auto collect = [&](const Recordset& row) {
                seen.append(row.value(0).toLongLong());
                return true;
            };
            QVERIFY(pipeline.forEachRow(statement, collect, reading));
            QCOMPARE(seen, (QList<qint64>{-4, 1, 2, 3, 5, 6}));
            int visited = 0;
            const auto stopAtTwo = [&](const Recordset&) {
                return ++visited < 2;
            };
            QVERIFY(pipeline.forEachRow(statement, stopAtTwo, reading));
            QCOMPARE(visited, 2);
            SharedStatement nothing(all);
            nothing.appendText(QStringLiteral("T"));
            QVERIFY(!pipeline.forEachRow(
                nothing, [](const Recordset&) { return true; }, reading));
        }
    }

    // A shared statement kept while its table changed is read with the table's new columns,
    // and one on a table that is gone fails with the database's message, as its text does.
    void sharedStatementAfterTableChange()
    {
        DataObject& dao = *m_dao;
        StatementPipeline& pipeline = pipelineOf(dao);
        run(dao, QStringLiteral("create table T (A integer)"));
        run(dao, QStringLiteral("insert into T values (1)"));
        const SharedStatement::Form select(QStringLiteral("select * from T where A = ?"));
        SharedStatement statement(select);
        statement.appendWhole(1);
        Recordset rs;
        QVERIFY(pipeline.open(statement, rs));
        QCOMPARE(rs.fieldNames(), QStringList({QStringLiteral("A")}));
        QSqlQuery other(m_db->database());
        QVERIFY(other.exec(QStringLiteral("alter table T add column B text default 'b'")));
        QVERIFY(pipeline.open(statement, rs));
        QCOMPARE(rs.fieldNames(), m_db->fieldsAfterAddedColumn());
        QVERIFY(other.exec(QStringLiteral("drop table T")));
        const RuntimeError shared = errorOf([&] { pipeline.open(statement, rs); });
        const RuntimeError asText = errorOf([&] { rows(dao, statement.text()); });
        QCOMPARE(shared.description, asText.description);
        QCOMPARE(shared.nativeErrorCode, asText.nativeErrorCode);
        QVERIFY(!shared.description.isEmpty());
    }

    // What a unit writes is seen from another connection once it is committed, not before.
    void unitTakesEffectAtCommit()
    {
        DataObject& dao = *m_dao;
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P1')"));
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'P2')"));
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 0);
        dao.commit();
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 2);
    }

    void rollbackUndoesTheUnit()
    {
        DataObject& dao = *m_dao;
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('C', 'P', 1)"));
        dao.transaction();
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'Q')"));
        QCOMPARE(run(dao, QStringLiteral("update PRD set PRDMUL = 7")), 2);
        dao.rollback();
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 1);
        QCOMPARE(rows(dao, QStringLiteral("select PRDMUL from PRD"))
                     .value(QStringLiteral("PRDMUL"))
                     .toDouble(),
                 1.0);
        // Outside a unit each statement takes effect on its own again.
        run(dao, QStringLiteral("insert into PRD (CATNRO, PRDNRO) values ('C', 'R')"));
        dao.rollback();
        QCOMPARE(m_db->count(QStringLiteral("PRD")), 2);
    }
};

QTEST_GUILESS_MAIN(tst_DataObjectContract)
#include "tst_DataObjectContract.moc"
