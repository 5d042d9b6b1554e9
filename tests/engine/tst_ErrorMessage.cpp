#include "ErrorMessage.h"
#include "MessageRecorder.h"

#include <QtTest>

#include <stdexcept>

using namespace oquivran;

class tst_ErrorMessage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text();
    void showIsCriticalWithDefaultTitle();
    void guardPassesResult();
    void guardReportsRuntimeError();
    void guardReportsOtherExceptions();
    void guardKeepsWorkDoneBeforeTheError();
};

void tst_ErrorMessage::text()
{
    const RuntimeError error = RuntimeError::userDefined(
        QStringLiteral("No se encontro ningun insumo para este articulo."),
        QStringLiteral("Consulta RIP"));
    // The source is not shown: description, two line breaks, the number, the label.
    QCOMPARE(
        ErrorMessage::text(error, QStringLiteral(" - Seccion [oTORVANE.clRelacionInsumo.GetRIP]")),
        QStringLiteral("No se encontro ningun insumo para este articulo.\r\n\r\n"
                       "-2147221504 - Seccion [oTORVANE.clRelacionInsumo.GetRIP]"));
}

void tst_ErrorMessage::showIsCriticalWithDefaultTitle()
{
    MessageRecorder recorder;
    ErrorMessage::show(RuntimeError::typeMismatch(), QStringLiteral(" - seccion [x]"));
    QCOMPARE(recorder.messages.size(), 1);
    QCOMPARE(recorder.lastPrompt(), QStringLiteral("Type mismatch\r\n\r\n13 - seccion [x]"));
    QCOMPARE(recorder.lastStyle(), 16);
    QVERIFY(recorder.messages.last().title.isEmpty());
}

void tst_ErrorMessage::guardPassesResult()
{
    MessageRecorder recorder;
    QVERIFY(ErrorMessage::guard(QStringLiteral("L"), [] { return true; }));
    QVERIFY(!ErrorMessage::guard(QStringLiteral("L"), [] { return false; }));
    QVERIFY(recorder.messages.isEmpty());
}

void tst_ErrorMessage::guardReportsRuntimeError()
{
    MessageRecorder recorder;
    const bool result = ErrorMessage::guard(QStringLiteral(" - Seccion [a.b]"),
                                            []() -> bool { throw RuntimeError::overflow(); });
    QVERIFY(!result);
    QCOMPARE(recorder.lastPrompt(), QStringLiteral("Overflow\r\n\r\n6 - Seccion [a.b]"));
}

void tst_ErrorMessage::guardReportsOtherExceptions()
{
    MessageRecorder recorder;
    QVERIFY(!ErrorMessage::guard(QStringLiteral("L"),
                                 []() -> bool { throw std::runtime_error("boom"); }));
    QCOMPARE(recorder.lastPrompt(), QStringLiteral("boom\r\n\r\n51L"));
}

void tst_ErrorMessage::guardKeepsWorkDoneBeforeTheError()
{
    MessageRecorder recorder;
    int done = 0;
    QVERIFY(!ErrorMessage::guard(QStringLiteral("L"), [&]() -> bool {
        ++done;
        throw RuntimeError::typeMismatch();
    }));
    QCOMPARE(done, 1);
}

QTEST_GUILESS_MAIN(tst_ErrorMessage)
#include "tst_ErrorMessage.moc"
