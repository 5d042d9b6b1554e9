#include "Schema.h"
#include "TempDatabase.h"

#include <oquivran/RuntimeError.h>
#include <oquivran/Schema.h>

#include <QRegularExpression>
#include <QSqlQuery>
#include <QTest>

using oquivran::RuntimeError;
using oquivran::Schema;

Q_DECLARE_METATYPE(Schema::Database)

namespace {

QStringList objects(const QSqlDatabase& db, const QString& type)
{
    QSqlQuery query(db);
    query.exec(u"select name from sqlite_master where type = '" + type +
               u"' and name not like 'sqlite_%' order by name");
    QStringList names;
    while (query.next())
        names.append(query.value(0).toString());
    return names;
}

// Declared type of a column, from the table's description.
QString declaredType(const QSqlDatabase& db, const QString& table, const QString& column)
{
    QSqlQuery query(db);
    query.exec(u"select type from pragma_table_info('" + table + u"') where name = '" + column +
               u'\'');
    return query.next() ? query.value(0).toString() : QString();
}

} // namespace

class tst_Schema : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void createsTables_data()
    {
        QTest::addColumn<Schema::Database>("database");
        QTest::addColumn<QStringList>("tables");
        QTest::newRow("discharge")
            << Schema::Database::Discharge
            << QStringList{QStringLiteral("DIP"), QStringLiteral("INS"), QStringLiteral("INTINS"),
                           QStringLiteral("PRD"), QStringLiteral("RIP")};
        QTest::newRow("host") << Schema::Database::Host
                              << QStringList{QStringLiteral("facturas"),
                                             QStringLiteral("groupsubitems"),
                                             QStringLiteral("item")};
    }
    void createsTables()
    {
        QFETCH(Schema::Database, database);
        QFETCH(QStringList, tables);
        TempDatabase temp;
        QVERIFY(temp.isOpen());
        QVERIFY(objects(temp.database(), QStringLiteral("table")).isEmpty());

        Schema::create(temp.database(), database);
        const QStringList created = objects(temp.database(), QStringLiteral("table"));
        for (const QString& table : tables)
            QVERIFY2(created.contains(table), qPrintable(table));
        QCOMPARE(created.size(), tables.size());

        // Every CREATE INDEX of the script made its index.
        const QStringList indexes = objects(temp.database(), QStringLiteral("index"));
        const QString script = Schema::script(database);
        static const QRegularExpression createIndex(
            QStringLiteral("CREATE INDEX IF NOT EXISTS (\\w+)"),
            QRegularExpression::CaseInsensitiveOption);
        int scriptIndexes = 0;
        for (auto it = createIndex.globalMatch(script); it.hasNext(); ++scriptIndexes)
            QVERIFY(indexes.contains(it.next().captured(1)));
        QCOMPARE(indexes.size(), scriptIndexes);
        QVERIFY(scriptIndexes > 0);
    }

    // The public function hosts create their tables with: the same statements.
    void createTablesOfThePublicInterface()
    {
        for (const auto& [database, which] :
             {std::pair(Schema::Database::Discharge, oquivran::SchemaDatabase::Discharge),
              std::pair(Schema::Database::Host, oquivran::SchemaDatabase::Host)}) {
            TempDatabase expected;
            Schema::create(expected.database(), database);
            TempDatabase temp;
            oquivran::createTables(temp.database(), which);
            for (const QString& type : {QStringLiteral("table"), QStringLiteral("index")})
                QCOMPARE(objects(temp.database(), type), objects(expected.database(), type));
        }
    }

    void createTwiceIsHarmless()
    {
        TempDatabase temp;
        Schema::create(temp.database(), Schema::Database::Discharge);
        QSqlQuery query(temp.database());
        QVERIFY(query.exec(QStringLiteral("insert into PRD (CATNRO, PRDNRO, PRDMUL) values "
                                          "('C', 'P', 2.5)")));
        const auto everything = [&] {
            return objects(temp.database(), QStringLiteral("table")) +
                   objects(temp.database(), QStringLiteral("index"));
        };
        const QStringList before = everything();
        QVERIFY(!before.isEmpty());
        Schema::create(temp.database(), Schema::Database::Discharge);
        QCOMPARE(everything(), before);
        QVERIFY(query.exec(QStringLiteral("select PRDMUL from PRD")));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toDouble(), 2.5);
        query.finish();

        // Both databases' tables may share a file.
        Schema::create(temp.database(), Schema::Database::Host);
        const QStringList both = everything();
        Schema::create(temp.database(), Schema::Database::Host);
        QCOMPARE(everything(), both);
        QVERIFY(both.size() > before.size());
    }

    void statements_data()
    {
        QTest::addColumn<Schema::Database>("database");
        QTest::newRow("discharge") << Schema::Database::Discharge;
        QTest::newRow("host") << Schema::Database::Host;
    }
    void statements()
    {
        QFETCH(Schema::Database, database);
        const QString script = Schema::script(database);
        QVERIFY(script.contains(QStringLiteral("CREATE TABLE")));
        const QStringList statements = Schema::statements(database);
        QCOMPARE(statements.size(), int(script.count(QStringLiteral("CREATE "))));
        for (const QString& statement : statements) {
            QVERIFY(!statement.trimmed().isEmpty());
            QVERIFY2(statement.startsWith(QStringLiteral("CREATE ")), qPrintable(statement));
            QVERIFY(!statement.contains(u';'));
            QVERIFY(!statement.contains(QStringLiteral("--")));
        }
    }

    void declaredTypes_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("column");
        QTest::addColumn<QString>("type");
        QTest::newRow("DIPCAN") << QStringLiteral("DIP") << QStringLiteral("DIPCAN")
                                << QStringLiteral("REAL");
        QTest::newRow("PRDMUL") << QStringLiteral("DIP") << QStringLiteral("PRDMUL")
                                << QStringLiteral("REAL");
        QTest::newRow("DIPFEC") << QStringLiteral("DIP") << QStringLiteral("DIPFEC")
                                << QStringLiteral("DATE");
        QTest::newRow("INTFOF") << QStringLiteral("INTINS") << QStringLiteral("INTFOF")
                                << QStringLiteral("DATE");
        QTest::newRow("ARTDSC") << QStringLiteral("INS") << QStringLiteral("ARTDSC")
                                << QStringLiteral("REAL");
    }
    void declaredTypes()
    {
        QFETCH(QString, table);
        QFETCH(QString, column);
        QFETCH(QString, type);
        TempDatabase temp;
        Schema::create(temp.database(), Schema::Database::Discharge);
        QCOMPARE(declaredType(temp.database(), table, column), type);
    }

    void failureIsReported()
    {
        TempDatabase temp;
        QSqlQuery query(temp.database());
        // A view where a table belongs cannot take the table's index.
        QVERIFY(query.exec(QStringLiteral("create view INS as select 1 as ARTNRO")));
        try {
            Schema::create(temp.database(), Schema::Database::Discharge);
            QFAIL("no error");
        } catch (const RuntimeError& error) {
            QCOMPARE(error.number, qint32(oquivran::DatabaseError));
            QCOMPARE(error.source, QStringLiteral("Schema"));
            QVERIFY2(error.description.contains(QStringLiteral("view")),
                     qPrintable(error.description));
        }
    }
};

QTEST_GUILESS_MAIN(tst_Schema)
#include "tst_Schema.moc"
