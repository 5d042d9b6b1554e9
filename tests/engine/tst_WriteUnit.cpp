#include "DischargeFixture.h"
#include "FaultyDataObject.h"
#include "MessageRecorder.h"
#include "RecordingDataObject.h"

#include "BoundData.h"
#include "DischargeSave.h"
#include "ErrorMessage.h"
#include "ModuleState.h"
#include "WriteUnit.h"

#include <oquivran/Module.h>
#include <oquivran/RuntimeError.h>

#include <QElapsedTimer>
#include <QSemaphore>
#include <QThread>
#include <QtTest>

#include <atomic>

using namespace oquivran;

namespace {

// A host's own data object that runs statements but has no units of its own.
class PlainDataObject : public ForwardingDataObject
{
public:
    explicit PlainDataObject(DataObject* target)
        : ForwardingDataObject(target, Forwarding::Statements)
    {
    }
};

void seed(DischargeFixture& f)
{
    f.addDeclaration("D1", QDate(2026, 1, 1));
    f.addStock("D1", "ART1", 1, 1, 10, 2);
}

// Sub-item OP1/1 with one proposed line of 4 from D1.
void proposeOneLine(DischargeFixture& f)
{
    f.setSubItem("OP1", 1, "CAT", "PRD", 1);
    DipCandidate line;
    line.declaration = QStringLiteral("D1");
    line.inputCode = QStringLiteral("ART1");
    line.item = 1;
    line.subItem = 1;
    line.quantity = 4;
    line.ctc = QStringLiteral("CTC1");
    moduleState().candidateLines = {line};
}

void insertProduct(const QString& product)
{
    BoundData::execute(u"insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('C', '" + product +
                       u"', 1)");
}

int products(DischargeFixture& f)
{
    return f.scalar("select count(*) from PRD").toInt();
}

const QString label = QStringLiteral(" - seccion [test]");
const QString saveLabel = QStringLiteral(" - Sección [oQUIVRAN.frmAgregarDIP.f_Aceptar]");
const QString insertLabel = QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.AgregarDIP]");

// The product PRD of catalog CAT takes one ART1 per unit; sub-item OP1/1 is 4 of it.
void relateProduct(DischargeFixture& f)
{
    f.addProduct("CAT", "PRD", 1);
    f.addRelation("CAT", "PRD", "ART1", 1);
    f.setSubItem("OP1", 1, "CAT", "PRD", 4);
}

// What another operator's unit writes: a line of quantity taken from D1's ART1, and the
// availability that leaves.
QStringList otherDischarge(int taken)
{
    return {QStringLiteral("insert into DIP (EXTINT, EXTSBT, ARTDCL, ARTNRO, ARTITM, ARTSBT, "
                           "CATNRO, PRDNRO, DIPCAN, RALCAN, ARTPRE) values ('OTHER', 1, 'D1', "
                           "'ART1', 1, 1, 'CAT', 'PRD', %1, %1, 2)")
                .arg(taken),
            QStringLiteral("update INS set ARTDSC = %1 where INTDCL = 'D1' and ARTNRO = 'ART1' "
                           "and ARTITM = 1 and ARTSBT = 1")
                .arg(10 - taken)};
}

