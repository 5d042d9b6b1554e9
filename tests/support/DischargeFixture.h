#pragma once

#include "FixtureDatabase.h"

#include "ModuleState.h"
#include "Schema.h"
#include "TestStatement.h"

#include <oquivran/DataObject.h>
#include <oquivran/Module.h>

#include <QDate>
#include <QSqlQuery>
#include <QStringList>
#include <QVariant>

#include <memory>

// A discharge database and a host database on real SQLite files, with the schema of the
// embedded default, bound into a fresh module state through SqlDataObjects; under
// OQUIVRAN_TEST_DATABASE=postgresql, on the throwaway PostgreSQL server with its schema,
// through PgDataObjects. Seeding goes
// through QSqlQuery with bound values, so test data never depends on the component's own
// conversions. Test-side SQL only: the component's statements are what is under test.
class DischargeFixture
{
public:
    DischargeFixture()
        : m_discharge(QStringLiteral("discharge.sqlite")), m_host(QStringLiteral("host.sqlite"))
    {
        oquivran::Schema::create(m_discharge.database(), oquivran::Schema::Database::Discharge);
        oquivran::Schema::create(m_host.database(), oquivran::Schema::Database::Host);
        dischargeData = m_discharge.dataObject();
        hostData = m_host.dataObject();
        oquivran::resetModuleState();
        oquivran::setAtomicWrites(atomicVariant());
        oquivran::ModuleState& state = oquivran::moduleState();
        state.dataObject = dischargeData.get();
        state.secondDataObject = hostData.get();
        state.applyFormats({false, QStringLiteral("00.0000"), QStringLiteral("00.000000")});
    }
    ~DischargeFixture()
    {
        oquivran::resetModuleState();
        dischargeData.reset();
        hostData.reset();
    }

    // True when the test runs in its atomic variant (OQUIVRAN_TEST_ATOMIC=1): every fixture
    // then turns atomic writes on.
    static bool atomicVariant()
    {
        return qEnvironmentVariableIntValue("OQUIVRAN_TEST_ATOMIC") == 1;
    }

    // Puts other data objects in the place of the fixture's in the module state for as long as
    // it lives, and the fixture's back when it ends, a failed check included.
    class Bound
    {
    public:
        Bound(const DischargeFixture& fixture, oquivran::DataObject* discharge,
              oquivran::DataObject* host)
            : m_fixture(fixture)
        {
            oquivran::ModuleState& state = oquivran::moduleState();
            state.dataObject = discharge;
            state.secondDataObject = host;
        }
        ~Bound()
        {
            oquivran::ModuleState& state = oquivran::moduleState();
            state.dataObject = m_fixture.dischargeData.get();
            state.secondDataObject = m_fixture.hostData.get();
        }
        Bound(const Bound&) = delete;
        Bound& operator=(const Bound&) = delete;

    private:
        const DischargeFixture& m_fixture;
    };

    bool isOpen() const { return m_discharge.isOpen() && m_host.isOpen(); }
    QSqlDatabase discharge() const { return m_discharge.database(); }
    QSqlDatabase host() const { return m_host.database(); }

    // Sets the sub-item being discharged.
    void setSubItem(const QString& interno, qint16 subItem, const QString& catalog,
                    const QString& product, double quantity)
    {
        oquivran::ModuleState& state = oquivran::moduleState();
        state.INTERNO = interno;
        state.SUBITEM = subItem;
        state.CATNRO = catalog;
        state.PRDNRO = product;
        state.PRDCAN = quantity;
    }

