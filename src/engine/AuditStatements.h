#pragma once

#include "DischargeStatements.h"

#include <QList>
#include <QString>

namespace oquivran {

// The SQL text of the audit trail: each statement appends to DIPAUD the rows of one change that
// a unit of atomic writes is about to make (or has just made: inserted lines, and the
// availabilities a refresh wrote, recorded from what it read and wrote), with the same values
// and where-clause as the change itself, so that what it records is what is written. who is the SQL
// value of AUDUSR: a quoted name, or oquivran_audit_user() for the database's own (the role on the
// server, the operating-system user on SQLite). Text values are written between quotes without
// escaping; a value holding a quote is refused with a RuntimeError before any text is built.
class AuditStatements
{
public:
    // The SQL value of AUDUSR: operatorName quoted, or the database's user when it is empty.
    static QString who(const QString& operatorName);

    // A line inserted for a sub-item ("DIP alta"): its quantity from 0 to the line's, as the
    // insert writes it.
    static QString lineInserted(const QString& who, const DischargeStatements::SubItem& subItem,
                                const DipCandidate& line);
    // The lines of a sub-item that had none, just inserted ("DIP alta"), by one statement;
    // and how many lines a sub-item has (field "lines"), to know whether it had none.
    static QString linesInserted(const QString& who, const QString& dipWhere);
    static QString lineCount(const QString& dipWhere);
    // The lines a delete with dipWhere ("where ...") is about to remove ("DIP baja"): each
    // line's quantity to 0.
    static QString linesDeleted(const QString& who, const QString& dipWhere);
    // A stock line's availability as a refresh changed it.
    struct Availability
    {
        DipCandidate line; // the candidate line whose stock line it is
        double before = 0; // ARTDSC as read before the refresh
        double after = 0;  // ARTDSC as the refresh wrote it
    };
    // The availabilities a unit refreshed ("INS.ARTDSC"), by one statement; nothing (an empty
    // text) when there are none. Quantities are written as the component writes numbers.
    static QString availabilityRefreshed(const QString& who,
                                         const DischargeStatements::SubItem& subItem,
                                         const QList<Availability>& refreshed);
    // What the refresh reads of a stock line with the trail on: its declared quantity and,
    // for the trail, the availability before the refresh.
    static QString stockLineQuantities(const DipCandidate& line);
    // The lines an update of column to value (SQL text) with dipWhere is about to change
    // ("DIP.<column>"): the column's value before and after as text; lines that already hold
    // the value are no change.
    static QString dischargeColumnUpdated(const QString& who, const QString& column,
                                          const QString& value, const QString& dipWhere);
    // The stock lines an update of a text column to value with insWhere is about to change
    // ("INS.<column>"), for the operation and sub-item of the unit.
    static QString stockColumnUpdated(const QString& who, const QString& interno, qint16 subItem,
                                      const QString& column, const QString& value,
                                      const QString& insWhere);
};

} // namespace oquivran
