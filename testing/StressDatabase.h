#pragma once

#include "Schema.h"
#include "StartProgram.h"
#include "TestStatement.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QMap>
#include <QProcess>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QVariant>

// The shared stock of the multi-process discharge tests and benchmarks: one SQLite file that
// worker processes (stress_worker) discharge from, and the invariants read back from its
// tables alone. Products P1 to P3 of catalog "C" use inputs I1 to I4; each input's stock lies
// on three declarations of different dates.
namespace stress {

// Units of each input per unit of product.
inline const QMap<QString, QMap<QString, double>>& relations()
{
    static const QMap<QString, QMap<QString, double>> table = {
        {QStringLiteral("P1"), {{QStringLiteral("I1"), 2}, {QStringLiteral("I2"), 1}}},
        {QStringLiteral("P2"), {{QStringLiteral("I2"), 2}, {QStringLiteral("I3"), 1}}},
        {QStringLiteral("P3"),
         {{QStringLiteral("I3"), 1}, {QStringLiteral("I4"), 2}, {QStringLiteral("I1"), 1}}},
    };
    return table;
}

// Runs a statement of the stock; a failure ends the run.
inline void run(const QSqlDatabase& db, const QString& sql, const QVariantList& values = {})
{
    TestStatement::run(db, sql, values, "stress");
}

// Creates the tables and the stock. perInput is each input's stock, split 30/35/35 over the
// declarations D1 (oldest) to D3.
inline void seed(const QSqlDatabase& db, const QMap<QString, double>& perInput)
{
    oquivran::Schema::create(db, oquivran::Schema::Database::Discharge);
    const QStringList declarations = {QStringLiteral("D1"), QStringLiteral("D2"),
                                      QStringLiteral("D3")};
    const QList<double> shares = {0.30, 0.35, 0.35};
    for (int d = 0; d < 3; ++d)
        run(db,
            "insert into INTINS (INTDCL, INTFOF, INTIOK, INTVEN, INTADU, INTCTC) "
            "values (?, ?, 1, '2030-12-31', '001', '')",
            {declarations.at(d), QStringLiteral("2026-0%1-01").arg(d + 1)});
    for (auto input = perInput.cbegin(); input != perInput.cend(); ++input) {
        double left = input.value();
        for (int d = 0; d < 3; ++d) {
            const double quantity = d == 2 ? left : double(qRound(input.value() * shares.at(d)));
            left -= quantity;
            run(db,
                "insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC, ARTPRE, ARTNCM, "
                "ARTCTC, INSEXP) values (?, ?, 1, 1, ?, ?, 1.5, '1234.56.78', 'CTC1', '')",
                {declarations.at(d), input.key(), quantity, quantity});
        }
    }
    for (auto product = relations().cbegin(); product != relations().cend(); ++product) {
        run(db, "insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('C', ?, 1)", {product.key()});
        for (auto input = product.value().cbegin(); input != product.value().cend(); ++input)
            run(db,
                "insert into RIP (CATNRO, PRDNRO, ARTNRO, RPADES, RIPCAN, RIPMER, RIPPER, TRPMER, "
                "TRPPER, DIPOBL) values ('C', ?, ?, 'Insumo', ?, 0, 0, 0, 0, 0)",
                {product.key(), input.key(), input.value()});
    }
}

// A stock where no two operators share an input: operator k discharges product Qk, one unit
// of input Jk per unit, from perOperator units of Jk split over the declarations D1 to D3.
inline void seedDisjoint(const QSqlDatabase& db, int operators, double perOperator)
{
    oquivran::Schema::create(db, oquivran::Schema::Database::Discharge);
    for (int d = 1; d <= 3; ++d)
        run(db,
            "insert into INTINS (INTDCL, INTFOF, INTIOK, INTVEN, INTADU, INTCTC) "
            "values (?, ?, 1, '2030-12-31', '001', '')",
            {QStringLiteral("D%1").arg(d), QStringLiteral("2026-0%1-01").arg(d)});
    for (int k = 1; k <= operators; ++k) {
        const QString input = QStringLiteral("J%1").arg(k);
        for (int d = 1; d <= 3; ++d) {
            const double quantity = d < 3 ? double(qRound(perOperator / 3))
                                          : perOperator - 2 * double(qRound(perOperator / 3));
            run(db,
                "insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC, ARTPRE, ARTNCM, "
                "ARTCTC, INSEXP) values (?, ?, 1, 1, ?, ?, 1.5, '1234.56.78', 'CTC1', '')",
                {QStringLiteral("D%1").arg(d), input, quantity, quantity});
        }
        run(db, "insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('C', ?, 1)",
            {QStringLiteral("Q%1").arg(k)});
        run(db,
            "insert into RIP (CATNRO, PRDNRO, ARTNRO, RPADES, RIPCAN, RIPMER, RIPPER, TRPMER, "
            "TRPPER, DIPOBL) values ('C', ?, ?, 'Insumo', 1, 0, 0, 0, 0, 0)",
            {QStringLiteral("Q%1").arg(k), input});
    }
}

// What the tables show, read in one snapshot.
struct Consistency
{
    QStringList staleStock;     // ARTDSC differs from ARTCAT minus the sum of its discharges
    QStringList overDischarged; // the discharges of a stock line exceed ARTCAT
    QStringList halfWritten;    // a sub-item whose lines are not an allocation of its relation
    QSet<QString> subItems;     // "operation/sub-item" of every sub-item with lines

