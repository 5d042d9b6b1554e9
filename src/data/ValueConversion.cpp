#include "ValueConversion.h"

#include "DateText.h"
#include "NumberText.h"

#include <oquivran/RuntimeError.h>

#include <QDate>

namespace oquivran {

double ValueConversion::toReal(const QVariant& value)
{
    // Reals and whole numbers are most of what is read: taken as they are, without the general
    // conversion (a null one holds zero, as a null value gives). The drivers give a whole
    // number that fits as an int.
    switch (value.typeId()) {
    case QMetaType::Double:
        return *static_cast<const double*>(value.constData());
    case QMetaType::LongLong:
        return double(*static_cast<const qlonglong*>(value.constData()));
    case QMetaType::Int:
        return double(*static_cast<const int*>(value.constData()));
    default:
        break;
    }
    if (value.isNull())
        return 0.0;
    switch (value.typeId()) {
    case QMetaType::Float:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return value.toDouble();
    case QMetaType::Bool:
        // True is all bits set, as the component's booleans are.
        return value.toBool() ? -1.0 : 0.0;
    case QMetaType::QDate:
        // Dates count days from 30/12/1899.
        return double(QDate(1899, 12, 30).daysTo(value.toDate()));
    case QMetaType::QString:
        return NumberText::toNumber(*static_cast<const QString*>(value.constData()));
    default:
        throw RuntimeError::typeMismatch();
    }
}

QString ValueConversion::toText(const QVariant& value)
{
    // Text is most of what is read: taken as it is (a null text stays null), without the
    // general conversion.
    if (value.typeId() == QMetaType::QString)
        return *static_cast<const QString*>(value.constData());
    if (value.isNull())
        return QString();
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
        return NumberText::toText(value.toDouble());
    case QMetaType::QDate:
        return DateText::toText(value.toDate());
    default:
        return value.toString();
    }
}

} // namespace oquivran
