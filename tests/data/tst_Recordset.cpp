#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QTest>

using oquivran::Recordset;
using oquivran::RuntimeError;

class tst_Recordset : public QObject
{
    Q_OBJECT

private:
    static Recordset threeRows()
    {
        Recordset rs(QStringList{QStringLiteral("ARTNRO"), QStringLiteral("ArtCat")});
        rs.appendRow({QStringLiteral("A1"), 1.5});
        rs.appendRow({QStringLiteral("A2"), 2.5});
        rs.appendRow({QStringLiteral("A3"), 3.5});
        return rs;
    }

    // The error number value() throws for a field, or 0 when it returns.
    static qint32 errorOf(const Recordset& rs, const QString& field)
    {
        try {
            rs.value(field);
        } catch (const RuntimeError& error) {
            return error.number;
        }
        return 0;
    }

    // The same for a position.
    // The error reading a position gives, by value() and by at() alike; -1 when they differ.
    static qint32 errorAt(const Recordset& rs, int index)
    {
        qint32 byValue = 0;
        qint32 byReference = 0;
        try {
            rs.value(index);
        } catch (const RuntimeError& error) {
            byValue = error.number;
        }
        try {
            rs.at(index);
        } catch (const RuntimeError& error) {
            byReference = error.number;
        }
        return byValue == byReference ? byValue : -1;
    }

private Q_SLOTS:
    void emptyRecordset()
    {
        Recordset rs;
        QVERIFY(rs.eof());
        QCOMPARE(rs.recordCount(), 0);
        QVERIFY(rs.fieldNames().isEmpty());
        rs.moveFirst();
        rs.moveNext();
        QVERIFY(rs.eof());
    }

    void fieldsWithoutRows()
    {
        const Recordset rs(QStringList{QStringLiteral("A"), QStringLiteral("B")});
        QVERIFY(rs.eof());
        QCOMPARE(rs.recordCount(), 0);
        QCOMPARE(rs.fieldNames(), (QStringList{QStringLiteral("A"), QStringLiteral("B")}));
        QCOMPARE(errorOf(rs, QStringLiteral("A")), qint32(oquivran::NoCurrentRecord));
    }

    void countBeforeReading()
    {
        Recordset rs = threeRows();
        QCOMPARE(rs.recordCount(), 3);
        QVERIFY(!rs.eof());
        QCOMPARE(rs.value(QStringLiteral("ARTNRO")).toString(), QStringLiteral("A1"));
        rs.moveNext();
        rs.moveNext();
        QCOMPARE(rs.value(QStringLiteral("ARTNRO")).toString(), QStringLiteral("A3"));
        rs.moveNext();
        QVERIFY(rs.eof());
        QCOMPARE(rs.recordCount(), 3);
        rs.moveNext();
        QVERIFY(rs.eof());
    }

