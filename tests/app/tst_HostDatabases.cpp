#include "HostProgram.h"
#include "PgTestDatabase.h"

#include <QProcess>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

// The sample host on a PostgreSQL database named by a URI (--database or $OQUIVRAN_DATABASE):
// init creates the tables and the sample there, and the subcommands give what they give on
// the SQLite files.
class tst_HostDatabases : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void initCreatesSchemaAndSample();
    void sameResultsAsOnSqliteFiles();
    void environmentNamesTheDatabase();

private:
    using Result = HostRun;
    Result host(QStringList arguments, const QProcessEnvironment& extra = {});

    QTemporaryDir m_dir;
    QString m_uri;
    QString m_database;
};

tst_HostDatabases::Result tst_HostDatabases::host(QStringList arguments,
                                                  const QProcessEnvironment& extra)
{
    return runHost(arguments, QDir(m_dir.path()), extra);
}

void tst_HostDatabases::initTestCase()
{
    if (!PgTestDatabase::requested())
        QSKIP("runs on the throwaway PostgreSQL server (OQUIVRAN_TEST_DATABASE=postgresql)");
    QVERIFY(m_dir.isValid());
    // A database of this test's own on the throwaway server.
    QString host, port, user, database;
    for (const QString& setting : PgTestDatabase::connectionSettings()) {
        const QString key = setting.section(u'=', 0, 0);
        const QString value = setting.section(u'=', 1);
        if (key == u"host")
            host = value;
        else if (key == u"port")
            port = value;
        else if (key == u"user")
            user = value;
    }
    QVERIFY(!host.isEmpty());
    m_database = QStringLiteral("host_%1").arg(QCoreApplication::applicationPid());
    {
        QSqlDatabase admin = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), "admin");
        PgTestDatabase::configure(admin, PgTestDatabase::connectionSettings());
        QVERIFY(admin.open());
        QSqlQuery query(admin);
        query.exec(u"drop database if exists " + m_database);
        QVERIFY(query.exec(u"create database " + m_database));
    }
    m_uri = QStringLiteral("postgresql://%1@/%2?host=%3&port=%4").arg(user, m_database, host, port);
}

void tst_HostDatabases::cleanupTestCase()
{
    if (m_database.isEmpty())
        return;
    QSqlDatabase admin = QSqlDatabase::database(QStringLiteral("admin"));
    QSqlQuery query(admin);
    query.exec(u"drop database if exists " + m_database + u" with (force)");
}

void tst_HostDatabases::initCreatesSchemaAndSample()
{
    Result result = host({QStringLiteral("discharge"), QStringLiteral("--all"),
                          QStringLiteral("--database"), m_uri});
    QCOMPARE(result.exitCode, 2); // not created yet
    QVERIFY2(result.err.contains(u"init"), qPrintable(result.err));
    result = host({QStringLiteral("init"), QStringLiteral("--database"), m_uri});
    QCOMPARE(result.exitCode, 0);
    result = host({QStringLiteral("init"), QStringLiteral("--database"), m_uri});
    QCOMPARE(result.exitCode, 1); // exists: refused without --force
    result = host(
        {QStringLiteral("init"), QStringLiteral("--force"), QStringLiteral("--database"), m_uri});
    QCOMPARE(result.exitCode, 0);
    result = host({QStringLiteral("check-stock"), QStringLiteral("--database"), m_uri});
    QCOMPARE(result.exitCode, 0);
    QVERIFY2(result.out.contains(u"ARTDSC = ARTCAT - suma(DIPCAN)"), qPrintable(result.out));
}

// The same work on the server and on files gives the same totals, item inputs and reports.
void tst_HostDatabases::sameResultsAsOnSqliteFiles()
{
    const QStringList files = {
        QStringLiteral("--discharge-db"), m_dir.filePath(QStringLiteral("d.sqlite")),
        QStringLiteral("--host-db"), m_dir.filePath(QStringLiteral("h.sqlite"))};
    const QStringList server = {QStringLiteral("--database"), m_uri};
    QCOMPARE(host(QStringList{QStringLiteral("init"), QStringLiteral("--force")} + server).exitCode,
             0);
    QCOMPARE(host(QStringList{QStringLiteral("init")} + files).exitCode, 0);
    const QList<QStringList> commands = {
        {QStringLiteral("discharge"), QStringLiteral("--all")},
        {QStringLiteral("number")},
        {QStringLiteral("inputs"), QStringLiteral("--item"), QStringLiteral("2")},
        {QStringLiteral("check-stock")},
        {QStringLiteral("remove"), QStringLiteral("--subitem"), QStringLiteral("2")},
    };
    for (const QStringList& command : commands) {
        const Result onServer = host(command + server);
        const Result onFiles = host(command + files);
        QCOMPARE(onServer.exitCode, onFiles.exitCode);
        if (command.first() == u"discharge") {
            // The lines of a sub-item are listed in the order each database keeps them; the
            // totals follow them.
            const QString totals = QStringLiteral("Totales");
            QCOMPARE(onServer.out.mid(onServer.out.indexOf(totals)),
                     onFiles.out.mid(onFiles.out.indexOf(totals)));
            QCOMPARE(onServer.out.split(u'\n').size(), onFiles.out.split(u'\n').size());
        } else {
            QCOMPARE(onServer.out, onFiles.out);
        }
    }
    // The declaration first: it records the export data the other two then read.
    for (const QString& report : {QStringLiteral("declaracion"), QStringLiteral("control"),
                                  QStringLiteral("comparativo")}) {
        QStringList print = {QStringLiteral("print"),
                             QStringLiteral("--report"),
                             report,
                             QStringLiteral("--method"),
                             QStringLiteral("text"),
                             QStringLiteral("--aat"),
                             QStringLiteral("25/001/EC01/000123/K"),
                             QStringLiteral("--date"),
                             QStringLiteral("2025-03-05"),
                             QStringLiteral("--out")};
        const QString onServer = m_dir.filePath(report + QStringLiteral("-server.txt"));
        const QString onFiles = m_dir.filePath(report + QStringLiteral("-files.txt"));
        const Result a = host(print + QStringList{onServer} + server);
        QVERIFY2(a.exitCode == 0, qPrintable(a.err));
        const Result b = host(print + QStringList{onFiles} + files);
        QVERIFY2(b.exitCode == 0, qPrintable(b.err));
        QFile serverPages(onServer);
        QFile filePages(onFiles);
        QVERIFY(serverPages.open(QIODevice::ReadOnly));
        QVERIFY(filePages.open(QIODevice::ReadOnly));
        const QByteArray pages = serverPages.readAll();
        QVERIFY(pages.size() > 200);
        QCOMPARE(pages, filePages.readAll());
    }
}

void tst_HostDatabases::environmentNamesTheDatabase()
{
    QProcessEnvironment env;
    env.insert(QStringLiteral("OQUIVRAN_DATABASE"), m_uri);
    const Result result = host({QStringLiteral("check-stock")}, env);
    QCOMPARE(result.exitCode, 0);
    QVERIFY2(result.out.contains(u"ARTDSC = ARTCAT - suma(DIPCAN)"), qPrintable(result.out));
}

QTEST_GUILESS_MAIN(tst_HostDatabases)
#include "tst_HostDatabases.moc"
