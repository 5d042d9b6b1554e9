#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

namespace oquivran {

// The tables of the embedded default and of PostgreSQL, with the indexes the component's
// queries need.
class Schema
{
public:
    enum class Database {
        Discharge, // DIP, RIP, PRD, INS, INTINS
        Host,      // item, groupsubitems, facturas
        Audit,     // DIPAUD, in the discharge database, for a host that turns the trail on
    };
    enum class Server {
        SQLite,
        PostgreSQL, // the tables after the functions of functions-postgresql.sql
    };

    // The schema script of a database, as shipped (statements separated by ";").
    static QString script(Database database, Server server = Server::SQLite);
    // The statements that create a database on a server, one per element: for PostgreSQL the
    // functions first, then the tables.
    static QStringList statements(Database database, Server server = Server::SQLite);
    // The server of a connection, by its driver: QPSQL is PostgreSQL, any other SQLite.
    static Server serverOf(const QSqlDatabase& connection);
    // Creates the tables, indexes (and on PostgreSQL the functions) that are missing on an
    // open connection. Throws RuntimeError with the database's message when a statement
    // fails.
    static void create(const QSqlDatabase& connection, Database database);

    // The roles script of PostgreSQL, as shipped: the group roles oquivran_operador and
    // oquivran_auditor and their rights on the discharge tables of the connection's schema.
    static QString rolesScript();
    // Runs the roles script on an open QPSQL connection whose first schema holds the discharge
    // tables (and the audit table, when the trail is on), as their owner or a superuser; again
    // after the audit table is created. Throws RuntimeError (DatabaseError) on any other
    // connection, or with the server's message when a statement fails.
    static void createRoles(const QSqlDatabase& connection);
};

} // namespace oquivran
