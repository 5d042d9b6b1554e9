#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "RecordingDataObject.h"
#include "Settings.h"

#include <oquivran/oquivran.h>

#include <QRandomGenerator>
#include <QtTest>

using namespace oquivran;

namespace {

// Stock shared by the products: input A on three declarations, B on two, C on one.
void seedStock(DischargeFixture& f)
{
    f.addDeclaration("D2025", QDate(2025, 6, 1));
    f.addDeclaration("D2026", QDate(2026, 2, 1));
    f.addDeclaration("D2027", QDate(2027, 1, 15));
    f.addStock("D2025", "A", 1, 1, 10, 2.0);
    f.addStock("D2026", "A", 1, 1, 25, 2.5);
    f.addStock("D2027", "A", 3, 2, 40, 3.0);
    f.addStock("D2026", "B", 2, 1, 12.5, 1.0);
    f.addStock("D2027", "B", 1, 1, 30, 1.25);
    f.addStock("D2027", "C", 4, 1, 100, 0.5);
    f.addProduct("CAT", "P1", 1);
    f.addRelation("CAT", "P1", "A", 1.5);
    f.addRelation("CAT", "P1", "B", 0.25, 2, 0.1, 0, 1);
    f.addProduct("CAT", "P2", 2);
    f.addRelation("CAT", "P2", "A", 0.5);
    f.addRelation("CAT", "P2", "C", 1.2);
}

void setSubItem(clQUIVRAN& component, const QString& interno, int subItem, const QString& product,
                double quantity)
{
    component.INTERNO(interno);
    component.SUBITEM(subItem);
    component.CATNRO(QStringLiteral("CAT"));
    component.PRDNRO(product);
    component.PRDCAN(quantity);
}

} // namespace

class tst_dischargeAsProposed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void completeDischarge();
    void incompleteNeedsAcceptance();
    void obligatoryWithoutStockIsComplete();
    void missingCtcRefused();
    void zeroQuantityRefused();
    void failedRelationLookupIsNotADischarge();
    void eliminarInsumoGivesStockBackAndKeepsTotals();
    void eliminarInsumoStopsAtFailedDelete();
    void sharedStockAcrossOperations();
};

void tst_dischargeAsProposed::init()
{
    Settings::store().clear();
}

void tst_dischargeAsProposed::completeDischarge()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    clQUIVRAN component;
    setSubItem(component, "OP1", 1, "P1", 20);
    // A: 30, from 10 (2025) and 20 of 25 (2026); B: 5 of 12.5 (2026).
    QVERIFY(dischargeAsProposed(false));
    QVERIFY(messages.messages.isEmpty());
    QCOMPARE(f.dischargeRowCount("EXTINT = 'OP1' and EXTSBT = 1"), 3);
    QCOMPARE(f.available("D2025", "A", 1, 1), 0.0);
    QCOMPARE(f.available("D2026", "A", 1, 1), 5.0);
    QCOMPARE(f.available("D2026", "B", 2, 1), 7.5);
    // The second line of A takes what is still missing.
    QCOMPARE(f.scalar("select DIPCAN from DIP where ARTDCL = 'D2026' and ARTNRO = 'A'").toDouble(),
             20.0);
    QCOMPARE(component.CantidadDescontada(), 35.0);
    // CIF on the real quantity (Restar_PerMer is off): 10 x 2 + 20 x 2.5 + 5 x 1.
    QCOMPARE(component.CIFDescontado(), 75.0);
    QVERIFY(f.stockInvariantViolations().isEmpty());
}

void tst_dischargeAsProposed::incompleteNeedsAcceptance()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    f.addProduct("CAT", "P3", 1);
    f.addRelation("CAT", "P3", "C", 1);
    f.addRelation("CAT", "P3", "B", 50); // not obligatory, more than the stock holds
    clQUIVRAN component;
    setSubItem(component, "OP1", 1, "P3", 4);
    QVERIFY(!dischargeAsProposed(false));
    QCOMPARE(f.dischargeRowCount(), 0);
    QVERIFY(messages.lastPrompt().startsWith(
        QStringLiteral("Cantidad insuficiente en stock para el insumo B")));

    // Accepted as it stands: what the allocation found is written. The relations come in key
    // order, so B's refusal stopped the allocation before C: B's whole stock is written, and
    // nothing of C.
    QVERIFY(dischargeAsProposed(true));
    QCOMPARE(f.dischargeRowCount(), 2);
    QCOMPARE(f.available("D2026", "B", 2, 1), 0.0);
    QCOMPARE(f.available("D2027", "B", 1, 1), 0.0);
    QCOMPARE(f.available("D2027", "C", 4, 1), 100.0);
    QCOMPARE(component.CantidadDescontada(), 42.5);
    QVERIFY(f.stockInvariantViolations().isEmpty());
}

void tst_dischargeAsProposed::obligatoryWithoutStockIsComplete()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    f.addProduct("CAT", "P4", 1);
    f.addRelation("CAT", "P4", "C", 1);
    f.addRelation("CAT", "P4", "Z", 1, 0, 0, 0, 0, 1); // obligatory, never in stock
    clQUIVRAN component;
    setSubItem(component, "OP1", 1, "P4", 4);
    // A "Sin Stock" line accepts the obligatory input: the allocation is complete and the
    // line itself is not written.
    QVERIFY(dischargeAsProposed(false));
    QVERIFY(messages.messages.isEmpty());
    QCOMPARE(f.dischargeRowCount(), 1);
    QCOMPARE(f.available("D2027", "C", 4, 1), 96.0);
    QCOMPARE(component.CantidadDescontada(), 4.0);
}

