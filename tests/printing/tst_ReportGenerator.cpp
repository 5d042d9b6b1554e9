#include "DischargeFixture.h"
#include "LocaleText.h"
#include "MessageRecorder.h"
#include "PrintingData.h"
#include "RecordingDataObject.h"

#include "ComparativeReport.h"
#include "ControlReport.h"
#include "DeclarationReport.h"
#include "LocaleRules.h"
#include "ModuleState.h"
#include "ReportGenerator.h"

#include <QtTest>

#include <memory>
#include <optional>

using namespace oquivran;
using namespace printingdata;

namespace {

enum class Report { Declaration, Control, Comparative };

std::unique_ptr<ReportKind> kindOf(Report report)
{
    switch (report) {
    case Report::Declaration:
        return std::make_unique<DeclarationReport>();
    case Report::Control:
        return std::make_unique<ControlReport>();
    case Report::Comparative:
        break;
    }
    return std::make_unique<ComparativeReport>();
}

bool generate(Report report)
{
    return ReportGenerator(*kindOf(report)).GenerarOM();
}

// The lines of the buffer that start with text.
QStringList linesStartingWith(const QString& text)
{
    QStringList found;
    for (const ReportLine& line : moduleState().reportLines) {
        if (line.text.startsWith(text))
            found.append(line.text);
    }
    return found;
}

int indexOfLine(const QString& text)
{
    const QList<ReportLine>& lines = moduleState().reportLines;
    for (int i = 0; i < lines.size(); ++i) {
        if (lines.at(i).text == text)
            return i;
    }
    return -1;
}

} // namespace

Q_DECLARE_METATYPE(Report)

// Whose data objects a report reads through: the component's own, which run its statements
// built shared, or a host's, which is given each statement's text.
enum class Objects { Own, Host };
Q_DECLARE_METATYPE(Objects)

class tst_ReportGenerator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void wholeReports_data();
    void wholeReports();
    void singleSubItemIsNumberedZero_data();
    void singleSubItemIsNumberedZero();
    void subItemWithoutLinesAddsNothing();
    void longDeclarationIsCut_data();
    void longDeclarationIsCut();
    void extendedModeWidensRulesAndDecimals_data();
    void extendedModeWidensRulesAndDecimals();
    void lossAndShrinkageByKind();
    void controlListingPrintsEveryLine();
    void groupedSubItemPrintsUnderBothHeadings();
    void comparativeTransferredNeverBelowOneHundredth();
    void comparativeZeroRealQuantity();
    void closingBlockKinds_data();
    void closingBlockKinds();
    void operationWithoutItemsGivesEmptyBuffer_data();
    void operationWithoutItemsGivesEmptyBuffer();
    void failingSubItemStopsWithMessage();
    void walkErrorIsReported();
    void queriesGoThroughTheirDataObjects();
    void quantityFormatOfDischargeMoment();

private:
    std::unique_ptr<DischargeFixture> m_db;
    std::unique_ptr<MessageRecorder> m_messages;
};

void tst_ReportGenerator::init()
{
    m_messages.reset();
    m_db.reset();
    m_db = std::make_unique<DischargeFixture>();
    m_messages = std::make_unique<MessageRecorder>();
    QVERIFY(m_db->isOpen());
    seed(*m_db);
    printingFormats(QStringLiteral("N"));
}

void tst_ReportGenerator::wholeReports_data()
{
    QTest::addColumn<Report>("report");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<Objects>("objects");
    QTest::addColumn<QString>("expected");
    const std::pair<Report, const char*> reports[] = {{Report::Declaration, "declaration"},
                                                      {Report::Control, "control"},
                                                      {Report::Comparative, "comparative"}};
    const std::pair<QString, const char*> modes[] = {{QStringLiteral("N"), "normal"},
                                                     {QStringLiteral("S"), "extended"}};
    for (const auto& [report, name] : reports) {
        for (const auto& [mode, modeName] : modes) {
            const QString expected = QStringLiteral("%1_%2.txt").arg(name, modeName);
            QTest::addRow("%s %s", name, modeName) << report << mode << Objects::Own << expected;
            QTest::addRow("%s %s, host's objects", name, modeName)
                << report << mode << Objects::Host << expected;
        }
    }
}

