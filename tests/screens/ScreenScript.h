#pragma once

#include "ModuleState.h"
#include "ValueFormats.h"
#include "frmAgregarDIP.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QList>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QWidget>

#include <functional>

// Drives nested modal screens: each step waits until the active modal widget is the named
// screen and then runs its action (outside the polling timer's slot, so an action may open a
// further screen). A script that is not through by its deadline, or whose action fails a
// check, closes every open screen so that no test hangs.
class ScreenScript : public QObject
{
public:
    using Action = std::function<void(QWidget* screen)>;

    // Adds a step that runs when screen is the active modal widget.
    ScreenScript& on(const QString& screen, Action action)
    {
        m_steps.append({screen, std::move(action)});
        return *this;
    }
    // Starts polling; the deadline is in milliseconds.
    void start(int deadline = 20000)
    {
        m_deadline = deadline;
        m_clock.start();
        connect(&m_timer, &QTimer::timeout, this, [this] { poll(); });
        m_timer.start(5);
    }
    // True when every step ran and none failed.
    bool finished() const { return m_next == m_steps.size() && !m_aborted; }
    // The screen the script waited for when it was aborted.
    QString waitingFor() const
    {
        return m_next < m_steps.size() ? m_steps.at(m_next).screen : QString();
    }

private:
    struct Step
    {
        QString screen;
        Action action;
    };

    void poll()
    {
        if (m_pending)
            return;
        if (m_clock.elapsed() > m_deadline) {
            abort();
            return;
        }
        if (m_next >= m_steps.size()) {
            m_timer.stop();
            return;
        }
        QWidget* active = QApplication::activeModalWidget();
        if (!active || active->objectName() != m_steps.at(m_next).screen)
            return;
        const int index = m_next++;
        m_pending = true;
        QPointer<QWidget> screen(active);
        QTimer::singleShot(0, this, [this, index, screen] {
            m_pending = false;
            if (screen)
                m_steps[index].action(screen);
            if (QTest::currentTestFailed())
                abort();
        });
    }
    void abort()
    {
        m_aborted = true;
        m_timer.stop();
        QTimer::singleShot(0, this, [] {
            while (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
                dialog->done(QDialog::Rejected);
        });
    }

    QList<Step> m_steps;
    QTimer m_timer;
    QElapsedTimer m_clock;
    int m_deadline = 20000;
    int m_next = 0;
    bool m_pending = false;
    bool m_aborted = false;
};

// Opens the allocation screen as AgregarInsumo does: the discharge formats of the mode given
// ("N" normal, anything else extended), a cleared result, the screen shown modally. Returns the
// discharge result it left.
inline bool openAllocation(const QString& opVDE = QStringLiteral("N"))
{
    oquivran::ModuleState& state = oquivran::moduleState();
    state.applyFormats(oquivran::ValueFormats::forMoment(oquivran::FormatMoment::Discharge, opVDE));
    state.dischargeResult = false;
    {
        oquivran::frmAgregarDIP screen;
        screen.exec();
    }
    return state.dischargeResult;
}

// The control of a screen by its object name; null (and a failed check) when missing.
template <class T> T* control(QWidget* screen, const char* name)
{
    T* found = screen->findChild<T*>(QString::fromLatin1(name));
    if (!found)
        qWarning("no control %s on %s", name, qPrintable(screen->objectName()));
    return found;
}

// Steps from the allocation screen to the load screen: Insert on the stock lines, a search for
// text, and Enter on the stock line of declaration and item. The caller's next step runs on
// frmCargarInsumo.
inline void insertStock(ScreenScript& script, const QString& text, const QString& declaration,
                        int item)
{
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        QTest::keyClick(control<QWidget>(screen, "lstINSUMOS"), Qt::Key_Insert);
    });
    script.on(QStringLiteral("frmBuscarInsumo"), [=](QWidget* screen) {
        auto* box = control<QLineEdit>(screen, "txtBuscarInsumos");
        box->setText(text);
        QTest::keyClick(box, Qt::Key_Return);
        auto* list = control<QTreeWidget>(screen, "lstInsumos");
        for (int i = 0; i < list->topLevelItemCount(); ++i) {
            QTreeWidgetItem* row = list->topLevelItem(i);
            if (row->text(1) == declaration && row->text(5) == QString::number(item))
                list->setCurrentItem(row);
        }
        QTest::keyClick(list, Qt::Key_Return);
    });
}

// Step on the allocation screen: ENTER on the row at index (0-based), opening the line edit.
inline void editRow(ScreenScript& script, int index)
{
    script.on(QStringLiteral("frmAgregarDIP"), [index](QWidget* screen) {
        auto* list = control<QTreeWidget>(screen, "lstINSUMOS");
        list->setCurrentItem(list->topLevelItem(index));
        QTest::keyClick(list, Qt::Key_Return);
    });
}

// A key pressed on a control of the active screen.
inline void press(QWidget* screen, const char* controlName, Qt::Key key)
{
    QTest::keyClick(control<QWidget>(screen, controlName), key);
}

// Step on the allocation screen: ESC, leaving it.
inline void closeAllocation(ScreenScript& script)
{
    script.on(QStringLiteral("frmAgregarDIP"),
              [](QWidget* screen) { press(screen, "lstINSUMOS", Qt::Key_Escape); });
}

// Adds the steps that leave the stock search with ESC and then the allocation screen.
inline void closeSearchAndAllocation(ScreenScript& script)
{
    script.on(QStringLiteral("frmBuscarInsumo"),
              [](QWidget* screen) { press(screen, "lstInsumos", Qt::Key_Escape); });
    closeAllocation(script);
}

// Starts the script and opens the allocation screen under it; true when every step ran.
inline bool runOnAllocation(ScreenScript& script, const QString& opVDE = QStringLiteral("N"))
{
    script.start();
    openAllocation(opVDE);
    return script.finished();
}
