#include "StatementRewriter.h"

#include "DateText.h"
#include "NumberText.h"
#include "SqlTokenCursor.h"

#include <oquivran/RuntimeError.h>

#include <QDate>
#include <QHash>
#include <QList>
#include <QStringView>

#include <algorithm>
#include <optional>

namespace oquivran {

namespace {

using Token = SqlLexer::Token;
using Kind = SqlLexer::Token::Kind;

// A change to the text: `length` characters at `position` replaced by `text`.
struct Edit
{
    qsizetype position;
    qsizetype length;
    QString text;
};

using Conversion = StatementRewriter::Conversion;

// Reads one statement's tokens and collects the edits that make it run on the dialect's
// server.
class Rewriter
{
public:
    Rewriter(const SqlLexer::Lexed& sql, const StatementRewriter::ColumnLookup& lookup,
             const SqlDialect& dialect)
        : m_cursor(sql), m_tokens(sql.tokens), m_lookup(lookup), m_dialect(dialect)
    {
        for (qsizetype i = 0; i < count(); ++i) {
            if (m_cursor.isPlainParameter(i)) {
                m_parameterAt.insert(i, int(m_conversions.size()));
                m_conversions.append(Conversion::AsWritten);
            }
        }
    }

    // The edits; only the parameters' when the statement has a form that should not be
    // touched otherwise.
    QList<Edit> edits()
    {
        if (!statementEdits())
            m_edits.clear();
        numberParameters();
        return m_edits;
    }

    QList<Conversion> conversions() const { return m_conversions; }

private:
    bool statementEdits()
    {
        if (!topClauses())
            return false;
        if (isWord(0, u"insert") || isWord(0, u"replace")) {
            if (!insertValues())
                return false;
        } else if (isWord(0, u"update")) {
            if (!updateAssignments())
                return false;
        }
        return functionCalls();
    }

    qsizetype count() const { return m_cursor.count(); }
    QStringView textOf(qsizetype index) const { return m_cursor.textOf(index); }
    bool isWord(qsizetype index, QStringView word) const { return m_cursor.isWord(index, word); }
    bool isSymbol(qsizetype index, QStringView symbol) const
    {
        return m_cursor.isSymbol(index, symbol);
    }
    bool isName(qsizetype index) const { return m_cursor.isName(index); }
    QString nameOf(qsizetype index) const { return m_cursor.nameOf(index); }
    qsizetype closing(qsizetype open) const { return m_cursor.closing(open); }

    // Reads "name" or "schema.name" at index; moves index past it.
    std::optional<QString> qualifiedName(qsizetype& index) const
    {
        if (!isName(index))
            return std::nullopt;
        QString name = nameOf(index++);
        while (isSymbol(index, u".") && isName(index + 1)) {
            name += u'.' + nameOf(index + 1);
            index += 2;
        }
        return name;
    }

    // Every "select top N" becomes "select" with " limit N" after the select's last token.
    bool topClauses()
    {
        for (qsizetype i = 0; i < count(); ++i) {
            if (!isWord(i, u"select"))
                continue;
            qsizetype top = i + 1;
            if (isWord(top, u"distinct") || isWord(top, u"all"))
                ++top;
            if (!isWord(top, u"top"))
                continue;
            const qsizetype number = top + 1;
            if (!m_cursor.isKind(number, Kind::Number))
                return false;
            const QStringView rows = textOf(number);
            if (!std::all_of(rows.begin(), rows.end(), [](QChar c) { return c.isDigit(); }))
                return false;
            if (isWord(number + 1, u"percent"))
                return false;
            const int depth = m_tokens.at(i).depth;
            qsizetype last = number;
            for (qsizetype k = number + 1; k < count(); ++k) {
                const Token& token = m_tokens.at(k);
                if (token.depth < depth || (token.depth == depth && isSymbol(k, u";")))
                    break;
                if (token.depth == depth && isWord(k, u"limit"))
                    return false;
                last = k;
            }
            if (last == number)
                return false;
            const qsizetype removeFrom = m_tokens.at(top - 1).end;
            m_edits.append({removeFrom, m_tokens.at(number).end - removeFrom, QString()});
            m_edits.append({m_tokens.at(last).end, 0, u" limit " + rows.toString()});
        }
        return true;
    }

    // A call of the named function whose parenthesis closes at last: the index of its
    // opening parenthesis, or -1.
    qsizetype callOf(qsizetype first, qsizetype last, QStringView function) const
    {
        if (!isWord(first, function) || !isSymbol(first + 1, u"("))
            return -1;
        return closing(first + 1) == last ? first + 1 : -1;
    }

