#pragma once

#include <oquivran/TextPrintService.h>

#include <QList>
#include <QString>

#include <functional>

// A text-mode print service that keeps the pages it is given and answers with a set result;
// onPage, when set, runs for each page (a test reads the screen's progress text there).
class RecordingTextService : public oquivran::TextPrintService
{
public:
    RecordingTextService() { oquivran::setTextPrintService(this); }
    ~RecordingTextService() override { oquivran::setTextPrintService(nullptr); }
    RecordingTextService(const RecordingTextService&) = delete;
    RecordingTextService& operator=(const RecordingTextService&) = delete;

    bool ImprimirDOS(const QString& pageText, const QString& printerName) override
    {
        pages.append(pageText);
        printers.append(printerName);
        if (onPage)
            onPage(pageText);
        return result;
    }

    QList<QString> pages;
    QList<QString> printers;
    bool result = true;
    std::function<void(const QString&)> onPage;
};
