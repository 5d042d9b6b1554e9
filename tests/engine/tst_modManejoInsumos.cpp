#include "DischargeFixture.h"
#include "DischargeStatements.h"
#include "LocaleText.h"
#include "MessageRecorder.h"
#include "RecordingDataObject.h"

#include "ModuleState.h"
#include "NumberFormat.h"
#include "NumberText.h"
#include "modManejoInsumos.h"

#include <oquivran/PgDataObject.h>
#include <oquivran/RuntimeError.h>
#include <oquivran/SqlDataObject.h>

#include <QSqlQuery>
#include <QSqlRecord>
#include <QtTest>

using namespace oquivran;

namespace {

const QString userDefined = QStringLiteral("-2147221504");

QString errorPrompt(const QString& description, qint32 number, const QString& label)
{
    return description + QStringLiteral("\r\n\r\n") + QString::number(number) + label;
}

ModuleState& state()
{
    return moduleState();
}

// One declaration line per (official date, item, sub-item), all of input ART1 unless named.
struct Stock
{
    QString declaration;
    QDate official;
    int item;
    int subItem;
    double available;
    int authorised = 1;
    QString input = QStringLiteral("ART1");
};

void seed(DischargeFixture& f, const QList<Stock>& stock)
{
    QStringList declarations;
    for (const Stock& s : stock) {
        if (!declarations.contains(s.declaration)) {
            f.addDeclaration(s.declaration, s.official, s.authorised);
            declarations << s.declaration;
        }
        f.addStock(s.declaration, s.input, s.item, s.subItem, s.available + 10, 1.5,
                   QStringLiteral("NCM1"), QStringLiteral("CTC1"), QString(), s.available);
    }
}

RipEntry relation(const QString& input, double required, int obligatory = 0)
{
    RipEntry entry;
    entry.inputCode = input;
    entry.requiredQuantity = required;
    entry.relationQuantity = 1;
    entry.shrinkage = QStringLiteral("0");
    entry.loss = QStringLiteral("0");
    entry.obligatory = qint16(obligatory);
    return entry;
}

} // namespace

class tst_modManejoInsumos : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Relation lookup.
    void multiplier_data();
    void multiplier();
    void missingProduct();
    void noRelations();
    void requiredQuantity();
    void relationFields();
    void relationListEmptiedOnFailure();

    // FIFO allocation.
    void allocation_data();
    void allocation();
    void noStockNotObligatory();
    void insufficientStockKeepsLines();
    void unusableStockIsNeverOffered();
    void firstFailureStopsTheLoop();
    void stockBeyondCoverageIsNotRead();
    void ctcTrimmedAndNullAsEmpty();
    void allocationStatementsAreExact();

    // Discharge lines and stock refresh.
    void sinStockLineInsertsNoRow();
    void realQuantity_data();
    void realQuantity();
    void insertWritesValuesUnderTheLocale();
    void exactlyExhaustedStock();
    void inconsistentStockIsRefused();
    void emptySumGivesStockBack();
    void refreshPassesOverSinStock();
    void errorMidInsertKeepsEarlierRows();
    void quoteInCtcRunsNothing();
    void reloadSubItemLines();
    void readTotals();
    void ownAndHostObjectsWriteTheSame();
    void failedStatementLeavesItsText();
    void derivedObjectSeesTheText();
};

void tst_modManejoInsumos::multiplier_data()
{
    QTest::addColumn<double>("multiplier");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("zero refused") << 0.0 << false;
    QTest::newRow("half accepted") << 0.5 << true;
    QTest::newRow("negative accepted") << -1.0 << true;
    QTest::newRow("one accepted") << 1.0 << true;
}

void tst_modManejoInsumos::multiplier()
{
    QFETCH(double, multiplier);
    QFETCH(bool, accepted);
    DischargeFixture f;
    MessageRecorder messages;
    f.addProduct("CAT", "PRD", multiplier);
    f.addRelation("CAT", "PRD", "ART1", 1);
    f.setSubItem("OP1", 1, "CAT", "PRD", 2);

    QCOMPARE(modManejoInsumos::GetRIP(), accepted);
    QCOMPARE(state().productMultiplier, multiplier);
    if (accepted) {
        QVERIFY(messages.messages.isEmpty());
        QCOMPARE(state().relationList.size(), 1);
        QCOMPARE(state().relationList[0].requiredQuantity, 2 * multiplier);
    } else {
        QCOMPARE(messages.lastPrompt(),
                 errorPrompt("Multiplicador Invalido del articulo PRD perteneciente al catalogo "
                             "CAT verifique que sea 1 o mayor",
                             UserDefinedError, " - Seccion [oTORVANE.clRelacionInsumo.GetRIP]"));
        QCOMPARE(messages.lastStyle(), 16);
        QVERIFY(messages.lastPrompt().contains(userDefined));
    }
}