    void caseInsensitiveNames_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<double>("expected");
        QTest::newRow("as declared") << QStringLiteral("ArtCat") << 1.5;
        QTest::newRow("upper") << QStringLiteral("ARTCAT") << 1.5;
        QTest::newRow("lower") << QStringLiteral("artcat") << 1.5;
        QTest::newRow("mixed") << QStringLiteral("aRtCaT") << 1.5;
    }
    void caseInsensitiveNames()
    {
        QFETCH(QString, field);
        QFETCH(double, expected);
        const Recordset rs = threeRows();
        QCOMPARE(rs.value(field).toDouble(), expected);
        QCOMPARE(rs.indexOf(field), 1);
        QCOMPARE(rs.value(rs.indexOf(field)).toDouble(), expected);
    }

    void firstDuplicateWins()
    {
        Recordset rs(QStringList{QStringLiteral("X"), QStringLiteral("x")});
        rs.appendRow({1, 2});
        QCOMPARE(rs.value(QStringLiteral("x")).toInt(), 1);
        QCOMPARE(rs.fieldNames().size(), 2);
    }

    // A name finds the first field of that name in any letter case, however it is written.
    void duplicateNamesFindTheFirst_data()
    {
        QTest::addColumn<QStringList>("fields");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("expected");
        QTest::newRow("same letters") << QStringList{"A", "A"} << "A" << 1;
        QTest::newRow("later as written") << QStringList{"ab", "AB"} << "AB" << 1;
        QTest::newRow("earlier as written") << QStringList{"ab", "AB"} << "ab" << 1;
        QTest::newRow("other case") << QStringList{"ab", "AB"} << "Ab" << 1;
        QTest::newRow("after another") << QStringList{"c", "Ab", "aB"} << "aB" << 2;
        QTest::newRow("unique") << QStringList{"c", "Ab", "d"} << "d" << 3;
    }

    void duplicateNamesFindTheFirst()
    {
        QFETCH(QStringList, fields);
        QFETCH(QString, name);
        QFETCH(int, expected);
        Recordset rs(fields);
        rs.appendRow({1, 2, 3});
        QCOMPARE(rs.value(name).toInt(), expected);
        QCOMPARE(rs.indexOf(name), expected - 1);
        QCOMPARE(rs.value(rs.indexOf(name)).toInt(), expected);
    }

    // A position reads as the name it was found by, and fails as the name would.
    void positions_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("rows");
        QTest::addColumn<qint32>("error");
        QTest::newRow("first") << "ARTNRO" << 0 << 3 << 0;
        QTest::newRow("second") << "artcat" << 1 << 3 << 0;
        QTest::newRow("unknown") << "ARTITM" << -1 << 3 << qint32(oquivran::ItemNotFound);
        QTest::newRow("unknown at eof") << "X" << -1 << 0 << qint32(oquivran::ItemNotFound);
        QTest::newRow("at eof") << "ArtCat" << 1 << 0 << qint32(oquivran::NoCurrentRecord);
    }
    void positions()
    {
        QFETCH(QString, name);
        QFETCH(int, index);
        QFETCH(int, rows);
        QFETCH(qint32, error);
        Recordset rs = threeRows();
        for (int i = 0; i < 3 - rows; ++i)
            rs.moveNext();
        QCOMPARE(rs.indexOf(name), index);
        QCOMPARE(errorAt(rs, index), error);
        QCOMPARE(errorOf(rs, name), error);
        if (error == 0) {
            QCOMPARE(rs.value(index), rs.value(name));
            QCOMPARE(rs.at(index), rs.value(name));
        }
        // Past the last field, as before the first.
        QCOMPARE(errorAt(rs, 2), qint32(oquivran::ItemNotFound));
    }

    // One recordset can carry each row of a query in turn; a copy keeps the row it was made on.
    void replaceRowsGivesTheOldRowBack()
    {
        Recordset rs(QStringList{QStringLiteral("A"), QStringLiteral("B")});
        QVariantList values{1, 2, 99};
        rs.replaceRows(values);
        QVERIFY(values.isEmpty());
        QCOMPARE(rs.recordCount(), 1);
        QCOMPARE(rs.value(QStringLiteral("B")).toInt(), 2);
        const Recordset kept = rs;
        values = {3};
        rs.replaceRows(values);
        QCOMPARE(values, (QVariantList{1, 2}));
        QCOMPARE(rs.recordCount(), 1);
        QCOMPARE(rs.value(QStringLiteral("A")).toInt(), 3);
        QVERIFY(rs.value(QStringLiteral("B")).isNull());
        QCOMPARE(kept.value(QStringLiteral("A")).toInt(), 1);
        values.clear();
        QCOMPARE(kept.value(QStringLiteral("B")).toInt(), 2);
    }

    void replaceRowsDropsOtherRows()
    {
        Recordset rs = threeRows();
        rs.moveNext();
        QVariantList values{QStringLiteral("A9"), 9.5};
        rs.replaceRows(values);
        QCOMPARE(rs.recordCount(), 1);
        QVERIFY(!rs.eof());
        QCOMPARE(rs.value(QStringLiteral("ARTNRO")).toString(), QStringLiteral("A9"));
    }

    void appendRowTakesValuesOver()
    {
        Recordset rs(QStringList{QStringLiteral("A"), QStringLiteral("B")});
        QVariantList values{1, 2, 3};
        rs.appendRow(std::move(values));
        rs.appendRow(QVariantList{4});
        QCOMPARE(rs.recordCount(), 2);
        QCOMPARE(rs.value(QStringLiteral("B")).toInt(), 2);
        rs.moveNext();
        QCOMPARE(rs.value(QStringLiteral("A")).toInt(), 4);
        QVERIFY(rs.value(QStringLiteral("B")).isNull());
    }

    void nullAndMissingValues()
    {
        Recordset rs(QStringList{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")});
        rs.appendRow({QVariant(), 7});
        QVERIFY(rs.value(QStringLiteral("A")).isNull());
        QCOMPARE(rs.value(QStringLiteral("B")).toInt(), 7);
        QVERIFY(rs.value(QStringLiteral("C")).isNull());
        rs.appendRow({1, 2, 3, 4});
        rs.moveNext();
        QCOMPARE(rs.value(QStringLiteral("C")).toInt(), 3);
    }

    void unknownField()
    {
        const Recordset rs = threeRows();
        try {
            rs.value(QStringLiteral("NOPE"));
            QFAIL("no error");
        } catch (const RuntimeError& error) {
            QCOMPARE(error.number, qint32(3265));
            QCOMPARE(error.description,
                     QStringLiteral("Item cannot be found in the collection corresponding to the "
                                    "requested name or ordinal."));
        }
    }

    void unknownFieldAtEnd()
    {
        Recordset rs = threeRows();
        for (int i = 0; i < 3; ++i)
            rs.moveNext();
        QCOMPARE(errorOf(rs, QStringLiteral("NOPE")), qint32(3265));
    }

    void noCurrentRecord()
    {
        Recordset rs = threeRows();
        for (int i = 0; i < 3; ++i)
            rs.moveNext();
        try {
            rs.value(QStringLiteral("ARTNRO"));
            QFAIL("no error");
        } catch (const RuntimeError& error) {
            QCOMPARE(error.number, qint32(3021));
            QCOMPARE(error.description, QStringLiteral("No current record."));
        }
    }

    void moveFirstAfterMoving()
    {
        Recordset rs = threeRows();
        rs.moveNext();
        rs.moveNext();
        rs.moveNext();
        QVERIFY(rs.eof());
        rs.moveFirst();
        QVERIFY(!rs.eof());
        QCOMPARE(rs.value(QStringLiteral("ARTNRO")).toString(), QStringLiteral("A1"));
    }

    void appendRowGoesToFirstRow()
    {
        Recordset rs = threeRows();
        rs.moveNext();
        rs.appendRow({QStringLiteral("A4"), 4.5});
        QCOMPARE(rs.recordCount(), 4);
        QCOMPARE(rs.value(QStringLiteral("ARTNRO")).toString(), QStringLiteral("A1"));
    }

    void setFieldNamesDropsRows()
    {
        Recordset rs = threeRows();
        rs.setFieldNames({QStringLiteral("Z")});
        QCOMPARE(rs.recordCount(), 0);
        QVERIFY(rs.eof());
        QCOMPARE(errorOf(rs, QStringLiteral("ARTNRO")), qint32(3265));
        QCOMPARE(errorOf(rs, QStringLiteral("z")), qint32(3021));
    }

    void clearDropsEverything()
    {
        Recordset rs = threeRows();
        rs.clear();
        QVERIFY(rs.fieldNames().isEmpty());
        QCOMPARE(rs.recordCount(), 0);
        QVERIFY(rs.eof());
        QCOMPARE(errorOf(rs, QStringLiteral("ARTNRO")), qint32(3265));
    }
};

QTEST_GUILESS_MAIN(tst_Recordset)
#include "tst_Recordset.moc"
