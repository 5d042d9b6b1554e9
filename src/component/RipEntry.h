#pragma once

#include <QString>
#include <QtGlobal>

namespace oquivran {

// One input-product relation of the product being discharged: which input it consumes and
// how much of it the product quantity requires.
struct RipEntry
{
    QString inputCode;           // ARTNRO
    QString description;         // RPADES
    double requiredQuantity = 0; // sRIPCAN rounded to the quantity format
    double relationQuantity = 0; // oRIPCAN: input per unit of product
    QString shrinkage;           // RIPMER, as text until a candidate line takes it
    QString loss;                // RIPPER, likewise
    qint16 shrinkageKind = 0;    // TRPMER: non-zero is an absolute quantity, 0 a percentage
    qint16 lossKind = 0;         // TRPPER, likewise
    qint16 obligatory = 0;       // DIPOBL: 1 discharges the input even without stock
};

} // namespace oquivran