void tst_modManejoInsumos::missingProduct()
{
    DischargeFixture f;
    MessageRecorder messages;
    f.setSubItem("OP1", 1, "CAT", "NOPE", 2);
    QVERIFY(!modManejoInsumos::GetRIP());
    QCOMPARE(messages.lastPrompt(),
             errorPrompt("No se puede obtener el valor del multiplicador del articulo NOPE "
                         "perteneciente al catalogo CAT",
                         UserDefinedError, " - Seccion [oTORVANE.clRelacionInsumo.GetRIP]"));
}

void tst_modManejoInsumos::noRelations()
{
    DischargeFixture f;
    MessageRecorder messages;
    f.addProduct("CAT", "PRD", 1);
    f.setSubItem("OP1", 1, "CAT", "PRD", 2);
    QVERIFY(!modManejoInsumos::GetRIP());
    QCOMPARE(messages.lastPrompt(),
             errorPrompt("No se encontro ningun insumo para este articulo.", UserDefinedError,
                         " - Seccion [oTORVANE.clRelacionInsumo.GetRIP]"));
    QVERIFY(state().relationList.isEmpty());
}

void tst_modManejoInsumos::requiredQuantity()
{
    DischargeFixture f;
    MessageRecorder messages;
    RecordingDataObject recorder(f.dischargeData.get());
    state().dataObject = &recorder;
    f.addProduct("CAT", "PRD", 2);
    f.addRelation("CAT", "PRD", "ART1", 1.5);
    f.addRelation("CAT", "PRD", "ART2", 0.123456789);
    f.setSubItem("OP1", 1, "CAT", "PRD", 3);

    QVERIFY(modManejoInsumos::GetRIP());
    // 3 x 2 x 1.5 = 9; the other input rounds to the four decimals of the discharge format.
    QCOMPARE(state().relationList.size(), 2);
    QCOMPARE(state().relationList[0].requiredQuantity, 9.0);
    QCOMPARE(state().relationList[0].relationQuantity, 1.5);
    QCOMPARE(state().relationList[1].requiredQuantity, 0.7407);
    QCOMPARE(recorder.opened.last(),
             localeText("select ARTNRO, RPADES,RIPCAN as oRIPCAN, RIPCAN * cdbl('6') as sRIPCAN,"
                        "RIPMER,RIPPER,TRPMER,TRPPER,DIPOBL from RIP where CATNRO = 'CAT'  and "
                        "PRDNRO = 'PRD'"));

    // In extended mode the same quantity keeps eight decimals.
    state().valueFormat = QStringLiteral("00.00000000");
    QVERIFY(modManejoInsumos::GetRIP());
    QCOMPARE(state().relationList[1].requiredQuantity, 0.74074073);
}

void tst_modManejoInsumos::relationFields()
{
    DischargeFixture f;
    MessageRecorder messages;
    f.addProduct("CAT", "PRD", 1);
    f.addRelation("CAT", "PRD", "ART1", 2, 2.5, 1, 0, 1, 1, "Tela");
    f.setSubItem("OP1", 1, "CAT", "PRD", 1);
    QVERIFY(modManejoInsumos::GetRIP());
    const RipEntry& entry = state().relationList[0];
    QCOMPARE(entry.inputCode, QStringLiteral("ART1"));
    QCOMPARE(entry.description, QStringLiteral("Tela"));
    QCOMPARE(entry.shrinkage, localeText("2.5"));
    QCOMPARE(entry.loss, QStringLiteral("1"));
    QCOMPARE(entry.shrinkageKind, qint16(0));
    QCOMPARE(entry.lossKind, qint16(1));
    QCOMPARE(entry.obligatory, qint16(1));
}

void tst_modManejoInsumos::relationListEmptiedOnFailure()
{
    DischargeFixture f;
    MessageRecorder messages;
    f.addProduct("CAT", "PRD", 1);
    f.addRelation("CAT", "PRD", "ART1", 2);
    f.setSubItem("OP1", 1, "CAT", "PRD", 1);
    QVERIFY(modManejoInsumos::GetRIP());
    QCOMPARE(state().relationList.size(), 1);
    state().PRDNRO = QStringLiteral("OTHER");
    QVERIFY(!modManejoInsumos::GetRIP());
    QVERIFY(state().relationList.isEmpty());
    // The allocation then runs over an empty list and is complete.
    QVERIFY(modManejoInsumos::Obtener_INS_A_DIP());
    QVERIFY(state().candidateLines.isEmpty());
}

