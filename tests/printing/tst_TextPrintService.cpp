#include "DefaultTextPrintService.h"
#include "RecordingTextService.h"
#include "TextPrintServices.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using namespace oquivran;

class tst_TextPrintService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void fileOutputAppendsPagesWithFormFeeds();
    void unwritableFileFails();
    void unknownQueueFails();
    void hostServiceReplacesDefault();
};

void tst_TextPrintService::cleanup()
{
    qunsetenv(DefaultTextPrintService::outputVariable());
}

void tst_TextPrintService::fileOutputAppendsPagesWithFormFeeds()
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("pages.txt"));
    qputenv(DefaultTextPrintService::outputVariable(), file.toLocal8Bit());
    DefaultTextPrintService service;
    QVERIFY(service.ImprimirDOS(QStringLiteral("página 1\r\n"), QStringLiteral("ANY")));
    QVERIFY(service.ImprimirDOS(QStringLiteral("page 2\r\n"), QString()));
    QFile out(file);
    QVERIFY(out.open(QIODevice::ReadOnly));
    QCOMPARE(out.readAll(), QByteArray("p\xc3\xa1gina 1\r\n\fpage 2\r\n\f"));
}

void tst_TextPrintService::unwritableFileFails()
{
    qputenv(DefaultTextPrintService::outputVariable(), "/nonexistent-folder/x/pages.txt");
    DefaultTextPrintService service;
    QVERIFY(!service.ImprimirDOS(QStringLiteral("x"), QString()));
}

void tst_TextPrintService::unknownQueueFails()
{
    // No CUPS server answers on this port: the page is refused, nothing blocks.
    qputenv("CUPS_SERVER", "127.0.0.1:9");
    DefaultTextPrintService service;
    QVERIFY(!service.ImprimirDOS(QStringLiteral("x"), QStringLiteral("NOQUEUE")));
    qunsetenv("CUPS_SERVER");
}

void tst_TextPrintService::hostServiceReplacesDefault()
{
    TextPrintService* defaultService = &TextPrintServices::current();
    QVERIFY(dynamic_cast<DefaultTextPrintService*>(defaultService));
    {
        RecordingTextService host;
        QCOMPARE(&TextPrintServices::current(), static_cast<TextPrintService*>(&host));
    }
    // A null service restores the default.
    QCOMPARE(&TextPrintServices::current(), defaultService);
}

QTEST_APPLESS_MAIN(tst_TextPrintService)
#include "tst_TextPrintService.moc"
