#pragma once

#include "DispatchObject.h"
#include "oQUIVRAN_h.h"

#include <memory>

namespace oquivran {
class SqlDataObject;
}

namespace oquivran::com {

// The embedded default for Windows hosts (oQUIVRAN.SqlDataObject): the component's SQLite
// data object over a file, with the members of a host's data-access object, so that it can
// be bound with VincularDatos or called by the host itself; its recordsets are
// oQUIVRAN.Recordset objects.
class ComSqlDataObject : public DispatchObject<IoqSqlDataObject, IID_IoqSqlDataObject>
{
public:
    ComSqlDataObject();
    ~ComSqlDataObject() override;

    HRESULT STDMETHODCALLTYPE SetSql(BSTR sql) override;
    HRESULT STDMETHODCALLTYPE OpenRecordset(VARIANT* rs, VARIANT_BOOL* hasRows) override;
    HRESULT STDMETHODCALLTYPE ExecuteSql(LONG* recordsAffected) override;
    HRESULT STDMETHODCALLTYPE BeginTrans() override;
    HRESULT STDMETHODCALLTYPE CommitTrans() override;
    HRESULT STDMETHODCALLTYPE RollbackTrans() override;
    HRESULT STDMETHODCALLTYPE OpenDatabase(BSTR path) override;
    HRESULT STDMETHODCALLTYPE get_LockWait(LONG* milliseconds) override;
    HRESULT STDMETHODCALLTYPE put_LockWait(LONG milliseconds) override;
    HRESULT STDMETHODCALLTYPE CreateTables(LONG database) override;

    // The data object behind an automation object of this class, or null for any other
    // object.
    static SqlDataObject* dataObjectOf(IDispatch* object);

protected:
    void* interfaceFor(REFIID requested) override;

private:
    // The open data object; throws RuntimeError when OpenDatabase has not run.
    SqlDataObject& opened();

    QString m_connection;
    std::unique_ptr<SqlDataObject> m_object;
};

} // namespace oquivran::com
