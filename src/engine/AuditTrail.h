#pragma once

#include "AuditStatements.h"
#include "DischargeStatements.h"

#include <QString>

namespace oquivran {

// The audit trail, a host setting (setAuditTrail): while it is on, each writer records its
// changes through these before (an inserted line: after) it makes them, in the same unit of
// atomic writes, so that an undone unit leaves no row and a kept one all of its rows. While it
// is off each of these does nothing and builds no text. Each throws what running its statement
// throws (RuntimeError), which fails the unit like the change's own statement would.
class AuditTrail
{
public:
    // Whether the trail is on (which needs atomic writes on).
    static bool isOn();
    // Turns the trail off, as turning atomic writes off does.
    static void switchOff();

    // How the lines a unit inserts for a sub-item are recorded: not at all (the trail is off),
    // each after its insert, or all by one statement after the last (the sub-item had none).
    enum class Lines { NotRecorded, OneByOne, Together };
    // Says how, before the first insert; with the trail on, by counting the sub-item's lines.
    static Lines beforeInsertingLines(const DischargeStatements::SubItem& subItem);
    // Records the lines of a sub-item inserted Together.
    static void linesInserted(const DischargeStatements::SubItem& subItem);

    // The changes, as AuditStatements describes them; the sub-item, where a change has none of
    // its own, is the unit's (the component's INTERNO and SUBITEM).
    static void lineInserted(const DischargeStatements::SubItem& subItem, const DipCandidate& line);
    static void linesDeleted(const QString& dipWhere);
    static void availabilityRefreshed(const DischargeStatements::SubItem& subItem,
                                      const QList<AuditStatements::Availability>& refreshed);
    static void dischargeColumnUpdated(const QString& column, const QString& value,
                                       const QString& dipWhere);
    static void stockColumnUpdated(const QString& column, const QString& value,
                                   const QString& insWhere);
    // The official number, date and invoices recorded on an operation's lines after printing.
    static void exportDataRecorded(const QString& officialNumber, const QString& officialDate,
                                   const QString& invoices, const QString& interno);
};

} // namespace oquivran
