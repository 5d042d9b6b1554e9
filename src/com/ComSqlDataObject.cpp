#include "ComSqlDataObject.h"

#include "ComRecordset.h"
#include "Schema.h"
#include "VariantConversion.h"

#include <oquivran/Recordset.h>
#include <oquivran/SqlDataObject.h>

#include <QSqlDatabase>
#include <QSqlError>

namespace oquivran::com {

namespace {

// Answered only by this class, so that VincularDatos binds the data object behind it
// directly; never registered.
const IID ownDataObject = {
    0x8c1e4f27, 0x5a3d, 0x4b60, {0x8e, 0x19, 0xd2, 0x47, 0x0a, 0x6b, 0xc5, 0x91}};

} // namespace

ComSqlDataObject::ComSqlDataObject() : DispatchObject(L"oQUIVRAN.SqlDataObject")
{
    static int made = 0;
    m_connection = QStringLiteral("oquivran-com-%1").arg(++made);
}

ComSqlDataObject::~ComSqlDataObject()
{
    m_object.reset();
    if (QSqlDatabase::contains(m_connection)) {
        QSqlDatabase::database(m_connection, false).close();
        QSqlDatabase::removeDatabase(m_connection);
    }
}

void* ComSqlDataObject::interfaceFor(REFIID requested)
{
    if (IsEqualIID(requested, IID_IoqDataAccess) || IsEqualIID(requested, ownDataObject))
        return static_cast<IoqSqlDataObject*>(this);
    return DispatchObject::interfaceFor(requested);
}

SqlDataObject* ComSqlDataObject::dataObjectOf(IDispatch* object)
{
    IoqSqlDataObject* own = nullptr;
    if (!object || FAILED(object->QueryInterface(ownDataObject, reinterpret_cast<void**>(&own))))
        return nullptr;
    SqlDataObject* found = static_cast<ComSqlDataObject*>(own)->m_object.get();
    own->Release();
    return found;
}

SqlDataObject& ComSqlDataObject::opened()
{
    if (!m_object)
        throw RuntimeError(DatabaseError,
                           QStringLiteral("La base de datos no está abierta (OpenDatabase)"));
    return *m_object;
}

HRESULT ComSqlDataObject::OpenDatabase(BSTR path)
{
    return guarded([&] {
        m_object.reset();
        QSqlDatabase database =
            QSqlDatabase::contains(m_connection)
                ? QSqlDatabase::database(m_connection, false)
                : QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
        database.close();
        database.setDatabaseName(fromBstr(path));
        if (!database.open())
            throw RuntimeError(DatabaseError, database.lastError().text());
        m_object = std::make_unique<SqlDataObject>(database);
    });
}

HRESULT ComSqlDataObject::SetSql(BSTR sql)
{
    return guarded([&] { opened().setSql(fromBstr(sql)); });
}

HRESULT ComSqlDataObject::OpenRecordset(VARIANT* rs, VARIANT_BOOL* hasRows)
{
    if (!rs || !hasRows)
        return nullArgument();
    return guarded([&] {
        Recordset rows;
        *hasRows = toVariantBool(opened().open(rows));
        VARIANT* target = V_VT(rs) == (VT_VARIANT | VT_BYREF) ? V_VARIANTREF(rs) : rs;
        VariantClear(target);
        V_VT(target) = VT_DISPATCH;
        V_DISPATCH(target) = new ComRecordset(rows);
    });
}

HRESULT ComSqlDataObject::ExecuteSql(LONG* recordsAffected)
{
    if (!recordsAffected)
        return nullArgument();
    return guarded([&] { *recordsAffected = opened().execute(); });
}

HRESULT ComSqlDataObject::BeginTrans()
{
    return guarded([&] { opened().transaction(); });
}

HRESULT ComSqlDataObject::CommitTrans()
{
    return guarded([&] { opened().commit(); });
}

HRESULT ComSqlDataObject::RollbackTrans()
{
    return guarded([&] { opened().rollback(); });
}

HRESULT ComSqlDataObject::get_LockWait(LONG* milliseconds)
{
    if (!milliseconds)
        return nullArgument();
    return guarded([&] { *milliseconds = opened().lockWait(); });
}

HRESULT ComSqlDataObject::put_LockWait(LONG milliseconds)
{
    return guarded([&] { opened().setLockWait(int(milliseconds)); });
}

HRESULT ComSqlDataObject::CreateTables(LONG database)
{
    return guarded([&] {
        static const Schema::Database databases[] = {
            Schema::Database::Discharge, Schema::Database::Host, Schema::Database::Audit};
        if (database < 0 || database > 2)
            throw RuntimeError(InvalidProcedureCall,
                               QStringLiteral("CreateTables: 0 (descarga), 1 (anfitrión) o 2 "
                                              "(auditoría)"));
        Schema::create(opened().database(), databases[database]);
    });
}

} // namespace oquivran::com
