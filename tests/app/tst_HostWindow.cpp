#include "HostDatabases.h"
#include "HostWindow.h"

#include <oquivran/Module.h>

#include <QAbstractButton>
#include <QAction>
#include <QKeyEvent>
#include <QLabel>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QStatusBar>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

// The host's window on fresh sample databases: its lists, and the discharge, numbering and
// removal actions through the component (the allocation screen accepted with F11).
class tst_HostWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The component keeps its first binding: each test starts from a fresh module state.
    void cleanup() { oquivran::resetModuleState(); }
    void listsShowTheSample();
    void dischargeNumberAndRemove();
    void stockShowsExpiries();
    void windowFitsTheScreen();
    void removeAsksFirst();
    void inputsDialogInSpanish();
    void stockDatesAreNumeric();
};

namespace {

// Answers every message: OK, or No to a question.
void answerMessages(QStringList& shown)
{
    oquivran::setMessageHandler([&shown](const QString& prompt, int style, const QString&) {
        shown << prompt;
        return int((style & 0xF) == oquivran::MessageYesNo ? oquivran::AnswerNo
                                                           : oquivran::AnswerOk);
    });
}

// Creates the sample databases in a folder.
bool createSample(HostDatabases& databases, const QTemporaryDir& dir)
{
    return databases.open(dir.filePath("d.sqlite"), dir.filePath("h.sqlite"),
                          HostDatabases::Missing::CreateSample) == HostDatabases::Status::Created;
}

// Presses F11 on the first modal screen that comes up, within a deadline.
void acceptNextScreen(bool& seen)
{
    auto* poll = new QTimer;
    poll->setInterval(50);
    auto* deadline = new QElapsedTimer;
    deadline->start();
    QObject::connect(poll, &QTimer::timeout, [poll, deadline, &seen] {
        QWidget* screen = QApplication::activeModalWidget();
        if (screen || deadline->elapsed() > 30000) {
            poll->stop();
            poll->deleteLater();
            delete deadline;
            if (!screen)
                return;
            seen = true;
            QTimer::singleShot(0, screen, [screen] { QTest::keyClick(screen, Qt::Key_F11); });
        }
    });
    poll->start();
}

// Clicks the button named button on the next modal window named window, within a deadline; the
// window's table or label texts go to shown.
void clickOnNextModal(const QString& window, const QString& button, QStringList& shown)
{
    auto* poll = new QTimer;
    poll->setInterval(50);
    auto* deadline = new QElapsedTimer;
    deadline->start();
    QObject::connect(poll, &QTimer::timeout, [=, &shown] {
        QWidget* modal = QApplication::activeModalWidget();
        const bool found = modal && modal->objectName() == window;
        if (!found && deadline->elapsed() < 30000)
            return;
        poll->stop();
        poll->deleteLater();
        delete deadline;
        if (!found)
            return;
        if (auto* table = modal->findChild<QTableWidget*>()) {
            for (int c = 0; c < table->columnCount(); ++c)
                shown << table->horizontalHeaderItem(c)->text();
        }
        for (auto* push : modal->findChildren<QAbstractButton*>())
            shown << QStringLiteral("button:") + push->text();
        auto* target = modal->findChild<QAbstractButton*>(button);
        QTimer::singleShot(0, modal, [target] {
            if (target)
                target->click();
        });
    });
    poll->start();
}

// A window on fresh sample databases in dir.
struct SampleWindow
{
    explicit SampleWindow(const QTemporaryDir& dir)
    {
        QCOMPARE(databases.open(dir.filePath("d.sqlite"), dir.filePath("h.sqlite"),
                                HostDatabases::Missing::CreateSample),
                 HostDatabases::Status::Created);
        window = std::make_unique<HostWindow>(databases, QStringLiteral("OP-2025-0042"));
    }
    // Shows the window and discharges sub-item 1, its allocation screen accepted with F11;
    // false when the screen did not come up.
    bool dischargeFirstSubItem()
    {
        window->show();
        bool seen = false;
        acceptNextScreen(seen);
        if (!window->selectSubItem(1))
            return false;
        window->discharge();
        return seen;
    }
    HostDatabases databases;
    std::unique_ptr<HostWindow> window;
};

} // namespace

