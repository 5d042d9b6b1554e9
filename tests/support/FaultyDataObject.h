#pragma once

#include <oquivran/DataObject.h>
#include <oquivran/Recordset.h>

#include <QStringList>

#include <functional>

// A data-access object that hands every statement to another one and, just before the Nth
// statement (opened or executed, counted from 1), runs a fault: closing the database, locking
// it from another connection, taking its file away; or, with beforeEach, before every
// statement (throwing there fails the statement). Records the statements it saw. Units, their
// waits and their conflicts are the target's.
class FaultyDataObject : public oquivran::DataObject
{
public:
    explicit FaultyDataObject(oquivran::DataObject* target) : m_target(target) {}

    // Runs fault before the nth statement from now (1 = the next one).
    void faultAt(int n, std::function<void()> fault)
    {
        m_faultAt = int(statements.size()) + n;
        m_fault = std::move(fault);
    }
    void setSql(const QString& sql) override
    {
        DataObject::setSql(sql);
        m_target->setSql(sql);
    }
    bool open(oquivran::Recordset& rs) override
    {
        before();
        return m_target->open(rs);
    }
    void transaction() override { m_target->transaction(); }
    void commit() override { m_target->commit(); }
    void rollback() override { m_target->rollback(); }
    int lockWait() const override { return m_target->lockWait(); }
    bool isConflict(const oquivran::RuntimeError& error) const override
    {
        return m_target->isConflict(error);
    }
    void lockStock(const QStringList& inputCodes, int milliseconds) override
    {
        m_target->lockStock(inputCodes, milliseconds);
    }
    void unlockStock() override { m_target->unlockStock(); }
    qint32 execute() override
    {
        before();
        return m_target->execute();
    }

    QStringList statements; // every text run, in order, the faulted one included
    std::function<void(const QString& sql)> beforeEach;

private:
    void before()
    {
        statements.append(m_sql);
        if (beforeEach)
            beforeEach(m_sql);
        if (int(statements.size()) == m_faultAt && m_fault)
            m_fault();
    }

    oquivran::DataObject* m_target;
    int m_faultAt = -1;
    std::function<void()> m_fault;
};
