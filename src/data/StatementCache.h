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
    // The statements found lately, by the very text they were found with: a text whose
    // characters are where a text kept here has them is that text (this copy keeps them from
    // being freed or changed), so the statements a loop runs in turn are found without hashing
    // and comparing their whole text.
    struct Recent
    {
        QString text;
        PreparedStatement* statement = nullptr;
    };
    static constexpr qsizetype RecentCount = 8;

    // Forgets them, before a statement kept is released or another is kept.
    void forgetRecent();

    StatementDriver::Connection m_connection;
    QHash<QString, std::shared_ptr<PreparedStatement>> m_entries;
    mutable Recent m_recent[RecentCount];
    mutable qsizetype m_nextRecent = 0;
};

} // namespace oquivran
