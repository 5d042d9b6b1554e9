#pragma once

#include <QSettings>
#include <QString>

#include <functional>

namespace oquivran {

class RuntimeError;

// Message-box styles and answers, as the component passes them to the message handler.
enum MessageStyle : int {
    MessageOkOnly = 0,
    MessageYesNo = 4,
    MessageCritical = 16,
    MessageQuestion = 32,
    MessageExclamation = 48,
};
enum MessageAnswer : int {
    AnswerOk = 1,
    AnswerYes = 6,
    AnswerNo = 7,
};

// Shows one message and returns the button chosen (AnswerOk, AnswerYes or AnswerNo). style is
// the sum of a button set and an icon; an empty title means the default title "oQUIVRAN".
using MessageHandler = std::function<int(const QString& prompt, int style, const QString& title)>;

// Routes every message box of the component through handler. An empty handler restores the
// default one, which shows a QMessageBox (creating a QApplication when the host has none).
// The handler is a host setting: resetModuleState() keeps it.
void setMessageHandler(MessageHandler handler);

// Atomic writes, for offices where several operators discharge from one stock. Off (the
// default), each statement takes effect when executed and what was written before an error
// stays written. On, each of these runs as one unit that takes effect whole or leaves the
// database as it was: F11 on the allocation screen and dischargeAsProposed (lines, stock
// refresh, totals), EliminarInsumo, the line edit screen's two updates, EnviarGrupoIdSub,
// ResetIdItems, EnviarNroItem, and the recording of the export data after printing. A
// failure inside a unit (the stock check, a locked database, a lost connection) undoes it;
// its message is the one shown today, and the routine returns false. The bound data object
// must implement DataObject::transaction(), commit() and rollback(); one that does not makes
// every unit fail with that message. A host setting: resetModuleState() keeps it.
void setAtomicWrites(bool on);
// Whether atomic writes are on.
bool atomicWrites();

// The first run-time error the component reported to the operator through its error message
// since the host last called clearReportedError() (or resetModuleState()): the cause of what
// the routine then reported; null when none. Its nativeErrorCode lets a host tell a refusal by
// the discharge rules (no code) from a database that failed: DataObject::isConflict() for a
// conflict that outlasted the wait, a PostgreSQL SQLSTATE of class 08 for a connection that
// broke or could not be opened.
const RuntimeError* reportedError();
void clearReportedError();

// The component's per-user settings: application "oQUIVRAN", section "CONFIG" (key "opVDE")
// and section "IMPRESION" (the print options), keys written "SECTION/KEY". On Linux the file
// $XDG_CONFIG_HOME/oQUIVRAN/oQUIVRAN.conf; on Windows the registry key
// HKEY_CURRENT_USER\Software\VB and VBA Program Settings\oQUIVRAN, where a host's Visual
// Basic SaveSetting and GetSetting keep them.
QSettings settingsStore();

// Returns the shared module state to that of a freshly loaded component: bindings,
// properties, lists, formats and results.
void resetModuleState();

// Discharges the sub-item set on the component as the operator would by pressing F11 on an
// untouched allocation screen, without showing it: relation lookup, FIFO allocation, the
// C.T.C. check, writing the lines, refreshing stock and reading the totals (then in
// CantidadDescontada and CIFDescontado). An allocation that does not cover every input stops
// with false unless acceptIncomplete (the operator's Yes to "Confirma descargar estos
// insumos"); a failed relation lookup stops with false. Messages go through the message
// handler; the discharge value formats are used. Returns the discharge result.
// With atomic writes on, the allocation is made inside the unit, after other operators' units
// on the same stock have ended, so that it is made from what they left; its messages (stock
// short of the need) are then shown while the unit holds that stock, and a handler that waits
// for a person keeps the other operators waiting meanwhile (each at most its lock wait).
bool dischargeAsProposed(bool acceptIncomplete);

} // namespace oquivran
