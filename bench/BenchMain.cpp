// The component's benchmarks beside their floors: the same SQL run directly through the SQLite
// C interface with statements prepared once. Databases of 10k, 100k and 1M stock lines (or
// those listed in OQUIVRAN_BENCH_LINES) are generated into OQUIVRAN_BENCH_DATA once.
#include "BenchDatabase.h"
#include "BenchSession.h"
#include "FloorWork.h"

#include "ComparativeReport.h"
#include "ControlReport.h"
#include "DeclarationReport.h"
#include "DischargeSave.h"
#include "ModuleState.h"
#include "PgTestDatabase.h"
#include "ReportGenerator.h"
#include "StressDatabase.h"
#include "modManejoInsumos.h"

#include <oquivran/Module.h>
#include <oquivran/Recordset.h>
#include <oquivran/clQUIVRAN.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>

#include <sys/resource.h>
#include <unistd.h>

using namespace oquivran;

namespace {

QString dataFolder()
{
    const QString folder = qEnvironmentVariable("OQUIVRAN_BENCH_DATA");
    return folder.isEmpty() ? QStringLiteral(OQUIVRAN_BENCH_DATA_DIR) : folder;
}

struct Opened
{
    std::unique_ptr<BenchSession> session;
    std::unique_ptr<FloorWork> floor;
};

// Closed before main returns, while the module state and Qt's drivers still exist.
std::map<int, Opened> sessions;

// The session of a number of stock lines; a negative number is the same database on the
// PostgreSQL server.
Opened& opened(int lines)
{
    Opened& entry = sessions[lines];
    if (!entry.session) {
        entry.session = std::make_unique<BenchSession>(qAbs(lines), dataFolder(),
                                                       lines < 0 ? BenchSession::Server::PostgreSQL
                                                                 : BenchSession::Server::SQLite);
        entry.floor = std::make_unique<FloorWork>(entry.session->floorDischarge(),
                                                  entry.session->floorHost());
    }
    return entry;
}

// Messages shown while benchmarking: any is a failure of the benchmark's setup.
int messageCount = 0;
QString lastMessage;

bool failed(benchmark::State& state, bool ok, const char* what)
{
    if (ok && messageCount == 0)
        return false;
    const QString reason = QString::fromUtf8(what) + u": " + lastMessage;
    state.SkipWithError(qPrintable(reason));
    return true;
}

const QString benchOperation = QStringLiteral("BENCH");

QString product(int inputs)
{
    return QStringLiteral("P%1").arg(inputs);
}

// Relation lookup and allocation of a product, as the allocation screen opens.
bool openAllocation(int inputs)
{
    BenchSession::setSubItem(benchOperation, 1, product(inputs), 4);
    return modManejoInsumos::GetRIP() && modManejoInsumos::Obtener_INS_A_DIP();
}

// Takes the bench sub-item's lines out again and puts the stock lines they drew on back.
// Which connection undoes a save between timed runs: the one that ran the timed work.
enum class UndoOn { Floor, Component };

void undoSave(const BenchSession& session, const QList<DipCandidate>& lines,
              const QList<double>& available, UndoOn on)
{
    const auto exec = [&](const QString& sql) {
        if (on == UndoOn::Floor)
            session.floorExec(sql);
        else
            session.componentExec(sql);
    };
    exec(QStringLiteral("delete from DIP where EXTINT = 'BENCH'"));
    for (int i = 0; i < lines.size(); ++i) {
        const DipCandidate& line = lines.at(i);
        exec(QStringLiteral("update INS set ARTDSC = %1 where INTDCL = '%2' and "
                            "ARTNRO = '%3' and ARTITM = %4 and ARTSBT = %5")
                 .arg(available.at(i), 0, 'g', 17)
                 .arg(line.declaration, line.inputCode)
                 .arg(line.item)
                 .arg(line.subItem));
    }
}

void BM_Open(benchmark::State& state)
{
    Opened& o = opened(int(state.range(0)));
    o.session->bind(QStringLiteral("00.0000"));
    const int inputs = int(state.range(1));
    messageCount = 0;
    for (auto _ : state) {
        if (failed(state, openAllocation(inputs), "open"))
            break;
    }
    state.counters["lines"] = double(moduleState().candidateLines.size());
}

void BM_Open_floor(benchmark::State& state)
{
    Opened& o = opened(int(state.range(0)));
    const QString name = product(int(state.range(1)));
    int lines = 0;
    for (auto _ : state)
        lines = o.floor->openAllocation(name, 4);
    state.counters["lines"] = lines;
}

// Reads the ARTDSC of the candidate lines' stock lines, to put them back after a save.
QList<double> stockBefore(const QList<DipCandidate>& lines)
{
    QList<double> result;
    Recordset rs;
    for (const DipCandidate& line : lines) {
        moduleState().dataObject->setSql(
            QStringLiteral("select ARTDSC from INS where INTDCL = '%1' and ARTNRO = '%2' and "
                           "ARTITM = %3 and ARTSBT = %4")
                .arg(line.declaration, line.inputCode)
                .arg(line.item)
                .arg(line.subItem));
        moduleState().dataObject->open(rs);
        result.append(rs.value(QStringLiteral("ARTDSC")).toDouble());
    }
    return result;
}

// What the save benchmarks start from: an allocation of the product and the stock it draws on.
struct Saving
{
    Opened* opened = nullptr;
    QList<DipCandidate> lines;
    QList<double> before;
};

bool prepareSaving(benchmark::State& state, Saving& saving)
{
    saving.opened = &opened(int(state.range(0)));
    saving.opened->session->bind(QStringLiteral("00.0000"));
    messageCount = 0;
    if (failed(state, openAllocation(int(state.range(1))), "open"))
        return false;
    saving.lines = moduleState().candidateLines;
    saving.before = stockBefore(saving.lines);
    return true;
}

void BM_F11(benchmark::State& state)
{
    Saving saving;
    if (!prepareSaving(state, saving))
        return;
    Opened& o = *saving.opened;
    for (auto _ : state) {
        const bool saved = DischargeSave::run() == DischargeSave::Outcome::Saved;
        state.PauseTiming();
        undoSave(*o.session, saving.lines, saving.before, UndoOn::Component);
        state.ResumeTiming();
        if (failed(state, saved, "F11"))
            break;
    }
    state.counters["lines"] = double(saving.lines.size());
}

// Runs a floor benchmark of the save statements: timed and untimed work per iteration.
void floorSaving(benchmark::State& state,
                 const std::function<void(Opened&, const Saving&, const QString&)>& timed,
                 const std::function<void(Opened&, const Saving&, const QString&)>& untimed)
{
    Saving saving;
    if (!prepareSaving(state, saving))
        return;
    Opened& o = *saving.opened;
    const QString name = product(int(state.range(1)));
    for (auto _ : state) {
        timed(o, saving, name);
        state.PauseTiming();
        untimed(o, saving, name);
        state.ResumeTiming();
    }
    undoSave(*o.session, saving.lines, saving.before, UndoOn::Floor);
    state.counters["lines"] = double(saving.lines.size());
}

// F11 with atomic writes on: the lines, the refresh and the totals in one unit, one commit.
void BM_F11_atomic(benchmark::State& state)
{
    setAtomicWrites(true);
    BM_F11(state);
    setAtomicWrites(false);
}

// F11 with atomic writes and the audit trail on: the same unit, with a row for each line
// written and each stock line refreshed. The trail's rows are removed with the lines between
// iterations (the bench's copy of the table lets them be deleted).
void BM_F11_audit(benchmark::State& state)
{
    Saving saving;
    if (!prepareSaving(state, saving))
        return;
    Opened& o = *saving.opened;
    o.session->createAuditTrail();
    setAtomicWrites(true);
    setAuditTrail(true);
    for (auto _ : state) {
        const bool saved = DischargeSave::run() == DischargeSave::Outcome::Saved;
        state.PauseTiming();
        undoSave(*o.session, saving.lines, saving.before, UndoOn::Component);
        o.session->componentExec(QStringLiteral("delete from DIPAUD"));
        state.ResumeTiming();
        if (failed(state, saved, "F11 with the audit trail"))
            break;
    }
    setAtomicWrites(false);
    state.counters["lines"] = double(saving.lines.size());
}

void BM_F11_floor(benchmark::State& state)
{
    floorSaving(
        state,
        [](Opened& o, const Saving& s, const QString& name) {
            o.floor->save(benchOperation, 1, name, s.lines);
        },
        [](Opened& o, const Saving& s, const QString&) {
            undoSave(*o.session, s.lines, s.before, UndoOn::Floor);
        });
}

void BM_EliminarInsumo(benchmark::State& state)
{
    Saving saving;
    if (!prepareSaving(state, saving))
        return;
    Opened& o = *saving.opened;
    clQUIVRAN component;
    for (auto _ : state) {
        state.PauseTiming();
        moduleState().candidateLines = saving.lines;
        const bool saved = DischargeSave::run() == DischargeSave::Outcome::Saved;
        state.ResumeTiming();
        const bool removed = component.EliminarInsumo();
        if (failed(state, saved && removed, "EliminarInsumo"))
            break;
    }
    undoSave(*o.session, saving.lines, saving.before, UndoOn::Component);
    state.counters["lines"] = double(saving.lines.size());
}

void BM_EliminarInsumo_floor(benchmark::State& state)
{
    // The save that the removal takes out is made untimed, after the first removal.
    floorSaving(
        state,
        [](Opened& o, const Saving&, const QString& name) {
            o.floor->eliminate(benchOperation, 1, name);
        },
        [](Opened& o, const Saving& s, const QString& name) {
            o.floor->save(benchOperation, 1, name, s.lines);
        });
}

const ReportKind& reportKind(int kind)
{
    static const DeclarationReport declaration;
    static const ControlReport control;
    static const ComparativeReport comparative;
    if (kind == 0)
        return declaration;
    if (kind == 1)
        return control;
    return comparative;
}

// The per-sub-item figure of a benchmark over `subItems` sub-items.
void perSubItem(benchmark::State& state, int subItems)
{
    state.counters["per_subitem"] =
        benchmark::Counter(double(subItems), benchmark::Counter::kIsIterationInvariantRate |
                                                 benchmark::Counter::kInvert);
}

// False, with the benchmark skipped, when the database has no operation of that many sub-items.
bool hasOperation(benchmark::State& state, int subItems)
{
    // The cases on PostgreSQL carry their number of stock lines negated.
    if (BenchDatabase::reportSizes(std::abs(int(state.range(0)))).contains(subItems))
        return true;
    state.SkipWithError("no operation of that many sub-items at this size");
    return false;
}

void BM_Report(benchmark::State& state)
{
    if (!hasOperation(state, int(state.range(2))))
        return;
    Opened& o = opened(int(state.range(0)));
    o.session->bind(QStringLiteral("00.000000"));
    moduleState().INTERNO = QStringLiteral("R%1").arg(state.range(2));
    const ReportGenerator generator(reportKind(int(state.range(1))));
    messageCount = 0;
    for (auto _ : state) {
        if (failed(state, generator.GenerarOM(), "report"))
            break;
    }
    state.counters["lines"] = double(moduleState().reportLines.size());
    perSubItem(state, int(state.range(2)));
}

// Runs a floor of the reports: the text as written, or one index lookup per branch.
void reportFloor(benchmark::State& state,
                 int (FloorWork::*report)(const ReportKind&, const QString&))
{
    if (!hasOperation(state, int(state.range(2))))
        return;
    Opened& o = opened(int(state.range(0)));
    const QString interno = QStringLiteral("R%1").arg(state.range(2));
    const ReportKind& kind = reportKind(int(state.range(1)));
    int rows = 0;
    for (auto _ : state)
        rows = (o.floor.get()->*report)(kind, interno);
    state.counters["rows"] = rows;
    perSubItem(state, int(state.range(2)));
}

void BM_Report_floor(benchmark::State& state)
{
    reportFloor(state, &FloorWork::report);
}

void BM_Report_lookups(benchmark::State& state)
{
    reportFloor(state, &FloorWork::reportByLookups);
}

// EnviarNroItem over the 1,000 sub-items of R1000, as a host numbers them: item k over
// sub-items 2k - 1 and 2k. The items are those the operation already has, so every run leaves
// the database as it found it.
void BM_EnviarNroItem(benchmark::State& state)
{
    Opened& o = opened(int(state.range(0)));
    o.session->bind(QStringLiteral("00.000000"));
    clQUIVRAN component;
    component.INTERNO(QStringLiteral("R1000"));
    messageCount = 0;
    for (auto _ : state) {
        bool numbered = true;
        for (qint16 item = 1; item <= 500 && numbered; ++item)
            numbered = component.EnviarNroItem(
                item, QStringLiteral("%1|%2").arg(2 * item - 1).arg(2 * item));
        if (failed(state, numbered, "EnviarNroItem"))
            break;
    }
    perSubItem(state, 1000);
}

void numberItemsFloor(benchmark::State& state, FloorWork::NumberingPlan plan)
{
    Opened& o = opened(int(state.range(0)));
    int lines = 0;
    for (auto _ : state)
        lines = o.floor->numberItems(QStringLiteral("R1000"), 500, plan);
    state.counters["lines"] = lines;
    perSubItem(state, 1000);
}

void BM_EnviarNroItem_floor(benchmark::State& state)
{
    numberItemsFloor(state, FloorWork::NumberingPlan::AsWritten);
}

void BM_EnviarNroItem_lookups(benchmark::State& state)
{
    numberItemsFloor(state, FloorWork::NumberingPlan::Lookups);
}

void BM_Obtener_Insumos(benchmark::State& state)
{
    Opened& o = opened(int(state.range(0)));
    o.session->bind(QStringLiteral("00.0000"));
    clQUIVRAN component;
    component.INTERNO(QStringLiteral("R100"));
    Recordset rs;
    messageCount = 0;
    for (auto _ : state) {
        if (failed(state, component.Obtener_Insumos(7, rs), "Obtener_Insumos"))
            break;
    }
    state.counters["rows"] = rs.recordCount();
}

void BM_Obtener_Insumos_floor(benchmark::State& state)
{
    Opened& o = opened(int(state.range(0)));
    int rows = 0;
    for (auto _ : state)
        rows = o.floor->itemInputs(QStringLiteral("R100"), 7);
    state.counters["rows"] = rows;
}

// CPU time in seconds: of this process's children that ended (the workers), and of the
// PostgreSQL server's processes on this machine, the ended backends included (their time is
// the postmaster's children's).
double childrenCpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double serverCpuSeconds()
{
    double ticks = 0;
    const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& pid : processes) {
        QFile stat(u"/proc/" + pid + u"/stat");
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray line = stat.readAll();
        const qsizetype close = line.lastIndexOf(')');
        if (close < 0 || !line.left(close).endsWith("(postgres"))
            continue;
        // Fields after the name, from the state (field 3): utime 14, stime 15, cutime 16,
        // cstime 17.
        const QList<QByteArray> fields = line.mid(close + 2).split(' ');
        if (fields.size() > 14)
            for (int field = 11; field <= 14; ++field)
                ticks += fields.at(field).toDouble();
    }
    return ticks / double(sysconf(_SC_CLK_TCK));
}

