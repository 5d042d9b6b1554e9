#include "BenchSession.h"

#include "ModuleState.h"
#include "PgTestDatabase.h"
#include "Schema.h"
#include "SqliteFunctions.h"

#include <oquivran/Module.h>
#include <oquivran/PgDataObject.h>
#include <oquivran/SqlDataObject.h>

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>

#include <stdexcept>

#include <libpq-fe.h>
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

PGconn* connectTo(const QString& settings)
{
    PGconn* connection = PQconnectdb(settings.toUtf8().constData());
    if (PQstatus(connection) != CONNECTION_OK)
        throw std::runtime_error("cannot connect to the server: " +
                                 std::string(PQerrorMessage(connection)));
    return connection;
}

void run(PGconn* connection, const QString& sql)
{
    PGresult* result = PQexec(connection, sql.toUtf8().constData());
    const ExecStatusType status = PQresultStatus(result);
    PQclear(result);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        throw std::runtime_error("bench statement: " + std::string(PQerrorMessage(connection)) +
                                 sql.toStdString());
}

// Copies the rows of a table of an SQLite file into the same table on the server.
void copyTable(sqlite3* from, PGconn* to, const QString& table)
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(from, ("select * from " + table).toUtf8().constData(), -1, &statement,
                       nullptr);
    PGresult* started = PQexec(to, QString(u"copy " + table + u" from stdin").toUtf8().constData());
    const bool copying = PQresultStatus(started) == PGRES_COPY_IN;
    PQclear(started);
    if (!copying)
        throw std::runtime_error("copy " + table.toStdString() + ": " + PQerrorMessage(to));
    QByteArray buffer;
    const int columns = sqlite3_column_count(statement);
    while (sqlite3_step(statement) == SQLITE_ROW) {
        for (int c = 0; c < columns; ++c) {
            if (c > 0)
                buffer += '\t';
            switch (sqlite3_column_type(statement, c)) {
            case SQLITE_NULL:
                buffer += "\\N";
                break;
            case SQLITE_FLOAT:
                buffer += QByteArray::number(sqlite3_column_double(statement, c), 'g', 17);
                break;
            default: {
                QByteArray text(reinterpret_cast<const char*>(sqlite3_column_text(statement, c)));
                text.replace('\\', "\\\\").replace('\t', "\\t").replace('\n', "\\n");
                buffer += text;
            }
            }
        }
        buffer += '\n';
        if (buffer.size() > (1 << 20)) {
            PQputCopyData(to, buffer.constData(), int(buffer.size()));
            buffer.clear();
        }
    }
    sqlite3_finalize(statement);
    PQputCopyData(to, buffer.constData(), int(buffer.size()));
    PQputCopyEnd(to, nullptr);
    PGresult* result = PQgetResult(to);
    const bool ok = PQresultStatus(result) == PGRES_COMMAND_OK;
    PQclear(result);
    while ((result = PQgetResult(to)))
        PQclear(result);
    if (!ok)
        throw std::runtime_error("copy " + table.toStdString() + ": " + PQerrorMessage(to));
}

// "host=... port=... user=..." with the database replaced.
QString withDatabase(QString settings, const QString& database)
{
    QStringList parts = settings.simplified().split(u' ', Qt::SkipEmptyParts);
    parts.removeIf([](const QString& part) { return part.startsWith(u"dbname="); });
    parts.append(u"dbname=" + database);
    return parts.join(u' ');
}

} // namespace

