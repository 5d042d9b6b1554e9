#include "InputsCommand.h"

#include "ExportOperation.h"
#include "HostText.h"

#include <oquivran/oquivran.h>

#include <QTextStream>

QList<QCommandLineOption> InputsCommand::options()
{
    return {{"item", "Ítem de la operación.", "n"}, formatOption()};
}

int InputsCommand::run()
{
    if (const int opened = openOperation(); opened != Success)
        return opened;
    const std::optional<int> chosen =
        wholeOption(QStringLiteral("item"), QStringLiteral("Indique el ítem con --item N."));
    if (!chosen)
        return UsageError;
    const int item = *chosen;
    if (!m_operation->items().contains(item)) {
        err() << "La operación " << m_operation->interno() << " no tiene el ítem " << item << '\n';
        return NotFound;
    }
    oquivran::Recordset rs;
    if (!m_component->Obtener_Insumos(item, rs))
        return Failed;
    const QStringList fields = rs.fieldNames();
    QList<TextTable::Column> columns;
    for (const QString& field : fields) {
        const bool numeric = field.compare(u"ARTITM", Qt::CaseInsensitive) == 0 ||
                             field.compare(u"ARTSBT", Qt::CaseInsensitive) == 0 ||
                             field.compare(u"RALCAN", Qt::CaseInsensitive) == 0;
        const bool real = field.compare(u"RALCAN", Qt::CaseInsensitive) == 0;
        columns << TextTable::Column{HostText::inputHeading(field), HostText::inputKey(field),
                                     numeric ? TextTable::Align::Right : TextTable::Align::Left,
                                     real ? 2 : -1};
    }
    TextTable table(columns);
    for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
        QVariantList row;
        for (const QString& field : fields) {
            const QVariant value = rs.value(field);
            if (value.typeId() == QMetaType::QDate)
                row << value.toDate().toString(Qt::ISODate);
            else if (field.compare(u"RALCAN", Qt::CaseInsensitive) == 0)
                row << HostText::number(value);
            else
                row << value;
        }
        table.addValues(row);
    }
    write({{"operation", m_operation->interno()}, {"item", item}},
          {{"inputs",
            QStringLiteral("Operación %1 - insumos del ítem %2 (%3)")
                .arg(m_operation->interno())
                .arg(item)
                .arg(table.rowCount()),
            &table}});
    return Success;
}
