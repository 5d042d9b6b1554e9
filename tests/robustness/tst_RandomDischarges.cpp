// Thousands of random discharges, edited discharges, removals and re-discharges by several
// operations over shared stock. After every step every stock line's ARTDSC must equal ARTCAT
// minus the sum of its discharges, and the discharge lines of every other sub-item must be
// exactly as they were. The seed is printed; OQUIVRAN_RANDOM_SEED and OQUIVRAN_RANDOM_STEPS
// override the fixed defaults.
#include "DischargeFixture.h"
#include "MessageRecorder.h"

#include "DischargeSave.h"
#include "ModuleState.h"
#include "modManejoInsumos.h"

#include <oquivran/oquivran.h>

#include <QMap>
#include <QRandomGenerator>
#include <QSqlQuery>
#include <QtTest>

using namespace oquivran;

namespace {

constexpr quint32 DefaultSeed = 20240607;
constexpr int DefaultSteps = 10000;

const QStringList operations = {QStringLiteral("OP-A"), QStringLiteral("OP-B"),
                                QStringLiteral("OP-C")};
constexpr int SubItemsPerOperation = 4;
const QStringList products = {QStringLiteral("P1"), QStringLiteral("P2"), QStringLiteral("P3"),
                              QStringLiteral("P4")};

quint32 environmentNumber(const char* name, quint32 fallback)
{
    bool ok = false;
    const quint32 value = qEnvironmentVariable(name).toUInt(&ok);
    return ok ? value : fallback;
}

// A sub-item of an operation, and the product discharged on it.
struct Slot
{
    QString interno;
    qint16 subItem;
    QString product; // empty while nothing is discharged on it
};

// The DIP rows of each sub-item: rowid and the columns a step may not change elsewhere.
using Rows = QMap<QString, QStringList>;

QString slotKey(const QString& interno, int subItem)
{
    return interno + u'/' + QString::number(subItem);
}

Rows dischargeRows(const DischargeFixture& f)
{
    Rows rows;
    QSqlQuery query(f.discharge());
    query.setForwardOnly(true);
    query.exec(QStringLiteral("select EXTINT, EXTSBT, rowid, ARTDCL, ARTNRO, ARTITM, ARTSBT, "
                              "DIPCAN, RALCAN, PRDNRO from DIP order by rowid"));
    while (query.next()) {
        QStringList values;
        for (int c = 2; c < 10; ++c)
            values << query.value(c).toString();
        rows[slotKey(query.value(0).toString(), query.value(1).toInt())]
            << values.join(QStringLiteral("|"));
    }
    return rows;
}

void seed(DischargeFixture& f, QRandomGenerator& random)
{
    const QStringList inputs = {"A", "B", "C", "D", "E"};
    for (int d = 0; d < 8; ++d) {
        const QString declaration = QStringLiteral("D%1").arg(d);
        f.addDeclaration(declaration, QDate(2020, 1, 1).addDays(d * 40), d == 5 ? 0 : 1);
        for (int i = 0; i < inputs.size(); ++i) {
            if (random.bounded(4) == 0)
                continue;
            // Declared quantities with up to four decimals.
            const double declared = random.bounded(50, 400) + random.bounded(10000) / 10000.0;
            f.addStock(declaration, inputs.at(i), i + 1, d % 2 + 1, declared,
                       0.5 + random.bounded(40) / 8.0);
        }
    }
    f.addProduct("CAT", "P1", 1);
    f.addRelation("CAT", "P1", "A", 1.5);
    f.addRelation("CAT", "P1", "B", 0.25, 2, 0.1, 0, 1);
    f.addProduct("CAT", "P2", 2);
    f.addRelation("CAT", "P2", "C", 0.75);
    f.addRelation("CAT", "P2", "D", 1.125, 0, 0, 0, 0, 1);
    f.addProduct("CAT", "P3", 0.5);
    f.addRelation("CAT", "P3", "E", 3.3333);
    f.addRelation("CAT", "P3", "A", 0.1);
    f.addRelation("CAT", "P3", "C", 0.7);
    f.addProduct("CAT", "P4", 1);
    f.addRelation("CAT", "P4", "B", 2.2);
}

} // namespace

class tst_RandomDischarges : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomWorkKeepsStock();
};