void tst_HostWindow::listsShowTheSample()
{
    QTemporaryDir dir;
    HostDatabases databases;
    QVERIFY(createSample(databases, dir));
    HostWindow window(databases, QStringLiteral("OP-2025-0042"));
    auto* subItems = window.findChild<QTreeWidget*>(QStringLiteral("lstSubitems"));
    auto* stock = window.findChild<QTableWidget*>(QStringLiteral("lstStock"));
    QVERIFY(subItems && stock);
    QCOMPARE(subItems->topLevelItemCount(), 3);
    QCOMPARE(subItems->topLevelItem(1)->childCount(), 3);
    QCOMPARE(subItems->topLevelItem(1)->child(2)->text(4), QStringLiteral("con subítem 3"));
    QCOMPARE(stock->rowCount(), 14);
    QVERIFY(!window.selectSubItem(42));
}

void tst_HostWindow::dischargeNumberAndRemove()
{
    QTemporaryDir dir;
    QStringList messages;
    answerMessages(messages);
    HostDatabases databases;
    QVERIFY(createSample(databases, dir));
    HostWindow window(databases, QStringLiteral("OP-2025-0042"));
    window.show();
    auto* lines = window.findChild<QTableWidget*>(QStringLiteral("lstLineas"));
    auto* result = window.findChild<QLabel*>(QStringLiteral("lbResultado"));
    QVERIFY(window.selectSubItem(1));
    QCOMPARE(lines->rowCount(), 0);

    bool seen = false;
    acceptNextScreen(seen);
    window.discharge();
    QVERIFY(seen);
    QVERIFY2(messages.isEmpty(), qPrintable(messages.join(u'\n')));
    QCOMPARE(lines->rowCount(), 4);
    QVERIFY2(result->text().contains(QStringLiteral("cantidad descontada")),
             qPrintable(result->text()));

    window.numberItems();
    QCOMPARE(lines->item(0, 7)->text(), QStringLiteral("1"));

    QStringList asked;
    clickOnNextModal(QStringLiteral("msgEliminarDescarga"), QStringLiteral("cmdSi"), asked);
    window.removeDischarge();
    QCOMPARE(lines->rowCount(), 0);
    QVERIFY(result->text().contains(QStringLiteral("descarga eliminada")));
    oquivran::setMessageHandler({});
}

void tst_HostWindow::stockShowsExpiries()
{
    // The sample is dated from the pinned day and the window checks on it.
    qputenv("OQUIVRAN_HOST_TODAY", "2027-05-10");
    QTemporaryDir dir;
    HostDatabases databases;
    QVERIFY(createSample(databases, dir));
    HostWindow window(databases, QStringLiteral("OP-2025-0042"));
    qunsetenv("OQUIVRAN_HOST_TODAY");
    auto* stock = window.findChild<QTableWidget*>(QStringLiteral("lstStock"));
    auto* legend = window.findChild<QLabel*>(QStringLiteral("lbLeyendaVencimientos"));
    auto* count = window.findChild<QLabel*>(QStringLiteral("lbVencimientos"));
    QVERIFY(stock && legend && count);

    const QColor red = HostWindow::expiryColor(oquivran::ExpiryState::Expired);
    const QColor amber = HostWindow::expiryColor(oquivran::ExpiryState::DueSoon);
    QStringList marked;
    for (int row = 0; row < stock->rowCount(); ++row) {
        const QBrush background = stock->item(row, 0)->background();
        // A row is coloured whole.
        QCOMPARE(stock->item(row, stock->columnCount() - 1)->background(), background);
        const QString key = stock->item(row, 0)->text() + u' ' + stock->item(row, 1)->text();
        if (background.color() == red)
            marked << key + QStringLiteral(" rojo");
        else if (background.color() == amber)
            marked << key + QStringLiteral(" ámbar");
        else
            QCOMPARE(background.style(), Qt::NoBrush);
    }
    // The expired declaration in red; the one due in 25 days in amber; the exhausted and the
    // not authorised declarations and those due later uncoloured.
    QCOMPARE(marked,
             QStringList({"24001IT04000215K CUERO-VAC rojo", "24073IT04000389P BOTON-12 ámbar",
                          "24073IT04000389P HILO-POL ámbar", "24073IT04000389P TELA-ALG ámbar"}));
    QVERIFY2(legend->text().contains(QStringLiteral("vence en 60 días o menos")),
             qPrintable(legend->text()));
    QVERIFY(legend->text().contains(red.name()) && legend->text().contains(amber.name()));
    QCOMPARE(count->text(), QStringLiteral("Líneas vencidas: 1 - por vencer en 60 días: 3"));
}

