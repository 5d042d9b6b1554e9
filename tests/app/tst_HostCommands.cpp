#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

// The headless subcommands of oquivran-host, run as a script would run them, on sample
// databases created fresh in a temporary folder.
class tst_HostCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void helpOfEverySubcommand();
    void withoutDisplayOrSubcommand();
    void initRefusesExistingDatabases();
    void missingDatabase();
    void unknownOperationSubItemAndItem();
    void dischargeOneSubItem();
    void dischargeRefusedWithoutCtc();
    void dischargeAllNumberAndInputs();
    void printReports();
    void printRefusals();
    void checkStockFindsAndRepairs();
    void removeGivesStockBack();
    void expiringTableAndExitCode();
    void expiringCsvAndJson();
    void expiringHorizonAndReferenceDate();
    void expiringPdf();
    void expiringRefusesBadOptions();

private:
    struct Result
    {
        int exitCode = -1;
        QString out;
        QString err;
    };
    Result host(const QStringList& arguments, bool withDatabases = true);
    QVariant scalar(const QString& sql);
    void execute(const QString& sql);

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_discharge;
    QString m_host;
};

tst_HostCommands::Result tst_HostCommands::host(const QStringList& arguments, bool withDatabases)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), m_dir->filePath(QStringLiteral("data")));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_dir->filePath(QStringLiteral("config")));
    // The sample's expiries are dated from this day, and the expiry check runs on it.
    env.insert(QStringLiteral("OQUIVRAN_HOST_TODAY"), QStringLiteral("2027-05-10"));
    process.setProcessEnvironment(env);
    QStringList all = arguments;
    if (withDatabases)
        all << QStringLiteral("--discharge-db") << m_discharge << QStringLiteral("--host-db")
            << m_host;
    process.start(QStringLiteral(OQUIVRAN_HOST_EXECUTABLE), all);
    if (!process.waitForFinished(120000)) {
        process.kill();
        process.waitForFinished();
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QVariant tst_HostCommands::scalar(const QString& sql)
{
    QVariant value;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("t"));
        db.setDatabaseName(m_discharge);
        if (db.open()) {
            QSqlQuery query(db);
            if (query.exec(sql) && query.next())
                value = query.value(0);
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("t"));
    return value;
}

void tst_HostCommands::execute(const QString& sql)
{
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("t"));
        db.setDatabaseName(m_discharge);
        QVERIFY(db.open());
        QSqlQuery query(db);
        QVERIFY(query.exec(sql));
    }
    QSqlDatabase::removeDatabase(QStringLiteral("t"));
}

void tst_HostCommands::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_discharge = m_dir->filePath(QStringLiteral("descargas.sqlite"));
    m_host = m_dir->filePath(QStringLiteral("anfitrion.sqlite"));
    const Result created = host({QStringLiteral("init")});
    QCOMPARE(created.exitCode, 0);
    QVERIFY(QFile::exists(m_discharge) && QFile::exists(m_host));
}

void tst_HostCommands::helpOfEverySubcommand()
{
    for (const char* name :
         {"init", "discharge", "remove", "number", "inputs", "print", "check-stock", "expiring"}) {
        const Result help = host({QString::fromLatin1(name), QStringLiteral("--help")}, false);
        QCOMPARE(help.exitCode, 0);
        QVERIFY2(help.out.contains(QStringLiteral("Códigos de salida")), name);
        QVERIFY2(help.out.contains(QStringLiteral("--discharge-db")), name);
    }
    const Result overview = host({QStringLiteral("--help")}, false);
    QCOMPARE(overview.exitCode, 0);
    QVERIFY(overview.out.contains(QStringLiteral("check-stock")));
    QVERIFY(overview.out.contains(QStringLiteral("Escrituras atómicas: activadas.")));
    const Result unknownOption = host({QStringLiteral("number"), QStringLiteral("--bogus")});
    QCOMPARE(unknownOption.exitCode, 1);
}

