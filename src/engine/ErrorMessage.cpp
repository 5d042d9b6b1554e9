#include "ErrorMessage.h"

#include "Messages.h"
#include "WriteUnit.h"

#include <exception>
#include <new>

namespace oquivran {

QString ErrorMessage::text(const RuntimeError& error, const QString& label)
{
    return error.description + QStringLiteral("\r\n\r\n") + QString::number(error.number) + label;
}

void ErrorMessage::show(const RuntimeError& error, const QString& label)
{
    Messages::show(text(error, label), MessageCritical | MessageOkOnly);
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
        // A failure inside a unit of atomic writes undoes it before its message is shown.
        WriteUnit::undo();
        show(fromException(std::current_exception()), label);
        return false;
    }
}

} // namespace oquivran
