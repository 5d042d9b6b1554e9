#include "RawPrintQueue.h"

#include <cups/cups.h>

namespace oquivran {

bool RawPrintQueue::send(const QString& printerName, const QByteArray& page)
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
