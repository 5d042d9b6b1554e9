#pragma once

#include <QDialog>
#include <QList>
#include <QString>

class QGridLayout;
class QKeyEvent;
class QLabel;
class QLineEdit;

namespace oquivran {

class ClCntrl;

// What every discharge screen shares: it sees the keys pressed in any of its controls before
// the controls do (ESC and F11 act wherever the focus is), ESC and closing the window go
// through the screen's own ESC handling, and its entry boxes are linked to entry-control
// helpers. Screens nest modally through exec().
class ScreenDialog : public QDialog
{
    Q_OBJECT

public:
    // A screen with its object name and caption.
    ScreenDialog(const QString& name, const QString& caption, QWidget* parent = nullptr);

    // Ends the screen's modal loop without any further action.
    void closeScreen();
    // Closing the window or ESC: the screen's ESC handling.
    void reject() override;

protected:
    // ESC anywhere on the screen. Closes the screen unless a screen does more.
    virtual void escapePressed();
    // F11 anywhere on the screen. Nothing unless a screen acts on it.
    virtual void f11Pressed();
    // A key that reached control after the screen passed it over; true when it was used.
    virtual bool controlKey(QWidget* control, QKeyEvent* key);

    bool eventFilter(QObject* watched, QEvent* event) override;

    // Controls with their object names.
    QLabel* newLabel(const QString& name, const QString& text = QString());
    QLineEdit* newLineEdit(const QString& name);
    // Puts caption and field side by side in row of grid.
    static void addRow(QGridLayout* grid, int row, QWidget* caption, QWidget* field);
    // Links each box to an entry-control helper of its own, kept for the screen's life.
    void linkEntryControls(const QList<QLineEdit*>& boxes);
    // The helpers in the order their boxes were linked.
    QList<ClCntrl*> entryControls() const { return m_entryControls; }

private:
    bool belongsHere(QObject* watched) const;
    bool screenKey(QWidget* control, QKeyEvent* key);

    QList<ClCntrl*> m_entryControls;
};

} // namespace oquivran
