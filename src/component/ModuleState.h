#pragma once

#include "CtcMemoryEntry.h"
#include "DipCandidate.h"
#include "ReportLine.h"
#include "RipEntry.h"

#include "ValueFormats.h"

#include <oquivran/RuntimeError.h>

#include <QList>
#include <QString>

#include <optional>

namespace oquivran {

class DataObject;

// The component's module-level state: one copy shared by every clQUIVRAN instance, the engine
// and the screens. The host writes the properties and bindings; the engine and the screens
// fill the lists and the results.
struct ModuleState
{
    // The export sub-item, set by the host.
    QString INTERNO;
    qint16 SUBITEM = 0;
    QString CATNRO;
    QString PRDNRO;
    double PRDCAN = 0;
    // PRD.PRDMUL of the product, read by the relation lookup.
    double productMultiplier = 0;

    // Printing data, set by the host.
    QString Dir_Formularios;
    QString SubRegimen;
    QString Aduana;
    // Accepted and kept; nothing reads them.
    QString Oficializacion;
    QString AAT;
    // Subtract shrinkage and loss from the real quantity of a discharge line.
    bool Restar_PerMer = false;

    // Quantity formats.
    bool extendedDecimals = false;
    QString valueFormat;
    QString secondFormat;

    // Results of the last accepted discharge.
    double CantidadDescontada = 0;
    double CIFDescontado = 0;
    bool dischargeResult = false;

    // The host's data-access objects (not owned): the discharge database, and the database
    // holding item, groupsubitems and facturas.
    DataObject* dataObject = nullptr;
    DataObject* secondDataObject = nullptr;

    // Relations of the product and the candidate lines of the discharge being made; the
    // candidate lines are the one working copy of it until it is written.
    QList<RipEntry> relationList;
    QList<DipCandidate> candidateLines;

    // The stock line chosen on the search screen, carried through the load screen to the
    // allocation screen; an empty declaration or input code means nothing was chosen.
    DipCandidate currentInput;
    // Set by the line edit screen when it accepted an edit.
    bool editFlag = false;
    // C.T.C. and export references entered on the current allocation screen.
    QList<CtcMemoryEntry> ctcMemory;

    // The report line buffer and the totals of the report being generated.
    QList<ReportLine> reportLines;
    ReportTotals reportTotals;

    // The first run-time error reported to the operator since the host cleared it
    // (reportedError()).
    std::optional<RuntimeError> reportedError;

    // Takes the mode flag and the two quantity formats.
    void applyFormats(const ValueFormatSet& formats);
};

// The one module state.
ModuleState& moduleState();

} // namespace oquivran
