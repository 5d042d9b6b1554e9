#include "DefaultTextPrintService.h"

#include "RawPrintQueue.h"

#include <QFile>

namespace oquivran {

const char* DefaultTextPrintService::outputVariable()
{
    return "OQUIVRAN_TEXT_OUTPUT";
}

bool DefaultTextPrintService::ImprimirDOS(const QString& pageText, const QString& printerName)
{
    const QByteArray page = pageText.toUtf8();
    const QString fileName = qEnvironmentVariable(outputVariable());
    if (!fileName.isEmpty())
        return appendToFile(fileName, page + '\f');
    return RawPrintQueue::send(printerName, page);
}

bool DefaultTextPrintService::appendToFile(const QString& fileName, const QByteArray& page)
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    return file.write(page) == page.size() && file.flush();
}

} // namespace oquivran
