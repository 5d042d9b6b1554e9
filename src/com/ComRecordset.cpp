#include "ComRecordset.h"

#include "ComFields.h"
#include "LateBinding.h"
#include "VariantConversion.h"

namespace oquivran::com {

namespace {

// Answered only by the component's own recordsets, so that binding code can read their rows
// directly; never registered.
const IID ownRecordset = {
    0x3f5b8a61, 0x7c2e, 0x4d19, {0x9a, 0x0b, 0x52, 0xe4, 0x1c, 0x86, 0xd7, 0x3a}};

// A result value, cleared when it goes.
class Result
{
public:
    explicit Result(VARIANT value) : m_value(value) {}
    ~Result() { VariantClear(&m_value); }
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;

    QVariant value() const { return fromVariant(m_value); }
    // The object it holds (not owned), or null.
    IDispatch* object() const
    {
        const VARIANT* v = &m_value;
        if (V_VT(v) == (VT_VARIANT | VT_BYREF))
            v = V_VARIANTREF(v);
        if (V_VT(v) == VT_DISPATCH)
            return V_DISPATCH(v);
        if (V_VT(v) == (VT_DISPATCH | VT_BYREF))
            return *V_DISPATCHREF(v);
        return nullptr;
    }

private:
    VARIANT m_value;
};

VARIANT wholeNumber(LONG number)
{
    VARIANT value;
    VariantInit(&value);
    V_VT(&value) = VT_I4;
    V_I4(&value) = number;
    return value;
}

constexpr WORD propertyOrMethod = DISPATCH_PROPERTYGET | DISPATCH_METHOD;

// The field at position of a host recordset's Fields, through its Item.
IDispatch* fieldAt(LateBinding& fields, LONG position, Result& holder)
{
    IDispatch* field = holder.object();
    if (!field)
        throw RuntimeError(TypeMismatch,
                           QStringLiteral("Fields.Item(%1) no es un objeto").arg(position));
    return field;
}

} // namespace

ComRecordset::ComRecordset()
    : DispatchObject(L"oQUIVRAN.Recordset"), m_rows(std::make_shared<Recordset>())
{
}

ComRecordset::ComRecordset(const Recordset& rows)
    : DispatchObject(L"oQUIVRAN.Recordset"), m_rows(std::make_shared<Recordset>(rows))
{
    m_rows->moveFirst();
}

void* ComRecordset::interfaceFor(REFIID requested)
{
    if (IsEqualIID(requested, ownRecordset))
        return static_cast<IoqRecordset*>(this);
    return DispatchObject::interfaceFor(requested);
}

HRESULT ComRecordset::get_Collect(VARIANT field, VARIANT* value)
{
    if (!value)
        return nullArgument();
    return guarded([&] {
        const QVariant key = fromVariant(field);
        QString name = key.toString();
        if (key.typeId() != QMetaType::QString) {
            const QStringList names = m_rows->fieldNames();
            const int position = key.toInt();
            name = position >= 0 && position < names.size() ? names.at(position) : QString();
        }
        toVariant(m_rows->value(name), value);
    });
}

HRESULT ComRecordset::get_EOF(VARIANT_BOOL* atEnd)
{
    if (!atEnd)
        return nullArgument();
    *atEnd = toVariantBool(m_rows->eof());
    return S_OK;
}

HRESULT ComRecordset::MoveNext()
{
    // Past the end, as a recordset moved beyond its last row.
    if (m_rows->eof())
        return ComModule::fail(RuntimeError::noCurrentRecord(), m_source, IID_IoqRecordset);
    m_rows->moveNext();
    return S_OK;
}

HRESULT ComRecordset::MoveFirst()
{
    m_rows->moveFirst();
    return S_OK;
}

HRESULT ComRecordset::get_RecordCount(LONG* count)
{
    if (!count)
        return nullArgument();
    *count = LONG(m_rows->recordCount());
    return S_OK;
}

HRESULT ComRecordset::get_Fields(IoqFields** fields)
{
    if (!fields)
        return nullArgument();
    *fields = new ComFields(m_rows);
    return S_OK;
}

void ComRecordset::read(IDispatch* object, Recordset& rows)
{
    IoqRecordset* own = nullptr;
    if (SUCCEEDED(object->QueryInterface(ownRecordset, reinterpret_cast<void**>(&own)))) {
        rows = *static_cast<ComRecordset*>(own)->m_rows;
        rows.moveFirst();
        own->Release();
        return;
    }
    LateBinding recordset(object);
    QStringList names;
    {
        Result fieldsValue(recordset.call(QStringLiteral("Fields"), propertyOrMethod));
        if (!fieldsValue.object())
            throw RuntimeError(TypeMismatch, QStringLiteral("Fields no es un objeto"));
        LateBinding fields(fieldsValue.object());
        const int count =
            Result(fields.call(QStringLiteral("Count"), propertyOrMethod)).value().toInt();
        for (LONG i = 0; i < count; ++i) {
            Result item(fields.call(QStringLiteral("Item"), propertyOrMethod, {wholeNumber(i)}));
            LateBinding field(fieldAt(fields, i, item));
            names
                << Result(field.call(QStringLiteral("Name"), propertyOrMethod)).value().toString();
        }
    }
    rows.setFieldNames(names);
    while (!Result(recordset.call(QStringLiteral("EOF"), propertyOrMethod)).value().toBool()) {
        Result fieldsValue(recordset.call(QStringLiteral("Fields"), propertyOrMethod));
        if (!fieldsValue.object())
            throw RuntimeError(TypeMismatch, QStringLiteral("Fields no es un objeto"));
        LateBinding fields(fieldsValue.object());
        QVariantList values;
        for (LONG i = 0; i < LONG(names.size()); ++i) {
            Result item(fields.call(QStringLiteral("Item"), propertyOrMethod, {wholeNumber(i)}));
            LateBinding field(fieldAt(fields, i, item));
            values << Result(field.call(QStringLiteral("Value"), propertyOrMethod)).value();
        }
        rows.appendRow(values);
        Result(recordset.call(QStringLiteral("MoveNext"), DISPATCH_METHOD));
    }
    rows.moveFirst();
    // The host reads it again from its first row (Obtener_Insumos hands it back).
    if (recordset.has(QStringLiteral("MoveFirst"))) {
        try {
            Result(recordset.call(QStringLiteral("MoveFirst"), DISPATCH_METHOD));
        } catch (const RuntimeError&) {
            // A forward-only recordset stays at its end.
        }
    }
}

} // namespace oquivran::com
