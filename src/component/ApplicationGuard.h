#pragma once

namespace oquivran {

// The component's screens and message boxes need a QApplication; a host without one gets one
// created on first need.
class ApplicationGuard
{
public:
    // Creates a QApplication when no application object exists. Returns true when a
    // QApplication is available; false when the host runs a non-GUI application object.
    static bool ensure();
};

} // namespace oquivran
