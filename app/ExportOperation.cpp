#include "ExportOperation.h"

#include <oquivran/clQUIVRAN.h>

#include <QMap>
#include <QSqlQuery>
#include <QVariant>

ExportOperation::ExportOperation(const QSqlDatabase& discharge, const QSqlDatabase& host)
    : m_discharge(discharge), m_host(host)
{
}

QStringList ExportOperation::operations() const
{
    QStringList result;
    QSqlQuery query(m_host);
    query.exec(QStringLiteral("select distinct interno from groupsubitems order by interno"));
    while (query.next())
        result << query.value(0).toString();
    return result;
}

bool ExportOperation::load(const QString& interno)
{
    m_interno = interno;
    m_subItems.clear();
    QSqlQuery query(m_host);
    // Cancelled sub-items are left out; group members are kept.
    query.prepare(QStringLiteral(
        "select s.id, s.idsub, s.idcatalogo, s.idarticulo, s.cantidad, "
        "coalesce(g.idroot, 0) from groupsubitems s left join grupos g on g.interno = "
        "s.interno and g.idsub = s.idsub where s.interno = ? and (s.cancelaciones = 'OK' or "
        "g.idroot is not null) order by s.id, s.idsub"));
    query.addBindValue(interno);
    query.exec();
    while (query.next()) {
        m_subItems.append({query.value(0).toInt(), query.value(1).toInt(),
                           query.value(2).toString(), query.value(3).toString(),
                           query.value(4).toDouble(), query.value(5).toInt()});
    }
    return !m_subItems.isEmpty();
}

QString OfficialData::text() const
{
    return QStringLiteral("%1 del %2").arg(number, date.toString(Qt::ISODate));
}

OfficialData ExportOperation::officialData() const
{
    // Lines discharged after the recording have none: any line that has one tells.
    QSqlQuery query(m_discharge);
    query.prepare(QStringLiteral("select EXTNOF, EXTFOF from DIP where EXTINT = ? and "
                                 "EXTNOF is not null and EXTNOF <> '' limit 1"));
    query.addBindValue(m_interno);
    if (!query.exec() || !query.next())
        return {};
    // SQLite keeps the date as ISO text, PostgreSQL as a date.
    const QVariant date = query.value(1);
    return {query.value(0).toString().trimmed(),
            date.typeId() == QMetaType::QString
                ? QDate::fromString(date.toString().left(10), Qt::ISODate)
                : date.toDate()};
}

const SubItem* ExportOperation::subItem(int idsub) const
{
    for (const SubItem& s : m_subItems) {
        if (s.idsub == idsub)
            return &s;
    }
    return nullptr;
}

QList<int> ExportOperation::items() const
{
    QList<int> result;
    for (const SubItem& s : m_subItems) {
        if (!result.contains(s.item))
            result << s.item;
    }
    return result;
}

QString ExportOperation::itemSubItems(int item) const
{
    QStringList list;
    for (const SubItem& s : m_subItems) {
        if (s.item == item && s.groupRoot == 0)
            list << QString::number(s.idsub);
    }
    return list.join(u'|');
}

namespace {

// What orders a sub-item's lines as they were written: SQLite's rowid; a server has none, so
// there the stock line's key.
QString insertionOrder(const QSqlDatabase& database)
{
    return database.driverName() == u"QPSQL" ? QStringLiteral("ARTDCL, ARTNRO, ARTITM, ARTSBT")
                                             : QStringLiteral("rowid");
}

} // namespace

QList<DischargeLine> ExportOperation::dischargeLines(int idsub) const
{
    QList<DischargeLine> lines;
    QSqlQuery query(m_discharge);
    query.prepare(
        QStringLiteral(
            "select EXTSBT, ARTDCL, ARTNRO, ARTITM, ARTSBT, DIPCAN, RALCAN, ARTPRE, DIPCTC, "
            "EXTITM from DIP where EXTINT = ? and (? = 0 or EXTSBT = ?) order by EXTSBT, ") +
        insertionOrder(m_discharge));
    query.addBindValue(m_interno);
    query.addBindValue(idsub);
    query.addBindValue(idsub);
    query.exec();
    while (query.next()) {
        lines.append({query.value(0).toInt(), query.value(1).toString(), query.value(2).toString(),
                      query.value(3).toInt(), query.value(4).toInt(), query.value(5).toDouble(),
                      query.value(6).toDouble(), query.value(7).toDouble(),
                      query.value(8).toString(), query.value(9).toInt()});
    }
    return lines;
}

bool ExportOperation::hasLines(int idsub) const
{
    QSqlQuery query(m_discharge);
    query.prepare(QStringLiteral("select count(*) from DIP where EXTINT = ? and EXTSBT = ?"));
    query.addBindValue(m_interno);
    query.addBindValue(idsub);
    return query.exec() && query.next() && query.value(0).toInt() > 0;
}

void ExportOperation::setOn(oquivran::clQUIVRAN& component, const SubItem& subItem) const
{
    component.INTERNO(m_interno);
    component.SUBITEM(subItem.idsub);
    component.CATNRO(subItem.catalog);
    component.PRDNRO(subItem.product);
    component.PRDCAN(subItem.quantity);
}

bool ExportOperation::numberItems(oquivran::clQUIVRAN& component, QList<int>& skipped) const
{
    component.INTERNO(m_interno);
    QMap<int, QStringList> groups;
    for (const SubItem& s : m_subItems) {
        if (s.groupRoot != 0)
            groups[s.groupRoot] << QString::number(s.idsub);
    }
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        if (!component.EnviarGrupoIdSub(m_interno, QString::number(group.key()),
                                        group.value().join(u'|')))
            return false;
    }
    if (!component.ResetIdItems())
        return false;
    for (int item : items()) {
        // The component stops at a sub-item without lines; an item whose discharge was
        // refused is left unnumbered instead.
        bool allHaveLines = true;
        for (const SubItem& s : m_subItems) {
            if (s.item == item && s.groupRoot == 0 && !hasLines(s.idsub))
                allHaveLines = false;
        }
        if (!allHaveLines) {
            skipped << item;
            continue;
        }
        if (!component.EnviarNroItem(qint16(item), itemSubItems(item)))
            return false;
    }
    return true;
}
