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
    QCOMPARE(databases.open(dir.filePath("d.sqlite"), dir.filePath("h.sqlite"),
                            HostDatabases::Missing::CreateSample),
             HostDatabases::Status::Created);
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
    QCOMPARE(databases.open(dir.filePath("d.sqlite"), dir.filePath("h.sqlite"),
                            HostDatabases::Missing::CreateSample),
             HostDatabases::Status::Created);
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

QTEST_MAIN(tst_HostWindow)
#include "tst_HostWindow.moc"
