#pragma once

#include <QDate>
#include <QList>
#include <QString>

namespace oquivran {

// The horizon of the expiry check, in days, when the host sets none.
inline constexpr int defaultExpiryHorizon = 60;

// Where a stock line stands against the expiry of its temporary-import declaration (INTVEN).
enum class ExpiryState {
    Expired,  // the expiry date is before the reference date
    DueSoon,  // the expiry date is the reference date or falls within the horizon
    NoExpiry, // the declaration has no expiry date: listed last, never left out
};

// One authorised stock line with availability that falls due within the horizon, or already
// has, or has no expiry date.
struct ExpiryLine
{
    QString declaration;   // INTINS.INTDCL
    QString customsOffice; // INTADU
    QDate officialDate;    // INTFOF
    QDate expiryDate;      // INTVEN; null when the declaration has none
    // Days from the reference date to the expiry: 0 on the day itself, negative when expired,
    // 0 when there is no expiry date (see state).
    int daysLeft = 0;
    ExpiryState state = ExpiryState::DueSoon;
    QString input; // ARTNRO
    int item = 0;  // ARTITM
    int subItem = 0;
    double declared = 0;   // ARTCAT
    double discharged = 0; // the sum of DIPCAN over every discharge of the line
    double available = 0;  // ARTDSC
    double unitCif = 0;    // ARTPRE
    double cifAtRisk = 0;  // available x unit CIF, as shown
    // The figures as the reports show them: quantities in the printing quantity format, the
    // unit CIF with six decimals, the CIF at risk with two; the numbers above are the shown ones.
    QString declaredText;
    QString dischargedText;
    QString availableText;
    QString unitCifText;
    QString cifAtRiskText;
};

// The lines of one declaration, in the order of the lines.
struct ExpiryDeclaration
{
    QString declaration;
    QDate expiryDate;
    int daysLeft = 0;
    ExpiryState state = ExpiryState::DueSoon;
    int lineCount = 0;
    double cifAtRisk = 0; // the sum of its lines' shown CIF at risk
    QString cifAtRiskText;
};

// What expiringStock() found.
struct ExpiryReport
{
    QDate asOf;
    int horizonDays = defaultExpiryHorizon;
    // Ordered by expiry date (lines without one last), then declaration, item, sub-item and
    // input.
    QList<ExpiryLine> lines;
    QList<ExpiryDeclaration> declarations;
    double cifAtRisk = 0; // the sum of the declarations' CIF at risk
    QString cifAtRiskText;
    int expiredLines = 0;
    int dueSoonLines = 0;
    int noExpiryLines = 0;

    // True when some line is already expired.
    bool hasExpired() const { return expiredLines > 0; }
};

// The expiry check of the stock: every stock line of an authorised declaration (INTIOK = 1)
// with availability (ARTDSC > 0) whose declaration expired before asOf, falls due on asOf or
// within horizonDays days after it, or has no expiry date; with what was declared, discharged
// and is still available, and the CIF value still at risk. The query runs through the data
// object bound with VincularDatos. Quantities are formatted with the printing formats of the
// "opVDE" setting, like the reports. Needs a valid asOf and a horizon of 0 days or more that
// ends by the year 9999.
// Returns true and fills report (replacing what it held); on an error (nothing bound, a
// failing query, a bad argument) shows the common error message and returns false, report
// left empty.
bool expiringStock(const QDate& asOf, int horizonDays, ExpiryReport& report);

} // namespace oquivran
