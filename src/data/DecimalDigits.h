#pragma once

#include <QtGlobal>

#include <cstddef>
#include <optional>
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

    // The value's magnitude as a whole number of units of its last decimal place, when the
    // value is exactly the decimal with `decimals` decimals (0 to 14) and 15 digits at most
    // that reads back as it; nothing otherwise. Most values the component prints or rounds are
    // such decimals. The decimal is then the only one of that many decimals that reads back as
    // the value (its last place is wider than the value's spacing), so its digits, trailing
    // zeros left off, are the value's digits(): known without writing the value out.
    static std::optional<quint64> exactUnits(double value, int decimals);
    // 10 to the power `decimals` (0 to 14), the scale of exactUnits().
    static quint64 unitScale(int decimals);

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
