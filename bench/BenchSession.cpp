#include "BenchSession.h"

#include "ModuleState.h"
#include "SqliteFunctions.h"

#include <oquivran/Module.h>

#include <QFile>
#include <QSqlDatabase>

#include <stdexcept>

#include <sqlite3.h>

namespace {

sqlite3* openFloor(const QString& path)
{
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READWRITE, nullptr) !=
        SQLITE_OK)
        throw std::runtime_error("cannot open " + path.toStdString());
    oquivran::SqliteFunctions::install(db);
    // The component's own connection settings.
    sqlite3_busy_timeout(db, 5000);
    sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
    sqlite3_exec(db, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
    sqlite3_exec(db, "PRAGMA cache_size=-65536", nullptr, nullptr, nullptr);
    return db;
}

QSqlDatabase addConnection(const QString& name, const QString& path)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    db.setDatabaseName(path);
    if (!db.open())
        throw std::runtime_error("cannot open " + path.toStdString());
    return db;
}

} // namespace

BenchSession::BenchSession(int lines, const QString& folder) : m_database(lines, folder)
{
    m_workPath = folder + QStringLiteral("/work-%1-discharge.sqlite").arg(lines);
    for (const QString& suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")})
        QFile::remove(m_workPath + suffix);
    if (!QFile::copy(m_database.dischargePath(), m_workPath))
        throw std::runtime_error("cannot copy the benchmark database");
    m_dischargeName = QStringLiteral("bench-discharge-%1").arg(lines);
    m_hostName = QStringLiteral("bench-host-%1").arg(lines);
    m_dischargeData =
        std::make_unique<oquivran::SqlDataObject>(addConnection(m_dischargeName, m_workPath));
    m_hostData =
        std::make_unique<oquivran::SqlDataObject>(addConnection(m_hostName, m_database.hostPath()));
    m_floorDischarge = openFloor(m_workPath);
    m_floorHost = openFloor(m_database.hostPath());
}

BenchSession::~BenchSession()
{
    oquivran::resetModuleState();
    m_dischargeData.reset();
    m_hostData.reset();
    QSqlDatabase::database(m_dischargeName, false).close();
    QSqlDatabase::database(m_hostName, false).close();
    QSqlDatabase::removeDatabase(m_dischargeName);
    QSqlDatabase::removeDatabase(m_hostName);
    sqlite3_close_v2(m_floorDischarge);
    sqlite3_close_v2(m_floorHost);
}

void BenchSession::bind(const QString& valueFormat) const
{
    oquivran::resetModuleState();
    oquivran::ModuleState& state = oquivran::moduleState();
    state.dataObject = m_dischargeData.get();
    state.secondDataObject = m_hostData.get();
    state.applyFormats({false, valueFormat, QStringLiteral("00.000000")});
}

void BenchSession::setSubItem(const QString& interno, qint16 subItem, const QString& product,
                              double quantity)
{
    oquivran::ModuleState& state = oquivran::moduleState();
    state.INTERNO = interno;
    state.SUBITEM = subItem;
    state.CATNRO = QStringLiteral("CAT");
    state.PRDNRO = product;
    state.PRDCAN = quantity;
}

void BenchSession::floorExec(const QString& sql) const
{
    char* error = nullptr;
    if (sqlite3_exec(m_floorDischarge, sql.toUtf8().constData(), nullptr, nullptr, &error) !=
        SQLITE_OK) {
        const std::string message = error ? error : "unknown error";
        sqlite3_free(error);
        throw std::runtime_error("bench statement: " + message);
    }
}
