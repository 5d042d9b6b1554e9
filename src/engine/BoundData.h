#pragma once

#include "StatementDriver.h"

#include <QString>
#include <QtGlobal>

#include <functional>

namespace oquivran {

class DataObject;
class Recordset;
class SharedStatement;

// The data-access objects the host bound, and running SQL text through them.
class BoundData
{
public:
    enum class Database {
        Discharge, // bound by VincularDatos
        Host,      // bound by VincularDatosMorvik: item, groupsubitems, facturas
    };

    // The bound object. Throws RuntimeError 91 when the host bound none.
    static DataObject& object(Database database = Database::Discharge);
    // Opens a query into rs; true when rows came back.
    static bool open(const QString& sql, Recordset& rs, Database database = Database::Discharge);
    // Hands the rows of a query to visit one at a time until it returns false (see
    // DataObject::forEachRow); true when rows came back.
    static bool forEachRow(const QString& sql, const std::function<bool(const Recordset&)>& visit,
                           Database database = Database::Discharge);
    // Executes an action statement; the number of records affected.
    static qint32 execute(const QString& sql, Database database = Database::Discharge);

    // The same of a statement built shared. The component's own data objects (SqlDataObject,
    // PgDataObject, not a host's class derived from one) run it through their pipeline without
    // its text being written; any other object is given its text, as above.
    static bool open(const SharedStatement& statement, Recordset& rs,
                     Database database = Database::Discharge);
    // Reading::Whole reads the rows of the component's own objects all at once, as open()
    // does, before handing them over one by one (StatementPipeline::forEachRow); a host's
    // object is asked for them with its forEachRow() either way.
    static bool forEachRow(const SharedStatement& statement,
                           const std::function<bool(const Recordset&)>& visit,
                           Database database = Database::Discharge,
                           StatementDriver::Reading reading = StatementDriver::Reading::RowByRow);
    static qint32 execute(const SharedStatement& statement,
                          Database database = Database::Discharge);
};

} // namespace oquivran
