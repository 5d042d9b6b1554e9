// Column padding: any text at any width comes back exactly as wide as asked (or the error text
// for a negative width).
#include "FuzzInput.h"

#include "Alinear.h"

#include <cstdlib>

using namespace oquivran;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const Alignment alignment = input.byte() % 2 ? Alignment::Left : Alignment::Right;
    const qint16 width = qint16(input.byte() * 256 + input.byte());
    const QString text = input.rest();
    const QString result = Alinear(text, alignment, width);
    if (width >= 0 && result.size() != width)
        std::abort();
    if (width >= 0 && width <= text.size() && result != text.left(width))
        std::abort();
    if (width < 0 && !result.startsWith(QStringLiteral("Err_FrmSytr ")))
        std::abort();
    return 0;
}