void tst_HostCommands::withoutDisplayOrSubcommand()
{
    const Result window = host({}, true);
    QCOMPARE(window.exitCode, 1);
    QVERIFY(window.err.contains(QStringLiteral("No hay pantalla")));
}

void tst_HostCommands::initRefusesExistingDatabases()
{
    QCOMPARE(host({QStringLiteral("init")}).exitCode, 1);
    QCOMPARE(host({QStringLiteral("init"), QStringLiteral("--force")}).exitCode, 0);
}

void tst_HostCommands::missingDatabase()
{
    const Result missing =
        host({QStringLiteral("number"), QStringLiteral("--discharge-db"),
              m_dir->filePath(QStringLiteral("nada.sqlite")), QStringLiteral("--host-db"), m_host},
             false);
    QCOMPARE(missing.exitCode, 2);
    QVERIFY2(missing.err.contains(QStringLiteral("No existe la base de datos")),
             qPrintable(missing.err));
    QVERIFY(!QFile::exists(m_dir->filePath(QStringLiteral("nada.sqlite"))));
}

void tst_HostCommands::unknownOperationSubItemAndItem()
{
    const Result operation =
        host({QStringLiteral("number"), QStringLiteral("--operation"), QStringLiteral("OP-X")});
    QCOMPARE(operation.exitCode, 3);
    QVERIFY(operation.err.contains(QStringLiteral("No existe la operación OP-X")));
    QCOMPARE(host({QStringLiteral("discharge"), QStringLiteral("--subitem"), QStringLiteral("77")})
                 .exitCode,
             3);
    QCOMPARE(
        host({QStringLiteral("inputs"), QStringLiteral("--item"), QStringLiteral("9")}).exitCode,
        3);
    QCOMPARE(host({QStringLiteral("discharge")}).exitCode, 1);
}

void tst_HostCommands::dischargeOneSubItem()
{
    const Result discharged =
        host({QStringLiteral("discharge"), QStringLiteral("--subitem"), QStringLiteral("1")});
    QCOMPARE(discharged.exitCode, 0);
    QVERIFY2(discharged.out.contains(QStringLiteral("descargado")), qPrintable(discharged.out));
    // FIFO: the oldest authorised declaration with stock first, the exhausted one passed over.
    QVERIFY(discharged.out.contains(QStringLiteral("24073IT04000389P  TELA-ALG")));
    QVERIFY(!discharged.out.contains(QStringLiteral("23001IT04001187M")));
    QCOMPARE(
        scalar("select count(*) from DIP where EXTINT = 'OP-2025-0042' and EXTSBT = 1").toInt(), 4);
    QCOMPARE(scalar("select ARTDSC from INS where INTDCL = '24073IT04000389P' and ARTNRO = "
                    "'TELA-ALG'")
                 .toDouble(),
             28.0);
    // Discharging it again would write its lines twice: refused.
    const Result again =
        host({QStringLiteral("discharge"), QStringLiteral("--subitem"), QStringLiteral("1")});
    QCOMPARE(again.exitCode, 4);
    QVERIFY(again.err.contains(QStringLiteral("ya tiene líneas de descarga")));
}

void tst_HostCommands::dischargeRefusedWithoutCtc()
{
    const Result refused =
        host({QStringLiteral("discharge"), QStringLiteral("--subitem"), QStringLiteral("4")});
    QCOMPARE(refused.exitCode, 4);
    QVERIFY(refused.out.contains(QStringLiteral("RECHAZADO")));
    QVERIFY2(refused.err.contains(QStringLiteral("verifique el numero de CTC")),
             qPrintable(refused.err));
    QCOMPARE(scalar("select count(*) from DIP where EXTINT = 'OP-2025-0042'").toInt(), 0);
}