BenchSession::BenchSession(int lines, const QString& folder, Server server)
    : m_database(lines, folder), m_server(server)
{
    if (server == Server::PostgreSQL) {
        openOnServer();
        return;
    }
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

void BenchSession::openOnServer()
{
    const QString settings = qEnvironmentVariable("OQUIVRAN_BENCH_POSTGRESQL");
    if (settings.isEmpty())
        throw std::runtime_error("OQUIVRAN_BENCH_POSTGRESQL names no server");
    const QString database = QStringLiteral("bench_%1").arg(m_database.lines());
    PGconn* admin = connectTo(withDatabase(settings, QStringLiteral("postgres")));
    const QString query = u"select 1 from pg_database where datname = '" + database + u'\'';
    PGresult* found = PQexec(admin, query.toUtf8().constData());
    const bool exists = PQntuples(found) == 1;
    PQclear(found);
    if (!exists)
        run(admin, u"create database " + database);
    PQfinish(admin);
    m_floorServer = connectTo(withDatabase(settings, database));
    if (!exists) {
        // Both databases' tables in one, loaded from the cached files.
        using oquivran::Schema;
        QStringList statements =
            Schema::statements(Schema::Database::Discharge, Schema::Server::PostgreSQL);
        statements += Schema::statements(Schema::Database::Host, Schema::Server::PostgreSQL);
        for (const QString& statement : statements)
            run(m_floorServer, statement);
        const struct
        {
            QString path;
            QStringList tables;
        } files[] = {
            {m_database.dischargePath(),
             {QStringLiteral("INTINS"), QStringLiteral("INS"), QStringLiteral("PRD"),
              QStringLiteral("RIP"), QStringLiteral("DIP")}},
            {m_database.hostPath(),
             {QStringLiteral("item"), QStringLiteral("groupsubitems"), QStringLiteral("facturas")}},
        };
        for (const auto& file : files) {
            sqlite3* from = nullptr;
            sqlite3_open_v2(file.path.toUtf8().constData(), &from, SQLITE_OPEN_READONLY, nullptr);
            for (const QString& table : file.tables)
                copyTable(from, m_floorServer, table);
            sqlite3_close_v2(from);
        }
        run(m_floorServer, QStringLiteral("analyze"));
    }
    m_dischargeName = QStringLiteral("bench-pg-discharge-%1").arg(m_database.lines());
    m_hostName = QStringLiteral("bench-pg-host-%1").arg(m_database.lines());
    for (const QString& name : {m_dischargeName, m_hostName}) {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
        PgTestDatabase::configure(db, withDatabase(settings, database).split(u' '));
        if (!db.open())
            throw std::runtime_error("cannot open the server's database");
    }
    m_dischargeData =
        std::make_unique<oquivran::PgDataObject>(QSqlDatabase::database(m_dischargeName, false));
    m_hostData =
        std::make_unique<oquivran::PgDataObject>(QSqlDatabase::database(m_hostName, false));
}

FloorConnection BenchSession::floorDischarge() const
{
    if (m_floorServer)
        return FloorConnection(m_floorServer);
    return FloorConnection(m_floorDischarge);
}

FloorConnection BenchSession::floorHost() const
{
    if (m_floorServer)
        return FloorConnection(m_floorServer);
    return FloorConnection(m_floorHost);
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
    if (m_floorServer)
        PQfinish(m_floorServer);
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

void BenchSession::createAuditTrail() const
{
    using oquivran::Schema;
    const Schema::Server server =
        m_floorServer ? Schema::Server::PostgreSQL : Schema::Server::SQLite;
    for (const QString& statement : Schema::statements(Schema::Database::Audit, server))
        floorExec(statement);
    if (!m_floorServer)
        floorExec(QStringLiteral("drop trigger if exists DIPAUD_NO_DELETE"));
}

void BenchSession::componentExec(const QString& sql) const
{
    if (m_floorServer) {
        floorExec(sql);
        return;
    }
    QSqlQuery query(QSqlDatabase::database(m_dischargeName, false));
    if (!query.exec(sql))
        throw std::runtime_error("bench statement: " + query.lastError().text().toStdString());
}

void BenchSession::floorExec(const QString& sql) const
{
    if (m_floorServer) {
        run(m_floorServer, sql);
        return;
    }
    char* error = nullptr;
    if (sqlite3_exec(m_floorDischarge, sql.toUtf8().constData(), nullptr, nullptr, &error) !=
        SQLITE_OK) {
        const std::string message = error ? error : "unknown error";
        sqlite3_free(error);
        throw std::runtime_error("bench statement: " + message);
    }
}
