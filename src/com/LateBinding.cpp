#include "LateBinding.h"

#include "VariantConversion.h"

#include <oquivran/RuntimeError.h>

#include <algorithm>
#include <vector>

namespace oquivran::com {

namespace {

// Visual Basic's "Object doesn't support this property or method".
constexpr qint32 memberNotFound = 438;

// The error a failed call raises: the object's own number (a Visual Basic error as its
// number), description and source.
RuntimeError callError(HRESULT result, EXCEPINFO& exception, const QString& member)
{
    if (result == DISP_E_EXCEPTION) {
        if (exception.pfnDeferredFillIn)
            exception.pfnDeferredFillIn(&exception);
        const HRESULT code = exception.scode ? exception.scode : HRESULT(exception.wCode);
        qint32 number = qint32(code);
        if (HRESULT_FACILITY(code) == FACILITY_CONTROL)
            number = HRESULT_CODE(code);
        else if (exception.wCode)
            number = exception.wCode;
        RuntimeError error(number, fromBstr(exception.bstrDescription),
                           fromBstr(exception.bstrSource));
        SysFreeString(exception.bstrDescription);
        SysFreeString(exception.bstrSource);
        SysFreeString(exception.bstrHelpFile);
        if (error.description.isEmpty())
            error.description = QStringLiteral("Error en ") + member;
        return error;
    }
    if (result == DISP_E_MEMBERNOTFOUND || result == DISP_E_UNKNOWNNAME)
        return RuntimeError(memberNotFound,
                            QStringLiteral("El objeto no admite esta propiedad o método: ") +
                                member);
    QString text;
    wchar_t* system = nullptr;
    if (FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                           FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, DWORD(result), 0, reinterpret_cast<wchar_t*>(&system), 0,
                       nullptr)) {
        text = QString::fromWCharArray(system).trimmed();
        LocalFree(system);
    }
    if (text.isEmpty())
        text =
            QStringLiteral("Error 0x%1 en %2").arg(quint32(result), 8, 16, QChar(u'0')).arg(member);
    return RuntimeError(qint32(result), text);
}

} // namespace

LateBinding::LateBinding(IDispatch* object) : m_object(object)
{
    m_object->AddRef();
    if (FAILED(
            m_object->QueryInterface(__uuidof(IDispatchEx), reinterpret_cast<void**>(&m_scripted))))
        m_scripted = nullptr;
}

LateBinding::~LateBinding()
{
    if (m_scripted)
        m_scripted->Release();
    m_object->Release();
}

DISPID LateBinding::id(const QString& member)
{
    const QString key = member.toLower();
    const auto known = m_ids.constFind(key);
    if (known != m_ids.constEnd())
        return *known;
    std::wstring name = member.toStdWString();
    LPOLESTR names[] = {name.data()};
    DISPID found = DISPID_UNKNOWN;
    if (FAILED(m_object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &found))) {
        found = DISPID_UNKNOWN;
        // A script's class object may answer names only here.
        BSTR text = toBstr(member);
        if (!m_scripted || FAILED(m_scripted->GetDispID(text, fdexNameCaseInsensitive, &found)))
            found = DISPID_UNKNOWN;
        SysFreeString(text);
    }
    m_ids.insert(key, found);
    return found;
}

bool LateBinding::has(const QString& member)
{
    return id(member) != DISPID_UNKNOWN;
}

VARIANT LateBinding::call(const QString& member, WORD kind,
                          std::initializer_list<VARIANT> arguments)
{
    VARIANT result;
    VariantInit(&result);
    const DISPID memberId = id(member);
    EXCEPINFO exception = {};
    if (memberId == DISPID_UNKNOWN)
        throw callError(DISP_E_UNKNOWNNAME, exception, member);
    // DISPPARAMS holds the arguments last first.
    std::vector<VARIANT> reversed(arguments.begin(), arguments.end());
    std::reverse(reversed.begin(), reversed.end());
    DISPPARAMS parameters = {reversed.empty() ? nullptr : reversed.data(), nullptr,
                             UINT(reversed.size()), 0};
    UINT argumentError = 0;
    const HRESULT outcome =
        m_scripted ? m_scripted->InvokeEx(memberId, LOCALE_USER_DEFAULT, kind, &parameters, &result,
                                          &exception, nullptr)
                   : m_object->Invoke(memberId, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters,
                                      &result, &exception, &argumentError);
    if (FAILED(outcome)) {
        VariantClear(&result);
        throw callError(outcome, exception, member);
    }
    return result;
}

} // namespace oquivran::com
