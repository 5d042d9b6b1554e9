#pragma once

#include <oquivran/TextPrintService.h>

namespace oquivran {

// Which text-mode print service the page output hands its pages to.
class TextPrintServices
{
public:
    // The service the host installed, or the default one.
    static TextPrintService& current();
};

} // namespace oquivran