    // Sends the tokens from..to (a "?" or a call around one) as a value of the type.
    void cast(qsizetype from, qsizetype to, const QString& type)
    {
        m_edits.append({m_tokens.at(from).start, 0, QStringLiteral("CAST(")});
        m_edits.append({m_tokens.at(to).end, 0, QStringLiteral(" AS ") + type + u')'});
    }

    // Encloses the tokens first..last, the value written into a column, by the column's kind.
    void wrap(const QString& table, const QString& column, qsizetype first, qsizetype last)
    {
        const StatementRewriter::ColumnKind kind = m_lookup(table, column);
        if (kind == StatementRewriter::ColumnKind::Other)
            return;
        const bool real = kind == StatementRewriter::ColumnKind::Real;
        if (m_dialect.readsWrittenValues) {
            if (first == last && m_parameterAt.contains(first)) {
                m_conversions[m_parameterAt.value(first)] =
                    real ? Conversion::Real : Conversion::DateText;
                cast(first, last, real ? m_dialect.realType : m_dialect.dateType);
                return;
            }
            // cdbl() and datevalue() already give the column's type.
            if (callOf(first, last, real ? u"cdbl" : u"datevalue") >= 0)
                return;
        }
        const QString& before = real ? m_dialect.realValueBefore : m_dialect.dateValueBefore;
        const QString& after = real ? m_dialect.realValueAfter : m_dialect.dateValueAfter;
        if (before.isEmpty())
            return;
        m_edits.append({m_tokens.at(first).start, 0, before});
        m_edits.append({m_tokens.at(last).end, 0, after});
    }

    // cdbl(x) and datevalue(x) of a written value x, read here; format(value, pattern) as the
    // dialect runs it.
    bool functionCalls()
    {
        if (!m_dialect.readsWrittenValues && m_dialect.formatFunction.isEmpty())
            return true;
        for (qsizetype i = 0; i + 1 < count(); ++i) {
            if (m_tokens.at(i).kind != Kind::Word || !isSymbol(i + 1, u"(") ||
                (i > 0 && isSymbol(i - 1, u".")))
                continue;
            const qsizetype close = closing(i + 1);
            if (close < 0)
                return false;
            const int depth = m_tokens.at(i + 1).depth + 1;
            const bool number = isWord(i, u"cdbl");
            const bool date = isWord(i, u"datevalue");
            if ((number || date) && m_dialect.readsWrittenValues && close == i + 3) {
                const qsizetype argument = i + 2;
                const QString& type = number ? m_dialect.realType : m_dialect.dateType;
                if (m_parameterAt.contains(argument)) {
                    m_conversions[m_parameterAt.value(argument)] =
                        number ? Conversion::Number : Conversion::Date;
                    m_edits.append({m_tokens.at(i).start,
                                    m_tokens.at(argument).start - m_tokens.at(i).start,
                                    QStringLiteral("CAST(")});
                    m_edits.append({m_tokens.at(argument).end,
                                    m_tokens.at(close).end - m_tokens.at(argument).end,
                                    QStringLiteral(" AS ") + type + u')'});
                } else if (m_tokens.at(argument).kind == Kind::Text) {
                    const QString value = m_cursor.quotedText(argument);
                    const QString read =
                        number ? QString::number(NumberText::toNumber(value), 'g', 17)
                               : DateText::toDate(value).toString(QStringLiteral("yyyy-MM-dd"));
                    m_edits.append(
                        {m_tokens.at(i).start, m_tokens.at(close).end - m_tokens.at(i).start,
                         QStringLiteral("CAST('") + read + QStringLiteral("' AS ") + type + u')'});
                }
                continue;
            }
            if (isWord(i, u"format") && !m_dialect.formatFunction.isEmpty() &&
                split(i + 2, close - 1, depth).size() == 2 && close > i + 2) {
                m_edits.append({m_tokens.at(i).start, m_tokens.at(i).end - m_tokens.at(i).start,
                                m_dialect.formatFunction});
                m_edits.append({m_tokens.at(close).start, 0, m_dialect.formatLastArguments});
            }
        }
        return true;
    }

    // "?" becomes "$1", "$2"... when the dialect numbers its parameters.
    void numberParameters()
    {
        if (!m_dialect.numberedParameters)
            return;
        for (auto it = m_parameterAt.cbegin(); it != m_parameterAt.cend(); ++it) {
            const Token& token = m_tokens.at(it.key());
            m_edits.append(
                {token.start, token.end - token.start, u'$' + QString::number(it.value() + 1)});
        }
    }

