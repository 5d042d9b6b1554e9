#pragma once

struct sqlite3;

namespace oquivran {

// The SQL functions that the component's SQL text calls, with the component's number and date
// rules:
// - cdbl(text): the number the text holds (numbers pass through; NULL gives NULL); text that is
//   not a number fails the statement with "Type mismatch".
// - datevalue(text): the date as ISO text "yyyy-mm-dd"; not a date fails with "Type mismatch".
// - format(value, pattern): the value formatted with the pattern as locale text; NULL gives
//   NULL; text that is not a number comes back unchanged. Replaces SQLite's own format.
// - oquivran_real(value), oquivran_date(value): what SqlDataObject wraps around values written
//   into REAL and DATE columns: locale number text becomes a real, date text an ISO date,
//   anything else passes unchanged.
// - oquivran_audit_time(), oquivran_audit_user(): the audit trail's when and who: local time as
//   ISO 8601 text with milliseconds and the offset from UTC, and the operating-system user.
class SqliteFunctions
{
public:
    // Registers the functions on a connection. Returns false when SQLite refused one.
    static bool install(sqlite3* connection);
};

} // namespace oquivran
