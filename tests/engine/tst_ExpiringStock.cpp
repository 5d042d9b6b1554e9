#include "DischargeFixture.h"
#include "ExpiryData.h"
#include "LocaleText.h"
#include "MessageRecorder.h"
#include "RecordingDataObject.h"

#include "ExpiryStatements.h"
#include "ModuleState.h"
#include "Settings.h"

#include <oquivran/Expiry.h>

#include <QtTest>

#include <memory>

using namespace oquivran;

Q_DECLARE_METATYPE(oquivran::ExpiryState)

namespace {

// The line of a stock key, or nullptr.
const ExpiryLine* findLine(const ExpiryReport& report, const QString& declaration,
                           const QString& input, int item, int subItem)
{
    for (const ExpiryLine& line : report.lines) {
        if (line.declaration == declaration && line.input == input && line.item == item &&
            line.subItem == subItem)
            return &line;
    }
    return nullptr;
}

} // namespace

// expiringStock: the expiry check on a seeded discharge database.
class tst_ExpiringStock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void lines_data();
    void lines();
    void order();
    void totals();
    void declarationTotals();
    void lineWithoutExpiryIsListedLast();
    void nothingDue();
    void horizonOfZeroDays();
    void statementText();
    void runsThroughTheBoundDataObject();
    void extendedModeFormats();
    void errors_data();
    void errors();
    void withoutBindingReportsError();

private:
    std::unique_ptr<DischargeFixture> m_db;
    std::unique_ptr<MessageRecorder> m_messages;
    ExpiryReport m_report;
};

void tst_ExpiringStock::init()
{
    m_messages.reset();
    m_db.reset();
    m_db = std::make_unique<DischargeFixture>();
    m_messages = std::make_unique<MessageRecorder>();
    QVERIFY(m_db->isOpen());
    expirydata::seed(*m_db);
    Settings::setValue(QStringLiteral("CONFIG"), QStringLiteral("opVDE"), QStringLiteral("N"));
    QVERIFY(expiringStock(expirydata::asOf(), expirydata::horizon(), m_report));
    QVERIFY(m_messages->messages.isEmpty());
}

void tst_ExpiringStock::lines_data()
{
    QTest::addColumn<QString>("declaration");
    QTest::addColumn<QString>("input");
    QTest::addColumn<int>("item");
    QTest::addColumn<int>("subItem");
    QTest::addColumn<bool>("listed");
    QTest::addColumn<int>("daysLeft");
    QTest::addColumn<ExpiryState>("state");
    QTest::addColumn<QString>("declared");
    QTest::addColumn<QString>("discharged");
    QTest::addColumn<QString>("available");
    QTest::addColumn<QString>("unitCif");
    QTest::addColumn<QString>("cifAtRisk");

    // Expected figures use "." for the decimal separator of the locale.
    QTest::newRow("expired 40 days ago")
        << "24001IT04000100A"
        << "TELA-ALG" << 2 << 1 << true << -40 << ExpiryState::Expired << "300.000000"
        << "00.000000"
        << "300.000000"
        << "03.900000"
        << "1170.00";
    QTest::newRow("expired yesterday, partly discharged by two exports")
        << "24001IT04000200B"
        << "HILO-POL" << 1 << 1 << true << -1 << ExpiryState::Expired << "100.000000"
        << "40.000000"
        << "60.000000"
        << "01.234567"
        << "74.07";
    QTest::newRow("expired yesterday, second sub-item")
        << "24001IT04000200B"
        << "HILO-POL" << 1 << 2 << true << -1 << ExpiryState::Expired << "10.000000"
        << "02.500000"
        << "07.500000"
        << "01.300000"
        << "9.75";
    QTest::newRow("exhausted line")
        << "24001IT04000200B"
        << "CIERRE-20" << 2 << 1 << false << 0 << ExpiryState::Expired << ""
        << ""
        << ""
        << ""
        << "";
    QTest::newRow("falls due today")
        << "24001IT04000300C"
        << "CUERO-VAC" << 1 << 1 << true << 0 << ExpiryState::DueSoon << "10.000000"
        << "00.000000"
        << "10.000000"
        << "02.500000"
        << "25.00";
    QTest::newRow("on the horizon's last day")
        << "24001IT04000400D"
        << "TELA-ALG" << 1 << 1 << true << 30 << ExpiryState::DueSoon << "05.500000"
        << "00.000000"
        << "05.500000"
        << "03.000000"
        << "16.50";
    QTest::newRow("one day past the horizon")
        << "24001IT04000500E"
        << "TELA-ALG" << 1 << 1 << false << 0 << ExpiryState::DueSoon << ""
        << ""
        << ""
        << ""
        << "";
    QTest::newRow("not authorised")
        << "24001IT04000600F"
        << "TELA-ALG" << 1 << 1 << false << 0 << ExpiryState::Expired << ""
        << ""
        << ""
        << ""
        << "";
    QTest::newRow("without expiry")
        << "24001IT04000700G"
        << "BOTON-12" << 1 << 1 << true << 0 << ExpiryState::NoExpiry << "40.000000"
        << "00.000000"
        << "40.000000"
        << "00.050000"
        << "2.00";
}

