#include "NumberFormat.h"

#include "DecimalDigits.h"
#include "NumberText.h"

#include <cmath>
#include <string>

namespace oquivran {

QString NumberFormat::format(double value, const QString& pattern, const LocaleRules& rules)
{
    if (!std::isfinite(value))
        return NumberText::toText(value, rules);

    // Zeros before the point fix the minimum integer digits, digit places after it the
    // decimals.
    const qsizetype point = pattern.indexOf(u'.');
    const QString integerPattern = point < 0 ? pattern : pattern.left(point);
    const QString fractionPattern = point < 0 ? QString() : pattern.mid(point + 1);
    const int integerZeros = int(integerPattern.count(u'0'));
    const int decimals = int(fractionPattern.count(u'0') + fractionPattern.count(u'#'));

    std::string integerPart;
    std::string fraction;
    const DecimalDigits digits(value);
    digits.fixed(decimals, integerPart, fraction);
    if (int(integerPart.size()) < integerZeros)
        integerPart.insert(0, size_t(integerZeros) - integerPart.size(), '0');

    const bool roundsToZero = integerPart.find_first_not_of('0') == std::string::npos &&
                              fraction.find_first_not_of('0') == std::string::npos;
    QString text = digits.isNegative() && !roundsToZero ? QStringLiteral("-") : QString();
    text += QString::fromLatin1(integerPart);
    if (decimals > 0) {
        text += rules.decimalSeparator();
        text += QString::fromLatin1(fraction);
    }
    return text;
}

double NumberFormat::rounded(double value, const QString& pattern, const LocaleRules& rules)
{
    return NumberText::toNumber(format(value, pattern, rules), rules);
}

} // namespace oquivran
