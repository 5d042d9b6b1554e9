#include "LiteralParameters.h"

#include <QStringView>

namespace oquivran {

namespace {

// SQL keywords are ASCII and match without regard to ASCII case, as SQLite reads them; the
// keyword's length is known at compile time, so most words are told apart by length alone.
template <qsizetype N> bool isWord(QStringView word, const char16_t (&keyword)[N])
{
    if (word.size() != N - 1)
        return false;
    for (qsizetype i = 0; i < N - 1; ++i) {
        char16_t c = word[i].unicode();
        if (c >= u'A' && c <= u'Z')
            c = char16_t(c + (u'a' - u'A'));
        if (c != keyword[i])
            return false;
    }
    return true;
}

// The keywords that decide where a literal stands.
enum class Keyword {
    None,
    As,
    By,
    Top,
    From,
    Where,
    Order,
    Group,
    Limit,
    Union,
    Having,
    Offset,
    Except,
    Window,
    Select,
    Insert,
    Update,
    Delete,
    Intersect,
};

// The keyword a word is, told apart by its length and first letter before any comparison:
// most words of a statement are names and leave after one or two tests.
Q_ALWAYS_INLINE Keyword keywordOf(QStringView word)
{
    const qsizetype size = word.size();
    if (size < 2 || size > 9)
        return Keyword::None;
    char16_t first = word[0].unicode();
    if (first >= u'A' && first <= u'Z')
        first = char16_t(first + (u'a' - u'A'));
    switch (size) {
    case 2:
        if (first == u'a' && isWord(word, u"as"))
            return Keyword::As;
        if (first == u'b' && isWord(word, u"by"))
            return Keyword::By;
        break;
    case 3:
        if (first == u't' && isWord(word, u"top"))
            return Keyword::Top;
        break;
    case 4:
        if (first == u'f' && isWord(word, u"from"))
            return Keyword::From;
        break;
    case 5:
        switch (first) {
        case u'w':
            return isWord(word, u"where") ? Keyword::Where : Keyword::None;
        case u'o':
            return isWord(word, u"order") ? Keyword::Order : Keyword::None;
        case u'g':
            return isWord(word, u"group") ? Keyword::Group : Keyword::None;
        case u'l':
            return isWord(word, u"limit") ? Keyword::Limit : Keyword::None;
        case u'u':
            return isWord(word, u"union") ? Keyword::Union : Keyword::None;
        default:
            break;
        }
        break;
    case 6:
        switch (first) {
        case u'h':
            return isWord(word, u"having") ? Keyword::Having : Keyword::None;
        case u'o':
            return isWord(word, u"offset") ? Keyword::Offset : Keyword::None;
        case u'e':
            return isWord(word, u"except") ? Keyword::Except : Keyword::None;
        case u'w':
            return isWord(word, u"window") ? Keyword::Window : Keyword::None;
        case u's':
            return isWord(word, u"select") ? Keyword::Select : Keyword::None;
        case u'i':
            return isWord(word, u"insert") ? Keyword::Insert : Keyword::None;
        case u'u':
            return isWord(word, u"update") ? Keyword::Update : Keyword::None;
        case u'd':
            return isWord(word, u"delete") ? Keyword::Delete : Keyword::None;
        default:
            break;
        }
        break;
    case 9:
        if (first == u'i' && isWord(word, u"intersect"))
            return Keyword::Intersect;
        break;
    default:
        break;
    }
    return Keyword::None;
}

} // namespace

SqlLexer::Lexed LiteralParameters::Result::lexed() const
{
    // A literal taken out is a "?" in the text made, where the source had a quote, a digit or
    // a "." before a digit: what the text made holds at a token's place tells them apart.
    SqlLexer::Lexed lexed{text, sourceTokens};
    qsizetype shift = 0;
    for (SqlLexer::Token& token : lexed.tokens) {
        const qsizetype size = token.size();
        token.start -= shift;
        const bool takenOut = (token.kind == SqlLexer::Token::Kind::Text ||
                               token.kind == SqlLexer::Token::Kind::Number) &&
                              text.at(token.start) == u'?';
        if (takenOut) {
            shift += size - 1;
            token.kind = SqlLexer::Token::Kind::Parameter;
        }
        token.end = token.start + (takenOut ? 1 : size);
    }
    return lexed;
}

std::optional<LiteralParameters::Result> LiteralParameters::extract(const QString& sql)
{
    return extract(SqlLexer::lex(sql));
}

std::optional<LiteralParameters::Result> LiteralParameters::extract(const SqlLexer::Lexed& sql)
{
    using Kind = SqlLexer::Token::Kind;
    const QList<SqlLexer::Token>& tokens = sql.tokens;
    if (!sql.isLexed() || tokens.isEmpty() || tokens.first().kind != Kind::Word)
        return std::nullopt;
    const QStringView view(sql.text);
    const char16_t* const text = view.utf16();
    Result result;
    const Keyword first = keywordOf(view.mid(tokens.first().start, tokens.first().size()));
    const bool isSelect = first == Keyword::Select;
    if (!isSelect && first != Keyword::Insert && first != Keyword::Update &&
        first != Keyword::Delete)
        return std::nullopt;
    result.text.reserve(view.size());
    // Statements of the component carry up to two dozen values.
    result.values.reserve(24);
    // The tokens of the text made are worked out only when a translation needs them: most
    // runs find their statement kept and need none.
    result.sourceTokens = tokens;
    bool pastResultColumns = !isSelect;
    bool inOrdinalClause = false;     // after ORDER BY or GROUP BY, until another clause
    Keyword previous = Keyword::None; // the token before, when it was a keyword
    qsizetype copied = 0;

    const auto takeOut = [&](const SqlLexer::Token& token, QVariant&& value) {
        result.text += view.mid(copied, token.start - copied);
        result.text += u'?';
        result.values.append(std::move(value));
        copied = token.end;
    };

    for (qsizetype index = 0; index < tokens.size(); ++index) {
        const SqlLexer::Token& token = tokens.at(index);
        const Kind kind = token.kind;
        const Keyword keyword = previous;
        previous = Keyword::None;
        switch (kind) {
        case Kind::Text: {
            // x'0A' is a blob: a word or number written right before the quote.
            const bool blob = tokens.at(index - 1).end == token.start &&
                              (tokens.at(index - 1).kind == Kind::Word ||
                               tokens.at(index - 1).kind == Kind::Number);
            if (!blob && pastResultColumns && keyword != Keyword::As) {
                // The text between the quotes, a doubled quote standing for one.
                QString value = view.mid(token.start + 1, token.size() - 2).toString();
                if (value.contains(u'\''))
                    value.replace(QStringLiteral("''"), QStringLiteral("'"));
                takeOut(token, QVariant(value));
                continue;
            }
            break;
        }
        case Kind::Number: {
            // At most 18 digits: the value fits without overflow.
            const qsizetype size = token.size();
            bool plain = size <= 18;
            for (qsizetype k = token.start; plain && k < token.end; ++k)
                plain = text[k] >= u'0' && text[k] <= u'9';
            if (plain && pastResultColumns && !inOrdinalClause && keyword != Keyword::Top) {
                qint64 number = 0;
                for (qsizetype k = token.start; k < token.end; ++k)
                    number = number * 10 + (text[k] - u'0');
                takeOut(token, QVariant(number));
                continue;
            }
            break;
        }
        case Kind::Word: {
            const Keyword word = keywordOf(view.mid(token.start, token.size()));
            if (isSelect && !pastResultColumns && token.depth == 0 && word == Keyword::From)
                pastResultColumns = true;
            switch (word) {
            case Keyword::By:
                if (keyword == Keyword::Order || keyword == Keyword::Group)
                    inOrdinalClause = true;
                break;
            case Keyword::Limit:
            case Keyword::Having:
            case Keyword::Offset:
            case Keyword::Union:
            case Keyword::Except:
            case Keyword::Intersect:
            case Keyword::Window:
            case Keyword::Select:
            case Keyword::Where:
            case Keyword::From:
                inOrdinalClause = false;
                break;
            default:
                break;
            }
            previous = word;
            break;
        }
        // Parameters of the text's own: not shared.
        case Kind::Parameter:
            return std::nullopt;
        case Kind::Symbol:
            // A second statement: not shared.
            if (text[token.start] == u';') {
                for (qsizetype k = index + 1; k < tokens.size(); ++k) {
                    if (tokens.at(k).kind != Kind::Symbol || text[tokens.at(k).start] != u';')
                        return std::nullopt;
                }
            }
            break;
        case Kind::QuotedName:
            break;
        }
    }
    result.text += view.mid(copied);
    return result;
}

} // namespace oquivran