void tst_ReportGenerator::wholeReports()
{
    QFETCH(Report, report);
    QFETCH(QString, mode);
    QFETCH(Objects, objects);
    QFETCH(QString, expected);
    printingFormats(mode);
    RecordingDataObject discharge(m_db->dischargeData.get());
    RecordingDataObject host(m_db->hostData.get());
    std::optional<DischargeFixture::Bound> bound;
    if (objects == Objects::Host)
        bound.emplace(*m_db, &discharge, &host);
    QVERIFY(generate(report));
    QVERIFY(m_messages->messages.isEmpty());
    compareBufferWithExpected(expected);
    // The host's objects were given every statement as text; the own ones none.
    QCOMPARE(host.opened.isEmpty(), objects == Objects::Own);
    QCOMPARE(discharge.opened.isEmpty(), objects == Objects::Own);
}

void tst_ReportGenerator::singleSubItemIsNumberedZero_data()
{
    QTest::addColumn<Report>("report");
    QTest::addColumn<QString>("prefix");
    QTest::newRow("declaration") << Report::Declaration << "PROD-A - ";
    QTest::newRow("control") << Report::Control << "";
    QTest::newRow("comparative") << Report::Comparative << "";
}

void tst_ReportGenerator::singleSubItemIsNumberedZero()
{
    QFETCH(Report, report);
    QFETCH(QString, prefix);
    QVERIFY(generate(report));
    const QStringList headings =
        linesStartingWith(prefix.isEmpty() ? QStringLiteral("ITEM: ") : QStringLiteral("PROD-"));
    const QStringList expected = {
        // One sub-item: 0000; two: 0001 and 0002; sub-item 5 of item 3 has no lines.
        localeText(prefix + "ITEM: 0001 - SBIT: 0000 - Cantidad declarada: 100.00"),
        localeText(QString(prefix).replace("PROD-A", "PROD-B") +
                   "ITEM: 0002 - SBIT: 0001 - Cantidad declarada: 50.00"),
        localeText(QString(prefix).replace("PROD-A", "PROD-C") +
                   "ITEM: 0002 - SBIT: 0002 - Cantidad declarada: 25.50"),
        localeText(QString(prefix).replace("PROD-A", "PROD-D") +
                   "ITEM: 0003 - SBIT: 0001 - Cantidad declarada: 12.35"),
    };
    QCOMPARE(headings, expected);
}

void tst_ReportGenerator::subItemWithoutLinesAddsNothing()
{
    QVERIFY(generate(Report::Declaration));
    // 100 + 50 + 25.50 + 12.35; sub-item 5 (8) has no lines.
    QCOMPARE(moduleState().reportTotals.declaredQuantity, 187.85);
    QVERIFY(linesStartingWith(QStringLiteral("PROD-E")).isEmpty());
    QVERIFY(linesStartingWith(QStringLiteral("PROD-F")).isEmpty());
}

void tst_ReportGenerator::longDeclarationIsCut_data()
{
    QTest::addColumn<Report>("report");
    QTest::newRow("declaration") << Report::Declaration;
    QTest::newRow("control") << Report::Control;
    QTest::newRow("comparative") << Report::Comparative;
}

void tst_ReportGenerator::longDeclarationIsCut()
{
    QFETCH(Report, report);
    QVERIFY(generate(report));
    const QStringList lines = linesStartingWith(longDeclaration.left(16));
    QVERIFY(!lines.isEmpty());
    for (const QString& line : lines)
        QCOMPARE(line.mid(16, 1), QStringLiteral(" "));
    QVERIFY(linesStartingWith(longDeclaration).isEmpty());
}