void tst_RandomDischarges::randomWorkKeepsStock()
{
    const quint32 seedValue = environmentNumber("OQUIVRAN_RANDOM_SEED", DefaultSeed);
    const int steps = int(environmentNumber("OQUIVRAN_RANDOM_STEPS", DefaultSteps));
    qInfo("seed %u (OQUIVRAN_RANDOM_SEED), %d steps (OQUIVRAN_RANDOM_STEPS)", seedValue, steps);
    QRandomGenerator random(seedValue);

    DischargeFixture f;
    MessageRecorder messages;
    seed(f, random);
    QList<Slot> slots;
    for (const QString& interno : operations)
        for (int s = 1; s <= SubItemsPerOperation; ++s)
            slots.append({interno, qint16(s), QString()});
    clQUIVRAN component;
    Rows before = dischargeRows(f);
    QMap<QString, int> done;

    for (int step = 0; step < steps; ++step) {
        Slot& slot = slots[random.bounded(int(slots.size()))];
        const QString key = slotKey(slot.interno, slot.subItem);
        const QString product = slot.product.isEmpty()
                                    ? products.at(random.bounded(int(products.size())))
                                    : slot.product;
        component.INTERNO(slot.interno);
        component.SUBITEM(slot.subItem);
        component.CATNRO(QStringLiteral("CAT"));
        component.PRDNRO(product);
        component.PRDCAN(random.bounded(1, 120) / 4.0 + random.bounded(100) / 1000.0);
        messages.clear();

        // What the step asks for: the sub-item's lines afterwards, or -1 for "its lines before
        // plus the lines written".
        int expectedOwnRows = -1;
        int written = 0;
        const int action = random.bounded(10);
        QString what;
        if (action < 4 || slot.product.isEmpty()) {
            what = QStringLiteral("discharge");
            const bool accepted = dischargeAsProposed(random.bounded(2) == 0);
            if (accepted) {
                for (const DipCandidate& line : moduleState().candidateLines)
                    written += line.allocationStatus != AllocationNoStock;
            }
        } else if (action < 6) {
            what = QStringLiteral("edited discharge");
            // The operator lowers some quantities or drops a line before F11.
            if (DischargeSave::prepare() && modManejoInsumos::GetRIP()) {
                modManejoInsumos::Obtener_INS_A_DIP();
                QList<DipCandidate>& lines = moduleState().candidateLines;
                for (qsizetype i = 0; i < lines.size(); ++i) {
                    const int edit = random.bounded(4);
                    if (edit == 0)
                        lines[i].quantity =
                            qRound(lines[i].quantity * random.bounded(1000)) / 1000.0;
                }
                if (!lines.isEmpty() && random.bounded(3) == 0)
                    lines.removeAt(random.bounded(int(lines.size())));
                if (DischargeSave::run() == DischargeSave::Outcome::Saved ||
                    moduleState().dischargeResult) {
                    for (const DipCandidate& line : lines)
                        written += line.allocationStatus != AllocationNoStock;
                }
            }
        } else if (action < 9) {
            what = QStringLiteral("removal");
            QVERIFY2(component.EliminarInsumo(), qPrintable(messages.lastPrompt()));
            expectedOwnRows = 0;
        } else {
            what = QStringLiteral("re-discharge");
            QVERIFY2(component.EliminarInsumo(), qPrintable(messages.lastPrompt()));
            if (dischargeAsProposed(true)) {
                for (const DipCandidate& line : moduleState().candidateLines)
                    written += line.allocationStatus != AllocationNoStock;
            }
            expectedOwnRows = written;
        }
        ++done[what];

        // The allocation's own rule for a line that completes its input exactly (the running
        // total on the last line) may discharge more than a stock line holds; the refresh then
        // refuses it with its message. The sub-item is taken out again, which must restore
        // every stock line.
        const bool overdrawn =
            std::any_of(messages.messages.begin(), messages.messages.end(), [](const auto& m) {
                return m.prompt.startsWith(
                    QStringLiteral("ERROR inconsistencia en la cantidad total disponible"));
            });
        if (overdrawn) {
            ++done[QStringLiteral("overdrawn, taken out again")];
            QVERIFY(component.EliminarInsumo());
            expectedOwnRows = 0;
        } else {
            // Outside that rule, a step shows only the allocation's refusals.
            for (const auto& m : messages.messages)
                QVERIFY2(
                    m.style != (MessageCritical | MessageOkOnly),
                    qPrintable(QStringLiteral("step %1 (%2): %3").arg(step).arg(what, m.prompt)));
        }

        const Rows after = dischargeRows(f);
        const int ownBefore = int(before.value(key).size());
        const int ownAfter = int(after.value(key).size());
        if (expectedOwnRows < 0)
            expectedOwnRows = ownBefore + written;
        QVERIFY2(ownAfter == expectedOwnRows,
                 qPrintable(QStringLiteral("step %1 (%2) on %3: %4 lines, expected %5")
                                .arg(step)
                                .arg(what, key)
                                .arg(ownAfter)
                                .arg(expectedOwnRows)));
        for (auto it = after.begin(); it != after.end(); ++it) {
            if (it.key() != key)
                QVERIFY2(it.value() == before.value(it.key()),
                         qPrintable(QStringLiteral("step %1 (%2) on %3 changed the lines of %4")
                                        .arg(step)
                                        .arg(what, key, it.key())));
        }
        for (auto it = before.begin(); it != before.end(); ++it)
            QVERIFY2(
                it.key() == key || after.contains(it.key()),
                qPrintable(
                    QStringLiteral("step %1 removed the lines of %2").arg(step).arg(it.key())));
        const QStringList violations = f.stockInvariantViolations(5e-5);
        QVERIFY2(violations.isEmpty(),
                 qPrintable(QStringLiteral("step %1 (%2) on %3: %4")
                                .arg(step)
                                .arg(what, key, violations.join(QStringLiteral("; ")))));
        slot.product = ownAfter > 0 ? product : QString();
        before = after;
    }
    QStringList summary;
    for (auto it = done.begin(); it != done.end(); ++it)
        summary << QStringLiteral("%1 %2").arg(it.value()).arg(it.key());
    qInfo("%s", qPrintable(summary.join(QStringLiteral(", "))));
}

QTEST_GUILESS_MAIN(tst_RandomDischarges)
#include "tst_RandomDischarges.moc"
