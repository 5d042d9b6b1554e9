#include "SqliteFunctions.h"

#include "DateText.h"
#include "NumberFormat.h"
#include "NumberText.h"
#include "OperatingSystemUser.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <algorithm>
#include <exception>
#include <iterator>
#include <optional>

#include <sqlite3.h>

namespace oquivran {

namespace {

constexpr int Flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;

QString textOf(sqlite3_value* value)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return QString::fromUtf8(text, sqlite3_value_bytes(value));
}

// The number a value holds: integers and reals as they are, text by the ordinary conversion.
std::optional<double> numberOf(sqlite3_value* value)
{
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
        return sqlite3_value_double(value);
    case SQLITE_TEXT:
        return NumberText::parse(textOf(value));
    default:
        return std::nullopt;
    }
}

// The date a text value holds; nothing for other values.
std::optional<QDate> dateOf(sqlite3_value* value)
{
    if (sqlite3_value_type(value) != SQLITE_TEXT)
        return std::nullopt;
    return DateText::parse(textOf(value));
}

void resultText(sqlite3_context* context, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    sqlite3_result_text(context, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
}

void resultDate(sqlite3_context* context, const QDate& date)
{
    resultText(context, date.toString(QStringLiteral("yyyy-MM-dd")));
}

void typeMismatch(sqlite3_context* context)
{
    sqlite3_result_error(context, "Type mismatch", -1);
}

// Runs a function body, turning an escaping exception into the statement's error.
template <typename Body> void guarded(sqlite3_context* context, Body body)
{
    try {
        body();
    } catch (const std::exception& error) {
        sqlite3_result_error(context, error.what(), -1);
    } catch (...) {
        sqlite3_result_error(context, "Internal error", -1);
    }
}

void cdbl(sqlite3_context* context, int, sqlite3_value** argv)
{
    guarded(context, [&] {
        if (sqlite3_value_type(argv[0]) == SQLITE_NULL)
            return sqlite3_result_null(context);
        if (const auto number = numberOf(argv[0]))
            return sqlite3_result_double(context, *number);
        typeMismatch(context);
    });
}

void datevalue(sqlite3_context* context, int, sqlite3_value** argv)
{
    guarded(context, [&] {
        if (sqlite3_value_type(argv[0]) == SQLITE_NULL)
            return sqlite3_result_null(context);
        if (const auto date = DateText::parse(textOf(argv[0])))
            return resultDate(context, *date);
        typeMismatch(context);
    });
}

void format(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    if (argc < 1 || argc > 2)
        return sqlite3_result_error(context, "wrong number of arguments to function format()", -1);
    guarded(context, [&] {
        sqlite3_value* value = argv[0];
        if (sqlite3_value_type(value) == SQLITE_NULL)
            return sqlite3_result_null(context);
        if (argc == 2 && sqlite3_value_type(argv[1]) == SQLITE_NULL)
            return sqlite3_result_null(context);
        const auto number = numberOf(value);
        if (!number)
            return sqlite3_result_value(context, value);
        if (argc == 1)
            return resultText(context, NumberText::toText(*number));
        resultText(context, NumberFormat::format(*number, textOf(argv[1])));
    });
}

void toReal(sqlite3_context* context, int, sqlite3_value** argv)
{
    guarded(context, [&] {
        if (sqlite3_value_type(argv[0]) == SQLITE_TEXT) {
            if (const auto number = NumberText::parse(textOf(argv[0])))
                return sqlite3_result_double(context, *number);
        }
        sqlite3_result_value(context, argv[0]);
    });
}

void toDate(sqlite3_context* context, int, sqlite3_value** argv)
{
    guarded(context, [&] {
        if (const auto date = dateOf(argv[0]))
            return resultDate(context, *date);
        sqlite3_result_value(context, argv[0]);
    });
}

using Function = void (*)(sqlite3_context*, int, sqlite3_value**);

// Local time now as ISO 8601 text with milliseconds and the offset from UTC.
void auditTime(sqlite3_context* context, int, sqlite3_value**)
{
    guarded(context, [&] {
        // The rows of one statement mostly fall in one millisecond: its text is made once. Plain
        // storage, so that nothing is destroyed when a thread of a host ends.
        struct Last
        {
            qint64 milliseconds = -1;
            char16_t text[48];
            qsizetype length = 0;
        };
        thread_local Last last;
        const qint64 milliseconds = QDateTime::currentMSecsSinceEpoch();
        if (milliseconds != last.milliseconds) {
            // Qt writes the offset only for a time given as an offset from UTC.
            const QDateTime now = QDateTime::fromMSecsSinceEpoch(milliseconds);
            const QString text =
                now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODateWithMs);
            if (text.size() > qsizetype(std::size(last.text)))
                return resultText(context, text);
            std::copy(text.utf16(), text.utf16() + text.size(), last.text);
            last.length = text.size();
            last.milliseconds = milliseconds;
        }
        resultText(context, QString::fromUtf16(last.text, last.length));
    });
}

// The operating-system user running the component.
void auditUser(sqlite3_context* context, int, sqlite3_value**)
{
    guarded(context, [&] {
        // Looked up once, not for each row: who runs the process does not change while it runs.
        static const QString user = OperatingSystemUser::name();
        resultText(context, user);
    });
}

bool define(sqlite3* connection, const char* name, int arguments, Function function,
            int flags = Flags)
{
    return sqlite3_create_function_v2(connection, name, arguments, flags, nullptr, function,
                                      nullptr, nullptr, nullptr) == SQLITE_OK;
}

} // namespace

bool SqliteFunctions::install(sqlite3* connection)
{
    if (!connection)
        return false;
    bool ok = define(connection, "cdbl", 1, cdbl);
    ok = define(connection, "datevalue", 1, datevalue) && ok;
    ok = define(connection, "format", -1, format) && ok;
    ok = define(connection, "oquivran_real", 1, toReal) && ok;
    ok = define(connection, "oquivran_date", 1, toDate) && ok;
    // Neither gives the same result on every call.
    ok = define(connection, "oquivran_audit_time", 0, auditTime, SQLITE_UTF8) && ok;
    ok = define(connection, "oquivran_audit_user", 0, auditUser, SQLITE_UTF8) && ok;
    return ok;
}

} // namespace oquivran
