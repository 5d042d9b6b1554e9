// One operator of the multi-process discharge tests: a separate process that discharges
// sub-items from a shared SQLite file through the public interface, as a host would, and
// now and then removes one it discharged. It prints one line per attempt, flushed at once,
// so that a process killed at any moment has reported everything it finished:
//   discharge <operation> <sub-item> <product> accepted|refused <lock wait in microseconds>
//   remove <operation> <sub-item> <product> accepted|refused <lock wait in microseconds>
// Arguments: database file, operation number, sub-items to discharge, seed, atomic writes
// (1 or 0), share of removals in percent, and optionally the products to choose from,
// separated by commas (default "P1,P2,P3", of catalog "C", one unit each).
#include <oquivran/DataObject.h>
#include <oquivran/Module.h>
#include <oquivran/Recordset.h>
#include <oquivran/SqlDataObject.h>
#include <oquivran/clQUIVRAN.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QList>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QStringList>

#include <cstdio>

namespace {

// The SQLite object, timing how long each unit waits for the writer lock.
class TimedDataObject : public oquivran::SqlDataObject
{
public:
    using SqlDataObject::SqlDataObject;
    void transaction() override
    {
        QElapsedTimer timer;
        timer.start();
        try {
            SqlDataObject::transaction();
        } catch (...) {
            lockWait += timer.nsecsElapsed() / 1000;
            throw;
        }
        lockWait += timer.nsecsElapsed() / 1000;
    }
    qint64 lockWait = 0;
};

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

    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
    db.setDatabaseName(args.at(1));
    if (!db.open()) {
        std::fprintf(stderr, "cannot open %s\n", qPrintable(args.at(1)));
        return 2;
    }
    TimedDataObject data(db);
    // Messages are the operator's to read; here they only go to the error output.
    oquivran::setMessageHandler([](const QString& prompt, int style, const QString&) {
        std::fprintf(stderr, "message: %s\n", qPrintable(QString(prompt).replace(u'\n', u' ')));
        return (style & 0x0F) == oquivran::MessageYesNo ? int(oquivran::AnswerNo)
                                                        : int(oquivran::AnswerOk);
    });
    oquivran::setAtomicWrites(atomic);
    oquivran::clQUIVRAN component;
    component.VincularDatos(&data);
    component.INTERNO(operation);
    component.CATNRO(QStringLiteral("C"));
    component.PRDCAN(1);

    const auto report = [&](const char* what, int subItem, const QString& product, bool ok) {
        std::printf("%s %s %d %s %s %lld\n", what, qPrintable(operation), subItem,
                    qPrintable(product), ok ? "accepted" : "refused", qint64(data.lockWait));
        std::fflush(stdout);
        data.lockWait = 0;
    };
    QList<Discharged> discharged;
    for (int subItem = 1; subItem <= subItems; ++subItem) {
        const QString product = products.at(random.bounded(products.size()));
        component.SUBITEM(subItem);
        component.PRDNRO(product);
        const bool accepted = oquivran::dischargeAsProposed(false);
        report("discharge", subItem, product, accepted);
        if (accepted)
            discharged.append({subItem, product});
        if (!discharged.isEmpty() && int(random.bounded(100)) < removalShare) {
            const Discharged removed = discharged.takeAt(random.bounded(discharged.size()));
            component.SUBITEM(removed.subItem);
            component.PRDNRO(removed.product);
            report("remove", removed.subItem, removed.product, component.EliminarInsumo());
        }
    }
    return 0;
}
