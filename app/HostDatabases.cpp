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
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QUrl>
#include <QUrlQuery>

#include <algorithm>
#include <tuple>

namespace {

const QString dischargeConnection = QStringLiteral("host-discharge");
const QString hostConnection = QStringLiteral("host-host");

// The tables of each database, for removing them from a server; the audit trail goes with
// the discharges it recorded, as it goes with a file.
const QStringList dischargeTables = {QStringLiteral("DIP"),    QStringLiteral("INS"),
                                     QStringLiteral("INTINS"), QStringLiteral("PRD"),
                                     QStringLiteral("RIP"),    QStringLiteral("DIPAUD")};
const QStringList hostTables = {QStringLiteral("item"), QStringLiteral("groupsubitems"),
                                QStringLiteral("facturas"), QStringLiteral("grupos")};

// A value of a libpq connection setting, quoted so that blanks and quotes stay in it.
QString settingValue(QString value)
{
    value.replace(u'\\', QStringLiteral("\\\\")).replace(u'\'', QStringLiteral("\\'"));
    return u'\'' + value + u'\'';
}

// A QPSQL connection to the database a URI names. The URI's query settings other than host and
// port reach libpq as they are (sslmode, application_name, connect_timeout, options, ...);
// the driver passes its connect options on as connection settings.
QSqlDatabase serverConnection(const QString& name, const QString& location,
                              const QString& databaseName = QString())
{
    const QUrl url(location);
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
    const QUrlQuery query(url);
    const QString socketFolder = query.queryItemValue(QStringLiteral("host"), QUrl::FullyDecoded);
    database.setHostName(socketFolder.isEmpty() ? url.host() : socketFolder);
    const int port =
        url.port() > 0 ? url.port() : query.queryItemValue(QStringLiteral("port")).toInt();
    if (port > 0)
        database.setPort(port);
    database.setUserName(url.userName(QUrl::FullyDecoded));
    database.setPassword(url.password(QUrl::FullyDecoded));
    database.setDatabaseName(databaseName.isEmpty() ? url.path(QUrl::FullyDecoded).mid(1)
                                                    : databaseName);
    // The server's notices ("already exists, skipping") are not for the operator; options
    // the URI gives follow, so that theirs win.
    QString options = QStringLiteral("-c client_min_messages=warning");
    QStringList settings;
    for (const auto& [key, value] : query.queryItems(QUrl::FullyDecoded)) {
        if (key == u"host" || key == u"port")
            continue;
        if (key == u"options")
            options += u' ' + value;
        else
            settings << key + u'=' + settingValue(value);
    }
    settings.prepend(QStringLiteral("options=") + settingValue(options));
    database.setConnectOptions(settings.join(u' '));
    return database;
}

// What the server said when a connection failed: its own text, without the driver's.
QString serverText(const QSqlError& error)
{
    const QString text = error.databaseText().trimmed();
    return text.isEmpty() ? error.text().trimmed() : text;
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

QString HostDatabases::locationError(const QString& location)
{
    // A scheme of one letter is a Windows drive (C:\datos\x.sqlite): a file.
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]+:"));
    const bool valid =
        isServer(location) ? QUrl(location).isValid() : !scheme.match(location).hasMatch();
    if (valid)
        return QString();
    return QStringLiteral("No es una URI de PostgreSQL: %1 (use postgresql://usuario@servidor/"
                          "base, o la ruta de un archivo)")
        .arg(shown(location));
}

QString HostDatabases::shown(const QString& location)
{
    const qsizetype start = location.indexOf(QStringLiteral("://"));
    if (start < 0)
        return location;
    // The user information ends at the last @ before the query: a password typed unencoded
    // may hold @ or /.
    QString text = location;
    const qsizetype queryStart = text.indexOf(u'?', start);
    const qsizetype at = text.lastIndexOf(u'@', queryStart < 0 ? -1 : queryStart - 1);
    const qsizetype colon = text.indexOf(u':', start + 3);
    if (at > start && colon >= 0 && colon < at)
        text.replace(colon + 1, at - colon - 1, QStringLiteral("***"));
    // A password given as a connection setting.
    static const QRegularExpression setting(QStringLiteral("([?&]password=)[^&#]*"));
    return text.replace(setting, QStringLiteral("\\1***"));
}

bool HostDatabases::exists(const QString& location, Which which)
{
    return HostDatabases().presence(location, which) == Presence::Present;
}

HostDatabases::Presence HostDatabases::presence(const QString& location, Which which)
{
    if (!isServer(location))
        return QFileInfo::exists(location) ? Presence::Present : Presence::Absent;
    const QString name = QStringLiteral("host-exists");
    Presence found = Presence::Absent;
    {
        QSqlDatabase database;
        found = connectServer(database, name, location);
        if (found == Presence::Present) {
            QSqlQuery query(database);
            found = query.exec(which == Which::Discharge
                                   ? QStringLiteral("select to_regclass('dip') is not null")
                                   : QStringLiteral("select to_regclass('item') is not null")) &&
                            query.next() && query.value(0).toBool()
                        ? Presence::Present
                        : Presence::Absent;
        }
    }
    QSqlDatabase::removeDatabase(name);
    return found;
}

HostDatabases::Presence HostDatabases::connectServer(QSqlDatabase& database, const QString& name,
                                                     const QString& location)
{
    database = serverConnection(name, location);
    m_unreachable = false;
    if (database.open())
        return Presence::Present;
    const QString text = serverText(database.lastError());
    // libpq gives no SQLSTATE for a connection it could not make: whether the database exists
    // (what the server's 3D000 says) is asked of the server's catalogue through its
    // maintenance database, never read from the text, which is in the server's language.
    const QString probeName = name + QStringLiteral("-probe");
    bool missing = false;
    {
        QSqlDatabase probe = serverConnection(probeName, location, QStringLiteral("postgres"));
        if (probe.open()) {
            QSqlQuery query(probe);
            query.prepare(QStringLiteral("select 1 from pg_database where datname = ?"));
            query.addBindValue(database.databaseName());
            missing = query.exec() && !query.next();
        }
    }
    QSqlDatabase::removeDatabase(probeName);
    if (missing) {
        m_errorText = QStringLiteral("No existe la base de datos %1 en el servidor de %2: %3")
                          .arg(database.databaseName(), shown(location), text);
        return Presence::ServerDatabaseMissing;
    }
    m_errorText = QStringLiteral("No se pudo conectar con %1: %2").arg(shown(location), text);
    m_unreachable = true;
    return Presence::Unreachable;
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
        QSqlDatabase database;
        removed = connectServer(database, name, location) == Presence::Present;
        for (const QString& table : which == Which::Discharge ? dischargeTables : hostTables) {
            QSqlQuery query(database);
            if (removed && !query.exec(u"drop table if exists " + table + u" cascade")) {
                m_errorText = QStringLiteral("No se pudo borrar %1 de %2: %3")
                                  .arg(table, shown(location), query.lastError().text());
                removed = false;
            }
        }
    }
    QSqlDatabase::removeDatabase(name);
    return removed;
}

