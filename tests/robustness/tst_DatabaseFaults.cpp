// The embedded default with several operators on one database file, and faults under a
// discharge: the database closed, locked, read-only or missing. Each ends in the routine's
// common error message (or waits and succeeds), never a crash, with exactly the rows the
// discharge had written before the fault.
#include "DischargeFixture.h"
#include "FaultyDataObject.h"
#include "MessageRecorder.h"
#include "Settings.h"

#include "ModuleState.h"

#include <oquivran/oquivran.h>

#include <QSqlQuery>
#include <QtTest>

#include <chrono>
#include <thread>

#include <sqlite3.h>

using namespace oquivran;

namespace {

const QString getRipLabel = QStringLiteral(" - Seccion [oTORVANE.clRelacionInsumo.GetRIP]");
const QString allocationLabel =
    QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.Obtener_RIP_A_DIP]");
const QString insertLabel = QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.AgregarDIP]");
const QString refreshLabel = QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.RefrescarINS]");
const QString saveLabel = QStringLiteral(" - Sección [oQUIVRAN.frmAgregarDIP.f_Aceptar]");

void seedStock(DischargeFixture& f)
{
    f.addDeclaration("D2025", QDate(2025, 6, 1));
    f.addDeclaration("D2026", QDate(2026, 2, 1));
    f.addStock("D2025", "A", 1, 1, 10, 2.0);
    f.addStock("D2026", "A", 1, 1, 25, 2.5);
    f.addStock("D2026", "B", 2, 1, 12.5, 1.0);
    f.addProduct("CAT", "P1", 1);
    f.addRelation("CAT", "P1", "A", 1.5);
    f.addRelation("CAT", "P1", "B", 0.25);
}

// The sub-item P1 x 10: A takes 10 + 5, B takes 2.5; three lines.
void setSubItem(const QString& interno = QStringLiteral("OP1"))
{
    ModuleState& state = moduleState();
    state.INTERNO = interno;
    state.SUBITEM = 1;
    state.CATNRO = QStringLiteral("CAT");
    state.PRDNRO = QStringLiteral("P1");
    state.PRDCAN = 10;
}

// Which routine reports a fault at a statement, by the statement's kind.
QString labelOf(const QString& statement)
{
    if (statement.startsWith(u"select PRDMUL") || statement.startsWith(u"select ARTNRO, RPADES"))
        return getRipLabel;
    if (statement.startsWith(u"select INS.INTDCL"))
        return allocationLabel;
    if (statement.startsWith(u"insert into DIP"))
        return insertLabel;
    if (statement.startsWith(u"select sum(DIPCAN) as TotCan"))
        return saveLabel;
    return refreshLabel;
}

// A second connection of another operator on the same file.
class OtherOperator
{
public:
    explicit OtherOperator(const QString& path)
    {
        sqlite3_open_v2(path.toUtf8().constData(), &m_db, SQLITE_OPEN_READWRITE, nullptr);
    }
    ~OtherOperator() { sqlite3_close(m_db); }
    bool run(const char* sql)
    {
        return sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }

private:
    sqlite3* m_db = nullptr;
};

QString filePath(const DischargeFixture& f)
{
    return f.discharge().databaseName();
}

// Another QSQLITE connection on the fixture's discharge file, opened with options.
QSqlDatabase secondConnection(const DischargeFixture& f, const QString& name,
                              const QString& options = QString())
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    db.setDatabaseName(filePath(f));
    db.setConnectOptions(options);
    db.open();
    return db;
}

// A discharge of the sub-item whose database another operator can lock at a chosen statement;
// the busy timeout is cut to 300 ms so the lock is given up quickly.
struct LockedDischarge
{
    LockedDischarge()
    {
        seedStock(f);
        f.dischargeData->setSql(QStringLiteral("PRAGMA busy_timeout=300"));
        Recordset rs;
        f.dischargeData->open(rs);
        moduleState().dataObject = &faulty;
        setSubItem();
    }

