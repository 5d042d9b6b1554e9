#pragma once

#include <QHash>
#include <QString>

#include <initializer_list>

#include <dispex.h>
#include <oaidl.h>

namespace oquivran::com {

// Calls a host's automation object by member name, as a script would. Objects written in a
// scripting language may answer names only through IDispatchEx::GetDispID, and are then
// called through InvokeEx. Holds a reference to the object.
class LateBinding
{
public:
    explicit LateBinding(IDispatch* object);
    ~LateBinding();
    LateBinding(const LateBinding&) = delete;
    LateBinding& operator=(const LateBinding&) = delete;

    // True when the object has a member of that name (case-insensitive).
    bool has(const QString& member);
    // Calls a member with the arguments in call order (not freed here; a by-reference
    // argument is a VT_BYREF|VT_VARIANT pointing at the caller's VARIANT). kind is
    // DISPATCH_METHOD, DISPATCH_PROPERTYGET or both. Returns the result, which the caller
    // clears. Throws RuntimeError with the object's description, number and source when the
    // call fails, and error 438 when the object has no such member.
    VARIANT call(const QString& member, WORD kind, std::initializer_list<VARIANT> arguments = {});

    IDispatch* object() const { return m_object; }

private:
    // The member's id, or DISPID_UNKNOWN.
    DISPID id(const QString& member);

    IDispatch* m_object;
    IDispatchEx* m_scripted = nullptr;
    QHash<QString, DISPID> m_ids;
};

} // namespace oquivran::com
