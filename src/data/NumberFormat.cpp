#include "NumberFormat.h"

#include "DecimalDigits.h"
#include "NumberText.h"

#include <oquivran/RuntimeError.h>

#include <QVarLengthArray>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace oquivran {

namespace {

// What a pattern asks for: zeros before the point fix the minimum integer digits, digit places
// after it the decimals.
struct PatternShape
{
    int integerZeros = 0;
    int decimals = 0;
};

// One pass over the pattern's few letters: cheaper than remembering them.
PatternShape patternShape(const QString& pattern)
{
    PatternShape shape;
    bool afterPoint = false;
    for (const QChar letter : pattern) {
        if (afterPoint)
            shape.decimals += letter == u'0' || letter == u'#';
        else if (letter == u'.')
            afterPoint = true;
        else
            shape.integerZeros += letter == u'0';
    }
    return shape;
}

// A finite value written out with a pattern's digits as "integer.fraction" ("integer" alone
// for a pattern without decimals): what format prints, before the decimal separator is
// chosen, and what rounded reads back. The integer part may be empty.
struct PatternDigits
{
    // Room for the quantities and prices reports print line after line without allocating.
    QVarLengthArray<char, 48> letters;
    qsizetype point = -1; // position of the '.', -1 without decimals
    bool minus = false;   // negative and not rounding to zero
    bool exact = false;   // the value is exactly a decimal of the pattern's places

    // Sizes the letters once and writes the integer digits padded with zeros to integerZeros,
    // then the point when there are decimals; gives where the decimals go.
    char* layOut(std::string_view integer, int integerZeros, int decimals)
    {
        const qsizetype zeros = qMax<qsizetype>(integerZeros - qsizetype(integer.size()), 0);
        letters.resize(zeros + qsizetype(integer.size()) + (decimals > 0 ? 1 + decimals : 0));
        char* out = std::fill_n(letters.data(), zeros, '0');
        out = std::copy(integer.begin(), integer.end(), out);
        if (decimals > 0) {
            point = out - letters.data();
            *out++ = '.';
        }
        return out;
    }
};

PatternDigits patternDigits(double value, const PatternShape& shape)
{
    const auto [integerZeros, decimals] = shape;
    PatternDigits result;
    bool zero = false;
    if (const std::optional<quint64> units = DecimalDigits::exactUnits(value, decimals)) {
        const quint64 scale = DecimalDigits::unitScale(decimals);
        const quint64 integer = *units / scale;
        char integerLetters[24];
        const char* integerEnd = integerLetters;
        if (integer != 0)
            integerEnd = std::to_chars(integerLetters, std::end(integerLetters), integer).ptr;
        char* places = result.layOut(std::string_view(integerLetters, integerEnd - integerLetters),
                                     integerZeros, decimals);
        quint64 fraction = *units % scale;
        for (char* digit = places + decimals; digit != places;) {
            *--digit = char('0' + fraction % 10);
            fraction /= 10;
        }
        zero = *units == 0;
        result.exact = true;
    } else {
        std::string integerPart;
        std::string fraction;
        const DecimalDigits digits(value);
        digits.fixed(decimals, integerPart, fraction);
        zero = integerPart.find_first_not_of('0') == std::string::npos &&
               fraction.find_first_not_of('0') == std::string::npos;
        // fixed() gives exactly the pattern's decimals.
        std::copy(fraction.begin(), fraction.end(),
                  result.layOut(integerPart, integerZeros, int(fraction.size())));
    }
    result.minus = std::signbit(value) && !zero;
    return result;
}

// Writes the text format prints for the digits into text, in the room it already has when
// that is enough: a report line after line prints its figures into the same strings.
void writeText(QString& text, const PatternDigits& digits, const LocaleRules& rules)
{
    text.resize(qsizetype(digits.minus) + digits.letters.size());
    char16_t* out = reinterpret_cast<char16_t*>(text.data());
    if (digits.minus)
        *out++ = u'-';
    for (const char letter : digits.letters)
        *out++ = char16_t(letter);
    if (digits.point >= 0)
        text[qsizetype(digits.minus) + digits.point] = rules.decimalSeparator();
}

// A value that is exactly a decimal of the pattern's places prints as itself and reads back
// as itself; zero as plain zero. A pattern without zeros prints nothing for zero.
bool readsBackAsItself(bool exact, const PatternShape& shape)
{
    return exact && (shape.decimals > 0 || shape.integerZeros > 0);
}

double itself(double value)
{
    return value == 0 ? 0.0 : value;
}

// The digits read back as reading their text reads them, without building the text.
double readBack(const PatternDigits& digits)
{
    // A pattern without zeros can print no digit at all, which does not read as a number (a
    // pattern with decimals always prints them).
    if (digits.letters.isEmpty())
        throw RuntimeError::typeMismatch();
    double number = 0;
    const char* begin = digits.letters.constData();
    const auto read = std::from_chars(begin, begin + digits.letters.size(), number);
    // Fifteen digits of the largest values can lie beyond the range, as when read as text.
    if (read.ec != std::errc() || !std::isfinite(number))
        throw RuntimeError::typeMismatch();
    return digits.minus ? -number : number;
}

} // namespace

QString NumberFormat::format(double value, const QString& pattern, const LocaleRules& rules)
{
    QString text;
    write(text, value, pattern, rules);
    return text;
}

void NumberFormat::write(QString& text, double value, const QString& pattern,
                         const LocaleRules& rules)
{
    if (!std::isfinite(value))
        text = NumberText::toText(value, rules);
    else
        writeText(text, patternDigits(value, patternShape(pattern)), rules);
}

double NumberFormat::rounded(double value, const QString& pattern, const LocaleRules& rules)
{
    if (!std::isfinite(value))
        return NumberText::toNumber(format(value, pattern, rules), rules);
    const PatternShape shape = patternShape(pattern);
    if (readsBackAsItself(DecimalDigits::exactUnits(value, shape.decimals).has_value(), shape))
        return itself(value);
    return readBack(patternDigits(value, shape));
}

NumberFormat::Printed NumberFormat::printed(double value, const QString& pattern,
                                            const LocaleRules& rules)
{
    Printed result;
    result.number = print(result.text, value, pattern, rules);
    return result;
}

double NumberFormat::print(QString& text, double value, const QString& pattern,
                           const LocaleRules& rules)
{
    if (!std::isfinite(value)) {
        QString written = NumberText::toText(value, rules);
        const double number = NumberText::toNumber(written, rules);
        text = std::move(written);
        return number;
    }
    const PatternShape shape = patternShape(pattern);
    const PatternDigits digits = patternDigits(value, shape);
    const double number = readsBackAsItself(digits.exact, shape) ? itself(value) : readBack(digits);
    writeText(text, digits, rules);
    return number;
}

} // namespace oquivran
