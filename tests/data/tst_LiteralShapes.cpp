#include "LiteralParameters.h"
#include "LiteralShapes.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace oquivran;

// A text found by its shape must give exactly what taking its literals out gives: the same
// shared form and the same values; a text that LiteralParameters would share otherwise, or not
// at all, must not be found.
class tst_LiteralShapes : public QObject
{
    Q_OBJECT

private:
    // What the shapes of remembered give sql, beside what extract() gives it.
    static void compare(const QStringList& remembered, const QString& sql, bool found);
    // That a shape's form and values for sql are those extract() gives it.
    static void sameAsExtracted(const QString& sql, const QString& form,
                                const QVariantList& values);

private Q_SLOTS:
    void sameAsTakingOut_data();
    void sameAsTakingOut();
    void randomLiterals();
    void mostRecentFirst();
    void capacity();
    void oneListRunAfterRun();
};

void tst_LiteralShapes::compare(const QStringList& remembered, const QString& sql, bool found)
{
    LiteralShapes shapes;
    for (const QString& text : remembered) {
        const std::optional<LiteralParameters::Result> shared = LiteralParameters::extract(text);
        QVERIFY2(shared, qPrintable(text));
        shapes.remember(text, *shared);
    }
    QVariantList values;
    const QString* form = shapes.match(sql, values);
    QCOMPARE(form != nullptr, found);
    if (form)
        sameAsExtracted(sql, *form, values);
}

void tst_LiteralShapes::sameAsExtracted(const QString& sql, const QString& form,
                                        const QVariantList& values)
{
    const std::optional<LiteralParameters::Result> expected = LiteralParameters::extract(sql);
    QVERIFY2(expected, qPrintable(sql));
    QCOMPARE(form, expected->text);
    QCOMPARE(values, expected->values);
    for (qsizetype i = 0; i < values.size(); ++i)
        QCOMPARE(values.at(i).typeId(), expected->values.at(i).typeId());
}