    void addDeclaration(const QString& declaration, const QDate& official, int authorised = 1,
                        const QDate& expiry = QDate(2027, 12, 31),
                        const QString& customsOffice = QStringLiteral("001"))
    {
        run(discharge(),
            "insert into INTINS (INTDCL, INTFOF, INTIOK, INTVEN, INTADU, INTCTC) "
            "values (?, ?, ?, ?, ?, '')",
            {declaration, official.toString(Qt::ISODate), authorised, expiry.toString(Qt::ISODate),
             customsOffice});
    }
    // A stock line; available defaults to the declared quantity.
    void addStock(const QString& declaration, const QString& input, int item, int subItem,
                  double declared, double unitPrice,
                  const QString& tariff = QStringLiteral("1234.56.78"),
                  const QString& ctc = QStringLiteral("CTC1"),
                  const QString& exportReference = QString(), double available = -1)
    {
        run(discharge(),
            "insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC, ARTPRE, ARTNCM, "
            "ARTCTC, INSEXP) values (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
            {declaration, input, item, subItem, declared, available < 0 ? declared : available,
             unitPrice, tariff, ctc.isNull() ? QVariant() : QVariant(ctc),
             exportReference.isNull() ? QVariant() : QVariant(exportReference)});
    }
    void addProduct(const QString& catalog, const QString& product, double multiplier)
    {
        run(discharge(), "insert into PRD (CATNRO, PRDNRO, PRDMUL) values (?, ?, ?)",
            {catalog, product, multiplier});
    }
    void addRelation(const QString& catalog, const QString& product, const QString& input,
                     double perUnit, double shrinkage = 0, double loss = 0, int shrinkageKind = 0,
                     int lossKind = 0, int obligatory = 0,
                     const QString& description = QStringLiteral("Insumo"))
    {
        run(discharge(),
            "insert into RIP (CATNRO, PRDNRO, ARTNRO, RPADES, RIPCAN, RIPMER, RIPPER, TRPMER, "
            "TRPPER, DIPOBL) values (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
            {catalog, product, input, description, perUnit, shrinkage, loss, shrinkageKind,
             lossKind, obligatory});
    }

    // A value read back with test-side SQL.
    QVariant scalar(const QString& sql, const QVariantList& values = {}) const
    {
        QSqlQuery query(discharge());
        query.prepare(sql);
        for (const QVariant& value : values)
            query.addBindValue(value);
        if (!query.exec() || !query.next())
            return QVariant();
        return query.value(0);
    }
    double available(const QString& declaration, const QString& input, int item, int subItem) const
    {
        return scalar("select ARTDSC from INS where INTDCL = ? and ARTNRO = ? and ARTITM = ? "
                      "and ARTSBT = ?",
                      {declaration, input, item, subItem})
            .toDouble();
    }
    int dischargeRowCount(const QString& where = QStringLiteral("1 = 1")) const
    {
        return scalar("select count(*) from DIP where " + where).toInt();
    }

    // Every stock line whose ARTDSC differs from ARTCAT minus the sum of its discharges, as
    // "declaration/input/item/sub-item: ARTDSC expected"; empty when the invariant holds.
    QStringList stockInvariantViolations(double tolerance = 1e-9) const
    {
        QStringList violations;
        QSqlQuery query(discharge());
        query.exec("select INS.INTDCL, INS.ARTNRO, INS.ARTITM, INS.ARTSBT, INS.ARTDSC, "
                   "INS.ARTCAT - coalesce((select sum(DIPCAN) from DIP where "
                   "DIP.ARTDCL = INS.INTDCL and DIP.ARTNRO = INS.ARTNRO and "
                   "DIP.ARTITM = INS.ARTITM and DIP.ARTSBT = INS.ARTSBT), 0), " +
                   FixtureDatabase::typeOf(QStringLiteral("INS.ARTDSC")) + " from INS");
        while (query.next()) {
            const double actual = query.value(4).toDouble();
            const double expected = query.value(5).toDouble();
            if (qAbs(actual - expected) > tolerance ||
                query.value(6).toString() != FixtureDatabase::realTypeName())
                violations << QStringLiteral("%1/%2/%3/%4: %5 (%6) expected %7")
                                  .arg(query.value(0).toString(), query.value(1).toString(),
                                       query.value(2).toString(), query.value(3).toString(),
                                       query.value(4).toString(), query.value(6).toString())
                                  .arg(expected);
        }
        return violations;
    }

    std::unique_ptr<oquivran::DataObject> dischargeData;
    std::unique_ptr<oquivran::DataObject> hostData;

    // Runs a statement of test data; a failure ends the test.
    static void run(const QSqlDatabase& db, const QString& sql, const QVariantList& values = {})
    {
        TestStatement::run(db, sql, values, "fixture");
    }

private:
    FixtureDatabase m_discharge;
    FixtureDatabase m_host;
};
