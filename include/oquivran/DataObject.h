#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <functional>

namespace oquivran {

class Recordset;
class RuntimeError;

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

    // Units that wait their turn, for offices where several operators discharge at once.
    // How long a unit may wait for other operators' units, in milliseconds: for the locks it
    // takes and for running again after a conflict. This default, 0, runs a unit once.
    virtual int lockWait() const;
    // Whether error is a conflict with another operator's unit after which the unit, undone,
    // may run again with what is committed then (the database refused it to keep units
    // apart, or stayed locked). This default: never.
    virtual bool isConflict(const RuntimeError& error) const;
    // Called before a unit that writes the discharges and availability of the stock of these
    // inputs: waits, for at most milliseconds, until no other operator's unit holds any of
    // them, and holds them until unlockStock(), so that such units on one stock run one after
    // the other. Throws RuntimeError when the wait runs out or the database fails. This
    // default does nothing: the database's writer lock already keeps units apart.
    virtual void lockStock(const QStringList& inputCodes, int milliseconds);
    // Lets go of what lockStock() holds; nothing held is no error. Never throws.
    virtual void unlockStock();

    // The text set last.
    QString sql() const { return m_sql; }

protected:
    QString m_sql;
};

} // namespace oquivran
