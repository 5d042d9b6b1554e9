#pragma once

#include "SqlLexer.h"

#include <QString>
#include <QVariant>
#include <QVariantList>

#include <memory>

namespace oquivran {

class PreparedStatement;
class RowReceiver;
class RuntimeError;

// What one database adds to the statement pipeline that every data object shares (as a
// driver under its results): its connection and the connection's set-up, preparing a text as
// the database runs it, binding values, stepping through rows and decoding a value. The
// pipeline does the rest: taking the values out of a text, keeping prepared statements by
// their shared text, running a text once when it is not shared, building the recordset.
// Every call may throw RuntimeError with the database's message and code.
class StatementDriver
{
public:
    // The connection statements were prepared on. Another handle, or the same handle opened
    // again (another session), makes the statements kept on the previous one unusable.
    struct Connection
    {
        const void* handle = nullptr;
        qint64 session = 0;
        bool operator==(const Connection&) const = default;
    };

    // How a query hands over its rows.
    enum class Reading {
        Whole,    // every row at once: the database may send them in one piece
        RowByRow, // as they are asked for: rows not asked for are not read
    };

    // How a run of a kept statement ended.
    enum class Ending {
        Done,
        // The tables changed under the statement and it cannot run as prepared: nothing was
        // handed over or changed. The pipeline forgets it and runs the text once instead.
        Stale,
    };

    // source names the data object in the errors the pipeline and the driver throw.
    explicit StatementDriver(const QString& source);
    virtual ~StatementDriver();
    StatementDriver(const StatementDriver&) = delete;
    StatementDriver& operator=(const StatementDriver&) = delete;

    // A RuntimeError (DatabaseError) with the description and the database's code, from the
    // data object this driver serves; fail() throws it.
    RuntimeError error(const QString& description, const QString& code = QString()) const;
    [[noreturn]] void fail(const QString& description, const QString& code = QString()) const;

    // Whether the connection is open and usable now, without opening it.
    virtual bool isOpen() const = 0;
    // The connection, opened (again) and set up for the component when needed. Throws when
    // it cannot be opened, or when a unit of atomic writes was lost with it.
    virtual Connection open() = 0;
    // Called once the statements kept on a connection were released: what the connection
    // still needs (closing one that was closed under its statements).
    virtual void released(const Connection& connection);
    // Whether the statements kept stay usable after a text run once changed the tables (the
    // database prepares them again by itself, or reports them stale). When not, the pipeline
    // releases them before running such a text as an action.
    virtual bool keepsStatementsAcrossChanges() const = 0;

    // The statement for a text whose literals were taken out as "?", to run with valueCount
    // values; null when that form does not prepare, the text then running as written. Throws
    // when nothing more can run on the connection.
    virtual std::unique_ptr<PreparedStatement> prepareShared(const SqlLexer::Lexed& text,
                                                             qsizetype valueCount) = 0;
    // The text as written, prepared for one run. Throws the database's error, or "No SQL
    // statement to execute" / "Unable to execute multiple statements at a time".
    virtual std::unique_ptr<PreparedStatement> prepareOnce(const SqlLexer::Lexed& text) = 0;

    // Runs a query with its values, handing its rows to receiver. Stale only for a kept
    // statement.
    virtual Ending query(PreparedStatement& statement, const QVariantList& values, Reading reading,
                         RowReceiver& receiver) = 0;
    // Runs an action statement with its values; changed gets the number of records it
    // inserted, updated or deleted (0 for other statements). Stale only for a kept statement.
    virtual Ending action(PreparedStatement& statement, const QVariantList& values,
                          qint32& changed) = 0;

    // A whole number as a field value: int when it fits, else qlonglong.
    static QVariant wholeValue(qint64 value);
    // A count of records as execute() returns it, at most the largest qint32.
    static qint32 recordCount(qint64 count);

private:
    QString m_source;
};

} // namespace oquivran
