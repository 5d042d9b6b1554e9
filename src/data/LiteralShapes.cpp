#include "LiteralShapes.h"

#include <QStringView>

#include <utility>

namespace oquivran {

namespace {

// A character that would carry SqlLexer's number on: a word character or ".".
bool continuesNumber(char16_t c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') ||
           c == u'_' || c == u'$' || c == u'.' || c >= 0x80;
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
        values.clear();
        if (!matches(m_shapes.at(index), sql, values))
            continue;
        // The most recent first, so that the statements of a loop are found at once.
        if (index > 0)
            m_shapes.move(index, 0);
        return &m_shapes.first().shared;
    }
    return nullptr;
}

bool LiteralShapes::matches(const Shape& shape, QStringView sql, QVariantList& values)
{
    const QStringView source(shape.source);
    qsizetype from = 0; // in source
    qsizetype at = 0;   // in sql
    for (const Literal& literal : shape.literals) {
        // The text before the literal, as the shape has it.
        const qsizetype before = literal.start - from;
        if (sql.size() - at < before || sql.mid(at, before) != source.mid(from, before))
            return false;
        at += before;
        from = literal.end;
        if (literal.isText) {
            // From the quote to the closing one, a doubled quote standing for one.
            if (at >= sql.size() || sql[at] != u'\'')
                return false;
            qsizetype close = at;
            bool doubled = false;
            for (;;) {
                close = sql.indexOf(u'\'', close + 1);
                if (close < 0)
                    return false;
                if (close + 1 < sql.size() && sql[close + 1] == u'\'') {
                    doubled = true;
                    ++close;
                    continue;
                }
                break;
            }
            QString value = sql.mid(at + 1, close - at - 1).toString();
            if (doubled)
                value.replace(QStringLiteral("''"), QStringLiteral("'"));
            values.append(QVariant(std::move(value)));
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
            values.append(QVariant(number));
            at = end;
        }
    }
    // The text after the last literal, to the end.
    return sql.size() - at == source.size() - from && sql.mid(at) == source.mid(from);
}

} // namespace oquivran
