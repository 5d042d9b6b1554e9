#pragma once

#include <oquivran/RuntimeError.h>

#include <QString>

#include <functional>

namespace oquivran {

// The common error message: how every routine with a handler reports a run-time error.
class ErrorMessage
{
public:
    // The message text: description, CR LF, CR LF, the number as decimal text, and the
    // routine's location label.
    static QString text(const RuntimeError& error, const QString& label);
    // Shows text() with the critical icon, an OK button and the default title, and keeps the
    // error for reportedError() when it is the first since the host cleared it.
    static void show(const RuntimeError& error, const QString& label);
    // Keeps error as the one reported, unless one was reported before since the host cleared
    // it (every way of showing one calls this).
    static void record(const RuntimeError& error);

    // Runs a routine under its handler: returns what body returns, or false after showing the
    // common error message with label when it throws. Nothing done before the error is undone,
    // unless it ran in a unit of atomic writes (WriteUnit): the unit is undone first. A
    // conflict after which the unit runs again (WriteUnit::runsAgain()) is passed on
    // unreported.
    static bool guard(const QString& label, const std::function<bool()>& body);

    // Any exception turned into the run-time error it is reported as.
    static RuntimeError fromException(std::exception_ptr exception);
};

} // namespace oquivran
