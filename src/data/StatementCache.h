#pragma once

#include <oquivran/Recordset.h>

#include <QHash>
#include <QList>
#include <QString>

struct sqlite3;
struct sqlite3_stmt;

namespace oquivran {

// The statements a SqlDataObject prepared on its connection, kept by their shared text (see
// LiteralParameters) so a statement that comes again with other values is not prepared again.
// A statement is kept reset between uses, so it holds no lock and no transaction open.
class StatementCache
{
public:
    // One prepared statement and what reading its rows needs.
    struct Entry
    {
        sqlite3_stmt* statement = nullptr;
        Recordset empty;         // its fields, no rows: each result starts as a copy
        QList<bool> dateColumns; // columns declared DATE
    };

    StatementCache() = default;
    ~StatementCache();
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    // The connection the statements belong to; null while none is kept.
    sqlite3* connection() const { return m_connection; }
    // The entry of a text; null when it is not kept.
    Entry* find(const QString& text);
    // Keeps an entry whose statement was prepared on connection (owned from now on) under
    // text.
    Entry* insert(sqlite3* connection, const QString& text, const Entry& entry);
    // Finalizes every statement kept.
    void clear();

private:
    sqlite3* m_connection = nullptr;
    QHash<QString, Entry> m_entries;
};

} // namespace oquivran