void tst_HostCommands::dischargeAllNumberAndInputs()
{
    const Result all = host({QStringLiteral("discharge"), QStringLiteral("--all")});
    QCOMPARE(all.exitCode, 4);
    QCOMPARE(all.out.count(QStringLiteral("descargado")), 4);
    QVERIFY(all.err.contains(QStringLiteral("[5/5]")));

    const Result numbered = host({QStringLiteral("number")});
    QCOMPARE(numbered.exitCode, 0);
    QVERIFY(numbered.out.contains(QStringLiteral("sin descarga, no numerado")));
    // The group member (sub-item 5, under 3) is numbered with its root's item.
    QCOMPARE(scalar("select count(*) from DIP where EXTINT = 'OP-2025-0042' and EXTSBT = 5 and "
                    "EXTITM = 2 and idroot = 3")
                 .toInt(),
             2);
    QCOMPARE(
        scalar("select count(*) from DIP where EXTINT = 'OP-2025-0042' and EXTITM = 0").toInt(), 0);

    const Result inputs =
        host({QStringLiteral("inputs"), QStringLiteral("--item"), QStringLiteral("2")});
    QCOMPARE(inputs.exitCode, 0);
    QVERIFY2(inputs.out.contains(QStringLiteral("insumos del ítem 2 (5)")), qPrintable(inputs.out));
    QVERIFY(inputs.out.contains(QStringLiteral("9607.11.00")));
    const Result none =
        host({QStringLiteral("inputs"), QStringLiteral("--item"), QStringLiteral("3")});
    QCOMPARE(none.exitCode, 0);
    QVERIFY(none.out.contains(QStringLiteral("(0)")));
}

void tst_HostCommands::printReports()
{
    QCOMPARE(host({QStringLiteral("discharge"), QStringLiteral("--all")}).exitCode, 4);
    QCOMPARE(host({QStringLiteral("number")}).exitCode, 0);
    const QString text = m_dir->filePath(QStringLiteral("declaracion.txt"));
    const Result declaration =
        host({QStringLiteral("print"), QStringLiteral("--method"), QStringLiteral("text"),
              QStringLiteral("--out"), text, QStringLiteral("--aat"),
              QStringLiteral("25/001/EC01/000123/K"), QStringLiteral("--date"),
              QStringLiteral("2025-03-05")});
    QCOMPARE(declaration.exitCode, 0);
    QCOMPARE(declaration.out.trimmed(), text);
    QVERIFY(declaration.err.contains(QStringLiteral("Imprimiendo hoja 1 de 1")));
    QFile file(text);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString pages = QString::fromUtf8(file.readAll());
    QVERIFY(
        pages.contains(QStringLiteral("DECLARACION JURADA DE DESCARGA DE IMPORTACION TEMPORAL")));
    QVERIFY(pages.contains(QStringLiteral("CAMISA-ML - ITEM: 0001")));
    // The declaration recorded the export data and the operation's invoices.
    QCOMPARE(scalar("select EXTFOF from DIP where EXTINT = 'OP-2025-0042' limit 1").toString(),
             QStringLiteral("2025-03-05"));
    QCOMPARE(scalar("select EXTFAC from DIP where EXTINT = 'OP-2025-0042' limit 1").toString(),
             QStringLiteral("A-0003-00001422,A-0003-00001423"));

    for (const char* report : {"declaracion", "control", "comparativo"}) {
        for (const char* method : {"pdf", "form"}) {
            const QString pdf = m_dir->filePath(QStringLiteral("%1-%2.pdf").arg(report, method));
            const Result printed =
                host({QStringLiteral("print"), QStringLiteral("--report"),
                      QString::fromLatin1(report), QStringLiteral("--method"),
                      QString::fromLatin1(method), QStringLiteral("--out"), pdf});
            QCOMPARE(printed.exitCode, 0);
            QFile out(pdf);
            QVERIFY(out.open(QIODevice::ReadOnly));
            QVERIFY(out.read(5) == "%PDF-");
        }
    }
}