// Another operator's unit, on a connection of its own in a thread of its own: it takes the
// stock of ART1 as the component does, writes its statements, says it holds them, keeps the
// unit open for hold milliseconds (or until released), then commits.
class OtherOperator
{
public:
    OtherOperator(const DischargeFixture& f, const QStringList& statements, int hold)
        : m_thread(QThread::create([this, name = f.discharge().connectionName(), statements, hold] {
              run(name, statements, hold);
          }))
    {
        m_thread->start();
    }
    ~OtherOperator()
    {
        release();
        join();
    }
    // Waits until the unit has written and holds the stock; false when it failed.
    bool holds()
    {
        m_holding.acquire();
        return m_error.isEmpty();
    }
    void release() { m_release.release(); }
    void join() { m_thread->wait(); }
    bool committed() const { return m_committed; }
    QString error() const { return m_error; }

private:
    void run(const QString& connection, const QStringList& statements, int hold)
    {
        const QString name = QStringLiteral("tst_WriteUnit-other-operator");
        {
            QSqlDatabase db = QSqlDatabase::cloneDatabase(connection, name);
            std::unique_ptr<DataObject> data;
            if (FixtureDatabase::onPostgreSql())
                data = std::make_unique<PgDataObject>(db);
            else
                data = std::make_unique<SqlDataObject>(db);
            try {
                data->lockStock({QStringLiteral("ART1")}, 10000);
                data->transaction();
                for (const QString& statement : statements) {
                    data->setSql(statement);
                    data->execute();
                }
                m_holding.release();
                m_release.tryAcquire(1, hold);
                data->commit();
                m_committed = true;
                data->unlockStock();
            } catch (const RuntimeError& error) {
                m_error = error.description;
                m_holding.release();
            }
            data.reset();
            db.close();
        }
        QSqlDatabase::removeDatabase(name);
    }

    QSemaphore m_holding;
    QSemaphore m_release;
    std::atomic<bool> m_committed = false;
    QString m_error;
    // A thread of Qt's, so that its connection is Qt's thread's own.
    std::unique_ptr<QThread> m_thread;
};

// Sets how long units wait on the fixture's own data object.
void setLockWait(DischargeFixture& f, int milliseconds)
{
    if (FixtureDatabase::onPostgreSql())
        static_cast<PgDataObject&>(*f.dischargeData).setLockWait(milliseconds);
    else
        static_cast<SqlDataObject&>(*f.dischargeData).setLockWait(milliseconds);
}

// A conflict as the database reports it: its own code for one.
RuntimeError conflict()
{
    return RuntimeError(
        DatabaseError, QStringLiteral("could not serialize access due to concurrent update"),
        QStringLiteral("test"),
        FixtureDatabase::onPostgreSql() ? QStringLiteral("40001") : QStringLiteral("5"));
}

int insertsOf(const FaultyDataObject& data)
{
    int inserts = 0;
    for (const QString& statement : data.statements)
        inserts += statement.startsWith(u"insert into DIP") ? 1 : 0;
    return inserts;
}

} // namespace

