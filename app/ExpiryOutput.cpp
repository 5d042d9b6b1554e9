#include "ExpiryOutput.h"

#include "HostText.h"
#include "TextTable.h"

#include <oquivran/Expiry.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString stateName(oquivran::ExpiryState state)
{
    switch (state) {
    case oquivran::ExpiryState::Expired:
        return QStringLiteral("vencida");
    case oquivran::ExpiryState::NoExpiry:
        return QStringLiteral("sin vencimiento");
    case oquivran::ExpiryState::DueSoon:
        break;
    }
    return QStringLiteral("por vencer");
}

QString localDate(const QDate& date)
{
    return HostText::date(date);
}

QString isoDate(const QDate& date)
{
    return date.isValid() ? date.toString(Qt::ISODate) : QString();
}

// A number for scripts: "." for decimals, no grouping, the shortest exact text.
QString plainNumber(double value)
{
    return QString::number(value, 'g', 15);
}

QString daysText(const oquivran::ExpiryLine& line)
{
    return line.state == oquivran::ExpiryState::NoExpiry ? QString()
                                                         : QString::number(line.daysLeft);
}

QString csvField(const QString& text)
{
    if (!text.contains(u',') && !text.contains(u'"') && !text.contains(u'\n'))
        return text;
    return u'"' + QString(text).replace(QStringLiteral("\""), QStringLiteral("\"\"")) + u'"';
}

} // namespace

bool ExpiryOutput::formatOf(const QString& name, Format& format)
{
    if (name == u"table")
        format = Format::Table;
    else if (name == u"csv")
        format = Format::Csv;
    else if (name == u"json")
        format = Format::Json;
    else
        return false;
    return true;
}

QString ExpiryOutput::text(const oquivran::ExpiryReport& report, Format format)
{
    switch (format) {
    case Format::Csv:
        return csv(report);
    case Format::Json:
        return json(report);
    case Format::Table:
        break;
    }
    return table(report);
}

QString ExpiryOutput::table(const oquivran::ExpiryReport& report)
{
    using Align = TextTable::Align;
    TextTable lines({"Despacho", "Aduana", "Oficialización", "Vencimiento", "Días", "Insumo",
                     "Ítem", "Sub", "Declarado", "Descargado", "Disponible", "CIF unit.",
                     "CIF en riesgo", "Estado"},
                    {Align::Left, Align::Left, Align::Left, Align::Left, Align::Right, Align::Left,
                     Align::Right, Align::Right, Align::Right, Align::Right, Align::Right,
                     Align::Right, Align::Right, Align::Left});
    for (const oquivran::ExpiryLine& l : report.lines) {
        lines.addRow({l.declaration, l.customsOffice, localDate(l.officialDate),
                      localDate(l.expiryDate), daysText(l), l.input, QString::number(l.item),
                      QString::number(l.subItem), l.declaredText, l.dischargedText, l.availableText,
                      l.unitCifText, l.cifAtRiskText, stateName(l.state)});
    }
    TextTable declarations({"Despacho", "Vencimiento", "Días", "Líneas", "CIF en riesgo"},
                           {Align::Left, Align::Left, Align::Right, Align::Right, Align::Right});
    for (const oquivran::ExpiryDeclaration& d : report.declarations) {
        declarations.addRow(
            {d.declaration, localDate(d.expiryDate),
             d.state == oquivran::ExpiryState::NoExpiry ? QString() : QString::number(d.daysLeft),
             QString::number(d.lineCount), d.cifAtRiskText});
    }
    return QStringLiteral("Vencimientos de importación temporal al ") + localDate(report.asOf) +
           QStringLiteral(" (horizonte de ") + QString::number(report.horizonDays) +
           QStringLiteral(" días)\n") + lines.toText() + QStringLiteral("\nPor despacho\n") +
           declarations.toText() + QStringLiteral("\nLíneas vencidas: ") +
           QString::number(report.expiredLines) + QStringLiteral(", por vencer: ") +
           QString::number(report.dueSoonLines) + QStringLiteral(", sin vencimiento: ") +
           QString::number(report.noExpiryLines) + QStringLiteral("\nCIF en riesgo: ") +
           report.cifAtRiskText + u'\n';
}

QString ExpiryOutput::csv(const oquivran::ExpiryReport& report)
{
    QStringList rows = {QStringLiteral(
        "despacho,aduana,oficializacion,vencimiento,dias,insumo,item,subitem,declarado,"
        "descargado,disponible,cif_unitario,cif_en_riesgo,estado")};
    for (const oquivran::ExpiryLine& l : report.lines) {
        const QStringList fields = {l.declaration,
                                    l.customsOffice,
                                    isoDate(l.officialDate),
                                    isoDate(l.expiryDate),
                                    daysText(l),
                                    l.input,
                                    QString::number(l.item),
                                    QString::number(l.subItem),
                                    plainNumber(l.declared),
                                    plainNumber(l.discharged),
                                    plainNumber(l.available),
                                    plainNumber(l.unitCif),
                                    plainNumber(l.cifAtRisk),
                                    stateName(l.state)};
        QStringList quoted;
        for (const QString& field : fields)
            quoted << csvField(field);
        rows << quoted.join(u',');
    }
    return rows.join(u'\n') + u'\n';
}

QString ExpiryOutput::json(const oquivran::ExpiryReport& report)
{
    const auto date = [](const QDate& d) {
        return d.isValid() ? QJsonValue(isoDate(d)) : QJsonValue();
    };
    const auto days = [](oquivran::ExpiryState state, int daysLeft) {
        return state == oquivran::ExpiryState::NoExpiry ? QJsonValue() : QJsonValue(daysLeft);
    };
    QJsonArray lines;
    for (const oquivran::ExpiryLine& l : report.lines) {
        lines.append(QJsonObject{{"despacho", l.declaration},
                                 {"aduana", l.customsOffice},
                                 {"oficializacion", date(l.officialDate)},
                                 {"vencimiento", date(l.expiryDate)},
                                 {"dias", days(l.state, l.daysLeft)},
                                 {"insumo", l.input},
                                 {"item", l.item},
                                 {"subitem", l.subItem},
                                 {"declarado", l.declared},
                                 {"descargado", l.discharged},
                                 {"disponible", l.available},
                                 {"cif_unitario", l.unitCif},
                                 {"cif_en_riesgo", l.cifAtRisk},
                                 {"estado", stateName(l.state)}});
    }
    QJsonArray declarations;
    for (const oquivran::ExpiryDeclaration& d : report.declarations) {
        declarations.append(QJsonObject{{"despacho", d.declaration},
                                        {"vencimiento", date(d.expiryDate)},
                                        {"dias", days(d.state, d.daysLeft)},
                                        {"estado", stateName(d.state)},
                                        {"lineas", d.lineCount},
                                        {"cif_en_riesgo", d.cifAtRisk}});
    }
    const QJsonObject root{{"fecha", isoDate(report.asOf)},
                           {"horizonte_dias", report.horizonDays},
                           {"lineas", lines},
                           {"despachos", declarations},
                           {"lineas_vencidas", report.expiredLines},
                           {"lineas_por_vencer", report.dueSoonLines},
                           {"lineas_sin_vencimiento", report.noExpiryLines},
                           {"cif_en_riesgo", report.cifAtRisk}};
    return QString::fromUtf8(QJsonDocument(root).toJson(QJsonDocument::Indented));
}
