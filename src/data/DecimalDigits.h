#pragma once

#include <cstddef>
#include <string>

namespace oquivran {

// A finite double taken to 15 significant decimal digits: value = ±d1.d2d3... × 10^exponent.
// The number rules round and print from these digits, so a value such as 2.675 (stored just
// below it in binary) is treated as the decimal the user wrote.
class DecimalDigits
{
public:
    // Needs a finite value.
    explicit DecimalDigits(double value);

    bool isZero() const { return m_digits.empty(); }
    bool isNegative() const { return m_negative; }
    // Significant digits without trailing zeros; empty for zero.
    const std::string& digits() const { return m_digits; }
    // Decimal exponent of the first digit.
    int exponent() const { return m_exponent; }

    // The digits written out in fixed notation with exactly `decimals` decimals, rounded half
    // away from zero: integer part (without leading zeros, possibly empty) and decimals.
    void fixed(int decimals, std::string& integerPart, std::string& fraction) const;

private:
    // Takes digits and exponent from to_chars' scientific text in [begin, end) (one character
    // past end is writable); false, leaving them unset, when it has more than maximumDigits
    // significant digits.
    bool setFromScientific(char* begin, char* end, size_t maximumDigits);

    bool m_negative = false;
    std::string m_digits;
    int m_exponent = 0;
};

} // namespace oquivran