    // The pieces of from..to (inclusive) separated by commas at `depth`, as index ranges.
    QList<std::pair<qsizetype, qsizetype>> split(qsizetype from, qsizetype to, int depth) const
    {
        QList<std::pair<qsizetype, qsizetype>> pieces;
        qsizetype start = from;
        for (qsizetype i = from; i <= to; ++i) {
            if (isSymbol(i, u",") && m_tokens.at(i).depth == depth) {
                pieces.append({start, i - 1});
                start = i + 1;
            }
        }
        pieces.append({start, to});
        return pieces;
    }

    // "insert [or X] into T (columns) values (values)[, (values)...]".
    bool insertValues()
    {
        qsizetype i = 1;
        if (isWord(0, u"insert") && isWord(i, u"or"))
            i += 2;
        if (!isWord(i++, u"into"))
            return true;
        const std::optional<QString> table = qualifiedName(i);
        if (!table || !isSymbol(i, u"("))
            return true;
        const qsizetype columnsEnd = closing(i);
        if (columnsEnd < 0 || columnsEnd == i + 1)
            return true;
        QStringList columns;
        for (const auto& [first, last] : split(i + 1, columnsEnd - 1, m_tokens.at(i).depth + 1)) {
            if (first != last || !isName(first))
                return true;
            columns.append(nameOf(first));
        }
        i = columnsEnd + 1;
        if (!isWord(i++, u"values"))
            return true;
        QList<Edit> kept = m_edits;
        while (isSymbol(i, u"(")) {
            const qsizetype valuesEnd = closing(i);
            if (valuesEnd < 0)
                return false;
            const auto values = split(i + 1, valuesEnd - 1, m_tokens.at(i).depth + 1);
            if (values.size() != columns.size()) {
                m_edits = kept;
                return true;
            }
            for (qsizetype v = 0; v < values.size(); ++v) {
                const auto [first, last] = values.at(v);
                if (first > last) {
                    m_edits = kept;
                    return true;
                }
                wrap(*table, columns.at(v), first, last);
            }
            i = valuesEnd + 1;
            if (!isSymbol(i, u","))
                break;
            ++i;
        }
        return true;
    }

    // "update [or X] T [as A] set column = value, ... [where ...]".
    bool updateAssignments()
    {
        qsizetype i = 1;
        if (isWord(i, u"or"))
            i += 2;
        const std::optional<QString> table = qualifiedName(i);
        if (!table)
            return true;
        if (isWord(i, u"as"))
            i += 2;
        if (!isWord(i++, u"set"))
            return true;
        qsizetype end = i;
        while (end < count()) {
            if (m_tokens.at(end).depth == 0 &&
                (isSymbol(end, u";") || isWord(end, u"where") || isWord(end, u"from") ||
                 isWord(end, u"returning") || isWord(end, u"order") || isWord(end, u"limit")))
                break;
            ++end;
        }
        if (end == i)
            return true;
        QList<Edit> kept = m_edits;
        for (const auto& [first, last] : split(i, end - 1, 0)) {
            qsizetype k = first;
            if (isSymbol(k, u"("))
                continue; // "(a, b) = (...)" is left as written
            if (!isName(k)) {
                m_edits = kept;
                return true;
            }
            QString column = nameOf(k++);
            while (isSymbol(k, u".") && isName(k + 1) && k + 1 <= last) {
                column = nameOf(k + 1);
                k += 2;
            }
            if (!isSymbol(k, u"=") || k >= last) {
                m_edits = kept;
                return true;
            }
            wrap(*table, column, k + 1, last);
        }
        return true;
    }

