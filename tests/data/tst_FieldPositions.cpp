#include "FieldPositions.h"

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QTest>

using namespace oquivran;

// Positions kept for a result's fields are used only while the fields are the same: results
// that share their fields, or have equal ones, read by them; results with other fields have
// them found again; a field a result lacks fails as reading it by name does.
class tst_FieldPositions : public QObject
{
    Q_OBJECT

private:
    static Recordset oneRow(const QStringList& fields, const QVariantList& values)
    {
        Recordset rs(fields);
        rs.appendRow(values);
        return rs;
    }

private Q_SLOTS:
    void resultsOneAfterAnother_data()
    {
        QTest::addColumn<QStringList>("fields");
        QTest::addColumn<QList<int>>("expected");
        QTest::newRow("as named") << QStringList{"A", "B", "C"} << QList<int>{0, 1, 2};
        QTest::newRow("other order") << QStringList{"C", "A", "B"} << QList<int>{1, 2, 0};
        QTest::newRow("other case") << QStringList{"b", "c", "a"} << QList<int>{2, 0, 1};
        QTest::newRow("one lacking") << QStringList{"A", "C"} << QList<int>{0, -1, 1};
        QTest::newRow("more fields") << QStringList{"X", "A", "Y", "B", "C"} << QList<int>{1, 3, 4};
        QTest::newRow("none") << QStringList{} << QList<int>{-1, -1, -1};
    }
    // Each row's fields after the row before had others: the positions follow them.
    void resultsOneAfterAnother()
    {
        QFETCH(QStringList, fields);
        QFETCH(QList<int>, expected);
        FieldPositions positions({QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")});
        // Another result first, so that the one of the row is met after it.
        QCOMPARE(positions.in(oneRow({"C", "B", "A"}, {3, 2, 1})), (QList<int>{2, 1, 0}));
        QVariantList values;
        for (const QString& field : fields)
            values.append(QString(field.toUpper() + u'!'));
        const Recordset rs = oneRow(fields, values);
        QCOMPARE(positions.in(rs), expected);
        for (int i = 0; i < expected.size(); ++i) {
            if (expected.at(i) >= 0) {
                QCOMPARE(rs.value(positions.in(rs).at(i)).toString(),
                         QString(QChar(u'A' + i)) + u'!');
                continue;
            }
            try {
                rs.value(positions.in(rs).at(i));
                QFAIL("a lacking field was read");
            } catch (const RuntimeError& error) {
                QCOMPARE(error.number, qint32(ItemNotFound));
            }
        }
    }

    // Results made from one list of fields, as a kept statement makes them, read by the
    // positions found in the first; equal fields in a list of their own read alike.
    void sharedAndEqualFields()
    {
        const QStringList fields = {QStringLiteral("N"), QStringLiteral("M")};
        const Recordset empty(fields);
        FieldPositions positions({QStringLiteral("M"), QStringLiteral("N")});
        for (int i = 0; i < 3; ++i) {
            Recordset rs = empty;
            rs.appendRow({i, 10 * i});
            const QList<int>& at = positions.in(rs);
            QCOMPARE(rs.value(at.at(0)).toInt(), 10 * i);
            QCOMPARE(rs.value(at.at(1)).toInt(), i);
        }
        const Recordset equal =
            oneRow(QStringList{QStringLiteral("N"), QStringLiteral("M")}, {7, 70});
        QCOMPARE(equal.value(positions.in(equal).at(0)).toInt(), 70);
        const Recordset swapped =
            oneRow(QStringList{QStringLiteral("M"), QStringLiteral("N")}, {70, 7});
        QCOMPARE(swapped.value(positions.in(swapped).at(0)).toInt(), 70);
        QCOMPARE(swapped.value(positions.in(swapped).at(1)).toInt(), 7);
    }
};

QTEST_GUILESS_MAIN(tst_FieldPositions)
#include "tst_FieldPositions.moc"
