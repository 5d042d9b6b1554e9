// A minimal host: creates its own database with ordinary CREATE TABLE text, binds a
// SqlDataObject, sets every property and checks that a locale number and date written the
// component's way read back as the same values.
#include <oquivran/oquivran.h>

#include <QCoreApplication>
#include <QDate>
#include <QFile>
#include <QLocale>
#include <QSqlDatabase>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: oquivran-consumer DATABASE\n");
        return 2;
    }
    QFile::remove(QString::fromLocal8Bit(argv[1]));
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
    database.setDatabaseName(QString::fromLocal8Bit(argv[1]));

    oquivran::SqlDataObject data(database);
    try {
        data.setSql(QStringLiteral("CREATE TABLE DIP (EXTINT TEXT, EXTSBT INTEGER, DIPCAN REAL, "
                                   "DIPFEC DATE)"));
        data.execute();

        oquivran::clQUIVRAN component;
        component.VincularDatos(&data);
        component.VincularDatosMorvik(&data);
        component.Restar_PerMer(true);
        component.SubRegimen(QStringLiteral("ITEM"));
        component.Aduana(QStringLiteral("001"));
        component.Oficializacion(QStringLiteral("22/11/2026"));
        component.AAT(QStringLiteral("26/001/EC01/000123/K"));
        component.INTERNO(QStringLiteral("OP-1"));
        component.SUBITEM(1);
        component.CATNRO(QStringLiteral("CAT"));
        component.PRDNRO(QStringLiteral("PRD"));
        component.PRDCAN(10.5);
        component.Dir_Formularios(QStringLiteral("/tmp/"));

        const QString separator = QLocale::system().decimalPoint();
        data.setSql(QStringLiteral("insert into DIP (EXTINT,EXTSBT,DIPCAN,DIPFEC) values "
                                   "('OP-1',1,cdbl('12") +
                    separator + QStringLiteral("3456'),datevalue('05/03/2027'))"));
        if (data.execute() != 1)
            return 1;
        oquivran::Recordset rs;
        data.setSql(QStringLiteral("select DIPCAN, DIPFEC from DIP where EXTINT = 'OP-1'"));
        if (!data.open(rs) || rs.recordCount() != 1)
            return 1;
        const double quantity = rs.value(QStringLiteral("dipcan")).toDouble();
        const QDate date = rs.value(QStringLiteral("DIPFEC")).toDate();
        std::printf("separator %s, quantity %.4f, date %s, CantidadDescontada %g\n",
                    qPrintable(separator), quantity, qPrintable(date.toString(Qt::ISODate)),
                    component.CantidadDescontada());
        return quantity == 12.3456 && date == QDate(2027, 3, 5) ? 0 : 1;
    } catch (const oquivran::RuntimeError& error) {
        std::fprintf(stderr, "error %d: %s\n", error.number, qPrintable(error.description));
        return 1;
    }
}
