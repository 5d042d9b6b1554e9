#include "Alinear.h"

#include <oquivran/RuntimeError.h>

#include <algorithm>

namespace oquivran {

namespace {

void checkWidth(qint16 width)
{
    if (width < 0)
        throw RuntimeError(InvalidProcedureCall,
                           QStringLiteral("Invalid procedure call or argument"));
}

// Appends blanks, then text padded with blanks to width or cut to it; width is not negative.
// Written in place: report lines are made of thousands of these.
void appendPadded(QString& line, qint16 blanksBefore, const QString& text, Alignment alignment,
                  qint16 width)
{
    const qsizetype start = line.size();
    line.resize(start + blanksBefore + width);
    writeAligned(reinterpret_cast<char16_t*>(line.data()) + start, text, alignment, width,
                 blanksBefore);
}

} // namespace

QString Alinear(const QString& text, Alignment alignment, qint16 width)
{
    try {
        checkWidth(width);
        QString result;
        result.reserve(width);
        appendPadded(result, 0, text, alignment, width);
        return result;
    } catch (const RuntimeError& error) {
        return QStringLiteral("Err_FrmSytr ") + error.description + QStringLiteral(": ") +
               text.left(50);
    }
}

void appendAligned(QString& line, const QString& text, Alignment alignment, qint16 width,
                   qint16 blanksBefore)
{
    if (width < 0) {
        line += QString(blanksBefore, u' ');
        line += Alinear(text, alignment, width);
    } else {
        appendPadded(line, blanksBefore, text, alignment, width);
    }
}

char16_t* writeAligned(char16_t* out, const QString& text, Alignment alignment, qint16 width,
                       qint16 blanksBefore)
{
    const qsizetype shown = qMin<qsizetype>(width, text.size());
    out = std::fill_n(out, blanksBefore, u' ');
    const char16_t* letters = reinterpret_cast<const char16_t*>(text.constData());
    const qsizetype blanks = width - shown;
    if (alignment == Alignment::Right)
        out = std::fill_n(out, blanks, u' ');
    out = std::copy_n(letters, shown, out);
    if (alignment == Alignment::Left)
        out = std::fill_n(out, blanks, u' ');
    return out;
}

} // namespace oquivran
