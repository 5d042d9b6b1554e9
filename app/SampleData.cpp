#include "SampleData.h"

#include <QDate>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <functional>
#include <initializer_list>

namespace {

// Runs one statement per row of values, inside one transaction per database.
class Seeder
{
public:
    Seeder(const QSqlDatabase& database, QString& error) : m_database(database), m_error(error) {}

    bool insert(const QString& sql, std::initializer_list<QVariantList> rows)
    {
        for (const QVariantList& row : rows) {
            QSqlQuery query(m_database);
            query.prepare(sql);
            for (const QVariant& value : row)
                query.addBindValue(value);
            if (!query.exec()) {
                m_error = query.lastError().text() + QStringLiteral(": ") + sql;
                return false;
            }
        }
        return true;
    }

private:
    QSqlDatabase m_database;
    QString& m_error;
};

const QVariant none;

bool seedDeclarations(Seeder& db, const QDate& today)
{
    // Expiries are dated from the day the sample is made, so the window and the expiry listing
    // show every state on any day: one declaration with stock expired, one falling due within
    // the default horizon of 60 days, the rest later.
    const auto expiry = [&](int days) {
        return today.addDays(days).toString(Qt::ISODate);
    };
    // Declaration, official date, authorised, expiry, customs office.
    return db.insert(
        "insert into INTINS (INTDCL, INTFOF, INTIOK, INTVEN, INTADU, INTCTC) values (?, ?, ?, ?, "
        "?, '')",
        {
            // Exhausted by the earlier export OP-2024-0117.
            {"23001IT04001187M", "2023-11-02", 1, expiry(95), "001 Buenos Aires"},
            // Its stock lines carry no C.T.C. number: a discharge that draws on it is refused.
            // Expired 12 days ago.
            {"24001IT04000215K", "2024-02-01", 1, expiry(-12), "001 Buenos Aires"},
            // Falls due in 25 days.
            {"24073IT04000389P", "2024-03-12", 1, expiry(25), "073 Ezeiza"},
            {"24001IT04000552X", "2024-06-05", 1, expiry(150), "001 Buenos Aires"},
            // Not yet authorised: the allocation passes it over.
            {"24001IT04000871F", "2024-09-20", 0, expiry(210), "001 Buenos Aires"},
            {"24073IT04000120A", "2024-11-14", 1, expiry(330), "073 Ezeiza"},
        });
}

bool seedStock(Seeder& db)
{
    // Declaration, input, item, sub-item, declared, available, CIF unit price, tariff, C.T.C.
    return db.insert(
        "insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC, ARTPRE, ARTNCM, ARTCTC, "
        "INSEXP) values (?, ?, ?, ?, ?, ?, ?, ?, ?, NULL)",
        {
            {"23001IT04001187M", "TELA-ALG", 1, 1, 500.0, 0.0, 3.85, "5208.52.00", "CTC-231102"},
            {"24001IT04000215K", "CUERO-VAC", 1, 1, 80.0, 80.0, 18.3, "4107.12.00", none},
            {"24073IT04000389P", "TELA-ALG", 1, 1, 220.0, 220.0, 3.92, "5208.52.00", "CTC-240311"},
            {"24073IT04000389P", "HILO-POL", 2, 1, 2.5, 2.5, 6.4, "5402.47.00", "CTC-240311"},
            {"24073IT04000389P", "BOTON-12", 3, 1, 600.0, 600.0, 0.045, "9606.21.00", "CTC-240311"},
            {"24001IT04000552X", "TELA-ALG", 1, 1, 400.0, 400.0, 3.97, "5208.52.00", "CTC-240604"},
            {"24001IT04000552X", "TELA-ALG", 1, 2, 150.0, 150.0, 4.05, "5208.52.00", "CTC-240604"},
            {"24001IT04000552X", "HILO-POL", 2, 1, 10.0, 10.0, 6.55, "5402.47.00", "CTC-240604"},
            {"24001IT04000552X", "BOTON-12", 3, 1, 2000.0, 2000.0, 0.047, "9606.21.00",
             "CTC-240604"},
            {"24001IT04000552X", "CIERRE-20", 4, 1, 300.0, 300.0, 0.62, "9607.11.00", "CTC-240604"},
            {"24001IT04000871F", "TELA-ALG", 1, 1, 1000.0, 1000.0, 4.1, "5208.52.00", "CTC-240919"},
            {"24001IT04000871F", "CUERO-VAC", 2, 1, 200.0, 200.0, 17.9, "4107.12.00", "CTC-240919"},
            {"24073IT04000120A", "HILO-POL", 1, 1, 5.0, 5.0, 6.7, "5402.47.00", "CTC-241113"},
            {"24073IT04000120A", "CIERRE-20", 2, 1, 200.0, 200.0, 0.64, "9607.11.00", "CTC-241113"},
        });
}

bool seedProducts(Seeder& db)
{
    if (!db.insert("insert into PRD (CATNRO, PRDNRO, PRDMUL) values (?, ?, ?)",
                   {
                       {"TX-2025", "CAMISA-ML", 1.0},
                       {"TX-2025", "PANTALON-JN", 1.0},
                       // Sold in pairs: each unit declared is two bags.
                       {"TX-2025", "BOLSO-LN", 2.0},
                       {"CU-2025", "CAMPERA-CV", 1.0},
                   }))
        return false;
    // Catalog, product, input, description, per unit, shrinkage, loss, shrinkage kind, loss
    // kind (0 percentage, 1 absolute), obligatory.
    return db.insert(
        "insert into RIP (CATNRO, PRDNRO, ARTNRO, RPADES, RIPCAN, RIPMER, RIPPER, TRPMER, TRPPER, "
        "DIPOBL) values (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
        {
            {"TX-2025", "CAMISA-ML", "TELA-ALG", "Tela de algodón (m2)", 1.6, 5.0, 2.0, 0, 0, 0},
            {"TX-2025", "CAMISA-ML", "HILO-POL", "Hilo de poliéster (kg)", 0.015, 0.002, 0.0, 1, 0,
             0},
            {"TX-2025", "CAMISA-ML", "BOTON-12", "Botón 12 mm (u)", 9.0, 0.0, 1.0, 0, 1, 1},
            {"TX-2025", "PANTALON-JN", "TELA-ALG", "Tela de algodón (m2)", 2.1, 3.0, 0.05, 0, 1, 0},
            {"TX-2025", "PANTALON-JN", "HILO-POL", "Hilo de poliéster (kg)", 0.025, 4.0, 0.0, 0, 0,
             0},
            {"TX-2025", "PANTALON-JN", "CIERRE-20", "Cierre 20 cm (u)", 1.0, 0.0, 0.0, 0, 0, 1},
            {"TX-2025", "BOLSO-LN", "TELA-ALG", "Tela de algodón (m2)", 0.8, 0.1, 0.0, 1, 0, 0},
            {"TX-2025", "BOLSO-LN", "HILO-POL", "Hilo de poliéster (kg)", 0.01, 0.0, 1.5, 0, 0, 0},
            {"CU-2025", "CAMPERA-CV", "CUERO-VAC", "Cuero vacuno (m2)", 1.9, 6.0, 0.0, 0, 0, 0},
            {"CU-2025", "CAMPERA-CV", "CIERRE-20", "Cierre 20 cm (u)", 2.0, 0.0, 0.0, 0, 0, 1},
        });
}

bool seedEarlierExport(Seeder& db)
{
    // The earlier export that used up the first declaration, already numbered and printed.
    return db.insert(
        "insert into DIP (EXTINT, EXTSBT, EXTITM, idroot, ARTDCL, ARTNRO, ARTITM, ARTSBT, ARTPRE, "
        "CATNRO, PRDNRO, PRDMUL, TRPMER, TRPPER, DIPOBL, DIPCTC, DIPEXP, ARTNCM, DIPCAN, RIPMER, "
        "RIPPER, RIPCAN, DIPFEC, DIPUSR, RALCAN, EXTNOF, EXTFOF, EXTFAC) values ('OP-2024-0117', "
        "?, ?, NULL, '23001IT04001187M', 'TELA-ALG', 1, 1, 3.85, 'TX-2025', 'CAMISA-ML', 1, 0, 0, "
        "0, 'CTC-231102', '', '5208.52.00', ?, 5, 2, 1.6, '2024-12-10', 'demo', ?, "
        "'24/001/EC01/004511/R', '2024-12-12', 'A-0003-00001180')",
        {
            {1, 1, 300.0, 279.0},
            {2, 2, 200.0, 186.0},
        });
}

bool seedOperation(Seeder& db)
{
    const QString op = SampleData::operation();
    // Item 1 has one sub-item, item 2 several; sub-item 5, a second lot of bags, is printed
    // with sub-item 3 (its group root), so its own row is not printed alone.
    return db.insert("insert into item (id, interno, cancelaciones) values (?, ?, 'OK')",
                     {{1, op}, {2, op}, {3, op}}) &&
           db.insert("insert into groupsubitems (interno, id, idsub, idcatalogo, idarticulo, "
                     "cantidad, cancelaciones) values (?, ?, ?, ?, ?, ?, ?)",
                     {
                         {op, 1, 1, "TX-2025", "CAMISA-ML", 120.0, "OK"},
                         {op, 2, 2, "TX-2025", "PANTALON-JN", 80.0, "OK"},
                         {op, 2, 3, "TX-2025", "BOLSO-LN", 50.0, "OK"},
                         {op, 2, 5, "TX-2025", "BOLSO-LN", 30.0, "AGRUPADO"},
                         {op, 3, 4, "CU-2025", "CAMPERA-CV", 15.0, "OK"},
                     }) &&
           db.insert("insert into grupos (interno, idroot, idsub) values (?, ?, ?)",
                     {{op, 3, 5}}) &&
           db.insert("insert into facturas (interno, FACTURA, ORDEN) values (?, ?, ?)",
                     {{op, "A-0003-00001422", 1}, {op, "A-0003-00001423", 2}});
}

bool inTransaction(QSqlDatabase database, const std::function<bool()>& body)
{
    database.transaction();
    if (!body()) {
        database.rollback();
        return false;
    }
    return database.commit();
}

} // namespace

QString SampleData::operation()
{
    return QStringLiteral("OP-2025-0042");
}

bool SampleData::seed(const QSqlDatabase& discharge, const QSqlDatabase& host, const QDate& today,
                      QString& error)
{
    return seedDischarge(discharge, today, error) && seedHost(host, error);
}

bool SampleData::seedDischarge(const QSqlDatabase& discharge, const QDate& today, QString& error)
{
    Seeder seeder(discharge, error);
    return inTransaction(discharge, [&] {
        return seedDeclarations(seeder, today) && seedStock(seeder) && seedProducts(seeder) &&
               seedEarlierExport(seeder);
    });
}

bool SampleData::seedHost(const QSqlDatabase& host, QString& error)
{
    Seeder seeder(host, error);
    return inTransaction(host, [&] { return seedOperation(seeder); });
}