void tst_HostCommands::printRefusals()
{
    const QString out = m_dir->filePath(QStringLiteral("x.pdf"));
    QCOMPARE(host({QStringLiteral("print"), QStringLiteral("--report"), QStringLiteral("otro"),
                   QStringLiteral("--out"), out})
                 .exitCode,
             1);
    QCOMPARE(host({QStringLiteral("print"), QStringLiteral("--method"), QStringLiteral("fax"),
                   QStringLiteral("--out"), out})
                 .exitCode,
             1);
    QCOMPARE(host({QStringLiteral("print")}).exitCode, 1);
    // The declaration needs a valid official date: the component refuses it.
    const Result invalid =
        host({QStringLiteral("print"), QStringLiteral("--out"), out, QStringLiteral("--aat"),
              QStringLiteral("25/1"), QStringLiteral("--date"), QStringLiteral("2025-02-31")});
    QCOMPARE(invalid.exitCode, 6);
    QVERIFY(invalid.err.contains(QStringLiteral("Fecha Valida")));
}

void tst_HostCommands::checkStockFindsAndRepairs()
{
    QCOMPARE(host({QStringLiteral("discharge"), QStringLiteral("--subitem"), QStringLiteral("2")})
                 .exitCode,
             0);
    const Result clean = host({QStringLiteral("check-stock")});
    QCOMPARE(clean.exitCode, 0);
    QVERIFY(clean.out.contains(QStringLiteral("Stock correcto")));

    // An availability altered by hand.
    execute("update INS set ARTDSC = 999 where INTDCL = '24001IT04000552X' and ARTNRO = "
            "'TELA-ALG' and ARTSBT = 1");
    const Result found = host({QStringLiteral("check-stock")});
    QCOMPARE(found.exitCode, 5);
    QVERIFY2(found.out.contains(QStringLiteral("Líneas de stock con diferencias: 1")),
             qPrintable(found.out));
    QVERIFY(found.out.contains(QStringLiteral("24001IT04000552X  TELA-ALG")));
    QVERIFY(found.err.contains(QStringLiteral("verificadas 14 de 14")));

    const Result repaired = host({QStringLiteral("check-stock"), QStringLiteral("--repair")});
    QCOMPARE(repaired.exitCode, 0);
    QVERIFY(repaired.out.contains(QStringLiteral("Reparadas 1 líneas")));
    QCOMPARE(scalar("select ARTDSC from INS where INTDCL = '24001IT04000552X' and ARTNRO = "
                    "'TELA-ALG' and ARTSBT = 1")
                 .toDouble(),
             400.0);
    QCOMPARE(host({QStringLiteral("check-stock")}).exitCode, 0);
}

void tst_HostCommands::removeGivesStockBack()
{
    QCOMPARE(host({QStringLiteral("discharge"), QStringLiteral("--all")}).exitCode, 4);
    const Result removed =
        host({QStringLiteral("remove"), QStringLiteral("--subitem"), QStringLiteral("1")});
    QCOMPARE(removed.exitCode, 0);
    QVERIFY(removed.out.contains(QStringLiteral("eliminado")));
    QCOMPARE(
        scalar("select count(*) from DIP where EXTINT = 'OP-2025-0042' and EXTSBT = 1").toInt(), 0);
    QCOMPARE(scalar("select ARTDSC from INS where INTDCL = '24073IT04000389P' and ARTNRO = "
                    "'BOTON-12'")
                 .toDouble(),
             600.0);
    const Result all = host({QStringLiteral("remove"), QStringLiteral("--all")});
    QCOMPARE(all.exitCode, 0);
    QVERIFY(all.out.contains(QStringLiteral("sin descarga")));
    QCOMPARE(scalar("select count(*) from DIP where EXTINT = 'OP-2025-0042'").toInt(), 0);
    QCOMPARE(host({QStringLiteral("check-stock")}).exitCode, 0);
}

