#include "CheckStock.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

CheckStock::CheckStock(const QSqlDatabase& discharge) : m_discharge(discharge) {}

QList<CheckStock::Difference> CheckStock::differences(const Progress& progress,
                                                      double tolerance) const
{
    QList<Difference> result;
    QSqlQuery count(m_discharge);
    count.exec(QStringLiteral("select count(*) from INS"));
    const int total = count.next() ? count.value(0).toInt() : 0;

    QSqlQuery query(m_discharge);
    query.setForwardOnly(true);
    query.exec(QStringLiteral(
        "select INS.INTDCL, INS.ARTNRO, INS.ARTITM, INS.ARTSBT, INS.ARTCAT, "
        "coalesce(d.total, 0), INS.ARTDSC from INS left join (select ARTDCL, ARTNRO, ARTITM, "
        "ARTSBT, sum(DIPCAN) as total from DIP group by ARTDCL, ARTNRO, ARTITM, ARTSBT) d on "
        "d.ARTDCL = INS.INTDCL and d.ARTNRO = INS.ARTNRO and d.ARTITM = INS.ARTITM and "
        "d.ARTSBT = INS.ARTSBT order by INS.INTDCL, INS.ARTNRO, INS.ARTITM, INS.ARTSBT"));
    int checked = 0;
    while (query.next()) {
        Difference line{query.value(0).toString(), query.value(1).toString(),
                        query.value(2).toInt(),    query.value(3).toInt(),
                        query.value(4).toDouble(), query.value(5).toDouble(),
                        query.value(6).toDouble(), 0};
        line.expected = line.declared - line.discharged;
        // A value stored as text is a difference too, whatever number it shows.
        const bool stored = query.value(6).typeId() == QMetaType::Double ||
                            query.value(6).typeId() == QMetaType::LongLong;
        if (qAbs(line.available - line.expected) > tolerance || !stored)
            result << line;
        if (progress && ++checked % 500 == 0)
            progress(checked, total);
    }
    if (progress)
        progress(total, total);
    return result;
}

bool CheckStock::repair(const QList<Difference>& differences, QString& error) const
{
    for (const Difference& line : differences) {
        QSqlQuery update(m_discharge);
        update.prepare(QStringLiteral("update INS set ARTDSC = ? where INTDCL = ? and ARTNRO = ? "
                                      "and ARTITM = ? and ARTSBT = ?"));
        for (const QVariant& value :
             {QVariant(line.expected), QVariant(line.declaration), QVariant(line.input),
              QVariant(line.item), QVariant(line.subItem)})
            update.addBindValue(value);
        if (!update.exec()) {
            error = update.lastError().text();
            return false;
        }
    }
    return true;
}
