// The SQL texts a host's own data-access objects receive from the three reports and from the
// item numbering members, compared with the texts recorded in tests/expected/statements: the
// embedded database may prepare a statement its own way, a host's object still gets the
// component's text, unchanged.
#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "PrintingData.h"
#include "RecordingDataObject.h"

#include "ComparativeReport.h"
#include "ControlReport.h"
#include "DeclarationReport.h"
#include "ModuleState.h"
#include "ReportGenerator.h"

#include <oquivran/clQUIVRAN.h>

#include <QtTest>

#include <memory>

using namespace oquivran;
using namespace printingdata;

namespace {

// A host's own data-access object: it records each text it receives, marked with its
// database and whether it was opened or executed, into a list shared with the other one, and
// hands it to the embedded object.
class OrderedRecorder : public DataObject
{
public:
    OrderedRecorder(DataObject* target, const QString& database, QStringList& order)
        : m_target(target), m_database(database), m_order(order)
    {
    }
    void setSql(const QString& sql) override
    {
        DataObject::setSql(sql);
        m_target->setSql(sql);
    }
    bool open(Recordset& rs) override
    {
        m_order.append(m_database + QStringLiteral(" open|") + m_sql);
        return m_target->open(rs);
    }
    qint32 execute() override
    {
        m_order.append(m_database + QStringLiteral(" execute|") + m_sql);
        return m_target->execute();
    }

private:
    DataObject* m_target;
    QString m_database;
    QStringList& m_order;
};

enum class Report { Declaration, Control, Comparative };

bool generate(Report report)
{
    static const DeclarationReport declaration;
    static const ControlReport control;
    static const ComparativeReport comparative;
    const ReportKind& kind =
        report == Report::Declaration ? static_cast<const ReportKind&>(declaration)
        : report == Report::Control   ? static_cast<const ReportKind&>(control)
                                      : static_cast<const ReportKind&>(comparative);
    return ReportGenerator(kind).GenerarOM();
}

// Compares recorded texts with an expected file, or writes the file when
// OQUIVRAN_WRITE_EXPECTED names a folder.
void compareWithExpected(const QStringList& actual, const QString& name)
{
    if (qEnvironmentVariableIsSet("OQUIVRAN_WRITE_EXPECTED")) {
        QFile out(qEnvironmentVariable("OQUIVRAN_WRITE_EXPECTED") + u'/' + name);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(actual.join(u'\n').toUtf8() + '\n');
    }
    QFile file(QStringLiteral(OQUIVRAN_EXPECTED_DIR "/statements/") + name);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    QStringList wanted = QString::fromUtf8(file.readAll()).split(u'\n');
    if (!wanted.isEmpty() && wanted.last().isEmpty())
        wanted.removeLast();
    for (int i = 0; i < qMin(actual.size(), wanted.size()); ++i)
        QCOMPARE(actual.at(i), wanted.at(i));
    QCOMPARE(actual.size(), wanted.size());
}

} // namespace

Q_DECLARE_METATYPE(Report)

class tst_HostStatements : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void reportTexts_data();
    void reportTexts();
    void numberingTexts();

private:
    std::unique_ptr<DischargeFixture> m_db;
    std::unique_ptr<MessageRecorder> m_messages;
};

void tst_HostStatements::init()
{
    m_db = std::make_unique<DischargeFixture>();
    m_messages = std::make_unique<MessageRecorder>();
    QVERIFY(m_db->isOpen());
    seed(*m_db);
}

void tst_HostStatements::cleanup()
{
    m_messages.reset();
    m_db.reset();
}

void tst_HostStatements::reportTexts_data()
{
    QTest::addColumn<Report>("report");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("lines");
    QTest::newRow("declaration") << Report::Declaration << "N"
                                 << "declaration.txt" << 36;
    QTest::newRow("declaration extended") << Report::Declaration << "S"
                                          << "declaration.txt" << 36;
    QTest::newRow("control") << Report::Control << "N"
                             << "control.txt" << 29;
    QTest::newRow("comparative") << Report::Comparative << "N"
                                 << "comparative.txt" << 32;
}

void tst_HostStatements::reportTexts()
{
    QFETCH(Report, report);
    QFETCH(QString, mode);
    QFETCH(QString, expected);
    QFETCH(int, lines);
    printingFormats(mode);
    QStringList order;
    OrderedRecorder discharge(m_db->dischargeData.get(), QStringLiteral("discharge"), order);
    OrderedRecorder host(m_db->hostData.get(), QStringLiteral("host"), order);
    const DischargeFixture::Bound bound(*m_db, &discharge, &host);
    QVERIFY(generate(report));
    QVERIFY(m_messages->messages.isEmpty());
    // The host's objects answered: the report holds the operation's lines.
    QCOMPARE(int(moduleState().reportLines.size()), lines);
    compareWithExpected(order, expected);
}

void tst_HostStatements::numberingTexts()
{
    QStringList order;
    OrderedRecorder discharge(m_db->dischargeData.get(), QStringLiteral("discharge"), order);
    OrderedRecorder host(m_db->hostData.get(), QStringLiteral("host"), order);
    // The fixture bound its objects first, and a component keeps the first binding: the host's
    // objects take their place in the module state the members read.
    const DischargeFixture::Bound bound(*m_db, &discharge, &host);
    clQUIVRAN component;
    component.INTERNO(interno);
    QVERIFY(component.EnviarGrupoIdSub(interno, QStringLiteral("3"), QStringLiteral("3|4")));
    QVERIFY(component.ResetIdItems());
    QVERIFY(component.EnviarNroItem(1, QStringLiteral("1")));
    QVERIFY(component.EnviarNroItem(2, QStringLiteral("2|3")));
    // Sub-item 5 has no lines: the numbering stops there with its message.
    QVERIFY(!component.EnviarNroItem(3, QStringLiteral("5")));
    QCOMPARE(m_messages->messages.size(), 1);
    Recordset inputs;
    QVERIFY(component.Obtener_Insumos(2, inputs));
    // Sub-items 2 and 3 and sub-item 4 grouped under 3: two declarations.
    QCOMPARE(inputs.recordCount(), 2);
    compareWithExpected(order, QStringLiteral("numbering.txt"));
}

QTEST_MAIN(tst_HostStatements)
#include "tst_HostStatements.moc"