void tst_LiteralShapes::sameAsTakingOut_data()
{
    QTest::addColumn<QString>("remembered");
    QTest::addColumn<QString>("sql");
    QTest::addColumn<bool>("found");
    const QString stock =
        QStringLiteral("select A from INS where ARTNRO = 'TELA' and ARTSBT = 12 order by 1");
    QTest::newRow("the same text") << stock << stock << true;
    QTest::newRow("other values")
        << stock << "select A from INS where ARTNRO = 'HILO-POL' and ARTSBT = 7 order by 1" << true;
    QTest::newRow("empty text") << stock
                                << "select A from INS where ARTNRO = '' and ARTSBT = 0 order by 1"
                                << true;
    QTest::newRow("doubled quotes")
        << stock << "select A from INS where ARTNRO = 'O''Brien''' and ARTSBT = 1 order by 1"
        << true;
    QTest::newRow("comment marks inside the text")
        << stock << "select A from INS where ARTNRO = '-- /* x' and ARTSBT = 1 order by 1" << true;
    QTest::newRow("accents inside the text")
        << stock << "select A from INS where ARTNRO = 'Ñandú ü' and ARTSBT = 1 order by 1" << true;
    QTest::newRow("eighteen digits")
        << stock
        << "select A from INS where ARTNRO = 'a' and ARTSBT = 999999999999999999 order by 1"
        << true;
    QTest::newRow("leading zeros")
        << stock << "select A from INS where ARTNRO = 'a' and ARTSBT = 007 order by 1" << true;
    // The number is not a whole number of digits alone: not taken out, so another shape.
    QTest::newRow("nineteen digits")
        << stock
        << "select A from INS where ARTNRO = 'a' and ARTSBT = 9999999999999999999 order by 1"
        << false;
    QTest::newRow("decimals") << stock
                              << "select A from INS where ARTNRO = 'a' and ARTSBT = 1.5 order by 1"
                              << false;
    QTest::newRow("exponent") << stock
                              << "select A from INS where ARTNRO = 'a' and ARTSBT = 1e5 order by 1"
                              << false;
    QTest::newRow("hexadecimal")
        << stock << "select A from INS where ARTNRO = 'a' and ARTSBT = 0x1F order by 1" << false;
    QTest::newRow("number run into a word")
        << stock << "select A from INS where ARTNRO = 'a' and ARTSBT = 12_3 order by 1" << false;
    QTest::newRow("a text where the number was")
        << stock << "select A from INS where ARTNRO = 'a' and ARTSBT = '12' order by 1" << false;
    QTest::newRow("a number where the text was")
        << stock << "select A from INS where ARTNRO = 5 and ARTSBT = 12 order by 1" << false;
    QTest::newRow("unclosed quote")
        << stock << "select A from INS where ARTNRO = 'a and ARTSBT = 12 order by 1" << false;
    QTest::newRow("ordinal changed")
        << stock << "select A from INS where ARTNRO = 'a' and ARTSBT = 12 order by 2" << false;
    QTest::newRow("more text after") << stock << stock + QStringLiteral(", 2") << false;
    QTest::newRow("text cut short") << stock << stock.left(stock.size() - 1) << false;
    QTest::newRow("other spacing")
        << stock << "select A from INS where ARTNRO =  'a' and ARTSBT = 12 order by 1" << false;
    QTest::newRow("other letter case")
        << stock << "SELECT A from INS where ARTNRO = 'a' and ARTSBT = 12 order by 1" << false;
    // The result columns name the columns: their literals are part of the shape.
    const QString columns = QStringLiteral("select 'k' as K, A from T where A = 'v'");
    QTest::newRow("result column changed")
        << columns << "select 'j' as K, A from T where A = 'v'" << false;
    QTest::newRow("value changed") << columns << "select 'k' as K, A from T where A = 'w'" << true;
    const QString blob = QStringLiteral("insert into T values (x'0A', 7, 'b')");
    QTest::newRow("blob changed") << blob << "insert into T values (x'0B', 7, 'b')" << false;
    QTest::newRow("values around a blob")
        << blob << "insert into T values (x'0A', 8, 'c''d')" << true;
    QTest::newRow("several shapes")
        << QStringLiteral("delete from DIP where EXTINT = 'OP1'\n") + stock
        << "delete from DIP where EXTINT = 'OP2'" << true;
}

void tst_LiteralShapes::sameAsTakingOut()
{
    QFETCH(QString, remembered);
    QFETCH(QString, sql);
    QFETCH(bool, found);
    compare(remembered.split(u'\n'), sql, found);
}

// Texts of one shape with literals made of every kind of character: whenever a text is found,
// it gives what taking its literals out gives.
void tst_LiteralShapes::randomLiterals()
{
    QRandomGenerator random(20261126);
    const QString shape =
        QStringLiteral("update INS set ARTDSC = %1, INSEXP = %2 where ARTNRO = %3 and ARTITM = %4");
    const QString original = shape.arg(QStringLiteral("5"), QStringLiteral("'x'"),
                                       QStringLiteral("'TELA'"), QStringLiteral("12"));
    const QString alphabet = QStringLiteral("0123456789'-/*.eEx_$aZ ñ;()?");
    int found = 0;
    for (int round = 0; round < 5000; ++round) {
        QStringList literals;
        for (int k = 0; k < 4; ++k) {
            QString literal;
            const auto pick = [&](const QString& from) {
                return from.at(random.bounded(int(from.size())));
            };
            if (k == 0 || k == 3) {
                // Digits, up to twenty of them, now and then run into another character.
                const int size = int(random.bounded(1, 21));
                for (int i = 0; i < size; ++i)
                    literal += pick(QStringLiteral("0123456789"));
                if (random.bounded(4) == 0)
                    literal.insert(random.bounded(literal.size() + 1), pick(alphabet));
            } else {
                const int size = int(random.bounded(6));
                for (int i = 0; i < size; ++i)
                    literal += pick(alphabet);
                // Mostly quoted as a text should be, now and then left as it came.
                if (random.bounded(4) != 0)
                    literal = u'\'' + literal.replace(u'\'', QStringLiteral("''")) + u'\'';
            }
            literals.append(literal);
        }
        const QString sql = shape.arg(literals[0], literals[1], literals[2], literals[3]);
        LiteralShapes shapes;
        shapes.remember(original, *LiteralParameters::extract(original));
        QVariantList values;
        const QString* form = shapes.match(sql, values);
        if (!form)
            continue;
        ++found;
        const std::optional<LiteralParameters::Result> expected = LiteralParameters::extract(sql);
        QVERIFY2(expected, qPrintable(sql));
        QVERIFY2(*form == expected->text, qPrintable(sql));
        QVERIFY2(values == expected->values, qPrintable(sql));
    }
    // Not a test that finds nothing.
    QVERIFY2(found > 500, qPrintable(QString::number(found)));
}

