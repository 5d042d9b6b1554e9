#include "AuditRows.h"
#include "DischargeFixture.h"
#include "LocaleText.h"
#include "MessageRecorder.h"
#include "RecordingDataObject.h"

#include <oquivran/oquivran.h>

#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>

#include <functional>

using namespace oquivran;

namespace {

// Discharge lines of operation interno: (sub-item, declaration, input, item, sub, RALCAN).
void addLine(DischargeFixture& f, const QString& interno, int subItem, const QString& declaration,
             int item, double real, const QString& ctc = QStringLiteral("CTC1"))
{
    DischargeFixture::run(
        f.discharge(),
        "insert into DIP (EXTINT, EXTSBT, ARTDCL, ARTNRO, ARTITM, ARTSBT, ARTNCM, "
        "DIPCAN, RALCAN, DIPCTC, DIPEXP, CATNRO, PRDNRO) values (?, ?, ?, 'ART1', "
        "?, 1, 'NCM1', ?, ?, ?, 'EXP', 'CAT', 'PRD')",
        {interno, subItem, declaration, item, real, real, ctc});
}

void seed(DischargeFixture& f)
{
    f.addDeclaration("OLD", QDate(2025, 3, 1));
    f.addDeclaration("NEW", QDate(2026, 3, 1));
    addLine(f, "OP1", 1, "NEW", 1, 2.5);
    addLine(f, "OP1", 1, "OLD", 1, 1.004);
    addLine(f, "OP1", 2, "NEW", 1, 1.5);
    addLine(f, "OP1", 3, "OLD", 2, 7);
    addLine(f, "OP2", 1, "NEW", 1, 9);
    moduleState().INTERNO = QStringLiteral("OP1");
}

QList<int> items(DischargeFixture& f, const QString& interno)
{
    QList<int> result;
    QSqlQuery query(f.discharge());
    query.exec("select EXTITM from DIP where EXTINT = '" + interno + "' order by EXTSBT, ARTDCL");
    while (query.next())
        result << query.value(0).toInt();
    return result;
}

} // namespace

class tst_ItemNumbering : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void groupUsesTheModuleOperation();
    void groupBlankListDoesNothing();
    void groupListEndingInSeparatorFails();
    void resetClearsOnlyTheOperation();
    void numberStampsGroupMembers();
    void numberStopsAtSubItemWithoutLines();
    void numberEmptyListRunsNothing();
    void numberListEndingInSeparatorFails();
    void inputsOfAnItem();
    void inputsOfItemWithoutLines();
    void failuresShowTextLineBreakAndLabel();
    void numberingWithTheTrailRecordsEachChange();
};

void tst_ItemNumbering::groupUsesTheModuleOperation()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    clQUIVRAN component;
    QVERIFY(component.EnviarGrupoIdSub(QStringLiteral("OP2"), QStringLiteral("1"),
                                       QStringLiteral("2|3")));
    QCOMPARE(f.scalar("select count(*) from DIP where EXTINT = 'OP1' and idroot = 1").toInt(), 2);
    QCOMPARE(f.scalar("select count(*) from DIP where EXTINT = 'OP2' and idroot = 1").toInt(), 0);
    QVERIFY(messages.messages.isEmpty());
}

void tst_ItemNumbering::groupBlankListDoesNothing()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    RecordingDataObject recorder(f.dischargeData.get());
    moduleState().dataObject = &recorder;
    clQUIVRAN component;
    QVERIFY(component.EnviarGrupoIdSub(QString(), QStringLiteral("1"), QStringLiteral("   ")));
    QVERIFY(recorder.statements.isEmpty());
}

void tst_ItemNumbering::groupListEndingInSeparatorFails()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    RecordingDataObject recorder(f.dischargeData.get());
    moduleState().dataObject = &recorder;
    clQUIVRAN component;
    QVERIFY(!component.EnviarGrupoIdSub(QString(), QStringLiteral("1"), QStringLiteral("2|")));
    QCOMPARE(recorder.executed.size(), 2);
    QCOMPARE(recorder.statements.last(),
             QStringLiteral("update DIP set idroot = 1 where EXTSBT =  and EXTINT = 'OP1'"));
    QCOMPARE(messages.messages.size(), 1);
    QCOMPARE(messages.lastStyle(), 16);
    QVERIFY(
        messages.lastPrompt().endsWith(QStringLiteral(" - seccion [cQUIVRAN.EnviarGroupIdSub]::")));
    // The element before the empty one stays grouped, unless the grouping is one unit.
    QCOMPARE(f.scalar("select idroot from DIP where EXTINT = 'OP1' and EXTSBT = 2").toInt(),
             DischargeFixture::atomicVariant() ? 0 : 1);
}

