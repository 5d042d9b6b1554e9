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

// The audit trail, for offices whose discharges are audited. Off (the default), nothing is
// written beyond what the component always writes. On, every unit of atomic writes that
// changes discharge lines or stock lines appends to the table DIPAUD, in the same unit, one row
// for each line it changes: F11 and dischargeAsProposed (each line written, "DIP alta", and
// each stock line's availability, "INS.ARTDSC"), EliminarInsumo (each line removed, "DIP baja",
// and the availability), the line edit screen's C.T.C. and export reference ("INS.ARTCTC",
// "INS.INSEXP"), EnviarGrupoIdSub, ResetIdItems and EnviarNroItem ("DIP.idroot",
// "DIP.EXTITM", lines whose value changes), and the recording after printing ("DIP.EXTNOF",
// "DIP.EXTFOF", "DIP.EXTFAC"). A row holds when (local time with its offset on SQLite, the
// server's time on PostgreSQL), who (operatorName, or when empty the operating-system user on
// SQLite and the database role on PostgreSQL), the operation and sub-item, the stock line,
// the quantity before and after (DIPCAN of a line, ARTDSC of a stock line) and the value of an
// updated column before and after. An undone unit leaves no row. The database needs the
// table and its functions (createTables with SchemaDatabase::AuditTrail). It needs atomic writes:
// turning it on while they are off is refused with the common error message and false; turning
// atomic writes off turns it off. A name holding a quote is refused the same way. Returns true when
// the setting took effect. A host setting: resetModuleState() keeps it.
bool setAuditTrail(bool on, const QString& operatorName = QString());
// Whether the audit trail is on.
bool auditTrail();

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
