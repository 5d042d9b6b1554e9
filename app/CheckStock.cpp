#include "CheckStock.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStringList>
#include <QVariant>

namespace {

struct RequiredTable
{
    const char* name;
    const char* what;
    QStringList columns;
};

const RequiredTable requiredTables[] = {
    {"INS", "de stock", {"INTDCL", "ARTNRO", "ARTITM", "ARTSBT", "ARTCAT", "ARTDSC"}},
    {"DIP", "de descargas", {"ARTDCL", "ARTNRO", "ARTITM", "ARTSBT", "DIPCAN", "EXTINT"}},
};

} // namespace

CheckStock::CheckStock(const QSqlDatabase& discharge) : m_discharge(discharge) {}

QString CheckStock::problem() const
{
    if (!m_discharge.isOpen())
        return QStringLiteral("la base no está abierta");
    if (m_discharge.driverName() == u"QSQLITE") {
        // A file that is not a database fails at its first read; a damaged one fails the check.
        QSqlQuery check(m_discharge);
        if (!check.exec(QStringLiteral("PRAGMA quick_check")))
            return QStringLiteral("no es una base de datos SQLite o está dañada (%1)")
                .arg(check.lastError().databaseText());
        QStringList damage;
        while (check.next()) {
            const QString line = check.value(0).toString();
            if (line != u"ok")
                damage << line.simplified();
        }
        if (!damage.isEmpty())
            return QStringLiteral("la base está dañada: %1").arg(damage.mid(0, 3).join(u"; "));
    }
    QStringList names;
    for (const QString& name : m_discharge.tables())
        names << name.toUpper();
    if (names.isEmpty())
        return QStringLiteral("la base está vacía: no tiene tablas");
    for (const RequiredTable& table : requiredTables) {
        const QString name = QString::fromLatin1(table.name);
        const qsizetype found = names.indexOf(name);
        if (found < 0)
            return QStringLiteral("falta la tabla %1 %2").arg(QString::fromUtf8(table.what), name);
        const QSqlRecord record = m_discharge.record(m_discharge.tables().at(found));
        QStringList columns;
        for (int c = 0; c < record.count(); ++c)
            columns << record.fieldName(c).toUpper();
        for (const QString& column : table.columns) {
            if (!columns.contains(column))
                return QStringLiteral("a la tabla %1 le falta la columna %2").arg(name, column);
        }
    }
    return QString();
}

int CheckStock::stockLineCount() const
{
    QSqlQuery count(m_discharge);
    count.exec(QStringLiteral("select count(*) from INS"));
    return count.next() ? count.value(0).toInt() : 0;
}

bool CheckStock::readStockLines(const QString& columns, const QString& joins,
                                const std::function<void(const QSqlQuery&, StockLine)>& visit,
                                QString& error, const Progress& progress) const
{
    const int total = stockLineCount();
    QSqlQuery query(m_discharge);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("select INS.INTDCL, INS.ARTNRO, INS.ARTITM, INS.ARTSBT, "
                                   "INS.ARTCAT, INS.ARTDSC, ") +
                    columns + QStringLiteral(" from INS ") + joins +
                    QStringLiteral(" order by INS.INTDCL, INS.ARTNRO, INS.ARTITM, INS.ARTSBT"))) {
        error = query.lastError().text();
        return false;
    }
    int checked = 0;
    while (query.next()) {
        visit(query, StockLine{query.value(0).toString(), query.value(1).toString(),
                               query.value(2).toInt(), query.value(3).toInt(),
                               query.value(4).toDouble(), query.value(5).toDouble()});
        if (progress && ++checked % 500 == 0)
            progress(checked, total);
    }
    if (query.lastError().isValid()) {
        error = query.lastError().text();
        return false;
    }
    if (progress)
        progress(total, total);
    return true;
}