void tst_modManejoInsumos::allocation_data()
{
    QTest::addColumn<QList<double>>("available"); // stock lines, oldest first
    QTest::addColumn<double>("required");
    QTest::addColumn<int>("obligatory");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QList<double>>("quantities");
    QTest::addColumn<QList<int>>("statuses");

    QTest::newRow("one line holds exactly the requirement")
        << QList<double>{9} << 9.0 << 0 << true << QList<double>{9} << QList<int>{0};
    QTest::newRow("one line holds more")
        << QList<double>{20} << 9.0 << 0 << true << QList<double>{9} << QList<int>{0};
    // The completing line carries the running total, repeating the earlier lines' quantities.
    QTest::newRow("second line completes exactly")
        << QList<double>{4, 5} << 9.0 << 0 << true << QList<double>{4, 9} << QList<int>{0, 0};
    QTest::newRow("third line completes exactly") << QList<double>{2, 3, 4} << 9.0 << 0 << true
                                                  << QList<double>{2, 3, 9} << QList<int>{0, 0, 0};
    QTest::newRow("second line gives what is missing")
        << QList<double>{4, 10} << 9.0 << 0 << true << QList<double>{4, 5} << QList<int>{0, 0};
    QTest::newRow("exhausted, obligatory")
        << QList<double>{4, 3} << 9.0 << 1 << true << QList<double>{4, 3} << QList<int>{0, 1};
    QTest::newRow("no stock, obligatory")
        << QList<double>{} << 9.0 << 1 << true << QList<double>{0} << QList<int>{2};
    QTest::newRow("exhausted, not obligatory")
        << QList<double>{4, 3} << 9.0 << 0 << false << QList<double>{4, 3} << QList<int>{0, 0};
    QTest::newRow("unrounded stock rounded on the line")
        << QList<double>{1.23456789, 20} << 5.0 << 0 << true << QList<double>{1.2346, 3.7654}
        << QList<int>{0, 0};
}

void tst_modManejoInsumos::allocation()
{
    QFETCH(QList<double>, available);
    QFETCH(double, required);
    QFETCH(int, obligatory);
    QFETCH(bool, result);
    QFETCH(QList<double>, quantities);
    QFETCH(QList<int>, statuses);

    DischargeFixture f;
    MessageRecorder messages;
    QList<Stock> stock;
    for (int i = 0; i < available.size(); ++i)
        stock.append(
            {QStringLiteral("DCL%1").arg(i), QDate(2026, 1, 1).addDays(i), 1, 1, available[i]});
    seed(f, stock);
    state().relationList = {relation("ART1", required, obligatory)};

    QCOMPARE(modManejoInsumos::Obtener_INS_A_DIP(), result);
    const QList<DipCandidate>& lines = state().candidateLines;
    QCOMPARE(lines.size(), quantities.size());
    for (int i = 0; i < lines.size(); ++i) {
        QCOMPARE(lines[i].quantity, quantities[i]);
        QCOMPARE(int(lines[i].allocationStatus), statuses[i]);
        QCOMPARE(lines[i].inputCode, QStringLiteral("ART1"));
    }
    if (!available.isEmpty())
        QCOMPARE(lines[0].declaration, QStringLiteral("DCL0"));
    if (available.isEmpty()) {
        QCOMPARE(lines[0].declaration, QStringLiteral("Sin Stock"));
        QCOMPARE(lines[0].item, qint16(0));
        QCOMPARE(lines[0].subItem, qint16(0));
        QCOMPARE(lines[0].unitPrice, 0.0);
        QVERIFY(lines[0].tariffPosition.isEmpty());
        QVERIFY(lines[0].ctc.isEmpty());
    }
    if (result)
        QVERIFY(messages.messages.isEmpty());
}

void tst_modManejoInsumos::noStockNotObligatory()
{
    DischargeFixture f;
    MessageRecorder messages;
    state().relationList = {relation("ART9", 3)};
    QVERIFY(!modManejoInsumos::Obtener_INS_A_DIP());
    QVERIFY(state().candidateLines.isEmpty());
    QCOMPARE(messages.lastPrompt(),
             QStringLiteral("El articulo ART9 no existe en stock, o no hay disponibilidad."));
    QCOMPARE(messages.lastStyle(), 48);
}

void tst_modManejoInsumos::insufficientStockKeepsLines()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f, {{"D1", QDate(2026, 1, 1), 1, 1, 4}, {"D2", QDate(2026, 2, 1), 1, 1, 3.5}});
    state().relationList = {relation("ART1", 9.25)};
    QVERIFY(!modManejoInsumos::Obtener_INS_A_DIP());
    QCOMPARE(state().candidateLines.size(), 2);
    QCOMPARE(messages.lastPrompt(),
             localeText("Cantidad insuficiente en stock para el insumo ART1, la disponible es "
                        "07.5000 usted necesita 9.25"));
    QCOMPARE(messages.lastStyle(), 48);
}