    DischargeFixture f;
    MessageRecorder messages;
    FaultyDataObject faulty{f.dischargeData.get()};
    OtherOperator other{filePath(f)};
};

} // namespace

class tst_DatabaseFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { Settings::store().clear(); }
    void embeddedDefaultIsWal();
    void twoOperatorsShareTheFile();
    void waitsForAnotherOperatorsWrite();
    void fileGoneAtEachStatement();
    void closedUnderTheDischargeReopens();
    void lockedAtTheWrite();
    void lockedAtTheRefresh();
    void readOnlyDatabase();
    void missingFolder();
    void missingFile();
};

void tst_DatabaseFaults::embeddedDefaultIsWal()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    setSubItem();
    QVERIFY(dischargeAsProposed(false));
    QSqlQuery query(f.discharge());
    QVERIFY(query.exec("PRAGMA journal_mode") && query.next());
    QCOMPARE(query.value(0).toString(), QStringLiteral("wal"));
    QVERIFY(query.exec("PRAGMA busy_timeout") && query.next());
    QCOMPARE(query.value(0).toInt(), 5000);
}

void tst_DatabaseFaults::twoOperatorsShareTheFile()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    // The second operator's own connection and data-access object on the same file.
    const QString name = QStringLiteral("tst_DatabaseFaults-second");
    {
        QSqlDatabase second = secondConnection(f, name);
        QVERIFY(second.isOpen());
        SqlDataObject secondData(second);
        DataObject* first = moduleState().dataObject;
        for (int round = 0; round < 6; ++round) {
            moduleState().dataObject = round % 2 ? static_cast<DataObject*>(&secondData) : first;
            setSubItem(QStringLiteral("OP%1").arg(round));
            ModuleState& state = moduleState();
            state.PRDCAN = 1;
            QVERIFY2(dischargeAsProposed(false), qPrintable(messages.lastPrompt()));
        }
        moduleState().dataObject = first;
        QVERIFY(messages.messages.isEmpty());
        QCOMPARE(f.dischargeRowCount(), 12);
        QVERIFY(f.stockInvariantViolations().isEmpty());
        second.close();
    }
    QSqlDatabase::removeDatabase(name);
}

void tst_DatabaseFaults::waitsForAnotherOperatorsWrite()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    setSubItem();
    // Another operator holds a write transaction for half a second; the discharge waits for
    // it (busy timeout) and then writes.
    OtherOperator other(filePath(f));
    QVERIFY(other.run("begin immediate"));
    QVERIFY(other.run("update INS set ARTPRE = ARTPRE where ARTNRO = 'B'"));
    std::thread release([&other] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        other.run("commit");
    });
    const bool discharged = dischargeAsProposed(false);
    release.join();
    QVERIFY2(discharged, qPrintable(messages.lastPrompt()));
    QVERIFY(messages.messages.isEmpty());
    QCOMPARE(f.dischargeRowCount(), 3);
    QVERIFY(f.stockInvariantViolations().isEmpty());
}

