#pragma once

#include "ScreenDialog.h"

class QLabel;
class QLineEdit;
class QRadioButton;

namespace oquivran {

// The manual load screen: confirms the stock line picked on the search screen and sets how
// much of it to discharge, directly or as a relation per unit of product, with its shrinkage,
// loss, C.T.C. and export reference. F11 stores them in the current-input record, ESC empties
// the choice.
class frmCargarInsumo : public ScreenDialog
{
    Q_OBJECT

public:
    // Shows the current-input record; the quantity is offered whole, entered directly.
    explicit frmCargarInsumo(QWidget* parent = nullptr);

    // Validates the quantity and stores the operator's values into the current-input record;
    // true when the screen closed.
    bool GrabarInsumos();

protected:
    void escapePressed() override;
    void f11Pressed() override;

private:
    // Which box drives the other.
    enum class EntryMode {
        Quantity, // opDIP: the quantity is entered, the relation derived
        Relation, // opRIP: the relation is entered, the quantity derived
    };

    void buildControls();
    void load();
    void setEntryMode(EntryMode mode);
    void relationChanged();
    void quantityChanged();
    // Writes into target the number of source multiplied (or divided) by the product
    // quantity shown, in "00.000000"; leaves target alone when that cannot be computed.
    enum class Derivation {
        Multiply,
        Divide,
    };
    void derive(const QLineEdit* source, QLineEdit* target, Derivation derivation);

    QLabel* m_lbARTNRO = nullptr;
    QLabel* m_lbARTDCL = nullptr;
    QLabel* m_lbARTNCM = nullptr;
    QLabel* m_lbARTITM = nullptr;
    QLabel* m_lbARTSBT = nullptr;
    QLabel* m_lbMaxDIPCAN = nullptr;
    QLabel* m_lbPRDCAN = nullptr;
    QLineEdit* m_lbRIPCAN = nullptr;
    QLineEdit* m_txtDIPCAN = nullptr;
    QLineEdit* m_txtMermas = nullptr;
    QLineEdit* m_txtPerdidas = nullptr;
    QLineEdit* m_txtARTCTC = nullptr;
    QLineEdit* m_txtINSEXP = nullptr;
    QRadioButton* m_opDIP = nullptr;
    QRadioButton* m_opRIP = nullptr;
};

} // namespace oquivran
