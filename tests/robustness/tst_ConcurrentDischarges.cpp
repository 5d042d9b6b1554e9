// Several operators on one stock: worker processes discharging from one SQLite file at once,
// killed at random moments, and the stale proposal an operator accepts after another process
// consumed its stock. The invariants are read from the tables alone (StressDatabase.h). Under
// OQUIVRAN_TEST_DATABASE=postgresql the stock is on the throwaway server instead, and the server
// is also restarted in the middle of a run.
#include "DischargeSave.h"
#include "ExternalTool.h"
#include "FixtureDatabase.h"
#include "MessageRecorder.h"
#include "ModuleState.h"
#include "Schema.h"
#include "StartProgram.h"
#include "StressDatabase.h"
#include "modManejoInsumos.h"

#include <oquivran/Module.h>

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>
#include <QThread>

#include <chrono>
#include <memory>
#include <vector>

using namespace oquivran;

namespace {

const QString worker = QStringLiteral(OQUIVRAN_STRESS_WORKER);

// What each input's stock must be for about half of 8 x 50 one-unit sub-items of P1 to P3
// chosen at random.
QMap<QString, double> halfOfTheDemand()
{
    return {{QStringLiteral("I1"), 200},
            {QStringLiteral("I2"), 200},
            {QStringLiteral("I3"), 134},
            {QStringLiteral("I4"), 134}};
}

// The sub-items that the printed attempts leave discharged.
QSet<QString> reportedDischarged(const QList<stress::Attempt>& attempts)
{
    QSet<QString> discharged;
    for (const stress::Attempt& attempt : attempts) {
        if (!attempt.accepted)
            continue;
        if (attempt.kind == u"discharge")
            discharged.insert(attempt.subItem);
        else
            discharged.remove(attempt.subItem);
    }
    return discharged;
}

// The shared stock of a test: a new SQLite file, or under the postgresql variant a schema of
// its own on the throwaway server.
class Stock
{
public:
    Stock() : m_database(QStringLiteral("stock.sqlite")) {}

    bool isOpen() const { return m_database.isOpen(); }
    QSqlDatabase database() const { return m_database.database(); }
    // What a worker opens: the file, or the server's settings with the schema's search path.
    QString location() const
    {
        if (!FixtureDatabase::onPostgreSql())
            return database().databaseName();
        return PgTestDatabase::connectionSettings().join(u' ') + u" search_path=" +
               database().connectOptions().section(u'=', 2).remove(u'\'');
    }
    std::unique_ptr<DataObject> dataObject() const { return m_database.dataObject(); }

private:
    FixtureDatabase m_database;
};

struct StressRun
{
    int attempts = 0;
    int accepted = 0;
    int refused = 0;
    int removals = 0;
    QSet<QString> discharged;
    QStringList messages; // what the operators were shown
    QStringList refusedProducts;
};

// The stock each input has left, read from the tables.
QMap<QString, double> stockLeft(const QSqlDatabase& db)
{
    QMap<QString, double> left;
    QSqlQuery query(db);
    query.exec(QStringLiteral("select ARTNRO, sum(ARTDSC) from INS group by ARTNRO"));
    while (query.next())
        left.insert(query.value(0).toString(), query.value(1).toDouble());
    return left;
}

} // namespace

class tst_ConcurrentDischarges : public QObject
{
    Q_OBJECT

private:
    // 8 processes x 50 sub-items on a fresh stock, all started at once.
    StressRun stress(const QString& file, bool atomic, int removalShare = 20)
    {
        StressRun result;
        QList<QProcess*> processes;
        for (int w = 1; w <= 8; ++w)
            processes << stress::startWorker(worker, file, QStringLiteral("S%1").arg(w), 50, w,
                                             atomic, removalShare);
        QList<stress::Attempt> all;
        // One deadline for the eight together: under Wine, with the other locale's run beside
        // it, a worker on the server has taken over two minutes.
        const QDeadlineTimer deadline(std::chrono::minutes(8));
        for (QProcess* process : processes) {
            const bool finished = stress::waitForEnd(*process, deadline);
            [&] {
                QVERIFY2(finished, qPrintable(QStringLiteral("a worker was still running after "
                                                             "eight minutes: ") +
                                              stress::describe(*process)));
                // A worker that did not start, or crashed, says so here rather than as a
                // worker that reported nothing.
                QVERIFY2(process->error() == QProcess::UnknownError,
                         qPrintable(stress::describe(*process)));
                QCOMPARE(process->exitStatus(), QProcess::NormalExit);
                QCOMPARE(process->exitCode(), 0);
            }();
            if (!finished) {
                process->kill();
                process->waitForFinished(60000);
            }
            const QByteArray output = process->readAllStandardOutput();
            const QList<stress::Attempt> printed = stress::attempts(output);
            result.messages += stress::messages(process->readAllStandardError());
            for (const stress::Attempt& attempt : printed) {
                if (attempt.kind == u"discharge" && !attempt.accepted)
                    result.refusedProducts << attempt.product;
            }
            int attempts = 0;
            for (const stress::Attempt& attempt : printed) {
                if (attempt.kind != u"discharge") {
                    ++result.removals;
                    continue;
                }
                ++attempts;
                ++(attempt.accepted ? result.accepted : result.refused);
            }
            // Each attempt is reported once, as accepted or refused.
            [&] {
                QCOMPARE(attempts, 50);
            }();
            result.attempts += attempts;
            all += printed;
            delete process;
        }
        result.discharged = reportedDischarged(all);
        return result;
    }