void tst_ExpiringStock::lines()
{
    QFETCH(QString, declaration);
    QFETCH(QString, input);
    QFETCH(int, item);
    QFETCH(int, subItem);
    QFETCH(bool, listed);
    const ExpiryLine* line = findLine(m_report, declaration, input, item, subItem);
    QCOMPARE(line != nullptr, listed);
    if (!listed)
        return;
    QFETCH(int, daysLeft);
    QFETCH(ExpiryState, state);
    QFETCH(QString, declared);
    QFETCH(QString, discharged);
    QFETCH(QString, available);
    QFETCH(QString, unitCif);
    QFETCH(QString, cifAtRisk);
    QCOMPARE(line->daysLeft, daysLeft);
    QCOMPARE(line->state, state);
    QCOMPARE(line->declaredText, localeText(declared));
    QCOMPARE(line->dischargedText, localeText(discharged));
    QCOMPARE(line->availableText, localeText(available));
    QCOMPARE(line->unitCifText, localeText(unitCif));
    QCOMPARE(line->cifAtRiskText, localeText(cifAtRisk));
    // The numbers are the ones the texts show.
    QCOMPARE(line->cifAtRisk, QLocale::c().toDouble(cifAtRisk));
    QCOMPARE(line->available, QLocale::c().toDouble(available));
    QCOMPARE(line->declared - line->discharged, line->available);
    if (state == ExpiryState::NoExpiry)
        QVERIFY(line->expiryDate.isNull());
    else
        QCOMPARE(line->expiryDate, expirydata::asOf().addDays(daysLeft));
}

void tst_ExpiringStock::order()
{
    QStringList keys;
    for (const ExpiryLine& line : m_report.lines)
        keys << line.declaration + u'/' + line.input + u'/' + QString::number(line.item) + u'/' +
                    QString::number(line.subItem);
    // By expiry date, then declaration, item and sub-item; no expiry last.
    const QStringList expected = {"24001IT04000100A/BOTON-12/1/1",  "24001IT04000100A/TELA-ALG/2/1",
                                  "24001IT04000200B/HILO-POL/1/1",  "24001IT04000200B/HILO-POL/1/2",
                                  "24001IT04000300C/CUERO-VAC/1/1", "24001IT04000400D/TELA-ALG/1/1",
                                  "24001IT04000700G/BOTON-12/1/1"};
    QCOMPARE(keys, expected);
}

void tst_ExpiringStock::totals()
{
    QCOMPARE(m_report.asOf, expirydata::asOf());
    QCOMPARE(m_report.horizonDays, expirydata::horizon());
    QCOMPARE(m_report.expiredLines, 4);
    QCOMPARE(m_report.dueSoonLines, 2);
    QCOMPARE(m_report.noExpiryLines, 1);
    QVERIFY(m_report.hasExpired());
    // 45 + 1170 + 74.07 + 9.75 + 25 + 16.50 + 2.
    QCOMPARE(m_report.cifAtRiskText, localeText("1342.32"));
    QVERIFY(qAbs(m_report.cifAtRisk - 1342.32) < 1e-9);
}

void tst_ExpiringStock::declarationTotals()
{
    QStringList found;
    for (const ExpiryDeclaration& d : m_report.declarations)
        found << d.declaration + u' ' + QString::number(d.lineCount) + u' ' + d.cifAtRiskText +
                     u' ' + QString::number(d.daysLeft);
    const QStringList expected = {
        localeText("24001IT04000100A 2 1215.00 -40"), localeText("24001IT04000200B 2 83.82 -1"),
        localeText("24001IT04000300C 1 25.00 0"), localeText("24001IT04000400D 1 16.50 30"),
        localeText("24001IT04000700G 1 2.00 0")};
    QCOMPARE(found, expected);
    QCOMPARE(m_report.declarations.first().state, ExpiryState::Expired);
    QCOMPARE(m_report.declarations.last().state, ExpiryState::NoExpiry);
}

void tst_ExpiringStock::lineWithoutExpiryIsListedLast()
{
    // Even with a horizon that reaches nothing else, it is never dropped.
    ExpiryReport report;
    QVERIFY(expiringStock(QDate(2020, 1, 1), 0, report));
    QCOMPARE(report.lines.size(), 1);
    QCOMPARE(report.lines.first().declaration, QStringLiteral("24001IT04000700G"));
    QCOMPARE(report.lines.first().state, ExpiryState::NoExpiry);
    QVERIFY(!report.hasExpired());
}

