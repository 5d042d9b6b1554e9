#pragma once

#include "ColumnLayout.h"

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <optional>

namespace oquivran {

class ReportKind;

// Fills the report line buffer with one report: the walk over the operation's items and
// sub-items that the three reports share (GenerarOM) and the block of one sub-item
// (Generar_Linea). The report's columns, query, values and closing come from its ReportKind.
class ReportGenerator
{
public:
    explicit ReportGenerator(const ReportKind& kind);

    // GenerarOM: empties the buffer and the totals, then walks the operation's items and
    // their sub-items in the host database (one sub-item alone is numbered 0, otherwise from
    // 1) and appends the closing block. Returns false when the operation has no items, and
    // after a failed sub-item ("Ocurrio un error al generar el informe.") or an error, leaving
    // the lines built so far.
    bool GenerarOM() const;
    // Generar_Linea: appends the heading and detail lines of one sub-item and those grouped
    // under it, and adds its declared quantity to the totals. A sub-item without discharge
    // lines adds nothing. Returns false after an error, which it reports.
    bool Generar_Linea(qint16 item, qint16 subItemNumber, qint16 idsub, const QString& idcatalogo,
                       const QString& idarticulo, double cantidad) const;

private:
    // The report's columns and the lines every sub-item heading repeats, for the quantity
    // mode they were made in (the only setting they depend on).
    struct Columns
    {
        bool extendedDecimals;
        ColumnLayout layout;
        QString rule;
        QString titleLine;
        QString ruleLine;
    };
    // The columns of the current mode, made when the mode differs from the last one's.
    const Columns& columns() const;
    void appendHeading(qint16 item, qint16 subItemNumber, const QString& idarticulo,
                       double cantidad) const;

    const ReportKind& m_kind;
    mutable std::optional<Columns> m_columns;
    // The detail values of the line being written, kept from line to line.
    mutable QStringList m_values;
    // The figures of the heading being written, kept from heading to heading as the values are.
    struct HeadingFigures
    {
        QString item;
        QString subItem;
        QString declared;
    };
    mutable HeadingFigures m_heading;
};

} // namespace oquivran
