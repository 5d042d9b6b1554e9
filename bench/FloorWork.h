#pragma once

#include "DipCandidate.h"
#include "FloorStatement.h"

#include <QList>
#include <QString>
#include <map>
#include <string>

#include <memory>

struct sqlite3;

namespace oquivran {
class ReportKind;
}

// What each benchmarked operation asks of the database, done with FloorStatements: the same
// statements the component sends, in the same order and number, reading the same rows, but
// prepared once and run with bound values, through SQLite's C interface or libpq.
class FloorWork
{
public:
    FloorWork(const FloorConnection& discharge, const FloorConnection& host);

    // Relation lookup and FIFO allocation of a product: the multiplier, the relations, and the
    // stock of each input until its requirement is covered. Returns the lines proposed.
    int openAllocation(const QString& product, double productQuantity);
    // Writes the candidate lines of a sub-item, refreshes the stock lines they draw on and
    // reads the sub-item's totals (what F11 sends).
    void save(const QString& interno, qint16 subItem, const QString& product,
              const QList<oquivran::DipCandidate>& lines);
    // Reloads a sub-item's lines, deletes them and refreshes their stock lines.
    void eliminate(const QString& interno, qint16 subItem, const QString& product);
    // The queries of one report of an operation: items, sub-items of each, lines of each.
    // Returns the rows read.
    int report(const oquivran::ReportKind& kind, const QString& interno);
    // The same report as the best a hand-written SQLite program reads it: each sub-item's lines
    // found by one index lookup per branch of "EXTSBT = n or idroot = n". Returns the rows read.
    int reportByLookups(const oquivran::ReportKind& kind, const QString& interno);
    // How the numbering update finds a sub-item's lines.
    enum class NumberingPlan {
        AsWritten, // the component's text
        Lookups,   // one index lookup per branch, written by hand
    };
    // EnviarNroItem for items 1 to `items` of an operation, item k over sub-items 2k - 1 and 2k:
    // one update per sub-item. Returns the lines changed.
    int numberItems(const QString& interno, int items, NumberingPlan plan);
    // The discharged inputs of an item. Returns the rows read.
    int itemInputs(const QString& interno, qint32 item);

private:
    // Binds the key of a stock line into a statement built with the line markers.
    static void setStockLine(FloorStatement& statement, const QString& declaration,
                             const QString& input, int item, int subItem);
    void refresh(const QString& declaration, const QString& input, int item, int subItem);
    void setSubItem(FloorStatement& statement, const QString& interno, qint16 subItem,
                    const QString& product);
    // Walks the operation's items and sub-items, draining the lines statement for each.
    int walk(FloorStatement& lines, const QString& interno);
    // "DIP.rowid in (...)": the lines of the marker operation's sub-item and of those grouped
    // under it, one index lookup per branch.
    static QString subItemLookups(int subItem);

    FloorConnection m_discharge;
    FloorConnection m_host;
    FloorStatement m_multiplier;
    FloorStatement m_relations;
    FloorStatement m_stock;
    FloorStatement m_insert;
    FloorStatement m_sum;
    FloorStatement m_declared;
    FloorStatement m_update;
    FloorStatement m_totals;
    FloorStatement m_select;
    FloorStatement m_delete;
    FloorStatement m_itemInputs;
    FloorStatement m_items;
    FloorStatement m_subItems;
    FloorStatement m_numberItem;
    // SQLite's own (it finds lines by rowid): prepared at its first use.
    std::unique_ptr<FloorStatement> m_numberByLookups;
    // One lines query per report kind, prepared at its first use.
    std::map<std::string, std::unique_ptr<FloorStatement>> m_linesQueries;
    std::map<std::string, std::unique_ptr<FloorStatement>> m_lookupQueries;
};
