#include "LiteralParameters.h"

#include <QStringView>

#include <algorithm>

namespace oquivran {

namespace {

bool isWordChar(QChar c)
{
    return c.isLetterOrNumber() || c == u'_' || c == u'$' || c.unicode() >= 0x80;
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

} // namespace

std::optional<LiteralParameters::Result> LiteralParameters::extract(const QString& sql)
{
    const qsizetype size = sql.size();
    Result result;
    result.text.reserve(size);
    bool isSelect = false;
    bool pastResultColumns = true;
    bool firstWord = true;
    bool inOrdinalClause = false; // after ORDER BY or GROUP BY, until another clause
    int depth = 0;
    QStringView previousWord;
    qsizetype copied = 0;

    const auto takeOut = [&](qsizetype start, qsizetype end, const QVariant& value) {
        result.text += QStringView(sql).mid(copied, start - copied);
        result.text += u'?';
        result.values.append(value);
        copied = end;
    };

    qsizetype i = 0;
    while (i < size) {
        const QChar c = sql.at(i);
        if (c.isSpace()) {
            ++i;
            continue;
        }
        if (c == u'-' && i + 1 < size && sql.at(i + 1) == u'-') {
            while (i < size && sql.at(i) != u'\n')
                ++i;
            continue;
        }
        if (c == u'/' && i + 1 < size && sql.at(i + 1) == u'*') {
            const qsizetype close = sql.indexOf(u"*/", i + 2);
            if (close < 0)
                return std::nullopt;
            i = close + 2;
            continue;
        }
        if (c == u'\'' || c == u'"' || c == u'`' || c == u'[') {
            const QChar closing = c == u'[' ? QChar(u']') : c;
            const qsizetype start = i++;
            // The text between the quotes, a doubled closing quote standing for one.
            QString value;
            bool closed = false;
            while (i < size) {
                const qsizetype found = sql.indexOf(closing, i);
                if (found < 0)
                    break;
                value += QStringView(sql).mid(i, found - i);
                if (closing != u']' && found + 1 < size && sql.at(found + 1) == closing) {
                    value += closing;
                    i = found + 2;
                    continue;
                }
                i = found + 1;
                closed = true;
                break;
            }
            if (!closed)
                return std::nullopt;
            const bool blob = start > 0 && isWordChar(sql.at(start - 1));
            if (c == u'\'' && !blob && pastResultColumns && !isWord(previousWord, u"as"))
                takeOut(start, i, value);
            previousWord = QStringView();
            continue;
        }
        if (c.isDigit()) {
            const qsizetype start = i;
            while (i < size && isWordChar(sql.at(i)))
                ++i;
            const QStringView digits = QStringView(sql).mid(start, i - start);
            const bool plain =
                std::all_of(digits.begin(), digits.end(), [](QChar d) { return d.isDigit(); }) &&
                digits.size() <= 18 && (i >= size || sql.at(i) != u'.') &&
                (start == 0 || sql.at(start - 1) != u'.');
            if (plain && pastResultColumns && !inOrdinalClause && !isWord(previousWord, u"top"))
                takeOut(start, i, digits.toLongLong());
            previousWord = QStringView();
            continue;
        }
        if (isWordChar(c)) {
            const qsizetype start = i;
            while (i < size && isWordChar(sql.at(i)))
                ++i;
            const QStringView word = QStringView(sql).mid(start, i - start);
            if (firstWord) {
                firstWord = false;
                isSelect = isWord(word, u"select");
                if (!isSelect && !isWord(word, u"insert") && !isWord(word, u"update") &&
                    !isWord(word, u"delete"))
                    return std::nullopt;
                pastResultColumns = !isSelect;
            } else if (isSelect && !pastResultColumns && depth == 0 && isWord(word, u"from")) {
                pastResultColumns = true;
            }
            if (isWord(word, u"by") &&
                (isWord(previousWord, u"order") || isWord(previousWord, u"group")))
                inOrdinalClause = true;
            else if (isWord(word, u"limit") || isWord(word, u"having") || isWord(word, u"offset") ||
                     isWord(word, u"union") || isWord(word, u"except") ||
                     isWord(word, u"intersect") || isWord(word, u"window") ||
                     isWord(word, u"select") || isWord(word, u"where") || isWord(word, u"from"))
                inOrdinalClause = false;
            previousWord = word;
            continue;
        }
        // Parameters of the text's own, or a second statement: not shared.
        if (c == u'?' || c == u':' || c == u'@')
            return std::nullopt;
        if (c == u';') {
            for (qsizetype k = i + 1; k < size; ++k) {
                if (!sql.at(k).isSpace() && sql.at(k) != u';')
                    return std::nullopt;
            }
        }
        if (c == u'(')
            ++depth;
        else if (c == u')')
            --depth;
        if (firstWord)
            return std::nullopt;
        previousWord = QStringView();
        ++i;
    }
    if (firstWord)
        return std::nullopt;
    result.text += QStringView(sql).mid(copied);
    return result;
}

} // namespace oquivran
