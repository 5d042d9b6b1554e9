#include "RawPrintQueue.h"

#include <windows.h>
#include <winspool.h>

#include <vector>

namespace oquivran {

namespace {

// The user's default printer; empty when there is none.
std::wstring defaultPrinter()
{
    DWORD size = 0;
    GetDefaultPrinterW(nullptr, &size);
    if (size == 0)
        return {};
    std::vector<wchar_t> name(size);
    if (!GetDefaultPrinterW(name.data(), &size))
        return {};
    return std::wstring(name.data());
}

// Closes the printer handle whatever way the job ends.
class PrinterHandle
{
public:
    explicit PrinterHandle(std::wstring& name)
    {
        if (!OpenPrinterW(name.data(), &m_handle, nullptr))
            m_handle = nullptr;
    }
    ~PrinterHandle()
    {
        if (m_handle)
            ClosePrinter(m_handle);
    }
    PrinterHandle(const PrinterHandle&) = delete;
    PrinterHandle& operator=(const PrinterHandle&) = delete;
    HANDLE handle() const { return m_handle; }

private:
    HANDLE m_handle = nullptr;
};

} // namespace

bool RawPrintQueue::send(const QString& printerName, const QByteArray& page)
{
    std::wstring name = printerName.isEmpty() ? defaultPrinter() : printerName.toStdWString();
    if (name.empty())
        return false;
    PrinterHandle printer(name);
    if (!printer.handle())
        return false;

    // "RAW": the spooler hands the bytes to the printer as they are, with no driver between.
    wchar_t documentName[] = L"oQUIVRAN";
    wchar_t dataType[] = L"RAW";
    DOC_INFO_1W document{documentName, nullptr, dataType};
    if (StartDocPrinterW(printer.handle(), 1, reinterpret_cast<LPBYTE>(&document)) == 0)
        return false;
    bool written = StartPagePrinter(printer.handle());
    qsizetype sent = 0;
    while (written && sent < page.size()) {
        DWORD count = 0;
        written = WritePrinter(printer.handle(), const_cast<char*>(page.constData() + sent),
                               DWORD(page.size() - sent), &count) &&
                  count > 0;
        sent += count;
    }
    written = EndPagePrinter(printer.handle()) && written;
    return EndDocPrinter(printer.handle()) && written;
}

} // namespace oquivran
