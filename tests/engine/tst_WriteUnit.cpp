#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "RecordingDataObject.h"

#include "BoundData.h"
#include "DischargeSave.h"
#include "ErrorMessage.h"
#include "ModuleState.h"
#include "WriteUnit.h"

#include <oquivran/Module.h>
#include <oquivran/RuntimeError.h>

#include <QtTest>

using namespace oquivran;

namespace {

// A host's own data object that runs statements but has no units of its own.
class PlainDataObject : public DataObject
{
public:
    explicit PlainDataObject(DataObject* target) : m_target(target) {}
    void setSql(const QString& sql) override
    {
        DataObject::setSql(sql);
        m_target->setSql(sql);
    }
    bool open(Recordset& rs) override { return m_target->open(rs); }
    qint32 execute() override { return m_target->execute(); }

private:
    DataObject* m_target;
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
        QVERIFY(messages.lastPrompt().startsWith(QStringLiteral("UNIQUE constraint failed")));
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

    // Another operator's unit holds the writer lock: the save waits its bounded time, then
    // reports "database is locked" through the save's own message, and writes nothing.
    void lockedDatabaseIsReported()
    {
        DischargeFixture f;
        MessageRecorder messages;
        seed(f);
        setAtomicWrites(true);
        // The tests of units run on SQLite.
        static_cast<SqlDataObject&>(*f.dischargeData).setLockWait(100);
        const QString name = QStringLiteral("tst_WriteUnit-other");
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            db.setDatabaseName(f.discharge().databaseName());
            QVERIFY(db.open());
            SqlDataObject other(db);
            other.transaction();
            proposeOneLine(f);
            QCOMPARE(DischargeSave::run(), DischargeSave::Outcome::Failed);
            QCOMPARE(messages.lastPrompt(),
                     QStringLiteral("database is locked\r\n\r\n") + QString::number(DatabaseError) +
                         QStringLiteral(" - Sección [oQUIVRAN.frmAgregarDIP.f_Aceptar]"));
            other.rollback();
            QCOMPARE(DischargeSave::run(), DischargeSave::Outcome::Saved);
            QCOMPARE(f.dischargeRowCount(), 1);
            db.close();
        }
        QSqlDatabase::removeDatabase(name);
    }
};

QTEST_GUILESS_MAIN(tst_WriteUnit)
#include "tst_WriteUnit.moc"
