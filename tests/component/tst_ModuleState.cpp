#include "MessageRecorder.h"
#include "Messages.h"
#include "ModuleState.h"

#include <oquivran/DataObject.h>
#include <oquivran/Module.h>

#include <QtTest>

using namespace oquivran;

class tst_ModuleState : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void resetReturnsToFreshState();
    void applyFormats();
    void messagesReachTheHandler();
    void emptyHandlerRestoresDefault();
    void defaultHandlerWithoutGuiAnswersNo();
};

void tst_ModuleState::resetReturnsToFreshState()
{
    ModuleState& state = moduleState();
    state.INTERNO = QStringLiteral("OP1");
    state.SUBITEM = 3;
    state.PRDCAN = 10;
    state.dataObject = reinterpret_cast<DataObject*>(&state);
    state.candidateLines.append(DipCandidate());
    state.relationList.append(RipEntry());
    state.CantidadDescontada = 5;
    state.dischargeResult = true;
    state.ctcMemory.append(CtcMemoryEntry());
    state.reportLines.append({QStringLiteral("T"), QStringLiteral("x")});

    resetModuleState();
    QVERIFY(moduleState().INTERNO.isEmpty());
    QCOMPARE(moduleState().SUBITEM, qint16(0));
    QCOMPARE(moduleState().PRDCAN, 0.0);
    QVERIFY(!moduleState().dataObject);
    QVERIFY(moduleState().candidateLines.isEmpty());
    QVERIFY(moduleState().relationList.isEmpty());
    QCOMPARE(moduleState().CantidadDescontada, 0.0);
    QVERIFY(!moduleState().dischargeResult);
    QVERIFY(moduleState().ctcMemory.isEmpty());
    QVERIFY(moduleState().reportLines.isEmpty());
    QVERIFY(moduleState().valueFormat.isEmpty());
}

void tst_ModuleState::applyFormats()
{
    moduleState().applyFormats({true, QStringLiteral("a"), QStringLiteral("b")});
    QVERIFY(moduleState().extendedDecimals);
    QCOMPARE(moduleState().valueFormat, QStringLiteral("a"));
    QCOMPARE(moduleState().secondFormat, QStringLiteral("b"));
}

void tst_ModuleState::messagesReachTheHandler()
{
    MessageRecorder recorder(AnswerYes);
    QCOMPARE(Messages::show(QStringLiteral("¿Seguro?"), MessageYesNo | MessageQuestion,
                            QStringLiteral("Insumos")),
             int(AnswerYes));
    QCOMPARE(Messages::show(QStringLiteral("Aviso"), MessageExclamation), int(AnswerYes));
    QCOMPARE(recorder.messages.size(), 2);
    QCOMPARE(recorder.messages[0].prompt, QStringLiteral("¿Seguro?"));
    QCOMPARE(recorder.messages[0].style, 36);
    QCOMPARE(recorder.messages[0].title, QStringLiteral("Insumos"));
    // An empty title reaches the handler as it is: it stands for the default title.
    QCOMPARE(recorder.messages[1].style, 48);
    QVERIFY(recorder.messages[1].title.isEmpty());
    QCOMPARE(Messages::defaultTitle(), QStringLiteral("oQUIVRAN"));
}

void tst_ModuleState::emptyHandlerRestoresDefault()
{
    {
        MessageRecorder recorder;
        Messages::show(QStringLiteral("uno"), MessageOkOnly);
        QCOMPARE(recorder.messages.size(), 1);
    }
    // The recorder is gone; a second recorder sees only its own messages.
    MessageRecorder second;
    Messages::show(QStringLiteral("dos"), MessageOkOnly);
    QCOMPARE(second.messages.size(), 1);
    QCOMPARE(second.lastPrompt(), QStringLiteral("dos"));
}

void tst_ModuleState::defaultHandlerWithoutGuiAnswersNo()
{
    // This test runs with a QCoreApplication: the default handler cannot show a box, writes
    // the text to stderr and answers a question No, so nothing unconfirmed happens.
    setMessageHandler({});
    QCOMPARE(Messages::show(QStringLiteral("¿Confirma?"), MessageYesNo | MessageQuestion),
             int(AnswerNo));
    QCOMPARE(Messages::show(QStringLiteral("Aviso"), MessageExclamation), int(AnswerOk));
}

QTEST_GUILESS_MAIN(tst_ModuleState)
#include "tst_ModuleState.moc"
