#include "NumberText.h"

#include "DecimalDigits.h"
#include "TextRules.h"

#include <oquivran/RuntimeError.h>

#include <charconv>
#include <cmath>
#include <string>

namespace oquivran {

namespace {

// Text that is not a finite number in the component's terms.
QString nonFiniteText(double value)
{
    if (std::isnan(value))
        return QStringLiteral("NaN");
    return value < 0 ? QStringLiteral("-Infinity") : QStringLiteral("Infinity");
}

QString scientific(const DecimalDigits& digits, QChar decimalSeparator)
{
    QString text = digits.isNegative() ? QStringLiteral("-") : QString();
    const std::string& d = digits.digits();
    text += QChar(d[0]);
    if (d.size() > 1) {
        text += decimalSeparator;
        text += QString::fromLatin1(d.data() + 1, qsizetype(d.size() - 1));
    }
    const int exponent = digits.exponent();
    text += exponent < 0 ? QStringLiteral("E-") : QStringLiteral("E+");
    text += QStringLiteral("%1").arg(std::abs(exponent), 2, 10, QChar(u'0'));
    return text;
}

} // namespace

QString NumberText::toText(double value, const LocaleRules& rules)
{
    if (!std::isfinite(value))
        return nonFiniteText(value);
    // A value that is a decimal of a few places prints from its units: the fewest places that
    // hold it are its digits without trailing zeros.
    for (int decimals = 0; decimals <= 6; ++decimals) {
        const std::optional<quint64> units = DecimalDigits::exactUnits(value, decimals);
        if (!units)
            continue;
        if (*units == 0)
            return QStringLiteral("0");
        // Written out in one buffer and made a text once: numbers go into most statements.
        const quint64 scale = DecimalDigits::unitScale(decimals);
        char digits[48];
        char* end = digits;
        if (std::signbit(value))
            *end++ = '-';
        end = std::to_chars(end, digits + sizeof digits, *units / scale).ptr;
        const auto whole = QLatin1String(digits, end - digits);
        if (decimals == 0)
            return QString(whole);
        char fraction[8];
        quint64 rest = *units % scale;
        for (int i = decimals - 1; i >= 0; --i, rest /= 10)
            fraction[i] = char('0' + rest % 10);
        QString text;
        text.reserve(whole.size() + 1 + decimals);
        text.append(whole);
        text.append(rules.decimalSeparator());
        text.append(QLatin1String(fraction, decimals));
        return text;
    }
    const DecimalDigits digits(value);
    if (digits.isZero())
        return QStringLiteral("0");

    const int decimals = std::max(0, int(digits.digits().size()) - 1 - digits.exponent());
    if (digits.exponent() >= 15 || decimals > 15)
        return scientific(digits, rules.decimalSeparator());

    std::string integerPart;
    std::string fraction;
    digits.fixed(decimals, integerPart, fraction);
    QString text = digits.isNegative() ? QStringLiteral("-") : QString();
    text += integerPart.empty() ? QStringLiteral("0") : QString::fromLatin1(integerPart);
    if (!fraction.empty()) {
        text += rules.decimalSeparator();
        text += QString::fromLatin1(fraction);
    }
    return text;
}

std::optional<double> NumberText::parse(const QString& text, const LocaleRules& rules)
{
    QString s = TextRules::trim(text);
    if (s.isEmpty())
        return std::nullopt;

    bool negative = false;
    if (s.front() == u'+' || s.front() == u'-') {
        negative = s.front() == u'-';
        s = TextRules::trim(s.mid(1));
    } else if (s.back() == u'+' || s.back() == u'-') {
        negative = s.back() == u'-';
        s = TextRules::trim(s.chopped(1));
    }
    if (s.isEmpty())
        return std::nullopt;

    // Normalised to "digits[.digits][e±digits]" for from_chars.
    std::string normal;
    normal.reserve(size_t(s.size()));
    qsizetype i = 0;
    int mantissaDigits = 0;
    while (i < s.size()) {
        const QChar c = s.at(i);
        if (c.isDigit() && c.unicode() < 128) {
            normal += char(c.unicode());
            ++mantissaDigits;
        } else if (c == rules.groupSeparator() && mantissaDigits > 0 &&
                   c != rules.decimalSeparator()) {
            // Grouping in the integer part is skipped.
        } else {
            break;
        }
        ++i;
    }
    if (i < s.size() && s.at(i) == rules.decimalSeparator()) {
        normal += '.';
        ++i;
        while (i < s.size() && s.at(i).isDigit() && s.at(i).unicode() < 128) {
            normal += char(s.at(i).unicode());
            ++mantissaDigits;
            ++i;
        }
    }
    if (mantissaDigits == 0)
        return std::nullopt;
    if (i < s.size() && (s.at(i) == u'e' || s.at(i) == u'E')) {
        normal += 'e';
        ++i;
        if (i < s.size() && (s.at(i) == u'+' || s.at(i) == u'-')) {
            normal += char(s.at(i).unicode());
            ++i;
        }
        int exponentDigits = 0;
        while (i < s.size() && s.at(i).isDigit() && s.at(i).unicode() < 128) {
            normal += char(s.at(i).unicode());
            ++exponentDigits;
            ++i;
        }
        if (exponentDigits == 0)
            return std::nullopt;
    }
    if (i != s.size())
        return std::nullopt;

    double value = 0;
    const auto result = std::from_chars(normal.data(), normal.data() + normal.size(), value);
    if (result.ec != std::errc() || result.ptr != normal.data() + normal.size() ||
        !std::isfinite(value))
        return std::nullopt;
    return negative ? -value : value;
}

double NumberText::toNumber(const QString& text, const LocaleRules& rules)
{
    const auto value = parse(text, rules);
    if (!value)
        throw RuntimeError::typeMismatch();
    return *value;
}

bool NumberText::holdsNumber(const QString& text, const LocaleRules& rules)
{
    return parse(text, rules).has_value();
}

} // namespace oquivran
