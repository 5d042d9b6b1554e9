#include "NumberCommand.h"

#include "ExportOperation.h"

#include <oquivran/oquivran.h>

#include <QTextStream>

QList<QCommandLineOption> NumberCommand::options()
{
    return {formatOption()};
}

int NumberCommand::run()
{
    if (const int opened = openOperation(); opened != Success)
        return opened;
    QList<int> skipped;
    if (!m_operation->numberItems(*m_component, skipped)) {
        err() << "La numeración de ítems falló.\n";
        return Failed;
    }
    using Align = TextTable::Align;
    TextTable table({{"Ítem", "item", Align::Right},
                     {"Subítems", "subitems"},
                     {"Líneas numeradas", "numbered_lines", Align::Right},
                     {"Estado", "status"}});
    const QList<DischargeLine> lines = m_operation->dischargeLines();
    for (int item : m_operation->items()) {
        int count = 0;
        for (const DischargeLine& l : lines)
            count += l.exportItem == item ? 1 : 0;
        const bool numbered = !skipped.contains(item);
        table.addValues(
            {item, m_operation->itemSubItems(item), numbered ? QVariant(count) : QVariant(),
             numbered ? QStringLiteral("numerado") : QStringLiteral("sin descarga, no numerado")});
    }
    for (int item : skipped)
        err() << "El ítem " << item << " tiene subítems sin descarga: no se numera.\n";
    write({{"operation", m_operation->interno()}},
          {{"items", "Operación " + m_operation->interno(), &table}});
    return Success;
}
