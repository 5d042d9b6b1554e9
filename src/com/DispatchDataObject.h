#pragma once

#include "LateBinding.h"

#include <oquivran/DataObject.h>

#include <functional>

namespace oquivran::com {

// A host's data-access object bound through VincularDatos, called by name: SetSql,
// OpenRecordset(rs) (true when rows came back), ExecuteSql (the records affected) and, for
// atomic writes, BeginTrans, CommitTrans and RollbackTrans. The recordset it hands back is
// read by its own members (see ComRecordset::read) and kept, so that Obtener_Insumos can hand
// the host back its own recordset.
class DispatchDataObject : public DataObject
{
public:
    // Holds a reference to object.
    explicit DispatchDataObject(IDispatch* object);
    ~DispatchDataObject() override;

    void setSql(const QString& sql) override;
    bool open(Recordset& rs) override;
    qint32 execute() override;
    // Without the object's transaction members, the component's own refusal.
    void transaction() override;
    void commit() override;
    void rollback() override;

    // The recordset the last open() got from the object (not owned; null before the first).
    IDispatch* lastRecordset() const { return m_lastRecordset; }

private:
    // Calls a transaction member, or the refusal of a data object without it.
    void transactionMember(const QString& member, const std::function<void()>& refusal);

    LateBinding m_object;
    IDispatch* m_lastRecordset = nullptr;
};

} // namespace oquivran::com
