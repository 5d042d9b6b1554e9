#include "ReportBuffer.h"

#include "ModuleState.h"

namespace oquivran {

void ReportBuffer::clear()
{
    ModuleState& state = moduleState();
    state.reportLines.clear();
    state.reportTotals = ReportTotals();
}

void ReportBuffer::append(LineKind kind, const QString& text)
{
    moduleState().reportLines.append({kindText(kind), text});
}

QString ReportBuffer::kindText(LineKind kind)
{
    return kind == LineKind::Title ? QStringLiteral("T") : QStringLiteral(" ");
}

} // namespace oquivran