    bool holds() const
    {
        return staleStock.isEmpty() && overDischarged.isEmpty() && halfWritten.isEmpty();
    }
    QString summary() const
    {
        return (staleStock + overDischarged + halfWritten).join(QStringLiteral("; "));
    }
};

// Whether the lines of one input are an allocation of required units: stock lines taken
// whole while they fall short, then a completing line with the rest. When the completing
// line's stock is exactly the rest, the allocation writes the whole running total on it
// instead; the stock check refuses that line unless the stock grew after the proposal
// (another operator's removal), so such a sub-item can be written with more than required.
inline bool allocated(const QList<double>& lines, double required)
{
    if (lines.isEmpty())
        return false;
    double taken = 0;
    for (qsizetype i = 0; i + 1 < lines.size(); ++i)
        taken += lines.at(i);
    const double last = lines.last();
    return taken < required && (taken + last == required || (lines.size() > 1 && last == required));
}

// Reads the invariants: for every stock line ARTDSC = ARTCAT - sum(DIPCAN) and
// sum(DIPCAN) <= ARTCAT; every sub-item with lines has, for each input of its product's
// relation, lines that allocate the relation's quantity (one unit of product), and no other.
inline Consistency check(QSqlDatabase db)
{
    Consistency result;
    QSqlQuery query(db);
    // One read transaction: the workers' units commit meanwhile without being half seen.
    if (!query.exec(QStringLiteral("begin")))
        qFatal("stress check: %s", qPrintable(query.lastError().text()));
    query.exec(QStringLiteral(
        "select INS.INTDCL || '/' || INS.ARTNRO, INS.ARTCAT, INS.ARTDSC, "
        "coalesce((select sum(DIPCAN) from DIP where DIP.ARTDCL = INS.INTDCL and "
        "DIP.ARTNRO = INS.ARTNRO and DIP.ARTITM = INS.ARTITM and DIP.ARTSBT = INS.ARTSBT), 0) "
        "from INS order by INS.ARTNRO, INS.INTDCL"));
    while (query.next()) {
        const QString line = query.value(0).toString();
        const double declared = query.value(1).toDouble();
        const double available = query.value(2).toDouble();
        const double discharged = query.value(3).toDouble();
        if (available != declared - discharged)
            result.staleStock << QStringLiteral("%1 ARTDSC %2, ARTCAT %3 - %4")
                                     .arg(line)
                                     .arg(available)
                                     .arg(declared)
                                     .arg(discharged);
        if (discharged > declared)
            result.overDischarged
                << QStringLiteral("%1 discharged %2 of %3").arg(line).arg(discharged).arg(declared);
    }
    // Each line, in the order the allocation takes the stock (declarations D1 to D3 are
    // dated in that order).
    query.exec(QStringLiteral("select EXTINT || '/' || EXTSBT, PRDNRO, ARTNRO, DIPCAN from DIP "
                              "order by EXTINT, EXTSBT, ARTNRO, ARTDCL"));
    QHash<QString, QStringList> products;
    QHash<QString, QMap<QString, QList<double>>> inputs;
    while (query.next()) {
        const QString subItem = query.value(0).toString();
        const QString product = query.value(1).toString();
        if (!products[subItem].contains(product))
            products[subItem] << product;
        inputs[subItem][query.value(2).toString()] << query.value(3).toDouble();
    }
    query.exec(QStringLiteral("commit"));
    for (auto it = inputs.cbegin(); it != inputs.cend(); ++it) {
        result.subItems.insert(it.key());
        const QStringList& ofSubItem = products.value(it.key());
        const QMap<QString, double> required =
            ofSubItem.size() == 1 ? relations().value(ofSubItem.first()) : QMap<QString, double>();
        bool whole = it.value().keys() == required.keys();
        for (auto input = it.value().cbegin(); whole && input != it.value().cend(); ++input)
            whole = allocated(input.value(), required.value(input.key()));
        if (whole)
            continue;
        // Only a failing sub-item's lines are spelled out: the check runs after every kill.
        QStringList written;
        for (auto input = it.value().cbegin(); input != it.value().cend(); ++input) {
            QStringList quantities;
            for (double quantity : input.value())
                quantities << QString::number(quantity);
            written << input.key() + u' ' + quantities.join(u'+');
        }
        result.halfWritten << it.key() + u' ' + ofSubItem.join(u',') + u" (" +
                                  written.join(QStringLiteral(", ")) + u')';
    }
    return result;
}

// One line a worker printed.
struct Attempt
{
    QString kind;    // "discharge" or "remove"
    QString subItem; // "operation/sub-item"
    QString product;
    bool accepted = false;
    qint64 lockWaitMicroseconds = 0; // waiting for other operators' units to start
    qint64 microseconds = 0;         // the whole attempt, as the operator waits for it
};

// The lines a worker printed so far; a last line cut by a kill is left out.
inline QList<Attempt> attempts(const QByteArray& output)
{
    QList<Attempt> result;
    const QList<QByteArray> lines = output.split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> fields = line.split(' ');
        if (fields.size() != 7 || (fields.at(0) != "discharge" && fields.at(0) != "remove"))
            continue;
        result.append({QString::fromUtf8(fields.at(0)),
                       QString::fromUtf8(fields.at(1) + '/' + fields.at(2)),
                       QString::fromUtf8(fields.at(3)), fields.at(4) == "accepted",
                       fields.at(5).toLongLong(), fields.at(6).toLongLong()});
    }
    return result;
}

