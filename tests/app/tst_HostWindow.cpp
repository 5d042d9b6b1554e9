#include "HostDatabases.h"
#include "HostWindow.h"

#include <oquivran/Module.h>

#include <QAbstractButton>
#include <QAction>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QStatusBar>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

#include <functional>

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
    void printAsksBeforeReplacingTheOfficialData_data();
    void printAsksBeforeReplacingTheOfficialData();
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

// Runs act on the next modal window named window that comes up within a deadline.
void onNextModal(const QString& window, const std::function<void(QWidget*)>& act)
{
    auto* poll = new QTimer;
    poll->setInterval(50);
    auto* deadline = new QElapsedTimer;
    deadline->start();
    QObject::connect(poll, &QTimer::timeout, [=] {
        QWidget* modal = QApplication::activeModalWidget();
        const bool found = modal && modal->objectName() == window;
        if (!found && deadline->elapsed() < 30000)
            return;
        poll->stop();
        poll->deleteLater();
        delete deadline;
        if (found)
            act(modal);
    });
    poll->start();
}

// Clicks the button named button on the next modal window named window, within a deadline; the
// window's table or label texts go to shown.
void clickOnNextModal(const QString& window, const QString& button, QStringList& shown)
{
    onNextModal(window, [button, &shown](QWidget* modal) {
        if (auto* table = modal->findChild<QTableWidget*>()) {
            for (int c = 0; c < table->columnCount(); ++c)
                shown << table->horizontalHeaderItem(c)->text();
        }
        if (auto* box = qobject_cast<QMessageBox*>(modal))
            shown << box->text();
        for (auto* push : modal->findChildren<QAbstractButton*>())
            shown << QStringLiteral("button:") + push->text();
        auto* target = modal->findChild<QAbstractButton*>(button);
        QTimer::singleShot(0, modal, [target] {
            if (target)
                target->click();
        });
    });
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

namespace {

// On the next print options screen: types the official number, presses F11, then ESC when
// the screen is still up.
void printOnNextScreen(const QString& number)
{
    onNextModal(QStringLiteral("frmImpresion"), [number](QWidget* modal) {
        QTimer::singleShot(0, modal, [screen = QPointer<QWidget>(modal), number] {
            screen->findChild<QLineEdit*>(QStringLiteral("txtAAT"))->setText(number);
            QTest::keyClick(screen, Qt::Key_F11);
            if (screen && screen->isVisible())
                QTest::keyClick(screen, Qt::Key_Escape);
        });
    });
}

} // namespace

void tst_HostWindow::printAsksBeforeReplacingTheOfficialData_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("recorded");
    QTest::newRow("No keeps them") << "cmdNo"
                                   << "25/001/EC01/000123/K 2025-03-05";
    QTest::newRow("Sí replaces them") << "cmdSi"
                                      << "25/002/EC01/000999/K 2025-03-05";
}

// The declaration printed from the window asks before it records another official number
// over the one the operation has.
void tst_HostWindow::printAsksBeforeReplacingTheOfficialData()
{
    QFETCH(QString, button);
    QFETCH(QString, recorded);
    QTemporaryDir dir;
    QStringList messages;
    answerMessages(messages);
    qputenv("OQUIVRAN_PDF_OUTPUT", dir.filePath(QStringLiteral("declaracion.pdf")).toUtf8());
    SampleWindow sample(dir);
    QVERIFY(sample.dischargeFirstSubItem());
    QSqlQuery query(sample.databases.discharge());
    QVERIFY(query.exec(QStringLiteral("update DIP set EXTNOF = '25/001/EC01/000123/K', EXTFOF = "
                                      "'2025-03-05' where EXTINT = 'OP-2025-0042'")));

    QStringList shown;
    clickOnNextModal(QStringLiteral("msgReemplazarOficializacion"), button, shown);
    printOnNextScreen(QStringLiteral("25/002/EC01/000999/K"));
    sample.window->print();
    qunsetenv("OQUIVRAN_PDF_OUTPUT");
    QCOMPARE(shown, (QStringList{QStringLiteral("La operación OP-2025-0042 ya tiene registrados "
                                                "el número oficial y la fecha "
                                                "25/001/EC01/000123/K del 2025-03-05.\n¿Los "
                                                "reemplaza por 25/002/EC01/000999/K del "
                                                "2025-03-05?"),
                                 QStringLiteral("button:Sí"), QStringLiteral("button:No")}));
    QVERIFY(query.exec(QStringLiteral("select distinct EXTNOF, EXTFOF from DIP where EXTINT = "
                                      "'OP-2025-0042'")));
    QVERIFY(query.next());
    QCOMPARE(query.value(0).toString() + u' ' + query.value(1).toString(), recorded);
    QVERIFY(!query.next());
    QCOMPARE(QFile::exists(dir.filePath(QStringLiteral("declaracion.pdf"))), button == u"cmdSi");
    QVERIFY2(messages.isEmpty(), qPrintable(messages.join(u'\n')));
    oquivran::setMessageHandler({});
}

QTEST_MAIN(tst_HostWindow)
#include "tst_HostWindow.moc"