void tst_DatabaseFaults::fileGoneAtEachStatement()
{
    // A clean discharge, to know its statements.
    QStringList statements;
    {
        DischargeFixture f;
        MessageRecorder messages;
        seedStock(f);
        FaultyDataObject recorder(f.dischargeData.get());
        moduleState().dataObject = &recorder;
        setSubItem();
        QVERIFY(dischargeAsProposed(false));
        statements = recorder.statements;
    }
    QVERIFY(statements.size() > 10);

    for (int n = 1; n <= statements.size(); ++n) {
        DischargeFixture f;
        MessageRecorder messages;
        seedStock(f);
        FaultyDataObject faulty(f.dischargeData.get());
        moduleState().dataObject = &faulty;
        setSubItem();
        const QString path = filePath(f);
        QSqlDatabase db = f.discharge();
        // The database closes and its file can no longer be opened.
        faulty.faultAt(n, [&db, &f] {
            db.close();
            db.setDatabaseName(f.discharge().databaseName() + QStringLiteral(".gone/x.sqlite"));
        });
        const bool result = dischargeAsProposed(false);
        const QString label = labelOf(statements.at(n - 1));
        const QString context =
            QStringLiteral("fault at statement %1: %2").arg(n).arg(statements.at(n - 1));
        QVERIFY2(!messages.messages.isEmpty(), qPrintable(context));
        QCOMPARE(messages.messages.first().style, int(MessageCritical | MessageOkOnly));
        QVERIFY2(messages.messages.first().prompt.endsWith(label),
                 qPrintable(context + u" / " + messages.messages.first().prompt));
        const int insertsBefore =
            int(statements.mid(0, n - 1).filter(QStringLiteral("insert into DIP")).size());
        // A failed refresh leaves the discharge result true: the lines are written.
        QCOMPARE(result, label == refreshLabel || label == saveLabel);
        if (label == refreshLabel)
            QCOMPARE(
                messages.messages.last().prompt,
                QStringLiteral("Ocurrio un error al calcular disponibilidad\r\n\r\n-2147221504") +
                    saveLabel);

        db.setDatabaseName(path);
        QVERIFY(db.open());
        QCOMPARE(f.dischargeRowCount(), insertsBefore);
    }
}

void tst_DatabaseFaults::closedUnderTheDischargeReopens()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    FaultyDataObject faulty(f.dischargeData.get());
    moduleState().dataObject = &faulty;
    QSqlDatabase db = f.discharge();
    for (int n = 1; n <= 14; ++n) {
        setSubItem(QStringLiteral("OP%1").arg(n));
        moduleState().PRDCAN = 0.5;
        faulty.faultAt(n, [&db] { db.close(); });
        // The data-access object opens a closed connection again and the discharge goes on.
        QVERIFY2(dischargeAsProposed(false), qPrintable(messages.lastPrompt()));
    }
    QVERIFY(messages.messages.isEmpty());
    QVERIFY(f.stockInvariantViolations().isEmpty());
}

void tst_DatabaseFaults::lockedAtTheWrite()
{
    LockedDischarge t;
    // Locked by another operator's write from the first insert on.
    t.faulty.faultAt(5, [&t] { t.other.run("begin immediate"); });
    QVERIFY(!dischargeAsProposed(false));
    QVERIFY(t.faulty.statements.at(4).startsWith(QStringLiteral("insert into DIP")));
    QCOMPARE(t.messages.messages.size(), 1);
    QVERIFY(t.messages.lastPrompt().startsWith(QStringLiteral("database is locked\r\n\r\n")));
    QVERIFY(t.messages.lastPrompt().endsWith(insertLabel));
    QCOMPARE(t.f.dischargeRowCount(), 0);
    QVERIFY(t.f.stockInvariantViolations().isEmpty());

    // Once the other operator is done, the discharge goes through.
    QVERIFY(t.other.run("rollback"));
    t.messages.clear();
    QVERIFY(dischargeAsProposed(false));
    QVERIFY(t.messages.messages.isEmpty());
    QCOMPARE(t.f.dischargeRowCount(), 3);
    QVERIFY(t.f.stockInvariantViolations().isEmpty());
}

