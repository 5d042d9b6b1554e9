// A minimal host: binds the component to its own SQLite file through a DataObject of its own
// (which logs each statement and hands it to a SqlDataObject), seeds one product and its stock,
// and discharges one sub-item without a screen.
// Usage: myhost SCHEMA_DIR DATABASE  (SCHEMA_DIR: the installed share/oquivran)
#include <oquivran/oquivran.h>

#include <QCoreApplication>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTextStream>

// The host's own data-access object: any class with open() and execute() will do. This one
// keeps a count of what it ran and lets SqlDataObject make the component's SQL run on SQLite.
class CountingDataObject : public oquivran::DataObject
{
public:
    explicit CountingDataObject(const QSqlDatabase& db) : m_sqlite(db) {}

    bool open(oquivran::Recordset& rs) override
    {
        ++statements;
        m_sqlite.setSql(sql());
        return m_sqlite.open(rs);
    }
    qint32 execute() override
    {
        ++statements;
        m_sqlite.setSql(sql());
        return m_sqlite.execute();
    }

    int statements = 0;

private:
    oquivran::SqlDataObject m_sqlite;
};

// Runs a schema script, one statement at a time.
static void runScript(QSqlDatabase& db, const QString& path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    QString text;
    for (const QString& line : QString::fromUtf8(file.readAll()).split('\n'))
        text += line.trimmed().startsWith("--") ? QString() : line + '\n';
    for (const QString& statement : text.split(';'))
        if (!statement.trimmed().isEmpty())
            QSqlQuery(db).exec(statement);
}

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 3)
        return 2;
    QFile::remove(argv[2]);
    QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE");
    db.setDatabaseName(argv[2]);
    db.open();
    runScript(db, QString(argv[1]) + "/discharge.sql");
    QSqlQuery seed(db);
    seed.exec("insert into INTINS values ('24001IT04000001A', '2024-03-01', 1, '2026-03-01', "
              "'001', '')");
    seed.exec("insert into INS values ('24001IT04000001A', 'TELA', 1, 1, 500, 500, 3.5, "
              "'5208.52.00', 'CTC-1', NULL)");
    seed.exec("insert into PRD values ('CAT', 'CAMISA', 1)");
    seed.exec("insert into RIP values ('CAT', 'CAMISA', 'TELA', 'Tela', 1.5, 0, 0, 0, 0, 0)");

    // Questions are answered No; messages go to standard error.
    oquivran::setMessageHandler([](const QString& prompt, int style, const QString&) {
        QTextStream(stderr) << prompt << '\n';
        return (style & 0xF) == oquivran::MessageYesNo ? oquivran::AnswerNo : oquivran::AnswerOk;
    });

    CountingDataObject data(db);
    oquivran::clQUIVRAN component;
    component.VincularDatos(&data);
    component.INTERNO("OP-1");
    component.SUBITEM(1);
    component.CATNRO("CAT");
    component.PRDNRO("CAMISA");
    component.PRDCAN(100);
    if (!oquivran::dischargeAsProposed(false))
        return 1;
    QTextStream(stdout) << "descontado " << component.CantidadDescontada() << ", CIF "
                        << component.CIFDescontado() << ", " << data.statements << " sentencias\n";
    return component.CantidadDescontada() == 150 ? 0 : 1;
}
