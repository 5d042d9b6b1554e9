#pragma once

#include <QDate>
#include <QString>

namespace oquivran {

// The SQL text of the expiry check, exactly as the component sends it.
class ExpiryStatements
{
public:
    // Every stock line of an authorised declaration with availability whose declaration
    // expires on or before lastDay, or has no expiry date, with the sum of its discharges
    // (DIPCANsum, null when it has none); ordered by expiry date with the lines without one
    // last, then declaration, item, sub-item and input.
    static QString expiringStock(const QDate& lastDay);
};

} // namespace oquivran
