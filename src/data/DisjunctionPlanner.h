#pragma once

#include "SqlLexer.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

struct sqlite3;

namespace oquivran {

// How SqlDataObject prepares a statement that selects, updates or deletes the rows of one
// table matching "key = v and ... and (a = x or b = y ...)": SQLite answers such a text by
// reading every row that matches the keys and testing the disjunction on each, so a sub-item's
// lines cost as much as all the lines of its operation. The planned text keeps the whole
// condition as written and adds one that every row it selects already meets:
//     ... where <condition> and T.rowid in (select rowid from T where <keys> and a = x
//                                           union all select rowid from T where <keys> and b = y)
// with "T not indexed" in the FROM, so the rows are read by one index lookup per branch. It
// selects, changes and orders exactly the same rows; rows without an order of the text's own
// come in the table's order. Each "?" is numbered ("?3") so the branches repeat the values.
class DisjunctionPlanner
{
public:
    // What planning needs to know of the database.
    struct Catalog
    {
        // Whether the table has the column.
        std::function<bool(const QString& table, const QString& column)> hasColumn;
        // Whether the table's rows have a rowid (not WITHOUT ROWID, no column named so).
        std::function<bool(const QString& table)> hasRowid;
        // The columns of each full (not partial) index of the table, in index order; an
        // expression column is an empty name.
        std::function<QList<QStringList>(const QString& table)> indexes;
    };

    // The catalog of an SQLite connection's schema.
    static Catalog catalogOf(sqlite3* connection);

    // The planned text, or sql itself when the statement is not of that form, has a LIMIT,
    // RETURNING, a compound select or parameters other than "?", or when some branch has no
    // index to look its rows up by (the keys' columns and the branch's column leading it), or
    // when the text does not lex. Reads the tokens given, without lexing again.
    static QString plan(const SqlLexer::Lexed& sql, const Catalog& catalog);
    // The same of a text not lexed yet.
    static QString plan(const QString& sql, const Catalog& catalog);
};

} // namespace oquivran
