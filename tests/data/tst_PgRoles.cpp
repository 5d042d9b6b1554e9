#include "AuditRows.h"
#include "DischargeFixture.h"
#include "LocaleText.h"
#include "MessageRecorder.h"
#include "PgTestRole.h"
#include "TempDatabase.h"

#include "ModuleState.h"
#include "Schema.h"

#include <oquivran/Module.h>
#include <oquivran/PgDataObject.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>
#include <oquivran/Schema.h>
#include <oquivran/clQUIVRAN.h>

#include <QSqlQuery>
#include <QtTest>

#include <memory>

using namespace oquivran;

namespace {

const QString Operator = QStringLiteral("oquivran_operador");
const QString Auditor = QStringLiteral("oquivran_auditor");
// The server's insufficient_privilege.
const QString PermissionDenied = QStringLiteral("42501");

// The SQLSTATE a statement run through data fails with; empty when it is not refused.
QString refusal(DataObject& data, const QString& statement)
{
    try {
        data.setSql(statement);
        data.execute();
    } catch (const RuntimeError& error) {
        return error.nativeErrorCode.isEmpty() ? QStringLiteral("(no code) ") + error.description
                                               : error.nativeErrorCode;
    }
    return QString();
}

// An office on the server: the discharge database with the audit table and the roles script
// run by the tables' owner, stock of ART1 on two declarations (10 on D1, 5 on D2) and product
// PRD taking 1 ART1 a unit; one person granted the operator's role, one the auditor's, each
// with the component's PgDataObject on a connection of their own. The fixture's connection
// stays the owner's, for seeding and for reading past the roles.
class Office
{
public:
    Office()
    {
        if (!f.isOpen())
            return;
        auditrows::create(f);
        Schema::createRoles(f.discharge());
        auditrows::seedStock(f, 12);
        operatorRole = std::make_unique<PgTestRole>(f.discharge(), QStringLiteral("operador"),
                                                    QStringList{Operator});
        auditorRole = std::make_unique<PgTestRole>(f.discharge(), QStringLiteral("auditor"),
                                                   QStringList{Auditor});
        const QSqlDatabase operatorConnection = operatorRole->connect(QStringLiteral("data"));
        const QSqlDatabase auditorConnection = auditorRole->connect(QStringLiteral("data"));
        if (!operatorRole->isCreated() || !auditorRole->isCreated() ||
            !operatorConnection.isOpen() || !auditorConnection.isOpen())
            return;
        operatorData = std::make_unique<PgDataObject>(operatorConnection);
        auditorData = std::make_unique<PgDataObject>(auditorConnection);
        m_ready = true;
    }

    bool isReady() const { return m_ready; }

    // Discharges the sub-item (12 PRD) without a screen, the component working through the
    // operator's connection with atomic writes and the trail on, as it goes on afterwards; the
    // messages shown are in messages.
    bool discharge()
    {
        moduleState().dataObject = operatorData.get();
        setAtomicWrites(true);
        setAuditTrail(true);
        return dischargeAsProposed(false);
    }

    // Runs a statement through data after the discharge: what went otherwise than a refusal
    // with the server's permission code that left the table as it was; empty when it went so.
    QString unlessRefused(DataObject& data, const QString& statement, const QString& table)
    {
        if (!discharge())
            return u"the discharge failed: " + messages.lastPrompt();
        if (count(table) <= 0)
            return u"nothing to protect in " + table;
        const QString before = contents(table);
        const QString code = refusal(data, statement);
        if (code != PermissionDenied)
            return u"not refused as denied: " + code;
        if (contents(table) != before)
            return table + u" changed";
        return QString();
    }

    // A table's rows as the owner reads them: their number and a digest of their values.
    QString contents(const QString& table) const
    {
        return f
            .scalar(u"select count(*) || ' ' || md5(coalesce(string_agg(t::text, '|' "
                    u"order by t::text), '')) from " +
                    table + u" t")
            .toString();
    }
    int count(const QString& table) const
    {
        return f.scalar(u"select count(*) from " + table).toInt();
    }

    DischargeFixture f;
    MessageRecorder messages;
    std::unique_ptr<PgTestRole> operatorRole;
    std::unique_ptr<PgTestRole> auditorRole;
    std::unique_ptr<PgDataObject> operatorData;
    std::unique_ptr<PgDataObject> auditorData;

private:
    bool m_ready = false;
};

} // namespace

