#include "PrintJob.h"

#include "AuditTrail.h"
#include "BoundData.h"
#include "ComparativeReport.h"
#include "ControlReport.h"
#include "DeclarationReport.h"
#include "ErrorMessage.h"
#include "ModuleState.h"
#include "PrintStatements.h"
#include "ReportGenerator.h"
#include "TextRules.h"
#include "WriteUnit.h"

namespace oquivran {

namespace {

// The listings report under the declaration's label too.
const QString outputLabel = QStringLiteral(" - Sección [oQUIVRAN.frmImpresion.lp_Imprimir]");

} // namespace

PrintJob::PrintJob(PrintRequest request) : m_request(std::move(request)) {}

bool PrintJob::generate(PrintReport report)
{
    switch (report) {
    case PrintReport::Declaration:
        return ReportGenerator(DeclarationReport()).GenerarOM();
    case PrintReport::ControlListing:
        return ReportGenerator(ControlReport()).GenerarOM();
    case PrintReport::ComparativeListing:
        break;
    }
    return ReportGenerator(ComparativeReport()).GenerarOM();
}

bool PrintJob::print() const
{
    switch (m_request.report) {
    case PrintReport::Declaration:
        return printDeclaration();
    case PrintReport::ControlListing:
        return printListing(PageOrientation::Landscape);
    case PrintReport::ComparativeListing:
        break;
    }
    return printListing(PageOrientation::Portrait);
}

bool PrintJob::printDeclaration() const
{
    return ErrorMessage::guard(outputLabel, [this] {
        pageOutput(PageOrientation::Unchanged, PageTitles::Declaration).print();
        // The invoices lose their quotes; the official number is written as typed.
        QString invoices = m_request.invoices;
        invoices = TextRules::trim(invoices).isEmpty() ? QStringLiteral("-")
                                                       : invoices.replace(u'\'', u' ');
        return WriteUnit::run([&] {
            const QString& interno = moduleState().INTERNO;
            AuditTrail::exportDataRecorded(m_request.officialNumber, m_request.officialDate,
                                           invoices, interno);
            BoundData::execute(PrintStatements::recordExportData(
                m_request.officialNumber, m_request.officialDate, invoices, interno));
            return true;
        });
    });
}

bool PrintJob::printListing(PageOrientation orientation) const
{
    return ErrorMessage::guard(outputLabel, [&] {
        pageOutput(orientation, PageTitles::None).print();
        return true;
    });
}

qint16 PrintJob::method(PageTitles titles) const
{
    if (m_request.output == PrintOutput::Text)
        return qint16(PrintMethod::Text);
    if (titles == PageTitles::Declaration && m_request.output == PrintOutput::Form)
        return qint16(PrintMethod::Form);
    return qint16(PrintMethod::Plain);
}

PageOutput PrintJob::pageOutput(PageOrientation orientation, PageTitles titles) const
{
    PageOutput output({m_request.printerName, m_request.fontSize, m_request.linesPerPage,
                       method(titles), m_request.margin, orientation},
                      titles, {m_request.sheet, m_request.officialDate, m_request.officialNumber},
                      [progress = m_request.progress](const QString& text) {
                          if (progress)
                              progress(text);
                      });
    output.setOutputFile(m_request.outputFile);
    return output;
}

} // namespace oquivran
