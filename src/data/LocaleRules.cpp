#include "LocaleRules.h"

namespace oquivran {

LocaleRules::LocaleRules(const QLocale& locale)
{
    const QString decimal = locale.decimalPoint();
    const QString group = locale.groupSeparator();
    m_decimal = decimal.isEmpty() ? QChar(u'.') : decimal.at(0);
    m_group = group.isEmpty() ? QChar() : group.at(0);

    const QString shortFormat = locale.dateFormat(QLocale::ShortFormat);
    const qsizetype day = shortFormat.indexOf(u'd');
    const qsizetype month = shortFormat.indexOf(u'M');
    m_dayFirst = day < 0 || month < 0 || day < month;

    m_dateSeparator = u'/';
    for (const QChar c : shortFormat) {
        if (c.isLetter())
            continue;
        if (c == u'/' || c == u'.' || c == u'-')
            m_dateSeparator = c;
        break;
    }
}

const LocaleRules& LocaleRules::system()
{
    static const LocaleRules rules(QLocale::system());
    return rules;
}

} // namespace oquivran
