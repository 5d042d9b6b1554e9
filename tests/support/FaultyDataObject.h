#pragma once

#include "ForwardingDataObject.h"

#include <QStringList>

#include <functional>

// A data-access object that hands every statement to another one and, just before the Nth
// statement (opened or executed, counted from 1), runs a fault: closing the database, locking
// it from another connection, taking its file away; or, with beforeEach, before every
// statement (throwing there fails the statement). Records the statements it saw. Units, their
// waits and their conflicts are the target's.
class FaultyDataObject : public ForwardingDataObject
{
public:
    explicit FaultyDataObject(oquivran::DataObject* target) : ForwardingDataObject(target) {}

    // Runs fault before the nth statement from now (1 = the next one).
    void faultAt(int n, std::function<void()> fault)
    {
        m_faultAt = int(statements.size()) + n;
        m_fault = std::move(fault);
    }

    QStringList statements; // every text run, in order, the faulted one included
    std::function<void(const QString& sql)> beforeEach;

protected:
    void aboutToQuery() override { before(); }
    void aboutToExecute() override { before(); }

private:
    void before()
    {
        statements.append(m_sql);
        if (beforeEach)
            beforeEach(m_sql);
        if (int(statements.size()) == m_faultAt && m_fault)
            m_fault();
    }

    int m_faultAt = -1;
    std::function<void()> m_fault;
};
