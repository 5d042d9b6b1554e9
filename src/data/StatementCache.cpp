#include "StatementCache.h"

#include "PreparedStatement.h"

namespace oquivran {

namespace {

// Enough for every statement shape of the component; a host's ad-hoc texts only refill it.
constexpr qsizetype Capacity = 256;

} // namespace

StatementCache::StatementCache() = default;

StatementCache::~StatementCache()
{
    clear();
}

PreparedStatement* StatementCache::find(const QString& text) const
{
    const auto found = m_entries.constFind(text);
    return found == m_entries.cend() ? nullptr : found->get();
}

PreparedStatement* StatementCache::insert(const StatementDriver::Connection& connection,
                                          const QString& text,
                                          std::unique_ptr<PreparedStatement> statement)
{
    if (!(connection == m_connection) || m_entries.size() >= Capacity)
        clear();
    m_connection = connection;
    std::shared_ptr<PreparedStatement> kept(std::move(statement));
    PreparedStatement* const found = kept.get();
    m_entries.insert(text, std::move(kept));
    return found;
}

void StatementCache::remove(const QString& text)
{
    m_entries.remove(text);
    if (m_entries.isEmpty())
        m_connection = {};
}

void StatementCache::clear()
{
    m_entries.clear();
    m_connection = {};
}

} // namespace oquivran