    static void checkRefusalsAreTheStocks(const StressRun& run)
    {
        int stockMessages = 0;
        for (const QString& message : run.messages) {
            QVERIFY2(!stress::isConflictMessage(message), qPrintable(message));
            if (stress::isStockFollowUp(message))
                continue;
            QVERIFY2(stress::isStockMessage(message), qPrintable(message));
            ++stockMessages;
        }
        QCOMPARE(stockMessages, run.refused);
    }

private Q_SLOTS:
    void init() { resetModuleState(); }
    void cleanup()
    {
        setAtomicWrites(false);
        resetModuleState();
    }

    void stressWithAtomicWrites()
    {
        Stock db;
        QVERIFY(db.isOpen());
        stress::seed(db.database(), halfOfTheDemand());
        const StressRun run = stress(db.location(), true);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(run.accepted + run.refused, run.attempts);
        QCOMPARE(run.attempts, 400);
        // The stock covers about half of the demand: both outcomes occur.
        QVERIFY2(run.refused > 0 && run.accepted > 0,
                 qPrintable(QStringLiteral("%1 accepted").arg(run.accepted)));
        const stress::Consistency after = stress::check(db.database());
        QVERIFY2(after.holds(), qPrintable(after.summary()));
        // Every accepted sub-item, less the removed ones, is written, and nothing else.
        QCOMPARE(after.subItems, run.discharged);
        // Operators wait their turn: none hears of another's unit, and each refusal is the
        // stock's, told in the system's words.
        checkRefusalsAreTheStocks(run);
        qInfo("atomic writes on: %d attempts, %d accepted, %d refused, %d removals", run.attempts,
              run.accepted, run.refused, run.removals);
    }

    // Without removals the stock only shrinks: a product refused once stays refused, so at the
    // end one of its inputs has less left than one sub-item needs. The stock is used up to
    // that, whatever the interleaving.
    void stockIsUsedUp()
    {
        Stock db;
        QVERIFY(db.isOpen());
        stress::seed(db.database(), halfOfTheDemand());
        const StressRun run = stress(db.location(), true, 0);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(run.attempts, 400);
        const stress::Consistency after = stress::check(db.database());
        QVERIFY2(after.holds(), qPrintable(after.summary()));
        checkRefusalsAreTheStocks(run);
        const QMap<QString, double> left = stockLeft(db.database());
        const QStringList refused(
            QSet<QString>(run.refusedProducts.cbegin(), run.refusedProducts.cend()).values());
        for (const QString& product : refused) {
            const QMap<QString, double> needs = stress::relations().value(product);
            bool exhausted = false;
            for (auto need = needs.cbegin(); need != needs.cend(); ++need)
                exhausted = exhausted || left.value(need.key()) < need.value();
            QVERIFY2(exhausted, qPrintable(product + u" refused with stock left for it"));
        }
        double declared = 0;
        for (const double quantity : halfOfTheDemand())
            declared += quantity;
        double remaining = 0;
        for (const double quantity : left)
            remaining += quantity;
        qInfo("stock used up: %d of 400 accepted, %.0f of %.0f units left", run.accepted, remaining,
              declared);
    }

