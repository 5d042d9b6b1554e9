#include "HostDatabases.h"

#include "HostSettings.h"
#include "SampleData.h"

#include <oquivran/PgDataObject.h>
#include <oquivran/RuntimeError.h>
#include <oquivran/Schema.h>
#include <oquivran/SqlDataObject.h>
#include <oquivran/clQUIVRAN.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QUrl>
#include <QUrlQuery>

namespace {

const QString dischargeConnection = QStringLiteral("host-discharge");
const QString hostConnection = QStringLiteral("host-host");

// The host's own table of sub-item groups: the members printed with their root sub-item.
const QString groupsTable = QStringLiteral(
    "CREATE TABLE IF NOT EXISTS grupos (interno TEXT NOT NULL, idroot INTEGER NOT NULL, "
    "idsub INTEGER NOT NULL, PRIMARY KEY (interno, idsub))");

// The tables of each database, for removing them from a server.
const QStringList dischargeTables = {QStringLiteral("DIP"), QStringLiteral("INS"),
                                     QStringLiteral("INTINS"), QStringLiteral("PRD"),
                                     QStringLiteral("RIP")};
const QStringList hostTables = {QStringLiteral("item"), QStringLiteral("groupsubitems"),
                                QStringLiteral("facturas"), QStringLiteral("grupos")};

// A QPSQL connection to the database a URI names.
QSqlDatabase serverConnection(const QString& name, const QString& location)
{
    const QUrl url(location);
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
    const QString socketFolder =
        QUrlQuery(url).queryItemValue(QStringLiteral("host"), QUrl::FullyDecoded);
    database.setHostName(socketFolder.isEmpty() ? url.host() : socketFolder);
    const int port =
        url.port() > 0 ? url.port() : QUrlQuery(url).queryItemValue(QStringLiteral("port")).toInt();
    if (port > 0)
        database.setPort(port);
    database.setUserName(url.userName());
    database.setPassword(url.password());
    database.setDatabaseName(url.path().mid(1));
    // The server's notices ("already exists, skipping") are not for the operator.
    database.setConnectOptions(QStringLiteral("options='-c client_min_messages=warning'"));
    return database;
}

} // namespace

QString HostDatabases::location(const QCommandLineParser& parser, Which which, bool* explicitly)
{
    const QString option =
        which == Which::Discharge ? QStringLiteral("discharge-db") : QStringLiteral("host-db");
    QString value;
    if (parser.isSet(option))
        value = parser.value(option);
    else if (parser.optionNames().contains(QStringLiteral("database")) &&
             parser.isSet(QStringLiteral("database")))
        value = parser.value(QStringLiteral("database"));
    else
        value = qEnvironmentVariable("OQUIVRAN_DATABASE");
    if (explicitly)
        *explicitly = !value.isEmpty();
    if (!value.isEmpty())
        return value;
    return which == Which::Discharge ? defaultDischargePath() : defaultHostPath();
}

bool HostDatabases::isServer(const QString& location)
{
    return location.startsWith(QStringLiteral("postgresql://")) ||
           location.startsWith(QStringLiteral("postgres://"));
}

bool HostDatabases::exists(const QString& location, Which which)
{
    if (!isServer(location))
        return QFileInfo::exists(location);
    const QString name = QStringLiteral("host-exists");
    bool found = false;
    {
        QSqlDatabase database = serverConnection(name, location);
        if (database.open()) {
            QSqlQuery query(database);
            found = query.exec(which == Which::Discharge
                                   ? QStringLiteral("select to_regclass('dip') is not null")
                                   : QStringLiteral("select to_regclass('item') is not null")) &&
                    query.next() && query.value(0).toBool();
        }
    }
    QSqlDatabase::removeDatabase(name);
    return found;
}

