#include "AuditStatements.h"

#include "NumberText.h"
#include "SqlValue.h"

namespace oquivran {

namespace {

// The columns every audit statement writes, in this order.
QString insertInto()
{
    return QStringLiteral("insert into DIPAUD (AUDFEC,AUDUSR,AUDQUE,EXTINT,EXTSBT,INTDCL,ARTNRO,"
                          "ARTITM,ARTSBT,AUDANT,AUDNUE,AUDVAA,AUDVAN) ");
}

// The first three values: when, who and what changed.
QString whenWhoWhat(const QString& who, const QString& what)
{
    return QStringLiteral("oquivran_audit_time(),") + who + QStringLiteral(",'") + what +
           QStringLiteral("',");
}

// The stock line's key as values.
QString stockLineValues(const DipCandidate& line)
{
    return SqlValue::text(line.declaration) + u',' + SqlValue::text(line.inputCode) + u',' +
           SqlValue::whole(line.item) + u',' + SqlValue::whole(line.subItem) + u',';
}

// A column updated to value is a change only where it holds something else.
QString changedOnly(const QString& column, const QString& value)
{
    return QStringLiteral(" and (") + column + QStringLiteral(" is null or ") + column +
           QStringLiteral(" <> ") + value + u')';
}

} // namespace

QString AuditStatements::who(const QString& operatorName)
{
    return operatorName.isEmpty() ? QStringLiteral("oquivran_audit_user()")
                                  : SqlValue::text(operatorName);
}

QString AuditStatements::lineInserted(const QString& who, const DischargeStatements::SubItem& s,
                                      const DipCandidate& line)
{
    return insertInto() + QStringLiteral("values (") +
           whenWhoWhat(who, QStringLiteral("DIP alta")) + SqlValue::text(s.interno) + u',' +
           SqlValue::whole(s.subItem) + u',' + stockLineValues(line) + QStringLiteral("0,cdbl('") +
           NumberText::toText(line.quantity) + QStringLiteral("'),null,null)");
}

QString AuditStatements::linesInserted(const QString& who, const QString& dipWhere)
{
    return insertInto() + QStringLiteral("select ") + whenWhoWhat(who, QStringLiteral("DIP alta")) +
           QStringLiteral(
               "EXTINT,EXTSBT,ARTDCL,ARTNRO,ARTITM,ARTSBT,0,DIPCAN,null,null from DIP ") +
           dipWhere;
}

QString AuditStatements::lineCount(const QString& dipWhere)
{
    return QStringLiteral("select count(*) as lines from DIP ") + dipWhere;
}

QString AuditStatements::linesDeleted(const QString& who, const QString& dipWhere)
{
    return insertInto() + QStringLiteral("select ") + whenWhoWhat(who, QStringLiteral("DIP baja")) +
           QStringLiteral(
               "EXTINT,EXTSBT,ARTDCL,ARTNRO,ARTITM,ARTSBT,DIPCAN,0,null,null from DIP ") +
           dipWhere;
}

QString AuditStatements::availabilityRefreshed(const QString& who,
                                               const DischargeStatements::SubItem& s,
                                               const QList<Availability>& refreshed)
{
    if (refreshed.isEmpty())
        return QString();
    const QString first = whenWhoWhat(who, QStringLiteral("INS.ARTDSC")) +
                          SqlValue::text(s.interno) + u',' + SqlValue::whole(s.subItem) + u',';
    QString sql = insertInto() + QStringLiteral("values ");
    for (const Availability& a : refreshed) {
        if (&a != &refreshed.first())
            sql += u',';
        sql += u'(' + first + stockLineValues(a.line) + SqlValue::real(a.before) + u',' +
               SqlValue::real(a.after) + QStringLiteral(",null,null)");
    }
    return sql;
}

QString AuditStatements::stockLineQuantities(const DipCandidate& line)
{
    return QStringLiteral("select ARTCAT, ARTDSC from INS ") +
           DischargeStatements::stockLineWhere(line);
}

QString AuditStatements::dischargeColumnUpdated(const QString& who, const QString& column,
                                                const QString& value, const QString& dipWhere)
{
    return insertInto() + QStringLiteral("select ") +
           whenWhoWhat(who, QStringLiteral("DIP.") + column) +
           QStringLiteral("EXTINT,EXTSBT,ARTDCL,ARTNRO,ARTITM,ARTSBT,DIPCAN,DIPCAN,cast(") +
           column + QStringLiteral(" as text),cast(") + value +
           QStringLiteral(" as text) from DIP ") + dipWhere + changedOnly(column, value);
}

QString AuditStatements::stockColumnUpdated(const QString& who, const QString& interno,
                                            qint16 subItem, const QString& column,
                                            const QString& value, const QString& insWhere)
{
    const QString quoted = SqlValue::text(value);
    return insertInto() + QStringLiteral("select ") +
           whenWhoWhat(who, QStringLiteral("INS.") + column) + SqlValue::text(interno) + u',' +
           SqlValue::whole(subItem) +
           QStringLiteral(",INTDCL,ARTNRO,ARTITM,ARTSBT,ARTDSC,ARTDSC,") + column + u',' + quoted +
           QStringLiteral(" from INS ") + insWhere + changedOnly(column, quoted);
}

} // namespace oquivran
