#include "ClCntrl.h"

#include "Messages.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QMouseEvent>

namespace oquivran {

namespace {

ClCntrl::DecimalReader& installedReader()
{
    static ClCntrl::DecimalReader reader;
    return reader;
}

std::optional<QString> systemDecimal()
{
    const QString separator = QLocale::system().decimalPoint();
    if (separator.isEmpty())
        return std::nullopt;
    return separator;
}

// The position of the first text that begins with prefix, case-insensitively; -1 when none.
int firstStartingWith(const QStringList& texts, const QString& prefix)
{
    for (int i = 0; i < texts.size(); ++i) {
        if (texts.at(i).startsWith(prefix, Qt::CaseInsensitive))
            return i;
    }
    return -1;
}

bool isKeypadDecimal(const QKeyEvent* key)
{
    return (key->modifiers() & Qt::KeypadModifier) &&
           (key->key() == Qt::Key_Period || key->key() == Qt::Key_Comma);
}

const QColor focusedColour(254, 228, 214);
const QColor defaultColour(192, 255, 192);
const QColor leftColour(255, 255, 255);

} // namespace

ClCntrl::ClCntrl(QObject* parent) : QObject(parent)
{
    ObtenerDecimal();
}

void ClCntrl::setDecimalReader(DecimalReader reader)
{
    installedReader() = std::move(reader);
}

void ClCntrl::sLinkText(QWidget* control)
{
    if (m_textCtrl)
        m_textCtrl->removeEventFilter(this);
    m_textCtrl = qobject_cast<QLineEdit*>(control);
    if (m_textCtrl)
        m_textCtrl->installEventFilter(this);
}

void ClCntrl::sLinkListBox(QWidget* control)
{
    if (m_listBox) {
        m_listBox->removeEventFilter(this);
        m_listBox->viewport()->removeEventFilter(this);
    }
    m_listBox = qobject_cast<QListWidget*>(control);
    if (m_listBox) {
        m_listBox->setMouseTracking(true);
        m_listBox->viewport()->setMouseTracking(true);
        m_listBox->installEventFilter(this);
        m_listBox->viewport()->installEventFilter(this);
    }
}

void ClCntrl::sLinkCBoBox(QWidget* control)
{
    m_comboBox = qobject_cast<QComboBox*>(control);
}

void ClCntrl::LstBuscarStr(QString& text)
{
    QStringList texts;
    for (int i = 0; i < m_listBox->count(); ++i)
        texts << m_listBox->item(i)->text();
    const int index = firstStartingWith(texts, text);
    m_listBox->setCurrentRow(index);
    if (index < 0)
        m_listBox->clearSelection();
}

void ClCntrl::BuscarCBO(QString& text)
{
    QStringList texts;
    for (int i = 0; i < m_comboBox->count(); ++i)
        texts << m_comboBox->itemText(i);
    m_comboBox->setCurrentIndex(firstStartingWith(texts, text));
}

void ClCntrl::ObtenerDecimal()
{
    const DecimalReader& reader = installedReader();
    const std::optional<QString> separator = reader ? reader() : systemDecimal();
    if (separator) {
        m_decimalSeparator = *separator;
        return;
    }
    m_decimalSeparator.clear();
    Messages::show(QStringLiteral("No se puedo obtener la información"), MessageOkOnly);
}

QString ClCntrl::Separador_Decimal()
{
    ObtenerDecimal();
    return m_decimalSeparator;
}

QString ClCntrl::Obtener_Sep_Decim()
{
    return Separador_Decimal();
}

void ClCntrl::VaciarTxt(QWidget* screen)
{
    const QList<QLineEdit*> boxes = screen->findChildren<QLineEdit*>();
    for (QLineEdit* box : boxes) {
        // The editor inside a combo or spin box is part of that control, not a text box.
        QObject* owner = box->parent();
        if (qobject_cast<QComboBox*>(owner) || qobject_cast<QAbstractSpinBox*>(owner))
            continue;
        box->clear();
    }
}

bool ClCntrl::eventFilter(QObject* watched, QEvent* event)
{
    if (m_delivering)
        return false;
    if (m_textCtrl && watched == m_textCtrl) {
        switch (event->type()) {
        case QEvent::KeyPress:
            return textKeyPress(static_cast<QKeyEvent*>(event));
        case QEvent::KeyRelease:
            if (isKeypadDecimal(static_cast<QKeyEvent*>(event)))
                m_keypadDecimal = false;
            return false;
        case QEvent::FocusIn:
            return textFocusIn(event);
        case QEvent::FocusOut:
            textFocusOut();
            return false;
        default:
            return false;
        }
    }
    if (m_listBox && (watched == m_listBox || watched == m_listBox->viewport()) &&
        event->type() == QEvent::MouseMove)
        listMouseMove(watched, event);
    return false;
}

bool ClCntrl::textKeyPress(QKeyEvent* key)
{
    switch (key->key()) {
    case Qt::Key_Up:
        moveFocus(false, false);
        return true;
    case Qt::Key_Down:
        moveFocus(true, false);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        // Enter moves on and types nothing.
        moveFocus(true, true);
        return true;
    default:
        break;
    }
    if (isKeypadDecimal(key))
        m_keypadDecimal = true;
    // The keypad's decimal point types the user's separator; a point typed on the main
    // keyboard, and any other character, passes unchanged. Without a separator the point stays.
    if (key->text() == QStringLiteral(".") && m_keypadDecimal && !m_decimalSeparator.isEmpty()) {
        m_textCtrl->insert(m_decimalSeparator.left(1));
        return true;
    }
    return false;
}

bool ClCntrl::textFocusIn(QEvent* event)
{
    const Highlight highlight = highlightOf(tag());
    if (highlight == Highlight::Focused)
        setBackColour(focusedColour);
    else if (highlight == Highlight::Default)
        setBackColour(defaultColour);
    deliver(m_textCtrl, event);
    if (highlight == Highlight::None)
        m_textCtrl->deselect();
    else
        m_textCtrl->setSelection(0, int(m_textCtrl->text().size()));
    return true;
}

void ClCntrl::textFocusOut()
{
    // Only the "BB" test is made on leaving: a "BB...#F6" box keeps its colour.
    if (!tag().startsWith(QStringLiteral("BB")))
        setBackColour(leftColour);
}

void ClCntrl::listMouseMove(QObject* watched, QEvent* event)
{
    const auto* mouse = static_cast<QMouseEvent*>(event);
    if (mouse->buttons() != Qt::NoButton)
        return;
    // Item positions are in the viewport's coordinates.
    QPoint point = mouse->position().toPoint();
    if (watched == m_listBox)
        point = m_listBox->viewport()->mapFrom(m_listBox, point);
    // Below the last item there is no item: the tooltip is cleared.
    const QListWidgetItem* item = m_listBox->itemAt(point);
    m_listBox->setToolTip(item ? item->text() : QString());
}

void ClCntrl::deliver(QObject* receiver, QEvent* event)
{
    m_delivering = true;
    QCoreApplication::sendEvent(receiver, event);
    m_delivering = false;
}

void ClCntrl::moveFocus(bool forward, bool wait)
{
    const Qt::Key key = forward ? Qt::Key_Tab : Qt::Key_Backtab;
    const Qt::KeyboardModifiers modifiers = forward ? Qt::NoModifier : Qt::ShiftModifier;
    if (wait) {
        QKeyEvent tab(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(m_textCtrl, &tab);
    } else {
        QCoreApplication::postEvent(m_textCtrl, new QKeyEvent(QEvent::KeyPress, key, modifiers));
    }
}

QString ClCntrl::tag() const
{
    return m_textCtrl ? m_textCtrl->property("Tag").toString() : QString();
}

void ClCntrl::setBackColour(const QColor& colour)
{
    QPalette palette = m_textCtrl->palette();
    palette.setColor(QPalette::Base, colour);
    m_textCtrl->setPalette(palette);
}

ClCntrl::Highlight ClCntrl::highlightOf(const QString& tag)
{
    if (tag.endsWith(QStringLiteral("#F6")))
        return Highlight::Focused;
    if (tag.startsWith(QStringLiteral("BB")))
        return Highlight::None;
    return Highlight::Default;
}

} // namespace oquivran
