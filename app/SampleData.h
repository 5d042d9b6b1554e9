#pragma once

#include <QDate>
#include <QSqlDatabase>
#include <QString>

// The sample the host seeds on first run: two catalogs of garments and leather goods whose
// relations mix percentage and absolute loss and shrinkage and obligatory inputs; stock on
// temporary-import declarations of different official dates (one exhausted by an earlier
// export, one not authorised, one without C.T.C. numbers) whose expiries are dated from the day
// the sample is made (one with stock expired 12 days before, one due in 25 days, the rest
// later); and the export operation OP-2025-0042 with an item of one sub-item, one of several,
// a group and its invoices.
class SampleData
{
public:
    // The sample export operation.
    static QString operation();
    // Seeds both databases, whose tables exist and are empty, with expiries dated from today.
    // False with error set when a statement failed.
    static bool seed(const QSqlDatabase& discharge, const QSqlDatabase& host, const QDate& today,
                     QString& error);
    // Seeds one of the two databases alone (its tables exist and are empty).
    static bool seedDischarge(const QSqlDatabase& discharge, const QDate& today, QString& error);
    static bool seedHost(const QSqlDatabase& host, QString& error);
};
