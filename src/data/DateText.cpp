#include "DateText.h"

#include "TextRules.h"

#include <oquivran/RuntimeError.h>

#include <QRegularExpression>

namespace oquivran {

namespace {

// Two-digit years: 00-29 are this century, 30-99 the last.
int fullYear(const QString& year)
{
    const int value = year.toInt();
    if (year.size() == 2)
        return value < 30 ? 2000 + value : 1900 + value;
    return value;
}

} // namespace

QString DateText::toText(const QDate& date, const LocaleRules& rules)
{
    if (!date.isValid())
        return QString();
    // One calendar conversion for the three parts.
    int year = 0;
    int month = 0;
    int day = 0;
    date.getDate(&year, &month, &day);
    if (year < 0 || year > 9999) {
        const QString dayText = QStringLiteral("%1").arg(day, 2, 10, QChar(u'0'));
        const QString monthText = QStringLiteral("%1").arg(month, 2, 10, QChar(u'0'));
        const QString yearText = QStringLiteral("%1").arg(year, 4, 10, QChar(u'0'));
        const QChar separator = rules.dateSeparator();
        return rules.dayFirst() ? dayText + separator + monthText + separator + yearText
                                : monthText + separator + dayText + separator + yearText;
    }
    // Two digits of day and month and four of the year, written directly.
    const auto digit = [](int value) {
        return QChar(char16_t(u'0' + value));
    };
    const int first = rules.dayFirst() ? day : month;
    const int second = rules.dayFirst() ? month : day;
    const QChar separator = rules.dateSeparator();
    const QChar text[10] = {digit(first / 10),  digit(first % 10),      separator,
                            digit(second / 10), digit(second % 10),     separator,
                            digit(year / 1000), digit(year / 100 % 10), digit(year / 10 % 10),
                            digit(year % 10)};
    return QString(text, 10);
}

std::optional<QDate> DateText::parse(const QString& text, const LocaleRules& rules)
{
    static const QRegularExpression iso(QStringLiteral("^(\\d{4})-(\\d{1,2})-(\\d{1,2})$"));
    static const QRegularExpression local(
        QStringLiteral("^(\\d{1,2})([/.-])(\\d{1,2})\\2(\\d{4}|\\d{2})$"));

    const QString s = TextRules::trim(text);
    QDate date;
    if (const auto match = iso.match(s); match.hasMatch()) {
        date =
            QDate(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
    } else if (const auto m = local.match(s); m.hasMatch()) {
        const int first = m.captured(1).toInt();
        const int second = m.captured(3).toInt();
        const int year = fullYear(m.captured(4));
        date = rules.dayFirst() ? QDate(year, second, first) : QDate(year, first, second);
    }
    if (!date.isValid() || date.year() < 100)
        return std::nullopt;
    return date;
}

QDate DateText::toDate(const QString& text, const LocaleRules& rules)
{
    const auto date = parse(text, rules);
    if (!date)
        throw RuntimeError::typeMismatch();
    return *date;
}

bool DateText::holdsDate(const QString& text, const LocaleRules& rules)
{
    return parse(text, rules).has_value();
}

} // namespace oquivran