void tst_ReportGenerator::extendedModeWidensRulesAndDecimals_data()
{
    QTest::addColumn<Report>("report");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("ruleLength");
    QTest::addColumn<QString>("quantity");
    QTest::newRow("declaration normal") << Report::Declaration << "N" << 135 << "50.000000";
    QTest::newRow("declaration extended") << Report::Declaration << "S" << 153 << "50.00000000";
    QTest::newRow("control normal") << Report::Control << "N" << 178 << "30.000000";
    QTest::newRow("control extended") << Report::Control << "S" << 205 << "30.00000000";
    QTest::newRow("comparative normal") << Report::Comparative << "N" << 113 << "50.000000";
    QTest::newRow("comparative extended") << Report::Comparative << "S" << 113 << "50.000000";
}

void tst_ReportGenerator::extendedModeWidensRulesAndDecimals()
{
    QFETCH(Report, report);
    QFETCH(QString, mode);
    QFETCH(int, ruleLength);
    QFETCH(QString, quantity);
    printingFormats(mode);
    QVERIFY(generate(report));
    // Every full rule (the heading rules and the closing rule) has the report's length.
    const QString rule(ruleLength, u'-');
    QCOMPARE(moduleState().reportLines.first().text, rule);
    int rules = 0;
    for (const ReportLine& line : moduleState().reportLines) {
        if (!line.text.isEmpty() && line.text.count(u'-') == line.text.size()) {
            QCOMPARE(line.text.size(), ruleLength);
            ++rules;
        }
    }
    // Two per sub-item printed, and the closing block's.
    QCOMPARE(rules, 2 * 4 + (report == Report::Declaration ? 2 : 1));
    const QStringList details = linesStartingWith(declaration);
    QVERIFY(!details.isEmpty());
    QVERIFY2(details.first().contains(localeText(" " + quantity + " ")),
             qPrintable(details.first()));
}

void tst_ReportGenerator::lossAndShrinkageByKind()
{
    QVERIFY(generate(Report::Control));
    // Percentages of the discharged quantity: 1.5 % and 2 % of 30.
    const QStringList percentage = linesStartingWith(declaration + " 001 001");
    QCOMPARE(percentage.size(), 1);
    QVERIFY(percentage.first().contains(localeText("    00.450000    00.600000")));
    // Absolute quantities: the figures themselves.
    const QStringList absolute = linesStartingWith(longDeclaration.left(16) + " 003 001");
    QCOMPARE(absolute.size(), 1);
    QVERIFY(absolute.first().contains(localeText("    00.800000    00.350000")));
    // A percentage loss with an absolute shrinkage on the grouped line: 10 % of 3, and 0.25.
    const QStringList mixed = linesStartingWith(longDeclaration.left(16) + " 004 001");
    QCOMPARE(mixed.size(), 2);
    QVERIFY(mixed.first().contains(localeText("    00.300000    00.250000")));
    // Totals of the rounded figures; the grouped line is walked twice.
    QCOMPARE(moduleState().reportTotals.loss, 0.45 + 0.3 + 0.8 + 0.3 + 0.3);
    QCOMPARE(moduleState().reportTotals.shrinkage, 0.6 + 0.4 + 0.35 + 0.25 + 0.25);
}

void tst_ReportGenerator::controlListingPrintsEveryLine()
{
    QVERIFY(generate(Report::Control));
    QCOMPARE(linesStartingWith(declaration + " 001 00").size(), 2);
    QVERIFY(generate(Report::Declaration));
    QCOMPARE(linesStartingWith(declaration + " INS-01").size(), 1);
}

