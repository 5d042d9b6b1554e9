#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <optional>

class QEvent;
class QKeyEvent;

namespace oquivran {

// The entry-control helper: one object per linked box makes all entry behave alike. A linked
// text box is highlighted by its "Tag" property on focus with its text selected, Enter and the
// arrow keys move between fields, and the keypad's decimal key types the user's decimal
// separator. A linked list box shows the item under the mouse as its tooltip; a list or combo
// box can be positioned on the first item that begins with a text. The object receives the
// linked controls' events itself, so the screen's code does not handle them.
class ClCntrl : public QObject
{
    Q_OBJECT

public:
    // Reads the decimal separator once (ObtenerDecimal).
    explicit ClCntrl(QObject* parent = nullptr);

    // Takes control as the linked text box (a QLineEdit), replacing any earlier one.
    void sLinkText(QWidget* control);
    // Takes control as the linked list box (a QListWidget), replacing any earlier one.
    void sLinkListBox(QWidget* control);
    // Takes control as the linked combo box (a QComboBox); its events are not watched.
    void sLinkCBoBox(QWidget* control);

    // Selects the first item of the linked list box that begins with text (case-insensitive);
    // no selection when none does.
    void LstBuscarStr(QString& text);
    // The same on the linked combo box.
    void BuscarCBO(QString& text);

    // Reads the user's decimal separator; when it cannot be read the separator becomes empty
    // and "No se puedo obtener la información" is shown.
    void ObtenerDecimal();
    // Reads the separator again and returns it.
    QString Separador_Decimal();
    // The same as Separador_Decimal().
    QString Obtener_Sep_Decim();

    // Empties every text box on screen; other controls are left alone.
    static void VaciarTxt(QWidget* screen);

    // The linked controls (null when none).
    QLineEdit* vTextCtrl() const { return m_textCtrl; }
    QListWidget* vListBox() const { return m_listBox; }
    QComboBox* linkedComboBox() const { return m_comboBox; }
    // The separator as last read; empty when the read failed.
    QString decimalSeparator() const { return m_decimalSeparator; }
    // True while the keypad's decimal key is held down.
    bool keypadDecimalDown() const { return m_keypadDecimal; }

    // Where the separator is read from: returns the separator, or no value when the locale
    // cannot be read. An empty reader restores the system locale.
    using DecimalReader = std::function<std::optional<QString>()>;
    static void setDecimalReader(DecimalReader reader);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // How a box is highlighted, by its "Tag" property.
    enum class Highlight {
        Focused, // ends in "#F6": the light orange back colour
        None,    // begins with "BB": nothing at all
        Default, // anything else: the light green back colour
    };
    static Highlight highlightOf(const QString& tag);

    bool textKeyPress(QKeyEvent* key);
    bool textFocusIn(QEvent* event);
    void textFocusOut();
    void listMouseMove(QObject* watched, QEvent* event);
    // Lets the linked box handle event itself, before the helper acts after it.
    void deliver(QObject* receiver, QEvent* event);
    void moveFocus(bool forward, bool wait);
    QString tag() const;
    void setBackColour(const QColor& colour);

    QPointer<QLineEdit> m_textCtrl;
    QPointer<QListWidget> m_listBox;
    QPointer<QComboBox> m_comboBox;
    QString m_decimalSeparator;
    bool m_keypadDecimal = false;
    bool m_delivering = false;
};

} // namespace oquivran