void tst_modManejoInsumos::unusableStockIsNeverOffered()
{
    DischargeFixture f;
    MessageRecorder messages;
    // An older declaration not authorised, an exhausted line, then the usable one.
    seed(f, {{"OLD", QDate(2025, 1, 1), 1, 1, 50, 0},
             {"USE", QDate(2026, 1, 1), 1, 1, 0},
             {"USE", QDate(2026, 1, 1), 2, 1, 20}});
    state().relationList = {relation("ART1", 5)};
    QVERIFY(modManejoInsumos::Obtener_INS_A_DIP());
    QCOMPARE(state().candidateLines.size(), 1);
    QCOMPARE(state().candidateLines[0].declaration, QStringLiteral("USE"));
    QCOMPARE(state().candidateLines[0].item, qint16(2));
}

void tst_modManejoInsumos::firstFailureStopsTheLoop()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f, {{"D1", QDate(2026, 1, 1), 1, 1, 10}, {"D1", QDate(2026, 1, 1), 2, 1, 10, 1, "ART3"}});
    state().relationList = {relation("ART1", 5), relation("ART2", 5), relation("ART3", 5)};
    QVERIFY(!modManejoInsumos::Obtener_INS_A_DIP());
    QCOMPARE(state().candidateLines.size(), 1);
    QCOMPARE(state().candidateLines[0].inputCode, QStringLiteral("ART1"));
    QCOMPARE(messages.messages.size(), 1);
}

// Stock lines are read in FIFO order only until the requirement is covered: a later line whose
// item does not fit 16 bits is never reached for 5, and stops the allocation for 15 with the
// line built before it still proposed (nothing done before an error is undone).
void tst_modManejoInsumos::stockBeyondCoverageIsNotRead()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f, {{"D1", QDate(2026, 1, 1), 1, 1, 10}, {"D2", QDate(2026, 2, 1), 70000, 1, 10}});
    state().relationList = {relation("ART1", 5)};
    QVERIFY(modManejoInsumos::Obtener_INS_A_DIP());
    QCOMPARE(state().candidateLines.size(), 1);
    QCOMPARE(state().candidateLines[0].quantity, 5.0);
    QVERIFY(messages.messages.isEmpty());

    state().relationList = {relation("ART1", 15)};
    QVERIFY(!modManejoInsumos::Obtener_INS_A_DIP());
    QCOMPARE(state().candidateLines.size(), 1);
    QCOMPARE(state().candidateLines[0].declaration, QStringLiteral("D1"));
    QCOMPARE(state().candidateLines[0].quantity, 10.0);
    QCOMPARE(messages.messages.size(), 1);
    QVERIFY(messages.messages[0].prompt.contains(QStringLiteral("Obtener_RIP_A_DIP")));
    QVERIFY(messages.messages[0].prompt.startsWith(QStringLiteral("Overflow")));
}

void tst_modManejoInsumos::ctcTrimmedAndNullAsEmpty()
{
    DischargeFixture f;
    MessageRecorder messages;
    f.addDeclaration("D1", QDate(2026, 1, 1));
    f.addStock("D1", "ART1", 1, 1, 10, 1, "NCM", "  C 1  ", " EXP ", 2);
    f.addStock("D1", "ART1", 2, 1, 10, 1, "NCM", QString(), QString(), 10);
    state().relationList = {relation("ART1", 5)};
    QVERIFY(modManejoInsumos::Obtener_INS_A_DIP());
    QCOMPARE(state().candidateLines[0].ctc, QStringLiteral("C 1"));
    QCOMPARE(state().candidateLines[0].exportReference, QStringLiteral("EXP"));
    QCOMPARE(state().candidateLines[1].ctc, QString());
    QCOMPARE(state().candidateLines[1].exportReference, QString());
}

void tst_modManejoInsumos::allocationStatementsAreExact()
{
    DischargeFixture f;
    MessageRecorder messages;
    RecordingDataObject recorder(f.dischargeData.get());
    state().dataObject = &recorder;
    seed(f, {{"D1", QDate(2026, 1, 1), 1, 1, 10}});
    state().relationList = {relation("ART1", 5)};
    QVERIFY(modManejoInsumos::Obtener_INS_A_DIP());
    QCOMPARE(recorder.statements,
             QStringList{"select INS.INTDCL as sINTDCL,INTFOF,ARTNRO,ARTITM,ARTSBT,ARTDSC,ARTPRE,"
                         "ARTNCM,ARTCTC,INSEXP from INS, INTINS where ARTNRO = 'ART1' AND INTIOK = "
                         "1 and ARTDSC>0 AND INTINS.INTDCL = INS.INTDCL order by INTFOF,ARTITM,"
                         "ARTSBT asc"});
}

