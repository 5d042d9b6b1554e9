#pragma once

#include "PageOutput.h"
#include "ScreenDialog.h"

#include <functional>

class QDate;

class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;

namespace oquivran {

class ReportKind;
struct PrintRequest;

// The print options screen: which report (sworn declaration, internal control listing,
// comparative listing), how it is printed (text mode, printer alone, over the form image), the
// printer and page settings kept in the settings section "IMPRESION", and the export data the
// declaration prints and records. F11 generates the chosen report into the report line buffer
// and prints it; the screen stays open. ESC validates (so valid settings are saved) and
// closes. It loads on creation.
class frmImpresion : public ScreenDialog
{
    Q_OBJECT

public:
    // Builds the screen and loads it: settings, sheets, printers, the operation's export data
    // and invoices.
    explicit frmImpresion(QWidget* parent = nullptr);

    // Fills cboImpresion with the installed printers and shows the saved one when it is among
    // them.
    void CargarImpresoras();
    // Validates the date, official number and the three numeric settings (the first failure
    // shows its message and gives false), then saves the settings.
    bool f_VerificarDatos();
    // F11: generates the chosen report and prints it. False when the declaration's validation
    // refused or the output failed.
    bool Imprimir();
    // Generates the expiry listing for a reference date and horizon and prints it in
    // landscape with the screen's method and settings, as the listings print. False when the
    // expiry check or the output failed.
    bool ImprimirVencimientos(const QDate& asOf, int horizonDays);
    // Chooses the report and method and fills the boxes from a request; its empty texts and
    // zero numbers keep what the screen loaded. Its progress receiver gets the progress texts.
    void applyRequest(const PrintRequest& request);

    // Prints the report line buffer as the sworn declaration with the method (1 text mode, 2
    // printer, 3 over the form image), then records the official number, date and invoices
    // on the operation's discharge lines. False after an error, which it reports.
    bool lp_Imprimir(const QString& p_IMPNOM, qint16 p_IMPTAM, qint16 p_PAGLIN, qint16 p_IMPMOD,
                     qint16 p_IMPMRG);
    // Prints the report line buffer as a listing in the orientation (1 portrait, 2 landscape).
    // False after an error, which it reports.
    bool lp_Imprimir_Control(const QString& p_IMPNOM, qint16 p_IMPTAM, qint16 p_PAGLIN,
                             qint16 p_IMPMOD, qint16 p_IMPMRG, qint16 p_Orient);

protected:
    void f11Pressed() override;
    void escapePressed() override;

private:
    // What F11 prints with.
    enum class Output {
        Declaration, // lp_Imprimir
        Listing,     // lp_Imprimir_Control
    };

    void buildControls();
    void load();
    void loadExportData();
    // Saves the printer's name when the list has printers.
    void savePrinter();
    // Generates a report and prints it with the screen's settings.
    bool produce(const ReportKind& kind, Output output, PageOrientation orientation);
    // Prints the report line buffer with the screen's settings.
    bool printBuffer(Output output, PageOrientation orientation);
    // The method option's value: 1 text mode, 2 printer, 3 form (3 only for the declaration).
    qint16 method(Output output) const;
    PageOutput pageOutput(const PageSettings& settings, PageTitles titles);
    void showProgress(const QString& text);

    QRadioButton* m_opDESINS = nullptr;
    QRadioButton* m_opIMPINT = nullptr;
    QRadioButton* m_opDESINSReal = nullptr;
    QRadioButton* m_opMODFRM = nullptr;
    QRadioButton* m_opMODCAD = nullptr;
    QRadioButton* m_opMODDOS = nullptr;
    QComboBox* m_cboImpresion = nullptr;
    QComboBox* m_cboFoja = nullptr;
    QLineEdit* m_txtIMPTAM = nullptr;
    QLineEdit* m_txtPAGLIN = nullptr;
    QLineEdit* m_txtMargen = nullptr;
    QLineEdit* m_txtAAT = nullptr;
    QLineEdit* m_txtOficializacion = nullptr;
    QLineEdit* m_txtFACTU = nullptr;
    QLabel* m_lbMensaje = nullptr;
    std::function<void(const QString&)> m_progress;
};

} // namespace oquivran