    SqlTokenCursor m_cursor;
    const QList<Token>& m_tokens;
    const StatementRewriter::ColumnLookup& m_lookup;
    const SqlDialect& m_dialect;
    QList<Edit> m_edits;
    // The parameter number of each "?" token, and how each parameter is converted.
    QHash<qsizetype, int> m_parameterAt;
    QList<Conversion> m_conversions;
};

// A translation that went wrong: an error of the component, never a text sent on half made.
[[noreturn]] void untranslatable(const QString& reason)
{
    throw RuntimeError(InternalError,
                       QStringLiteral("The statement could not be translated: ") + reason,
                       QStringLiteral("StatementRewriter"));
}

// Applies edits to a lexed text and gives the tokens of the text made without lexing it
// again: the tokens outside the edits move by what the edits before them added, and only the
// text an edit writes is lexed. At one position, the edit collected first ends up first.
SqlLexer::Lexed applied(const SqlLexer::Lexed& sql, const QList<Edit>& edits)
{
    if (edits.isEmpty())
        return sql;
    QList<qsizetype> order(edits.size());
    for (qsizetype i = 0; i < order.size(); ++i)
        order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](qsizetype a, qsizetype b) {
        return edits.at(a).position < edits.at(b).position;
    });
    SqlLexer::Lexed result;
    result.text.reserve(sql.text.size() + 16 * edits.size());
    result.tokens.reserve(sql.tokens.size() + 2 * edits.size());
    const QList<Token>& tokens = sql.tokens;
    qsizetype next = 0;   // the first token not copied or dropped yet
    qsizetype copied = 0; // the end of the source text copied
    int sourceDepth = 0;  // parentheses open after the tokens of the source passed
    int depth = 0;        // parentheses open after the tokens of the text made
    // What a token of the source does to the parentheses open after it.
    const auto opened = [&](const Token& token) {
        if (token.kind != Kind::Symbol || token.size() != 1)
            return 0;
        const QChar c = sql.text.at(token.start);
        return c == u'(' ? 1 : c == u')' ? -1 : 0;
    };
    const auto copyUpTo = [&](qsizetype position) {
        const qsizetype shift = result.text.size() - copied;
        while (next < tokens.size() && tokens.at(next).end <= position) {
            Token token = tokens.at(next++);
            const int change = opened(token);
            token.depth += depth - sourceDepth;
            token.start += shift;
            token.end += shift;
            sourceDepth += change;
            depth += change;
            result.tokens.append(token);
        }
        result.text += QStringView(sql.text).mid(copied, position - copied);
        copied = position;
    };
    for (const qsizetype index : order) {
        const Edit& edit = edits.at(index);
        // Edits never overlap: each covers tokens of its own.
        if (edit.position < copied)
            untranslatable(QStringLiteral("two of its changes overlap"));
        copyUpTo(edit.position);
        const qsizetype written = result.text.size();
        result.text += edit.text;
        SqlLexer lexer(edit.text, depth);
        Token token;
        while (lexer.next(token)) {
            token.start += written;
            token.end += written;
            result.tokens.append(token);
        }
        if (lexer.problem() != SqlLexer::Problem::None)
            untranslatable(SqlLexer::describe(lexer.problem()).toLower() + u" in " + edit.text);
        depth = lexer.depth();
        copied = edit.position + edit.length;
        while (next < tokens.size() && tokens.at(next).start < copied)
            sourceDepth += opened(tokens.at(next++));
    }
    copyUpTo(sql.text.size());
    return result;
}

} // namespace

StatementRewriter::Translation StatementRewriter::translate(const SqlLexer::Lexed& sql,
                                                            const ColumnLookup& lookup,
                                                            const SqlDialect& dialect)
{
    Translation translation;
    translation.text = sql.text;
    translation.tokens = sql.tokens;
    translation.problem = sql.problem;
    // A text that does not lex goes as written: the server says what is wrong with it.
    if (!sql.isLexed())
        return translation;
    // Statements are what lies between semicolons.
    const SqlTokenCursor cursor(sql);
    translation.statements = 0;
    bool inStatement = false;
    for (qsizetype i = 0; i < cursor.count(); ++i) {
        if (cursor.isSymbol(i, u";")) {
            inStatement = false;
        } else if (!inStatement) {
            inStatement = true;
            ++translation.statements;
        }
    }
    // Several statements are refused as they are; none of them is changed.
    if (translation.statements != 1) {
        translation.statements = qMin(translation.statements, 2);
        return translation;
    }
    Rewriter rewriter(sql, lookup, dialect);
    const QList<Edit> edits = rewriter.edits();
    translation.parameters = rewriter.conversions();
    SqlLexer::Lexed result = applied(sql, edits);
    translation.text = std::move(result.text);
    translation.tokens = std::move(result.tokens);
    return translation;
}

StatementRewriter::Translation StatementRewriter::translate(const QString& sql,
                                                            const ColumnLookup& lookup,
                                                            const SqlDialect& dialect)
{
    return translate(SqlLexer::lex(sql), lookup, dialect);
}

QString StatementRewriter::rewrite(const QString& sql, const ColumnLookup& lookup)
{
    return translate(sql, lookup, SqlDialect::sqlite()).text;
}

} // namespace oquivran