// The window fits a 1366x768 screen (a panel of 40 pixels), its frame included, and can be
// that small; on a larger screen it keeps its usual size.
void tst_HostWindow::windowFitsTheScreen()
{
    const QSize small = HostWindow::fittingSize(QRect(0, 0, 1366, 728));
    QVERIFY(small.height() + 48 <= 728);
    QVERIFY(small.width() + 16 <= 1366);
    QCOMPARE(HostWindow::fittingSize(QRect(0, 0, 1920, 1040)), QSize(1280, 820));
    QTemporaryDir dir;
    SampleWindow sample(dir);
    HostWindow& window = *sample.window;
    QVERIFY2(window.minimumSizeHint().height() <= small.height(),
             qPrintable(QString::number(window.minimumSizeHint().height())));
    QVERIFY(window.minimumSizeHint().width() <= small.width());
    window.resize(small);
    window.show();
    QCOMPARE(window.size(), small);
    // The status bar is inside the window.
    QVERIFY(window.statusBar()->geometry().bottom() < small.height());
    QVERIFY(window.statusBar()->isVisible());
}

void tst_HostWindow::removeAsksFirst()
{
    QTemporaryDir dir;
    QStringList messages;
    answerMessages(messages);
    SampleWindow sample(dir);
    HostWindow& window = *sample.window;
    auto* lines = window.findChild<QTableWidget*>(QStringLiteral("lstLineas"));
    QVERIFY(sample.dischargeFirstSubItem());
    QCOMPARE(lines->rowCount(), 4);

    // No keeps the discharge.
    QStringList shown;
    clickOnNextModal(QStringLiteral("msgEliminarDescarga"), QStringLiteral("cmdNo"), shown);
    window.removeDischarge();
    QVERIFY2(shown.contains(QStringLiteral("button:Sí")) &&
                 shown.contains(QStringLiteral("button:No")),
             qPrintable(shown.join(u',')));
    QCOMPARE(lines->rowCount(), 4);
    QVERIFY(window.findChild<QLabel*>(QStringLiteral("lbResultado"))
                ->text()
                .contains(QStringLiteral("descarga conservada")));
    // Sí removes it.
    clickOnNextModal(QStringLiteral("msgEliminarDescarga"), QStringLiteral("cmdSi"), shown);
    window.removeDischarge();
    QCOMPARE(lines->rowCount(), 0);
    oquivran::setMessageHandler({});
}

void tst_HostWindow::inputsDialogInSpanish()
{
    QTemporaryDir dir;
    QStringList messages;
    answerMessages(messages);
    SampleWindow sample(dir);
    HostWindow& window = *sample.window;
    QVERIFY(sample.dischargeFirstSubItem());
    window.numberItems();
    QVERIFY(window.selectSubItem(1));
    QStringList shown;
    clickOnNextModal(QStringLiteral("dlgInsumos"), QStringLiteral("cmdCerrar"), shown);
    window.showInputs();
    QCOMPARE(shown.mid(0, 7), (QStringList{"Despacho", "Ítem", "Subítem", "Posición",
                                           "Cantidad real", "C.T.C.", "Expediente"}));
    QVERIFY(shown.contains(QStringLiteral("button:Cerrar")));
    for (const QString& text : shown)
        QVERIFY2(!text.contains(QStringLiteral("Close")) &&
                     !text.contains(QStringLiteral("ARTDCL")),
                 qPrintable(text));
    oquivran::setMessageHandler({});
}

// Dates in the stock list are numeric, like every other date of the host.
void tst_HostWindow::stockDatesAreNumeric()
{
    QTemporaryDir dir;
    SampleWindow sample(dir);
    auto* stock = sample.window->findChild<QTableWidget*>(QStringLiteral("lstStock"));
    const QRegularExpression numeric(QStringLiteral("^\\d\\d/\\d\\d/\\d{4}$"));
    for (int row = 0; row < stock->rowCount(); ++row) {
        for (int column : {6, 7})
            QVERIFY2(numeric.match(stock->item(row, column)->text()).hasMatch(),
                     qPrintable(stock->item(row, column)->text()));
    }
    // Day first in both test locales: the oldest declaration's official date.
    QSqlQuery oldest(sample.databases.discharge());
    QVERIFY(oldest.exec(QStringLiteral("select min(INTFOF) from INTINS where INTDCL in (select "
                                       "INTDCL from INS)")) &&
            oldest.next());
    QCOMPARE(stock->item(0, 6)->text(),
             oldest.value(0).toDate().toString(QStringLiteral("dd/MM/yyyy")));
}

QTEST_MAIN(tst_HostWindow)
#include "tst_HostWindow.moc"
