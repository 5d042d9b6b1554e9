#include "HostText.h"

#include <QLocale>

QString HostText::decimal(double value, int decimals)
{
    QLocale locale = QLocale::system();
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    return locale.toString(value, 'f', decimals);
}
