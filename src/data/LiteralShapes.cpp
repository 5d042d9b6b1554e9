#include "LiteralShapes.h"

#include <QStringView>

#include <algorithm>
#include <utility>

namespace oquivran {

namespace {

// A character that would carry SqlLexer's number on: a word character or ".".
bool continuesNumber(char16_t c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') ||
           c == u'_' || c == u'$' || c == u'.' || c >= 0x80;
}

// The value at `index`, appended when the list is that long only.
QVariant& slot(QVariantList& values, qsizetype index)
{
    if (index == values.size())
        values.append(QVariant());
    return values[index];
}

// Sets a value to a text literal's content (between its quotes, a doubled quote standing for
// one). A text the value already holds, which no one else holds, is written over: the
// statements of a loop bring as many texts each time, and none of them is allocated again.
void setText(QVariant& value, QStringView quoted)
{
    QString* held =
        value.typeId() == QMetaType::QString ? static_cast<QString*>(value.data()) : nullptr;
    if (!held || !held->isDetached()) {
        value = QVariant(QString());
        held = static_cast<QString*>(value.data());
    }
    const char16_t* in = quoted.utf16();
    const char16_t* const end = in + quoted.size();
    qsizetype doubled = 0;
    for (const char16_t* c = in; c != end; ++c)
        doubled += *c == u'\'';
    // Quotes come in pairs inside a literal: half of them are left out.
    held->resize(quoted.size() - doubled / 2);
    char16_t* out = reinterpret_cast<char16_t*>(held->data());
    while (in != end) {
        const char16_t c = *in++;
        *out++ = c;
        if (c == u'\'' && in != end && *in == u'\'')
            ++in;
    }
}

// Where the quote that closes a text literal opened at `open` is, a doubled quote standing
// for one; -1 when the text ends first.
qsizetype closingQuote(QStringView sql, qsizetype open)
{
    const char16_t* const begin = sql.utf16();
    const char16_t* const end = begin + sql.size();
    for (const char16_t* c = begin + open + 1; c != end; ++c) {
        if (*c != u'\'')
            continue;
        if (c + 1 != end && c[1] == u'\'') {
            ++c;
            continue;
        }
        return c - begin;
    }
    return -1;
}

// Whether sql holds source's text at `at`.
bool holdsAt(QStringView sql, qsizetype at, QStringView source)
{
    return sql.size() - at >= source.size() &&
           std::equal(source.utf16(), source.utf16() + source.size(), sql.utf16() + at);
}

} // namespace

void LiteralShapes::remember(const QString& source, const LiteralParameters::Result& shared)
{
    using Kind = SqlLexer::Token::Kind;
    Shape shape;
    shape.source = source;
    shape.shared = shared.text;
    // A literal taken out is a "?" in the shared form where the source had its first
    // character, as LiteralParameters::Result::lexed() tells them apart.
    qsizetype shift = 0;
    for (const SqlLexer::Token& token : shared.sourceTokens) {
        const bool literal = token.kind == Kind::Text || token.kind == Kind::Number;
        if (literal && shared.text.at(token.start - shift) == u'?') {
            shape.literals.append({token.start, token.end, token.kind == Kind::Text});
            shift += token.size() - 1;
        }
    }
    if (m_shapes.size() >= Capacity)
        m_shapes.removeLast();
    m_shapes.prepend(std::move(shape));
}

const QString* LiteralShapes::match(const QString& sql, QVariantList& values)
{
    for (qsizetype index = 0; index < m_shapes.size(); ++index) {
        if (!matches(m_shapes.at(index), sql, values))
            continue;
        // The most recent first, so that the statements of a loop are found at once.
        if (index > 0)
            m_shapes.move(index, 0);
        return &m_shapes.first().shared;
    }
    values.clear();
    return nullptr;
}

bool LiteralShapes::matches(const Shape& shape, QStringView sql, QVariantList& values)
{
    const QStringView source(shape.source);
    qsizetype from = 0; // in source
    qsizetype at = 0;   // in sql
    qsizetype filled = 0;
    for (const Literal& literal : shape.literals) {
        // The text before the literal, as the shape has it.
        const qsizetype before = literal.start - from;
        if (!holdsAt(sql, at, source.mid(from, before)))
            return false;
        at += before;
        from = literal.end;
        if (literal.isText) {
            // From the quote to the closing one, a doubled quote standing for one.
            if (at >= sql.size() || sql[at] != u'\'')
                return false;
            const qsizetype close = closingQuote(sql, at);
            if (close < 0)
                return false;
            setText(slot(values, filled++), sql.mid(at + 1, close - at - 1));
            at = close + 1;
        } else {
            // Digits alone, at most 18 of them, where the number ends: LiteralParameters
            // takes out no other number.
            qsizetype end = at;
            qint64 number = 0;
            while (end < sql.size() && end - at < 18 && sql[end] >= u'0' && sql[end] <= u'9')
                number = number * 10 + (sql[end++].unicode() - u'0');
            // A nineteenth digit carries the number on too. The shape's text after the literal
            // never starts with such a character (the lexer would have read it into the
            // number), so its comparison would refuse the text anyway: this says why at once.
            if (end == at || (end < sql.size() && continuesNumber(sql[end].unicode())))
                return false;
            slot(values, filled++) = QVariant(number);
            at = end;
        }
    }
    // The text after the last literal, to the end.
    if (sql.size() - at != source.size() - from || !holdsAt(sql, at, source.mid(from)))
        return false;
    values.resize(filled);
    return true;
}

} // namespace oquivran
