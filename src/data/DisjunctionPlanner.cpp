#include "DisjunctionPlanner.h"

#include "SqlTokenCursor.h"

#include <QByteArray>
#include <QStringView>

#include <optional>

#include <sqlite3.h>

namespace oquivran {

namespace {

using Token = SqlLexer::Token;
using TokenKind = SqlLexer::Token::Kind;

// A clause of the statement: tokens first..last - 1.
struct Span
{
    qsizetype first = 0;
    qsizetype last = 0;
};

// "column = value", the column maybe qualified by its table.
struct Comparison
{
    Span span;
    QString table; // the qualifier as written; empty when none
    QString column;
};

// The text, its tokens and what planning found in them.
class Statement
{
public:
    explicit Statement(const SqlLexer::Lexed& sql)
        : m_sql(sql.text), m_tokens(sql.tokens), m_cursor(sql)
    {
    }

    QStringView text(const Token& token) const
    {
        return QStringView(m_sql).mid(token.start, token.end - token.start);
    }
    bool is(qsizetype index, QStringView word) const { return m_cursor.isWord(index, word); }
    bool isSymbol(qsizetype index, QStringView symbol) const
    {
        return m_cursor.isSymbol(index, symbol);
    }
    // The first token at depth from..to that is one of words; -1 when none.
    qsizetype find(qsizetype from, qsizetype to, int depth,
                   std::initializer_list<QStringView> words) const
    {
        return m_cursor.findWord(from, to, depth, words);
    }
    // The parts of a span separated by a word at the span's depth.
    QList<Span> split(Span span, int depth, QStringView word) const
    {
        QList<Span> parts;
        qsizetype start = span.first;
        for (qsizetype i = span.first; i < span.last; ++i) {
            if (m_tokens.at(i).depth == depth && is(i, word)) {
                parts.append({start, i});
                start = i + 1;
            }
        }
        parts.append({start, span.last});
        return parts;
    }
    // The span as "column = value" with a quoted text, a number or "?" as the value.
    std::optional<Comparison> comparison(Span span) const
    {
        const qsizetype count = span.last - span.first;
        if (count != 3 && count != 5)
            return std::nullopt;
        Comparison result{span, {}, {}};
        qsizetype i = span.first;
        if (count == 5) {
            if (m_tokens.at(i).kind != TokenKind::Word || !isSymbol(i + 1, u"."))
                return std::nullopt;
            result.table = text(m_tokens.at(i)).toString();
            i += 2;
        }
        if (m_tokens.at(i).kind != TokenKind::Word ||
            (!isSymbol(i + 1, u"=") && !isSymbol(i + 1, u"==")))
            return std::nullopt;
        const Token& value = m_tokens.at(i + 2);
        if (value.kind != TokenKind::Text && value.kind != TokenKind::Number &&
            value.kind != TokenKind::Parameter)
            return std::nullopt;
        result.column = text(m_tokens.at(i)).toString();
        return result;
    }
    // The source text of a span, each "?" written with its number.
    QString source(Span span) const
    {
        QString result;
        qsizetype copied = m_tokens.at(span.first).start;
        for (qsizetype i = span.first; i < span.last; ++i) {
            const Token& token = m_tokens.at(i);
            result += QStringView(m_sql).mid(copied, token.start - copied);
            result += numbered(i);
            copied = token.end;
        }
        return result;
    }
    // The whole text with every "?" numbered and the insertions made (position in the
    // source, text), in order of position.
    QString rebuilt(const QList<std::pair<qsizetype, QString>>& insertions) const
    {
        QString result;
        qsizetype copied = 0;
        qsizetype next = 0;
        const auto insertUpTo = [&](qsizetype position) {
            while (next < insertions.size() && insertions.at(next).first <= position) {
                result += QStringView(m_sql).mid(copied, insertions.at(next).first - copied);
                copied = insertions.at(next).first;
                result += insertions.at(next).second;
                ++next;
            }
        };
        for (qsizetype i = 0; i < m_tokens.size(); ++i) {
            const Token& token = m_tokens.at(i);
            if (token.kind != TokenKind::Parameter || text(token) != u"?")
                continue;
            insertUpTo(token.start);
            result += QStringView(m_sql).mid(copied, token.start - copied);
            result += numbered(i);
            copied = token.end;
        }
        insertUpTo(m_sql.size());
        result += QStringView(m_sql).mid(copied);
        return result;
    }

    const QList<Token>& tokens() const { return m_tokens; }

private:
    QString numbered(qsizetype index) const
    {
        const Token& token = m_tokens.at(index);
        if (token.kind != TokenKind::Parameter || text(token) != u"?")
            return text(token).toString();
        int number = 0;
        for (qsizetype i = 0; i <= index; ++i) {
            if (m_tokens.at(i).kind == TokenKind::Parameter)
                ++number;
        }
        return u'?' + QString::number(number);
    }