void tst_HostCommands::expiringTableAndExitCode()
{
    const Result expiring = host({QStringLiteral("expiring")});
    // The sample has one declaration with stock expired 12 days before: a daily job alerts.
    QCOMPARE(expiring.exitCode, 7);
    QVERIFY2(expiring.err.contains(
                 QStringLiteral("Líneas de stock con la importación temporal vencida: 1")),
             qPrintable(expiring.err));
    const QStringList lines = expiring.out.split(u'\n');
    QVERIFY2(lines.first().startsWith(QStringLiteral("Vencimientos de importación temporal al ")),
             qPrintable(expiring.out));
    QVERIFY(lines.first().endsWith(QStringLiteral("(horizonte de 60 días)")));
    // The expired line first, then the three lines due in 25 days; nothing later.
    QStringList rows;
    for (const QString& line : lines) {
        if (line.startsWith(QStringLiteral("24")) &&
            (line.endsWith(QStringLiteral("vencida")) || line.endsWith(QStringLiteral("vencer"))))
            rows << line.section(u' ', 0, 0) + u' ' + line.section(QStringLiteral("  "), -1);
    }
    QCOMPARE(rows, QStringList({"24001IT04000215K vencida", "24073IT04000389P por vencer",
                                "24073IT04000389P por vencer", "24073IT04000389P por vencer"}));
    QVERIFY(expiring.out.contains(QStringLiteral("Líneas vencidas: 1, por vencer: 3, sin "
                                                 "vencimiento: 0")));
    QVERIFY(!expiring.out.contains(QStringLiteral("24001IT04000552X")));
    // Dates as the component writes them: two-digit day and month, four-digit year.
    QVERIFY(expiring.out.contains(
        QStringLiteral("24001IT04000215K  001 Buenos Aires  01/02/2024      28/04/2027")));
}

void tst_HostCommands::expiringCsvAndJson()
{
    const Result csv =
        host({QStringLiteral("expiring"), QStringLiteral("--format"), QStringLiteral("csv")});
    QCOMPARE(csv.exitCode, 7);
    const QStringList rows = csv.out.trimmed().split(u'\n');
    QCOMPARE(rows.size(), 5);
    QCOMPARE(rows.at(0), QStringLiteral("despacho,aduana,oficializacion,vencimiento,dias,insumo,"
                                        "item,subitem,declarado,descargado,disponible,"
                                        "cif_unitario,cif_en_riesgo,estado"));
    // Machine numbers and ISO dates whatever the locale.
    QCOMPARE(rows.at(1), QStringLiteral("24001IT04000215K,001 Buenos Aires,2024-02-01,2027-04-28,"
                                        "-12,CUERO-VAC,1,1,80,0,80,18.3,1464,vencida"));
    QCOMPARE(rows.at(2), QStringLiteral("24073IT04000389P,073 Ezeiza,2024-03-12,2027-06-04,25,"
                                        "TELA-ALG,1,1,220,0,220,3.92,862.4,por vencer"));

    // A discharge shows in what is discharged and what is left.
    QCOMPARE(host({QStringLiteral("discharge"), QStringLiteral("--subitem"), QStringLiteral("1")})
                 .exitCode,
             0);
    const Result json =
        host({QStringLiteral("expiring"), QStringLiteral("--format"), QStringLiteral("json")});
    QCOMPARE(json.exitCode, 7);
    QJsonParseError error;
    const QJsonObject root = QJsonDocument::fromJson(json.out.toUtf8(), &error).object();
    QCOMPARE(error.error, QJsonParseError::NoError);
    QCOMPARE(root.value("fecha").toString(), QStringLiteral("2027-05-10"));
    QCOMPARE(root.value("horizonte_dias").toInt(), 60);
    QCOMPARE(root.value("lineas_vencidas").toInt(), 1);
    // The discharge used up the buttons of 24073IT04000389P: that line is no longer at risk.
    QCOMPARE(root.value("lineas_por_vencer").toInt(), 2);
    const QJsonArray lines = root.value("lineas").toArray();
    QCOMPARE(lines.size(), 3);
    for (const QJsonValue& line : lines)
        QVERIFY(line.toObject().value("insumo").toString() != QStringLiteral("BOTON-12"));
    const QJsonObject fabric = lines.at(1).toObject();
    QCOMPARE(fabric.value("insumo").toString(), QStringLiteral("TELA-ALG"));
    QCOMPARE(fabric.value("dias").toInt(), 25);
    // 120 shirts at 1.6 m2: 192 m2 discharged of 220.
    QCOMPARE(fabric.value("descargado").toDouble(), 192.0);
    QCOMPARE(fabric.value("disponible").toDouble(), 28.0);
    QCOMPARE(fabric.value("cif_en_riesgo").toDouble(), 109.76);
    QCOMPARE(lines.at(0).toObject().value("dias").toInt(), -12);
    const QJsonArray declarations = root.value("despachos").toArray();
    QCOMPARE(declarations.size(), 2);
    QCOMPARE(declarations.at(0).toObject().value("estado").toString(), QStringLiteral("vencida"));
    QCOMPARE(root.value("cif_en_riesgo").toDouble(),
             declarations.at(0).toObject().value("cif_en_riesgo").toDouble() +
                 declarations.at(1).toObject().value("cif_en_riesgo").toDouble());
}

