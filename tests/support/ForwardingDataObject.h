#pragma once

#include <oquivran/DataObject.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QStringList>

#include <functional>

// A data-access object that hands every statement to another one (usually a SqlDataObject),
// the base of the tests' fakes that watch or disturb the statements on their way. A fake
// overrides aboutToQuery() and aboutToExecute() to see each statement (m_sql) before it runs,
// and may throw there to fail it. What the target does not get is DataObject's own default, as
// in a host's object that implements no more than it needs.
class ForwardingDataObject : public oquivran::DataObject
{
public:
    enum class Forwarding {
        Everything, // the statements, units of atomic writes, waits and conflicts
        NoWaits,    // the statements and units; no waits, and no error is a conflict
        Statements, // the text and its statements alone, each row read through open()
    };

    // target must outlive this object.
    explicit ForwardingDataObject(oquivran::DataObject* target,
                                  Forwarding forwarding = Forwarding::Everything)
        : m_target(target), m_forwarding(forwarding)
    {
    }

    void setSql(const QString& sql) override
    {
        DataObject::setSql(sql);
        m_target->setSql(sql);
    }
    bool open(oquivran::Recordset& rs) override
    {
        aboutToQuery();
        return m_target->open(rs);
    }
    qint32 execute() override
    {
        aboutToExecute();
        return m_target->execute();
    }
    bool forEachRow(const std::function<bool(const oquivran::Recordset&)>& visit) override
    {
        if (!forwardsUnits())
            return DataObject::forEachRow(visit);
        aboutToQuery();
        return m_target->forEachRow(visit);
    }
    void transaction() override
    {
        forwardsUnits() ? m_target->transaction() : DataObject::transaction();
    }
    void commit() override { forwardsUnits() ? m_target->commit() : DataObject::commit(); }
    void rollback() override { forwardsUnits() ? m_target->rollback() : DataObject::rollback(); }
    int lockWait() const override
    {
        return forwardsWaits() ? m_target->lockWait() : DataObject::lockWait();
    }
    bool isConflict(const oquivran::RuntimeError& error) const override
    {
        return forwardsWaits() ? m_target->isConflict(error) : DataObject::isConflict(error);
    }
    void lockStock(const QStringList& inputCodes, int milliseconds) override
    {
        if (forwardsWaits())
            m_target->lockStock(inputCodes, milliseconds);
        else
            DataObject::lockStock(inputCodes, milliseconds);
    }
    void unlockStock() override
    {
        forwardsWaits() ? m_target->unlockStock() : DataObject::unlockStock();
    }

protected:
    // Called with the text in m_sql before it runs as a query (open() or forEachRow()).
    virtual void aboutToQuery() {}
    // Called with the text in m_sql before it runs as an action statement (execute()).
    virtual void aboutToExecute() {}

private:
    bool forwardsUnits() const { return m_forwarding != Forwarding::Statements; }
    bool forwardsWaits() const { return m_forwarding == Forwarding::Everything; }

    oquivran::DataObject* m_target;
    Forwarding m_forwarding;
};
