#pragma once

#include <QCoreApplication>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QStringList>

// A schema of its own on the throwaway PostgreSQL server of the test run
// (tests/support/postgresql_server.sh, whose connection $OQUIVRAN_TEST_POSTGRESQL names), with a
// QPSQL connection whose search path is that schema, so unqualified tables and the schema's
// functions are this database's alone. The schema is dropped when it is destroyed: destroy
// every copy of database() first.
class PgTestDatabase
{
public:
    PgTestDatabase() : m_name(nextName())
    {
        const QStringList settings = connectionSettings();
        if (settings.isEmpty())
            return;
        m_schema = m_name.toLower().replace(u'-', u'_');
        if (!administer(u"create schema " + m_schema))
            return;
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), m_name);
        configure(db, settings);
        db.setConnectOptions(u"options='-c search_path=" + m_schema + u'\'');
        m_open = db.open();
        if (!m_open)
            qWarning("PgTestDatabase: %s", qPrintable(db.lastError().text()));
    }
    ~PgTestDatabase()
    {
        {
            QSqlDatabase db = QSqlDatabase::database(m_name, false);
            db.close();
        }
        QSqlDatabase::removeDatabase(m_name);
        if (!m_schema.isEmpty())
            administer(u"drop schema if exists " + m_schema + u" cascade");
    }
    PgTestDatabase(const PgTestDatabase&) = delete;
    PgTestDatabase& operator=(const PgTestDatabase&) = delete;

    // True when the run asks for PostgreSQL (OQUIVRAN_TEST_DATABASE=postgresql).
    static bool requested()
    {
        return qEnvironmentVariable("OQUIVRAN_TEST_DATABASE") == QLatin1String("postgresql");
    }

    // True when the schema was created and the connection opened.
    bool isOpen() const { return m_open; }
    QSqlDatabase database() const { return QSqlDatabase::database(m_name, false); }
    QString connectionName() const { return m_name; }
    QString schema() const { return m_schema; }

    // "host=... port=... user=... dbname=..." of the throwaway server, split at blanks; empty
    // when there is none.
    static QStringList connectionSettings()
    {
        QFile file(qEnvironmentVariable("OQUIVRAN_TEST_POSTGRESQL"));
        if (!file.open(QIODevice::ReadOnly)) {
            qWarning("PgTestDatabase: no throwaway server (OQUIVRAN_TEST_POSTGRESQL=%s)",
                     qPrintable(file.fileName()));
            return {};
        }
        return QString::fromUtf8(file.readAll()).simplified().split(u' ', Qt::SkipEmptyParts);
    }
    // Sets host, port, user and database of a QPSQL connection from the settings.
    static void configure(QSqlDatabase& db, const QStringList& settings)
    {
        for (const QString& setting : settings) {
            const QString key = setting.section(u'=', 0, 0);
            const QString value = setting.section(u'=', 1);
            if (key == u"host")
                db.setHostName(value);
            else if (key == u"port")
                db.setPort(value.toInt());
            else if (key == u"user")
                db.setUserName(value);
            else if (key == u"dbname")
                db.setDatabaseName(value);
        }
    }

private:
    // Runs a statement on a connection of the test process's own, without a search path.
    static bool administer(const QString& sql)
    {
        const QString name = QStringLiteral("PgTestDatabase-admin");
        QSqlDatabase admin = QSqlDatabase::database(name, false);
        if (!admin.isValid()) {
            admin = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
            configure(admin, connectionSettings());
        }
        if (!admin.isOpen() && !admin.open()) {
            qWarning("PgTestDatabase: %s", qPrintable(admin.lastError().text()));
            return false;
        }
        QSqlQuery query(admin);
        if (!query.exec(sql)) {
            qWarning("PgTestDatabase: %s: %s", qPrintable(sql),
                     qPrintable(query.lastError().text()));
            return false;
        }
        return true;
    }
    static QString nextName()
    {
        static int counter = 0;
        return QStringLiteral("T%1-%2").arg(QCoreApplication::applicationPid()).arg(++counter);
    }

    QString m_name;
    QString m_schema;
    bool m_open = false;
};
