#pragma once

#include <QList>
#include <QStringList>

namespace oquivran {

class Recordset;

// The positions of some fields in the rows of a result, found by name when the result's fields
// are new to it and kept while they stay the same. Every result of one kept statement shares
// its list of fields, so a loop over many results and rows finds each field once; a result
// with other fields (a host's own data object, another text) has them found again.
class FieldPositions
{
public:
    explicit FieldPositions(const QStringList& names) : m_names(names) {}

    // The positions in rs of the names given, in their order; -1 for a field rs lacks, which
    // Recordset::value(int) reports as value() by that name would. Valid until the next call.
    const QList<int>& in(const Recordset& rs);

private:
    QStringList m_names;
    // The fields the positions were found in; held, so the list cannot be freed and another
    // made at its address while it is compared with.
    QStringList m_fields;
    QList<int> m_positions;
    bool m_found = false;
};

} // namespace oquivran
