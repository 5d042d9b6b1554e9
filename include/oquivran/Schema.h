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

// Creates the group roles oquivran_operador and oquivran_auditor where missing and gives them
// their rights on the discharge tables, as roles-postgresql.sql (share/oquivran) does: the
// operator reads, discharges and appends to the audit trail, the auditor only reads. Needs an
// open QPSQL connection whose first schema holds the discharge tables, as their owner or a
// superuser (CREATEROLE the first time); run it again after creating the audit table. Throws
// RuntimeError (DatabaseError) on another connection, or with the server's message when a
// statement fails.
void createRoles(const QSqlDatabase& connection);

} // namespace oquivran