    const QString& m_sql;
    const QList<Token>& m_tokens;
    SqlTokenCursor m_cursor;
};

// The table of the statement a column belongs to; empty when none or several do.
QString owner(const Comparison& comparison, const QStringList& tables,
              const DisjunctionPlanner::Catalog& catalog)
{
    QString found;
    for (const QString& table : tables) {
        if (!comparison.table.isEmpty() &&
            comparison.table.compare(table, Qt::CaseInsensitive) != 0)
            continue;
        if (!catalog.hasColumn(table, comparison.column))
            continue;
        if (!found.isEmpty())
            return QString();
        found = table;
    }
    return found;
}

// Whether an index looks rows up by column once the keyed columns are known: the index's
// leading columns are keyed ones up to the column itself.
bool lookedUp(const QList<QStringList>& indexes, const QStringList& keyed, const QString& column)
{
    for (const QStringList& index : indexes) {
        for (const QString& indexed : index) {
            if (indexed.compare(column, Qt::CaseInsensitive) == 0)
                return true;
            if (!keyed.contains(indexed, Qt::CaseInsensitive))
                break;
        }
    }
    return false;
}

} // namespace

QString DisjunctionPlanner::plan(const QString& sql, const Catalog& catalog)
{
    return plan(SqlLexer::lex(sql), catalog);
}

QString DisjunctionPlanner::plan(const SqlLexer::Lexed& lexed, const Catalog& catalog)
{
    const QString& sql = lexed.text;
    if (!lexed.isLexed() || lexed.tokens.isEmpty())
        return sql;
    const Statement statement(lexed);
    const QList<Token>& all = statement.tokens();
    qsizetype end = all.size();
    for (qsizetype i = 0; i < all.size(); ++i) {
        if (statement.isSymbol(i, u";")) {
            // Only separators may follow.
            for (qsizetype j = i; j < all.size(); ++j) {
                if (!statement.isSymbol(j, u";"))
                    return sql;
            }
            end = i;
            break;
        }
        if (all.at(i).kind == TokenKind::Parameter && statement.text(all.at(i)) != u"?")
            return sql;
    }
    if (statement.find(0, end, 0, {u"limit", u"returning", u"union", u"intersect", u"except"}) >= 0)
        return sql;

    // The tables, where the planned table's "not indexed" goes, and the condition.
    QStringList tables;
    QList<qsizetype> tableTokens;
    Span condition;
    if (statement.is(0, u"select")) {
        const qsizetype from = statement.find(1, end, 0, {u"from"});
        const qsizetype where = from < 0 ? -1 : statement.find(from + 1, end, 0, {u"where"});
        if (where < 0)
            return sql;
        // FROM items separated by commas, each a table's plain name.
        for (qsizetype i = from + 1; i < where; i += 2) {
            if (all.at(i).kind != TokenKind::Word ||
                (i + 1 < where && !statement.isSymbol(i + 1, u",")))
                return sql;
            tables.append(statement.text(all.at(i)).toString());
            tableTokens.append(i);
        }
        const qsizetype after =
            statement.find(where + 1, end, 0, {u"group", u"order", u"having", u"window"});
        condition = {where + 1, after < 0 ? end : after};
    } else if (statement.is(0, u"update") || statement.is(0, u"delete")) {
        const bool update = statement.is(0, u"update");
        const qsizetype table = update ? 1 : 2;
        if ((!update && !statement.is(1, u"from")) || table >= end ||
            all.at(table).kind != TokenKind::Word ||
            !statement.is(table + 1, update ? u"set" : u"where"))
            return sql;
        const qsizetype where = statement.find(table + 1, end, 0, {u"where"});
        if (where < 0 || statement.find(table + 1, end, 0, {u"from", u"order"}) >= 0)
            return sql;
        tables.append(statement.text(all.at(table)).toString());
        tableTokens.append(table);
        condition = {where + 1, end};
    } else {
        return sql;
    }
    for (qsizetype i = 0; i < tables.size(); ++i) {
        for (qsizetype j = i + 1; j < tables.size(); ++j) {
            if (tables.at(i).compare(tables.at(j), Qt::CaseInsensitive) == 0)
                return sql;
        }
    }
    // "and" binds the condition's parts only when nothing at its top level reads otherwise.
    if (statement.find(condition.first, condition.last, 0, {u"or", u"between", u"case"}) >= 0)
        return sql;

    // The parts: "column = value" keys and the first "(column = value or ...)".
    QList<Comparison> keys;
    QList<Comparison> branches;
    for (const Span part : statement.split(condition, 0, u"and")) {
        if (const std::optional<Comparison> key = statement.comparison(part)) {
            keys.append(*key);
            continue;
        }
        if (!branches.isEmpty() || part.last - part.first < 2 ||
            !statement.isSymbol(part.first, u"(") || !statement.isSymbol(part.last - 1, u")") ||
            statement.find(part.first + 1, part.last - 1, 1, {u"and"}) >= 0)
            continue;
        // The parenthesis must close at the part's end, not before.
        bool closesAtEnd = true;
        for (qsizetype i = part.first + 1; i < part.last - 1; ++i) {
            if (all.at(i).depth < 1)
                closesAtEnd = false;
        }
        if (!closesAtEnd)
            continue;
        QList<Comparison> found;
        for (const Span branch : statement.split({part.first + 1, part.last - 1}, 1, u"or")) {
            const std::optional<Comparison> comparison = statement.comparison(branch);
            if (!comparison) {
                found.clear();
                break;
            }
            found.append(*comparison);
        }
        if (found.size() >= 2)
            branches = found;
    }
    if (branches.isEmpty())
        return sql;

    const QString table = owner(branches.first(), tables, catalog);
    if (table.isEmpty() || !catalog.hasRowid(table))
        return sql;
    for (const Comparison& branch : branches) {
        if (owner(branch, tables, catalog) != table)
            return sql;
    }
    QStringList keyed;
    QStringList keyTexts;
    for (const Comparison& key : keys) {
        if (owner(key, tables, catalog) != table)
            continue;
        keyed.append(key.column);
        keyTexts.append(statement.source(key.span));
    }
    const QList<QStringList> indexes = catalog.indexes(table);
    QStringList lookups;
    for (const Comparison& branch : branches) {
        if (!lookedUp(indexes, keyed, branch.column))
            return sql;
        lookups.append(
            QStringLiteral("select rowid from ") + table + QStringLiteral(" where ") +
            (keyTexts + QStringList{statement.source(branch.span)}).join(QStringLiteral(" and ")));
    }

    const qsizetype tableToken = tableTokens.at(tables.indexOf(table));
    const qsizetype conditionEnd = all.at(condition.last - 1).end;
    return statement.rebuilt({
        {all.at(tableToken).end, QStringLiteral(" not indexed")},
        {conditionEnd, QStringLiteral(" and ") + table + QStringLiteral(".rowid in (") +
                           lookups.join(QStringLiteral(" union all ")) + u')'},
    });
}

DisjunctionPlanner::Catalog DisjunctionPlanner::catalogOf(sqlite3* connection)
{
    Catalog catalog;
    catalog.hasColumn = [connection](const QString& table, const QString& column) {
        return sqlite3_table_column_metadata(connection, nullptr, table.toUtf8().constData(),
                                             column.toUtf8().constData(), nullptr, nullptr, nullptr,
                                             nullptr, nullptr) == SQLITE_OK;
    };
    catalog.hasRowid = [connection](const QString& table) {
        // "rowid" names the rowid, or the INTEGER PRIMARY KEY column that stands for it; a
        // column of another kind so named hides it, and WITHOUT ROWID tables have none.
        const char* type = nullptr;
        int primaryKey = 0;
        if (sqlite3_table_column_metadata(connection, nullptr, table.toUtf8().constData(), "rowid",
                                          &type, nullptr, nullptr, &primaryKey,
                                          nullptr) != SQLITE_OK)
            return false;
        return primaryKey && type && qstricmp(type, "INTEGER") == 0;
    };
    catalog.indexes = [connection](const QString& table) {
        QList<QStringList> result;
        const auto rows = [connection](const char* sql, const QByteArray& argument,
                                       const std::function<void(sqlite3_stmt*)>& take) {
            sqlite3_stmt* statement = nullptr;
            if (sqlite3_prepare_v2(connection, sql, -1, &statement, nullptr) == SQLITE_OK) {
                sqlite3_bind_text(statement, 1, argument.constData(), int(argument.size()),
                                  SQLITE_TRANSIENT);
                while (sqlite3_step(statement) == SQLITE_ROW)
                    take(statement);
            }
            sqlite3_finalize(statement);
        };
        QList<QByteArray> names;
        rows("select name from pragma_index_list(?1) where partial = 0", table.toUtf8(),
             [&names](sqlite3_stmt* s) {
                 names.append(reinterpret_cast<const char*>(sqlite3_column_text(s, 0)));
             });
        for (const QByteArray& name : names) {
            QStringList columns;
            rows("select name from pragma_index_info(?1) order by seqno", name,
                 [&columns](sqlite3_stmt* s) {
                     columns.append(QString::fromUtf8(
                         reinterpret_cast<const char*>(sqlite3_column_text(s, 0))));
                 });
            result.append(columns);
        }
        return result;
    };
    return catalog;
}

} // namespace oquivran