void tst_ReportGenerator::groupedSubItemPrintsUnderBothHeadings()
{
    QVERIFY(generate(Report::Control));
    const int root = indexOfLine(localeText("ITEM: 0002 - SBIT: 0002 - Cantidad declarada: 25.50"));
    const int own = indexOfLine(localeText("ITEM: 0003 - SBIT: 0001 - Cantidad declarada: 12.35"));
    QVERIFY(root > 0 && own > root);
    const QStringList grouped = linesStartingWith(longDeclaration.left(16) + " 004 001");
    QCOMPARE(grouped.size(), 2);
    QVERIFY(moduleState().reportLines.at(root + 3).text.startsWith(declaration + " 002 001"));
    QVERIFY(
        moduleState().reportLines.at(root + 4).text.startsWith(longDeclaration.left(16) + " 004"));
    QVERIFY(
        moduleState().reportLines.at(own + 3).text.startsWith(longDeclaration.left(16) + " 004"));
}

void tst_ReportGenerator::comparativeTransferredNeverBelowOneHundredth()
{
    printingFormats(QStringLiteral("S"));
    QVERIFY(generate(Report::Comparative));
    const int heading =
        indexOfLine(localeText("ITEM: 0002 - SBIT: 0001 - Cantidad declarada: 50.00"));
    QVERIFY(heading > 0);
    const QString line = moduleState().reportLines.at(heading + 4).text;
    // RALCANex 0.004: transferred 00.01, remainder 0.01 - 0.004.
    QCOMPARE(line.right(47), localeText("          00.01       00.004000     00.00600000"));
    QVERIFY(line.startsWith(declaration + " 001 INS-03"));
}

void tst_ReportGenerator::comparativeZeroRealQuantity()
{
    QVERIFY(generate(Report::Comparative));
    const int heading =
        indexOfLine(localeText("ITEM: 0002 - SBIT: 0002 - Cantidad declarada: 25.50"));
    QVERIFY(heading > 0);
    // RALCANex 0: transferred 00.01, remainder 0.01 - 0.5, negative.
    QCOMPARE(moduleState().reportLines.at(heading + 5).text.right(47),
             localeText("          00.01       00.500000    -00.49000000"));
}

void tst_ReportGenerator::closingBlockKinds_data()
{
    QTest::addColumn<Report>("report");
    QTest::addColumn<int>("closingLines");
    QTest::newRow("declaration") << Report::Declaration << 10;
    QTest::newRow("control") << Report::Control << 2;
    QTest::newRow("comparative") << Report::Comparative << 2;
}

void tst_ReportGenerator::closingBlockKinds()
{
    QFETCH(Report, report);
    QFETCH(int, closingLines);
    QVERIFY(generate(report));
    const QList<ReportLine>& lines = moduleState().reportLines;
    // The closing block is all "T"; the empty line before it closes the last sub-item.
    for (int i = lines.size() - closingLines; i < lines.size(); ++i)
        QCOMPARE(lines.at(i).kind, QStringLiteral("T"));
    QCOMPARE(lines.at(lines.size() - closingLines - 1).kind, QStringLiteral(" "));
    QCOMPARE(lines.at(lines.size() - closingLines - 1).text, QString());
}

void tst_ReportGenerator::operationWithoutItemsGivesEmptyBuffer_data()
{
    closingBlockKinds_data();
}

void tst_ReportGenerator::operationWithoutItemsGivesEmptyBuffer()
{
    QFETCH(Report, report);
    moduleState().reportLines.append({QStringLiteral("T"), QStringLiteral("old")});
    moduleState().reportTotals.cif = 5;
    moduleState().INTERNO = QStringLiteral("OP-9999");
    QVERIFY(!generate(report));
    QVERIFY(moduleState().reportLines.isEmpty());
    QCOMPARE(moduleState().reportTotals.cif, 0.0);
    QVERIFY(m_messages->messages.isEmpty());
}

