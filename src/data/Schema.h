#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

namespace oquivran {

// The tables of the embedded default, with the indexes the component's queries need.
class Schema
{
public:
    enum class Database {
        Discharge, // DIP, RIP, PRD, INS, INTINS
        Host,      // item, groupsubitems, facturas
    };

    // The schema script of a database, as shipped (statements separated by ";").
    static QString script(Database database);
    // The script's statements, one per element.
    static QStringList statements(Database database);
    // Creates the tables and indexes that are missing on an open connection. Throws
    // RuntimeError with the database's message when a statement fails.
    static void create(const QSqlDatabase& connection, Database database);
};

} // namespace oquivran
