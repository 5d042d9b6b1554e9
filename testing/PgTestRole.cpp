#include "PgTestRole.h"

#include <QSqlError>
#include <QSqlQuery>

PgTestRole::PgTestRole(const QSqlDatabase& owner, const QString& suffix, const QStringList& groups)
    : m_owner(owner.connectionName())
{
    QSqlQuery schema(owner);
    if (!schema.exec(QStringLiteral("select current_schema()")) || !schema.next() ||
        schema.value(0).toString().isEmpty()) {
        qWarning("PgTestRole: no schema: %s", qPrintable(schema.lastError().text()));
        return;
    }
    m_name = schema.value(0).toString() + u'_' + suffix;
    QString sql = u"create role " + m_name + u" login";
    if (!groups.isEmpty())
        sql += u" in role " + groups.join(u", ");
    m_created = administer(sql);
}

PgTestRole::~PgTestRole()
{
    for (const QString& name : std::as_const(m_connections)) {
        QSqlDatabase::database(name, false).close();
        QSqlDatabase::removeDatabase(name);
    }
    if (m_created)
        administer(u"drop role if exists " + m_name);
}

QSqlDatabase PgTestRole::connect(const QString& purpose)
{
    const QString name = m_owner + u'-' + m_name + u'-' + purpose;
    // The owner's connection gives the server and the schema's search path.
    QSqlDatabase db = QSqlDatabase::cloneDatabase(QSqlDatabase::database(m_owner, false), name);
    m_connections.append(name);
    db.setUserName(m_name);
    db.setPassword(QString());
    if (!db.open())
        qWarning("PgTestRole: %s: %s", qPrintable(m_name), qPrintable(db.lastError().text()));
    return db;
}

bool PgTestRole::administer(const QString& sql) const
{
    QSqlQuery query(QSqlDatabase::database(m_owner, false));
    if (!query.exec(sql)) {
        qWarning("PgTestRole: %s: %s", qPrintable(sql), qPrintable(query.lastError().text()));
        return false;
    }
    return true;
}
