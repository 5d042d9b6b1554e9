#include "TextPrintServices.h"

#include "DefaultTextPrintService.h"

namespace oquivran {

namespace {

TextPrintService*& installedService()
{
    static TextPrintService* service = nullptr;
    return service;
}

} // namespace

TextPrintService::~TextPrintService() = default;

TextPrintService& TextPrintServices::current()
{
    static DefaultTextPrintService defaultService;
    TextPrintService* service = installedService();
    return service ? *service : defaultService;
}

void setTextPrintService(TextPrintService* service)
{
    installedService() = service;
}

} // namespace oquivran
