#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "Scenario.h"
#include "ScreenCase.h"
#include "ScreenScript.h"

#include "ClCntrl.h"
#include "LocaleRules.h"

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QVBoxLayout>
#include <QtTest>

using namespace oquivran;

namespace {

// Runs body on the line edit screen of the first allocation line.
void onLineEdit(const std::function<void(QWidget*)>& body)
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [body](QWidget* screen) {
        body(screen);
        press(screen, "txtCantidad", Qt::Key_Escape);
    });
    closeAllocation(script);
    QVERIFY(runOnAllocation(script));
}

QColor backColour(const QLineEdit* box)
{
    return box->palette().color(QPalette::Base);
}

} // namespace

class tst_ClCntrl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void keypadDecimalTypesLocaleSeparator();
    void keypadDecimalBySeparator_data();
    void keypadDecimalBySeparator();
    void enterAndArrowsMoveFocus();
    void bbTagNeverHighlights();
    void f6TagHighlightsAndLeavesWhite();
    void otherTagHighlightsGreen();
    void positioningByText();
    void tooltipClearsBelowLastItem();
    void unreadableLocale();
    void vaciarTxtEmptiesTextBoxes();
};

void tst_ClCntrl::cleanup()
{
    ClCntrl::setDecimalReader({});
}

void tst_ClCntrl::keypadDecimalTypesLocaleSeparator()
{
    onLineEdit([](QWidget* screen) {
        auto* box = control<QLineEdit>(screen, "txtPrecio");
        box->clear();
        QTest::keyClick(box, Qt::Key_1);
        QTest::keyClick(box, Qt::Key_Period, Qt::KeypadModifier);
        QTest::keyClick(box, Qt::Key_5);
        const QString separator = LocaleRules::system().decimalSeparator();
        QCOMPARE(box->text(), QStringLiteral("1") + separator + QStringLiteral("5"));
        // A point on the main keyboard stays a point.
        box->clear();
        QTest::keyClick(box, Qt::Key_Period);
        QCOMPARE(box->text(), QStringLiteral("."));
    });
}

void tst_ClCntrl::keypadDecimalBySeparator_data()
{
    QTest::addColumn<QString>("separator");
    QTest::newRow("comma") << QStringLiteral(",");
    QTest::newRow("point") << QStringLiteral(".");
}

void tst_ClCntrl::keypadDecimalBySeparator()
{
    QFETCH(QString, separator);
    ClCntrl::setDecimalReader([separator] { return std::optional<QString>(separator); });
    QDialog dialog;
    auto* box = new QLineEdit(&dialog);
    ClCntrl helper;
    helper.sLinkText(box);
    QCOMPARE(helper.Separador_Decimal(), separator);
    QCOMPARE(helper.Obtener_Sep_Decim(), separator);
    QTest::keyClick(box, Qt::Key_Period, Qt::KeypadModifier);
    QTest::keyClick(box, Qt::Key_Period);
    QTest::keyClick(box, Qt::Key_Comma);
    QCOMPARE(box->text(), separator + QStringLiteral(".,"));
    QVERIFY(!helper.keypadDecimalDown());
}

void tst_ClCntrl::enterAndArrowsMoveFocus()
{
    onLineEdit([](QWidget* screen) {
        auto* quantity = control<QLineEdit>(screen, "txtCantidad");
        auto* price = control<QLineEdit>(screen, "txtPrecio");
        quantity->setFocus();
        QTRY_VERIFY(quantity->hasFocus());
        const QString before = quantity->text();
        QTest::keyClick(quantity, Qt::Key_Return);
        QVERIFY(price->hasFocus());
        QCOMPARE(quantity->text(), before);
        QTest::keyClick(price, Qt::Key_Up);
        QTRY_VERIFY(quantity->hasFocus());
        QTest::keyClick(quantity, Qt::Key_Down);
        QTRY_VERIFY(price->hasFocus());
    });
}

void tst_ClCntrl::bbTagNeverHighlights()
{
    onLineEdit([](QWidget* screen) {
        auto* box = control<QLineEdit>(screen, "txtMerma");
        box->setProperty("Tag", QStringLiteral("BB#X"));
        const QColor before = backColour(box);
        box->setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(box->hasFocus());
        QCOMPARE(backColour(box), before);
        QVERIFY(!box->hasSelectedText());
        control<QLineEdit>(screen, "txtCTC")->setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(!box->hasFocus());
        QCOMPARE(backColour(box), before);
    });
}

