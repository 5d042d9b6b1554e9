#include "Alinear.h"

#include <oquivran/RuntimeError.h>

namespace oquivran {

namespace {

QString pad(const QString& text, Alignment alignment, qint16 width)
{
    if (width < 0)
        throw RuntimeError(InvalidProcedureCall,
                           QStringLiteral("Invalid procedure call or argument"));
    if (width > text.size()) {
        const QString blanks(width - text.size(), u' ');
        return alignment == Alignment::Left ? text + blanks : blanks + text;
    }
    return text.left(width);
}

} // namespace

QString Alinear(const QString& text, Alignment alignment, qint16 width)
{
    try {
        return pad(text, alignment, width);
    } catch (const RuntimeError& error) {
        return QStringLiteral("Err_FrmSytr ") + error.description + QStringLiteral(": ") +
               text.left(50);
    }
}

} // namespace oquivran
