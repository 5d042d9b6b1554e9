#include "ScreenDialog.h"

#include "ClCntrl.h"
#include "ErrorMessage.h"

#include <QApplication>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>

namespace oquivran {

ScreenDialog::ScreenDialog(const QString& name, const QString& caption, QWidget* parent)
    : QDialog(parent)
{
    setObjectName(name);
    setWindowTitle(caption);
    setModal(true);
    // The screen previews every key of its controls: an application filter sees an event
    // before any filter or handler of the control it is sent to.
    qApp->installEventFilter(this);
}

void ScreenDialog::closeScreen()
{
    QDialog::done(QDialog::Rejected);
}

void ScreenDialog::reject()
{
    escapePressed();
}

void ScreenDialog::escapePressed()
{
    closeScreen();
}

void ScreenDialog::f11Pressed() {}

bool ScreenDialog::controlKey(QWidget*, QKeyEvent*)
{
    return false;
}

bool ScreenDialog::belongsHere(QObject* watched) const
{
    if (!watched->isWidgetType())
        return false;
    return static_cast<QWidget*>(watched)->window() == this;
}

bool ScreenDialog::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::KeyPress && type != QEvent::ShortcutOverride)
        return false;
    if (!belongsHere(watched))
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    if (type == QEvent::ShortcutOverride) {
        // ESC and F11 are the screen's keys, never a shortcut of the host.
        if (key->key() == Qt::Key_Escape || key->key() == Qt::Key_F11) {
            event->accept();
            return true;
        }
        return false;
    }
    return screenKey(static_cast<QWidget*>(watched), key);
}

bool ScreenDialog::screenKey(QWidget* control, QKeyEvent* key)
{
    // A key handler reports its own errors; anything that still escapes one is reported here,
    // as no exception may leave an event handler.
    try {
        if (key->key() == Qt::Key_Escape) {
            escapePressed();
            return true;
        }
        if (key->key() == Qt::Key_F11) {
            f11Pressed();
            return true;
        }
        return controlKey(control, key);
    } catch (...) {
        ErrorMessage::show(ErrorMessage::fromException(std::current_exception()),
                           QStringLiteral(" - seccion [oQUIVRAN.") + objectName() +
                               QStringLiteral("]"));
        return true;
    }
}

QLabel* ScreenDialog::newLabel(const QString& name, const QString& text)
{
    auto* label = new QLabel(text, this);
    label->setObjectName(name);
    return label;
}

QLineEdit* ScreenDialog::newLineEdit(const QString& name)
{
    auto* box = new QLineEdit(this);
    box->setObjectName(name);
    return box;
}

void ScreenDialog::addRow(QGridLayout* grid, int row, QWidget* caption, QWidget* field)
{
    grid->addWidget(caption, row, 0);
    grid->addWidget(field, row, 1);
}

void ScreenDialog::linkEntryControls(const QList<QLineEdit*>& boxes)
{
    for (QLineEdit* box : boxes) {
        auto* control = new ClCntrl(this);
        control->sLinkText(box);
        m_entryControls.append(control);
    }
}

} // namespace oquivran
