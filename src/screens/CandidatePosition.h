#pragma once

#include "DipCandidate.h"

#include <QString>

namespace oquivran {

// Candidate lines by the 1-based position that the allocation list shows in its "ord" column.
class CandidatePosition
{
public:
    // The position a text holds; RuntimeError 13 when it is not a number.
    static int fromText(const QString& text);
    // The candidate line at position; RuntimeError 9 "Subscript out of range" outside the list.
    static DipCandidate& line(int position);
};

} // namespace oquivran
