#pragma once

#include "DispatchObject.h"
#include "oQUIVRAN_h.h"

#include <oquivran/Recordset.h>

#include <memory>

namespace oquivran::com {

// The fields of a component recordset (rs.Fields): Count, and Item by position from 0 or by
// name, the default member.
class ComFields : public DispatchObject<IoqFields, IID_IoqFields>
{
public:
    explicit ComFields(std::shared_ptr<Recordset> rows);

    HRESULT STDMETHODCALLTYPE get_Item(VARIANT index, IoqField** field) override;
    HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override;

private:
    std::shared_ptr<Recordset> m_rows;
};

} // namespace oquivran::com
