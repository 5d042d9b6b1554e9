#pragma once

#include <QByteArray>
#include <QString>

namespace oquivran {

// The operating system's printer queues, taking a page of text as raw bytes, one job per page:
// CUPS on Linux, the Windows spooler on Windows (the build compiles the one of its platform).
class RawPrintQueue
{
public:
    // Sends the bytes as one raw job to the queue of that name, or to the default queue when
    // the name is empty. Returns true when the queue accepted the whole job; false when there
    // is no such queue (or no default one) or it refused the job.
    static bool send(const QString& printerName, const QByteArray& page);
};

} // namespace oquivran
