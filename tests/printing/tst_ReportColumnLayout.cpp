#include "ColumnLayout.h"
#include "ReportKind.h"

#include <QtTest>

using namespace oquivran;

namespace {

ColumnLayout sample()
{
    return ColumnLayout({{QStringLiteral("Code"), 6, Alignment::Left},
                         {QStringLiteral("Qty"), 8, Alignment::Right, 4},
                         {QStringLiteral("Note"), 3, Alignment::Left}});
}

} // namespace

class tst_ReportColumnLayout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lines_data();
    void lines();
    void indexOfTitle();
    void porcentaje();
    void lossOrShrinkage_data();
    void lossOrShrinkage();
};

void tst_ReportColumnLayout::lines_data()
{
    QTest::addColumn<QString>("actual");
    QTest::addColumn<QString>("expected");
    const ColumnLayout layout = sample();
    // One blank between columns, none after the last; titles at their own width.
    QTest::newRow("titles") << layout.titleLine() << "Code    Qty Not";
    QTest::newRow("values") << layout.detailLine({"AB", "1.5", "x"}) << "AB          1.5 x  ";
    QTest::newRow("cut") << layout.detailLine({"ABCDEFGH", "123456789", "xyzw"})
                         << "ABCDEF 12345678 xyz";
    QTest::newRow("missing values are blank") << layout.detailLine({"A"}) << "A                  ";
    QTest::newRow("rules under titles") << layout.ruleLine() << "------ ---- ---";
    QTest::newRow("value-width line")
        << layout.line({"", "", "n"}, ColumnLayout::Widths::Values) << "                n  ";
    QTest::newRow("value-width rule") << layout.rule(1, ColumnLayout::Widths::Values) << "--------";
    QTest::newRow("full rule") << ReportKind::rule(5) << "-----";
    // A column of negative width prints Alinear's error text in its place, and the columns
    // after it still follow one blank apart.
    const ColumnLayout refused({{QStringLiteral("A"), 2, Alignment::Left},
                                {QStringLiteral("B"), -1, Alignment::Right},
                                {QStringLiteral("C"), 3, Alignment::Right}});
    QTest::newRow("negative width") << refused.detailLine({"x", "y", "z"})
                                    << "x  Err_FrmSytr Invalid procedure call or argument: y   z";
}

void tst_ReportColumnLayout::lines()
{
    QFETCH(QString, actual);
    QFETCH(QString, expected);
    QCOMPARE(actual, expected);
}

void tst_ReportColumnLayout::indexOfTitle()
{
    QCOMPARE(sample().indexOf(QStringLiteral("Qty")), 1);
    QCOMPARE(sample().indexOf(QStringLiteral("None")), -1);
    QCOMPARE(sample().count(), 3);
}

void tst_ReportColumnLayout::porcentaje()
{
    QCOMPARE(ReportKind::Porcentaje(1.5, 30), 0.45);
    QCOMPARE(ReportKind::Porcentaje(0, 30), 0.0);
}

void tst_ReportColumnLayout::lossOrShrinkage_data()
{
    QTest::addColumn<QVariant>("kind");
    QTest::addColumn<QVariant>("figure");
    QTest::addColumn<double>("base");
    QTest::addColumn<double>("expected");
    QTest::newRow("percentage") << QVariant(0) << QVariant(2.0) << 50.0 << 1.0;
    QTest::newRow("absolute") << QVariant(1) << QVariant(0.35) << 50.0 << 0.35;
    QTest::newRow("other kind is absolute") << QVariant(2) << QVariant(0.8) << 10.0 << 0.8;
    QTest::newRow("null kind is a percentage") << QVariant() << QVariant(10.0) << 3.0 << 0.3;
}

void tst_ReportColumnLayout::lossOrShrinkage()
{
    QFETCH(QVariant, kind);
    QFETCH(QVariant, figure);
    QFETCH(double, base);
    QFETCH(double, expected);
    QCOMPARE(ReportKind::lossOrShrinkage(kind, figure, base), expected);
}

QTEST_APPLESS_MAIN(tst_ReportColumnLayout)
#include "tst_ReportColumnLayout.moc"
