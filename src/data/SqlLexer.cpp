#include "SqlLexer.h"

#include <QChar>

#include <array>

namespace oquivran {

namespace {

// Character classes of ASCII; every other code unit is a word character, or a blank when
// Unicode says so. A table read is what keeps lexing as cheap as scanning the text once.
enum CharClass : unsigned char { Other = 0, Blank = 1, WordStart = 2, WordPart = 4, Digit = 8 };

constexpr std::array<unsigned char, 128> asciiClasses = [] {
    std::array<unsigned char, 128> classes{};
    for (char16_t c = u'\t'; c <= u'\r'; ++c)
        classes[c] = Blank;
    classes[u' '] = Blank;
    for (char16_t c = u'a'; c <= u'z'; ++c)
        classes[c] = WordStart | WordPart;
    for (char16_t c = u'A'; c <= u'Z'; ++c)
        classes[c] = WordStart | WordPart;
    for (char16_t c = u'0'; c <= u'9'; ++c)
        classes[c] = WordPart | Digit;
    classes[u'_'] = WordStart | WordPart;
    classes[u'$'] = WordPart;
    return classes;
}();

inline bool isBlank(char16_t c)
{
    return c < 128 ? asciiClasses[c] == Blank : QChar(c).isSpace();
}

inline bool isWordPart(char16_t c)
{
    return c >= 128 || (asciiClasses[c] & WordPart) != 0;
}

inline bool isDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

// The length of the symbol at text[i]: two characters for the operators written so.
inline qsizetype symbolLength(char16_t c, char16_t next)
{
    switch (c) {
    case u'=':
        return next == u'=' ? 2 : 1;
    case u'<':
        return next == u'=' || next == u'>' || next == u'<' ? 2 : 1;
    case u'>':
        return next == u'=' || next == u'>' ? 2 : 1;
    case u'!':
        return next == u'=' ? 2 : 1;
    case u'|':
        return next == u'|' ? 2 : 1;
    case u'-':
        return next == u'>' ? 2 : 1;
    default:
        return 1;
    }
}

// Reads the token at or after position into token and moves position past it; false at the end
// of the text or at a problem, which it sets. One function for reading piece by piece and for
// lexing whole texts, inlined into both.
Q_ALWAYS_INLINE bool scan(QStringView view, qsizetype& position, int& depth,
                          SqlLexer::Problem& problem, SqlLexer::Token& token)
{
    using Token = SqlLexer::Token;
    using Problem = SqlLexer::Problem;
    const char16_t* const text = view.utf16();
    const qsizetype size = view.size();
    qsizetype i = position;
    while (i < size) {
        const char16_t c = text[i];
        if (isBlank(c)) {
            ++i;
            continue;
        }
        if (c == u'-' && i + 1 < size && text[i + 1] == u'-') {
            while (i < size && text[i] != u'\n')
                ++i;
            continue;
        }
        if (c == u'/' && i + 1 < size && text[i + 1] == u'*') {
            const qsizetype close = view.indexOf(u"*/", i + 2);
            if (close < 0) {
                position = size;
                problem = Problem::UnclosedComment;
                return false;
            }
            i = close + 2;
            continue;
        }
        token.start = i;
        token.depth = depth;
        if (c == u'\'' || c == u'"' || c == u'`' || c == u'[') {
            token.kind = c == u'\'' ? Token::Kind::Text : Token::Kind::QuotedName;
            const char16_t closing = c == u'[' ? u']' : c;
            ++i;
            // Quoted values are short: a plain loop finds the closing quote sooner than a search.
            for (;;) {
                while (i < size && text[i] != closing)
                    ++i;
                if (i == size) {
                    position = size;
                    problem = Problem::UnclosedQuote;
                    return false;
                }
                ++i;
                // A doubled quote inside quotes stands for the quote itself.
                if (closing != u']' && i < size && text[i] == closing) {
                    ++i;
                    continue;
                }
                break;
            }
        } else if (isDigit(c) || (c == u'.' && i + 1 < size && isDigit(text[i + 1]))) {
            token.kind = Token::Kind::Number;
            // Hexadecimal numbers have no exponent: their "e" is a digit.
            const bool hexadecimal =
                c == u'0' && i + 1 < size && (text[i + 1] == u'x' || text[i + 1] == u'X');
            ++i;
            while (i < size) {
                const char16_t d = text[i];
                if (isWordPart(d) || d == u'.' ||
                    ((d == u'+' || d == u'-') && !hexadecimal &&
                     (text[i - 1] == u'e' || text[i - 1] == u'E')))
                    ++i;
                else
                    break;
            }
        } else if (c < 128 ? (asciiClasses[c] & WordStart) != 0 : true) {
            token.kind = Token::Kind::Word;
            ++i;
            while (i < size && isWordPart(text[i]))
                ++i;
        } else if (c == u'?' || c == u':' || c == u'@' ||
                   (c == u'$' && i + 1 < size && isWordPart(text[i + 1]))) {
            token.kind = Token::Kind::Parameter;
            ++i;
            while (i < size && isWordPart(text[i]))
                ++i;
        } else {
            token.kind = Token::Kind::Symbol;
            i += symbolLength(c, i + 1 < size ? text[i + 1] : u'\0');
            if (c == u'(') {
                ++depth;
            } else if (c == u')') {
                if (depth == 0) {
                    position = size;
                    problem = Problem::UnbalancedParentheses;
                    return false;
                }
                token.depth = --depth;
            }
        }
        token.end = i;
        position = i;
        return true;
    }
    position = size;
    return false;
}

} // namespace

bool SqlLexer::next(Token& token)
{
    if (m_problem != Problem::None)
        return false;
    return scan(m_text, m_position, m_depth, m_problem, token);
}

SqlLexer::Lexed SqlLexer::lex(const QString& text, QList<Token> room)
{
    Lexed lexed;
    lexed.text = text;
    lexed.tokens = std::move(room);
    // A token and the blank after it take four characters or more in the component's
    // statements. The tokens are written in place: appending one by one costs as much as
    // reading them.
    QList<Token>& tokens = lexed.tokens;
    tokens.resize(text.size() / 3 + 8);
    Token* out = tokens.data();
    qsizetype count = 0;
    qsizetype position = 0;
    int depth = 0;
    while (scan(text, position, depth, lexed.problem, out[count])) {
        if (++count == tokens.size()) {
            tokens.resize(count * 2);
            out = tokens.data();
        }
    }
    tokens.resize(count);
    if (lexed.problem == Problem::None && depth != 0)
        lexed.problem = Problem::UnbalancedParentheses;
    return lexed;
}

QString SqlLexer::describe(Problem problem)
{
    switch (problem) {
    case Problem::None:
        break;
    case Problem::UnclosedQuote:
        return QStringLiteral("A quote is not closed");
    case Problem::UnclosedComment:
        return QStringLiteral("A comment is not closed");
    case Problem::UnbalancedParentheses:
        return QStringLiteral("The parentheses do not balance");
    }
    return QString();
}

} // namespace oquivran
