#include "ComFields.h"

#include "ComField.h"
#include "VariantConversion.h"

namespace oquivran::com {

ComFields::ComFields(std::shared_ptr<Recordset> rows)
    : DispatchObject(L"oQUIVRAN.Recordset"), m_rows(std::move(rows))
{
}

HRESULT ComFields::get_Item(VARIANT index, IoqField** field)
{
    if (!field)
        return nullArgument();
    *field = nullptr;
    return guarded([&] {
        const QVariant key = fromVariant(index);
        const QStringList names = m_rows->fieldNames();
        int position = -1;
        if (key.typeId() == QMetaType::QString) {
            for (int i = 0; i < names.size() && position < 0; ++i) {
                if (names.at(i).compare(key.toString(), Qt::CaseInsensitive) == 0)
                    position = i;
            }
        } else {
            bool whole = false;
            position = key.toInt(&whole);
            if (!whole)
                position = -1;
        }
        // A name or position the recordset lacks fails as reading its value does.
        if (position < 0 || position >= names.size())
            m_rows->value(QString());
        const QString name = names.at(position);
        *field = new ComField(m_rows, name);
    });
}

HRESULT ComFields::get_Count(LONG* count)
{
    if (!count)
        return nullArgument();
    *count = LONG(m_rows->fieldNames().size());
    return S_OK;
}

} // namespace oquivran::com
