#include "StartProgram.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>
#include <QtTest>

// The start of the programs the multi-process tests run: a program that is there runs at the
// first attempt, one that is not is tried three times and fails with the reason.
class tst_StartProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void start_data();
    void start();
};

void tst_StartProgram::start_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("started");
    QTest::addColumn<int>("retries");
    QTest::addColumn<QString>("output");

    // This test program itself, asked for its test functions.
    QTest::newRow("there") << QCoreApplication::applicationFilePath()
                           << QStringList{QStringLiteral("-functions")} << true << 0
                           << QStringLiteral("start()");
    QTest::newRow("missing") << QDir::current().filePath(QStringLiteral("no-such-program"))
                             << QStringList() << false << 2 << QString();
}

void tst_StartProgram::start()
{
    QFETCH(QString, program);
    QFETCH(QStringList, arguments);
    QFETCH(bool, started);
    QFETCH(int, retries);
    QFETCH(QString, output);

    for (int retry = 0; retry < retries; ++retry)
        QTest::ignoreMessage(QtInfoMsg,
                             QRegularExpression(QStringLiteral("^no-such-program did not start "
                                                               "\\(.+\\); starting it again$")));
    QProcess process;
    QCOMPARE(startProgram(process, program, arguments), started);
    if (!started) {
        QCOMPARE(process.error(), QProcess::FailedToStart);
        QCOMPARE(process.state(), QProcess::NotRunning);
        QVERIFY(!process.errorString().isEmpty());
        return;
    }
    QCOMPARE(process.error(), QProcess::UnknownError);
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitCode(), 0);
    QVERIFY2(QString::fromLocal8Bit(process.readAllStandardOutput()).contains(output),
             qPrintable(output));
}

QTEST_GUILESS_MAIN(tst_StartProgram)
#include "tst_StartProgram.moc"
