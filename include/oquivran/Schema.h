#pragma once

#include <QSqlDatabase>

namespace oquivran {

// The two databases the component reads: a host may keep them apart or in one database.
enum class SchemaDatabase {
    Discharge,  // DIP, RIP, PRD, INS, INTINS
    Host,       // item, groupsubitems, facturas
    AuditTrail, // DIPAUD, in the discharge database: for a host that turns the trail on
};

// Creates the tables and indexes of a database that are missing, as the schema scripts shipped
// with the component (share/oquivran) define them, on an open connection: SQLite, or
// PostgreSQL when its driver is QPSQL, where the functions the component's SQL calls come
// first. What exists is left as it is, data included. Throws RuntimeError (DatabaseError, with
// the database's message) when a statement fails; the statements before it stay done.
void createTables(const QSqlDatabase& connection, SchemaDatabase database);

} // namespace oquivran