class tst_WriteUnit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void settingIsKeptByReset()
    {
        DischargeFixture f;
        setAtomicWrites(true);
        resetModuleState();
        QVERIFY(atomicWrites());
        setAtomicWrites(false);
        resetModuleState();
        QVERIFY(!atomicWrites());
    }

    void offRunsTheBodyAsItIs()
    {
        DischargeFixture f;
        setAtomicWrites(false);
        RecordingDataObject recorder(f.dischargeData.get());
        moduleState().dataObject = &recorder;
        QVERIFY(!WriteUnit::run([&] {
            insertProduct(QStringLiteral("P1"));
            return false;
        }));
        QCOMPARE(products(f), 1);
        QVERIFY(WriteUnit::run([] { return true; }));
    }

    void keptOnTrueUndoneOnFalse()
    {
        DischargeFixture f;
        setAtomicWrites(true);
        bool undone = false;
        QVERIFY(WriteUnit::run(
            [&] {
                insertProduct(QStringLiteral("P1"));
                insertProduct(QStringLiteral("P2"));
                return true;
            },
            [&] { undone = true; }));
        QVERIFY(!undone);
        QCOMPARE(products(f), 2);
        QVERIFY(!WriteUnit::run(
            [&] {
                insertProduct(QStringLiteral("P3"));
                return false;
            },
            [&] { undone = true; }));
        QVERIFY(undone);
        QCOMPARE(products(f), 2);
    }

    void thrownErrorUndoesAndPassesThrough()
    {
        DischargeFixture f;
        MessageRecorder messages;
        setAtomicWrites(true);
        const bool result = ErrorMessage::guard(label, [&] {
            return WriteUnit::run([&] {
                insertProduct(QStringLiteral("P1"));
                insertProduct(QStringLiteral("P1"));
                return true;
            });
        });
        QVERIFY(!result);
        QCOMPARE(products(f), 0);
        QCOMPARE(messages.messages.size(), 1);
        QVERIFY2(messages.lastPrompt().startsWith(FixtureDatabase::onPostgreSql()
                                                      ? QStringLiteral("duplicate key value")
                                                      : QStringLiteral("UNIQUE constraint failed")),
                 qPrintable(messages.lastPrompt()));
        QVERIFY(messages.lastPrompt().endsWith(label));
    }

    // A failure reported inside the unit undoes it before its message shows, so the database
    // is not locked while the operator reads it; later statements of the unit are refused.
    void reportedFailureUndoesBeforeTheMessage()
    {
        DischargeFixture f;
        MessageRecorder messages;
        setAtomicWrites(true);
        int productsWhenShown = -1;
        messages.onMessage = [&](const MessageRecorder::Message&) {
            productsWhenShown = products(f);
        };
        const bool result = ErrorMessage::guard(label, [&] {
            return WriteUnit::run([&] {
                insertProduct(QStringLiteral("P1"));
                const bool inner = ErrorMessage::guard(QStringLiteral(" - inner"), [] {
                    throw RuntimeError(5, QStringLiteral("fails"));
                    return true;
                });
                if (!inner) {
                    // A routine that went on after a failure could not write outside the unit.
                    insertProduct(QStringLiteral("P2"));
                }
                return true;
            });
        });
        QVERIFY(!result);
        QCOMPARE(productsWhenShown, 0);
        QCOMPARE(products(f), 0);
        QCOMPARE(messages.messages.size(), 2);
        QVERIFY(messages.messages.at(1).prompt.startsWith(
            QStringLiteral("The unit of atomic writes was undone")));
        // The unit is over: the next one starts.
        QVERIFY(WriteUnit::run([&] {
            insertProduct(QStringLiteral("P4"));
            return true;
        }));
        QCOMPARE(products(f), 1);
    }

    void unitInsideAUnitIsPartOfIt()
    {
        DischargeFixture f;
        setAtomicWrites(true);
        QVERIFY(!WriteUnit::run([&] {
            insertProduct(QStringLiteral("P1"));
            const bool inner = WriteUnit::run([&] {
                insertProduct(QStringLiteral("P2"));
                return true;
            });
            return inner && false;
        }));
        QCOMPARE(products(f), 0);
    }

    // A host's object without units fails clearly through the routine's message, and writes
    // nothing statement by statement.
    void objectWithoutUnitsFailsClearly()
    {
        DischargeFixture f;
        MessageRecorder messages;
        seed(f);
        setAtomicWrites(true);
        PlainDataObject plain(f.dischargeData.get());
        moduleState().dataObject = &plain;
        proposeOneLine(f);
        QCOMPARE(DischargeSave::run(), DischargeSave::Outcome::Failed);
        QCOMPARE(f.dischargeRowCount(), 0);
        QCOMPARE(messages.messages.size(), 1);
        QCOMPARE(messages.lastPrompt(),
                 QStringLiteral("The bound data object cannot run atomic writes\r\n\r\n") +
                     QString::number(DatabaseError) +
                     QStringLiteral(" - Sección [oQUIVRAN.frmAgregarDIP.f_Aceptar]"));
        QVERIFY(!moduleState().dischargeResult);
    }

    // Another operator's unit on the same stock is open when the discharge starts: the
    // discharge waits for it, then allocates from what it left, with nothing shown.
    void unitsOnOneStockRunOneAfterTheOther()
    {
        DischargeFixture f;
        MessageRecorder messages;
        seed(f);
        relateProduct(f);
        setAtomicWrites(true);
        OtherOperator other(f, otherDischarge(3), 300);
        QVERIFY2(other.holds(), qPrintable(other.error()));
        QVERIFY2(dischargeAsProposed(false), qPrintable(messages.lastPrompt()));
        // It could only commit after the other operator's unit.
        QVERIFY(other.committed());
        QCOMPARE(messages.messages.size(), 0);
        QCOMPARE(f.dischargeRowCount(QStringLiteral("EXTINT = 'OP1'")), 1);
        QCOMPARE(f.scalar("select DIPCAN from DIP where EXTINT = 'OP1'").toDouble(), 4.0);
        QCOMPARE(f.available("D1", "ART1", 1, 1), 3.0);
        QCOMPARE(moduleState().CantidadDescontada, 4.0);
    }

    // The other operator's unit takes the last units while the operator's allocation waits for
    // F11: the stock check refuses it with the system's message, it is not run again, and
    // nothing is written.
    void lastUnitsTakenMeanTheStockMessage()
    {
        DischargeFixture f;
        MessageRecorder messages;
        seed(f);
        setAtomicWrites(true);
        FaultyDataObject counting(f.dischargeData.get());
        moduleState().dataObject = &counting;
        proposeOneLine(f);
        OtherOperator other(f, otherDischarge(8), 300);
        QVERIFY2(other.holds(), qPrintable(other.error()));
        QCOMPARE(DischargeSave::run(), DischargeSave::Outcome::Failed);
        QVERIFY(other.committed());
        QCOMPARE(messages.messages.size(), 2);
        QVERIFY(messages.messages.at(0).prompt.startsWith(
            QStringLiteral("ERROR inconsistencia en la cantidad total disponible del insumo.")));
        QVERIFY(messages.messages.at(1).prompt.startsWith(
            QStringLiteral("Ocurrio un error al calcular disponibilidad")));
        QCOMPARE(insertsOf(counting), 1);
        QCOMPARE(f.dischargeRowCount(QStringLiteral("EXTINT = 'OP1'")), 0);
        QCOMPARE(f.available("D1", "ART1", 1, 1), 2.0);
        QVERIFY(!moduleState().dischargeResult);
    }

    // A unit that meets conflicts runs again until it commits, once, and the operator sees
    // none of them.
    void conflictRunsAgainUnseen_data()
    {
        QTest::addColumn<int>("conflicts");
        QTest::newRow("one") << 1;
        QTest::newRow("five") << 5;
    }
    void conflictRunsAgainUnseen()
    {
        QFETCH(int, conflicts);
        DischargeFixture f;
        MessageRecorder messages;
        seed(f);
        setAtomicWrites(true);
        FaultyDataObject faulty(f.dischargeData.get());
        int met = 0;
        faulty.beforeEach = [&](const QString& sql) {
            if (sql.startsWith(u"insert into DIP") && met < conflicts) {
                ++met;
                throw conflict();
            }
        };
        moduleState().dataObject = &faulty;
        proposeOneLine(f);
        moduleState().CantidadDescontada = 99;
        QCOMPARE(DischargeSave::run(), DischargeSave::Outcome::Saved);
        QCOMPARE(messages.messages.size(), 0);
        QCOMPARE(insertsOf(faulty), conflicts + 1);
        QCOMPARE(f.dischargeRowCount(), 1);
        QCOMPARE(f.available("D1", "ART1", 1, 1), 6.0);
        QVERIFY(moduleState().dischargeResult);
        QCOMPARE(moduleState().CantidadDescontada, 4.0);
    }

    // A conflict on every attempt: after the wait the operator sees it, with the database's
    // words, through the routine that met it (and what the save reports after it); nothing is
    // written, the totals are as they were, and the reported error is the conflict, with its
    // code.
    void conflictOutlastingTheWaitIsReported_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QStringList>("labels");
        QTest::newRow("at the write")
            << QStringLiteral("insert into DIP") << QStringList{insertLabel};
        QTest::newRow("at the refresh")
            << QStringLiteral("update INS")
            << QStringList{QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.RefrescarINS]"),
                           saveLabel};
    }
    void conflictOutlastingTheWaitIsReported()
    {
        QFETCH(QString, statement);
        QFETCH(QStringList, labels);
        DischargeFixture f;
        MessageRecorder messages;
        seed(f);
        setAtomicWrites(true);
        setLockWait(f, 300);
        FaultyDataObject faulty(f.dischargeData.get());
        faulty.beforeEach = [&](const QString& sql) {
            if (sql.startsWith(statement))
                throw conflict();
        };
        moduleState().dataObject = &faulty;
        proposeOneLine(f);
        moduleState().CantidadDescontada = 99;
        clearReportedError();
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(DischargeSave::run(), DischargeSave::Outcome::Failed);
        QVERIFY(clock.elapsed() >= 300);
        QVERIFY(insertsOf(faulty) >= 2);
        QCOMPARE(messages.messages.size(), labels.size());
        QCOMPARE(messages.messages.first().prompt,
                 QStringLiteral("could not serialize access due to concurrent update\r\n\r\n") +
                     QString::number(DatabaseError) + labels.first());
        QVERIFY(messages.lastPrompt().endsWith(labels.last()));
        QVERIFY(reportedError());
        QCOMPARE(reportedError()->nativeErrorCode, conflict().nativeErrorCode);
        QVERIFY(f.dischargeData->isConflict(*reportedError()));
        QCOMPARE(f.dischargeRowCount(), 0);
        QCOMPARE(f.available("D1", "ART1", 1, 1), 10.0);
        QVERIFY(!moduleState().dischargeResult);
        QCOMPARE(moduleState().CantidadDescontada, 99.0);
    }

    // A host's own object (no waits of its own) runs a unit once: its conflict is reported at
    // once.
    void objectWithoutWaitsReportsAtOnce()
    {
        DischargeFixture f;
        MessageRecorder messages;
        seed(f);
        setAtomicWrites(true);
        RecordingDataObject recording(f.dischargeData.get());
        moduleState().dataObject = &recording;
        proposeOneLine(f);
        int attempts = 0;
        const bool result = ErrorMessage::guard(label, [&] {
            return WriteUnit::run([&] {
                ++attempts;
                throw conflict();
                return true;
            });
        });
        QVERIFY(!result);
        QCOMPARE(attempts, 1);
        QCOMPARE(messages.messages.size(), 1);
    }

    // Another operator's unit holds the stock longer than the wait: the save reports the
    // database's words through its own message and writes nothing; once the other unit is
    // over, the same save goes through.
    void otherUnitOutlastingTheWaitIsReported()
    {
        DischargeFixture f;
        MessageRecorder messages;
        seed(f);
        setAtomicWrites(true);
        setLockWait(f, 200);
        proposeOneLine(f);
        {
            OtherOperator other(f, otherDischarge(3), 60000);
            QVERIFY2(other.holds(), qPrintable(other.error()));
            QCOMPARE(DischargeSave::run(), DischargeSave::Outcome::Failed);
            QCOMPARE(messages.lastPrompt(),
                     (FixtureDatabase::onPostgreSql()
                          ? QStringLiteral("canceling statement due to lock timeout")
                          : QStringLiteral("database is locked")) +
                         QStringLiteral("\r\n\r\n") + QString::number(DatabaseError) + saveLabel);
            QCOMPARE(f.dischargeRowCount(QStringLiteral("EXTINT = 'OP1'")), 0);
            other.release();
            other.join();
            QVERIFY(other.committed());
        }
        QCOMPARE(DischargeSave::run(), DischargeSave::Outcome::Saved);
        QCOMPARE(f.dischargeRowCount(QStringLiteral("EXTINT = 'OP1'")), 1);
        QCOMPARE(f.available("D1", "ART1", 1, 1), 3.0);
    }
};

QTEST_GUILESS_MAIN(tst_WriteUnit)
#include "tst_WriteUnit.moc"