// The two group roles of the roles script on the throwaway server, tried through the
// component's own data object on connections of login roles granted them: the operator
// discharges with the audit trail and can do nothing else, the auditor reads and can write
// nothing. Refusals are told by the server's code, never by its words.
class tst_PgRoles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (!PgTestDatabase::requested())
            QSKIP("runs on the throwaway PostgreSQL server (OQUIVRAN_TEST_DATABASE=postgresql)");
    }
    void cleanup()
    {
        setAuditTrail(false);
        setAtomicWrites(false);
    }

    // The script ships compiled in, and only for the server: SQLite has no roles.
    void onlyOnTheServer()
    {
        QVERIFY(Schema::rolesScript().contains(QStringLiteral("CREATE ROLE %I NOLOGIN")));
        TempDatabase sqlite(QStringLiteral("roles.sqlite"));
        QVERIFY(sqlite.isOpen());
        QVERIFY_THROWS_EXCEPTION(RuntimeError, createRoles(sqlite.database()));
    }

    // The group roles cannot log in; a second run leaves exactly the script's rights, taking
    // back what someone granted beside it, and a run before the audit table exists gives its
    // rights once it is run again after.
    void scriptRunsAgain()
    {
        DischargeFixture f;
        QVERIFY(f.isOpen());
        createRoles(f.discharge());
        QCOMPARE(f.scalar("select count(*) from pg_roles where rolname in "
                          "('oquivran_operador', 'oquivran_auditor') and not rolcanlogin")
                     .toInt(),
                 2);
        const auto may = [&](const QString& role, const QString& table, const QString& column,
                             const QString& right) {
            return f
                .scalar(u"select has_column_privilege('" + role + u"', '" + table + u"', '" +
                        column + u"', '" + right + u"')")
                .toBool();
        };
        QVERIFY(!f.scalar("select to_regclass('dipaud') is not null").toBool());
        QVERIFY(may(Operator, "ins", "artdsc", "UPDATE"));

        // Past the fixture's runner, which prepares its statements: a GRANT does not prepare.
        QSqlQuery grant(f.discharge());
        QVERIFY2(grant.exec(QStringLiteral("grant update, delete on ins to oquivran_operador")),
                 qPrintable(grant.lastError().text()));
        QVERIFY(may(Operator, "ins", "artcat", "UPDATE"));
        Schema::create(f.discharge(), Schema::Database::Audit);
        createRoles(f.discharge());
        createRoles(f.discharge());
        QVERIFY(!may(Operator, "ins", "artcat", "UPDATE"));
        QVERIFY(
            !f.scalar("select has_table_privilege('oquivran_operador', 'ins', 'DELETE')").toBool());
        QVERIFY(may(Operator, "ins", "artdsc", "UPDATE"));
        QVERIFY(may(Operator, "dipaud", "audusr", "INSERT"));
        QVERIFY(!may(Operator, "dipaud", "audnro", "INSERT"));
        QVERIFY(!may(Operator, "dipaud", "audusr", "UPDATE"));
        QVERIFY(may(Auditor, "dipaud", "audusr", "SELECT"));
        QVERIFY(!may(Auditor, "dip", "extitm", "UPDATE"));
    }

    // F11 without a screen, numbering, grouping and the removal of the sub-item, as the
    // operator: the lines, the stock's availability and the trail are written, and the trail
    // names the operator's login role.
    void operatorDischarges()
    {
        Office office;
        QVERIFY(office.isReady());
        QVERIFY2(office.discharge(), qPrintable(office.messages.lastPrompt()));
        QCOMPARE(office.f.dischargeRowCount(), 2);
        QCOMPARE(office.f.available("D1", "ART1", 1, 1), 0.0);
        QCOMPARE(office.f.available("D2", "ART1", 3, 2), 3.0);
        QCOMPARE(office.count("DIPAUD"), 4);
        QCOMPARE(office.f.scalar("select string_agg(distinct AUDUSR, ',') from DIPAUD").toString(),
                 office.operatorRole->name());
        QCOMPARE(office.f.scalar("select count(*) from DIPAUD where AUDQUE = 'DIP alta'").toInt(),
                 2);

        // Numbering and grouping update the lines' item number and group root.
        clQUIVRAN component;
        QVERIFY(component.EnviarNroItem(7, QStringLiteral("1")));
        QCOMPARE(office.f.dischargeRowCount("EXTITM = 7"), 2);
        QVERIFY(component.EnviarGrupoIdSub(QString(), QStringLiteral("1"), QStringLiteral("1")));
        QCOMPARE(office.f.dischargeRowCount("idroot = 1"), 2);
        QVERIFY(component.ResetIdItems());
        QCOMPARE(office.f.dischargeRowCount("EXTITM = 0"), 2);
        QCOMPARE(office.count("DIPAUD"), 10);

        QVERIFY2(component.EliminarInsumo(), qPrintable(office.messages.lastPrompt()));
        QCOMPARE(office.f.dischargeRowCount(), 0);
        QCOMPARE(office.f.available("D1", "ART1", 1, 1), 10.0);
        QCOMPARE(office.f.available("D2", "ART1", 3, 2), 5.0);
        QCOMPARE(office.count("DIPAUD"), 14);
        QCOMPARE(office.f.scalar("select count(*) from DIPAUD where AUDQUE = 'DIP baja'").toInt(),
                 2);
        QCOMPARE(office.f.scalar("select string_agg(distinct AUDUSR, ',') from DIPAUD").toString(),
                 office.operatorRole->name());
        QCOMPARE(office.messages.messages.size(), 0);
        QVERIFY(office.f.stockInvariantViolations().isEmpty());
    }

    // What the component never sends, through the operator's connection after a discharge:
    // refused by the server, and the table as it was.
    void operatorRefused_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("table");
        QTest::newRow("INS.ARTCAT") << "update INS set ARTCAT = 99 where ARTNRO = 'ART1'"
                                    << "INS";
        QTest::newRow("INS.ARTPRE") << "update INS set ARTPRE = 0"
                                    << "INS";
        QTest::newRow("INS delete") << "delete from INS"
                                    << "INS";
        QTest::newRow("DIP.DIPCAN") << "update DIP set DIPCAN = 0"
                                    << "DIP";
        QTest::newRow("DIPAUD delete") << "delete from DIPAUD"
                                       << "DIPAUD";
        QTest::newRow("DIPAUD update") << "update DIPAUD set AUDNUE = 0"
                                       << "DIPAUD";
        QTest::newRow("DIPAUD numbered")
            << "insert into DIPAUD (AUDNRO, AUDFEC, AUDUSR, AUDQUE) values (999, 'x', 'x', 'x')"
            << "DIPAUD";
        QTest::newRow("INTINS insert") << "insert into INTINS (INTDCL, INTIOK) values ('D9', 1)"
                                       << "INTINS";
        QTest::newRow("INTINS update") << "update INTINS set INTIOK = 0"
                                       << "INTINS";
        QTest::newRow("PRD update") << "update PRD set PRDMUL = 2"
                                    << "PRD";
        QTest::newRow("RIP delete") << "delete from RIP"
                                    << "RIP";
    }
    void operatorRefused()
    {
        QFETCH(QString, statement);
        QFETCH(QString, table);
        Office office;
        QVERIFY(office.isReady());
        const QString failure = office.unlessRefused(*office.operatorData, statement, table);
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        // The operator's connection goes on working after the refusal.
        QVERIFY2(clQUIVRAN().EliminarInsumo(), qPrintable(office.messages.lastPrompt()));
        QCOMPARE(office.f.dischargeRowCount(), 0);
    }

    // Every kind of write on every table, through the auditor's connection: refused, and the
    // table as it was.
    void auditorRefused_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("table");
        // Each table, the values an insert gives and what an update sets (a column whose
        // value it changes in the rows there).
        struct Writes
        {
            const char* table;
            const char* values;
            const char* update;
        };
        const Writes writes[] = {
            {"DIP", "(EXTINT, EXTSBT, DIPCAN) values ('OP9', 1, 1)", "EXTITM = 5"},
            {"INS", "(INTDCL, ARTNRO, ARTITM, ARTSBT) values ('D1', 'ART9', 1, 1)", "ARTDSC = 0"},
            {"DIPAUD", "(AUDFEC, AUDUSR, AUDQUE) values ('x', 'x', 'x')", "AUDNUE = 0"},
            {"INTINS", "(INTDCL, INTIOK) values ('D9', 1)", "INTIOK = 0"},
            {"PRD", "(CATNRO, PRDNRO) values ('CAT', 'PRD9')", "PRDMUL = 2"},
            {"RIP", "(CATNRO, PRDNRO, ARTNRO) values ('CAT', 'PRD', 'ART9')", "RIPCAN = 2"},
        };
        for (const Writes& w : writes) {
            const QString table = QString::fromLatin1(w.table);
            QTest::addRow("%s insert", w.table)
                << u"insert into " + table + u' ' + QLatin1String(w.values) << table;
            QTest::addRow("%s update", w.table)
                << u"update " + table + u" set " + QLatin1String(w.update) << table;
            QTest::addRow("%s delete", w.table) << u"delete from " + table << table;
        }
    }
    void auditorRefused()
    {
        QFETCH(QString, statement);
        QFETCH(QString, table);
        Office office;
        QVERIFY(office.isReady());
        const QString failure = office.unlessRefused(*office.auditorData, statement, table);
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
    }

    // The auditor reads every table, and the functions the component's reports call.
    void auditorReads_data()
    {
        QTest::addColumn<QString>("table");
        for (const char* table : {"INTINS", "INS", "PRD", "RIP", "DIP", "DIPAUD"})
            QTest::newRow(table) << QString::fromLatin1(table);
    }
    void auditorReads()
    {
        QFETCH(QString, table);
        Office office;
        QVERIFY(office.isReady());
        QVERIFY2(office.discharge(), qPrintable(office.messages.lastPrompt()));
        Recordset rs;
        office.auditorData->setSql(u"select count(*) as n from " + table);
        QVERIFY(office.auditorData->open(rs));
        QVERIFY(office.count(table) > 0);
        QCOMPARE(rs.value(QStringLiteral("n")).toInt(), office.count(table));

        office.auditorData->setSql(
            QStringLiteral("select format(ARTDSC, '00.0000') as disponible from INS where "
                           "INTDCL = 'D2'"));
        QVERIFY(office.auditorData->open(rs));
        QCOMPARE(rs.value(QStringLiteral("disponible")).toString(),
                 localeText(QStringLiteral("03.0000")));
    }
};

QTEST_GUILESS_MAIN(tst_PgRoles)
#include "tst_PgRoles.moc"
