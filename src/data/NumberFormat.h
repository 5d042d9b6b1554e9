#pragma once

#include "LocaleRules.h"

#include <QString>

namespace oquivran {

// Formatting a number with a pattern of zeros such as "00.0000", "0.00" or "000".
class NumberFormat
{
public:
    // A value as a pattern prints it and the number that text reads back as.
    struct Printed
    {
        QString text;
        double number = 0;
    };

    // Takes the value to 15 significant digits, rounds half away from zero at the pattern's
    // decimals (12.34565 with "00.0000" gives 12.3457), pads the integer part with zeros to the
    // zeros before the point (longer integer parts print whole), writes "-" before a negative
    // value that does not round to zero, and uses the locale's decimal separator, never
    // grouping. Infinite and NaN values print as the ordinary conversion does.
    static QString format(double value, const QString& pattern,
                          const LocaleRules& rules = LocaleRules::system());
    // The same text written into `text`, in the room it already has when that is enough: a
    // report prints line after line into the same strings.
    static void write(QString& text, double value, const QString& pattern,
                      const LocaleRules& rules = LocaleRules::system());

    // The value rounded the component's way: formatted with the pattern and read back, so it
    // keeps exactly the precision the pattern shows.
    static double rounded(double value, const QString& pattern,
                          const LocaleRules& rules = LocaleRules::system());

    // format() and rounded() of one value at once, each exactly as those give it, the value's
    // digits worked out once: reports print and total every figure. Throws what rounded()
    // throws.
    static Printed printed(double value, const QString& pattern,
                           const LocaleRules& rules = LocaleRules::system());
    // The same, the text written into `text` as write() does; returns the number. Leaves
    // `text` as it was when it throws.
    static double print(QString& text, double value, const QString& pattern,
                        const LocaleRules& rules = LocaleRules::system());
};

} // namespace oquivran
