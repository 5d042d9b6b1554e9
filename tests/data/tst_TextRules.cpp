#include "TextRules.h"

#include <QtTest>

using namespace oquivran;

class tst_TextRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void trim_data();
    void trim();
};

void tst_TextRules::trim_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("blanks both ends") << "  A B  "
                                      << "A B";
    QTest::newRow("only blanks") << "    "
                                 << "";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("tabs stay") << "\tA\t"
                               << "\tA\t";
    QTest::newRow("line breaks stay") << "\r\n A \r\n"
                                      << "\r\n A \r\n";
    QTest::newRow("blank then tab") << " \tA"
                                    << "\tA";
    QTest::newRow("no-break space stays")
        << QString(QChar(0xA0)) + "A" << QString(QChar(0xA0)) + "A";
}

void tst_TextRules::trim()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(TextRules::trim(text), expected);
}

QTEST_GUILESS_MAIN(tst_TextRules)
#include "tst_TextRules.moc"
