#include "ScreenErrors.h"

#include "ErrorMessage.h"
#include "Messages.h"
#include "WriteUnit.h"

namespace oquivran {

namespace {

const QString lineBreak = QStringLiteral("\r\n");

// A run-time error raised inside the component has the component as its source.
QString sourceOf(const RuntimeError& error)
{
    return error.source.isEmpty() ? QStringLiteral("oQUIVRAN") : error.source;
}

} // namespace

QString ScreenErrors::text(const RuntimeError& error, Layout layout, const QString& label)
{
    switch (layout) {
    case Layout::NumberThenDescription:
        return QString::number(error.number) + lineBreak + error.description;
    case Layout::DescriptionThenLabel:
        return error.description + lineBreak + label;
    case Layout::SourceFirst:
        return sourceOf(error) + lineBreak + lineBreak + QString::number(error.number) + label;
    }
    return error.description;
}

void ScreenErrors::show(const RuntimeError& error, Layout layout, const QString& label)
{
    ErrorMessage::record(error);
    Messages::show(text(error, layout, label), MessageCritical | MessageOkOnly);
}

bool ScreenErrors::guard(Layout layout, const QString& label, const std::function<bool()>& body)
{
    try {
        return body();
    } catch (...) {
        const RuntimeError error = ErrorMessage::fromException(std::current_exception());
        // A conflict with another operator's unit: the unit runs again, unreported.
        if (WriteUnit::runsAgain(error))
            throw;
        show(error, layout, label);
        return false;
    }
}

} // namespace oquivran
