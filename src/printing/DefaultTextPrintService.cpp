#include "DefaultTextPrintService.h"

#include <QFile>

#include <cups/cups.h>

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
    return sendToQueue(printerName, page);
}

bool DefaultTextPrintService::appendToFile(const QString& fileName, const QByteArray& page)
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    return file.write(page) == page.size() && file.flush();
}

bool DefaultTextPrintService::sendToQueue(const QString& printerName, const QByteArray& page)
{
    QByteArray queue = printerName.toUtf8();
    if (queue.isEmpty())
        queue = QByteArray(cupsGetDefault());
    if (queue.isEmpty())
        return false;

    const int job = cupsCreateJob(CUPS_HTTP_DEFAULT, queue.constData(), "oQUIVRAN", 0, nullptr);
    if (job <= 0)
        return false;
    if (cupsStartDocument(CUPS_HTTP_DEFAULT, queue.constData(), job, "oQUIVRAN", CUPS_FORMAT_RAW,
                          1) != HTTP_STATUS_CONTINUE) {
        cupsCancelJob2(CUPS_HTTP_DEFAULT, queue.constData(), job, 0);
        return false;
    }
    const bool written =
        page.isEmpty() || cupsWriteRequestData(CUPS_HTTP_DEFAULT, page.constData(),
                                               size_t(page.size())) == HTTP_STATUS_CONTINUE;
    const bool finished = cupsFinishDocument(CUPS_HTTP_DEFAULT, queue.constData()) == IPP_STATUS_OK;
    return written && finished;
}

} // namespace oquivran