HostDatabases::~HostDatabases()
{
    // One that never opened (exists() asks through one) leaves the connections of another
    // open one alone.
    const bool opened = m_discharge.isValid() || m_host.isValid();
    m_dischargeData.reset();
    m_hostData.reset();
    m_discharge = QSqlDatabase();
    m_host = QSqlDatabase();
    if (!opened)
        return;
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
    m_serverDatabaseMissing = false;
    for (const QString& path : {dischargePath, hostPath}) {
        if (const QString error = locationError(path); !error.isEmpty()) {
            m_errorText = error;
            return Status::Invalid;
        }
    }
    const Presence dischargePresence = presence(dischargePath, Which::Discharge);
    if (dischargePresence == Presence::Unreachable)
        return Status::Unreachable;
    const Presence hostPresence = dischargePresence == Presence::ServerDatabaseMissing
                                      ? Presence::Absent
                                      : presence(hostPath, Which::Host);
    if (hostPresence == Presence::Unreachable)
        return Status::Unreachable;
    for (const Presence found : {dischargePresence, hostPresence}) {
        if (found == Presence::ServerDatabaseMissing) {
            m_serverDatabaseMissing = true;
            return Status::NotFound;
        }
    }
    const bool dischargeExists = dischargePresence == Presence::Present;
    const bool hostExists = hostPresence == Presence::Present;
    m_createdDischarge = !dischargeExists && (missing == Missing::CreateMissing ||
                                              (missing == Missing::CreateSample && !hostExists));
    m_createdHost = !hostExists && (missing == Missing::CreateMissing ||
                                    (missing == Missing::CreateSample && !dischargeExists));
    if ((!dischargeExists && !m_createdDischarge) || (!hostExists && !m_createdHost)) {
        m_errorText = QStringLiteral("No existe la base de datos %1")
                          .arg(shown(dischargeExists ? hostPath : dischargePath));
        m_createdDischarge = m_createdHost = false;
        return Status::NotFound;
    }
    for (const auto& [path, created] :
         {std::pair(dischargePath, m_createdDischarge), std::pair(hostPath, m_createdHost)}) {
        if (created && !isServer(path) && !QDir().mkpath(QFileInfo(path).absolutePath())) {
            m_errorText = QStringLiteral("No se pudo crear la carpeta de %1").arg(shown(path));
            return Status::Failed;
        }
    }
    for (const auto& [database, name, path] :
         {std::tuple(&m_discharge, dischargeConnection, dischargePath),
          std::tuple(&m_host, hostConnection, hostPath)}) {
        if (!openConnection(*database, name, path))
            return isServer(path) ? Status::Unreachable : Status::Failed;
    }
    if ((m_createdDischarge && !createTables(m_discharge, oquivran::SchemaDatabase::Discharge)) ||
        (m_createdHost && !createTables(m_host, oquivran::SchemaDatabase::Host)))
        return Status::Failed;
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

bool HostDatabases::hasAuditTrail() const
{
    const QStringList tables = m_discharge.tables();
    return std::any_of(tables.begin(), tables.end(), [](const QString& name) {
        return name.compare(QLatin1String("DIPAUD"), Qt::CaseInsensitive) == 0;
    });
}

bool HostDatabases::createAuditTrail(const QString& operatorName)
{
    const bool existed = hasAuditTrail();
    if (!createTables(m_discharge, oquivran::SchemaDatabase::AuditTrail))
        return false;
    if (existed)
        return true;
    // Written through the component's data object, with its functions for when and who: the
    // server's clock and role on PostgreSQL, the local time and the account on SQLite, as in
    // the rows the component writes afterwards.
    QString who = operatorName;
    const QString whoSql = who.isEmpty() ? QStringLiteral("oquivran_audit_user()")
                                         : u'\'' + who.replace(u'\'', QLatin1String("''")) + u'\'';
    try {
        m_dischargeData->setSql(
            QStringLiteral(
                "insert into DIPAUD (AUDFEC, AUDUSR, AUDQUE, EXTINT, EXTSBT, INTDCL, "
                "ARTNRO, ARTITM, ARTSBT, AUDANT, AUDNUE) select oquivran_audit_time(), ") +
            whoSql +
            QStringLiteral(", 'DIP alta', EXTINT, EXTSBT, ARTDCL, ARTNRO, ARTITM, ARTSBT, 0, "
                           "DIPCAN from DIP order by EXTINT, EXTSBT, ARTDCL, ARTNRO, ARTITM, "
                           "ARTSBT"));
        m_dischargeData->execute();
    } catch (const oquivran::RuntimeError& error) {
        setTablesError(m_discharge, error.description);
        return false;
    }
    return true;
}

void HostDatabases::bind(oquivran::clQUIVRAN& component)
{
    component.VincularDatos(m_dischargeData.get());
    component.VincularDatosMorvik(m_hostData.get());
}

bool HostDatabases::openConnection(QSqlDatabase& database, const QString& name,
                                   const QString& location)
{
    if (isServer(location))
        return connectServer(database, name, location) == Presence::Present;
    database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    database.setDatabaseName(location);
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
