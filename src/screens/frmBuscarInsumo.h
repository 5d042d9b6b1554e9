#pragma once

#include "ScreenDialog.h"

class QCheckBox;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace oquivran {

// The stock search screen: lists the stock lines whose input code begins with a text and lets
// the operator pick one, which the manual load screen then completes. ESC leaves with nothing
// chosen.
class frmBuscarInsumo : public ScreenDialog
{
    Q_OBJECT

public:
    explicit frmBuscarInsumo(QWidget* parent = nullptr);

    // Fills the list with the stock lines of the inputs whose code begins with text.
    void BuscarInsumo(const QString& text);
    // Takes the selected line into the current-input record and opens the load screen.
    void SeleccionarInsumo();

protected:
    void escapePressed() override;
    bool controlKey(QWidget* control, QKeyEvent* key) override;

private:
    void buildControls();
    void fillList(const QString& text);

    QLineEdit* m_txtBuscarInsumos = nullptr;
    QPushButton* m_cmdBuscar = nullptr;
    QCheckBox* m_chSoloDisponibles = nullptr;
    QTreeWidget* m_lstInsumos = nullptr;
};

} // namespace oquivran