namespace {

// A candidate line of stock line (D1, ART1, item, 1) that the fixture seeded.
DipCandidate candidate(int item, double quantity, const QString& ctc = QStringLiteral("CTC1"))
{
    DipCandidate line;
    line.declaration = QStringLiteral("D1");
    line.inputCode = QStringLiteral("ART1");
    line.item = qint16(item);
    line.subItem = 1;
    line.tariffPosition = QStringLiteral("NCM1");
    line.quantity = quantity;
    line.unitPrice = 1.5;
    line.relationQuantity = 1;
    line.ctc = ctc;
    return line;
}

void seedStockD1(DischargeFixture& f, int lines, double declared)
{
    f.addDeclaration("D1", QDate(2026, 1, 1));
    for (int item = 1; item <= lines; ++item)
        f.addStock("D1", "ART1", item, 1, declared, 1.5, "NCM1", "CTC1");
    f.setSubItem("OP1", 1, "CAT", "PRD", 1);
    moduleState().productMultiplier = 1;
}

// Every row of a table, each as its columns' texts, in the order given.
QStringList tableRows(const QSqlDatabase& database, const QString& table, const QString& order)
{
    QStringList rows;
    QSqlQuery query(database);
    if (!query.exec(u"select * from " + table + u" order by " + order))
        return {query.lastError().text()};
    while (query.next()) {
        QStringList columns;
        for (int i = 0; i < query.record().count(); ++i)
            columns << query.record().fieldName(i) + u'=' + query.value(i).toString();
        rows << columns.join(u'|');
    }
    return rows;
}

// A discharge of three lines over two stock lines, written and refreshed through what the
// module state has bound; the discharge and stock tables after it.
QStringList dischargeThree(DischargeFixture& f)
{
    DipCandidate third = candidate(2, 0.125, QStringLiteral("ñandú ?"));
    third.shrinkage = 2.5;
    third.loss = 1.25;
    third.shrinkageKind = 1;
    third.obligatory = 1;
    third.exportReference = QStringLiteral("EXP");
    state().productMultiplier = 1.5;
    state().candidateLines = {candidate(1, 12.3456), candidate(1, 0.5), third};
    if (!modManejoInsumos::AgregarDIP() || !modManejoInsumos::RefrescarINS())
        return {QStringLiteral("failed")};
    return tableRows(f.discharge(), QStringLiteral("DIP"), QStringLiteral("ARTITM, DIPCAN")) +
           tableRows(f.discharge(), QStringLiteral("INS"), QStringLiteral("ARTITM"));
}

// dischargeThree on a fixture of its own through its own data object, with anything said or
// left inconsistent after the rows; the object's sql() after it in sqlAfter.
QStringList dischargeThreeThroughOwnObject(QString& sqlAfter)
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 2, 30);
    QStringList rows = dischargeThree(f);
    if (!messages.messages.isEmpty())
        rows << QStringLiteral("a message was shown");
    rows << f.stockInvariantViolations();
    sqlAfter = f.dischargeData->sql();
    return rows;
}

// A data object of the fixture's kind that a host derived to see each text it runs.
template <typename Base> class SeeingDataObject : public Base
{
public:
    using Base::Base;
    bool open(Recordset& rs) override
    {
        texts << this->sql();
        return Base::open(rs);
    }
    qint32 execute() override
    {
        texts << this->sql();
        return Base::execute();
    }
    QStringList texts;
};

} // namespace

void tst_modManejoInsumos::sinStockLineInsertsNoRow()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 1, 100);
    DipCandidate none = candidate(0, 0, QString());
    none.declaration = QStringLiteral("Sin Stock");
    none.allocationStatus = AllocationNoStock;
    state().candidateLines = {candidate(1, 10), none};
    QVERIFY(modManejoInsumos::AgregarDIP());
    QCOMPARE(f.dischargeRowCount(), 1);
    QCOMPARE(f.dischargeRowCount("ARTDCL = 'Sin Stock'"), 0);
}

void tst_modManejoInsumos::realQuantity_data()
{
    QTest::addColumn<bool>("subtract");
    QTest::addColumn<double>("shrinkage");
    QTest::addColumn<int>("shrinkageKind");
    QTest::addColumn<double>("loss");
    QTest::addColumn<int>("lossKind");
    QTest::addColumn<double>("expected");
    // 2 % of 50 is 1, plus an absolute loss of 1.
    QTest::newRow("subtracted") << true << 2.0 << 0 << 1.0 << 1 << 48.0;
    QTest::newRow("not subtracted") << false << 2.0 << 0 << 1.0 << 1 << 50.0;
    QTest::newRow("both absolute") << true << 2.0 << 1 << 1.0 << 1 << 47.0;
    QTest::newRow("both percent") << true << 2.0 << 0 << 1.0 << 0 << 48.5;
    QTest::newRow("rounded to four decimals") << true << 0.33333 << 0 << 0.0 << 0 << 49.8333;
}

