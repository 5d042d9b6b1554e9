#include "SqlValue.h"

#include "DateText.h"
#include "NumberText.h"

#include <oquivran/RuntimeError.h>

namespace oquivran {

QString SqlValue::checked(const QString& value)
{
    // Text goes into the statement unescaped, so a quote would end the literal early and
    // change the statement; such a value is refused before anything runs.
    if (value.contains(u'\''))
        throw RuntimeError::userDefined(
            QStringLiteral("El valor [") + value +
                QStringLiteral("] contiene una comilla simple (') y no puede usarse en una "
                               "consulta a la base de datos."),
            QStringLiteral("SqlValue"));
    return value;
}

QString SqlValue::text(const QString& value)
{
    return u'\'' + checked(value) + u'\'';
}

QString SqlValue::whole(qint64 value)
{
    return QString::number(value);
}

QString SqlValue::real(double value)
{
    return QStringLiteral("cdbl('") + NumberText::toText(value) + QStringLiteral("')");
}

QString SqlValue::date(const QDate& value)
{
    return QStringLiteral("datevalue('") + DateText::toText(value) + QStringLiteral("')");
}

} // namespace oquivran
