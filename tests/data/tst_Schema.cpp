#include "PgTestDatabase.h"
#include "Schema.h"
#include "TempDatabase.h"

#include <oquivran/RuntimeError.h>
#include <oquivran/Schema.h>

#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
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

// The rows of a catalog query, each as its values; empty, with a failure reported, when it fails.
QList<QVariantList> catalog(const QSqlDatabase& db, const QString& sql)
{
    QSqlQuery query(db);
    if (!query.exec(sql)) {
        qWarning("%s: %s", qPrintable(sql), qPrintable(query.lastError().text()));
        return {};
    }
    QList<QVariantList> rows;
    while (query.next()) {
        QVariantList row;
        for (int i = 0; i < query.record().count(); ++i)
            row.append(query.value(i));
        rows.append(row);
    }
    return rows;
}

// What kind of value a column holds, from its declared type on SQLite (by SQLite's own
// rules, with the DATE the scripts declare for dates kept as ISO text) or its type on
// PostgreSQL.
QString typeClass(const QString& type)
{
    const QString t = type.toUpper();
    if (t.contains(u"INT"))
        return QStringLiteral("whole number");
    if (t.contains(u"CHAR") || t.contains(u"CLOB") || t.contains(u"TEXT"))
        return QStringLiteral("text");
    if (t.contains(u"REAL") || t.contains(u"FLOA") || t.contains(u"DOUB"))
        return QStringLiteral("real");
    if (t.startsWith(u"TIMESTAMP") || t == u"DATETIME")
        return QStringLiteral("date and time");
    if (t == u"DATE")
        return QStringLiteral("date");
    if (t.startsWith(u"NUMERIC") || t.startsWith(u"DECIMAL"))
        return QStringLiteral("decimal");
    if (t.startsWith(u"BOOL"))
        return QStringLiteral("boolean");
    if (t.isEmpty() || t == u"BLOB" || t == u"BYTEA")
        return QStringLiteral("bytes");
    return type.toLower();
}

QString column(const QString& table, const QString& name, const QString& type, bool notNull)
{
    return u"column " + table.toLower() + u'.' + name.toLower() + u' ' + typeClass(type) +
           (notNull ? QStringLiteral(" not null") : QString());
}

QString index(const QString& kind, const QString& table, const QString& columns)
{
    return kind + u' ' + table.toLower() + u" (" + columns.toLower() + u')';
}

// The tables of a SQLite database as lines to compare: each table, each column with the kind
// of value it holds and whether it may be null, its primary key, and each index with its
// columns in order and whether it is unique.
QStringList sqliteDescription(const QSqlDatabase& db)
{
    QStringList lines;
    for (const QString& table : objects(db, QStringLiteral("table"))) {
        lines.append(u"table " + table.toLower());
        QStringList key;
        for (const QVariantList& c : catalog(db, u"select name, type, \"notnull\", pk from "
                                                 u"pragma_table_info('" +
                                                     table + u"') order by pk, cid")) {
            lines.append(column(table, c[0].toString(), c[1].toString(), c[2].toBool()));
            if (c[3].toInt() > 0)
                key.append(c[0].toString());
        }
        if (!key.isEmpty())
            lines.append(index(QStringLiteral("primary key"), table, key.join(u", ")));
        // The primary key's own index is the key above.
        for (const QVariantList& i : catalog(db, u"select name, \"unique\" from "
                                                 u"pragma_index_list('" +
                                                     table + u"') where origin <> 'pk'")) {
            QStringList columns;
            for (const QVariantList& c : catalog(db, u"select name from pragma_index_info('" +
                                                         i[0].toString() + u"') order by seqno"))
                columns.append(c[0].toString());
            lines.append(
                index(i[1].toBool() ? QStringLiteral("unique index") : QStringLiteral("index"),
                      table, columns.join(u", ")));
        }
    }
    lines.sort();
    return lines;
}

