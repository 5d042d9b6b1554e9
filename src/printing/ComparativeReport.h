#pragma once

#include "ReportKind.h"

namespace oquivran {

// The comparative listing ("Listado Comparativo de insumos"): per declaration and input of a
// sub-item, the quantity transferred to the customs system (two decimals, never below 0.01)
// against the real discharged quantity, and the remainder; printed in portrait. Driven by
// ReportGenerator it is the system's third GenerarOM / Generar_Linea.
class ComparativeReport : public ReportKind
{
public:
    qint16 ruleLength() const override;
    ColumnLayout layout() const override;
    SharedStatement linesStatement(const QString& interno, qint16 idsub) const override;
    void detailValues(const Recordset& row, ReportTotals& totals,
                      QStringList& values) const override;
    bool rulesUnderTitles() const override;

    // The smallest quantity shown as transferred.
    static constexpr double minimumTransferred = 0.01;
};

} // namespace oquivran