void tst_DatabaseFaults::lockedAtTheRefresh()
{
    LockedDischarge t;
    // Statements: multiplier, relations, two stock queries, three inserts, then the first
    // stock line's sum and declared quantity; its update is the 10th.
    t.faulty.faultAt(10, [&t] { t.other.run("begin immediate"); });
    QVERIFY(dischargeAsProposed(false));
    QVERIFY(t.faulty.statements.at(9).startsWith(QStringLiteral("update INS")));
    QCOMPARE(t.messages.messages.size(), 2);
    QVERIFY(t.messages.messages.first().prompt.startsWith(QStringLiteral("database is locked")));
    QVERIFY(t.messages.messages.first().prompt.endsWith(refreshLabel));
    // The lines stay written, the stock lines are not refreshed: what the system leaves.
    QCOMPARE(t.f.dischargeRowCount(), 3);
    QCOMPARE(t.f.stockInvariantViolations().size(), 3);

    // Taking the discharge out afterwards puts every stock line right again.
    QVERIFY(t.other.run("rollback"));
    t.messages.clear();
    clQUIVRAN component;
    QVERIFY(component.EliminarInsumo());
    QCOMPARE(t.f.dischargeRowCount(), 0);
    QVERIFY(t.f.stockInvariantViolations().isEmpty());
}

void tst_DatabaseFaults::readOnlyDatabase()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    const QString name = QStringLiteral("tst_DatabaseFaults-readonly");
    {
        QSqlDatabase readOnly = secondConnection(f, name, QStringLiteral("QSQLITE_OPEN_READONLY"));
        QVERIFY(readOnly.isOpen());
        SqlDataObject readOnlyData(readOnly);
        moduleState().dataObject = &readOnlyData;
        setSubItem();
        QVERIFY(!dischargeAsProposed(false));
        QCOMPARE(messages.messages.size(), 1);
        QVERIFY2(messages.lastPrompt().startsWith(
                     QStringLiteral("attempt to write a readonly database")),
                 qPrintable(messages.lastPrompt()));
        QVERIFY(messages.lastPrompt().endsWith(insertLabel));
        QCOMPARE(messages.lastStyle(), int(MessageCritical | MessageOkOnly));
        moduleState().dataObject = f.dischargeData.get();
        readOnly.close();
    }
    QSqlDatabase::removeDatabase(name);
    QCOMPARE(f.dischargeRowCount(), 0);
    QVERIFY(f.stockInvariantViolations().isEmpty());
}

void tst_DatabaseFaults::missingFolder()
{
    MessageRecorder messages;
    resetModuleState();
    const QString name = QStringLiteral("tst_DatabaseFaults-missing-folder");
    {
        QSqlDatabase missing = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        missing.setDatabaseName(QDir::tempPath() +
                                QStringLiteral("/oquivran-no-such-folder/x.sqlite"));
        SqlDataObject data(missing);
        clQUIVRAN component;
        component.VincularDatos(&data);
        setSubItem();
        QVERIFY(!dischargeAsProposed(false));
        QCOMPARE(messages.messages.size(), 1);
        QVERIFY(messages.lastPrompt().endsWith(getRipLabel));
        QCOMPARE(messages.lastStyle(), int(MessageCritical | MessageOkOnly));
        QVERIFY(!component.EliminarInsumo());
        QCOMPARE(messages.messages.size(), 2);
        resetModuleState();
    }
    QSqlDatabase::removeDatabase(name);
}

void tst_DatabaseFaults::missingFile()
{
    MessageRecorder messages;
    QTemporaryDir folder;
    resetModuleState();
    const QString name = QStringLiteral("tst_DatabaseFaults-missing-file");
    {
        // SQLite creates a missing file in an existing folder: it has no tables.
        QSqlDatabase missing = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        missing.setDatabaseName(folder.filePath(QStringLiteral("none.sqlite")));
        SqlDataObject data(missing);
        clQUIVRAN component;
        component.VincularDatos(&data);
        setSubItem();
        QVERIFY(!dischargeAsProposed(false));
        QCOMPARE(messages.messages.size(), 1);
        QVERIFY(messages.lastPrompt().startsWith(QStringLiteral("no such table: PRD\r\n\r\n")));
        QVERIFY(messages.lastPrompt().endsWith(getRipLabel));
        resetModuleState();
        missing.close();
    }
    QSqlDatabase::removeDatabase(name);
}

QTEST_GUILESS_MAIN(tst_DatabaseFaults)
#include "tst_DatabaseFaults.moc"
