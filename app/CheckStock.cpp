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

bool CheckStock::differences(QList<Difference>& result, QString& error, const Progress& progress,
                             double tolerance) const
{
    result.clear();
    const int total = stockLineCount();
    QSqlQuery query(m_discharge);
    query.setForwardOnly(true);
    // The operations of a stock line's discharges, joined by commas in each server's words.
    const QString operations = m_discharge.driverName() == u"QPSQL"
                                   ? QStringLiteral("string_agg(distinct EXTINT, ',')")
                                   : QStringLiteral("group_concat(distinct EXTINT)");
    if (!query.exec(
            QStringLiteral("select INS.INTDCL, INS.ARTNRO, INS.ARTITM, INS.ARTSBT, INS.ARTCAT, "
                           "coalesce(d.total, 0), INS.ARTDSC, d.operations from INS left join "
                           "(select ARTDCL, ARTNRO, ARTITM, ARTSBT, sum(DIPCAN) as total, ") +
            operations +
            QStringLiteral(" as operations from DIP group by ARTDCL, ARTNRO, ARTITM, ARTSBT) d "
                           "on d.ARTDCL = INS.INTDCL and d.ARTNRO = INS.ARTNRO and d.ARTITM = "
                           "INS.ARTITM and d.ARTSBT = INS.ARTSBT order by INS.INTDCL, "
                           "INS.ARTNRO, INS.ARTITM, INS.ARTSBT"))) {
        error = query.lastError().text();
        return false;
    }
    const bool sqlite = m_discharge.driverName() == u"QSQLITE";
    int checked = 0;
    while (query.next()) {
        Difference line{query.value(0).toString(), query.value(1).toString(),
                        query.value(2).toInt(),    query.value(3).toInt(),
                        query.value(4).toDouble(), query.value(5).toDouble(),
                        query.value(6).toDouble(), 0,
                        query.value(7).toString()};
        line.expected = line.declared - line.discharged;
        line.overDischarged = line.excess() > tolerance;
        // A value SQLite stored as text is a difference too, whatever number it shows.
        const bool stored = !sqlite || query.value(6).typeId() == QMetaType::Double ||
                            query.value(6).typeId() == QMetaType::LongLong;
        if (line.overDischarged || qAbs(line.available - line.expected) > tolerance || !stored)
            result << line;
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
