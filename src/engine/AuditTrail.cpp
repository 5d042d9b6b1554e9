#include "AuditTrail.h"

#include "AuditStatements.h"
#include "BoundData.h"
#include "ErrorMessage.h"
#include "ModuleState.h"
#include "SqlValue.h"
#include "ValueConversion.h"

#include <oquivran/Module.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

namespace oquivran {

namespace {

// A host setting, kept by resetModuleState() like atomic writes.
struct Setting
{
    bool on = false;
    QString who; // AUDUSR as SQL text
};

Setting& setting()
{
    static Setting trail;
    return trail;
}

} // namespace

bool setAuditTrail(bool on, const QString& operatorName)
{
    return ErrorMessage::guard(QStringLiteral(" - Sección [oQUIVRAN.setAuditTrail]"), [&] {
        if (!on) {
            AuditTrail::switchOff();
            return true;
        }
        if (!atomicWrites())
            throw RuntimeError::userDefined(
                QStringLiteral("El registro de auditoría necesita las escrituras atómicas: "
                               "actívelas (setAtomicWrites) antes de activarlo."),
                QStringLiteral("setAuditTrail"));
        // A name holding a quote is refused here, not at the first discharge.
        setting() = {true, AuditStatements::who(operatorName)};
        return true;
    });
}

bool auditTrail()
{
    return AuditTrail::isOn();
}

bool AuditTrail::isOn()
{
    return setting().on;
}

void AuditTrail::switchOff()
{
    setting() = Setting();
}

AuditTrail::Lines AuditTrail::beforeInsertingLines(const DischargeStatements::SubItem& subItem)
{
    if (!isOn())
        return Lines::NotRecorded;
    Recordset rs;
    BoundData::open(AuditStatements::lineCount(DischargeStatements::subItemWhere(subItem)), rs);
    return ValueConversion::toReal(rs.value(QStringLiteral("lines"))) == 0 ? Lines::Together
                                                                           : Lines::OneByOne;
}

void AuditTrail::linesInserted(const DischargeStatements::SubItem& subItem)
{
    if (isOn())
        BoundData::execute(AuditStatements::linesInserted(
            setting().who, DischargeStatements::subItemWhere(subItem)));
}

void AuditTrail::lineInserted(const DischargeStatements::SubItem& subItem, const DipCandidate& line)
{
    if (isOn())
        BoundData::execute(AuditStatements::lineInserted(setting().who, subItem, line));
}

void AuditTrail::linesDeleted(const QString& dipWhere)
{
    if (isOn())
        BoundData::execute(AuditStatements::linesDeleted(setting().who, dipWhere));
}

void AuditTrail::availabilityRefreshed(const DischargeStatements::SubItem& subItem,
                                       const QList<AuditStatements::Availability>& refreshed)
{
    if (isOn() && !refreshed.isEmpty())
        BoundData::execute(
            AuditStatements::availabilityRefreshed(setting().who, subItem, refreshed));
}

void AuditTrail::dischargeColumnUpdated(const QString& column, const QString& value,
                                        const QString& dipWhere)
{
    if (isOn())
        BoundData::execute(
            AuditStatements::dischargeColumnUpdated(setting().who, column, value, dipWhere));
}

void AuditTrail::stockColumnUpdated(const QString& column, const QString& value,
                                    const QString& insWhere)
{
    if (!isOn())
        return;
    const ModuleState& state = moduleState();
    BoundData::execute(AuditStatements::stockColumnUpdated(setting().who, state.INTERNO,
                                                           state.SUBITEM, column, value, insWhere));
}

void AuditTrail::exportDataRecorded(const QString& officialNumber, const QString& officialDate,
                                    const QString& invoices, const QString& interno)
{
    if (!isOn())
        return;
    const QString where = DischargeStatements::operationWhere(interno);
    // The values as the recording writes them.
    dischargeColumnUpdated(QStringLiteral("EXTNOF"), SqlValue::text(officialNumber), where);
    dischargeColumnUpdated(QStringLiteral("EXTFOF"),
                           QStringLiteral("datevalue(") + SqlValue::text(officialDate) + u')',
                           where);
    dischargeColumnUpdated(QStringLiteral("EXTFAC"), SqlValue::text(invoices), where);
}

} // namespace oquivran