void tst_modManejoInsumos::realQuantity()
{
    QFETCH(bool, subtract);
    QFETCH(double, shrinkage);
    QFETCH(int, shrinkageKind);
    QFETCH(double, loss);
    QFETCH(int, lossKind);
    QFETCH(double, expected);
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 1, 100);
    state().Restar_PerMer = subtract;
    DipCandidate line = candidate(1, 50);
    line.shrinkage = shrinkage;
    line.shrinkageKind = qint16(shrinkageKind);
    line.loss = loss;
    line.lossKind = qint16(lossKind);
    state().candidateLines = {line};
    QVERIFY(modManejoInsumos::AgregarDIP());
    QCOMPARE(f.scalar("select RALCAN from DIP").toDouble(), expected);
    QCOMPARE(f.scalar("select DIPCAN from DIP").toDouble(), 50.0);
}

void tst_modManejoInsumos::insertWritesValuesUnderTheLocale()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 1, 100);
    state().productMultiplier = 1.5;
    DipCandidate line = candidate(1, 12.3456);
    line.unitPrice = 0.1234567;
    line.shrinkage = 2.5;
    line.loss = 1.25;
    line.shrinkageKind = 1;
    line.obligatory = 1;
    line.exportReference = QStringLiteral("EXP");
    state().candidateLines = {line};
    QVERIFY(modManejoInsumos::AgregarDIP());
    QSqlQuery query(f.discharge());
    QVERIFY(query.exec("select EXTINT, EXTSBT, ARTPRE, PRDMUL, TRPMER, DIPOBL, DIPCAN, RIPMER, "
                       "RIPPER, DIPFEC, DIPUSR, " +
                       FixtureDatabase::typeOf(QStringLiteral("DIPCAN")) + ", " +
                       FixtureDatabase::typeOf(QStringLiteral("PRDMUL")) + ", " +
                       FixtureDatabase::typeOf(QStringLiteral("TRPMER")) +
                       ", DIPEXP, CATNRO, PRDNRO, ARTNCM from DIP"));
    QVERIFY(query.next());
    QCOMPARE(query.value(0).toString(), QStringLiteral("OP1"));
    QCOMPARE(query.value(1).toInt(), 1);
    QCOMPARE(query.value(2).toDouble(), 0.1234567);
    QCOMPARE(query.value(3).toDouble(), 1.5);
    QCOMPARE(query.value(4).toInt(), 1);
    QCOMPARE(query.value(5).toInt(), 1);
    QCOMPARE(query.value(6).toDouble(), 12.3456);
    QCOMPARE(query.value(7).toDouble(), 2.5);
    QCOMPARE(query.value(8).toDouble(), 1.25);
    QCOMPARE(query.value(9).toString(), QDate::currentDate().toString(Qt::ISODate));
    QCOMPARE(query.value(10).toString(), QString());
    QCOMPARE(query.value(11).toString(), FixtureDatabase::realTypeName());
    QCOMPARE(query.value(12).toString(), FixtureDatabase::realTypeName());
    QCOMPARE(query.value(13).toString(), FixtureDatabase::wholeTypeName());
    QCOMPARE(query.value(14).toString(), QStringLiteral("EXP"));
    QCOMPARE(query.value(15).toString(), QStringLiteral("CAT"));
    QCOMPARE(query.value(16).toString(), QStringLiteral("PRD"));
    QCOMPARE(query.value(17).toString(), QStringLiteral("NCM1"));
}

void tst_modManejoInsumos::exactlyExhaustedStock()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 1, 30);
    state().candidateLines = {candidate(1, 12.5), candidate(1, 17.5)};
    QVERIFY(modManejoInsumos::AgregarDIP());
    QVERIFY(modManejoInsumos::RefrescarINS());
    QVERIFY(messages.messages.isEmpty());
    QCOMPARE(f.available("D1", "ART1", 1, 1), 0.0);
    QVERIFY(f.stockInvariantViolations().isEmpty());
}

