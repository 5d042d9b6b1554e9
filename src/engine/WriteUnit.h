#pragma once

#include <QStringList>

#include <functional>

namespace oquivran {

class RuntimeError;

// Units of atomic writes on the discharge database. With atomic writes off (the default) a
// unit is only its body: each statement takes effect when executed and nothing is undone.
// With them on, a unit runs between transaction() and commit() of the bound data object, so
// its statements take effect together or not at all. A unit that meets another operator's
// unit waits for it or runs again, up to the data object's lockWait(), before the operator
// hears of it.
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
    // stockInputs, when given, are the inputs whose stock the unit writes: the unit first
    // waits until no other operator's unit holds them (DataObject::lockStock()), so that
    // units on one stock run one after the other. A unit that fails with a conflict
    // (DataObject::isConflict()) is undone (undone runs) and runs again from the start, with
    // what is committed then, until it commits or lockWait() has passed since it was asked
    // for; only then does the conflict reach the operator, as any other error. A refusal by
    // the unit's own checks is never run again.
    static bool run(const std::function<bool()>& body, const std::function<void()>& undone = {},
                    const QStringList& stockInputs = {});

    // Undoes the open unit now, if any: a failure inside it is being reported, and the
    // database is not to stay locked while its message is shown. The unit's later
    // statements are refused.
    static void undo();

    // Whether error, caught inside the open unit, is a conflict after which the unit will run
    // again: a routine's handler then passes it on unreported. Once true for a unit, true for
    // every error until the unit ends.
    static bool runsAgain(const RuntimeError& error);

    // Throws RuntimeError when a statement is about to run in a unit that was undone: it
    // would take effect on its own, outside the unit.
    static void checkWritable();
};

} // namespace oquivran
