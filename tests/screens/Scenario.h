#pragma once

#include "DischargeFixture.h"

#include <QDate>

// Stock, products and relations shared by the screen tests.
//
// Product CAT/PRD1 (multiplier 1, quantity 10), complete:
//   IN1 needs 10: D1/IN1/1/1 (6, 2.5) then D2/IN1/1/1 (10 declared, 4 taken, 3.1234567);
//   IN2 needs 5: D1/IN2/2/1 (20, 1.25).
//   D2/IN1/2/1 (7, 4) stays out of the allocation, for the search to add.
//   Candidate lines: 1 D1 IN1 1 1 6; 2 D2 IN1 1 1 4; 3 D1 IN2 2 1 5.
// Product CAT/PRD2 (quantity 10), incomplete:
//   IN5 obligatory needs 10, only D1/IN5/1/1 (3) in stock: a teal line;
//   IN6 obligatory, no stock: a "Sin Stock" line;
//   IN7 not obligatory needs 10, only D1/IN7/1/1 (2): the allocation fails there.
// Product CAT/PRD3 (quantity 10): IN1 as above and IN6 without stock (obligatory).
namespace scenario {

inline const QString catalog = QStringLiteral("CAT");
inline const QString tariff = QStringLiteral("1111.11.11");

// ctcOfD1 is the C.T.C. of the D1 stock lines of IN1 and IN2 (the same tariff position).
inline void seed(DischargeFixture& f, const QString& ctcOfD1 = QStringLiteral("CTC1"))
{
    f.addDeclaration(QStringLiteral("D1"), QDate(2026, 1, 10), 1, QDate(2027, 6, 30));
    f.addDeclaration(QStringLiteral("D2"), QDate(2026, 2, 10), 1, QDate(2027, 3, 31));
    f.addStock(QStringLiteral("D1"), QStringLiteral("IN1"), 1, 1, 6, 2.5, tariff, ctcOfD1);
    f.addStock(QStringLiteral("D2"), QStringLiteral("IN1"), 1, 1, 10, 3.1234567,
               QStringLiteral("2222.22.22"), QStringLiteral("CTC2"));
    f.addStock(QStringLiteral("D2"), QStringLiteral("IN1"), 2, 1, 7, 4,
               QStringLiteral("2222.22.22"), QStringLiteral("CTC2"));
    f.addStock(QStringLiteral("D1"), QStringLiteral("IN2"), 2, 1, 20, 1.25, tariff, ctcOfD1);
    f.addStock(QStringLiteral("D1"), QStringLiteral("IN5"), 1, 1, 3, 1.5, tariff,
               QStringLiteral("CTC1"));
    f.addStock(QStringLiteral("D1"), QStringLiteral("IN7"), 1, 1, 2, 1.75, tariff,
               QStringLiteral("CTC1"));

    f.addProduct(catalog, QStringLiteral("PRD1"), 1);
    f.addRelation(catalog, QStringLiteral("PRD1"), QStringLiteral("IN1"), 1, 2, 1, 0, 1, 0,
                  QStringLiteral("Tela de algodon"));
    f.addRelation(catalog, QStringLiteral("PRD1"), QStringLiteral("IN2"), 0.5, 0, 0, 0, 0, 0,
                  QStringLiteral("Hilo"));

    f.addProduct(catalog, QStringLiteral("PRD2"), 1);
    f.addRelation(catalog, QStringLiteral("PRD2"), QStringLiteral("IN5"), 1, 0, 0, 0, 0, 1);
    f.addRelation(catalog, QStringLiteral("PRD2"), QStringLiteral("IN6"), 1, 0, 0, 0, 0, 1);
    f.addRelation(catalog, QStringLiteral("PRD2"), QStringLiteral("IN7"), 1, 0, 0, 0, 0, 0);

    f.addProduct(catalog, QStringLiteral("PRD3"), 1);
    f.addRelation(catalog, QStringLiteral("PRD3"), QStringLiteral("IN1"), 1);
    f.addRelation(catalog, QStringLiteral("PRD3"), QStringLiteral("IN6"), 1, 0, 0, 0, 0, 1);
}

// The sub-item being discharged: operation OP1, sub-item 1, product of CAT, quantity 10.
inline void discharge(DischargeFixture& f, const QString& product, double quantity = 10)
{
    f.setSubItem(QStringLiteral("OP1"), 1, catalog, product, quantity);
}

} // namespace scenario
