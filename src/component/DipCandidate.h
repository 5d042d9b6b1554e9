#pragma once

#include <QString>
#include <QtGlobal>

namespace oquivran {

// How completely an input is covered by the candidate lines proposed for it.
enum AllocationStatus : qint16 {
    AllocationComplete = 0,   // the whole requirement is covered
    AllocationIncomplete = 1, // partly covered, accepted because the input is obligatory
    AllocationNoStock = 2,    // nothing in stock: the "Sin Stock" line, never written
};

// One proposed discharge line: a quantity taken from one stock line for one input. Also the
// layout of the current-input record that the stock search hands to the allocation screen.
struct DipCandidate
{
    QString declaration;         // INS.INTDCL, or "Sin Stock"
    QString inputCode;           // ARTNRO
    qint16 item = 0;             // ARTITM
    QString tariffPosition;      // ARTNCM
    qint16 subItem = 0;          // ARTSBT
    double quantity = 0;         // DIPCAN
    double unitPrice = 0;        // ARTPRE
    double spare = 0;            // not filled
    double relationQuantity = 0; // oRIPCAN
    double shrinkage = 0;        // RIPMER
    double loss = 0;             // RIPPER
    qint16 shrinkageKind = 0;    // TRPMER
    qint16 lossKind = 0;         // TRPPER
    qint16 obligatory = 0;       // DIPOBL
    QString ctc;                 // C.T.C. number
    QString exportReference;     // INSEXP
    qint16 allocationStatus = AllocationComplete;
};

} // namespace oquivran
