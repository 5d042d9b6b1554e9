#pragma once

#include <functional>

namespace oquivran {

// The save sequence of an allocation (F11 on the allocation screen, and the headless
// discharge): C.T.C. check, write the candidate lines, refresh stock, read the totals. The
// discharge result in the module state follows each step.
class DischargeSave
{
public:
    // The moments at which a screen shows progress.
    enum class Progress {
        Writing,       // before the check and the write
        WriteFailed,   // the write returned false
        UpdatingStock, // before the stock refresh
    };
    enum class Outcome {
        Saved,   // lines written, stock refreshed, totals read: the screen closes
        Refused, // the C.T.C. check failed (its message shown): nothing written
        Failed,  // the write failed, or an error was reported after it
    };

    // What comes before any discharge of the sub-item set by the host: refuses a product
    // quantity of exactly 0 with a message (a negative one passes), sets the discharge value
    // formats from "opVDE" and clears the discharge result. Returns false when refused.
    static bool prepare();

    // Runs the sequence. progress, when given, is called at each moment (a screen updates its
    // status line and repaints). Errors are reported with the allocation screen's save label;
    // a failed stock refresh leaves the discharge result true and skips the totals. With
    // atomic writes on, writing, refresh and totals are one unit (WriteUnit): a failure
    // anywhere in it leaves nothing written, the discharge result false and the totals as
    // they were; the unit first waits for other operators' units on the stock of the
    // allocation's inputs, and runs again after a conflict with one (WriteUnit).
    // propose, when given, builds the allocation first (the headless discharge) and returns
    // whether to go on (Refused when not). With atomic writes on it runs inside the unit,
    // after the wait for the stock of the relation's inputs, so that the allocation is made
    // from what the units before it committed, again on each attempt.
    static Outcome run(const std::function<void(Progress)>& progress = {},
                       const std::function<bool()>& propose = {});
};

} // namespace oquivran
