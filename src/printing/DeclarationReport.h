#pragma once

#include "ReportKind.h"

namespace oquivran {

// The sworn declaration "DECLARACION JURADA DE DESCARGA DE IMPORTACION TEMPORAL" ("Descarga
// de Insumos"): per sub-item, the discharged quantity summed per declaration and input, with
// loss, shrinkage and CIF; a totals block and the sworn statement at the end. Driven by
// ReportGenerator it is the system's GenerarOM / Generar_Linea of the declaration.
class DeclarationReport : public ReportKind
{
public:
    qint16 ruleLength() const override;
    ColumnLayout layout() const override;
    SharedStatement linesStatement(const QString& interno, qint16 idsub) const override;
    void detailValues(const Recordset& row, ReportTotals& totals,
                      QStringList& values) const override;
    QString headingPrefix(const QString& idarticulo) const override;
    void appendClosing(const ReportTotals& totals) const override;

private:
    // The line of the five totals under their columns.
    QString totalsLine(const ReportTotals& totals) const;
};

} // namespace oquivran
