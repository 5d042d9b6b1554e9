#pragma once

#include "DispatchObject.h"
#include "oQUIVRAN_h.h"

#include <oquivran/Recordset.h>

#include <memory>

namespace oquivran::com {

// One field of a component recordset: its Name, and its Value (the default member) in the
// recordset's current row.
class ComField : public DispatchObject<IoqField, IID_IoqField>
{
public:
    ComField(std::shared_ptr<Recordset> rows, const QString& name);

    HRESULT STDMETHODCALLTYPE get_Value(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) override;

private:
    std::shared_ptr<Recordset> m_rows;
    QString m_name;
};

} // namespace oquivran::com