void tst_ReportGenerator::failingSubItemStopsWithMessage()
{
    if (FixtureDatabase::onPostgreSql())
        QSKIP("a real column of PostgreSQL holds only numbers: no text to fail on");
    DischargeFixture::run(m_db->discharge(), "update DIP set ARTPRE = 'abc' where EXTSBT = 2");
    QVERIFY(!generate(Report::Declaration));
    QCOMPARE(m_messages->messages.size(), 2);
    QCOMPARE(m_messages->messages.at(0).prompt,
             QStringLiteral(
                 "Type mismatch\r\n\r\n13 - Sección [oQUIVRAN.modManejoInsumos.Generar_Linea]"));
    QCOMPARE(m_messages->messages.at(0).style, 16);
    QCOMPARE(m_messages->messages.at(1).prompt,
             QStringLiteral("Ocurrio un error al generar el informe."));
    QCOMPARE(m_messages->messages.at(1).style, 16);
    // Item 1 stays in the buffer, with the heading of the failed sub-item; no closing block.
    QVERIFY(indexOfLine(
                localeText("PROD-A - ITEM: 0001 - SBIT: 0000 - Cantidad declarada: 100.00")) > 0);
    QVERIFY(indexOfLine(
                localeText("PROD-B - ITEM: 0002 - SBIT: 0001 - Cantidad declarada: 50.00")) > 0);
    QVERIFY(linesStartingWith(QStringLiteral("TOTALES")).isEmpty());
}

void tst_ReportGenerator::walkErrorIsReported()
{
    moduleState().INTERNO = QStringLiteral("OP'1");
    QVERIFY(!generate(Report::Comparative));
    QCOMPARE(m_messages->messages.size(), 1);
    QVERIFY(m_messages->lastPrompt().endsWith(
        QStringLiteral("\r\n\r\n-2147221504Sección [oQUIVRAN.modManejoInsumos.GenerarOM]")));
    QCOMPARE(m_messages->lastStyle(), 16);
}

void tst_ReportGenerator::queriesGoThroughTheirDataObjects()
{
    RecordingDataObject discharge(m_db->dischargeData.get());
    RecordingDataObject host(m_db->hostData.get());
    const DischargeFixture::Bound bound(*m_db, &discharge, &host);
    QVERIFY(generate(Report::Control));
    QCOMPARE(host.opened.size(), 4);
    QCOMPARE(host.opened.at(0),
             QStringLiteral("select id from item where id<>0 and interno = 'OP-0001' and "
                            "cancelaciones = 'OK' order by id"));
    QCOMPARE(host.opened.at(1),
             QStringLiteral("select idsub,idcatalogo,idarticulo,cantidad from groupsubitems "
                            "where interno = 'OP-0001' and cancelaciones = 'OK' and id = 1 "
                            "order by idsub"));
    QCOMPARE(discharge.opened.size(), 5);
    QCOMPARE(discharge.opened.at(3),
             QStringLiteral("select ARTDCL, ARTITM, ARTSBT, PRDNRO, ARTNRO, ARTNCM, RIPCAN, "
                            "PRDMUL, DIPCAN, RIPPER, TRPPER, RIPMER, TRPMER, RALCAN, ARTPRE, "
                            "DIPCTC, DIPEXP from DIP where  EXTINT = 'OP-0001' and (EXTSBT = 4 "
                            "or idroot = 4)"));
    QVERIFY(discharge.executed.isEmpty());
    QVERIFY(host.executed.isEmpty());
}

void tst_ReportGenerator::quantityFormatOfDischargeMoment()
{
    // After a discharge without GenerarIMP the quantity format has four decimals.
    moduleState().applyFormats(
        ValueFormats::forMoment(FormatMoment::Discharge, QStringLiteral("N")));
    QVERIFY(generate(Report::Declaration));
    const QStringList details = linesStartingWith(declaration + " INS-01");
    QCOMPARE(details.size(), 1);
    QVERIFY(details.first().contains(localeText("      50.0000 ")));
}

QTEST_MAIN(tst_ReportGenerator)
#include "tst_ReportGenerator.moc"
