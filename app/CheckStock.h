#pragma once

#include <QList>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <functional>

// The stock invariant of the discharge database: every stock line's available quantity
// ARTDSC equals its declared quantity ARTCAT less the sum of the quantities DIPCAN discharged
// from it, over every operation, and that sum never exceeds ARTCAT.
class CheckStock
{
public:
    // A stock line: its key, declared quantity ARTCAT and availability ARTDSC.
    struct StockLine
    {
        QString declaration;
        QString input;
        int item = 0;
        int subItem = 0;
        double declared = 0;
        double available = 0;
    };
    // A stock line that breaks the invariant.
    struct Difference : StockLine
    {
        double discharged = 0;
        double expected = 0;
        // The operations whose discharge lines draw on the stock line, comma-separated.
        QString operations;
        // More discharged than declared: no availability can be right, so the line is not
        // repaired; excess() tells by how much.
        bool overDischarged = false;

        double excess() const { return discharged - declared; }
    };
    // A stock line whose audit trail does not give its availability: ARTCAT less what the
    // trail's "DIP alta" and "DIP baja" rows moved (AUDNUE - AUDANT) is not ARTDSC, or the
    // last availability the trail recorded ("INS.ARTDSC", by AUDNRO) is not ARTDSC.
    struct AuditDifference : StockLine
    {
        // The sum of AUDNUE - AUDANT over the line's "DIP alta" and "DIP baja" rows.
        double moved = 0;
        // AUDNUE of the line's last "INS.ARTDSC" row; null when the trail has none.
        QVariant lastRecorded;

        double replayed() const { return declared - moved; }
    };
    using Progress = std::function<void(int checked, int total)>;

    explicit CheckStock(const QSqlDatabase& discharge);

    // Why the database cannot be checked: not a database, damaged, without tables, or without
    // the stock (INS) or discharge (DIP) table or one of their columns. Empty when it can.
    QString problem() const;
    // The number of stock lines.
    int stockLineCount() const;
    // Fills differences with the stock lines that break the invariant (differences above
    // tolerance), in declaration order; progress, when set, is told every 500 lines and at the
    // end. False when a query failed (error set).
    bool differences(QList<Difference>& differences, QString& error, const Progress& progress = {},
                     double tolerance = 1e-6) const;
    // Fills differences with the stock lines whose audit trail (DIPAUD, which must exist) does
    // not give their availability (above tolerance), in declaration order. False when a query
    // failed (error set).
    bool auditDifferences(QList<AuditDifference>& differences, QString& error,
                          double tolerance = 1e-6) const;
    // Writes the expected ARTDSC on each line that is not over-discharged and returns how many
    // were written; -1 when an update failed (error set).
    int repair(const QList<Difference>& differences, QString& error) const;

private:
    // Reads every stock line in declaration order: a query whose columns are INS.INTDCL,
    // ARTNRO, ARTITM, ARTSBT, ARTCAT and ARTDSC, then columns (from column 6), over INS and
    // joins; visit is called on each row with its stock line, progress as differences() says. False
    // when the query failed (error set).
    bool readStockLines(const QString& columns, const QString& joins,
                        const std::function<void(const QSqlQuery&, StockLine)>& visit,
                        QString& error, const Progress& progress) const;

    QSqlDatabase m_discharge;
};