bool CheckStock::differences(QList<Difference>& result, QString& error, const Progress& progress,
                             double tolerance) const
{
    result.clear();
    // The operations of a stock line's discharges, joined by commas in each server's words.
    const QString operations = m_discharge.driverName() == u"QPSQL"
                                   ? QStringLiteral("string_agg(distinct EXTINT, ',')")
                                   : QStringLiteral("group_concat(distinct EXTINT)");
    const bool sqlite = m_discharge.driverName() == u"QSQLITE";
    return readStockLines(
        QStringLiteral("coalesce(d.total, 0), d.operations"),
        QStringLiteral("left join (select ARTDCL, ARTNRO, ARTITM, ARTSBT, sum(DIPCAN) as total, ") +
            operations +
            QStringLiteral(" as operations from DIP group by ARTDCL, ARTNRO, ARTITM, ARTSBT) d "
                           "on d.ARTDCL = INS.INTDCL and d.ARTNRO = INS.ARTNRO and d.ARTITM = "
                           "INS.ARTITM and d.ARTSBT = INS.ARTSBT"),
        [&](const QSqlQuery& query, const StockLine& stockLine) {
            Difference line{stockLine, query.value(6).toDouble(), 0, query.value(7).toString()};
            line.expected = line.declared - line.discharged;
            line.overDischarged = line.excess() > tolerance;
            // A value SQLite stored as text is a difference too, whatever number it shows.
            const bool stored = !sqlite || query.value(5).typeId() == QMetaType::Double ||
                                query.value(5).typeId() == QMetaType::LongLong;
            if (line.overDischarged || qAbs(line.available - line.expected) > tolerance || !stored)
                result << line;
        },
        error, progress);
}

bool CheckStock::auditDifferences(QList<AuditDifference>& result, QString& error,
                                  double tolerance) const
{
    result.clear();
    // Grouped by stock line: what the discharge lines' rows moved, and the last availability
    // recorded.
    const QString keyColumns = QStringLiteral("INTDCL, ARTNRO, ARTITM, ARTSBT");
    const QString sameLine = QStringLiteral(
        "%1.INTDCL = INS.INTDCL and %1.ARTNRO = INS.ARTNRO and %1.ARTITM = INS.ARTITM and "
        "%1.ARTSBT = INS.ARTSBT");
    return readStockLines(
        QStringLiteral("coalesce(m.moved, 0), r.AUDNUE"),
        QStringLiteral("left join (select ") + keyColumns +
            QStringLiteral(", sum(coalesce(AUDNUE, 0) - coalesce(AUDANT, 0)) as moved from DIPAUD "
                           "where AUDQUE in ('DIP alta', 'DIP baja') group by ") +
            keyColumns + QStringLiteral(") m on ") + sameLine.arg(QStringLiteral("m")) +
            QStringLiteral(" left join (select ") + keyColumns +
            QStringLiteral(", max(AUDNRO) as last from DIPAUD where AUDQUE = 'INS.ARTDSC' "
                           "group by ") +
            keyColumns + QStringLiteral(") l on ") + sameLine.arg(QStringLiteral("l")) +
            QStringLiteral(" left join DIPAUD r on r.AUDNRO = l.last"),
        [&](const QSqlQuery& query, const StockLine& stockLine) {
            AuditDifference line{stockLine, query.value(6).toDouble(), query.value(7)};
            if (line.lastRecorded.isNull())
                line.lastRecorded = QVariant();
            const bool recordedWrong =
                line.lastRecorded.isValid() &&
                qAbs(line.lastRecorded.toDouble() - line.available) > tolerance;
            if (qAbs(line.replayed() - line.available) > tolerance || recordedWrong)
                result << line;
        },
        error, {});
}

int CheckStock::repair(const QList<Difference>& differences, QString& error) const
{
    int repaired = 0;
    for (const Difference& line : differences) {
        if (line.overDischarged)
            continue;
        QSqlQuery update(m_discharge);
        update.prepare(QStringLiteral("update INS set ARTDSC = ? where INTDCL = ? and ARTNRO = ? "
                                      "and ARTITM = ? and ARTSBT = ?"));
        for (const QVariant& value :
             {QVariant(line.expected), QVariant(line.declaration), QVariant(line.input),
              QVariant(line.item), QVariant(line.subItem)})
            update.addBindValue(value);
        if (!update.exec()) {
            error = update.lastError().text();
            return -1;
        }
        ++repaired;
    }
    return repaired;
}
