#include "OperatingSystemUser.h"

#include <QProcess>
#include <QtTest>

using oquivran::OperatingSystemUser;

// Who runs the test, as the operating system knows them: on Unix id(1)'s account name, asked
// of a separate program; on Windows the logged-on user, which Windows also gives as
// %USERNAME% when nothing changed it.
class tst_OperatingSystemUser : public QObject
{
    Q_OBJECT

private:
    QString m_account;

private Q_SLOTS:
    void initTestCase()
    {
#ifdef Q_OS_WIN
        m_account = qEnvironmentVariable("USERNAME");
#else
        QProcess id;
        id.start(QStringLiteral("id"), {QStringLiteral("-un")});
        QVERIFY(id.waitForFinished());
        if (id.exitCode() == 0)
            m_account = QString::fromLocal8Bit(id.readAllStandardOutput()).trimmed();
#endif
        if (m_account.isEmpty())
            QSKIP("this account has no name the operating system knows");
    }

    // The name is the account's, whatever the environment says: a process can set $USER or
    // %USERNAME% to anything, and the audit trail names who really wrote.
    void nameIsTheAccounts_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QByteArray>("value");
        QTest::newRow("as started") << QByteArray() << QByteArray();
        for (const char* variable : {"USER", "LOGNAME", "USERNAME"}) {
            QTest::addRow("%s another", variable) << QByteArray(variable) << QByteArray("otro");
            QTest::addRow("%s empty", variable) << QByteArray(variable) << QByteArray();
            QTest::addRow("%s with a quote", variable)
                << QByteArray(variable) << QByteArray("o'brien");
        }
    }
    void nameIsTheAccounts()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QByteArray, value);
        const bool had = !variable.isEmpty() && qEnvironmentVariableIsSet(variable);
        const QByteArray before = variable.isEmpty() ? QByteArray() : qgetenv(variable);
        if (!variable.isEmpty()) {
            if (value.isEmpty())
                qunsetenv(variable);
            else
                qputenv(variable, value);
        }
        const QString name = OperatingSystemUser::name();
        if (!variable.isEmpty()) {
            if (had)
                qputenv(variable, before);
            else
                qunsetenv(variable);
        }
        QCOMPARE(name, m_account);
    }
};

QTEST_GUILESS_MAIN(tst_OperatingSystemUser)
#include "tst_OperatingSystemUser.moc"