bool HostDatabases::remove(const QString& location, Which which)
{
    if (!isServer(location)) {
        for (const QString& suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")})
            QFile::remove(location + suffix);
        return true;
    }
    const QString name = QStringLiteral("host-remove");
    bool removed = true;
    {
        QSqlDatabase database = serverConnection(name, location);
        if (!database.open()) {
            m_errorText = QStringLiteral("No se pudo abrir %1: %2")
                              .arg(location, database.lastError().text());
            removed = false;
        }
        for (const QString& table : which == Which::Discharge ? dischargeTables : hostTables) {
            QSqlQuery query(database);
            if (removed && !query.exec(u"drop table if exists " + table + u" cascade")) {
                m_errorText = QStringLiteral("No se pudo borrar %1 de %2: %3")
                                  .arg(table, location, query.lastError().text());
                removed = false;
            }
        }
    }
    QSqlDatabase::removeDatabase(name);
    return removed;
}

HostDatabases::~HostDatabases()
{
    m_dischargeData.reset();
    m_hostData.reset();
    m_discharge = QSqlDatabase();
    m_host = QSqlDatabase();
    QSqlDatabase::removeDatabase(dischargeConnection);
    QSqlDatabase::removeDatabase(hostConnection);
}

QString HostDatabases::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QString HostDatabases::defaultDischargePath()
{
    return QDir(defaultFolder()).filePath(QStringLiteral("descargas.sqlite"));
}

QString HostDatabases::defaultHostPath()
{
    return QDir(defaultFolder()).filePath(QStringLiteral("anfitrion.sqlite"));
}

QString HostDatabases::defaultFormsFolder()
{
    const QString installed =
        QDir(QCoreApplication::applicationDirPath())
            .filePath(QStringLiteral("../") + QStringLiteral(OQUIVRAN_HOST_INSTALLED_FORMS_DIR));
    if (QFileInfo::exists(QDir(installed).filePath(QStringLiteral("adj1.kbx"))))
        return QDir::cleanPath(installed) + u'/';
    return QStringLiteral(OQUIVRAN_HOST_BUILD_FORMS_DIR "/");
}

HostDatabases::Status HostDatabases::open(const QString& dischargePath, const QString& hostPath,
                                          Missing missing)
{
    m_dischargePath = dischargePath;
    m_hostPath = hostPath;
    const bool dischargeExists = exists(dischargePath, Which::Discharge);
    const bool hostExists = exists(hostPath, Which::Host);
    m_createdDischarge = !dischargeExists && (missing == Missing::CreateMissing ||
                                              (missing == Missing::CreateSample && !hostExists));
    m_createdHost = !hostExists && (missing == Missing::CreateMissing ||
                                    (missing == Missing::CreateSample && !dischargeExists));
    if ((!dischargeExists && !m_createdDischarge) || (!hostExists && !m_createdHost)) {
        m_errorText = QStringLiteral("No existe la base de datos %1")
                          .arg(dischargeExists ? hostPath : dischargePath);
        m_createdDischarge = m_createdHost = false;
        return Status::NotFound;
    }
    for (const auto& [path, created] :
         {std::pair(dischargePath, m_createdDischarge), std::pair(hostPath, m_createdHost)}) {
        if (created && !isServer(path) && !QDir().mkpath(QFileInfo(path).absolutePath())) {
            m_errorText = QStringLiteral("No se pudo crear la carpeta de %1").arg(path);
            return Status::Failed;
        }
    }
    if (!openConnection(m_discharge, dischargeConnection, dischargePath) ||
        !openConnection(m_host, hostConnection, hostPath))
        return Status::Failed;
    if ((m_createdDischarge && !createTables(m_discharge, oquivran::SchemaDatabase::Discharge)) ||
        (m_createdHost && !createTables(m_host, oquivran::SchemaDatabase::Host)))
        return Status::Failed;
    // The host's own table; older sample files may lack it.
    if (QSqlQuery groups(m_host); !groups.exec(groupsTable)) {
        setTablesError(m_host, groups.lastError().text());
        return Status::Failed;
    }
    const auto dataObject =
        [](const QSqlDatabase& database) -> std::unique_ptr<oquivran::DataObject> {
        if (database.driverName() == u"QPSQL")
            return std::make_unique<oquivran::PgDataObject>(database);
        return std::make_unique<oquivran::SqlDataObject>(database);
    };
    m_dischargeData = dataObject(m_discharge);
    m_hostData = dataObject(m_host);
    QString error;
    if ((m_createdDischarge &&
         !SampleData::seedDischarge(m_discharge, HostSettings::today(), error)) ||
        (m_createdHost && !SampleData::seedHost(m_host, error))) {
        m_errorText = QStringLiteral("No se pudo cargar la muestra: %1").arg(error);
        return Status::Failed;
    }
    if (m_createdDischarge || m_createdHost)
        return Status::Created;
    return Status::Opened;
}

HostDatabases::Status HostDatabases::open(const QCommandLineParser& parser)
{
    bool explicitDischarge = false;
    bool explicitHost = false;
    const QString dischargePath = location(parser, Which::Discharge, &explicitDischarge);
    const QString hostPath = location(parser, Which::Host, &explicitHost);
    return open(dischargePath, hostPath,
                explicitDischarge || explicitHost ? Missing::Fail : Missing::CreateSample);
}

void HostDatabases::bind(oquivran::clQUIVRAN& component)
{
    component.VincularDatos(m_dischargeData.get());
    component.VincularDatosMorvik(m_hostData.get());
}

bool HostDatabases::openConnection(QSqlDatabase& database, const QString& name,
                                   const QString& location)
{
    if (isServer(location)) {
        database = serverConnection(name, location);
    } else {
        database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(location);
    }
    if (!database.open()) {
        m_errorText =
            QStringLiteral("No se pudo abrir %1: %2").arg(location, database.lastError().text());
        return false;
    }
    return true;
}

bool HostDatabases::createTables(const QSqlDatabase& database, oquivran::SchemaDatabase which)
{
    try {
        oquivran::createTables(database, which);
    } catch (const oquivran::RuntimeError& error) {
        setTablesError(database, error.description);
        return false;
    }
    return true;
}

void HostDatabases::setTablesError(const QSqlDatabase& database, const QString& message)
{
    m_errorText = QStringLiteral("No se pudieron crear las tablas de %1: %2")
                      .arg(database.databaseName(), message);
}
