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
    const QString fileName = qEnvironmentVariable(outputVariable());
    if (!fileName.isEmpty())
        return appendPage(fileName, pageText);
    return RawPrintQueue::send(printerName, pageText.toUtf8());
}

bool DefaultTextPrintService::appendPage(const QString& fileName, const QString& pageText)
{
    return appendToFile(fileName, pageText.toUtf8() + '\f');
}

bool DefaultTextPrintService::appendToFile(const QString& fileName, const QByteArray& page)
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    return file.write(page) == page.size() && file.flush();
}

} // namespace oquivran