void tst_ExpiringStock::nothingDue()
{
    DischargeFixture::run(m_db->discharge(), "delete from INS where INTDCL = '24001IT04000700G'");
    ExpiryReport report;
    QVERIFY(expiringStock(QDate(2020, 1, 1), 10, report));
    QVERIFY(report.lines.isEmpty());
    QVERIFY(report.declarations.isEmpty());
    QCOMPARE(report.cifAtRiskText, localeText("0.00"));
}

void tst_ExpiringStock::horizonOfZeroDays()
{
    ExpiryReport report;
    QVERIFY(expiringStock(expirydata::asOf(), 0, report));
    // The expired lines, the one due today and the one without expiry.
    QCOMPARE(report.lines.size(), 6);
    QCOMPARE(report.dueSoonLines, 1);
    QVERIFY(!findLine(report, "24001IT04000400D", "TELA-ALG", 1, 1));
}

void tst_ExpiringStock::statementText()
{
    // Dates as the component writes them, no function of one database's own.
    const QString sql = ExpiryStatements::expiringStock(QDate(2027, 4, 9));
    QVERIFY(sql.contains(QStringLiteral("INTVEN <= datevalue('09/04/2027')")));
    QVERIFY(sql.contains(QStringLiteral("INTIOK = 1 and ARTDSC>0")));
    QVERIFY(!sql.contains(QStringLiteral("julianday"), Qt::CaseInsensitive));
    QVERIFY(!sql.contains(QStringLiteral("nulls"), Qt::CaseInsensitive));
    QVERIFY(sql.endsWith(QStringLiteral(
        "order by case when INTVEN is null then 1 else 0 end, INTVEN, INTINS.INTDCL, "
        "INS.ARTITM, INS.ARTSBT, INS.ARTNRO")));
}

void tst_ExpiringStock::runsThroughTheBoundDataObject()
{
    RecordingDataObject recording(m_db->dischargeData.get());
    moduleState().dataObject = &recording;
    ExpiryReport report;
    QVERIFY(expiringStock(expirydata::asOf(), expirydata::horizon(), report));
    QCOMPARE(recording.opened,
             QStringList{ExpiryStatements::expiringStock(expirydata::asOf().addDays(30))});
    QVERIFY(recording.executed.isEmpty());
    QCOMPARE(report.lines.size(), m_report.lines.size());
}

void tst_ExpiringStock::extendedModeFormats()
{
    Settings::setValue(QStringLiteral("CONFIG"), QStringLiteral("opVDE"), QStringLiteral("S"));
    ExpiryReport report;
    QVERIFY(expiringStock(expirydata::asOf(), expirydata::horizon(), report));
    Settings::setValue(QStringLiteral("CONFIG"), QStringLiteral("opVDE"), QStringLiteral("N"));
    const ExpiryLine* line = findLine(report, "24001IT04000200B", "HILO-POL", 1, 1);
    QVERIFY(line);
    QCOMPARE(line->availableText, localeText("60.00000000"));
    QCOMPARE(line->cifAtRiskText, localeText("74.07"));
}

void tst_ExpiringStock::errors_data()
{
    QTest::addColumn<QDate>("asOf");
    QTest::addColumn<int>("horizon");
    QTest::addColumn<QString>("description");
    QTest::newRow("invalid date") << QDate() << 60 << "La fecha de referencia no es válida.";
    QTest::newRow("negative horizon")
        << QDate(2027, 1, 1) << -1 << "El horizonte de vencimientos debe ser de 0 días o más.";
    QTest::newRow("horizon past the year 9999")
        << QDate(2027, 1, 1) << 3000000 << "El horizonte de vencimientos pasa del año 9999.";
}

void tst_ExpiringStock::errors()
{
    QFETCH(QDate, asOf);
    QFETCH(int, horizon);
    QFETCH(QString, description);
    ExpiryReport report = m_report;
    QVERIFY(!expiringStock(asOf, horizon, report));
    QVERIFY(report.lines.isEmpty());
    QCOMPARE(m_messages->messages.size(), 1);
    QCOMPARE(m_messages->lastPrompt(),
             description + QStringLiteral("\r\n\r\n-2147221504 - Sección "
                                          "[oQUIVRAN.modManejoInsumos.VencimientosINS]"));
    QCOMPARE(m_messages->lastStyle(), int(MessageCritical));
}

void tst_ExpiringStock::withoutBindingReportsError()
{
    moduleState().dataObject = nullptr;
    ExpiryReport report;
    QVERIFY(!expiringStock(expirydata::asOf(), 60, report));
    QVERIFY(m_messages->lastPrompt().startsWith(
        QStringLiteral("Object variable or With block variable not set\r\n\r\n91 - Sección")));
}

QTEST_GUILESS_MAIN(tst_ExpiringStock)
#include "tst_ExpiringStock.moc"