void tst_modManejoInsumos::inconsistentStockIsRefused()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 1, 30);
    state().candidateLines = {candidate(1, 20), candidate(1, 10.5)};
    QVERIFY(modManejoInsumos::AgregarDIP());
    QVERIFY(!modManejoInsumos::RefrescarINS());
    const QString expected =
        QStringLiteral("ERROR inconsistencia en la cantidad total disponible del insumo.\r\n"
                       "La cantidad disponible de este insumo es de 30\r\n"
                       "en la tabla de descuentos se encontro la suma de %1 afectadas en esta y "
                       "otra/s operaciones.\r\n"
                       "El insumo es:\r\nDeclaracion Nro:D1\r\nCodigo Insumo:ART1\r\nNro "
                       "Item:1\r\nNro Subitem:1")
            .arg(localeText("30.5000"));
    QCOMPARE(messages.lastPrompt(),
             errorPrompt(expected, UserDefinedError,
                         " - Seccion [oTORVANE.modManejoInsumos.RefrescarINS]"));
    // Nothing was rewritten.
    QCOMPARE(f.available("D1", "ART1", 1, 1), 30.0);
}

void tst_modManejoInsumos::emptySumGivesStockBack()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 2, 30);
    state().candidateLines = {candidate(1, 10), candidate(2, 5)};
    QVERIFY(modManejoInsumos::AgregarDIP());
    QVERIFY(modManejoInsumos::RefrescarINS());
    QCOMPARE(f.available("D1", "ART1", 1, 1), 20.0);
    QCOMPARE(f.available("D1", "ART1", 2, 1), 25.0);

    // Reload, delete and refresh: the sums are empty and count as 0.
    QVERIFY(modManejoInsumos::Generar_DIP_A_ARR());
    QCOMPARE(state().candidateLines.size(), 2);
    QVERIFY(modManejoInsumos::EliminarDIP());
    QVERIFY(modManejoInsumos::RefrescarINS());
    QCOMPARE(f.dischargeRowCount(), 0);
    QCOMPARE(f.available("D1", "ART1", 1, 1), 30.0);
    QCOMPARE(f.available("D1", "ART1", 2, 1), 30.0);
    QVERIFY(f.stockInvariantViolations().isEmpty());
}

void tst_modManejoInsumos::refreshPassesOverSinStock()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 1, 30);
    DipCandidate none = candidate(0, 0, QString());
    none.declaration = QStringLiteral("Sin Stock");
    none.allocationStatus = AllocationNoStock;
    state().candidateLines = {none, candidate(1, 4)};
    QVERIFY(modManejoInsumos::AgregarDIP());
    QVERIFY(modManejoInsumos::RefrescarINS());
    QVERIFY(messages.messages.isEmpty());
    QCOMPARE(f.available("D1", "ART1", 1, 1), 26.0);
}

void tst_modManejoInsumos::errorMidInsertKeepsEarlierRows()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 3, 30);
    RecordingDataObject recorder(f.dischargeData.get());
    state().dataObject = &recorder;
    state().candidateLines = {candidate(1, 1), candidate(2, 2), candidate(3, 3)};
    recorder.failExecuteAt(2);
    QVERIFY(!modManejoInsumos::AgregarDIP());
    // No transaction: the first row stays written, the third was never tried.
    QCOMPARE(f.dischargeRowCount(), 1);
    QCOMPARE(f.dischargeRowCount("ARTITM = 1"), 1);
    QCOMPARE(recorder.executed.size(), 1);
    QVERIFY(recorder.failedStatement.contains(QStringLiteral("'D1','ART1',2,1,")));
    QCOMPARE(messages.messages.size(), 1);
    QCOMPARE(messages.lastPrompt(),
             errorPrompt("disk I/O error", DatabaseError,
                         " - Seccion [oTORVANE.modManejoInsumos.AgregarDIP]"));
    QCOMPARE(messages.lastStyle(), 16);
}

void tst_modManejoInsumos::quoteInCtcRunsNothing()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 2, 30);
    RecordingDataObject recorder(f.dischargeData.get());
    state().dataObject = &recorder;
    state().candidateLines = {candidate(1, 1, QStringLiteral("A'B"))};
    QVERIFY(!modManejoInsumos::AgregarDIP());
    QVERIFY(recorder.statements.isEmpty());
    QCOMPARE(f.dischargeRowCount(), 0);
    QVERIFY(messages.lastPrompt().contains(QStringLiteral("[A'B]")));
    QVERIFY(messages.lastPrompt().endsWith(
        QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.AgregarDIP]")));
}

void tst_modManejoInsumos::reloadSubItemLines()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 2, 30);
    state().candidateLines = {candidate(1, 1.25), candidate(2, 2)};
    QVERIFY(modManejoInsumos::AgregarDIP());
    // Another sub-item's lines are not reloaded.
    state().SUBITEM = 2;
    state().candidateLines = {candidate(1, 7)};
    QVERIFY(modManejoInsumos::AgregarDIP());
    state().SUBITEM = 1;
    QVERIFY(modManejoInsumos::Generar_DIP_A_ARR());
    QCOMPARE(state().candidateLines.size(), 2);
    QCOMPARE(state().candidateLines[0].declaration, QStringLiteral("D1"));
    QCOMPARE(state().candidateLines[0].quantity, 1.25);
    QCOMPARE(state().candidateLines[1].item, qint16(2));
    // None: the list is empty and still true.
    state().SUBITEM = 9;
    QVERIFY(modManejoInsumos::Generar_DIP_A_ARR());
    QVERIFY(state().candidateLines.isEmpty());
}

