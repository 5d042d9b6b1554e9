#include "HostDatabases.h"
#include "HostWindow.h"

#include <oquivran/Module.h>

#include <QAction>
#include <QKeyEvent>
#include <QLabel>
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

QTEST_MAIN(tst_HostWindow)
#include "tst_HostWindow.moc"