void tst_dischargeAsProposed::missingCtcRefused()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    DischargeFixture::run(f.discharge(), "update INS set ARTCTC = '  ' where ARTNRO = 'C'");
    clQUIVRAN component;
    setSubItem(component, "OP1", 1, "P2", 1);
    QVERIFY(!dischargeAsProposed(false));
    QCOMPARE(messages.lastPrompt(),
             QStringLiteral("Falta ingresar algunos datos obligatorios, por favor verifique el "
                            "numero de CTC."));
    QCOMPARE(f.dischargeRowCount(), 0);
}

void tst_dischargeAsProposed::zeroQuantityRefused()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    clQUIVRAN component;
    setSubItem(component, "OP1", 1, "P1", 0);
    QVERIFY(!dischargeAsProposed(true));
    QCOMPARE(messages.lastPrompt(),
             QStringLiteral("La cantidad del producto debe ser mayor a cero"));
    QCOMPARE(f.dischargeRowCount(), 0);
}

void tst_dischargeAsProposed::failedRelationLookupIsNotADischarge()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    clQUIVRAN component;
    setSubItem(component, "OP1", 1, "NONE", 3);
    QVERIFY(!dischargeAsProposed(true));
    QCOMPARE(messages.messages.size(), 1);
    QVERIFY(messages.lastPrompt().endsWith(
        QStringLiteral(" - Seccion [oTORVANE.clRelacionInsumo.GetRIP]")));
}

void tst_dischargeAsProposed::eliminarInsumoGivesStockBackAndKeepsTotals()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    clQUIVRAN component;
    setSubItem(component, "OP1", 1, "P2", 10); // A 10, C 24 (multiplier 2)
    QVERIFY(dischargeAsProposed(false));
    const double quantity = component.CantidadDescontada();
    const double cif = component.CIFDescontado();
    QCOMPARE(quantity, 34.0);
    QCOMPARE(f.available("D2027", "C", 4, 1), 76.0);

    QVERIFY(component.EliminarInsumo());
    QCOMPARE(f.dischargeRowCount(), 0);
    QCOMPARE(f.available("D2025", "A", 1, 1), 10.0);
    QCOMPARE(f.available("D2027", "C", 4, 1), 100.0);
    QCOMPARE(component.CantidadDescontada(), quantity);
    QCOMPARE(component.CIFDescontado(), cif);
    QVERIFY(f.stockInvariantViolations().isEmpty());
}

void tst_dischargeAsProposed::eliminarInsumoStopsAtFailedDelete()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    clQUIVRAN component;
    setSubItem(component, "OP1", 1, "P2", 1);
    QVERIFY(dischargeAsProposed(false));
    RecordingDataObject recorder(f.dischargeData.get());
    moduleState().dataObject = &recorder;
    recorder.failExecuteAt(1);
    QVERIFY(!component.EliminarInsumo());
    // Reloaded, then the delete failed: no refresh ran.
    QCOMPARE(recorder.statements.size(), 1);
    QVERIFY(recorder.statements[0].startsWith(QStringLiteral("select * from DIP ")));
    QVERIFY(recorder.failedStatement.startsWith(QStringLiteral("delete from DIP ")));
    QVERIFY(messages.lastPrompt().endsWith(
        QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.AgregarDIP]")));
    QCOMPARE(f.dischargeRowCount(), 2);
}

void tst_dischargeAsProposed::sharedStockAcrossOperations()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStock(f);
    clQUIVRAN component;
    struct Step
    {
        QString interno;
        int subItem;
        QString product;
        double quantity;
        bool remove;
    };
    // Two operations drawing on the same stock lines, with removals in between; after each step
    // every stock line must hold its declared quantity less all its discharges.
    const QList<Step> steps = {
        {"OP1", 1, "P1", 4, false}, {"OP2", 1, "P2", 3, false}, {"OP1", 2, "P2", 2.5, false},
        {"OP2", 2, "P1", 6, false}, {"OP1", 1, "P1", 0, true},  {"OP2", 3, "P1", 7.25, false},
        {"OP2", 1, "P2", 0, true},  {"OP1", 3, "P2", 5, false}, {"OP1", 1, "P1", 8, false},
        {"OP2", 2, "P1", 0, true},  {"OP1", 2, "P2", 0, true},  {"OP2", 4, "P2", 1.75, false},
    };
    for (const Step& step : steps) {
        const QString where =
            QStringLiteral("EXTINT = '%1' and EXTSBT = %2").arg(step.interno).arg(step.subItem);
        const int others = f.dischargeRowCount() - f.dischargeRowCount(where);
        setSubItem(component, step.interno, step.subItem, step.product,
                   step.remove ? 1 : step.quantity);
        if (step.remove) {
            QVERIFY(f.dischargeRowCount(where) > 0);
            QVERIFY(component.EliminarInsumo());
            QCOMPARE(f.dischargeRowCount(where), 0);
        } else {
            QVERIFY2(dischargeAsProposed(false), qPrintable(messages.lastPrompt()));
            QVERIFY(f.dischargeRowCount(where) > 0);
        }
        // No other sub-item's lines appeared or disappeared.
        QCOMPARE(f.dischargeRowCount() - f.dischargeRowCount(where), others);
        const QStringList violations = f.stockInvariantViolations();
        // The completing line of a FIFO allocation carries the running total, so a stock line
        // may be charged its neighbours' quantities; the refresh keeps ARTDSC equal to what
        // DIP says in every case.
        QVERIFY2(violations.isEmpty(), qPrintable(violations.join('\n')));
    }
    QVERIFY(messages.messages.isEmpty());
}

QTEST_GUILESS_MAIN(tst_dischargeAsProposed)
#include "tst_dischargeAsProposed.moc"
