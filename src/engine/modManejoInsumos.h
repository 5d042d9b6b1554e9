#pragma once

#include <QString>
#include <QtGlobal>

namespace oquivran {

// The discharge engine. Every routine works on the shared module state (the sub-item set by
// the host, relationList, candidateLines, the value formats), runs its SQL through the bound
// data-access object only, catches its own errors, shows them with the common error message
// and its location label, and returns false after an error. Nothing done before an error is
// undone: there are no transactions.
class modManejoInsumos
{
public:
    // Relation lookup: reads PRD.PRDMUL into the product multiplier (refusing only an exact
    // 0), and fills relationList with one entry per RIP row of the product, in the database's
    // row order, with the required quantity RIPCAN x PRDCAN x PRDMUL rounded to valueFormat.
    // relationList is emptied first and keeps what was filled before an error.
    static bool GetRIP();

    // FIFO allocation: empties candidateLines and allocates every entry of relationList in
    // order; stops at the first input that fails. Returns true when every input succeeded
    // (the completeness flag of the allocation screen).
    static bool Obtener_INS_A_DIP();
    // Allocates one input over the available stock lines, oldest declaration first, appending
    // its candidate lines. An obligatory input (1) without enough stock is accepted with
    // status 1 (some stock) or one "Sin Stock" line with status 2 (none); another input shows
    // a message and returns false, leaving the lines it appended.
    static bool Obtener_RIP_A_DIP(const QString& inputCode, double requiredQuantity,
                                  const QString& shrinkage, const QString& loss,
                                  double relationQuantity, qint16 shrinkageKind, qint16 lossKind,
                                  qint16 obligatory);

    // Inserts one DIP row for each candidate line that is not "Sin Stock" (status 2), with
    // its real quantity (less shrinkage and loss when Restar_PerMer is set).
    static bool AgregarDIP();
    // Deletes the DIP rows of the current sub-item and product. True when no error occurred.
    static bool EliminarDIP();
    // Reloads the current sub-item's DIP rows into candidateLines (declaration, input, item,
    // sub-item, quantity). True also when there are none.
    static bool Generar_DIP_A_ARR();
    // For each candidate line, recomputes its stock line's ARTDSC = ARTCAT - the sum of DIPCAN
    // over every operation, refusing a sum above ARTCAT. A line without a stock row ("Sin
    // Stock") is passed over.
    static bool RefrescarINS();

    // True unless a candidate line that is not "Sin Stock" has a C.T.C. that is blank after
    // trimming: the check made before a discharge is saved.
    static bool candidateLinesHaveCtc();
    // Reads the discharged totals of the current sub-item back from DIP into
    // CantidadDescontada (rounded to valueFormat) and CIFDescontado (rounded to six decimals).
    // Throws RuntimeError; the caller's handler reports it.
    static void readDischargeTotals();
};

} // namespace oquivran
