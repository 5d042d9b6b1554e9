#pragma once

#include "ScreenDialog.h"

#include <oquivran/Printing.h>

#include <functional>

class QDate;

class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;

namespace oquivran {

// The print options screen: which report (sworn declaration, internal control listing,
// comparative listing), how it is printed (text mode, printer alone, over the form image), the
// printer and page settings kept in the settings section "IMPRESION", and the export data the
// declaration prints and records. F11 generates the chosen report into the report line buffer
// and prints it as a PrintJob of the screen's values; the screen stays open. ESC validates (so
// valid settings are saved) and closes. It loads on creation. The headless print loads one
// without showing it and prints as F11 does, leaving the saved settings alone.
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
    // Whether a print saves the screen's printer settings once they are valid.
    enum class SavedSettings {
        Update, // F11 and ESC: the operator's values become the saved ones
        Keep,   // the headless print: the saved settings stay as they are
    };

    // Validates the date, official number and the three numeric settings (the first failure
    // shows its message and gives false), then saves the settings.
    bool f_VerificarDatos();
    // F11: generates the chosen report and prints it, saving the settings. False when the
    // declaration's validation refused or the output failed.
    bool Imprimir();
    // What F11 does, saving the settings or not: the declaration is validated first, then
    // the chosen report is generated and printed as a PrintJob of the screen's values. False
    // when the validation refused or the output failed.
    bool print(SavedSettings saved);
    // Generates the expiry listing for a reference date and horizon and prints it in
    // landscape with the screen's method and settings, as the listings print. False when the
    // expiry check or the output failed.
    bool ImprimirVencimientos(const QDate& asOf, int horizonDays);
    // Chooses the report and method and fills the boxes from a request; its empty texts and
    // zero numbers keep what the screen loaded. Its progress receiver gets the progress texts
    // and its output file, when given, takes the pages.
    void applyRequest(const PrintRequest& request);

    // Prints the report line buffer as the sworn declaration with the method (1 text mode, 2
    // printer, 3 over the form image), then records the official number, date and invoices
    // on the operation's discharge lines. False after an error, which it reports.
    bool lp_Imprimir(const QString& p_IMPNOM, qint16 p_IMPTAM, qint16 p_PAGLIN, qint16 p_IMPMOD,
                     qint16 p_IMPMRG);

protected:
    void f11Pressed() override;
    void escapePressed() override;

private:
    void buildControls();
    void load();
    void loadExportData();
    // The validation, then the saving when asked for.
    bool verify(SavedSettings saved);
    // Saves the printer's name when the list has printers.
    void savePrinter();
    PrintReport chosenReport() const;
    // The screen's values as a print request: the chosen report and method, the settings
    // (read as numbers, which throws for a box that holds none) and the export data.
    PrintRequest request();
    // The export data, sheet, output file and progress of a request, without the report,
    // method and settings.
    PrintRequest exportRequest();
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
    QString m_outputFile;
};

} // namespace oquivran
