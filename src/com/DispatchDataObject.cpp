#include "DispatchDataObject.h"

#include "ComRecordset.h"
#include "VariantConversion.h"

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

namespace oquivran::com {

DispatchDataObject::DispatchDataObject(IDispatch* object) : m_object(object) {}

DispatchDataObject::~DispatchDataObject()
{
    if (m_lastRecordset)
        m_lastRecordset->Release();
}

void DispatchDataObject::setSql(const QString& sql)
{
    DataObject::setSql(sql);
    VARIANT text;
    VariantInit(&text);
    V_VT(&text) = VT_BSTR;
    V_BSTR(&text) = toBstr(sql);
    VARIANT result;
    try {
        result = m_object.call(QStringLiteral("SetSql"), DISPATCH_METHOD, {text});
    } catch (...) {
        VariantClear(&text);
        throw;
    }
    VariantClear(&text);
    VariantClear(&result);
}

bool DispatchDataObject::open(Recordset& rs)
{
    VARIANT received;
    VariantInit(&received);
    VARIANT reference;
    VariantInit(&reference);
    V_VT(&reference) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&reference) = &received;
    VARIANT hasRows = m_object.call(QStringLiteral("OpenRecordset"), DISPATCH_METHOD, {reference});
    const bool rows = fromVariant(hasRows).toBool();
    VariantClear(&hasRows);
    IDispatch* recordset = V_VT(&received) == VT_DISPATCH ? V_DISPATCH(&received) : nullptr;
    if (!recordset) {
        VariantClear(&received);
        throw RuntimeError(TypeMismatch,
                           QStringLiteral("OpenRecordset del objeto de datos no devolvió un "
                                          "recordset"));
    }
    if (m_lastRecordset)
        m_lastRecordset->Release();
    // The reference received passes to the one kept.
    m_lastRecordset = recordset;
    ComRecordset::read(recordset, rs);
    return rows;
}

qint32 DispatchDataObject::execute()
{
    VARIANT affected = m_object.call(QStringLiteral("ExecuteSql"), DISPATCH_METHOD);
    const qint32 count = fromVariant(affected).toInt();
    VariantClear(&affected);
    return count;
}

void DispatchDataObject::transactionMember(const QString& member,
                                           const std::function<void()>& refusal)
{
    if (!m_object.has(member)) {
        refusal();
        return;
    }
    VARIANT result = m_object.call(member, DISPATCH_METHOD);
    VariantClear(&result);
}

void DispatchDataObject::transaction()
{
    transactionMember(QStringLiteral("BeginTrans"), [this] { DataObject::transaction(); });
}

void DispatchDataObject::commit()
{
    transactionMember(QStringLiteral("CommitTrans"), [this] { DataObject::commit(); });
}

void DispatchDataObject::rollback()
{
    transactionMember(QStringLiteral("RollbackTrans"), [this] { DataObject::rollback(); });
}

} // namespace oquivran::com
