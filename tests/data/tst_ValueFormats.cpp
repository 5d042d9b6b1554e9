#include "Settings.h"
#include "ValueFormats.h"

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
    void settingsFileLocation();
};

namespace {
void clearSettings()
{
    QSettings(QSettings::NativeFormat, QSettings::UserScope, "oQUIVRAN", "oQUIVRAN").clear();
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

void tst_ValueFormats::settingsFileLocation()
{
    Settings::setValue(QStringLiteral("IMPRESION"), QStringLiteral("IMPTAM"), QStringLiteral("12"));
    const QString file = qEnvironmentVariable("XDG_CONFIG_HOME") + "/oQUIVRAN/oQUIVRAN.conf";
    QVERIFY2(QFile::exists(file), qPrintable(file));
    QSettings raw(file, QSettings::IniFormat);
    QCOMPARE(raw.value("IMPRESION/IMPTAM").toString(), QStringLiteral("12"));
    QCOMPARE(Settings::value(QStringLiteral("IMPRESION"), QStringLiteral("PAGLIN"),
                             QStringLiteral("75")),
             QStringLiteral("75"));
}

QTEST_GUILESS_MAIN(tst_ValueFormats)
#include "tst_ValueFormats.moc"
