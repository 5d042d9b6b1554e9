#include "HostText.h"

#include <QLocale>

namespace {

struct InputColumn
{
    const char* field;
    const char* heading;
    const char* key;
};

// The columns of an item's inputs: the declaration line and the real quantity summed.
const InputColumn inputColumns[] = {
    {"ARTDCL", "Despacho", "declaration"},
    {"ARTITM", "Ítem", "item"},
    {"ARTSBT", "Subítem", "subitem"},
    {"ARTNCM", "Posición", "tariff_position"},
    {"RALCAN", "Cantidad real", "real_quantity"},
    {"DIPCTC", "C.T.C.", "ctc"},
    {"DIPEXP", "Expediente", "export_reference"},
};

const InputColumn* inputColumn(const QString& field)
{
    for (const InputColumn& column : inputColumns) {
        if (field.compare(QLatin1String(column.field), Qt::CaseInsensitive) == 0)
            return &column;
    }
    return nullptr;
}

} // namespace

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

QVariant HostText::number(const QVariant& value)
{
    if (value.typeId() != QMetaType::QString)
        return value;
    bool ok = false;
    const double number = QLocale::system().toDouble(value.toString(), &ok);
    if (ok)
        return number;
    const double plain = QLocale::c().toDouble(value.toString(), &ok);
    return ok ? QVariant(plain) : value;
}

QString HostText::inputHeading(const QString& field)
{
    const InputColumn* column = inputColumn(field);
    return column ? QString::fromUtf8(column->heading) : field;
}

QString HostText::inputKey(const QString& field)
{
    const InputColumn* column = inputColumn(field);
    return column ? QString::fromLatin1(column->key) : field;
}
