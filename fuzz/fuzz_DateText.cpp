// Date text: parsing arbitrary text never crashes, and a date converted to text reads back as
// the same date.
#include "FuzzInput.h"

#include "DateText.h"
#include "LocaleRules.h"

#include <cstdlib>

using namespace oquivran;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const LocaleRules rules[] = {
        LocaleRules(QLocale::c()), LocaleRules(QLocale(QLocale::Spanish, QLocale::Argentina)),
        LocaleRules(QLocale(QLocale::English, QLocale::UnitedStates))};
    FuzzInput input(data, size);
    const LocaleRules& locale = rules[input.byte() % 3];
    const int day = input.byte() * 256 + input.byte();
    const QDate date = QDate(1900, 1, 1).addDays(day);
    const QString text = input.rest();

    DateText::parse(text, locale);
    DateText::holdsDate(text, locale);
    try {
        DateText::toDate(text, locale);
    } catch (...) {
    }
    const QString written = DateText::toText(date, locale);
    const auto back = DateText::parse(written, locale);
    if (!back || *back != date)
        std::abort(); // a date's own text must read back as that date
    return 0;
}
