#pragma once

#include <QString>
#include <QVariant>

#include <oaidl.h>

namespace oquivran::com {

// Texts and values between Qt and Automation.

// A new BSTR with the text (the caller frees it).
BSTR toBstr(const QString& text);
// The text of a BSTR; a null BSTR is the empty text.
QString fromBstr(BSTR text);
// The value of a VARIANT, through a reference: Empty and Null are a null QVariant, dates
// QDateTime, texts QString, numbers their C++ types, currency and decimals double.
QVariant fromVariant(const VARIANT& value);
// Writes a value into an initialised VARIANT (cleared first): a null QVariant is Null, QDate
// and QDateTime are dates, whole numbers Long (or a double beyond 32 bits), texts BSTR.
void toVariant(const QVariant& value, VARIANT* result);
// VARIANT_TRUE or VARIANT_FALSE.
inline VARIANT_BOOL toVariantBool(bool value)
{
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

} // namespace oquivran::com
