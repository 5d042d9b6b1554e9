#include "RemoveCommand.h"

#include "ExportOperation.h"

#include <oquivran/oquivran.h>

#include <QTextStream>

QList<QCommandLineOption> RemoveCommand::options()
{
    return {subItemOption(), allOption(), formatOption()};
}

int RemoveCommand::run()
{
    QList<int> selected;
    if (const int opened = openSubItems(selected); opened != Success || selected.isEmpty())
        return opened;
    int exitCode = Success;
    using Align = TextTable::Align;
    TextTable table({{"Subítem", "subitem", Align::Right},
                     {"Líneas eliminadas", "removed_lines", Align::Right},
                     {"Resultado", "result"}});
    for (int idsub : selected) {
        const SubItem& s = *m_operation->subItem(idsub);
        const int lineCount = int(m_operation->dischargeLines(idsub).size());
        if (lineCount == 0) {
            table.addValues({idsub, 0, QStringLiteral("sin descarga")});
            continue;
        }
        m_operation->setOn(*m_component, s);
        oquivran::clearReportedError();
        const bool removed = m_component->EliminarInsumo();
        if (!removed)
            exitCode = worstOf(exitCode, refusal());
        table.addValues(
            {idsub, lineCount, removed ? QStringLiteral("eliminado") : QStringLiteral("FALLÓ")});
    }
    write({{"operation", m_operation->interno()}},
          {{"subitems", "Operación " + m_operation->interno(), &table}});
    return exitCode;
}
