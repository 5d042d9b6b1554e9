#include "AuditRows.h"
#include "DischargeFixture.h"
#include "MessageRecorder.h"

#include "ModuleState.h"
#include "WriteUnit.h"
#include "modManejoInsumos.h"

#include <oquivran/Module.h>
#include <oquivran/RuntimeError.h>

#include <QRegularExpression>
#include <QSqlQuery>
#include <QtTest>

using namespace oquivran;

namespace {

// EliminarInsumo's unit, as the component runs it.
bool removeSubItem()
{
    return WriteUnit::run([] {
        return modManejoInsumos::Generar_DIP_A_ARR() && modManejoInsumos::EliminarDIP() &&
               modManejoInsumos::RefrescarINS();
    });
}

} // namespace

class tst_AuditTrail : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        setAuditTrail(false);
        setAtomicWrites(false);
    }

    // The trail needs atomic writes: turning it on without them is refused with the common
    // message, and turning atomic writes off turns it off.
    void needsAtomicWrites()
    {
        DischargeFixture f;
        MessageRecorder messages;
        setAtomicWrites(false);
        QVERIFY(!setAuditTrail(true));
        QVERIFY(!auditTrail());
        QCOMPARE(messages.messages.size(), 1);
        QVERIFY2(messages.lastPrompt().startsWith(
                     QStringLiteral("El registro de auditoría necesita las escrituras atómicas: "
                                    "actívelas (setAtomicWrites) antes de activarlo.\r\n\r\n")),
                 qPrintable(messages.lastPrompt()));
        QVERIFY(
            messages.lastPrompt().endsWith(QStringLiteral(" - Sección [oQUIVRAN.setAuditTrail]")));

        setAtomicWrites(true);
        QVERIFY(setAuditTrail(true));
        QVERIFY(auditTrail());
        setAtomicWrites(false);
        QVERIFY(!auditTrail());
        // A name holding a quote would break the statements: refused when it is given.
        setAtomicWrites(true);
        QVERIFY(!setAuditTrail(true, QStringLiteral("O'Brien")));
        QVERIFY(!auditTrail());
        QCOMPARE(messages.messages.size(), 2);
    }

    // With the trail off the audit table gets nothing, though it exists.
    void offWritesNothing()
    {
        DischargeFixture f;
        MessageRecorder messages;
        auditrows::create(f);
        auditrows::seedStock(f, 12);
        setAtomicWrites(true);
        QVERIFY2(dischargeAsProposed(false), qPrintable(messages.lastPrompt()));
        QCOMPARE(f.dischargeRowCount(), 2);
        QCOMPARE(auditrows::rows(f), QStringList());
    }

    // F11: one row per line written and one per stock line refreshed, with the quantities the
    // lines and the stock hold; removing the sub-item: one row per line removed and per stock
    // line given back. Rows name the host's operator or the database's user.
    void dischargeAndRemoval_data()
    {
        QTest::addColumn<QString>("operatorName");
        QTest::newRow("database user") << QString();
        QTest::newRow("operator named") << QStringLiteral("Operador 7");
    }
    void dischargeAndRemoval()
    {
        QFETCH(QString, operatorName);
        DischargeFixture f;
        MessageRecorder messages;
        auditrows::create(f);
        auditrows::seedStock(f, 12);
        setAtomicWrites(true);
        QVERIFY(setAuditTrail(true, operatorName));
        const QString who = operatorName.isEmpty() ? auditrows::databaseUser(f) : operatorName;

        QVERIFY2(dischargeAsProposed(false), qPrintable(messages.lastPrompt()));
        QCOMPARE(f.available("D1", "ART1", 1, 1), 0.0);
        QCOMPARE(f.available("D2", "ART1", 3, 2), 3.0);
        const QStringList discharged = {
            u"DIP alta|OP1|1|D1|ART1|1|1|" + who + u"|0|10|null|null",
            u"DIP alta|OP1|1|D2|ART1|3|2|" + who + u"|0|2|null|null",
            u"INS.ARTDSC|OP1|1|D1|ART1|1|1|" + who + u"|10|0|null|null",
            u"INS.ARTDSC|OP1|1|D2|ART1|3|2|" + who + u"|5|3|null|null",
        };
        QCOMPARE(auditrows::rows(f), discharged);

        QVERIFY2(removeSubItem(), qPrintable(messages.lastPrompt()));
        QCOMPARE(f.dischargeRowCount(), 0);
        const QStringList removed = {
            u"DIP baja|OP1|1|D1|ART1|1|1|" + who + u"|10|0|null|null",
            u"DIP baja|OP1|1|D2|ART1|3|2|" + who + u"|2|0|null|null",
            u"INS.ARTDSC|OP1|1|D1|ART1|1|1|" + who + u"|0|10|null|null",
            u"INS.ARTDSC|OP1|1|D2|ART1|3|2|" + who + u"|3|5|null|null",
        };
        QCOMPARE(auditrows::rows(f), discharged + removed);
        QCOMPARE(messages.messages.size(), 0);

        // When: ISO 8601 with milliseconds and the offset from UTC, on either database.
        QSqlQuery query(f.discharge());
        QVERIFY(query.exec("select AUDFEC from DIPAUD"));
        static const QRegularExpression iso(QStringLiteral(
            "^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}([+-]\\d\\d:\\d\\d|Z)$"));
        int rows = 0;
        for (; query.next(); ++rows) {
            const QString when = query.value(0).toString();
            QVERIFY2(iso.match(when).hasMatch(), qPrintable(when));
            const QDateTime time = QDateTime::fromString(when, Qt::ISODateWithMs);
            QVERIFY(time.isValid());
            QVERIFY(qAbs(time.secsTo(QDateTime::currentDateTime())) < 600);
        }
        QCOMPARE(rows, 8);
    }

    // Lines added to a sub-item that has lines already: only the new ones are recorded.
    void linesAddedToASubItem()
    {
        DischargeFixture f;
        MessageRecorder messages;
        auditrows::create(f);
        auditrows::seedStock(f, 4);
        setAtomicWrites(true);
        QVERIFY(setAuditTrail(true, QStringLiteral("Op")));
        QVERIFY2(dischargeAsProposed(false), qPrintable(messages.lastPrompt()));
        QVERIFY2(dischargeAsProposed(false), qPrintable(messages.lastPrompt()));
        QCOMPARE(f.dischargeRowCount(), 2);
        QCOMPARE(auditrows::rows(f), (QStringList{
                                         "DIP alta|OP1|1|D1|ART1|1|1|Op|0|4|null|null",
                                         "INS.ARTDSC|OP1|1|D1|ART1|1|1|Op|10|6|null|null",
                                         "DIP alta|OP1|1|D1|ART1|1|1|Op|0|4|null|null",
                                         "INS.ARTDSC|OP1|1|D1|ART1|1|1|Op|6|2|null|null",
                                     }));
    }

    // Quantities with decimals are recorded exactly as the lines and the stock hold them.
    void quantitiesAreThoseWritten()
    {
        DischargeFixture f;
        MessageRecorder messages;
        auditrows::create(f);
        auditrows::seedStock(f, 10.3333);
        setAtomicWrites(true);
        QVERIFY(setAuditTrail(true));
        QVERIFY2(dischargeAsProposed(false), qPrintable(messages.lastPrompt()));
        QSqlQuery query(f.discharge());
        QVERIFY(query.exec("select a.AUDNUE, d.DIPCAN from DIPAUD a, DIP d where a.AUDQUE = "
                           "'DIP alta' and d.ARTDCL = a.INTDCL and d.ARTITM = a.ARTITM"));
        int lines = 0;
        for (; query.next(); ++lines)
            QCOMPARE(query.value(0).toDouble(), query.value(1).toDouble());
        QCOMPARE(lines, 2);
        QVERIFY(query.exec("select a.AUDNUE, i.ARTDSC from DIPAUD a, INS i where a.AUDQUE = "
                           "'INS.ARTDSC' and i.INTDCL = a.INTDCL and i.ARTITM = a.ARTITM"));
        int stockLines = 0;
        for (; query.next(); ++stockLines)
            QCOMPARE(query.value(0).toDouble(), query.value(1).toDouble());
        QCOMPARE(stockLines, 2);
        QCOMPARE(f.available("D2", "ART1", 3, 2), 4.6667);
    }

    // A unit undone after its lines were written (the stock check finds more discharged than
    // declared) leaves no audit row, as it leaves no line.
    void undoneUnitLeavesNoRow()
    {
        DischargeFixture f;
        MessageRecorder messages;
        auditrows::create(f);
        auditrows::seedStock(f, 4);
        QSqlQuery query(f.discharge());
        QVERIFY(query.exec("insert into DIP (EXTINT, EXTSBT, ARTDCL, ARTNRO, ARTITM, ARTSBT, "
                           "CATNRO, PRDNRO, DIPCAN) values ('OLD', 1, 'D1', 'ART1', 1, 1, 'CAT', "
                           "'PRD', 9)"));
        setAtomicWrites(true);
        QVERIFY(setAuditTrail(true));
        QVERIFY(!dischargeAsProposed(false));
        QVERIFY(!messages.messages.isEmpty());
        QCOMPARE(f.dischargeRowCount(), 1);
        QCOMPARE(auditrows::rows(f), QStringList());
    }

    // Nothing the component sends updates or deletes an audit row on SQLite; on the server the
    // roles keep them (their own test).
    void rowsAreOnlyAppended_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::newRow("update") << QStringLiteral("update DIPAUD set AUDNUE = 0");
        QTest::newRow("delete") << QStringLiteral("delete from DIPAUD");
    }
    void rowsAreOnlyAppended()
    {
        QFETCH(QString, statement);
        if (FixtureDatabase::onPostgreSql())
            QSKIP("the server keeps audit rows through its roles");
        DischargeFixture f;
        MessageRecorder messages;
        auditrows::create(f);
        auditrows::seedStock(f, 4);
        setAtomicWrites(true);
        QVERIFY(setAuditTrail(true));
        QVERIFY(dischargeAsProposed(false));
        const QStringList before = auditrows::rows(f);
        QCOMPARE(before.size(), 2);
        try {
            f.dischargeData->setSql(statement);
            f.dischargeData->execute();
            QFAIL("the statement was not refused");
        } catch (const RuntimeError& error) {
            QVERIFY2(error.description.contains(QStringLiteral("DIPAUD: las filas de auditoría")),
                     qPrintable(error.description));
        }
        QCOMPARE(auditrows::rows(f), before);
    }
};

QTEST_GUILESS_MAIN(tst_AuditTrail)
#include "tst_AuditTrail.moc"