void tst_ItemNumbering::resetClearsOnlyTheOperation()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    DischargeFixture::run(f.discharge(), "update DIP set EXTITM = 5");
    clQUIVRAN component;
    QVERIFY(component.ResetIdItems());
    QCOMPARE(items(f, "OP1"), (QList<int>{0, 0, 0, 0}));
    QCOMPARE(items(f, "OP2"), (QList<int>{5}));
}

void tst_ItemNumbering::numberStampsGroupMembers()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    clQUIVRAN component;
    QVERIFY(component.EnviarGrupoIdSub(QString(), QStringLiteral("1"), QStringLiteral("2")));
    QVERIFY(component.ResetIdItems());
    QVERIFY(component.EnviarNroItem(1, QStringLiteral("1")));
    QVERIFY(component.EnviarNroItem(2, QStringLiteral("3")));
    // Sub-item 2 is grouped under 1 and gets item 1 with it.
    QCOMPARE(items(f, "OP1"), (QList<int>{1, 1, 1, 2}));
    QVERIFY(messages.messages.isEmpty());
}

void tst_ItemNumbering::numberStopsAtSubItemWithoutLines()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    clQUIVRAN component;
    QVERIFY(!component.EnviarNroItem(4, QStringLiteral("1|9|3")));
    QCOMPARE(messages.messages.size(), 1);
    QCOMPARE(messages.lastPrompt(),
             QStringLiteral("ERROR: No se encontro el registro en stock de insumos\r\n INTERNO: "
                            "OP1\r\nID SUBIT: 9\r\nSe cancelara el proceso."));
    QCOMPARE(messages.lastStyle(), 16);
    // Stamped before the missing one, not after it; as one unit, none stays stamped.
    QCOMPARE(items(f, "OP1"),
             (DischargeFixture::atomicVariant() ? QList<int>{0, 0, 0, 0} : QList<int>{4, 4, 0, 0}));
}

void tst_ItemNumbering::numberEmptyListRunsNothing()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    RecordingDataObject recorder(f.dischargeData.get());
    moduleState().dataObject = &recorder;
    clQUIVRAN component;
    QVERIFY(!component.EnviarNroItem(1, QString()));
    QVERIFY(recorder.statements.isEmpty());
    QVERIFY(messages.messages.isEmpty());
}

void tst_ItemNumbering::numberListEndingInSeparatorFails()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    clQUIVRAN component;
    QVERIFY(!component.EnviarNroItem(3, QStringLiteral("2|")));
    QCOMPARE(messages.messages.size(), 1);
    QVERIFY(messages.lastPrompt().endsWith(
        QStringLiteral(" - seccion [oQUIVRAN.clQUIVRAN.EnviarNroItem]")));
    QCOMPARE(items(f, "OP1"),
             (DischargeFixture::atomicVariant() ? QList<int>{0, 0, 0, 0} : QList<int>{0, 0, 3, 0}));
}

void tst_ItemNumbering::inputsOfAnItem()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    addLine(f, "OP1", 2, "OLD", 1, 0.5);
    clQUIVRAN component;
    QVERIFY(component.EnviarNroItem(1, QStringLiteral("1|2")));
    Recordset rs;
    QVERIFY(component.Obtener_Insumos(1, rs));
    // One row per declaration and input line, oldest official date first, the real quantity
    // summed and formatted as text.
    QCOMPARE(rs.recordCount(), 2);
    QCOMPARE(rs.value("ARTDCL").toString(), QStringLiteral("OLD"));
    QCOMPARE(rs.value("RALCAN").toString(), localeText("01.50"));
    QCOMPARE(rs.value("ralcan").typeId(), int(QMetaType::QString));
    QCOMPARE(rs.value("DIPCTC").toString(), QStringLiteral("CTC1"));
    QCOMPARE(rs.value("DIPEXP").toString(), QStringLiteral("EXP"));
    QCOMPARE(rs.value("ARTNCM").toString(), QStringLiteral("NCM1"));
    rs.moveNext();
    QCOMPARE(rs.value("ARTDCL").toString(), QStringLiteral("NEW"));
    QCOMPARE(rs.value("RALCAN").toString(), localeText("04.00"));
    rs.moveNext();
    QVERIFY(rs.eof());
}

