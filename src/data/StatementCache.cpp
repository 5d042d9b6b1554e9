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
    for (const Recent& recent : m_recent) {
        if (recent.statement && recent.text.constData() == text.constData() &&
            recent.text.size() == text.size())
            return recent.statement;
    }
    const auto found = m_entries.constFind(text);
    if (found == m_entries.cend())
        return nullptr;
    m_recent[m_nextRecent] = {text, found->get()};
    m_nextRecent = (m_nextRecent + 1) % RecentCount;
    return found->get();
}

void StatementCache::forgetRecent()
{
    for (Recent& recent : m_recent)
        recent = {};
}

PreparedStatement* StatementCache::insert(const StatementDriver::Connection& connection,
                                          const QString& text,
                                          std::unique_ptr<PreparedStatement> statement)
{
    forgetRecent();
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
    forgetRecent();
    m_entries.remove(text);
    if (m_entries.isEmpty())
        m_connection = {};
}

void StatementCache::clear()
{
    forgetRecent();
    m_entries.clear();
    m_connection = {};
}

} // namespace oquivran
