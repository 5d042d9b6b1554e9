#include "VariantConversion.h"

#include <QDateTime>

#include <oleauto.h>

namespace oquivran::com {

BSTR toBstr(const QString& text)
{
    return SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.utf16()), UINT(text.size()));
}

QString fromBstr(BSTR text)
{
    if (!text)
        return QString();
    return QString::fromWCharArray(text, int(SysStringLen(text)));
}

QVariant fromVariant(const VARIANT& value)
{
    const VARIANT* v = &value;
    while (V_VT(v) == (VT_VARIANT | VT_BYREF))
        v = V_VARIANTREF(v);
    VARIANT plain;
    VariantInit(&plain);
    // A reference to a plain type reads as that type.
    if (V_VT(v) & VT_BYREF) {
        if (FAILED(VariantCopyInd(&plain, const_cast<VARIANT*>(v))))
            return QVariant();
        v = &plain;
    }
    QVariant result;
    switch (V_VT(v)) {
    case VT_EMPTY:
    case VT_NULL:
        break;
    case VT_BSTR:
        result = fromBstr(V_BSTR(v));
        break;
    case VT_BOOL:
        result = V_BOOL(v) != VARIANT_FALSE;
        break;
    case VT_I1:
        result = int(V_I1(v));
        break;
    case VT_UI1:
        result = int(V_UI1(v));
        break;
    case VT_I2:
        result = int(V_I2(v));
        break;
    case VT_UI2:
        result = int(V_UI2(v));
        break;
    case VT_I4:
    case VT_INT:
        result = qint32(V_I4(v));
        break;
    case VT_UI4:
    case VT_UINT:
        result = qint64(V_UI4(v));
        break;
    case VT_I8:
        result = qint64(V_I8(v));
        break;
    case VT_UI8:
        result = quint64(V_UI8(v));
        break;
    case VT_R4:
        result = double(V_R4(v));
        break;
    case VT_R8:
        result = V_R8(v);
        break;
    case VT_DATE: {
        SYSTEMTIME time;
        if (VariantTimeToSystemTime(V_DATE(v), &time)) {
            const QDate date(time.wYear, time.wMonth, time.wDay);
            const QTime clock(time.wHour, time.wMinute, time.wSecond);
            result = clock == QTime(0, 0) ? QVariant(date) : QVariant(QDateTime(date, clock));
        }
        break;
    }
    default: {
        // Currency, decimals and the rest: as the double Automation makes of them.
        VARIANT number;
        VariantInit(&number);
        if (SUCCEEDED(VariantChangeType(&number, const_cast<VARIANT*>(v), 0, VT_R8)))
            result = V_R8(&number);
        VariantClear(&number);
        break;
    }
    }
    VariantClear(&plain);
    return result;
}

void toVariant(const QVariant& value, VARIANT* result)
{
    VariantClear(result);
    if (value.isNull()) {
        V_VT(result) = VT_NULL;
        return;
    }
    switch (value.typeId()) {
    case QMetaType::Bool:
        V_VT(result) = VT_BOOL;
        V_BOOL(result) = toVariantBool(value.toBool());
        return;
    case QMetaType::Int:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::UChar:
        V_VT(result) = VT_I4;
        V_I4(result) = value.toInt();
        return;
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong: {
        const qint64 whole = value.toLongLong();
        if (whole >= INT32_MIN && whole <= INT32_MAX) {
            V_VT(result) = VT_I4;
            V_I4(result) = LONG(whole);
        } else {
            V_VT(result) = VT_R8;
            V_R8(result) = double(whole);
        }
        return;
    }
    case QMetaType::Double:
    case QMetaType::Float:
        V_VT(result) = VT_R8;
        V_R8(result) = value.toDouble();
        return;
    case QMetaType::QDate:
    case QMetaType::QDateTime: {
        const QDateTime moment = value.toDateTime();
        SYSTEMTIME time = {};
        time.wYear = WORD(moment.date().year());
        time.wMonth = WORD(moment.date().month());
        time.wDay = WORD(moment.date().day());
        time.wHour = WORD(moment.time().hour());
        time.wMinute = WORD(moment.time().minute());
        time.wSecond = WORD(moment.time().second());
        double date = 0;
        if (SystemTimeToVariantTime(&time, &date)) {
            V_VT(result) = VT_DATE;
            V_DATE(result) = date;
            return;
        }
        break;
    }
    default:
        break;
    }
    V_VT(result) = VT_BSTR;
    V_BSTR(result) = toBstr(value.toString());
}

} // namespace oquivran::com
