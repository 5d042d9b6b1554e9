#pragma once

#include <functional>

namespace oquivran {

// Units of atomic writes on the discharge database. With atomic writes off (the default) a
// unit is only its body: each statement takes effect when executed and nothing is undone.
// With them on, a unit runs between transaction() and commit() of the bound data object, so
// its statements take effect together or not at all.
class WriteUnit
{
public:
    // Runs body as one unit. The unit is kept when body returns true and nothing inside it
    // failed; it is undone when body returns false or throws, or when a failure inside it
    // was reported (undo()). Returns body's result, and false when the unit was undone; then
    // undone, when given, runs after the undo (also when the unit could not start). Throws
    // what body throws, and RuntimeError
    // when the unit cannot start (the data object refuses atomic writes, the database stays
    // locked) or cannot be committed (it is undone first). A unit inside a unit is part of
    // the outer one.
    static bool run(const std::function<bool()>& body, const std::function<void()>& undone = {});

    // Undoes the open unit now, if any: a failure inside it is being reported, and the
    // database is not to stay locked while its message is shown. The unit's later
    // statements are refused.
    static void undo();

    // Throws RuntimeError when a statement is about to run in a unit that was undone: it
    // would take effect on its own, outside the unit.
    static void checkWritable();
};

} // namespace oquivran
