#pragma once

#include "DipCandidate.h"
#include "SharedStatement.h"

#include <QDate>
#include <QString>
#include <QtGlobal>

namespace oquivran {

// The SQL text of the discharge engine and of the numbering members, exactly as the component
// sends it. Text values are written between quotes without escaping; a value holding a quote
// is refused with a RuntimeError before any text is built. The statements the discharge loop
// runs for each line also come as SharedStatement, their text being that statement's text().
class DischargeStatements
{
public:
    // The sub-item being discharged, as the statements address it.
    struct SubItem
    {
        QString interno;
        qint16 subItem = 0;
        QString catalog;
        QString product;
    };

    // Relation lookup.
    static QString productMultiplier(const QString& catalog, const QString& product);
    static QString relations(const QString& productFigure, const QString& catalog,
                             const QString& product);
    // FIFO stock of one input, as text and built shared.
    static QString stockOfInput(const QString& inputCode);
    static SharedStatement stockOfInputStatement(const QString& inputCode);

    // One DIP row of a candidate line; numbers in the ordinary locale conversion.
    struct InsertValues
    {
        SubItem subItem;
        double productMultiplier = 0;
        double realQuantity = 0;
        QDate today;
    };
    static QString insertLine(const InsertValues& values, const DipCandidate& line);
    static SharedStatement insertLineStatement(const InsertValues& values,
                                               const DipCandidate& line);
    // The sub-item's lines: delete, reload, totals.
    static QString deleteSubItem(const SubItem& subItem);
    static QString selectSubItem(const SubItem& subItem);
    static QString subItemTotals(const SubItem& subItem);

    // Stock refresh of the stock line a candidate line draws on.
    static QString dischargedSum(const DipCandidate& line);
    static SharedStatement dischargedSumStatement(const DipCandidate& line);
    static QString declaredQuantity(const DipCandidate& line);
    static SharedStatement declaredQuantityStatement(const DipCandidate& line);
    static QString refreshAvailability(const QString& totalText, const QString& valueFormat,
                                       const DipCandidate& line);
    static SharedStatement refreshAvailabilityStatement(const QString& totalText,
                                                        const QString& valueFormat,
                                                        const DipCandidate& line);

    // Item numbering and the discharged-input feed of an operation.
    static QString groupSubItem(const QString& root, const QString& subItem,
                                const QString& interno);
    static QString resetItems(const QString& interno);
    static QString numberItem(qint16 item, const QString& subItem, const QString& interno);
    // The where-clauses of the statements above, "where ..." as they end them: the lines of a
    // sub-item, the stock line a candidate line draws on, the lines groupSubItem,
    // numberItem and resetItems (every line of the operation) update.
    static QString subItemWhere(const SubItem& subItem);
    static QString stockLineWhere(const DipCandidate& line);
    static QString groupSubItemWhere(const QString& subItem, const QString& interno);
    static QString numberItemWhere(const QString& subItem, const QString& interno);
    static QString operationWhere(const QString& interno);
    static QString itemInputs(qint32 item, const QString& interno);
};

} // namespace oquivran