// The same lines for the tables of the connection's schema on PostgreSQL.
QStringList postgresqlDescription(const QSqlDatabase& db)
{
    QStringList lines;
    for (const QVariantList& t :
         catalog(db, QStringLiteral("select table_name from information_schema.tables where "
                                    "table_schema = current_schema() and table_type = 'BASE "
                                    "TABLE'")))
        lines.append(u"table " + t[0].toString().toLower());
    for (const QVariantList& c :
         catalog(db, QStringLiteral("select table_name, column_name, data_type, is_nullable "
                                    "from information_schema.columns where table_schema = "
                                    "current_schema()")))
        lines.append(
            column(c[0].toString(), c[1].toString(), c[2].toString(), c[3].toString() == u"NO"));
    for (const QVariantList& i :
         catalog(db, QStringLiteral(
                         "select t.relname, i.indisprimary, i.indisunique, array_to_string(array("
                         "select a.attname from unnest(i.indkey::int2[]) with ordinality k(attnum, "
                         "n) join pg_attribute a on a.attrelid = t.oid and a.attnum = k.attnum "
                         "order by k.n), ', ') from pg_index i join pg_class t on t.oid = "
                         "i.indrelid join pg_namespace s on s.oid = t.relnamespace where s.nspname "
                         "= current_schema()")))
        lines.append(index(i[1].toBool()   ? QStringLiteral("primary key")
                           : i[2].toBool() ? QStringLiteral("unique index")
                                           : QStringLiteral("index"),
                           i[0].toString(), i[3].toString()));
    lines.sort();
    return lines;
}

// Where two descriptions differ: the lines only one of them has, each saying which.
QStringList differences(const QStringList& sqlite, const QStringList& postgresql)
{
    QStringList found;
    for (const QString& line : sqlite) {
        if (!postgresql.contains(line))
            found.append(u"only on SQLite: " + line);
    }
    for (const QString& line : postgresql) {
        if (!sqlite.contains(line))
            found.append(u"only on PostgreSQL: " + line);
    }
    return found;
}