// The messages a worker showed (its error output), one per line.
inline QStringList messages(const QByteArray& errors)
{
    QStringList result;
    for (const QByteArray& line : errors.split('\n')) {
        if (line.startsWith("message: "))
            result << QString::fromUtf8(line.mid(9));
    }
    return result;
}

// Whether a message refuses a discharge for want of stock, in the system's words: the
// allocation fell short, or the stock check found a line over-discharged (the completing line
// of an allocation may carry the whole running total). The check's message is followed by
// the save's "Ocurrio un error al calcular disponibilidad", which isStockFollowUp() tells.
inline bool isStockMessage(const QString& message)
{
    return message.startsWith(QStringLiteral("Cantidad insuficiente en stock para el insumo ")) ||
           (message.startsWith(QStringLiteral("El articulo ")) &&
            message.contains(QStringLiteral(" no existe en stock, o no hay disponibilidad."))) ||
           message.startsWith(
               QStringLiteral("ERROR inconsistencia en la cantidad total disponible del insumo."));
}
inline bool isStockFollowUp(const QString& message)
{
    return message.startsWith(QStringLiteral("Ocurrio un error al calcular disponibilidad"));
}

// Whether a message tells the operator of another operator's unit: a conflict or a wait that
// ran out.
inline bool isConflictMessage(const QString& message)
{
    return message.contains(QStringLiteral("could not serialize")) ||
           message.contains(QStringLiteral("deadlock detected")) ||
           message.contains(QStringLiteral("lock timeout")) ||
           message.contains(QStringLiteral("database is locked"));
}

