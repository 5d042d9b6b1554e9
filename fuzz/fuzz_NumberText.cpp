// Number text and number formats: parsing, conversion and formatting under the "." and ","
// locales never crash, and a number converted to text reads back as a number (checked below
// 1e15: far larger numbers become text in a form the parser does not take), and a number
// rounded with a pattern is the number its formatted text reads as.
#include "FuzzInput.h"

#include "LocaleRules.h"
#include "NumberFormat.h"
#include "NumberText.h"

#include <oquivran/RuntimeError.h>

#include <cmath>
#include <cstdlib>

using namespace oquivran;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const LocaleRules rules[] = {LocaleRules(QLocale::c()),
                                        LocaleRules(QLocale(QLocale::Spanish, QLocale::Argentina))};
    FuzzInput input(data, size);
    const LocaleRules& locale = rules[input.byte() % 2];
    const double value = input.real();
    const QString pattern = input.text(size_t(input.byte() % 24));
    const QString text = input.rest();

    NumberText::parse(text, locale);
    NumberText::holdsNumber(text, locale);
    try {
        NumberText::toNumber(text, locale);
    } catch (...) {
    }
    const QString formatted = NumberFormat::format(value, pattern, locale);
    // Rounding gives exactly what reading the formatted text gives, or refuses as reading does.
    const auto readBack = NumberText::parse(formatted, locale);
    try {
        const double rounded = NumberFormat::rounded(value, pattern, locale);
        if (!readBack || rounded != *readBack || std::signbit(rounded) != std::signbit(*readBack))
            std::abort();
    } catch (const RuntimeError&) {
        if (readBack)
            std::abort();
    }
    // Quantities and prices: the range the component writes as number text.
    if (std::isfinite(value) && std::fabs(value) < 1e15) {
        const QString written = NumberText::toText(value, locale);
        if (!NumberText::parse(written, locale))
            std::abort(); // a number's own text must read as a number
    }
    return 0;
}
