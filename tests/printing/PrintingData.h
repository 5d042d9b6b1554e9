#pragma once

#include "DischargeFixture.h"

#include "LocaleRules.h"
#include "ModuleState.h"
#include "ValueFormats.h"

#include <QDate>
#include <QFile>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QtTest>

// The small operation the printing tests print, seeded on a DischargeFixture:
// - item 1 with one sub-item (1, printed 0000): two lines of one declaration and input
//   (summed by the declaration) with percentage loss and shrinkage, and one line of a
//   declaration number longer than 16 characters with absolute loss and shrinkage;
// - item 2 with two sub-items (2 and 3, printed 0001 and 0002): a real quantity of 0.004 and
//   one of 0; sub-item 4 is grouped under 3 (idroot);
// - item 3 with sub-items 4 (the grouped one, printed 0001) and 5 (no lines, printed 0002);
// - item 0, a cancelled item, and another operation's lines, none of which print.
namespace printingdata {

inline const QString interno = QStringLiteral("OP-0001");
inline const QString declaration = QStringLiteral("25001IT04000101K");
inline const QString longDeclaration = QStringLiteral("25001IT04000202LXYZ");

struct Line
{
    int subItem;
    QVariant root;
    QString declaration;
    QString input;
    int item;
    int stockSubItem;
    double price;
    QString product;
    double multiplier;
    int shrinkageKind;
    int lossKind;
    QString ctc;
    QString tariff;
    double quantity;
    double shrinkage;
    double loss;
    double relation;
    double real;
};

inline void addLine(DischargeFixture& db, const QString& operation, const Line& l)
{
    DischargeFixture::run(
        db.discharge(),
        "insert into DIP (EXTINT, EXTSBT, EXTITM, idroot, ARTDCL, ARTNRO, ARTITM, ARTSBT, ARTPRE, "
        "CATNRO, PRDNRO, PRDMUL, TRPMER, TRPPER, DIPOBL, DIPCTC, DIPEXP, ARTNCM, DIPCAN, RIPMER, "
        "RIPPER, RIPCAN, DIPFEC, DIPUSR, RALCAN) values (?, ?, 0, ?, ?, ?, ?, ?, ?, 'CAT', ?, ?, "
        "?, ?, 0, ?, 'EXP', ?, ?, ?, ?, ?, '2025-05-02', '', ?)",
        {operation, l.subItem, l.root, l.declaration, l.input, l.item, l.stockSubItem, l.price,
         l.product, l.multiplier, l.shrinkageKind, l.lossKind, l.ctc, l.tariff, l.quantity,
         l.shrinkage, l.loss, l.relation, l.real});
}

inline void addItem(DischargeFixture& db, int id, const QString& cancelled = QStringLiteral("OK"),
                    const QString& operation = interno)
{
    DischargeFixture::run(db.host(),
                          "insert into item (id, interno, cancelaciones) values (?, ?, ?)",
                          {id, operation, cancelled});
}

inline void addSubItem(DischargeFixture& db, int item, int idsub, const QString& product,
                       double quantity, const QString& cancelled = QStringLiteral("OK"))
{
    DischargeFixture::run(db.host(),
                          "insert into groupsubitems (interno, id, idsub, idcatalogo, idarticulo, "
                          "cantidad, cancelaciones) values (?, ?, ?, 'CAT', ?, ?, ?)",
                          {interno, item, idsub, product, quantity, cancelled});
}

// Seeds the whole operation and sets INTERNO.
inline void seed(DischargeFixture& db)
{
    // Test data need not survive a crash (the throwaway server keeps nothing anyway).
    if (!FixtureDatabase::onPostgreSql()) {
        DischargeFixture::run(db.discharge(), "PRAGMA synchronous=OFF");
        DischargeFixture::run(db.host(), "PRAGMA synchronous=OFF");
    }
    db.addDeclaration(declaration, QDate(2024, 3, 1), 1, QDate(2026, 3, 1),
                      QStringLiteral("001 Buenos Aires"));
    db.addDeclaration(longDeclaration, QDate(2024, 1, 15), 1, QDate(2025, 7, 15),
                      QStringLiteral("073"));

    addItem(db, 0);
    addItem(db, 1);
    addItem(db, 2);
    addItem(db, 3);
    addItem(db, 4, QStringLiteral("NO"));
    addItem(db, 1, QStringLiteral("OK"), QStringLiteral("OP-0002"));
    addSubItem(db, 1, 1, QStringLiteral("PROD-A"), 100);
    addSubItem(db, 2, 2, QStringLiteral("PROD-B"), 50);
    addSubItem(db, 2, 3, QStringLiteral("PROD-C"), 25.5);
    addSubItem(db, 2, 9, QStringLiteral("PROD-X"), 7, QStringLiteral("NO"));
    addSubItem(db, 3, 4, QStringLiteral("PROD-D"), 12.345);
    addSubItem(db, 3, 5, QStringLiteral("PROD-E"), 8);
    addSubItem(db, 4, 6, QStringLiteral("PROD-F"), 1);

    const QVariant none;
    // Sub-item 1: two stock lines of one declaration and input, percentage figures.
    addLine(db, interno,
            {1, none, declaration, "INS-01", 1, 1, 2.5, "PROD-A", 1, 0, 0, "CTC-01", "84713012AB",
             30, 2, 1.5, 0.75, 29.25});
    addLine(db, interno,
            {1, none, declaration, "INS-01", 1, 2, 2.5, "PROD-A", 1, 0, 0, "CTC-01", "84713012AB",
             20, 2, 1.5, 0.75, 19.5});
    // Sub-item 1: a long declaration number, absolute figures, a multiplier of 2.
    addLine(db, interno,
            {1, none, longDeclaration, "INS-02", 3, 1, 10.123456, "PROD-A", 2, 1, 1, "CTC-02",
             "39269090ZZ", 12.345678, 0.35, 0.8, 1.2, 11.195678});
    // Sub-items 2 and 3: the smallest real quantities.
    addLine(db, interno,
            {2, none, declaration, "INS-03", 2, 1, 4, "PROD-B", 1, 0, 0, "CTC-03", "84713012AB",
             0.004, 0, 0, 0.5, 0.004});
    addLine(db, interno,
            {3, 3, declaration, "INS-03", 2, 1, 4, "PROD-C", 1, 0, 0, "CTC-03", "84713012AB", 0.5,
             0, 0, 0.5, 0});
    // Sub-item 4, grouped under 3.
    addLine(db, interno,
            {4, 3, longDeclaration, "INS-04", 4, 1, 1.5, "PROD-D", 1, 1, 0, "CTC-04", "39269090ZZ",
             3, 0.25, 10, 2, 3});
    // Another operation's line.
    addLine(db, QStringLiteral("OP-0002"),
            {1, none, declaration, "INS-09", 1, 1, 9, "PROD-Z", 1, 0, 0, "CTC-09", "84713012AB", 99,
             0, 0, 1, 99});

    db.setSubItem(interno, 1, QStringLiteral("CAT"), QStringLiteral("PROD-A"), 100);
}

// The printing formats of a mode ("N" normal, "S" extended).
inline void printingFormats(const QString& opVDE)
{
    oquivran::moduleState().applyFormats(
        oquivran::ValueFormats::forMoment(oquivran::FormatMoment::Printing, opVDE));
}

// The report line buffer as "kind|text|" lines.
inline QStringList bufferLines()
{
    QStringList lines;
    for (const oquivran::ReportLine& line : oquivran::moduleState().reportLines)
        lines.append(line.kind + u'|' + line.text + u'|');
    return lines;
}

// An expected report: "kind|text|" lines written with "." as the decimal separator; every "."
// between two digits becomes the locale's separator.
inline QStringList expectedLines(const QString& name, QChar decimalSeparator)
{
    QFile file(QStringLiteral(OQUIVRAN_EXPECTED_DIR "/printing/") + name);
    if (!file.open(QIODevice::ReadOnly))
        return {QStringLiteral("missing expected file ") + file.fileName()};
    QString text = QString::fromUtf8(file.readAll());
    text.replace(QRegularExpression(QStringLiteral("(?<=\\d)\\.(?=\\d)")),
                 QString(decimalSeparator));
    QStringList lines = text.split(u'\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

// Compares the report line buffer, line by line, with an expected file (see expectedLines());
// with OQUIVRAN_WRITE_EXPECTED set to a folder, first writes the buffer there under the file's
// name, for review.
inline void compareBufferWithExpected(const QString& name)
{
    const QStringList actual = bufferLines();
    if (qEnvironmentVariableIsSet("OQUIVRAN_WRITE_EXPECTED")) {
        QFile out(qEnvironmentVariable("OQUIVRAN_WRITE_EXPECTED") + u'/' + name);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(actual.join(u'\n').toUtf8() + '\n');
    }
    const QStringList wanted =
        expectedLines(name, oquivran::LocaleRules::system().decimalSeparator());
    for (int i = 0; i < qMin(actual.size(), wanted.size()); ++i)
        QCOMPARE(actual.at(i), wanted.at(i));
    QCOMPARE(actual.size(), wanted.size());
}

} // namespace printingdata
