#include "PgTestDatabase.h"

#include <QCoreApplication>
#include <QFile>
#include <QRandomGenerator>
#include <QSqlError>
#include <QSqlQuery>

PgTestDatabase::PgTestDatabase() : m_name(nextName())
{
    const QStringList settings = connectionSettings();
    if (settings.isEmpty())
        return;
    if (!administer(u"create schema " + m_name))
        return;
    // Only a schema this object created is dropped at the end, never another process's.
    m_schema = m_name;
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), m_name);
    configure(db, settings);
    db.setConnectOptions(u"options='-c search_path=" + m_schema + u'\'');
    m_open = db.open();
    if (!m_open)
        qWarning("PgTestDatabase: %s", qPrintable(db.lastError().text()));
}

PgTestDatabase::~PgTestDatabase()
{
    {
        QSqlDatabase db = QSqlDatabase::database(m_name, false);
        db.close();
    }
    QSqlDatabase::removeDatabase(m_name);
    if (!m_schema.isEmpty())
        administer(u"drop schema if exists " + m_schema + u" cascade");
}

bool PgTestDatabase::requested()
{
    return qEnvironmentVariable("OQUIVRAN_TEST_DATABASE") == QLatin1String("postgresql");
}

QStringList PgTestDatabase::connectionSettings()
{
    QFile file(qEnvironmentVariable("OQUIVRAN_TEST_POSTGRESQL"));
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning("PgTestDatabase: no throwaway server (OQUIVRAN_TEST_POSTGRESQL=%s)",
                 qPrintable(file.fileName()));
        return {};
    }
    return QString::fromUtf8(file.readAll()).simplified().split(u' ', Qt::SkipEmptyParts);
}

void PgTestDatabase::configure(QSqlDatabase& db, const QStringList& settings)
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

bool PgTestDatabase::administer(const QString& sql)
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
        qWarning("PgTestDatabase: %s: %s", qPrintable(sql), qPrintable(query.lastError().text()));
        return false;
    }
    return true;
}

QString PgTestDatabase::processTag()
{
    // Process ids alone do not tell test processes apart: each Wine prefix has a server of its
    // own, which hands out the same small ids to the programs of two runs at once.
    static const QString tag =
        QStringLiteral("%1_%2")
            .arg(QCoreApplication::applicationPid())
            .arg(QRandomGenerator::system()->generate(), 8, 16, QLatin1Char('0'));
    return tag;
}

QString PgTestDatabase::nextName()
{
    static int counter = 0;
    return u't' + processTag() + u'_' + QString::number(++counter);
}
