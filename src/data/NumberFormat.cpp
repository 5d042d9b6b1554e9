#include "NumberFormat.h"

#include "DecimalDigits.h"
#include "NumberText.h"

#include <oquivran/RuntimeError.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>

namespace oquivran {

namespace {

// A finite value written out with a pattern's digits: what format prints, before the decimal
// separator is chosen.
struct PatternDigits
{
    std::string integerPart;
    std::string fraction; // exactly the pattern's decimals
    bool minus = false;   // negative and not rounding to zero
};

// What a pattern asks for: zeros before the point fix the minimum integer digits, digit places
// after it the decimals.
struct PatternShape
{
    int integerZeros = 0;
    int decimals = 0;
};

PatternShape readShape(const QString& pattern)
{
    const qsizetype point = pattern.indexOf(u'.');
    const QStringView integerPattern =
        point < 0 ? QStringView(pattern) : QStringView(pattern).left(point);
    const QStringView fractionPattern =
        point < 0 ? QStringView() : QStringView(pattern).mid(point + 1);
    return {int(integerPattern.count(u'0')),
            int(fractionPattern.count(u'0') + fractionPattern.count(u'#'))};
}

// The shape of a pattern, remembered for the few patterns a report or an allocation uses line
// after line. Each thread remembers its own, in plain storage: nothing to destroy when a
// thread ends, whether or not the library is still loaded then.
PatternShape patternShape(const QString& pattern)
{
    struct Remembered
    {
        qsizetype size = -1; // nothing remembered
        char16_t letters[24];
        PatternShape shape;
    };
    thread_local std::array<Remembered, 4> remembered;
    thread_local size_t next = 0;
    const qsizetype size = pattern.size();
    const QStringView letters(pattern);
    for (const Remembered& entry : remembered) {
        if (entry.size == size && letters == QStringView(entry.letters, size))
            return entry.shape;
    }
    const PatternShape shape = readShape(pattern);
    if (size <= qsizetype(std::size(Remembered().letters))) {
        Remembered& entry = remembered[next];
        next = (next + 1) % remembered.size();
        entry.size = size;
        std::copy(letters.utf16(), letters.utf16() + size, entry.letters);
        entry.shape = shape;
    }
    return shape;
}

PatternDigits patternDigits(double value, const QString& pattern)
{
    const auto [integerZeros, decimals] = patternShape(pattern);
    PatternDigits result;
    bool zero = false;
    if (const std::optional<quint64> units = DecimalDigits::exactUnits(value, decimals)) {
        const quint64 scale = DecimalDigits::unitScale(decimals);
        const quint64 integer = *units / scale;
        if (integer != 0)
            result.integerPart = std::to_string(integer);
        if (decimals > 0) {
            result.fraction = std::to_string(*units % scale);
            result.fraction.insert(0, size_t(decimals) - result.fraction.size(), '0');
        }
        zero = *units == 0;
    } else {
        const DecimalDigits digits(value);
        digits.fixed(decimals, result.integerPart, result.fraction);
        zero = result.integerPart.find_first_not_of('0') == std::string::npos &&
               result.fraction.find_first_not_of('0') == std::string::npos;
    }
    if (int(result.integerPart.size()) < integerZeros)
        result.integerPart.insert(0, size_t(integerZeros) - result.integerPart.size(), '0');
    result.minus = std::signbit(value) && !zero;
    return result;
}

} // namespace

QString NumberFormat::format(double value, const QString& pattern, const LocaleRules& rules)
{
    if (!std::isfinite(value))
        return NumberText::toText(value, rules);

    const PatternDigits digits = patternDigits(value, pattern);
    // Written once into a string of the right size: reports print thousands of these.
    QString text;
    text.reserve(qsizetype(digits.integerPart.size() + digits.fraction.size()) + 2);
    if (digits.minus)
        text += u'-';
    text += QLatin1String(digits.integerPart.data(), qsizetype(digits.integerPart.size()));
    if (!digits.fraction.empty()) {
        text += rules.decimalSeparator();
        text += QLatin1String(digits.fraction.data(), qsizetype(digits.fraction.size()));
    }
    return text;
}

double NumberFormat::rounded(double value, const QString& pattern, const LocaleRules& rules)
{
    if (!std::isfinite(value))
        return NumberText::toNumber(format(value, pattern, rules), rules);
    // A value that is exactly a decimal of the pattern's places prints as itself and reads
    // back as itself; zero as plain zero. A pattern without zeros prints nothing for zero.
    const PatternShape shape = patternShape(pattern);
    if ((shape.decimals > 0 || shape.integerZeros > 0) &&
        DecimalDigits::exactUnits(value, shape.decimals))
        return value == 0 ? 0.0 : value;
    // The digits format prints, read back as reading that text reads them; without building
    // the text.
    const PatternDigits digits = patternDigits(value, pattern);
    std::string plain = digits.integerPart;
    if (!digits.fraction.empty()) {
        plain += '.';
        plain += digits.fraction;
    }
    // A pattern without zeros can print no digit at all, which does not read as a number.
    if (digits.integerPart.empty() && digits.fraction.empty())
        throw RuntimeError::typeMismatch();
    double number = 0;
    const auto read = std::from_chars(plain.data(), plain.data() + plain.size(), number);
    // Fifteen digits of the largest values can lie beyond the range, as when read as text.
    if (read.ec != std::errc() || !std::isfinite(number))
        throw RuntimeError::typeMismatch();
    return digits.minus ? -number : number;
}

} // namespace oquivran
