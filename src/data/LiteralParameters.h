#pragma once

#include "SqlLexer.h"

#include <QString>
#include <QVariantList>

#include <optional>

namespace oquivran {

// Statements that differ only in their values share one prepared form: the quoted texts and
// whole numbers written into a statement are taken out as parameters ("?") with their values,
// which bind exactly as the literals read. Literals whose place gives them another meaning stay
// in the text: those of a select's result columns (they name the columns), a number after TOP
// or in ORDER BY / GROUP BY (a column position), a quoted text after AS (an alias), blob
// literals.
class LiteralParameters
{
public:
    struct Result
    {
        QString text;                        // the statement with "?" for each literal taken out
        QVariantList values;                 // the literals in order: QString or qint64
        QList<SqlLexer::Token> sourceTokens; // the tokens of the statement read

        // The statement with "?" for the literals and its tokens, for translation; worked out
        // from the tokens read, without lexing again.
        SqlLexer::Lexed lexed() const;
    };

    // The statement's shared form; nothing when it is not a select, insert, update or delete,
    // holds several statements or parameters of its own, or does not lex (SqlLexer).
    static std::optional<Result> extract(const SqlLexer::Lexed& sql);
    // The same of a text not lexed yet.
    static std::optional<Result> extract(const QString& sql);
};

} // namespace oquivran
