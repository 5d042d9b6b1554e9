#pragma once

#include "DischargeFixture.h"

#include "OperatingSystemUser.h"
#include "Schema.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>

// The audit trail's rows as tests compare them, one text each: what changed, the operation,
// sub-item and stock line, who, the quantities before and after, and the values before and
// after, separated by "|" ("null" for a null). Test-side SQL only.
namespace auditrows {

// The stock the audit trail's tests discharge from: two lines of ART1 (10 on D1, 5 on D2), and
// product PRD taking 1 ART1 a unit, quantity of it on sub-item 1 of OP1.
inline void seedStock(DischargeFixture& f, double quantity)
{
    f.addDeclaration("D1", QDate(2026, 1, 1));
    f.addDeclaration("D2", QDate(2026, 2, 1));
    f.addStock("D1", "ART1", 1, 1, 10, 2);
    f.addStock("D2", "ART1", 3, 2, 5, 2);
    f.addProduct("CAT", "PRD", 1);
    f.addRelation("CAT", "PRD", "ART1", 1);
    f.setSubItem("OP1", 1, "CAT", "PRD", quantity);
}

// Creates the audit table beside a fixture's discharge tables.
inline void create(const DischargeFixture& f)
{
    oquivran::Schema::create(f.discharge(), oquivran::Schema::Database::Audit);
}

// The rows ordered by orderBy (the order they were appended by default).
inline QStringList rows(const DischargeFixture& f,
                        const QString& orderBy = QStringLiteral("AUDNRO"))
{
    QSqlQuery query(f.discharge());
    if (!query.exec("select AUDQUE, EXTINT, EXTSBT, INTDCL, ARTNRO, ARTITM, ARTSBT, AUDUSR, "
                    "AUDANT, AUDNUE, AUDVAA, AUDVAN from DIPAUD order by " +
                    orderBy))
        return {u"query failed: " + query.lastError().text()};
    QStringList rows;
    while (query.next()) {
        QStringList fields;
        for (int i = 0; i < 12; ++i) {
            const QVariant value = query.value(i);
            if (value.isNull())
                fields.append(QStringLiteral("null"));
            else if (i == 8 || i == 9)
                fields.append(QString::number(value.toDouble(), 'g', 15));
            else
                fields.append(value.toString());
        }
        rows.append(fields.join(u'|'));
    }
    return rows;
}

// Who the rows name when the host gives no name: the database role on the server, the
// operating-system user on SQLite.
inline QString databaseUser(const DischargeFixture& f)
{
    if (FixtureDatabase::onPostgreSql())
        return f.scalar("select current_user").toString();
    return oquivran::OperatingSystemUser::name();
}

} // namespace auditrows
