#include <oquivran/PgDataObject.h>

#include <oquivran/RuntimeError.h>

#include "PgDriver.h"
#include "StatementPipeline.h"

#include <QByteArray>

#include <algorithm>
#include <utility>

#include <libpq-fe.h>

namespace oquivran {

struct PgDataObject::Private
{
    explicit Private(const QSqlDatabase& database) : driver(database), pipeline(driver) {}

    PgDriver driver;
    StatementPipeline pipeline;
    int lockWait = 5000;
    // The stock locks held (lockStock()), with the connection that holds them.
    QList<qint32> heldStock;
    PGconn* heldOn = nullptr;
    // The schema the stock locks of a connection are named in, read once per connection.
    QString lockSchema;
    int lockSchemaPid = 0;

    // The connection, opened (again) when it is closed or broke, set up for the component.
    PGconn* open()
    {
        pipeline.connection();
        return driver.handle();
    }
};

PgDataObject::PgDataObject(const QSqlDatabase& database) : d(std::make_unique<Private>(database)) {}

PgDataObject::~PgDataObject() = default;

QSqlDatabase PgDataObject::database() const
{
    return d->driver.database();
}

StatementPipeline& PgDataObject::pipeline() const
{
    return d->pipeline;
}

bool PgDataObject::open(Recordset& rs)
{
    return d->pipeline.open(m_sql, rs);
}

qint32 PgDataObject::execute()
{
    return d->pipeline.execute(m_sql);
}

bool PgDataObject::forEachRow(const std::function<bool(const Recordset&)>& visit)
{
    return d->pipeline.forEachRow(m_sql, visit);
}

namespace {

// The key class of the component's stock locks: the server's two-number advisory locks, kept
// apart from a host's one-number ones.
constexpr qint32 StockLockClass = 0x6F515549;

// An input's stock lock: FNV-1a of the schema's name and the code as UTF-8 text, the same on
// every client. The server's advisory locks belong to the database: the schema keeps the
// stock of two schemas apart.
qint32 stockLockKey(const QString& schema, const QString& inputCode)
{
    quint32 hash = 2166136261u;
    const QByteArray name = schema.toUtf8() + '\x1f' + inputCode.toUtf8();
    for (const char byte : name) {
        hash ^= quint8(byte);
        hash *= 16777619u;
    }
    return qint32(hash);
}

QByteArray lockTimeout(int milliseconds)
{
    return "SET LOCAL lock_timeout = " + QByteArray::number(qMax(1, milliseconds)) + "; ";
}

} // namespace

int PgDataObject::lockWait() const
{
    return d->lockWait;
}

void PgDataObject::setLockWait(int milliseconds)
{
    d->lockWait = qMax(0, milliseconds);
}

bool PgDataObject::isConflict(const RuntimeError& error) const
{
    // serialization_failure, deadlock_detected, and lock_not_available (a wait that ran
    // out of lock_timeout).
    static const QStringList conflicts = {QStringLiteral("40001"), QStringLiteral("40P01"),
                                          QStringLiteral("55P03")};
    return conflicts.contains(error.nativeErrorCode);
}

void PgDataObject::lockStock(const QStringList& inputCodes, int milliseconds)
{
    unlockStock();
    if (inputCodes.isEmpty())
        return;
    PGconn* c = d->open();
    if (d->lockSchemaPid != PQbackendPID(c)) {
        d->lockSchema = d->driver.value(c, "SELECT coalesce(current_schema(), '')");
        d->lockSchemaPid = PQbackendPID(c);
    }
    QList<qint32> keys;
    for (const QString& code : inputCodes)
        keys.append(stockLockKey(d->lockSchema, code));
    // One order for every unit: two units never wait for each other in a circle.
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    // Session locks, taken before the unit starts: the unit's snapshot is then taken after the
    // other operators' units on this stock have committed, and sees their lines. The wait
    // is bounded by a lock_timeout that ends with this one request.
    QByteArray sql = lockTimeout(milliseconds);
    for (const qint32 key : std::as_const(keys))
        sql += "SELECT pg_advisory_lock(" + QByteArray::number(StockLockClass) + ", " +
               QByteArray::number(key) + "); ";
    d->driver.command(c, sql);
    d->heldStock = keys;
    d->heldOn = c;
}

void PgDataObject::unlockStock()
{
    const QList<qint32> keys = std::exchange(d->heldStock, {});
    PGconn* c = std::exchange(d->heldOn, nullptr);
    // A connection that broke took its locks with it.
    if (keys.isEmpty() || !c || c != d->driver.handle() || PQstatus(c) != CONNECTION_OK ||
        PQtransactionStatus(c) != PQTRANS_IDLE)
        return;
    QByteArray sql;
    for (const qint32 key : keys)
        sql += "SELECT pg_advisory_unlock(" + QByteArray::number(StockLockClass) + ", " +
               QByteArray::number(key) + "); ";
    PQclear(PQexec(c, sql.constData()));
}

void PgDataObject::transaction()
{
    PGconn* c = d->open();
    // A statement waits for another's row lock no longer than a unit may wait.
    const QByteArray begin = "BEGIN ISOLATION LEVEL SERIALIZABLE; " + lockTimeout(d->lockWait);
    d->driver.command(c, begin);
    d->driver.setInUnit(true);
}

void PgDataObject::commit()
{
    PGconn* c = d->driver.handle();
    d->driver.setInUnit(false);
    if (!c || PQstatus(c) != CONNECTION_OK)
        d->driver.fail(QStringLiteral("The connection to the database was lost; the unit of "
                                      "atomic writes was undone"),
                       QStringLiteral("08006"));
    switch (PQtransactionStatus(c)) {
    case PQTRANS_INTRANS:
        break;
    case PQTRANS_INERROR: {
        PQclear(PQexec(c, "ROLLBACK"));
        d->driver.fail(QStringLiteral("A statement of the unit of atomic writes failed; the "
                                      "unit was undone"));
    }
    default:
        d->driver.fail(QStringLiteral("No unit of atomic writes is open"));
    }
    d->driver.command(c, "COMMIT");
}

void PgDataObject::rollback()
{
    PGconn* c = d->driver.handle();
    d->driver.setInUnit(false);
    if (!c || PQstatus(c) != CONNECTION_OK || PQtransactionStatus(c) == PQTRANS_IDLE)
        return;
    d->driver.command(c, "ROLLBACK");
}

} // namespace oquivran
