#include "WriteUnit.h"

#include "BoundData.h"

#include <oquivran/DataObject.h>
#include <oquivran/Module.h>
#include <oquivran/RuntimeError.h>

namespace oquivran {

namespace {

// A host setting, kept by resetModuleState() like the message handler.
bool& atomicWritesSetting()
{
    static bool on = false;
    return on;
}

// The unit open now, if any.
struct OpenUnit
{
    DataObject* data = nullptr; // null while no unit is open
    int depth = 0;
    bool undone = false;
};

OpenUnit& openUnit()
{
    static OpenUnit unit;
    return unit;
}

// Undoes the unit on its data object; a rollback that fails is not reported over the
// failure that caused it (the database undoes what it cannot finish on its own).
void rollbackQuietly(DataObject& data)
{
    try {
        data.rollback();
    } catch (...) {
    }
}

} // namespace

void setAtomicWrites(bool on)
{
    atomicWritesSetting() = on;
}

bool atomicWrites()
{
    return atomicWritesSetting();
}

bool WriteUnit::run(const std::function<bool()>& body, const std::function<void()>& undone)
{
    OpenUnit& unit = openUnit();
    if (!atomicWritesSetting() || unit.data) {
        if (!unit.data)
            return body();
        ++unit.depth;
        struct Leave
        {
            ~Leave() { --openUnit().depth; }
        } leave;
        return body() && !unit.undone;
    }

    DataObject& data = BoundData::object();
    try {
        data.transaction();
    } catch (...) {
        // A unit that cannot start leaves nothing written either.
        if (undone)
            undone();
        throw;
    }
    unit = {&data, 1, false};
    const auto end = [&](bool keep) {
        const bool wasUndone = unit.undone;
        unit = OpenUnit();
        if (keep) {
            try {
                data.commit();
                return true;
            } catch (...) {
                rollbackQuietly(data);
                if (undone)
                    undone();
                throw;
            }
        }
        if (!wasUndone)
            rollbackQuietly(data);
        if (undone)
            undone();
        return false;
    };
    bool kept = false;
    try {
        kept = body();
    } catch (...) {
        end(false);
        throw;
    }
    return end(kept && !unit.undone);
}

void WriteUnit::undo()
{
    OpenUnit& unit = openUnit();
    if (!unit.data || unit.undone)
        return;
    unit.undone = true;
    rollbackQuietly(*unit.data);
}

void WriteUnit::checkWritable()
{
    if (openUnit().undone)
        throw RuntimeError(DatabaseError,
                           QStringLiteral("The unit of atomic writes was undone; its statements "
                                          "can no longer be written"),
                           QStringLiteral("WriteUnit"));
}

} // namespace oquivran
