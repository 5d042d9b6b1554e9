#pragma once

#include <QString>

namespace oquivran {

// One remembered C.T.C. or export reference of a declaration and tariff position, offered
// again to the next line of the same declaration and position on one allocation screen.
struct CtcMemoryEntry
{
    QString declaration;
    QString tariffPosition;
    QString ctc;
    QString exportReference;
};

} // namespace oquivran
