#pragma once

#include "DischargeFixture.h"

#include <QDate>
#include <QString>
#include <QVariant>

// The stock the expiry tests check, seeded on a DischargeFixture, against the reference date
// asOf() and a horizon of horizon() days:
// - 24001IT04000100A expired 40 days ago: two lines, entered item 2 first (listed item 1 first);
// - 24001IT04000200B expired yesterday: a line partly discharged by two exports, a line
//   exhausted (left out) and a line discharged but still available;
// - 24001IT04000300C falls due today (0 days);
// - 24001IT04000400D falls due on the horizon's last day (in);
// - 24001IT04000500E falls due the day after the horizon (out);
// - 24001IT04000600F not authorised, expired (out);
// - 24001IT04000700G without expiry date (listed last).
namespace expirydata {

inline QDate asOf()
{
    return QDate(2027, 3, 10);
}

inline int horizon()
{
    return 30;
}

inline void addDeclaration(DischargeFixture& db, const QString& declaration, const QDate& official,
                           int authorised, const QVariant& expiry, const QString& customs)
{
    DischargeFixture::run(
        db.discharge(),
        "insert into INTINS (INTDCL, INTFOF, INTIOK, INTVEN, INTADU, INTCTC) "
        "values (?, ?, ?, ?, ?, '')",
        {declaration, official.toString(Qt::ISODate), authorised,
         expiry.isNull() ? QVariant() : QVariant(expiry.toDate().toString(Qt::ISODate)), customs});
}

inline void addStock(DischargeFixture& db, const QString& declaration, const QString& input,
                     int item, int subItem, double declared, double available, double price)
{
    db.addStock(declaration, input, item, subItem, declared, price, QStringLiteral("5208.52.00"),
                QStringLiteral("CTC1"), QString(), available);
}

inline void addDischarge(DischargeFixture& db, const QString& operation, const QString& declaration,
                         const QString& input, int item, int subItem, double quantity)
{
    DischargeFixture::run(db.discharge(),
                          "insert into DIP (EXTINT, EXTSBT, ARTDCL, ARTNRO, ARTITM, ARTSBT, "
                          "DIPCAN, RALCAN) values (?, 1, ?, ?, ?, ?, ?, ?)",
                          {operation, declaration, input, item, subItem, quantity, quantity});
}

inline void seed(DischargeFixture& db)
{
    const QDate day = asOf();
    addDeclaration(db, "24001IT04000100A", QDate(2025, 1, 15), 1, day.addDays(-40),
                   "001 Buenos Aires");
    addStock(db, "24001IT04000100A", "TELA-ALG", 2, 1, 300, 300, 3.9);
    addStock(db, "24001IT04000100A", "BOTON-12", 1, 1, 1000, 1000, 0.045);

    addDeclaration(db, "24001IT04000200B", QDate(2025, 2, 1), 1, day.addDays(-1), "073 Ezeiza");
    addStock(db, "24001IT04000200B", "HILO-POL", 1, 1, 100, 60, 1.234567);
    addDischarge(db, "OP-1", "24001IT04000200B", "HILO-POL", 1, 1, 25);
    addDischarge(db, "OP-2", "24001IT04000200B", "HILO-POL", 1, 1, 15);
    addStock(db, "24001IT04000200B", "CIERRE-20", 2, 1, 50, 0, 0.62);
    addDischarge(db, "OP-1", "24001IT04000200B", "CIERRE-20", 2, 1, 50);
    addStock(db, "24001IT04000200B", "HILO-POL", 1, 2, 10, 7.5, 1.3);
    addDischarge(db, "OP-2", "24001IT04000200B", "HILO-POL", 1, 2, 2.5);

    addDeclaration(db, "24001IT04000300C", QDate(2025, 3, 3), 1, day, "001 Buenos Aires");
    addStock(db, "24001IT04000300C", "CUERO-VAC", 1, 1, 10, 10, 2.5);

    addDeclaration(db, "24001IT04000400D", QDate(2025, 4, 4), 1, day.addDays(horizon()),
                   "001 Buenos Aires");
    addStock(db, "24001IT04000400D", "TELA-ALG", 1, 1, 5.5, 5.5, 3);

    addDeclaration(db, "24001IT04000500E", QDate(2025, 5, 5), 1, day.addDays(horizon() + 1),
                   "001 Buenos Aires");
    addStock(db, "24001IT04000500E", "TELA-ALG", 1, 1, 8, 8, 3);

    addDeclaration(db, "24001IT04000600F", QDate(2024, 6, 6), 0, day.addDays(-5),
                   "001 Buenos Aires");
    addStock(db, "24001IT04000600F", "TELA-ALG", 1, 1, 9, 9, 3);

    addDeclaration(db, "24001IT04000700G", QDate(2024, 7, 7), 1, QVariant(), "073 Ezeiza");
    addStock(db, "24001IT04000700G", "BOTON-12", 1, 1, 40, 40, 0.05);
}

} // namespace expirydata
