#include "HostText.h"

#include <QLocale>

QString HostText::decimal(double value, int decimals)
{
    QLocale locale = QLocale::system();
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    return locale.toString(value, 'f', decimals);
}

namespace {

// The locale's short date with two-digit day and month and a four-digit year.
QString dateFormat()
{
    const QString format = QLocale::system().dateFormat(QLocale::ShortFormat);
    return format.indexOf(u'M') < format.indexOf(u'd') ? QStringLiteral("MM/dd/yyyy")
                                                       : QStringLiteral("dd/MM/yyyy");
}

} // namespace

QString HostText::date(const QDate& value)
{
    return value.isValid() ? value.toString(dateFormat()) : QString();
}

QDate HostText::readDate(const QString& text)
{
    const QDate iso = QDate::fromString(text, Qt::ISODate);
    return iso.isValid() ? iso : QDate::fromString(text, dateFormat());
}
