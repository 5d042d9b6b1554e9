#pragma once

#include "LiteralParameters.h"

#include <QList>
#include <QString>
#include <QVariantList>

namespace oquivran {

// The shapes of the statements run lately: where the literals taken out of each stood in its
// text. The component runs the same few statements again and again with other values (the
// stock of each input, each line's insert); a text that differs from a shape only inside those
// literals has that shape's shared form and its own values, found by comparing the text around
// them and reading each literal as SqlLexer reads it, without lexing the whole text. A text
// that matches no shape is lexed and its literals taken out (LiteralParameters), and then
// remembered.
class LiteralShapes
{
public:
    // How many shapes are kept: the statements of one routine, more than it runs in turn.
    static constexpr qsizetype Capacity = 12;

    // Remembers the shape of source, whose literals taken out are those of shared (from
    // LiteralParameters::extract of source), as the most recent one; the least recent goes
    // beyond Capacity.
    void remember(const QString& source, const LiteralParameters::Result& shared);
    // The shared form of sql when it has a shape remembered, with its literals' values in
    // values (as LiteralParameters gives them: QString or qint64); nullptr when it has none,
    // and values are then empty. The values already in the list are written over, so a list
    // given back run after run holds its texts without allocating them again. The form stays
    // valid until the next remember().
    const QString* match(const QString& sql, QVariantList& values);
    // Forgets every shape.
    void clear() { m_shapes.clear(); }

private:
    struct Literal
    {
        qsizetype start;
        qsizetype end;
        bool isText; // a quoted text; a whole number otherwise
    };
    struct Shape
    {
        QString source;
        QString shared;
        QList<Literal> literals;
    };
    static bool matches(const Shape& shape, QStringView sql, QVariantList& values);

    // The most recent first.
    QList<Shape> m_shapes;
};

} // namespace oquivran
