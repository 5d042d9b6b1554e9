#include "HostDatabases.h"

#include "HostSchemaScripts.h"
#include "HostSettings.h"
#include "SampleData.h"

#include <oquivran/clQUIVRAN.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>

namespace {

const QString dischargeConnection = QStringLiteral("host-discharge");
const QString hostConnection = QStringLiteral("host-host");

// The host's own table of sub-item groups: the members printed with their root sub-item.
const QString groupsTable = QStringLiteral(
    "CREATE TABLE IF NOT EXISTS grupos (interno TEXT NOT NULL, idroot INTEGER NOT NULL, "
    "idsub INTEGER NOT NULL, PRIMARY KEY (interno, idsub))");

} // namespace

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
    const bool dischargeExists = QFileInfo::exists(dischargePath);
    const bool hostExists = QFileInfo::exists(hostPath);
    const bool create = !dischargeExists && !hostExists && missing == Missing::CreateSample;
    if (!create && (!dischargeExists || !hostExists)) {
        m_errorText = QStringLiteral("No existe la base de datos %1")
                          .arg(dischargeExists ? hostPath : dischargePath);
        return Status::NotFound;
    }
    if (create) {
        for (const QString& path : {dischargePath, hostPath}) {
            if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
                m_errorText = QStringLiteral("No se pudo crear la carpeta de %1").arg(path);
                return Status::Failed;
            }
        }
    }
    if (!openConnection(m_discharge, dischargeConnection, dischargePath) ||
        !openConnection(m_host, hostConnection, hostPath))
        return Status::Failed;
    if (create) {
        if (!runScript(m_discharge, QString::fromUtf8(host_schema::discharge)) ||
            !runScript(m_host, QString::fromUtf8(host_schema::host)))
            return Status::Failed;
    }
    // The host's own table; older sample files may lack it.
    if (!runScript(m_host, groupsTable))
        return Status::Failed;
    m_dischargeData = std::make_unique<oquivran::SqlDataObject>(m_discharge);
    m_hostData = std::make_unique<oquivran::SqlDataObject>(m_host);
    if (create) {
        QString error;
        if (!SampleData::seed(m_discharge, m_host, HostSettings::today(), error)) {
            m_errorText = QStringLiteral("No se pudo cargar la muestra: %1").arg(error);
            return Status::Failed;
        }
        return Status::Created;
    }
    return Status::Opened;
}

void HostDatabases::bind(oquivran::clQUIVRAN& component)
{
    component.VincularDatos(m_dischargeData.get());
    component.VincularDatosMorvik(m_hostData.get());
}

bool HostDatabases::openConnection(QSqlDatabase& database, const QString& name, const QString& path)
{
    database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    database.setDatabaseName(path);
    if (!database.open()) {
        m_errorText =
            QStringLiteral("No se pudo abrir %1: %2").arg(path, database.lastError().text());
        return false;
    }
    return true;
}

bool HostDatabases::runScript(const QSqlDatabase& database, const QString& script)
{
    // One statement per call: drop the comment lines, then split at the semicolons.
    QStringList lines;
    for (const QString& line : script.split(u'\n')) {
        if (!line.trimmed().startsWith(QStringLiteral("--")))
            lines << line;
    }
    for (const QString& statement : lines.join(u'\n').split(u';')) {
        if (statement.trimmed().isEmpty())
            continue;
        QSqlQuery query(database);
        if (!query.exec(statement)) {
            m_errorText = QStringLiteral("No se pudieron crear las tablas de %1: %2")
                              .arg(database.databaseName(), query.lastError().text());
            return false;
        }
    }
    return true;
}
