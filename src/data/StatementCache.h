#pragma once

#include "StatementDriver.h"

#include <QHash>
#include <QString>

#include <memory>

namespace oquivran {

class PreparedStatement;

// The statements a data object prepared on its connection, kept by their shared text (see
// LiteralParameters) so a statement that comes again with other values is not prepared again.
class StatementCache
{
public:
    StatementCache();
    ~StatementCache();
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    // The connection the statements belong to; a null handle while none is kept.
    StatementDriver::Connection connection() const { return m_connection; }
    bool isEmpty() const { return m_entries.isEmpty(); }
    // The statement kept for a text; null when it is not kept.
    PreparedStatement* find(const QString& text) const;
    // Keeps a statement prepared on connection under text. Statements of another connection,
    // and every one when the cache is full, are released first.
    PreparedStatement* insert(const StatementDriver::Connection& connection, const QString& text,
                              std::unique_ptr<PreparedStatement> statement);
    // Releases the statement kept for a text.
    void remove(const QString& text);
    // Releases every statement kept.
    void clear();

private:
    StatementDriver::Connection m_connection;
    QHash<QString, std::shared_ptr<PreparedStatement>> m_entries;
};

} // namespace oquivran
