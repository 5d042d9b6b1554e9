// One operator of the multi-process discharge tests: a separate process that discharges
// sub-items from a shared SQLite file, or a PostgreSQL database, through the public interface,
// as a host would, and
// now and then removes one it discharged. It prints one line per attempt, flushed at once,
// so that a process killed at any moment has reported everything it finished:
//   discharge <operation> <sub-item> <product> accepted|refused <lock wait> <whole attempt>
//   remove <operation> <sub-item> <product> accepted|refused <lock wait> <whole attempt>
// both times in microseconds: the lock wait is how long its units waited for other operators'
// units to start (the stock's lock on the server, SQLite's writer lock).
// Arguments: database file, operation number, sub-items to discharge, seed, atomic writes
// (1 or 0), share of removals in percent, and optionally the products to choose from,
// separated by commas (default "P1,P2,P3", of catalog "C", one unit each). A database given as
// "host=... port=... user=... dbname=... [search_path=...]" is a PostgreSQL one. With
// OQUIVRAN_STRESS_PAUSE_MS set, the worker waits that long after an attempt that was refused;
// with OQUIVRAN_STRESS_AUDIT=1 (and atomic writes) it runs with the audit trail on.
#include "PgTestDatabase.h"

#include <oquivran/DataObject.h>
#include <oquivran/Module.h>
#include <oquivran/PgDataObject.h>
#include <oquivran/Recordset.h>
#include <oquivran/SqlDataObject.h>
#include <oquivran/clQUIVRAN.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QList>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QStringList>
#include <QThread>

#include <cstdio>
#include <memory>

namespace {

// The data object, timing how long each unit waits to start: for the stock's lock and for
// the transaction to begin (SQLite's writer lock).
template <typename Base> class TimedDataObject : public Base
{
public:
    using Base::Base;
    void transaction() override
    {
        timed([&] { Base::transaction(); });
    }
    void lockStock(const QStringList& inputCodes, int milliseconds) override
    {
        timed([&] { Base::lockStock(inputCodes, milliseconds); });
    }
    qint64 lockWait = 0;

private:
    template <typename Call> void timed(const Call& call)
    {
        QElapsedTimer timer;
        timer.start();
        struct Add
        {
            qint64& total;
            QElapsedTimer& timer;
            ~Add() { total += timer.nsecsElapsed() / 1000; }
        } add{lockWait, timer};
        call();
    }
};

// A QPSQL connection from "key=value" settings; search_path names the schema of the tables.
QSqlDatabase serverConnection(const QString& settings)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"));
    const QStringList parts = settings.split(u' ', Qt::SkipEmptyParts);
    PgTestDatabase::configure(db, parts);
    for (const QString& setting : parts) {
        if (setting.section(u'=', 0, 0) == u"search_path")
            db.setConnectOptions(u"options='-c search_path=" + setting.section(u'=', 1) + u'\'');
    }
    return db;
}

struct Discharged
{
    int subItem;
    QString product;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 7 && args.size() != 8) {
        std::fprintf(stderr,
                     "usage: %s database operation sub-items seed atomic removal%% [products]\n",
                     argv[0]);
        return 2;
    }
    const QString operation = args.at(2);
    const int subItems = args.at(3).toInt();
    QRandomGenerator random(args.at(4).toUInt());
    const bool atomic = args.at(5) == u"1";
    const int removalShare = args.at(6).toInt();
    const QStringList products =
        args.size() > 7
            ? args.at(7).split(u',')
            : QStringList{QStringLiteral("P1"), QStringLiteral("P2"), QStringLiteral("P3")};

    const bool onServer = args.at(1).contains(u"host=");
    QSqlDatabase db;
    if (onServer) {
        db = serverConnection(args.at(1));
    } else {
        db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
        db.setDatabaseName(args.at(1));
    }
    if (!db.open()) {
        std::fprintf(stderr, "cannot open %s\n", qPrintable(args.at(1)));
        return 2;
    }
    std::unique_ptr<oquivran::DataObject> object;
    qint64* lockWait = nullptr;
    if (onServer) {
        auto timed = std::make_unique<TimedDataObject<oquivran::PgDataObject>>(db);
        lockWait = &timed->lockWait;
        object = std::move(timed);
    } else {
        auto timed = std::make_unique<TimedDataObject<oquivran::SqlDataObject>>(db);
        lockWait = &timed->lockWait;
        object = std::move(timed);
    }
    oquivran::DataObject& data = *object;
    const int pause = qEnvironmentVariableIntValue("OQUIVRAN_STRESS_PAUSE_MS");
    // Messages are the operator's to read; here they only go to the error output.
    oquivran::setMessageHandler([](const QString& prompt, int style, const QString&) {
        std::fprintf(stderr, "message: %s\n", qPrintable(QString(prompt).replace(u'\n', u' ')));
        return (style & 0x0F) == oquivran::MessageYesNo ? int(oquivran::AnswerNo)
                                                        : int(oquivran::AnswerOk);
    });
    oquivran::setAtomicWrites(atomic);
    if (qEnvironmentVariableIntValue("OQUIVRAN_STRESS_AUDIT") == 1 &&
        !oquivran::setAuditTrail(true))
        return 2;
    oquivran::clQUIVRAN component;
    component.VincularDatos(&data);
    component.INTERNO(operation);
    component.CATNRO(QStringLiteral("C"));
    component.PRDCAN(1);

    QElapsedTimer attempt;
    const auto report = [&](const char* what, int subItem, const QString& product, bool ok) {
        std::printf("%s %s %d %s %s %lld %lld\n", what, qPrintable(operation), subItem,
                    qPrintable(product), ok ? "accepted" : "refused", qint64(*lockWait),
                    qint64(attempt.nsecsElapsed() / 1000));
        std::fflush(stdout);
        *lockWait = 0;
        if (!ok && pause > 0)
            QThread::msleep(pause);
    };
    QList<Discharged> discharged;
    for (int subItem = 1; subItem <= subItems; ++subItem) {
        const QString product = products.at(random.bounded(products.size()));
        component.SUBITEM(subItem);
        component.PRDNRO(product);
        attempt.start();
        const bool accepted = oquivran::dischargeAsProposed(false);
        report("discharge", subItem, product, accepted);
        if (accepted)
            discharged.append({subItem, product});
        if (!discharged.isEmpty() && int(random.bounded(100)) < removalShare) {
            const Discharged removed = discharged.takeAt(random.bounded(discharged.size()));
            component.SUBITEM(removed.subItem);
            component.PRDNRO(removed.product);
            attempt.start();
            report("remove", removed.subItem, removed.product, component.EliminarInsumo());
        }
    }
    return 0;
}
