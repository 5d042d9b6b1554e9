#pragma once

#include <QList>
#include <QString>
#include <QStringView>

namespace oquivran {

// Splits a statement text into its tokens, the one reading of statement text every part of the
// data layer shares (literal parameters, translation, planning), so they agree on every text:
// - blanks and comments ("-- to the end of the line", "/* ... */") lie between tokens;
// - 'text' is quoted text; "name", [name] and `name` are quoted names; inside quotes a doubled
//   closing quote stands for itself (not inside brackets);
// - a word starts with a letter, "_" or any non-ASCII character that is not a blank, and goes
//   on over letters, digits, "_", "$" and non-ASCII characters;
// - a number starts with a digit, or a "." before a digit, and goes on over word characters,
//   "." and a sign right after the exponent's "e" (1e-5, .5, 1.5 are one token each);
// - "?", "?3", ":a", "@a" and "$a" are parameters (":" and "@" even without a name);
// - anything else is a symbol: ==, <=, >=, <>, !=, ||, <<, >> and -> are two characters, the
//   rest one.
// A text whose quote or block comment is not closed, or whose parentheses do not balance, is
// not lexed: every reader leaves such a text as written, and the server says what is wrong.
class SqlLexer
{
public:
    struct Token
    {
        enum class Kind : quint8 { Word, Number, Text, QuotedName, Parameter, Symbol };
        Kind kind;
        // Parentheses open around the token; a parenthesis has the depth of its surroundings.
        int depth;
        qsizetype start;
        qsizetype end;

        // Tokens are made by the lexer, which sets every member: a list of them is sized
        // without clearing what it is about to overwrite.
        Token() noexcept {}
        Token(Kind kind, int depth, qsizetype start, qsizetype end) noexcept
            : kind(kind), depth(depth), start(start), end(end)
        {
        }

        qsizetype size() const { return end - start; }
        friend bool operator==(const Token&, const Token&) = default;
    };

    enum class Problem {
        None,
        UnclosedQuote,
        UnclosedComment,
        UnbalancedParentheses,
    };

    // A text and its tokens. When the text has a problem, the tokens are those before it.
    struct Lexed
    {
        QString text;
        QList<Token> tokens;
        Problem problem = Problem::None;

        bool isLexed() const { return problem == Problem::None; }
    };

    // The tokens of a whole text. A list given as room is filled in its place, so a caller
    // lexing text after text can hand back the list of the one before and allocate nothing.
    static Lexed lex(const QString& text, QList<Token> room = {});

    // Reads the tokens of a piece of text one by one, from `depth` open parentheses on; a piece
    // may close parentheses opened before it.
    explicit SqlLexer(QStringView text, int depth = 0) : m_text(text), m_depth(depth) {}

    // Reads the next token; false at the end of the piece or at a problem (see problem()).
    bool next(Token& token);

    // The problem met reading, None when there is none so far. An unbalanced parenthesis is
    // seen only when it closes one that is not open; lex() also checks what is left open.
    Problem problem() const { return m_problem; }

    // Parentheses open after the tokens read so far.
    int depth() const { return m_depth; }

    // The problem as a reader of the text says it.
    static QString describe(Problem problem);

private:
    QStringView m_text;
    qsizetype m_position = 0;
    int m_depth;
    Problem m_problem = Problem::None;
};

} // namespace oquivran

// A list of tokens is sized without constructing each one.
Q_DECLARE_TYPEINFO(oquivran::SqlLexer::Token, Q_PRIMITIVE_TYPE);
