// Sends two pages through the default text-mode print service to the printer queue named by the
// first argument (the CUPS server comes from CUPS_SERVER; on Windows the queue is the spooler's
// printer of that name); exits 0 when both were accepted.
#include "DefaultTextPrintService.h"

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    oquivran::DefaultTextPrintService service;
    const QString queue = QString::fromLocal8Bit(argv[1]);
    const bool first = service.ImprimirDOS(QStringLiteral("PAGINA 1\r\nlínea uno\r\n"), queue);
    const bool second = service.ImprimirDOS(QStringLiteral("PAGINA 2\r\nlínea dos\r\n"), queue);
    std::printf("page 1: %d, page 2: %d\n", first, second);
    return first && second ? 0 : 1;
}