// Runs a SQLite script's statements, its comments left out.
bool runScript(const QSqlDatabase& db, const QString& script)
{
    QStringList code;
    for (const QString& line : script.split(u'\n')) {
        if (!line.trimmed().startsWith(QStringLiteral("--")))
            code.append(line);
    }
    for (const QString& statement : code.join(u'\n').split(u';', Qt::SkipEmptyParts)) {
        if (statement.trimmed().isEmpty())
            continue;
        QSqlQuery query(db);
        if (!query.exec(statement)) {
            qWarning("%s: %s", qPrintable(statement), qPrintable(query.lastError().text()));
            return false;
        }
    }
    return true;
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
                                             QStringLiteral("grupos"), QStringLiteral("item")};
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

    // The SQLite and PostgreSQL scripts of a database make the same tables, as their catalogs
    // tell: the columns with the kind of value each holds and whether it may be null, the
    // primary keys, and the indexes with their columns in order and uniqueness. The rows
    // that alter the SQLite script (replacing "from" by "to") show that a difference fails
    // the comparison, and how it is named.
    void scriptsAgree_data()
    {
        QTest::addColumn<Schema::Database>("database");
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("discharge")
            << Schema::Database::Discharge << QString() << QString() << QStringList();
        QTest::newRow("host") << Schema::Database::Host << QString() << QString() << QStringList();
        QTest::newRow("altered type")
            << Schema::Database::Discharge << QStringLiteral("DIPCAN REAL,")
            << QStringLiteral("DIPCAN TEXT,")
            << QStringList{QStringLiteral("only on SQLite: column dip.dipcan text"),
                           QStringLiteral("only on PostgreSQL: column dip.dipcan real")};
        QTest::newRow("altered nullability")
            << Schema::Database::Host << QStringLiteral("idcatalogo TEXT,")
            << QStringLiteral("idcatalogo TEXT NOT NULL,")
            << QStringList{
                   QStringLiteral("only on SQLite: column groupsubitems.idcatalogo text not null"),
                   QStringLiteral("only on PostgreSQL: column groupsubitems.idcatalogo text")};
        QTest::newRow("extra column")
            << Schema::Database::Discharge << QStringLiteral("INTCTC TEXT\n")
            << QStringLiteral("INTCTC TEXT,\n    INTNEW INTEGER\n")
            << QStringList{QStringLiteral("only on SQLite: column intins.intnew whole number")};
        QTest::newRow("index order")
            << Schema::Database::Discharge << QStringLiteral("ON INS (ARTNRO, ARTDSC)")
            << QStringLiteral("ON INS (ARTDSC, ARTNRO)")
            << QStringList{QStringLiteral("only on SQLite: index ins (artdsc, artnro)"),
                           QStringLiteral("only on PostgreSQL: index ins (artnro, artdsc)")};
        QTest::newRow("unique index")
            << Schema::Database::Host << QStringLiteral("CREATE INDEX IF NOT EXISTS facturas")
            << QStringLiteral("CREATE UNIQUE INDEX IF NOT EXISTS facturas")
            << QStringList{QStringLiteral("only on SQLite: unique index facturas (interno, orden)"),
                           QStringLiteral("only on PostgreSQL: index facturas (interno, orden)")};
        QTest::newRow("primary key")
            << Schema::Database::Host << QStringLiteral("PRIMARY KEY (interno, id)\n")
            << QStringLiteral("PRIMARY KEY (id, interno)\n")
            << QStringList{QStringLiteral("only on SQLite: primary key item (id, interno)"),
                           QStringLiteral("only on PostgreSQL: primary key item (interno, id)")};
        QTest::newRow("missing table")
            << Schema::Database::Discharge << QStringLiteral("CREATE TABLE IF NOT EXISTS PRD (")
            << QStringLiteral("CREATE TABLE IF NOT EXISTS PRD_OLD (")
            << QStringList{QStringLiteral("only on SQLite: column prd_old.catnro text not null"),
                           QStringLiteral("only on SQLite: column prd_old.prdmul real not null"),
                           QStringLiteral("only on SQLite: column prd_old.prdnro text not null"),
                           QStringLiteral("only on SQLite: primary key prd_old (catnro, prdnro)"),
                           QStringLiteral("only on SQLite: table prd_old"),
                           QStringLiteral("only on PostgreSQL: column prd.catnro text not null"),
                           QStringLiteral("only on PostgreSQL: column prd.prdmul real not null"),
                           QStringLiteral("only on PostgreSQL: column prd.prdnro text not null"),
                           QStringLiteral("only on PostgreSQL: primary key prd (catnro, prdnro)"),
                           QStringLiteral("only on PostgreSQL: table prd")};
    }
    void scriptsAgree()
    {
        QFETCH(Schema::Database, database);
        QFETCH(QString, from);
        QFETCH(QString, to);
        QFETCH(QStringList, expected);
        if (!PgTestDatabase::requested())
            QSKIP("compares with the throwaway PostgreSQL server (OQUIVRAN_TEST_DATABASE="
                  "postgresql)");
        TempDatabase sqlite;
        QVERIFY(sqlite.isOpen());
        if (from.isEmpty()) {
            Schema::create(sqlite.database(), database);
        } else {
            QString altered = Schema::script(database);
            QVERIFY2(altered.contains(from), qPrintable(from));
            QVERIFY(runScript(sqlite.database(), altered.replace(from, to)));
        }
        PgTestDatabase postgresql;
        QVERIFY(postgresql.isOpen());
        Schema::create(postgresql.database(), database);

        const QStringList onSqlite = sqliteDescription(sqlite.database());
        const QStringList onPostgresql = postgresqlDescription(postgresql.database());
        QVERIFY(onSqlite.size() > 10);
        QVERIFY(onPostgresql.size() > 10);
        const QStringList found = differences(onSqlite, onPostgresql);
        QVERIFY2(found == expected, qPrintable(found.join(u'\n')));
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