void tst_ClCntrl::f6TagHighlightsAndLeavesWhite()
{
    onLineEdit([](QWidget* screen) {
        auto* box = control<QLineEdit>(screen, "txtPerdida");
        box->setProperty("Tag", QStringLiteral("BBNUM#F6"));
        box->setFocus();
        QTRY_VERIFY(box->hasFocus());
        QCOMPARE(backColour(box), QColor(254, 228, 214));
        QCOMPARE(box->selectedText(), box->text());
        // Only the "BB" test is made on leaving: this box keeps its colour.
        control<QLineEdit>(screen, "txtCTC")->setFocus();
        QTRY_VERIFY(!box->hasFocus());
        QCOMPARE(backColour(box), QColor(254, 228, 214));
        box->setProperty("Tag", QStringLiteral("NUM#F6"));
        box->setFocus();
        QTRY_VERIFY(box->hasFocus());
        QCOMPARE(backColour(box), QColor(254, 228, 214));
        control<QLineEdit>(screen, "txtCTC")->setFocus();
        QTRY_VERIFY(!box->hasFocus());
        QCOMPARE(backColour(box), QColor(255, 255, 255));
    });
}

void tst_ClCntrl::otherTagHighlightsGreen()
{
    onLineEdit([](QWidget* screen) {
        auto* box = control<QLineEdit>(screen, "txtCTC");
        box->setFocus();
        QTRY_VERIFY(box->hasFocus());
        QCOMPARE(backColour(box), QColor(192, 255, 192));
        QCOMPARE(box->selectedText(), box->text());
        control<QLineEdit>(screen, "txtEXP")->setFocus();
        QTRY_VERIFY(!box->hasFocus());
        QCOMPARE(backColour(box), QColor(255, 255, 255));
    });
}

void tst_ClCntrl::positioningByText()
{
    QDialog dialog;
    auto* list = new QListWidget(&dialog);
    list->addItems({"Alfa", "Beta", "beta dos", "Gamma"});
    auto* combo = new QComboBox(&dialog);
    combo->addItems({"Alfa", "Beta", "Gamma"});
    ClCntrl helper;
    helper.sLinkListBox(list);
    helper.sLinkCBoBox(combo);
    QString text = QStringLiteral("BE");
    helper.LstBuscarStr(text);
    QCOMPARE(list->currentRow(), 1);
    text = QStringLiteral("zz");
    helper.LstBuscarStr(text);
    QCOMPARE(list->currentRow(), -1);
    QVERIFY(list->selectedItems().isEmpty());
    text = QString();
    helper.LstBuscarStr(text);
    QCOMPARE(list->currentRow(), 0);
    text = QStringLiteral("gam");
    helper.BuscarCBO(text);
    QCOMPARE(combo->currentIndex(), 2);
    text = QStringLiteral("x");
    helper.BuscarCBO(text);
    QCOMPARE(combo->currentIndex(), -1);
}

void tst_ClCntrl::tooltipClearsBelowLastItem()
{
    QDialog dialog;
    auto* layout = new QVBoxLayout(&dialog);
    auto* list = new QListWidget(&dialog);
    layout->addWidget(list);
    list->addItems({"Primero", "Segundo"});
    dialog.resize(200, 300);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    ClCntrl helper;
    helper.sLinkListBox(list);
    const auto moveTo = [&](const QPoint& point) {
        QMouseEvent move(QEvent::MouseMove, point, list->viewport()->mapToGlobal(point),
                         Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(list->viewport(), &move);
    };
    moveTo(list->visualItemRect(list->item(1)).center());
    QCOMPARE(list->toolTip(), QStringLiteral("Segundo"));
    moveTo(QPoint(10, list->viewport()->height() - 5));
    QCOMPARE(list->toolTip(), QString());
}

void tst_ClCntrl::unreadableLocale()
{
    MessageRecorder recorder;
    ClCntrl::setDecimalReader([] { return std::optional<QString>(); });
    QDialog dialog;
    auto* box = new QLineEdit(&dialog);
    ClCntrl helper;
    helper.sLinkText(box);
    QCOMPARE(recorder.messages.size(), 1);
    QCOMPARE(recorder.lastPrompt(), QStringLiteral("No se puedo obtener la información"));
    QCOMPARE(recorder.lastStyle(), MessageOkOnly);
    QCOMPARE(recorder.messages.last().title, QString());
    QCOMPARE(helper.decimalSeparator(), QString());
    // Without a separator the keypad's point stays a point.
    QTest::keyClick(box, Qt::Key_Period, Qt::KeypadModifier);
    QCOMPARE(box->text(), QStringLiteral("."));
    QCOMPARE(helper.Separador_Decimal(), QString());
    QCOMPARE(recorder.messages.size(), 2);
}

void tst_ClCntrl::vaciarTxtEmptiesTextBoxes()
{
    onLineEdit([](QWidget* screen) {
        ClCntrl::VaciarTxt(screen);
        for (const QLineEdit* box : screen->findChildren<QLineEdit*>())
            QCOMPARE(box->text(), QString());
        QCOMPARE(control<QLabel>(screen, "lbNcm")->text(), scenario::tariff);
    });
}

QTEST_MAIN(tst_ClCntrl)
#include "tst_ClCntrl.moc"
