#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

namespace oquivran {

class Recordset;

// The host's data-access object: all SQL of the component runs through one of these. A host
// may bind its own implementation; SqlDataObject is the one for SQLite.
class DataObject
{
public:
    virtual ~DataObject();

    // Sets the SQL text that the next open() or execute() runs.
    virtual void setSql(const QString& sql);
    // Runs the text as a query and replaces rs with its rows. Returns true when rows came back.
    // Throws RuntimeError with the database's message when the query fails.
    virtual bool open(Recordset& rs) = 0;
    // Runs the text as an action statement. Returns the number of records affected. Throws
    // RuntimeError with the database's message when the statement fails.
    virtual qint32 execute() = 0;
    // Runs the text as a query and hands its rows to visit one at a time, each as a recordset
    // positioned on that row, until visit returns false or the rows end; rows after that are
    // not read. visit must not run statements through this object. Returns true when rows
    // came back. Throws RuntimeError with the database's message when the query fails, and
    // lets what visit throws through. This one opens the whole query and walks it; an object
    // that can read rows as they are asked for does better.
    virtual bool forEachRow(const std::function<bool(const Recordset&)>& visit);

    // Atomic writes (Qt's names, as on QSqlDatabase). transaction() starts a unit whose
    // statements take effect together at commit() or not at all after rollback(). A unit
    // holds the database's writer lock from its start, so two units never interleave.
    // Each throws RuntimeError with the database's message when it fails. These defaults
    // throw RuntimeError saying that this data object cannot run atomic writes: a host's own
    // object without them fails clearly instead of writing statement by statement.
    virtual void transaction();
    virtual void commit();
    virtual void rollback();

    // The text set last.
    QString sql() const { return m_sql; }

protected:
    QString m_sql;
};

} // namespace oquivran
