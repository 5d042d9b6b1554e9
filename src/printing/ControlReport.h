#pragma once

#include "ReportKind.h"

namespace oquivran {

// The internal control listing ("Impresion para control interno"): every discharge line of a
// sub-item, unsummed, with its declaration item, product, tariff position, relation and
// multiplier, discharged and real quantity; printed in landscape. Driven by ReportGenerator it
// is the system's second GenerarOM / Generar_Linea.
class ControlReport : public ReportKind
{
public:
    qint16 ruleLength() const override;
    ColumnLayout layout() const override;
    SharedStatement linesStatement(const QString& interno, qint16 idsub) const override;
    void detailValues(const Recordset& row, ReportTotals& totals,
                      QStringList& values) const override;
};

} // namespace oquivran
