#include "WriteUnit.h"

#include "AuditTrail.h"
#include "BoundData.h"

#include <oquivran/DataObject.h>
#include <oquivran/Module.h>
#include <oquivran/RuntimeError.h>

#include <QDeadlineTimer>
#include <QRandomGenerator>
#include <QThread>

#include <exception>

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
    QDeadlineTimer deadline; // when the unit may no longer run again
    bool runsAgain = false;  // a conflict was met: the unit is undone and runs again
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

// Whether the failure being handled is a conflict that leaves time to run the unit again.
bool conflictWithTimeLeft(const DataObject& data, const QDeadlineTimer& deadline)
{
    if (deadline.hasExpired())
        return false;
    try {
        throw;
    } catch (const RuntimeError& error) {
        return data.isConflict(error);
    } catch (...) {
        return false;
    }
}

// A pause before the next attempt: growing with the attempts and drawn at random, so that
// units that met each other do not meet again at once; never past the deadline.
void pauseBeforeAttempt(int attempt, const QDeadlineTimer& deadline)
{
    const qint64 ceiling = qint64(2) << qMin(attempt, 5); // 2 ms to 64 ms
    const qint64 pause = qMin(ceiling / 2 + QRandomGenerator::global()->bounded(ceiling / 2 + 1),
                              deadline.remainingTime());
    if (pause > 0)
        QThread::msleep(quint64(pause));
}

} // namespace

void setAtomicWrites(bool on)
{
    atomicWritesSetting() = on;
    // The trail's rows are only ever written inside units.
    if (!on)
        AuditTrail::switchOff();
}

bool atomicWrites()
{
    return atomicWritesSetting();
}

bool WriteUnit::run(const std::function<bool()>& body, const std::function<void()>& undone,
                    const QStringList& stockInputs)
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
    const QDeadlineTimer deadline(data.lockWait());
    // The stock stays held across the attempts, so that a unit run again keeps its turn.
    struct Release
    {
        DataObject& data;
        ~Release() { data.unlockStock(); }
    } release{data};
    // After a failed attempt, called from its handler: the attempt's state is undone, then the
    // unit runs again after a pause, or the failure goes on.
    const auto failed = [&](bool again, int attempt) {
        if (undone)
            undone();
        if (!again)
            throw;
        pauseBeforeAttempt(attempt, deadline);
    };
    // Closes the open unit; true when a reported failure undid it already.
    const auto leave = [&] {
        const bool wasUndone = unit.undone;
        unit = OpenUnit();
        return wasUndone;
    };
    try {
        if (!stockInputs.isEmpty())
            data.lockStock(stockInputs, int(qMax<qint64>(0, deadline.remainingTime())));
    } catch (...) {
        // It waited its whole time for the stock: nothing written.
        failed(false, 0);
    }
    for (int attempt = 0;; ++attempt) {
        try {
            data.transaction();
        } catch (...) {
            // A unit that cannot start leaves nothing written either.
            failed(conflictWithTimeLeft(data, deadline), attempt);
            continue;
        }
        unit = {&data, 1, false, deadline, false};
        bool kept = false;
        try {
            kept = body();
        } catch (...) {
            const bool again = unit.runsAgain || conflictWithTimeLeft(data, deadline);
            if (!leave())
                rollbackQuietly(data);
            failed(again, attempt);
            continue;
        }
        const bool keep = kept && !unit.undone;
        const bool wasUndone = leave();
        if (!keep) {
            if (!wasUndone)
                rollbackQuietly(data);
            if (undone)
                undone();
            return false;
        }
        try {
            data.commit();
            return true;
        } catch (...) {
            // Undone; a commit the server refused to keep units apart runs again.
            rollbackQuietly(data);
            failed(conflictWithTimeLeft(data, deadline), attempt);
        }
    }
}

void WriteUnit::undo()
{
    OpenUnit& unit = openUnit();
    if (!unit.data || unit.undone)
        return;
    unit.undone = true;
    rollbackQuietly(*unit.data);
    // Nor are other operators to wait for the stock meanwhile.
    unit.data->unlockStock();
}

bool WriteUnit::runsAgain(const RuntimeError& error)
{
    OpenUnit& unit = openUnit();
    if (!unit.data || unit.undone)
        return false;
    if (!unit.runsAgain)
        unit.runsAgain = !unit.deadline.hasExpired() && unit.data->isConflict(error);
    return unit.runsAgain;
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