    // The same stress without atomic writes. What the tables then show depends on how the
    // processes' statements interleave, so it is reported, not asserted; only the counting is.
    void stressWithoutAtomicWrites()
    {
        Stock db;
        QVERIFY(db.isOpen());
        stress::seed(db.database(), halfOfTheDemand());
        const StressRun run = stress(db.location(), false);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(run.accepted + run.refused, run.attempts);
        const stress::Consistency after = stress::check(db.database());
        qInfo("atomic writes off: %d attempts, %d accepted, %d refused; %lld over-discharged "
              "stock lines, %lld stale ARTDSC, %lld half-written sub-items",
              run.attempts, run.accepted, run.refused, qint64(after.overDischarged.size()),
              qint64(after.staleStock.size()), qint64(after.halfWritten.size()));
        for (const QString& line : after.overDischarged)
            qInfo("  %s", qPrintable(line));
    }

    // Workers killed with SIGKILL at random moments, 200 times; after each kill the tables
    // are checked while the other workers go on, and a new worker takes the killed one's
    // place.
    void killedWorkers() { killWorkers(Trail::Off); }

    // The same with the audit trail on: after each kill, every stock line's audit rows replay
    // to its availability as well.
    void killedWorkersWithTheTrail()
    {
        qputenv("OQUIVRAN_STRESS_AUDIT", "1");
        killWorkers(Trail::On);
        qunsetenv("OQUIVRAN_STRESS_AUDIT");
    }

private:
    enum class Trail { Off, On };

    void killWorkers(Trail trail)
    {
        Stock db;
        QVERIFY(db.isOpen());
        stress::seed(db.database(), halfOfTheDemand());
        if (trail == Trail::On)
            Schema::create(db.database(), Schema::Database::Audit);
        const auto audited = [&] {
            return trail == Trail::On ? stress::auditMismatches(db.database()) : QStringList();
        };
        QRandomGenerator random(20261123);
        struct Slot
        {
            std::unique_ptr<QProcess> process;
            QByteArray output;
        };
        std::vector<Slot> running(8);
        int generation = 0;
        const auto start = [&](Slot& slot) {
            ++generation;
            slot.process.reset(stress::startWorker(worker, db.location(),
                                                   QStringLiteral("K%1").arg(generation), 50,
                                                   generation, true, 40));
            slot.output.clear();
        };
        for (Slot& slot : running)
            start(slot);

        QList<stress::Attempt> all;
        const auto collect = [&](Slot& slot) {
            slot.output += slot.process->readAllStandardOutput();
            all += stress::attempts(slot.output);
        };
        int kills = 0;
        while (kills < 200) {
            QThread::msleep(2 + random.bounded(25));
            Slot& slot = running[random.bounded(int(running.size()))];
            if (slot.process->state() != QProcess::NotRunning) {
                slot.process->kill();
                ++kills;
            }
            slot.process->waitForFinished(60000);
            collect(slot);
            const stress::Consistency now = stress::check(db.database());
            QVERIFY2(now.holds(),
                     qPrintable(QStringLiteral("after kill %1: %2").arg(kills).arg(now.summary())));
            const QStringList unreplayed = audited();
            QVERIFY2(
                unreplayed.isEmpty(),
                qPrintable(
                    QStringLiteral("after kill %1: %2").arg(kills).arg(unreplayed.join(u"; "))));
            start(slot);
        }
        for (Slot& slot : running) {
            slot.process->kill();
            slot.process->waitForFinished(60000);
            collect(slot);
        }
        const stress::Consistency after = stress::check(db.database());
        QVERIFY2(after.holds(), qPrintable(after.summary()));
        QVERIFY2(audited().isEmpty(), qPrintable(audited().join(u"; ")));
        if (trail == Trail::On)
            QVERIFY(stress::auditRowCount(db.database()) > 0);
        // A killed worker may have committed one unit it did not live to report: the tables
        // and the reports differ by at most one sub-item per kill (and per final stop).
        const QSet<QString> reported = reportedDischarged(all);
        const QSet<QString> unreported = after.subItems - reported;
        const QSet<QString> lost = reported - after.subItems;
        QVERIFY2(
            unreported.size() + lost.size() <= kills + qsizetype(running.size()),
            qPrintable(
                QStringLiteral("%1 unreported, %2 lost").arg(unreported.size()).arg(lost.size())));
        QVERIFY(!after.subItems.isEmpty());
        qInfo("%d kills, %d workers started, %lld sub-items written at the end", kills, generation,
              qint64(after.subItems.size()));
    }

private Q_SLOTS:

    // The server restarted (pg_ctl restart -m fast) while 8 operators discharge with atomic
    // writes: each sees a clear message with the server's words, nothing is half-written, and
    // each goes on discharging once its connection is opened again.
    void serverRestartedMidRun()
    {
        if (!FixtureDatabase::onPostgreSql())
            QSKIP("restarts the throwaway PostgreSQL server (OQUIVRAN_TEST_DATABASE=postgresql)");
        Stock db;
        QVERIFY(db.isOpen());
        // Enough stock for every attempt: a refusal then only comes from the restart.
        stress::seed(db.database(), {{QStringLiteral("I1"), 2000},
                                     {QStringLiteral("I2"), 2000},
                                     {QStringLiteral("I3"), 2000},
                                     {QStringLiteral("I4"), 2000}});
        const int perWorker = 300;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        // While the server is down, an operator's next attempts wait a little before it tries
        // again, as a person would.
        environment.insert(QStringLiteral("OQUIVRAN_STRESS_PAUSE_MS"), QStringLiteral("100"));
        std::vector<std::unique_ptr<QProcess>> workers;
        for (int w = 1; w <= 8; ++w) {
            auto process = std::make_unique<QProcess>();
            process->setProcessEnvironment(environment);
            // Messages and attempts in the order they happened.
            process->setProcessChannelMode(QProcess::MergedChannels);
            startProgram(*process, worker,
                         {db.location(), QStringLiteral("R%1").arg(w), QString::number(perWorker),
                          QString::number(w), QStringLiteral("1"), QStringLiteral("0")});
            workers.push_back(std::move(process));
        }
        // Restart early in the run, once every worker has connected and discharged something
        // (a worker still starting, as under Wine, would find no server to open).
        for (int wait = 0; wait < 3000; ++wait) {
            QThread::msleep(20);
            QSqlQuery query(db.database());
            if (query.exec(QStringLiteral("select count(distinct EXTINT) from DIP")) &&
                query.next() && query.value(0).toInt() >= 8)
                break;
        }
        const QString state = QFileInfo(qEnvironmentVariable("OQUIVRAN_TEST_POSTGRESQL")).path();
        const ExternalToolResult restart = runExternalTool(
            QStringLiteral(OQUIVRAN_POSTGRESQL_SERVER), {QStringLiteral("restart"), state}, 120000);
        QCOMPARE(restart.exitCode, 0);

        QList<stress::Attempt> all;
        int resumed = 0;
        int sawRestart = 0;
        for (auto& process : workers) {
            QVERIFY2(stress::waitForEnd(*process, QDeadlineTimer(300000)),
                     qPrintable(stress::describe(*process)));
            QCOMPARE(process->exitStatus(), QProcess::NormalExit);
            QCOMPARE(process->exitCode(), 0);
            const QByteArray output = process->readAll();
            // The first message about the connection the worker printed, and whether it
            // discharged after it.
            const auto aboutTheConnection = [](const QByteArray& line) {
                // The common error message, with the server's or the connection's own words.
                return line.contains("terminating connection") ||
                       line.contains("server closed the connection") ||
                       line.contains("connection to the database was lost") ||
                       line.contains("could not connect") ||
                       line.contains("no connection to the server") ||
                       line.contains("shutting down") || line.contains("starting up") ||
                       // libpq's own words follow the operator's language.
                       line.contains("conexi") || line.contains("servidor");
            };
            const QList<QByteArray> lines = output.split('\n');
            qsizetype firstMessage = -1;
            bool acceptedAfter = false;
            int attempts = 0;
            for (qsizetype i = 0; i < lines.size(); ++i) {
                // An operator hears of the restart, never of another operator's unit.
                QVERIFY2(!lines.at(i).startsWith("message:") ||
                             !stress::isConflictMessage(QString::fromUtf8(lines.at(i))),
                         lines.at(i).constData());
                if (lines.at(i).startsWith("message:")) {
                    if (firstMessage < 0 && aboutTheConnection(lines.at(i)))
                        firstMessage = i;
                    continue;
                }
                if (lines.at(i).startsWith("discharge ")) {
                    ++attempts;
                    if (firstMessage >= 0 && lines.at(i).contains(" accepted "))
                        acceptedAfter = true;
                }
            }
            QCOMPARE(attempts, perWorker);
            all += stress::attempts(output);
            // A worker whose units all fell before or after the server went down has nothing
            // to tell of it; the timing of that is the machine's.
            if (firstMessage < 0)
                continue;
            ++sawRestart;
            QVERIFY2(lines.at(firstMessage).contains(" - Secci"),
                     lines.at(firstMessage).constData());
            if (acceptedAfter)
                ++resumed;
        }
        // Operators who saw the server go discharged again once it was back (one whose last
        // attempts all met the restart or lost conflicts may have had nothing left to take).
        QVERIFY(sawRestart > 0);
        QVERIFY2(resumed > 0,
                 qPrintable(QStringLiteral("%1 of %2 resumed").arg(resumed).arg(sawRestart)));
        qInfo("restart mid-run: %d workers saw it, %d discharged again", sawRestart, resumed);
        db.database().close();
        QVERIFY(db.database().open());
        const stress::Consistency after = stress::check(db.database());
        QVERIFY2(after.holds(), qPrintable(after.summary()));
        // A unit committed just as its connection was ended may not have been reported.
        const QSet<QString> reported = reportedDischarged(all);
        QVERIFY((after.subItems - reported).size() + (reported - after.subItems).size() <= 8);
        qInfo("restart mid-run: %lld sub-items written, %lld reported",
              qint64(after.subItems.size()), qint64(reported.size()));
    }