// Worker processes discharging at once, atomic writes on (stress_worker): each discharges 50
// one-unit sub-items from a stock that covers about half of them. The stock is one SQLite
// file, or (onServer, PG_*) a schema of its own on the PostgreSQL server named by
// $OQUIVRAN_BENCH_POSTGRESQL. Shared: the operators draw on the same inputs (Throughput);
// else each has inputs of its own (Throughput_disjoint). The time is the wall time from
// starting the processes to the last one ending (process start-up included); the counters
// are the accepted discharges per second, the share refused, the 95th percentile and the
// maximum of the time from F11 to the result (the whole discharge as the operator waits for
// it), the 95th percentile of the time a unit waited for other operators' units, and the CPU
// seconds of the workers and of the server per second of wall time.
void BM_Throughput(benchmark::State& state, bool onServer, bool shared)
{
    const int processes = int(state.range(0));
    const int perProcess = 50;
    int accepted = 0;
    int attempts = 0;
    QList<qint64> waits;
    QList<qint64> times;
    double clientCpu = 0;
    double serverCpu = 0;
    double wall = 0;
    const QString settings = qEnvironmentVariable("OQUIVRAN_BENCH_POSTGRESQL");
    const QString schema =
        QStringLiteral("throughput_%1%2").arg(processes).arg(shared ? "" : "_disjoint");
    const QString connection = QStringLiteral("throughput");
    // Schema statements, which the server does not prepare.
    const auto administer = [](const QSqlDatabase& db, const QString& sql) {
        QSqlQuery query(db);
        if (!query.exec(sql))
            qFatal("%s: %s", qPrintable(sql), qPrintable(query.lastError().text()));
    };
    for (auto _ : state) {
        QTemporaryDir folder;
        QString location = folder.filePath(QStringLiteral("stock.sqlite"));
        {
            QSqlDatabase db;
            if (onServer) {
                db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connection);
                PgTestDatabase::configure(db, settings.simplified().split(u' '));
                location = settings.simplified() + u" search_path=" + schema;
            } else {
                db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
                db.setDatabaseName(location);
            }
            if (!db.open()) {
                state.SkipWithError("cannot open the stock");
                break;
            }
            if (onServer) {
                administer(db, QStringLiteral("set client_min_messages to warning"));
                administer(db, u"drop schema if exists " + schema + u" cascade");
                administer(db, u"create schema " + schema);
                administer(db, u"set search_path to " + schema);
            }
            if (shared) {
                // A sub-item needs on average 1 unit of I1, 1 of I2, 2/3 of I3 and 2/3 of I4
                // (one unit of P1, P2 or P3 at random): the stock holds half of that.
                const double share = processes * perProcess / 4.0;
                stress::seed(db, {{QStringLiteral("I1"), share * 2},
                                  {QStringLiteral("I2"), share * 2},
                                  {QStringLiteral("I3"), share * 4 / 3},
                                  {QStringLiteral("I4"), share * 4 / 3}});
            } else {
                stress::seedDisjoint(db, processes, perProcess / 2.0);
            }
            db.close();
        }
        QSqlDatabase::removeDatabase(connection);
        const double clientBefore = childrenCpuSeconds();
        const double serverBefore = onServer ? serverCpuSeconds() : 0;
        QElapsedTimer timer;
        timer.start();
        QList<QProcess*> running;
        for (int p = 1; p <= processes; ++p)
            running << stress::startWorker(QStringLiteral(OQUIVRAN_STRESS_WORKER), location,
                                           QStringLiteral("T%1").arg(p), perProcess, p, true, 0,
                                           shared ? QString() : QStringLiteral("Q%1").arg(p));
        for (QProcess* process : running) {
            process->waitForFinished(300000);
            for (const stress::Attempt& attempt :
                 stress::attempts(process->readAllStandardOutput())) {
                ++attempts;
                accepted += attempt.accepted ? 1 : 0;
                times.append(attempt.microseconds);
                // Attempts refused before writing (the proposal fell short) open no unit.
                if (attempt.lockWaitMicroseconds > 0)
                    waits.append(attempt.lockWaitMicroseconds);
            }
            delete process;
        }
        const double seconds = double(timer.nsecsElapsed()) / 1e9;
        state.SetIterationTime(seconds);
        wall += seconds;
        clientCpu += childrenCpuSeconds() - clientBefore;
        if (onServer) {
            // The backends have ended by now: their time is counted.
            QThread::msleep(100);
            serverCpu += serverCpuSeconds() - serverBefore;
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connection);
            PgTestDatabase::configure(db, settings.simplified().split(u' '));
            if (db.open()) {
                administer(db, QStringLiteral("set client_min_messages to warning"));
                administer(db, u"drop schema " + schema + u" cascade");
            }
            db.close();
        }
        QSqlDatabase::removeDatabase(connection);
    }
    const auto percentile = [](QList<qint64> values, double share) {
        std::sort(values.begin(), values.end());
        return values.isEmpty()
                   ? 0.0
                   : double(values.at(qMin(values.size() - 1, qsizetype(values.size() * share)))) /
                         1000;
    };
    state.counters["accepted_per_s"] =
        benchmark::Counter(double(accepted), benchmark::Counter::kIsRate);
    state.counters["refused_share"] = attempts ? double(attempts - accepted) / attempts : 0;
    state.counters["f11_p95_ms"] = percentile(times, 0.95);
    state.counters["f11_max_ms"] = percentile(times, 1.0);
    state.counters["lock_wait_p95_ms"] = percentile(waits, 0.95);
    state.counters["client_cpu"] = wall > 0 ? clientCpu / wall : 0;
    if (onServer)
        state.counters["server_cpu"] = wall > 0 ? serverCpu / wall : 0;
}