void tst_HostCommands::expiringHorizonAndReferenceDate()
{
    // Ten days reach nothing but the expired line.
    const Result tenDays =
        host({QStringLiteral("expiring"), QStringLiteral("--days"), QStringLiteral("10"),
              QStringLiteral("--format"), QStringLiteral("csv")});
    QCOMPARE(tenDays.exitCode, 7);
    QCOMPARE(tenDays.out.trimmed().split(u'\n').size(), 2);

    // Twenty days earlier nothing had expired yet: exit code 0.
    const Result earlier =
        host({QStringLiteral("expiring"), QStringLiteral("--as-of"), QStringLiteral("2027-04-20"),
              QStringLiteral("--format"), QStringLiteral("csv")});
    QCOMPARE(earlier.exitCode, 0);
    const QStringList rows = earlier.out.trimmed().split(u'\n');
    QCOMPARE(rows.size(), 5);
    QVERIFY(rows.at(1).endsWith(QStringLiteral(",8,CUERO-VAC,1,1,80,0,80,18.3,1464,por vencer")));

    // The horizon is a setting of the host.
    QDir().mkpath(m_dir->filePath(QStringLiteral("config/oquivran-host")));
    QFile settings(m_dir->filePath(QStringLiteral("config/oquivran-host/oquivran-host.conf")));
    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write("[vencimientos]\nhorizonte=10\n");
    settings.close();
    const Result fromSettings =
        host({QStringLiteral("expiring"), QStringLiteral("--format"), QStringLiteral("json")});
    QCOMPARE(fromSettings.exitCode, 7);
    const QJsonObject root = QJsonDocument::fromJson(fromSettings.out.toUtf8()).object();
    QCOMPARE(root.value("horizonte_dias").toInt(), 10);
    QCOMPARE(root.value("lineas").toArray().size(), 1);
}

void tst_HostCommands::expiringPdf()
{
    const QString pdf = m_dir->filePath(QStringLiteral("vencimientos.pdf"));
    const Result printed = host({QStringLiteral("expiring"), QStringLiteral("--pdf"), pdf});
    QCOMPARE(printed.exitCode, 7);
    QVERIFY2(printed.err.contains(QStringLiteral("Listado de vencimientos: ")),
             qPrintable(printed.err));
    QProcess text;
    text.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    QVERIFY(text.waitForFinished(30000));
    const QString pages = QString::fromUtf8(text.readAllStandardOutput());
    QVERIFY2(pages.contains(QStringLiteral("VENCIMIENTOS DE IMPORTACION TEMPORAL AL 10/05/2027 - "
                                           "HORIZONTE: 60 DIAS")),
             qPrintable(pages));
    QVERIFY(pages.contains(QStringLiteral("VENCIDA")));
}

void tst_HostCommands::expiringRefusesBadOptions()
{
    for (const QStringList& options :
         {QStringList{"--days", "x"}, QStringList{"--days", "-1"}, QStringList{"--days", "99999"},
          QStringList{"--format", "xml"}, QStringList{"--as-of", "mañana"}}) {
        const Result refused = host(QStringList{QStringLiteral("expiring")} + options);
        QCOMPARE(refused.exitCode, 1);
        QVERIFY(refused.out.isEmpty());
    }
}

QTEST_GUILESS_MAIN(tst_HostCommands)
#include "tst_HostCommands.moc"
