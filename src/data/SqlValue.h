#pragma once

#include <QDate>
#include <QString>

namespace oquivran {

// How values are written into the component's SQL text.
class SqlValue
{
public:
    // A text value between single quotes, not escaped. A value holding a single quote is
    // refused with a RuntimeError (user-defined number) naming it, so it never reaches the
    // database.
    static QString text(const QString& value);
    // The value itself, refused like text() when it holds a single quote; for the places where
    // the statement writes the quotes itself.
    static QString checked(const QString& value);
    // A whole number, bare.
    static QString whole(qint64 value);
    // A real: "cdbl('" + the ordinary number-to-text conversion + "')".
    static QString real(double value);
    // A date: "datevalue('" + date text + "')".
    static QString date(const QDate& value);
};

} // namespace oquivran