void tst_ItemNumbering::inputsOfItemWithoutLines()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    clQUIVRAN component;
    Recordset rs;
    rs.setFieldNames({QStringLiteral("old")});
    rs.appendRow({1});
    QVERIFY(component.Obtener_Insumos(7, rs));
    QCOMPARE(rs.recordCount(), 0);
    QVERIFY(rs.eof());
    QVERIFY(rs.fieldNames().contains(QStringLiteral("RALCAN")));
    QVERIFY(messages.messages.isEmpty());
}

void tst_ItemNumbering::failuresShowTextLineBreakAndLabel()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    // Without the discharge lines' table every member's statement fails.
    QSqlQuery drop(f.discharge());
    QVERIFY2(drop.exec(QStringLiteral("drop table DIP")), qPrintable(drop.lastError().text()));
    clQUIVRAN component;
    Recordset rs;
    const QList<std::pair<std::function<bool()>, QString>> members = {
        {[&] { return component.EnviarGrupoIdSub(QString(), "1", "2"); },
         " - seccion [cQUIVRAN.EnviarGroupIdSub]::"},
        {[&] { return component.ResetIdItems(); }, " - seccion [oQUIVRAN.clQUIVRAN_ResetIdITtems]"},
        {[&] { return component.EnviarNroItem(1, "1"); },
         " - seccion [oQUIVRAN.clQUIVRAN.EnviarNroItem]"},
        {[&] { return component.Obtener_Insumos(1, rs); },
         " - seccion [oQUIVRAN.clQUIVRAN.Obtener_Insumos]"},
    };
    for (const auto& [member, label] : members) {
        messages.messages.clear();
        QVERIFY(!member());
        QCOMPARE(messages.messages.size(), 1);
        QCOMPARE(messages.lastStyle(), 16);
        // The error's text, one line break, the label: no error number, no empty line.
        const QStringList parts = messages.lastPrompt().split(QStringLiteral("\r\n"));
        QCOMPARE(parts.size(), 2);
        QVERIFY2(parts[0].contains(QStringLiteral("DIP"), Qt::CaseInsensitive),
                 qPrintable(parts[0]));
        QCOMPARE(parts[1], label);
    }
}

// With the trail on, each line whose group root or item changes gets a row with the value before
// and after; a line that already holds the value, and a numbering undone, get none.
void tst_ItemNumbering::numberingWithTheTrailRecordsEachChange()
{
    DischargeFixture f;
    MessageRecorder messages;
    seed(f);
    auditrows::create(f);
    DischargeFixture::run(f.discharge(),
                          "update DIP set EXTITM = 5 where EXTINT = 'OP1' and EXTSBT = 3");
    setAtomicWrites(true);
    QVERIFY(setAuditTrail(true, QStringLiteral("Op")));
    clQUIVRAN component;
    QVERIFY(component.EnviarGrupoIdSub(QString(), QStringLiteral("1"), QStringLiteral("2")));
    QVERIFY(component.ResetIdItems());
    QVERIFY(component.EnviarNroItem(1, QStringLiteral("1")));
    QVERIFY(component.EnviarNroItem(2, QStringLiteral("3")));
    // Sub-item 9 has no lines: the numbering is undone, and so are its rows.
    QVERIFY(!component.EnviarNroItem(4, QStringLiteral("1|9")));
    QCOMPARE(messages.messages.size(), 1);
    setAuditTrail(false);
    setAtomicWrites(false);

    // The rows of one statement come in no set order: sorted by what they say.
    QCOMPARE(auditrows::rows(f, QStringLiteral("AUDQUE, AUDVAN, EXTSBT, INTDCL, AUDNRO")),
             (QStringList{
                 "DIP.EXTITM|OP1|3|OLD|ART1|2|1|Op|7|7|5|0",
                 "DIP.EXTITM|OP1|1|NEW|ART1|1|1|Op|2.5|2.5|0|1",
                 "DIP.EXTITM|OP1|1|OLD|ART1|1|1|Op|1.004|1.004|0|1",
                 "DIP.EXTITM|OP1|2|NEW|ART1|1|1|Op|1.5|1.5|0|1",
                 "DIP.EXTITM|OP1|3|OLD|ART1|2|1|Op|7|7|0|2",
                 "DIP.idroot|OP1|2|NEW|ART1|1|1|Op|1.5|1.5|null|1",
             }));
    QCOMPARE(items(f, "OP1"), (QList<int>{1, 1, 1, 2}));
}

QTEST_GUILESS_MAIN(tst_ItemNumbering)
#include "tst_ItemNumbering.moc"
