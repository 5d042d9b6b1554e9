#include "AuditCommand.h"

#include "HostDatabases.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QTextStream>

QList<QCommandLineOption> AuditCommand::options()
{
    return {
        {"declaration", "Sólo las filas de este despacho (INTDCL).", "despacho"},
        {"from", "Sólo las filas de esta fecha (AAAA-MM-DD) en adelante.", "fecha"},
        {"to", "Sólo las filas hasta esta fecha (AAAA-MM-DD) inclusive.", "fecha"},
        formatOption(),
    };
}

std::optional<QDate> AuditCommand::isoDateOption(const QString& name) const
{
    if (!m_parser.isSet(name))
        return QDate();
    const QString text = m_parser.value(name);
    // Only the ISO form: the trail's dates are compared as their text.
    const QDate date = QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
    if (date.isValid())
        return date;
    err() << "Fecha inválida para --" << name << ": " << text << " (AAAA-MM-DD)\n";
    return std::nullopt;
}

int AuditCommand::run()
{
    const std::optional<QDate> from = isoDateOption(QStringLiteral("from"));
    const std::optional<QDate> to = isoDateOption(QStringLiteral("to"));
    if (!from || !to)
        return UsageError;
    if (from->isValid() && to->isValid() && *from > *to) {
        err() << "--from (" << m_parser.value("from") << ") es posterior a --to ("
              << m_parser.value("to") << ")\n";
        return UsageError;
    }
    if (const int opened = openDatabases(); opened != Success)
        return opened;
    const QString path = m_databases->dischargePath();
    if (!m_databases->hasAuditTrail()) {
        err() << "La base de descargas " << path
              << " no tiene registro de auditoría (tabla DIPAUD); créelo con: oquivran-host "
                 "init --audit --discharge-db "
              << path << " --host-db " << m_databases->hostPath() << '\n';
        return DatabaseMissing;
    }
    // --operation is every subcommand's: here it filters only when given.
    QStringList conditions;
    QVariantList values;
    const auto filter = [&](const char* condition, const QVariant& value) {
        conditions << QString::fromLatin1(condition);
        values << value;
    };
    if (m_parser.isSet("operation"))
        filter("EXTINT = ?", m_parser.value("operation"));
    if (m_parser.isSet("declaration"))
        filter("INTDCL = ?", m_parser.value("declaration"));
    // AUDFEC begins with its date, YYYY-MM-DD.
    if (from->isValid())
        filter("substr(AUDFEC, 1, 10) >= ?", from->toString(Qt::ISODate));
    if (to->isValid())
        filter("substr(AUDFEC, 1, 10) <= ?", to->toString(Qt::ISODate));
    QSqlQuery query(m_databases->discharge());
    query.setForwardOnly(true);
    query.prepare(QStringLiteral("select AUDNRO, AUDFEC, AUDUSR, AUDQUE, EXTINT, EXTSBT, INTDCL, "
                                 "ARTNRO, ARTITM, ARTSBT, AUDANT, AUDNUE, AUDVAA, AUDVAN from "
                                 "DIPAUD") +
                  (conditions.isEmpty()
                       ? QString()
                       : QStringLiteral(" where ") + conditions.join(QStringLiteral(" and "))) +
                  QStringLiteral(" order by AUDNRO"));
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec()) {
        err() << "No se puede leer el registro de auditoría de " << path << ": "
              << query.lastError().text() << '\n';
        return DatabaseMissing;
    }
    using Align = TextTable::Align;
    TextTable rows({{"Nro", "number", Align::Right},
                    {"Fecha", "time"},
                    {"Operador", "user"},
                    {"Cambio", "what"},
                    {"Operación", "operation"},
                    {"Subítem", "sub_item", Align::Right},
                    {"Despacho", "declaration"},
                    {"Insumo", "input"},
                    {"Ítem", "item", Align::Right},
                    {"Sub", "sub", Align::Right},
                    {"Antes", "before", Align::Right, 4},
                    {"Después", "after", Align::Right, 4},
                    {"Valor antes", "value_before"},
                    {"Valor después", "value_after"}});
    while (query.next()) {
        QVariantList row;
        for (int column = 0; column < 14; ++column)
            row << query.value(column);
        rows.addValues(row);
    }
    write(
        {{"database", path}, {"rows", rows.rowCount()}},
        {{"audit", QStringLiteral("Registro de auditoría: %1 filas").arg(rows.rowCount()), &rows}});
    return Success;
}
