#pragma once

#include <QChar>
#include <QLocale>

namespace oquivran {

// The user's number and date conventions: decimal and grouping separators, and whether the
// short date puts the day before the month. Number and date text of the component follow
// them.
class LocaleRules
{
public:
    // Reads the conventions of a locale.
    explicit LocaleRules(const QLocale& locale);

    // The conventions of QLocale::system(), read once.
    static const LocaleRules& system();

    QChar decimalSeparator() const { return m_decimal; }
    QChar groupSeparator() const { return m_group; }
    // True when the locale's short date reads day before month (es_AR and C; not en_US).
    bool dayFirst() const { return m_dayFirst; }
    // Separator between day, month and year in date text: the locale's own when it is one of
    // "/", "." or "-", otherwise "/".
    QChar dateSeparator() const { return m_dateSeparator; }

private:
    QChar m_decimal;
    QChar m_group;
    bool m_dayFirst = true;
    QChar m_dateSeparator;
};

} // namespace oquivran
