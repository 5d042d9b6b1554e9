#pragma once

#include <QString>
#include <QtGlobal>

namespace oquivran {

class DataObject;
class Recordset;

// The component's public class. It holds no state of its own: every instance reads and writes
// the one shared module state, so all instances see the same values. Members that report
// their errors through the common error message never throw.
class clQUIVRAN
{
public:
    // Reads the "opVDE" setting and sets the start-up value formats.
    clQUIVRAN();

    // Write-only properties of the sub-item to discharge or print.
    void Restar_PerMer(bool value);
    void SubRegimen(const QString& value);
    void Aduana(const QString& value);
    void Oficializacion(const QString& value);
    void AAT(const QString& value);
    void INTERNO(const QString& value);
    // Throws RuntimeError 6 "Overflow" outside -32768..32767; the sub-item is then unchanged.
    void SUBITEM(qint32 value);
    void CATNRO(const QString& value);
    void PRDNRO(const QString& value);
    void PRDCAN(double value);
    void Dir_Formularios(const QString& value);

    // Binds the data-access object of the discharge database (not owned). The first binding
    // stays for the life of the component; later calls are ignored.
    void VincularDatos(DataObject* dataObject);
    // Binds the data-access object of the host's other database (item, groupsubitems,
    // facturas); the first binding stays likewise.
    void VincularDatosMorvik(DataObject* dataObject);

    // CIF value and quantity that the last accepted discharge left.
    double CIFDescontado() const;
    double CantidadDescontada() const;

    // Discharges the inputs of the sub-item set in the properties on the allocation screen.
    // Returns the discharge result: true when the operator accepted a discharge.
    bool AgregarInsumo();
    // Takes the sub-item's discharge lines out and gives their stock back. Returns true when
    // every step succeeded.
    bool EliminarInsumo();
    // Opens the print options screen with the printing value formats.
    void GenerarIMP();

    // Groups sub-items (one number, or several separated by "|") under a root sub-item of the
    // current operation; p_EXTINT is not used, INTERNO is.
    bool EnviarGrupoIdSub(const QString& p_EXTINT, const QString& p_IDRoot,
                          const QString& p_EXTGRPSBT);
    // Clears every item number of the current operation.
    bool ResetIdItems();
    // Stamps an item number on the lines of the given sub-items and their group members.
    // Stops with a message and false at the first sub-item without lines.
    bool EnviarNroItem(qint16 p_ITEM, const QString& p_SubIt);
    // Replaces p_Rs with the discharged inputs of an item, oldest declaration first.
    bool Obtener_Insumos(qint32 p_ITEM, Recordset& p_Rs);
};

} // namespace oquivran
