#include "Alinear.h"

#include <QtTest>

using namespace oquivran;

class tst_Alinear : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pad_data();
    void pad();
    void negativeWidthGivesErrorText();
    void appendedAsAlinearPads_data();
    void appendedAsAlinearPads();
    void writtenAsAppended_data();
    void writtenAsAppended();
};

void tst_Alinear::pad_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("left");
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("expected");

    QTest::newRow("AB left in 5") << "AB" << true << 5 << "AB   ";
    QTest::newRow("AB right in 5") << "AB" << false << 5 << "   AB";
    QTest::newRow("exact width left") << "ABCDE" << true << 5 << "ABCDE";
    QTest::newRow("exact width right") << "ABCDE" << false << 5 << "ABCDE";
    QTest::newRow("longer is cut") << "ABCDEFG" << true << 5 << "ABCDE";
    QTest::newRow("longer is cut right-aligned too") << "ABCDEFG" << false << 5 << "ABCDE";
    QTest::newRow("width 0") << "AB" << true << 0 << "";
    QTest::newRow("empty text") << "" << false << 3 << "   ";
    QTest::newRow("declaration cut to 16")
        << "26001IT14000123X-LONG" << true << 16 << "26001IT14000123X";
    QTest::newRow("accented character counts one") << "Año" << true << 4 << "Año ";
    // Lengths count UTF-16 code units: a character outside the basic plane counts two.
    QTest::newRow("surrogate pair counts two") << QString::fromUtf8("\xF0\x9F\x98\x80") << true << 3
                                               << QString::fromUtf8("\xF0\x9F\x98\x80 ");
}

void tst_Alinear::pad()
{
    QFETCH(QString, text);
    QFETCH(bool, left);
    QFETCH(int, width);
    QFETCH(QString, expected);
    const QString result = Alinear(text, left ? Alignment::Left : Alignment::Right, qint16(width));
    QCOMPARE(result, expected);
    if (width > text.size())
        QCOMPARE(result.size(), qsizetype(width));
}

void tst_Alinear::negativeWidthGivesErrorText()
{
    const QString text(60, u'x');
    QCOMPARE(Alinear(text, Alignment::Left, -1),
             QStringLiteral("Err_FrmSytr Invalid procedure call or argument: ") + text.left(50));
}

void tst_Alinear::appendedAsAlinearPads_data()
{
    pad_data();
    QTest::newRow("negative width") << QString(60, u'x') << true << -1
                                    << QStringLiteral("Err_FrmSytr Invalid procedure call or "
                                                      "argument: ") +
                                           QString(50, u'x');
}

void tst_Alinear::appendedAsAlinearPads()
{
    // Appended to a line that holds text already, the padded text lands after it unchanged,
    // after the blanks asked for.
    QFETCH(QString, text);
    QFETCH(bool, left);
    QFETCH(int, width);
    QFETCH(QString, expected);
    const Alignment alignment = left ? Alignment::Left : Alignment::Right;
    QString line = QStringLiteral("|col|");
    appendAligned(line, text, alignment, qint16(width));
    QCOMPARE(line, QStringLiteral("|col|") + expected);
    // With blanks before it, as between a report's columns.
    for (const qint16 blanks : {1, 3}) {
        QString spaced = QStringLiteral("|col|");
        appendAligned(spaced, text, alignment, qint16(width), blanks);
        QCOMPARE(spaced, QStringLiteral("|col|") + QString(blanks, u' ') + expected);
    }
}

void tst_Alinear::writtenAsAppended_data()
{
    pad_data();
}

void tst_Alinear::writtenAsAppended()
{
    // Written into room sized beforehand, the text is what appendAligned appends, and the end
    // given back is right after it: nothing past the room is touched.
    QFETCH(QString, text);
    QFETCH(bool, left);
    QFETCH(int, width);
    QFETCH(QString, expected);
    const Alignment alignment = left ? Alignment::Left : Alignment::Right;
    for (const qint16 blanks : {0, 1, 3}) {
        QString room(blanks + width + 1, u'#');
        char16_t* begin = reinterpret_cast<char16_t*>(room.data());
        char16_t* end = writeAligned(begin, text, alignment, qint16(width), blanks);
        QCOMPARE(end - begin, qsizetype(blanks + width));
        QString appended;
        appendAligned(appended, text, alignment, qint16(width), blanks);
        QCOMPARE(room, appended + u'#');
        QCOMPARE(room.chopped(1), QString(blanks, u' ') + expected);
    }
}

QTEST_GUILESS_MAIN(tst_Alinear)
#include "tst_Alinear.moc"
