#include "NumberFormat.h"

#include "DecimalDigits.h"
#include "NumberText.h"

#include <oquivran/RuntimeError.h>

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

PatternDigits patternDigits(double value, const QString& pattern)
{
    // Zeros before the point fix the minimum integer digits, digit places after it the
    // decimals.
    const qsizetype point = pattern.indexOf(u'.');
    const QStringView integerPattern =
        point < 0 ? QStringView(pattern) : QStringView(pattern).left(point);
    const QStringView fractionPattern =
        point < 0 ? QStringView() : QStringView(pattern).mid(point + 1);
    const int integerZeros = int(integerPattern.count(u'0'));
    const int decimals = int(fractionPattern.count(u'0') + fractionPattern.count(u'#'));

    PatternDigits result;
    const DecimalDigits digits(value);
    digits.fixed(decimals, result.integerPart, result.fraction);
    if (int(result.integerPart.size()) < integerZeros)
        result.integerPart.insert(0, size_t(integerZeros) - result.integerPart.size(), '0');
    const bool roundsToZero = result.integerPart.find_first_not_of('0') == std::string::npos &&
                              result.fraction.find_first_not_of('0') == std::string::npos;
    result.minus = digits.isNegative() && !roundsToZero;
    return result;
}

} // namespace

QString NumberFormat::format(double value, const QString& pattern, const LocaleRules& rules)
{
    if (!std::isfinite(value))
        return NumberText::toText(value, rules);

    const PatternDigits digits = patternDigits(value, pattern);
    QString text = digits.minus ? QStringLiteral("-") : QString();
    text += QString::fromLatin1(digits.integerPart);
    if (!digits.fraction.empty()) {
        text += rules.decimalSeparator();
        text += QString::fromLatin1(digits.fraction);
    }
    return text;
}

double NumberFormat::rounded(double value, const QString& pattern, const LocaleRules& rules)
{
    if (!std::isfinite(value))
        return NumberText::toNumber(format(value, pattern, rules), rules);
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
