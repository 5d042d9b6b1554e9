#include "FieldPositions.h"

#include <oquivran/Recordset.h>

namespace oquivran {

const QList<int>& FieldPositions::in(const Recordset& rs)
{
    // Lists that share their data compare equal at once, without comparing their names.
    const QStringList fields = rs.fieldNames();
    if (!m_found || fields != m_fields) {
        m_positions = rs.indexOf(m_names);
        m_fields = fields;
        m_found = true;
    }
    return m_positions;
}

} // namespace oquivran
