#include "ErrorMessage.h"

#include "Messages.h"
#include "ModuleState.h"
#include "WriteUnit.h"

#include <oquivran/Module.h>

#include <exception>
#include <new>

namespace oquivran {

QString ErrorMessage::text(const RuntimeError& error, const QString& label)
{
    return error.description + QStringLiteral("\r\n\r\n") + QString::number(error.number) + label;
}

void ErrorMessage::show(const RuntimeError& error, const QString& label)
{
    record(error);
    Messages::show(text(error, label), MessageCritical | MessageOkOnly);
}

void ErrorMessage::record(const RuntimeError& error)
{
    ModuleState& state = moduleState();
    // The first is the cause: the errors a routine reports after it (the save's "Ocurrio un
    // error al calcular disponibilidad" after the refresh's own) follow from it.
    if (!state.reportedError)
        state.reportedError = error;
}

const RuntimeError* reportedError()
{
    const ModuleState& state = moduleState();
    return state.reportedError ? &*state.reportedError : nullptr;
}

void clearReportedError()
{
    moduleState().reportedError.reset();
}

RuntimeError ErrorMessage::fromException(std::exception_ptr exception)
{
    try {
        std::rethrow_exception(exception);
    } catch (const RuntimeError& error) {
        return error;
    } catch (const std::bad_alloc&) {
        return RuntimeError(7, QStringLiteral("Out of memory"));
    } catch (const std::exception& error) {
        return RuntimeError(InternalError, QString::fromUtf8(error.what()));
    } catch (...) {
        return RuntimeError(InternalError, QStringLiteral("Internal error"));
    }
}

bool ErrorMessage::guard(const QString& label, const std::function<bool()>& body)
{
    try {
        return body();
    } catch (...) {
        const RuntimeError error = fromException(std::current_exception());
        // A conflict with another operator's unit: the unit runs again, unreported.
        if (WriteUnit::runsAgain(error))
            throw;
        // A failure inside a unit of atomic writes undoes it before its message is shown.
        WriteUnit::undo();
        show(error, label);
        return false;
    }
}

} // namespace oquivran
