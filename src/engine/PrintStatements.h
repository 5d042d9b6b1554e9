#pragma once

#include "SharedStatement.h"

#include <QString>
#include <QtGlobal>

namespace oquivran {

// The SQL text of the print options screen, the report generators and the page output,
// exactly as the component sends it. Text values are written between quotes without escaping;
// a value holding a quote is refused with a RuntimeError before any text is built. The
// statements a report runs for each item and sub-item also come as SharedStatement, their text
// being that statement's text().
class PrintStatements
{
public:
    // The official number, date and invoices already recorded for an operation (discharge
    // database).
    static QString exportData(const QString& interno);
    // The operation's invoices in their order (host database).
    static QString invoices(const QString& interno);

    // The operation's items that count (host database).
    static QString items(const QString& interno);
    // The sub-items of one item, with catalog, product and declared quantity (host database).
    static QString subItems(const QString& interno, qint16 item);
    // A sub-item's discharge lines and those grouped under it, summed per declaration and
    // input, oldest declaration first: the sworn declaration and the comparative listing.
    static QString summedLines(const QString& interno, qint16 idsub);
    // A sub-item's discharge lines and those grouped under it, one row per line: the internal
    // control listing.
    static QString controlLines(const QString& interno, qint16 idsub);
    // The same four built shared.
    static SharedStatement itemsStatement(const QString& interno);
    static SharedStatement subItemsStatement(const QString& interno, qint16 item);
    static SharedStatement summedLinesStatement(const QString& interno, qint16 idsub);
    static SharedStatement controlLinesStatement(const QString& interno, qint16 idsub);

    // Records the official number, official date (date text as typed) and invoices on every
    // discharge line of the operation.
    static QString recordExportData(const QString& officialNumber, const QString& officialDate,
                                    const QString& invoices, const QString& interno);
};

} // namespace oquivran
