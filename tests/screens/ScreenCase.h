#pragma once

#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "Scenario.h"
#include "ScreenScript.h"

namespace scenario {

// What a screen test starts from: the seeded databases with the sub-item of product being
// discharged, a recorder of the messages shown, and the script that drives the screens. A test
// names the parts: auto& [f, recorder, script] = screenCase;
struct ScreenCase
{
    explicit ScreenCase(const QString& product, const QString& ctcOfD1 = QStringLiteral("CTC1"))
    {
        seed(f, ctcOfD1);
        discharge(f, product);
    }

    DischargeFixture f;
    MessageRecorder recorder;
    ScreenScript script;
};

} // namespace scenario
