#pragma once

#include "ScreenDialog.h"

class QLabel;
class QLineEdit;

namespace oquivran {

// The line edit screen: changes one candidate line of the allocation screen (quantity, unit
// price, shrinkage, loss, C.T.C., export reference) and writes the C.T.C. and export reference
// into the stock at once. F11 accepts, ESC leaves the line as it was.
class frmModificar : public ScreenDialog
{
    Q_OBJECT

public:
    // The texts the allocation screen presets from the list row, and the line's NCM.
    struct Preset
    {
        QString quantity;
        QString unitPrice;
        QString shrinkage;
        QString loss;
        QString ctc;
        QString tariffPosition;
    };

    // Edits the candidate line at position (1-based, as text), with the boxes preset.
    frmModificar(const QString& position, const Preset& preset, QWidget* parent = nullptr);

    // Validates the boxes and stores them into the line; sets the edit flag when it succeeded.
    bool f_Aceptar();

    // The C.T.C. to use for a line of a declaration and tariff position: when ctc is empty the
    // first remembered one (also written into ctc); otherwise ctc, remembered when new.
    static QString SetCTC(const QString& declaration, const QString& tariffPosition, QString& ctc);
    // The same for the export reference.
    static QString SetEXP(const QString& declaration, const QString& tariffPosition,
                          QString& exportReference);

protected:
    void showEvent(QShowEvent* event) override;
    void f11Pressed() override;

private:
    void buildControls(const Preset& preset);
    void activate();

    QString m_position;
    bool m_activated = false;
    QLineEdit* m_txtCantidad = nullptr;
    QLineEdit* m_txtPrecio = nullptr;
    QLineEdit* m_txtMerma = nullptr;
    QLineEdit* m_txtPerdida = nullptr;
    QLineEdit* m_txtCTC = nullptr;
    QLineEdit* m_txtEXP = nullptr;
    QLabel* m_lbNcm = nullptr;
};

} // namespace oquivran
