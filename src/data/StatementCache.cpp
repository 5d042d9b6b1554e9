#include "StatementCache.h"

#include <sqlite3.h>

namespace oquivran {

namespace {

// Enough for every statement shape of the component; a host's ad-hoc texts only refill it.
constexpr qsizetype Capacity = 256;

} // namespace

StatementCache::~StatementCache()
{
    clear();
}

StatementCache::Entry* StatementCache::find(const QString& text)
{
    const auto found = m_entries.find(text);
    return found == m_entries.end() ? nullptr : &found.value();
}

StatementCache::Entry* StatementCache::insert(sqlite3* connection, const QString& text,
                                              const Entry& entry)
{
    if (connection != m_connection || m_entries.size() >= Capacity)
        clear();
    m_connection = connection;
    return &m_entries.insert(text, entry).value();
}

void StatementCache::clear()
{
    for (const Entry& entry : std::as_const(m_entries))
        sqlite3_finalize(entry.statement);
    m_entries.clear();
    m_connection = nullptr;
}

} // namespace oquivran
