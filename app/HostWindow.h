#pragma once

#include <oquivran/Expiry.h>

#include <QColor>
#include <QMainWindow>

#include <memory>

class ExportOperation;
class HostDatabases;
class QAction;
class QComboBox;
class QLabel;
class QTableWidget;
class QTreeWidget;

namespace oquivran {
class clQUIVRAN;
}

struct SubItem;

// The host's main window: the export operation with its items and sub-items, the stock lines
// with their availability and expiry (expired lines in red, those due within the horizon of
// the settings in amber, with a legend and a count in the status bar), the selected
// sub-item's discharge lines, and the actions that call the component (discharge, remove,
// number items, an item's inputs, print), the "Restar merma y pérdida" switch and the forms
// folder.
class HostWindow : public QMainWindow
{
    Q_OBJECT

public:
    // A window over open databases (not owned) with the operation shown first.
    HostWindow(HostDatabases& databases, const QString& operation, QWidget* parent = nullptr);
    ~HostWindow() override;

    // The window's size on a screen whose available area is available: its usual 1280x820, or
    // less so that it fits, its frame included.
    static QSize fittingSize(const QRect& available);

    // Selects a sub-item in the list; false when the operation has none of that number.
    bool selectSubItem(int idsub);
    // Reloads the operation, the stock and the selected sub-item's lines.
    void refresh();
    // The background of the stock lines expired (red) and due within the horizon (amber).
    static QColor expiryColor(oquivran::ExpiryState state);

public Q_SLOTS:
    // Discharges the selected sub-item on the component's allocation screen.
    void discharge();
    // Removes the selected sub-item's discharge.
    void removeDischarge();
    // Groups the sub-items and numbers the operation's items.
    void numberItems();
    // Shows the discharged inputs of the selected sub-item's item.
    void showInputs();
    // Opens the component's print options; printing the declaration with another official
    // number or date than the operation has recorded asks first (No keeps the screen open).
    void print();
    // Chooses the folder of the form images.
    void chooseFormsFolder();

protected:
    // While the print options are up: F11 on them prints only once a replacement of the
    // recorded official number and date is confirmed.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Asks before the print options' declaration replaces the official number and date
    // recorded on the operation; true when it may print (nothing replaced, or Yes).
    bool confirmReplacement(QWidget& screen);
    // Asks a question in a message box named name over parent, with Sí and No (cmdSi, cmdNo;
    // No the default and ESC); true when Sí was chosen.
    bool askYesNo(const QString& name, const QString& question, QWidget* parent) const;
    void buildControls();
    void buildActions();
    void loadOperation(const QString& interno);
    void loadStock();
    // Colours the stock lines the expiry check lists (expired, due within the horizon) and
    // writes the legend and the status bar's count.
    void markExpiries();
    void loadLines();
    // The selected sub-item, or nullptr.
    const SubItem* selectedSubItem() const;
    void showResult(const QString& text);

    HostDatabases& m_databases;
    std::unique_ptr<ExportOperation> m_operation;
    std::unique_ptr<oquivran::clQUIVRAN> m_component;
    QComboBox* m_operations = nullptr;
    QTreeWidget* m_subItems = nullptr;
    QTableWidget* m_stock = nullptr;
    QTableWidget* m_lines = nullptr;
    QLabel* m_linesTitle = nullptr;
    QLabel* m_result = nullptr;
    QLabel* m_formsFolder = nullptr;
    QAction* m_restarPerMer = nullptr;
    QLabel* m_expiryLegend = nullptr;
    QLabel* m_expiryCount = nullptr;
    int m_expiryHorizon = 0;
};
