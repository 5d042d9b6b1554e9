#pragma once

#include "DispatchObject.h"
#include "oQUIVRAN_h.h"

#include <oquivran/Recordset.h>

#include <memory>

namespace oquivran::com {

// The component's recordset as an automation object (oQUIVRAN.Recordset): the rows of one
// query, read by a host as it reads an ADO recordset: EOF, MoveNext, MoveFirst, RecordCount,
// Fields, and a field's value by name as the default member, rs("ARTDCL").
class ComRecordset : public DispatchObject<IoqRecordset, IID_IoqRecordset>
{
public:
    // An empty recordset (no fields, no rows).
    ComRecordset();
    // A recordset of those rows, positioned on the first.
    explicit ComRecordset(const Recordset& rows);

    HRESULT STDMETHODCALLTYPE get_Collect(VARIANT field, VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_EOF(VARIANT_BOOL* atEnd) override;
    HRESULT STDMETHODCALLTYPE MoveNext() override;
    HRESULT STDMETHODCALLTYPE MoveFirst() override;
    HRESULT STDMETHODCALLTYPE get_RecordCount(LONG* count) override;
    HRESULT STDMETHODCALLTYPE get_Fields(IoqFields** fields) override;

    // Reads the rows of a recordset object into rows, positioned on the first: one of the
    // component's own directly, a host's (an ADO recordset, or an object with its members)
    // through EOF, MoveNext, Fields.Count and Fields.Item(i).Name and .Value, then put back
    // on its first row when it can MoveFirst. Throws RuntimeError when a member fails.
    static void read(IDispatch* object, Recordset& rows);

protected:
    void* interfaceFor(REFIID requested) override;

private:
    std::shared_ptr<Recordset> m_rows;
};

} // namespace oquivran::com
