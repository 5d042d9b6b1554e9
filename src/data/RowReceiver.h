#pragma once

#include <oquivran/Recordset.h>

#include <QVariantList>

namespace oquivran {

// Takes the rows of a query as a StatementDriver steps through them.
class RowReceiver
{
public:
    virtual ~RowReceiver() = default;
    // The fields of the rows, as an empty recordset: given once before the first row, also
    // when no row follows; not given when the statement returns no rows at all.
    virtual void fields(const Recordset& empty) = 0;
    // One row's values, one per field, taken over by the receiver. Returns false when no
    // more rows are wanted.
    virtual bool row(QVariantList& values) = 0;
};

} // namespace oquivran
