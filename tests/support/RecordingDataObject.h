#pragma once

#include "ForwardingDataObject.h"

#include <oquivran/RuntimeError.h>

#include <QStringList>

// A data-access object that records every SQL text it is asked to run and hands it to another
// data-access object (usually a SqlDataObject). It can fail the Nth execute() on purpose, as a
// database error would, to show what a routine leaves behind.
class RecordingDataObject : public ForwardingDataObject
{
public:
    // Units of atomic writes are the target's; waits and conflicts are not (a host's own object
    // without them).
    explicit RecordingDataObject(oquivran::DataObject* target)
        : ForwardingDataObject(target, Forwarding::NoWaits)
    {
    }

    // Makes the nth execute() from now on (1 = the next) throw instead of running.
    void failExecuteAt(int n) { m_failExecuteAt = m_executeCount + n; }
    void clear()
    {
        statements.clear();
        opened.clear();
        executed.clear();
    }

    QStringList statements; // every text opened or executed, in order
    QStringList opened;
    QStringList executed;
    QString failedStatement;

protected:
    void aboutToQuery() override
    {
        opened.append(m_sql);
        statements.append(m_sql);
    }
    void aboutToExecute() override
    {
        ++m_executeCount;
        if (m_failExecuteAt == m_executeCount) {
            failedStatement = m_sql;
            throw oquivran::RuntimeError(oquivran::DatabaseError, QStringLiteral("disk I/O error"),
                                         QStringLiteral("test"));
        }
        executed.append(m_sql);
        statements.append(m_sql);
    }

private:
    int m_executeCount = 0;
    int m_failExecuteAt = -1;
};