void tst_modManejoInsumos::readTotals()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 2, 30);
    DipCandidate first = candidate(1, 1.23456);
    first.unitPrice = 2.5;
    state().candidateLines = {first, candidate(2, 2)};
    QVERIFY(modManejoInsumos::AgregarDIP());
    modManejoInsumos::readDischargeTotals();
    // DIPCAN 1.2346 + 2; CIF 1.2346 x 2.5 + 2 x 1.5 = 6.0865
    QCOMPARE(state().CantidadDescontada, 3.2346);
    QCOMPARE(state().CIFDescontado, 6.0865);
    // A sub-item without lines: the null sums are 0.
    state().SUBITEM = 5;
    modManejoInsumos::readDischargeTotals();
    QCOMPARE(state().CantidadDescontada, 0.0);
    QCOMPARE(state().CIFDescontado, 0.0);
}

void tst_modManejoInsumos::ownAndHostObjectsWriteTheSame()
{
    // The component's own object runs the loop's statements shared, without their text; a
    // host's object is handed each text. Both must leave the same rows.
    QString sqlAfter;
    const QStringList own = dischargeThreeThroughOwnObject(sqlAfter);
    // No text was set for the shared statements, the last of which was a refresh.
    QVERIFY(sqlAfter.isEmpty());
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 2, 30);
    RecordingDataObject recorder(f.dischargeData.get());
    state().dataObject = &recorder;
    const QStringList host = dischargeThree(f);
    QVERIFY(messages.messages.isEmpty());
    QCOMPARE(recorder.executed.size(), 6); // three inserts, a refresh for each line
    QVERIFY(recorder.executed.first().startsWith(QStringLiteral("insert into DIP (")));
    QCOMPARE(own.size(), 5);
    QCOMPARE(own, host);
}

void tst_modManejoInsumos::failedStatementLeavesItsText()
{
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 1, 30);
    state().candidateLines = {candidate(1, 1)};
    // The insert is prepared and kept by a first run, then its table goes.
    QVERIFY(modManejoInsumos::AgregarDIP());
    QSqlQuery query(f.discharge());
    QVERIFY(query.exec(QStringLiteral("drop table DIP")));
    QVERIFY(!modManejoInsumos::AgregarDIP());
    QCOMPARE(messages.messages.size(), 1);
    const QString text = f.dischargeData->sql();
    QVERIFY2(text.startsWith(QStringLiteral("insert into DIP (")), qPrintable(text));
    QVERIFY2(text.contains(QStringLiteral(",'D1','ART1',1,1,")), qPrintable(text));
}

void tst_modManejoInsumos::derivedObjectSeesTheText()
{
    // A host's class derived from the component's own object is a host's object: its open()
    // and execute() run, and see each text.
    QString sqlAfter;
    const QStringList own = dischargeThreeThroughOwnObject(sqlAfter);
    DischargeFixture f;
    MessageRecorder messages;
    seedStockD1(f, 2, 30);
    std::unique_ptr<DataObject> derived;
    QStringList* texts = nullptr;
    if (dynamic_cast<SqlDataObject*>(f.dischargeData.get())) {
        auto object = std::make_unique<SeeingDataObject<SqlDataObject>>(f.discharge());
        texts = &object->texts;
        derived = std::move(object);
    } else {
        auto object = std::make_unique<SeeingDataObject<PgDataObject>>(f.discharge());
        texts = &object->texts;
        derived = std::move(object);
    }
    state().dataObject = derived.get();
    QCOMPARE(dischargeThree(f), own);
    // Three inserts, then for each line its stock line's sum, quantity and refresh.
    QCOMPARE(texts->size(), 12);
    QVERIFY(texts->first().startsWith(QStringLiteral("insert into DIP (")));
    QVERIFY(texts->first().contains(QStringLiteral(",'D1','ART1',1,1,")));
    QVERIFY(texts->at(3).startsWith(QStringLiteral("select sum(DIPCAN) as total from DIP")));
    QVERIFY(texts->last().startsWith(QStringLiteral("update INS set ARTDSC = format(")));
    state().dataObject = f.dischargeData.get();
}

QTEST_GUILESS_MAIN(tst_modManejoInsumos)
#include "tst_modManejoInsumos.moc"
