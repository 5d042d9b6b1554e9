#pragma once

#include "ScreenDialog.h"

class QLabel;
class QTreeWidget;
class QTreeWidgetItem;

namespace oquivran {

struct DipCandidate;

// The allocation screen of one discharge: the product's input-product relation and the stock
// lines proposed for it, coloured by how completely each input is covered. ENTER edits a line,
// Insert adds one from the stock search, Delete removes one, F11 writes the discharge, refreshes
// stock and hands the totals to the host, ESC leaves without writing. It loads on creation.
class frmAgregarDIP : public ScreenDialog
{
    Q_OBJECT

public:
    // Builds the screen and loads it: relation lookup, FIFO allocation, both lists.
    explicit frmAgregarDIP(QWidget* parent = nullptr);

    // The save sequence (F11): check, write the lines, refresh stock, read the totals, close.
    void f_Aceptar();
    // True unless a line with stock has a blank C.T.C.
    bool f_VerificarDIP();
    // Edits the selected line on the line edit screen.
    void f_Modificar();
    // Adds a line through the stock search and manual load screens.
    void NuevoInsumo();
    // Removes from the candidate lines every line of this declaration, input, item and
    // sub-item (item and sub-item as the list shows them). False when the list is empty.
    bool EliminarInsumo(const QString& declaration, const QString& inputCode, const QString& item,
                        const QString& subItem);

    // The completeness flag: true when every input found enough stock.
    bool isComplete() const { return m_complete; }

protected:
    void f11Pressed() override;
    bool controlKey(QWidget* control, QKeyEvent* key) override;

private:
    // Which texts a row of lstINSUMOS is written with.
    enum class RowLayout {
        Loaded, // on loading: the unit price with seven decimals
        Added,  // added by Insert: the unit price with six decimals
        Edited, // rewritten after an edit: quantities, price, shrinkage, loss, C.T.C., reference
    };

    void buildControls();
    void load();
    void fillRelations();
    void appendLine(const DipCandidate& line, int position, RowLayout layout);
    void writeRow(QTreeWidgetItem* row, const DipCandidate& line, int position, RowLayout layout);
    void deleteSelected();
    void showProgress(const QString& text);

    QTreeWidget* m_lstINSPRD = nullptr;
    QTreeWidget* m_lstINSUMOS = nullptr;
    QLabel* m_lbProducto = nullptr;
    QLabel* m_lbCatalogo = nullptr;
    QLabel* m_lbInterno = nullptr;
    QLabel* m_lbCantidad = nullptr;
    QLabel* m_lbMensaje = nullptr;
    QLabel* m_lbTeclas = nullptr;
    QLabel* m_lbBlock = nullptr;
    QLabel* m_lbVDE = nullptr;
    bool m_complete = false;
};

} // namespace oquivran
