#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

// A login role of its own on the throwaway PostgreSQL server, a member of the group roles
// given, with connections as that role on the schema of a PgTestDatabase's connection (the
// server trusts its local connections: no password). Roles belong to the whole server, so the
// name starts with the schema's, which no other test has. Dropped when it ends: destroy it
// before the PgTestDatabase, after every copy of its connections.
class PgTestRole
{
public:
    // Creates the role "<schema>_<suffix>" through owner, an open connection of the server's
    // superuser on a PgTestDatabase's schema; isCreated() tells whether it worked, and a
    // warning says why not.
    PgTestRole(const QSqlDatabase& owner, const QString& suffix, const QStringList& groups);
    // Closes and removes its connections, then drops the role.
    ~PgTestRole();
    PgTestRole(const PgTestRole&) = delete;
    PgTestRole& operator=(const PgTestRole&) = delete;

    bool isCreated() const { return m_created; }
    // The role's name, as current_user gives it.
    QString name() const { return m_name; }
    // A new connection as this role on the database's schema, named after the role and
    // purpose; check isOpen(), a warning says why it did not open.
    QSqlDatabase connect(const QString& purpose);

private:
    bool administer(const QString& sql) const;

    const QString m_owner;
    QString m_name;
    QStringList m_connections;
    bool m_created = false;
};
