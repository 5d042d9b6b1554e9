#include "Alinear.h"

#include <oquivran/RuntimeError.h>

namespace oquivran {

namespace {

void checkWidth(qint16 width)
{
    if (width < 0)
        throw RuntimeError(InvalidProcedureCall,
                           QStringLiteral("Invalid procedure call or argument"));
}

// Appends text padded with blanks to width, or cut to it; width is not negative.
void appendPadded(QString& line, const QString& text, Alignment alignment, qint16 width)
{
    if (width <= text.size()) {
        line += QStringView(text).left(width);
        return;
    }
    if (alignment == Alignment::Left)
        line += text;
    line.resize(line.size() + width - text.size(), u' ');
    if (alignment == Alignment::Right)
        line += text;
}

} // namespace

QString Alinear(const QString& text, Alignment alignment, qint16 width)
{
    try {
        checkWidth(width);
        QString result;
        result.reserve(width);
        appendPadded(result, text, alignment, width);
        return result;
    } catch (const RuntimeError& error) {
        return QStringLiteral("Err_FrmSytr ") + error.description + QStringLiteral(": ") +
               text.left(50);
    }
}

void appendAligned(QString& line, const QString& text, Alignment alignment, qint16 width)
{
    if (width < 0)
        line += Alinear(text, alignment, width);
    else
        appendPadded(line, text, alignment, width);
}

} // namespace oquivran
