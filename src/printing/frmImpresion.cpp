#include "frmImpresion.h"

#include "BoundData.h"
#include "DateText.h"
#include "ErrorMessage.h"
#include "ExpiryListing.h"
#include "Messages.h"
#include "ModuleState.h"
#include "NumberText.h"
#include "PrintJob.h"
#include "PrintStatements.h"
#include "Settings.h"
#include "TextRules.h"
#include "ValueConversion.h"
#include "WholeNumber.h"

#include <oquivran/Printing.h>
#include <oquivran/Recordset.h>

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPrinterInfo>
#include <QRadioButton>
#include <QVBoxLayout>

namespace oquivran {

namespace {

const QString loadLabel = QStringLiteral(" - seccion[ oQUIVRAN.frmImpresion.form_load ]");
const QString printersLabel = QStringLiteral("Sección [oQUIVRAN.frmImpresion.CargarImpresion]");
const QString verifyLabel = QStringLiteral(" - Seccion [oQUIVRAN.frmImpresion.f_VerificarDatos]");

const QString section = QStringLiteral("IMPRESION");
const QString printerKey = QStringLiteral("IMPNOM");
const QString fontSizeKey = QStringLiteral("IMPTAM");
const QString linesKey = QStringLiteral("PAGLIN");
const QString marginKey = QStringLiteral("MARGEN");

QRadioButton* newOption(const QString& name, const QString& caption, QWidget* parent)
{
    auto* option = new QRadioButton(caption, parent);
    option->setObjectName(name);
    return option;
}

QComboBox* newCombo(const QString& name, QWidget* parent)
{
    auto* combo = new QComboBox(parent);
    combo->setObjectName(name);
    return combo;
}

// A box's text as a 16-bit whole number, as the output routines take it.
qint16 wholeText(const QLineEdit* box)
{
    return WholeNumber::toInt16(NumberText::toNumber(box->text()));
}

} // namespace

frmImpresion::frmImpresion(QWidget* parent)
    : ScreenDialog(QStringLiteral("frmImpresion"), QStringLiteral("Impresión"), parent)
{
    buildControls();
    load();
}

void frmImpresion::buildControls()
{
    auto* reports = new QGroupBox(QStringLiteral("Reportes"), this);
    m_opDESINS =
        newOption(QStringLiteral("opDESINS"), QStringLiteral("Descarga de Insumos"), reports);
    m_opIMPINT = newOption(QStringLiteral("opIMPINT"),
                           QStringLiteral("Impresion para control interno"), reports);
    m_opDESINSReal = newOption(QStringLiteral("opDESINSReal"),
                               QStringLiteral("Listado Comparativo de insumos"), reports);
    m_opDESINS->setChecked(true);
    auto* reportsLayout = new QVBoxLayout(reports);
    for (QRadioButton* option : {m_opDESINS, m_opIMPINT, m_opDESINSReal})
        reportsLayout->addWidget(option);

    auto* methods = new QGroupBox(QStringLiteral("Metodos"), this);
    m_opMODFRM = newOption(QStringLiteral("opMODFRM"),
                           QStringLiteral("Impresion con formulario y caida"), methods);
    m_opMODCAD = newOption(QStringLiteral("opMODCAD"), QStringLiteral("Solo Caida"), methods);
    m_opMODDOS = newOption(
        QStringLiteral("opMODDOS"),
        QStringLiteral("Impresión MODO DOS, recomendado para impresoras matriz de punto o InkJet"),
        methods);
    m_opMODCAD->setChecked(true);
    auto* methodsLayout = new QVBoxLayout(methods);
    for (QRadioButton* option : {m_opMODFRM, m_opMODCAD, m_opMODDOS})
        methodsLayout->addWidget(option);

    auto* configuration =
        new QGroupBox(QStringLiteral("Configuración (no disponible para DOS)"), this);
    m_cboImpresion = newCombo(QStringLiteral("cboImpresion"), configuration);
    m_txtIMPTAM = newLineEdit(QStringLiteral("txtIMPTAM"));
    m_txtPAGLIN = newLineEdit(QStringLiteral("txtPAGLIN"));
    m_txtMargen = newLineEdit(QStringLiteral("txtMargen"));
    m_cboFoja = newCombo(QStringLiteral("cboFoja"), configuration);
    auto* configurationGrid = new QGridLayout(configuration);
    addRow(configurationGrid, 0,
           newLabel(QStringLiteral("lbImpresora"), QStringLiteral("Impresora")), m_cboImpresion);
    addRow(configurationGrid, 1,
           newLabel(QStringLiteral("lbIMPTAM"), QStringLiteral("Tamaño fuente")), m_txtIMPTAM);
    addRow(configurationGrid, 2,
           newLabel(QStringLiteral("lbPAGLIN"), QStringLiteral("Lineas por hoja")), m_txtPAGLIN);
    addRow(configurationGrid, 3,
           newLabel(QStringLiteral("lbMargen"), QStringLiteral("Margen Izq.")), m_txtMargen);
    addRow(configurationGrid, 4, newLabel(QStringLiteral("lbFoja"), QStringLiteral("Foja Nro:")),
           m_cboFoja);

    m_txtAAT = newLineEdit(QStringLiteral("txtAAT"));
    m_txtOficializacion = newLineEdit(QStringLiteral("txtOficializacion"));
    m_txtFACTU = newLineEdit(QStringLiteral("txtFACTU"));
    auto* exportGrid = new QGridLayout;
    addRow(exportGrid, 0,
           newLabel(QStringLiteral("lbAAT"), QStringLiteral("Año/Ad/Tipo/N. Reg/DC")), m_txtAAT);
    addRow(exportGrid, 1,
           newLabel(QStringLiteral("lbOficializacion"), QStringLiteral("Oficialización")),
           m_txtOficializacion);
    addRow(exportGrid, 2, newLabel(QStringLiteral("lbFACTU"), QStringLiteral("Facturas:")),
           m_txtFACTU);

    m_lbMensaje = newLabel(QStringLiteral("lbMensaje"));
    auto* keys = newLabel(QStringLiteral("Label2"), QStringLiteral("[F11] Imprimir - [ESC] Salir"));

    auto* options = new QHBoxLayout;
    options->addWidget(reports);
    options->addWidget(methods);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(options);
    layout->addWidget(configuration);
    layout->addLayout(exportGrid);
    layout->addWidget(m_lbMensaje);
    layout->addWidget(keys);
}

void frmImpresion::load()
{
    ErrorMessage::guard(loadLabel, [this] {
        linkEntryControls(
            {m_txtIMPTAM, m_txtMargen, m_txtPAGLIN, m_txtOficializacion, m_txtAAT, m_txtFACTU});
        m_opDESINSReal->setEnabled(moduleState().extendedDecimals);
        m_txtIMPTAM->setText(Settings::value(section, fontSizeKey, QStringLiteral("10")));
        m_txtPAGLIN->setText(Settings::value(section, linesKey, QStringLiteral("75")));
        m_txtMargen->setText(Settings::value(section, marginKey, QStringLiteral("15")));
        m_cboFoja->addItems({QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3"),
                             QStringLiteral("4"), QStringLiteral("5")});
        m_cboFoja->setCurrentIndex(0);
        CargarImpresoras();
        loadExportData();
        return true;
    });
}

void frmImpresion::loadExportData()
{
    const QString interno = moduleState().INTERNO;
    Recordset exportData;
    // An operation without discharge lines leaves the export data and invoices empty.
    if (!BoundData::open(PrintStatements::exportData(interno), exportData))
        return;
    m_txtOficializacion->setText(
        ValueConversion::toText(exportData.value(QStringLiteral("EXTFOF"))));
    m_txtAAT->setText(ValueConversion::toText(exportData.value(QStringLiteral("EXTNOF"))));

    QString invoices = ValueConversion::toText(exportData.value(QStringLiteral("EXTFAC")));
    if (invoices.isEmpty()) {
        Recordset rows;
        BoundData::open(PrintStatements::invoices(interno), rows, BoundData::Database::Host);
        for (; !rows.eof(); rows.moveNext())
            invoices += ValueConversion::toText(rows.value(QStringLiteral("FACTURA"))) + u',';
        invoices.chop(1);
    }
    m_txtFACTU->setText(invoices);
}

void frmImpresion::CargarImpresoras()
{
    ErrorMessage::guard(printersLabel, [this] {
        const QString saved = Settings::value(section, printerKey, QString());
        m_cboImpresion->clear();
        m_cboImpresion->addItems(QPrinterInfo::availablePrinterNames());
        // A printer no longer installed is not shown.
        m_cboImpresion->setCurrentIndex(
            m_cboImpresion->findText(saved, Qt::MatchExactly | Qt::MatchCaseSensitive));
        return true;
    });
}

bool frmImpresion::f_VerificarDatos()
{
    return verify(SavedSettings::Update);
}

bool frmImpresion::verify(SavedSettings saved)
{
    return ErrorMessage::guard(verifyLabel, [&] {
        const struct
        {
            bool passes;
            const char* message;
        } checks[] = {
            {DateText::holdsDate(m_txtOficializacion->text()),
             "En Oficialización debe poner una Fecha Valida"},
            {!TextRules::trim(m_txtAAT->text()).isEmpty(),
             "Falta ingresar [ Año/Ad/Tipo/N. Reg/DC ]"},
            {NumberText::holdsNumber(m_txtIMPTAM->text()),
             "Debe ingresar un valor númerico en Tamaño de Fuente"},
            {NumberText::holdsNumber(m_txtMargen->text()),
             "Debe ingresar un valor númerico en Margen"},
            {NumberText::holdsNumber(m_txtPAGLIN->text()),
             "Debe ingresar un valor númerico en Lineas por Pagina"},
        };
        for (const auto& check : checks) {
            if (!check.passes) {
                Messages::show(QString::fromUtf8(check.message),
                               MessageExclamation | MessageOkOnly);
                return false;
            }
        }
        if (saved == SavedSettings::Keep)
            return true;
        Settings::setValue(section, fontSizeKey, m_txtIMPTAM->text());
        Settings::setValue(section, marginKey, m_txtMargen->text());
        Settings::setValue(section, linesKey, m_txtPAGLIN->text());
        savePrinter();
        return true;
    });
}

void frmImpresion::savePrinter()
{
    if (m_cboImpresion->count() > 0)
        Settings::setValue(section, printerKey, m_cboImpresion->currentText());
}

void frmImpresion::f11Pressed()
{
    Imprimir();
}

void frmImpresion::escapePressed()
{
    // Validating on the way out is how the settings are kept without printing.
    f_VerificarDatos();
    savePrinter();
    closeScreen();
}

bool frmImpresion::Imprimir()
{
    return print(SavedSettings::Update);
}

bool frmImpresion::print(SavedSettings saved)
{
    const PrintReport report = chosenReport();
    if (report == PrintReport::Declaration && !verify(saved))
        return false;
    // The report is generated before the settings are read as numbers, and printed whatever
    // the generation gave: an operation without items prints an empty report.
    PrintJob::generate(report);
    return PrintJob(request()).print();
}

PrintReport frmImpresion::chosenReport() const
{
    if (m_opDESINS->isChecked())
        return PrintReport::Declaration;
    if (m_opIMPINT->isChecked())
        return PrintReport::ControlListing;
    return PrintReport::ComparativeListing;
}

void frmImpresion::applyRequest(const PrintRequest& request)
{
    const auto setText = [](QLineEdit* box, const QString& text) {
        if (!text.isEmpty())
            box->setText(text);
    };
    const auto setNumber = [&](QLineEdit* box, qint16 number) {
        if (number != 0)
            setText(box, QString::number(number));
    };
    switch (request.report) {
    case PrintReport::Declaration:
        m_opDESINS->setChecked(true);
        break;
    case PrintReport::ControlListing:
        m_opIMPINT->setChecked(true);
        break;
    case PrintReport::ComparativeListing:
        m_opDESINSReal->setChecked(true);
        break;
    }
    switch (request.output) {
    case PrintOutput::Text:
        m_opMODDOS->setChecked(true);
        break;
    case PrintOutput::Printer:
        m_opMODCAD->setChecked(true);
        break;
    case PrintOutput::Form:
        m_opMODFRM->setChecked(true);
        break;
    }
    if (!request.printerName.isEmpty())
        m_cboImpresion->setCurrentText(request.printerName);
    setNumber(m_txtIMPTAM, request.fontSize);
    setNumber(m_txtPAGLIN, request.linesPerPage);
    setNumber(m_txtMargen, request.margin);
    if (!request.sheet.isEmpty())
        m_cboFoja->setCurrentIndex(m_cboFoja->findText(request.sheet));
    setText(m_txtAAT, request.officialNumber);
    setText(m_txtOficializacion, request.officialDate);
    setText(m_txtFACTU, request.invoices);
    m_progress = request.progress;
    m_outputFile = request.outputFile;
}

PrintRequest frmImpresion::exportRequest()
{
    PrintRequest request;
    request.sheet = m_cboFoja->currentText();
    request.officialNumber = m_txtAAT->text();
    request.officialDate = m_txtOficializacion->text();
    request.invoices = m_txtFACTU->text();
    request.outputFile = m_outputFile;
    // The screen outlives the jobs it prints.
    request.progress = [this](const QString& text) {
        showProgress(text);
    };
    return request;
}

PrintRequest frmImpresion::request()
{
    PrintRequest request = exportRequest();
    request.report = chosenReport();
    if (m_opMODDOS->isChecked())
        request.output = PrintOutput::Text;
    else if (m_opMODFRM->isChecked())
        request.output = PrintOutput::Form;
    request.printerName = m_cboImpresion->currentText();
    request.fontSize = wholeText(m_txtIMPTAM);
    request.linesPerPage = wholeText(m_txtPAGLIN);
    request.margin = wholeText(m_txtMargen);
    return request;
}

bool frmImpresion::ImprimirVencimientos(const QDate& asOf, int horizonDays)
{
    if (!ExpiryListing::GenerarVencimientos(asOf, horizonDays))
        return false;
    return PrintJob(request()).printListing(PageOrientation::Landscape);
}

bool frmImpresion::lp_Imprimir(const QString& p_IMPNOM, qint16 p_IMPTAM, qint16 p_PAGLIN,
                               qint16 p_IMPMOD, qint16 p_IMPMRG)
{
    PrintRequest request = exportRequest();
    request.output = PrintOutput(p_IMPMOD);
    request.printerName = p_IMPNOM;
    request.fontSize = p_IMPTAM;
    request.linesPerPage = p_PAGLIN;
    request.margin = p_IMPMRG;
    return PrintJob(request).print();
}

void frmImpresion::showProgress(const QString& text)
{
    m_lbMensaje->setText(text);
    m_lbMensaje->repaint();
    if (m_progress)
        m_progress(text);
}

} // namespace oquivran
