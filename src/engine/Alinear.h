#pragma once

#include <QString>
#include <QtGlobal>

namespace oquivran {

// Which side of a report column a text keeps to.
enum class Alignment {
    Right, // blanks before the text
    Left,  // blanks after the text
};

// Pads text with blanks to width, or cuts it to its leftmost width characters when it is not
// shorter. On an error (a negative width) the result is "Err_FrmSytr " + the error's
// description + ": " + the first 50 characters of the text; no message is shown.
QString Alinear(const QString& text, Alignment alignment, qint16 width);

// Appends blanksBefore blanks (none or more), then Alinear(text, alignment, width), to line,
// without building the padded text apart.
void appendAligned(QString& line, const QString& text, Alignment alignment, qint16 width,
                   qint16 blanksBefore = 0);

// Writes what appendAligned appends, for a width that is not negative, at out, which has room
// for blanksBefore + width characters; gives the end of what it wrote. A line of several
// columns is sized once and written column after column.
char16_t* writeAligned(char16_t* out, const QString& text, Alignment alignment, qint16 width,
                       qint16 blanksBefore = 0);

} // namespace oquivran
