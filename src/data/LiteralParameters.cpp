#include "LiteralParameters.h"

#include <QStringView>

#include <array>

namespace oquivran {

namespace {

// Character classes of ASCII; every other code unit is a word character, or a blank when
// Unicode says so.
enum CharClass : unsigned char { Other = 0, Blank = 1, Word = 2, Digit = 4 };

constexpr std::array<unsigned char, 128> asciiClasses = [] {
    std::array<unsigned char, 128> classes{};
    for (char16_t c = u'\t'; c <= u'\r'; ++c)
        classes[c] = Blank;
    classes[u' '] = Blank;
    for (char16_t c = u'a'; c <= u'z'; ++c)
        classes[c] = Word;
    for (char16_t c = u'A'; c <= u'Z'; ++c)
        classes[c] = Word;
    for (char16_t c = u'0'; c <= u'9'; ++c)
        classes[c] = Word | Digit;
    classes[u'_'] = Word;
    classes[u'$'] = Word;
    return classes;
}();

inline bool isBlank(char16_t c)
{
    return c < 128 ? asciiClasses[c] == Blank : QChar(c).isSpace();
}

inline bool isWordChar(char16_t c)
{
    return c >= 128 || (asciiClasses[c] & Word) != 0;
}

inline bool isDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

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
Keyword keywordOf(QStringView word)
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

std::optional<LiteralParameters::Result> LiteralParameters::extract(const QString& sql)
{
    const qsizetype size = sql.size();
    const QStringView view(sql);
    const char16_t* const text = view.utf16();
    Result result;
    result.text.reserve(size);
    // Statements of the component carry up to two dozen values.
    result.values.reserve(24);
    bool isSelect = false;
    bool pastResultColumns = true;
    bool firstWord = true;
    bool inOrdinalClause = false; // after ORDER BY or GROUP BY, until another clause
    int depth = 0;
    Keyword previous = Keyword::None; // the word before, when it was a keyword
    qsizetype copied = 0;

    const auto takeOut = [&](qsizetype start, qsizetype end, QVariant&& value) {
        result.text += view.mid(copied, start - copied);
        result.text += u'?';
        result.values.append(std::move(value));
        copied = end;
    };

    qsizetype i = 0;
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
            const qsizetype close = sql.indexOf(u"*/", i + 2);
            if (close < 0)
                return std::nullopt;
            i = close + 2;
            continue;
        }
        if (c == u'\'' || c == u'"' || c == u'`' || c == u'[') {
            const char16_t closing = c == u'[' ? u']' : c;
            const qsizetype start = i++;
            // The text between the quotes, a doubled closing quote standing for one.
            QString value;
            bool closed = false;
            while (i < size) {
                const qsizetype found = sql.indexOf(QChar(closing), i);
                if (found < 0)
                    break;
                value += view.mid(i, found - i);
                if (closing != u']' && found + 1 < size && text[found + 1] == closing) {
                    value += QChar(closing);
                    i = found + 2;
                    continue;
                }
                i = found + 1;
                closed = true;
                break;
            }
            if (!closed)
                return std::nullopt;
            const bool blob = start > 0 && isWordChar(text[start - 1]);
            if (c == u'\'' && !blob && pastResultColumns && previous != Keyword::As)
                takeOut(start, i, QVariant(value));
            previous = Keyword::None;
            continue;
        }
        if (isDigit(c)) {
            const qsizetype start = i;
            bool plain = true;
            while (i < size && isWordChar(text[i])) {
                plain = plain && isDigit(text[i]);
                ++i;
            }
            plain = plain && i - start <= 18 && (i >= size || text[i] != u'.') &&
                    (start == 0 || text[start - 1] != u'.');
            if (plain && pastResultColumns && !inOrdinalClause && previous != Keyword::Top) {
                // At most 18 digits: the value fits without overflow.
                qint64 number = 0;
                for (qsizetype k = start; k < i; ++k)
                    number = number * 10 + (text[k] - u'0');
                takeOut(start, i, QVariant(number));
            }
            previous = Keyword::None;
            continue;
        }
        if (isWordChar(c)) {
            const qsizetype start = i;
            while (i < size && isWordChar(text[i]))
                ++i;
            const Keyword word = keywordOf(view.mid(start, i - start));
            if (firstWord) {
                firstWord = false;
                isSelect = word == Keyword::Select;
                if (!isSelect && word != Keyword::Insert && word != Keyword::Update &&
                    word != Keyword::Delete)
                    return std::nullopt;
                pastResultColumns = !isSelect;
            } else if (isSelect && !pastResultColumns && depth == 0 && word == Keyword::From) {
                pastResultColumns = true;
            }
            switch (word) {
            case Keyword::By:
                if (previous == Keyword::Order || previous == Keyword::Group)
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
            continue;
        }
        // Parameters of the text's own, or a second statement: not shared.
        if (c == u'?' || c == u':' || c == u'@')
            return std::nullopt;
        if (c == u';') {
            for (qsizetype k = i + 1; k < size; ++k) {
                if (!isBlank(text[k]) && text[k] != u';')
                    return std::nullopt;
            }
        }
        if (c == u'(')
            ++depth;
        else if (c == u')')
            --depth;
        if (firstWord)
            return std::nullopt;
        previous = Keyword::None;
        ++i;
    }
    if (firstWord)
        return std::nullopt;
    result.text += view.mid(copied);
    return result;
}

} // namespace oquivran
