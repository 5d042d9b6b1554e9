#include "DecimalDigits.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>

namespace oquivran {

DecimalDigits::DecimalDigits(double value)
{
    m_negative = std::signbit(value);
    if (value == 0.0)
        return;
    const double magnitude = std::fabs(value);
    char buffer[64];
    // The shortest text that reads back as the value is, for a normal double with at most 15
    // significant digits, also the value rounded to 15 digits: it lies within half a unit in
    // the last place of the value, closer than half the spacing of 15-digit decimals. It is
    // much cheaper to write than a fixed precision.
    if (magnitude >= std::numeric_limits<double>::min()) {
        const auto shortest = std::to_chars(buffer, buffer + sizeof buffer - 1, magnitude,
                                            std::chars_format::scientific);
        if (setFromScientific(buffer, shortest.ptr, 15))
            return;
    }
    // Otherwise scientific notation with 14 decimals is the value correctly rounded to 15
    // significant digits: "d.ddddddddddddddde±XX".
    const auto result = std::to_chars(buffer, buffer + sizeof buffer - 1, magnitude,
                                      std::chars_format::scientific, 14);
    setFromScientific(buffer, result.ptr, 15);
}

bool DecimalDigits::setFromScientific(char* begin, char* end, size_t maximumDigits)
{
    // "d[.ddd]e±XX"
    *end = '\0';
    const char* e = std::find(static_cast<const char*>(begin), static_cast<const char*>(end), 'e');
    const size_t fractionDigits = e - begin > 2 ? size_t(e - (begin + 2)) : 0;
    if (1 + fractionDigits > maximumDigits)
        return false;
    m_digits.assign(1, begin[0]);
    if (fractionDigits > 0)
        m_digits.append(begin + 2, fractionDigits);
    m_exponent = std::atoi(e + 1);
    while (!m_digits.empty() && m_digits.back() == '0')
        m_digits.pop_back();
    return true;
}

void DecimalDigits::fixed(int decimals, std::string& integerPart, std::string& fraction) const
{
    integerPart.clear();
    fraction.clear();
    if (m_exponent >= 0) {
        integerPart = m_digits.substr(0, std::min<size_t>(m_digits.size(), m_exponent + 1));
        integerPart.resize(m_exponent + 1, '0');
        if (m_digits.size() > size_t(m_exponent + 1))
            fraction = m_digits.substr(m_exponent + 1);
    } else if (!m_digits.empty()) {
        fraction = std::string(-m_exponent - 1, '0') + m_digits;
    }

    bool roundUp = false;
    if (fraction.size() > size_t(decimals)) {
        // The digits are exact decimals, so a 5 in the first dropped place is at least half:
        // rounding half away from zero.
        roundUp = fraction[decimals] >= '5';
        fraction.resize(decimals);
    } else {
        fraction.resize(decimals, '0');
    }
    if (roundUp) {
        std::string all = integerPart + fraction;
        int i = int(all.size()) - 1;
        while (i >= 0 && all[i] == '9')
            all[i--] = '0';
        if (i >= 0)
            ++all[i];
        else
            all.insert(all.begin(), '1');
        integerPart = all.substr(0, all.size() - decimals);
        fraction = all.substr(all.size() - decimals);
    }
    const auto first = integerPart.find_first_not_of('0');
    integerPart = first == std::string::npos ? std::string() : integerPart.substr(first);
}

namespace {

constexpr double powersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6, 1e7,
                                  1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};

} // namespace

std::optional<quint64> DecimalDigits::exactUnits(double value, int decimals)
{
    if (decimals < 0 || decimals >= int(std::size(powersOfTen)))
        return std::nullopt;
    const double scale = powersOfTen[decimals];
    const double units = std::nearbyint(value * scale);
    // Both are exact in binary, so the quotient is the double nearest the decimal.
    if (!(std::fabs(units) < 1e15) || units / scale != value)
        return std::nullopt;
    return quint64(std::fabs(units));
}

quint64 DecimalDigits::unitScale(int decimals)
{
    return quint64(powersOfTen[decimals]);
}

} // namespace oquivran
