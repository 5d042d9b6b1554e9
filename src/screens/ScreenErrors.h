#pragma once

#include <oquivran/RuntimeError.h>

#include <QString>

#include <functional>

namespace oquivran {

// The screens' error reports that are laid out otherwise than the common error message; all
// of them show the critical icon with an OK button and the default title.
class ScreenErrors
{
public:
    // How a report lays out the error.
    enum class Layout {
        NumberThenDescription, // number, line break, description
        DescriptionThenLabel,  // description, line break, label
        SourceFirst,           // source, two line breaks, number, label
    };

    // The text of a report.
    static QString text(const RuntimeError& error, Layout layout, const QString& label = QString());
    // Shows a report.
    static void show(const RuntimeError& error, Layout layout, const QString& label = QString());
    // Runs a routine under a handler that reports any error in layout and returns false.
    static bool guard(Layout layout, const QString& label, const std::function<bool()>& body);
};

} // namespace oquivran
