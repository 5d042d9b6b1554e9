// The expiry check of the public interface: what is left on each temporary-import declaration
// and when it falls due.
#include "BoundData.h"
#include "ErrorMessage.h"
#include "ExpiryStatements.h"
#include "NumberFormat.h"
#include "ValueConversion.h"
#include "ValueFormats.h"
#include "WholeNumber.h"

#include <oquivran/Expiry.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

namespace oquivran {

namespace {

const QString label = QStringLiteral(" - Sección [oQUIVRAN.modManejoInsumos.VencimientosINS]");
const QString source = QStringLiteral("{Vencimientos de INS}");

// The unit CIF and the CIF at risk are shown as the reports show CIF figures.
const QString unitCifFormat = QStringLiteral("00.000000");
const QString cifFormat = QStringLiteral("0.00");

// A figure and its text in a format; the number is the one the text shows.
void shownFigure(double value, const QString& pattern, double& number, QString& text)
{
    text = NumberFormat::format(value, pattern);
    number = NumberFormat::rounded(value, pattern);
}

ExpiryLine lineOf(const Recordset& row, const QDate& asOf, const QString& quantityFormat)
{
    const auto field = [&](const char* name) {
        return row.value(QString::fromLatin1(name));
    };
    ExpiryLine line;
    line.declaration = ValueConversion::toText(field("sINTDCL"));
    line.customsOffice = ValueConversion::toText(field("INTADU"));
    line.officialDate = field("INTFOF").toDate();
    line.expiryDate = field("INTVEN").toDate();
    if (line.expiryDate.isValid()) {
        line.daysLeft = int(asOf.daysTo(line.expiryDate));
        line.state = line.daysLeft < 0 ? ExpiryState::Expired : ExpiryState::DueSoon;
    } else {
        line.state = ExpiryState::NoExpiry;
    }
    line.input = ValueConversion::toText(field("sARTNRO"));
    line.item = WholeNumber::toInt16(ValueConversion::toReal(field("sARTITM")));
    line.subItem = WholeNumber::toInt16(ValueConversion::toReal(field("sARTSBT")));
    // A line without discharges has a null sum, which reads as 0.
    shownFigure(ValueConversion::toReal(field("ARTCAT")), quantityFormat, line.declared,
                line.declaredText);
    shownFigure(ValueConversion::toReal(field("DIPCANsum")), quantityFormat, line.discharged,
                line.dischargedText);
    shownFigure(ValueConversion::toReal(field("ARTDSC")), quantityFormat, line.available,
                line.availableText);
    shownFigure(ValueConversion::toReal(field("ARTPRE")), unitCifFormat, line.unitCif,
                line.unitCifText);
    shownFigure(line.available * line.unitCif, cifFormat, line.cifAtRisk, line.cifAtRiskText);
    return line;
}

// Adds a line to the totals of its declaration (the last one, or a new one) and overall.
void addToTotals(const ExpiryLine& line, ExpiryReport& report)
{
    if (report.declarations.isEmpty() ||
        report.declarations.constLast().declaration != line.declaration) {
        report.declarations.append(
            {line.declaration, line.expiryDate, line.daysLeft, line.state, 0, 0, QString()});
    }
    ExpiryDeclaration& declaration = report.declarations.last();
    ++declaration.lineCount;
    declaration.cifAtRisk += line.cifAtRisk;
    report.cifAtRisk += line.cifAtRisk;
    switch (line.state) {
    case ExpiryState::Expired:
        ++report.expiredLines;
        break;
    case ExpiryState::DueSoon:
        ++report.dueSoonLines;
        break;
    case ExpiryState::NoExpiry:
        ++report.noExpiryLines;
        break;
    }
}

} // namespace

bool expiringStock(const QDate& asOf, int horizonDays, ExpiryReport& report)
{
    report = ExpiryReport();
    return ErrorMessage::guard(label, [&] {
        if (!asOf.isValid())
            throw RuntimeError::userDefined(QStringLiteral("La fecha de referencia no es válida."),
                                            source);
        if (horizonDays < 0)
            throw RuntimeError::userDefined(
                QStringLiteral("El horizonte de vencimientos debe ser de 0 días o más."), source);
        const QDate lastDay = asOf.addDays(horizonDays);
        // Date text has four digits for the year.
        if (!lastDay.isValid() || lastDay.year() > 9999)
            throw RuntimeError::userDefined(
                QStringLiteral("El horizonte de vencimientos pasa del año 9999."), source);
        const QString quantityFormat = ValueFormats::current(FormatMoment::Printing).valueFormat;

        ExpiryReport found;
        found.asOf = asOf;
        found.horizonDays = horizonDays;
        Recordset rows;
        BoundData::open(ExpiryStatements::expiringStock(lastDay), rows);
        for (; !rows.eof(); rows.moveNext()) {
            found.lines.append(lineOf(rows, asOf, quantityFormat));
            addToTotals(found.lines.constLast(), found);
        }
        // Totals are sums of the shown figures, kept as the text they show.
        for (ExpiryDeclaration& declaration : found.declarations)
            shownFigure(declaration.cifAtRisk, cifFormat, declaration.cifAtRisk,
                        declaration.cifAtRiskText);
        shownFigure(found.cifAtRisk, cifFormat, found.cifAtRisk, found.cifAtRiskText);
        report = found;
        return true;
    });
}

} // namespace oquivran