    // An operator's proposal, then another process consumes part of its stock, then F11.
    void staleProposal_data()
    {
        QTest::addColumn<bool>("atomic");
        QTest::newRow("atomic writes on") << true;
        QTest::newRow("atomic writes off") << false;
    }
    void staleProposal()
    {
        QFETCH(bool, atomic);
        Stock db;
        QVERIFY(db.isOpen());
        stress::seed(db.database(), halfOfTheDemand());
        const std::unique_ptr<DataObject> dataObject = db.dataObject();
        DataObject& data = *dataObject;
        MessageRecorder recorder;
        setAtomicWrites(atomic);
        ModuleState& state = moduleState();
        state.dataObject = &data;
        state.INTERNO = QStringLiteral("A");
        state.SUBITEM = 1;
        state.CATNRO = QStringLiteral("C");
        state.PRDNRO = QStringLiteral("P1");
        // 90 units of P1 take 180 of I1's 200 and 90 of I2's 200, D1 first.
        state.PRDCAN = 90;
        QVERIFY(DischargeSave::prepare());
        QVERIFY(modManejoInsumos::GetRIP());
        QVERIFY(modManejoInsumos::Obtener_INS_A_DIP());
        QCOMPARE(state.candidateLines.first().declaration, QStringLiteral("D1"));
        QCOMPARE(state.candidateLines.first().quantity, 60.0);

        // Another operator, in another process, discharges one unit of P1 from D1.
        std::unique_ptr<QProcess> other(stress::startWorker(
            worker, db.location(), QStringLiteral("B"), 1, 1, atomic, 0, QStringLiteral("P1")));
        QVERIFY(other->waitForFinished(60000));
        const QList<stress::Attempt> done = stress::attempts(other->readAllStandardOutput());
        QCOMPARE(done.size(), 1);
        QVERIFY(done.first().accepted);
        const stress::Consistency before = stress::check(db.database());
        QVERIFY(before.holds());

        QCOMPARE(DischargeSave::run(), DischargeSave::Outcome::Failed);
        // The stock check finds D1 over-discharged and says so, then the save reports it.
        QCOMPARE(recorder.messages.size(), 2);
        QVERIFY(recorder.messages.at(0).prompt.startsWith(
            QStringLiteral("ERROR inconsistencia en la cantidad total disponible del insumo.")));
        QVERIFY(recorder.messages.at(0).prompt.contains(QStringLiteral("Declaracion Nro:D1")));
        QVERIFY(recorder.messages.at(1).prompt.startsWith(
            QStringLiteral("Ocurrio un error al calcular disponibilidad")));
        const stress::Consistency after = stress::check(db.database());
        const double linesOfA = [&] {
            QSqlQuery query(db.database());
            query.exec(QStringLiteral("select count(*) from DIP where EXTINT = 'A'"));
            query.next();
            return query.value(0).toDouble();
        }();
        if (atomic) {
            // Nothing written, the stock as the other operator left it, the result false.
            QCOMPARE(linesOfA, 0.0);
            QVERIFY2(after.holds(), qPrintable(after.summary()));
            QCOMPARE(after.subItems, before.subItems);
            QVERIFY(!state.dischargeResult);
        } else {
            // Each statement took effect: the lines stay, D1 of I1 and of I2 are
            // over-discharged, and their ARTDSC stays as the other operator's refresh set it.
            QCOMPARE(linesOfA, 5.0);
            QCOMPARE(after.overDischarged,
                     QStringList({QStringLiteral("D1/I1 discharged 62 of 60"),
                                  QStringLiteral("D1/I2 discharged 61 of 60")}));
            QVERIFY(!after.staleStock.isEmpty());
            QVERIFY(state.dischargeResult);
        }
    }
};

QTEST_GUILESS_MAIN(tst_ConcurrentDischarges)
#include "tst_ConcurrentDischarges.moc"
