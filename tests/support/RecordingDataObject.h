#pragma once

#include <oquivran/DataObject.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QStringList>

// A data-access object that records every SQL text it is asked to run and hands it to another
// data-access object (usually a SqlDataObject). It can fail the Nth execute() on purpose, as a
// database error would, to show what a routine leaves behind.
class RecordingDataObject : public oquivran::DataObject
{
public:
    explicit RecordingDataObject(oquivran::DataObject* target) : m_target(target) {}

    void setSql(const QString& sql) override
    {
        DataObject::setSql(sql);
        m_target->setSql(sql);
    }
    bool open(oquivran::Recordset& rs) override
    {
        opened.append(m_sql);
        statements.append(m_sql);
        return m_target->open(rs);
    }
    // Units of atomic writes are the target's.
    void transaction() override { m_target->transaction(); }
    void commit() override { m_target->commit(); }
    void rollback() override { m_target->rollback(); }
    qint32 execute() override
    {
        ++m_executeCount;
        if (m_failExecuteAt == m_executeCount) {
            failedStatement = m_sql;
            throw oquivran::RuntimeError(oquivran::DatabaseError, QStringLiteral("disk I/O error"),
                                         QStringLiteral("test"));
        }
        executed.append(m_sql);
        statements.append(m_sql);
        return m_target->execute();
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

private:
    oquivran::DataObject* m_target;
    int m_executeCount = 0;
    int m_failExecuteAt = -1;
};
