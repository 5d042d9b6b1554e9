#include "Settings.h"
#include "StartProgram.h"
#include "ValueFormats.h"

#include <QProcess>
#include <QtTest>

using namespace oquivran;

class tst_ValueFormats : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void forMoment_data();
    void forMoment();
    void absentSettingIsNormal();
    void settingSelectsMode_data();
    void settingSelectsMode();
    void settingsLocation();
    void settingSavedByTheHost_data();
    void settingSavedByTheHost();
};

namespace {
void clearSettings()
{
    Settings::store().clear();
}
} // namespace

void tst_ValueFormats::init()
{
    clearSettings();
}

void tst_ValueFormats::forMoment_data()
{
    QTest::addColumn<int>("moment");
    QTest::addColumn<QString>("opVDE");
    QTest::addColumn<bool>("extended");
    QTest::addColumn<QString>("valueFormat");
    QTest::addColumn<QString>("secondFormat");

    const int creation = int(FormatMoment::Creation);
    const int discharge = int(FormatMoment::Discharge);
    const int printing = int(FormatMoment::Printing);
    QTest::newRow("normal creation") << creation << "N" << false << "00.000000"
                                     << "00.000000";
    QTest::newRow("normal discharge") << discharge << "N" << false << "00.0000"
                                      << "00.000000";
    QTest::newRow("normal printing") << printing << "N" << false << "00.000000"
                                     << "00.000000";
    QTest::newRow("S creation") << creation << "S" << true << "00.00000000"
                                << "00.00000000";
    QTest::newRow("S discharge") << discharge << "S" << true << "00.00000000"
                                 << "00.00000000";
    QTest::newRow("S printing") << printing << "S" << true << "00.00000000"
                                << "00.00000000";
    QTest::newRow("lower-case n is extended") << discharge << "n" << true << "00.00000000"
                                              << "00.00000000";
    QTest::newRow("empty is extended") << creation << "" << true << "00.00000000"
                                       << "00.00000000";
    QTest::newRow("N with blank is extended") << creation << "N " << true << "00.00000000"
                                              << "00.00000000";
}

void tst_ValueFormats::forMoment()
{
    QFETCH(int, moment);
    QFETCH(QString, opVDE);
    QFETCH(bool, extended);
    QFETCH(QString, valueFormat);
    QFETCH(QString, secondFormat);
    const ValueFormatSet formats = ValueFormats::forMoment(FormatMoment(moment), opVDE);
    QCOMPARE(formats.extendedDecimals, extended);
    QCOMPARE(formats.valueFormat, valueFormat);
    QCOMPARE(formats.secondFormat, secondFormat);
}

void tst_ValueFormats::absentSettingIsNormal()
{
    QCOMPARE(ValueFormats::readMode(), QStringLiteral("N"));
    QVERIFY(!ValueFormats::current(FormatMoment::Creation).extendedDecimals);
}

void tst_ValueFormats::settingSelectsMode_data()
{
    QTest::addColumn<QString>("opVDE");
    QTest::addColumn<bool>("extended");
    QTest::newRow("N") << "N" << false;
    QTest::newRow("n") << "n" << true;
    QTest::newRow("S") << "S" << true;
}

void tst_ValueFormats::settingSelectsMode()
{
    QFETCH(QString, opVDE);
    QFETCH(bool, extended);
    Settings::setValue(QStringLiteral("CONFIG"), QStringLiteral("opVDE"), opVDE);
    QCOMPARE(ValueFormats::readMode(), opVDE);
    QCOMPARE(ValueFormats::current(FormatMoment::Discharge).extendedDecimals, extended);
}

namespace {

#ifdef Q_OS_WIN
// The key under which the Visual Basic runtime's SaveSetting keeps application "oQUIVRAN".
const QString registryKey = QStringLiteral("HKCU\\Software\\VB and VBA Program Settings\\oQUIVRAN");

// Runs Windows' reg.exe; its standard output, or a null text when it failed.
QString reg(const QStringList& arguments)
{
    QProcess process;
    if (!startProgram(process, QStringLiteral("reg.exe"), arguments) ||
        !process.waitForFinished(30000) || process.exitCode() != 0)
        return QString();
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}
#else
QString settingsFile()
{
    return qEnvironmentVariable("XDG_CONFIG_HOME") + "/oQUIVRAN/oQUIVRAN.conf";
}
#endif

// Saves a setting the way a host of the platform saves it, without the component.
bool saveAsHost(const QString& section, const QString& key, const QString& value)
{
#ifdef Q_OS_WIN
    return !reg({QStringLiteral("add"), registryKey + u'\\' + section, QStringLiteral("/v"), key,
                 QStringLiteral("/d"), value, QStringLiteral("/f")})
                .isNull();
#else
    QSettings raw(settingsFile(), QSettings::IniFormat);
    raw.setValue(section + u'/' + key, value);
    raw.sync();
    return raw.status() == QSettings::NoError;
#endif
}

} // namespace

void tst_ValueFormats::settingsLocation()
{
    Settings::setValue(QStringLiteral("IMPRESION"), QStringLiteral("IMPTAM"), QStringLiteral("12"));
#ifdef Q_OS_WIN
    const QString query = reg({QStringLiteral("query"), registryKey + QStringLiteral("\\IMPRESION"),
                               QStringLiteral("/v"), QStringLiteral("IMPTAM")});
    QVERIFY2(query.contains(QRegularExpression(QStringLiteral("IMPTAM\\s+REG_SZ\\s+12"))),
             qPrintable(query));
#else
    const QString file = settingsFile();
    QVERIFY2(QFile::exists(file), qPrintable(file));
    QSettings raw(file, QSettings::IniFormat);
    QCOMPARE(raw.value("IMPRESION/IMPTAM").toString(), QStringLiteral("12"));
#endif
    QCOMPARE(Settings::value(QStringLiteral("IMPRESION"), QStringLiteral("PAGLIN"),
                             QStringLiteral("75")),
             QStringLiteral("75"));
}

void tst_ValueFormats::settingSavedByTheHost_data()
{
    QTest::addColumn<QString>("opVDE");
    QTest::addColumn<bool>("extended");
    QTest::addColumn<QString>("valueFormat");
    QTest::newRow("N") << "N" << false << "00.0000";
    QTest::newRow("S") << "S" << true << "00.00000000";
}

// A host saves "opVDE" with its platform's own means (on Windows, reg add where SaveSetting
// writes); the component reads it and chooses its formats by it.
void tst_ValueFormats::settingSavedByTheHost()
{
    QFETCH(QString, opVDE);
    QFETCH(bool, extended);
    QFETCH(QString, valueFormat);
    QVERIFY(saveAsHost(QStringLiteral("CONFIG"), QStringLiteral("opVDE"), opVDE));
    QCOMPARE(ValueFormats::readMode(), opVDE);
    const ValueFormatSet formats = ValueFormats::current(FormatMoment::Discharge);
    QCOMPARE(formats.extendedDecimals, extended);
    QCOMPARE(formats.valueFormat, valueFormat);
}

QTEST_GUILESS_MAIN(tst_ValueFormats)
#include "tst_ValueFormats.moc"
