#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

// A second connection on the database of a test's connection, as another operator's or an
// observer's: it reads past the data object under test, sees only what is committed, and can
// carry a data object of its own. Closed and removed when it ends; destroy every data object
// on it first.
class SecondConnection
{
public:
    // Opens a copy of database's connection under name, which no other open connection may
    // have; isOpen() tells whether it opened.
    SecondConnection(const QSqlDatabase& database, const QString& name)
        : m_name(name), m_open(QSqlDatabase::cloneDatabase(database, name).open())
    {
    }
    ~SecondConnection()
    {
        QSqlDatabase::database(m_name, false).close();
        QSqlDatabase::removeDatabase(m_name);
    }
    SecondConnection(const SecondConnection&) = delete;
    SecondConnection& operator=(const SecondConnection&) = delete;

    bool isOpen() const { return m_open; }
    // The connection, for a data object of its own or a statement of the test's.
    QSqlDatabase database() const { return QSqlDatabase::database(m_name, false); }
    // The first value of sql's first row; invalid when it fails or gives no row.
    QVariant scalar(const QString& sql) const
    {
        if (!m_open)
            return QVariant();
        QSqlQuery query(database());
        if (!query.exec(sql) || !query.next())
            return QVariant();
        return query.value(0);
    }
    // A table's rows as committed (-1 on failure).
    int count(const QString& table) const
    {
        const QVariant n = scalar(u"select count(*) from " + table);
        return n.isValid() ? n.toInt() : -1;
    }

private:
    const QString m_name;
    const bool m_open;
};
