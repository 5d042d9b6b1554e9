#include "ComField.h"

#include "VariantConversion.h"

namespace oquivran::com {

ComField::ComField(std::shared_ptr<Recordset> rows, const QString& name)
    : DispatchObject(L"oQUIVRAN.Recordset"), m_rows(std::move(rows)), m_name(name)
{
}

HRESULT ComField::get_Value(VARIANT* value)
{
    if (!value)
        return nullArgument();
    return guarded([&] { toVariant(m_rows->value(m_name), value); });
}

HRESULT ComField::get_Name(BSTR* name)
{
    if (!name)
        return nullArgument();
    *name = toBstr(m_name);
    return S_OK;
}

} // namespace oquivran::com