// The stock lines whose audit trail does not replay to them: ARTDSC must be ARTCAT less what
// the rows of their lines record ("DIP alta" from 0 to the quantity, "DIP baja" back to 0),
// and the last availability a row records. Read in one snapshot.
inline QStringList auditMismatches(QSqlDatabase db)
{
    QStringList mismatches;
    QSqlQuery query(db);
    if (!query.exec(QStringLiteral("begin")))
        qFatal("stress audit check: %s", qPrintable(query.lastError().text()));
    const QString sameLine = QStringLiteral(
        "a.INTDCL = INS.INTDCL and a.ARTNRO = INS.ARTNRO and a.ARTITM = INS.ARTITM and "
        "a.ARTSBT = INS.ARTSBT");
    if (!query.exec(QStringLiteral("select INS.INTDCL || '/' || INS.ARTNRO, INS.ARTCAT, "
                                   "INS.ARTDSC, coalesce((select sum(a.AUDNUE - a.AUDANT) from "
                                   "DIPAUD a where a.AUDQUE in ('DIP alta', 'DIP baja') and ") +
                    sameLine +
                    QStringLiteral("), 0), (select a.AUDNUE from DIPAUD a where a.AUDQUE = "
                                   "'INS.ARTDSC' and ") +
                    sameLine + QStringLiteral(" order by a.AUDNRO desc limit 1) from INS")))
        qFatal("stress audit check: %s", qPrintable(query.lastError().text()));
    while (query.next()) {
        const double declared = query.value(1).toDouble();
        const double available = query.value(2).toDouble();
        const double recorded = query.value(3).toDouble();
        if (available != declared - recorded)
            mismatches << QStringLiteral("%1 ARTDSC %2, ARTCAT %3 - audited %4")
                              .arg(query.value(0).toString())
                              .arg(available)
                              .arg(declared)
                              .arg(recorded);
        if (!query.value(4).isNull() && query.value(4).toDouble() != available)
            mismatches << QStringLiteral("%1 ARTDSC %2, last audited %3")
                              .arg(query.value(0).toString())
                              .arg(available)
                              .arg(query.value(4).toDouble());
    }
    query.exec(QStringLiteral("commit"));
    return mismatches;
}

// How many audit rows the stock holds.
inline int auditRowCount(const QSqlDatabase& db)
{
    QSqlQuery query(db);
    return query.exec(QStringLiteral("select count(*) from DIPAUD")) && query.next()
               ? query.value(0).toInt()
               : -1;
}

// Starts a worker (see stress_worker.cpp) on file; its error output holds the messages.
inline QProcess* startWorker(const QString& program, const QString& file, const QString& operation,
                             int subItems, int seed, bool atomic, int removalShare,
                             const QString& products = QString())
{
    auto* process = new QProcess;
    QStringList arguments = {file,
                             operation,
                             QString::number(subItems),
                             QString::number(seed),
                             atomic ? QStringLiteral("1") : QStringLiteral("0"),
                             QString::number(removalShare)};
    if (!products.isEmpty())
        arguments << products;
    startProgram(*process, program, arguments);
    return process;
}

// Waits for a worker to end, until the deadline at most; true when it has ended, now or before
// the call. QProcess::waitForFinished gives false for a process whose end was already seen,
// which happens under Wine while another worker is being waited for.
inline bool waitForEnd(QProcess& process, QDeadlineTimer deadline)
{
    if (process.state() == QProcess::NotRunning)
        return true;
    process.waitForFinished(int(qMax<qint64>(deadline.remainingTime(), 0)));
    return process.state() == QProcess::NotRunning;
}

// A worker's state, error and arguments, for a failure's message.
inline QString describe(const QProcess& process)
{
    return QStringLiteral("state %1, error %2 (%3): %4")
        .arg(int(process.state()))
        .arg(int(process.error()))
        .arg(process.errorString(), process.arguments().join(u' '));
}

} // namespace stress
