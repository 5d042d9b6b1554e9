#include "CandidatePosition.h"

#include "ModuleState.h"
#include "NumberText.h"
#include "WholeNumber.h"

#include <oquivran/RuntimeError.h>

namespace oquivran {

int CandidatePosition::fromText(const QString& text)
{
    return WholeNumber::toInt16(NumberText::toNumber(text));
}

DipCandidate& CandidatePosition::line(int position)
{
    QList<DipCandidate>& lines = moduleState().candidateLines;
    if (position < 1 || position > lines.size())
        throw RuntimeError(9, QStringLiteral("Subscript out of range"));
    return lines[position - 1];
}

} // namespace oquivran