QList<int> sizes()
{
    QList<int> result;
    const QString listed = qEnvironmentVariable("OQUIVRAN_BENCH_LINES");
    for (const QString& part :
         (listed.isEmpty() ? QStringLiteral("10000,100000,1000000") : listed).split(u','))
        result.append(part.trimmed().toInt());
    return result;
}

void registerAll()
{
    using Function = void (*)(benchmark::State&);
    const struct
    {
        const char* name;
        Function component;
        Function floor;
        // The hand-written best plan beside the floor; null when the floor is that already.
        Function lookups;
        QList<QList<int>> args;
    } groups[] = {
        {"Open", BM_Open, BM_Open_floor, nullptr, {{10}, {100}, {500}}},
        {"F11", BM_F11, BM_F11_floor, nullptr, {{10}, {100}, {500}}},
        // Compared with the floor of F11.
        {"F11_atomic", BM_F11_atomic, nullptr, nullptr, {{100}}},
        // Compared with F11_atomic.
        {"F11_audit", BM_F11_audit, nullptr, nullptr, {{100}}},
        {"EliminarInsumo", BM_EliminarInsumo, BM_EliminarInsumo_floor, nullptr, {{100}}},
        {"Report",
         BM_Report,
         BM_Report_floor,
         BM_Report_lookups,
         {{0, 10},
          {0, 100},
          {0, 1000},
          {0, 5000},
          {1, 10},
          {1, 100},
          {1, 1000},
          {1, 5000},
          {2, 10},
          {2, 100},
          {2, 1000},
          {2, 5000}}},
        {"Obtener_Insumos", BM_Obtener_Insumos, BM_Obtener_Insumos_floor, nullptr, {{}}},
        {"EnviarNroItem", BM_EnviarNroItem, BM_EnviarNroItem_floor, BM_EnviarNroItem_lookups, {{}}},
    };
    // The cases measured on PostgreSQL too, beside floors on libpq, when a server is named
    // ($OQUIVRAN_BENCH_POSTGRESQL): opening and F11 of 100 inputs and the sworn declaration of
    // 1,000 sub-items, with the stock lines listed in OQUIVRAN_BENCH_PG_LINES.
    if (!qEnvironmentVariableIsEmpty("OQUIVRAN_BENCH_POSTGRESQL")) {
        const QString listed = qEnvironmentVariable("OQUIVRAN_BENCH_PG_LINES");
        for (const auto& group : groups) {
            QList<QList<int>> args;
            if (qstrcmp(group.name, "Open") == 0 || qstrcmp(group.name, "F11") == 0 ||
                qstrcmp(group.name, "F11_atomic") == 0 || qstrcmp(group.name, "F11_audit") == 0)
                args = {{100}};
            else if (qstrcmp(group.name, "Report") == 0)
                args = {{0, 1000}};
            for (const QList<int>& a : args) {
                for (const QString& part :
                     (listed.isEmpty() ? QStringLiteral("100000,1000000") : listed).split(u',')) {
                    for (const bool floor : {false, true}) {
                        if (floor && !group.floor)
                            continue;
                        const std::string name =
                            std::string("PG_") + group.name + (floor ? "_floor" : "");
                        auto* b = benchmark::RegisterBenchmark(
                            name.c_str(), floor ? group.floor : group.component);
                        std::vector<int64_t> all = {-part.trimmed().toInt()};
                        for (const int value : a)
                            all.push_back(value);
                        b->Args(all)->Unit(benchmark::kMillisecond);
                    }
                }
            }
        }
    }
    // The same operators on SQLite and, when a server is named, on PostgreSQL (PG_*), on one
    // shared stock and on inputs of their own.
    for (const bool onServer : {false, true}) {
        if (onServer && qEnvironmentVariableIsEmpty("OQUIVRAN_BENCH_POSTGRESQL"))
            continue;
        for (const bool shared : {true, false}) {
            const std::string name =
                std::string(onServer ? "PG_" : "") + "Throughput" + (shared ? "" : "_disjoint");
            for (const int processes : {1, 2, 4, 8, 16})
                benchmark::RegisterBenchmark(name.c_str(), BM_Throughput, onServer, shared)
                    ->Arg(processes)
                    ->UseManualTime()
                    ->Iterations(1)
                    ->Unit(benchmark::kMillisecond);
        }
    }
    // The sizes of one case run one after the other, so its growth compares figures taken
    // minutes apart at most.
    for (const auto& group : groups) {
        for (const QList<int>& args : group.args) {
            for (const int lines : sizes()) {
                const std::pair<const char*, Function> runs[] = {
                    {"", group.component}, {"_floor", group.floor}, {"_lookups", group.lookups}};
                for (const auto& [suffix, function] : runs) {
                    if (!function)
                        continue;
                    const std::string name = std::string(group.name) + suffix;
                    auto* b = benchmark::RegisterBenchmark(name.c_str(), function);
                    std::vector<int64_t> all = {lines};
                    for (const int a : args)
                        all.push_back(a);
                    b->Args(all)->Unit(benchmark::kMillisecond);
                }
            }
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    setMessageHandler([](const QString& prompt, int, const QString&) {
        ++messageCount;
        lastMessage = prompt;
        return int(AnswerOk);
    });
    benchmark::Initialize(&argc, argv);
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    sessions.clear();
    return 0;
}
