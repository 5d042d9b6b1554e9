#pragma once

#include <QString>
#include <QtGlobal>

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

    // The text set last.
    QString sql() const { return m_sql; }

protected:
    QString m_sql;
};

} // namespace oquivran