void tst_LiteralShapes::mostRecentFirst()
{
    compare({QStringLiteral("select A from T where B = 1"),
             QStringLiteral("select A from T where B = 1 and C = 2")},
            QStringLiteral("select A from T where B = 3"), true);
    compare({QStringLiteral("select A from T where B = 1 and C = 2"),
             QStringLiteral("select A from T where B = 1")},
            QStringLiteral("select A from T where B = 3 and C = 4"), true);
}

void tst_LiteralShapes::capacity()
{
    QStringList remembered;
    for (int i = 0; i <= LiteralShapes::Capacity; ++i)
        remembered.append(QStringLiteral("select A from T%1 where B = 1").arg(i));
    // The first is the least recent, gone when one more than the capacity came after it.
    compare(remembered, QStringLiteral("select A from T0 where B = 2"), false);
    compare(remembered, QStringLiteral("select A from T1 where B = 2"), true);
    compare(remembered,
            QStringLiteral("select A from T%1 where B = 2").arg(LiteralShapes::Capacity), true);
}

// One value list given back run after run, as the statement pipeline does, holds each text's
// values alone: longer and shorter texts, doubled quotes, a text where a number was, an empty
// text; a value a caller kept from an earlier run is not written over.
void tst_LiteralShapes::oneListRunAfterRun()
{
    const QStringList remembered = {QStringLiteral("select A from T where B = 'x' and C = 1"),
                                    QStringLiteral("select A from T where B = 2 and C = 'y'")};
    LiteralShapes shapes;
    for (const QString& text : remembered)
        shapes.remember(text, *LiteralParameters::extract(text));
    const QStringList texts = {
        QStringLiteral("select A from T where B = 'a long text, the longest' and C = 5"),
        QStringLiteral("select A from T where B = 'ab''c' and C = 6"),
        QStringLiteral("select A from T where B = 'zz' and C = 7"),
        QStringLiteral("select A from T where B = 8 and C = 'ñandú'''"),
        QStringLiteral("select A from T where B = 9 and C = ''"),
        QStringLiteral("select A from T where B = '''' and C = 10"),
        QStringLiteral("select A from T where B = 'after' and C = 11")};
    QVariantList values;
    QVariant kept;
    QString keptText;
    for (const QString& sql : texts) {
        const QString* form = shapes.match(sql, values);
        QVERIFY2(form, qPrintable(sql));
        sameAsExtracted(sql, *form, values);
        if (QTest::currentTestFailed())
            return;
        if (kept.isValid())
            QCOMPARE(kept.toString(), keptText);
        // Each text's first value is kept until the next one.
        kept = values.at(0);
        keptText = kept.toString();
    }
    QVERIFY(!shapes.match(QStringLiteral("select B from T"), values));
    QVERIFY(values.isEmpty());
}

QTEST_GUILESS_MAIN(tst_LiteralShapes)
#include "tst_LiteralShapes.moc"
