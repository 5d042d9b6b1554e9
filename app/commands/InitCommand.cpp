#include "InitCommand.h"

#include "HostDatabases.h"

#include <QTextStream>

QList<QCommandLineOption> InitCommand::options()
{
    return {{"force", "Reemplaza las bases existentes."},
            {"audit", "Crea también el registro de auditoría (tabla DIPAUD) en la base de "
                      "descargas; con las bases ya creadas, lo agrega a la de descargas."}};
}

int InitCommand::run()
{
    const QString dischargePath =
        HostDatabases::location(m_parser, HostDatabases::Which::Discharge);
    const QString hostPath = HostDatabases::location(m_parser, HostDatabases::Which::Host);
    for (const QString& path : {dischargePath, hostPath}) {
        if (const QString error = HostDatabases::locationError(path); !error.isEmpty()) {
            err() << error << '\n';
            return UsageError;
        }
    }
    const bool force = m_parser.isSet("force");
    const bool audit = m_parser.isSet("audit");
    const bool bothExist = !force &&
                           HostDatabases::exists(dischargePath, HostDatabases::Which::Discharge) &&
                           HostDatabases::exists(hostPath, HostDatabases::Which::Host);
    if (bothExist && audit)
        return addAuditTrail(dischargePath, hostPath);
    if (bothExist) {
        err() << "Las bases ya existen (use --force para reemplazarlas): "
              << HostDatabases::shown(dischargePath) << ", " << HostDatabases::shown(hostPath)
              << '\n';
        return UsageError;
    }
    HostDatabases databases;
    if (force && (!databases.remove(dischargePath, HostDatabases::Which::Discharge) ||
                  !databases.remove(hostPath, HostDatabases::Which::Host))) {
        err() << databases.errorText() << '\n';
        return databases.isUnreachable() ? ConnectionFailed : DatabaseMissing;
    }
    // Only what is missing is created: an existing database keeps its data.
    const HostDatabases::Status status =
        databases.open(dischargePath, hostPath, HostDatabases::Missing::CreateMissing);
    if (status != HostDatabases::Status::Created) {
        if (status == HostDatabases::Status::Opened || status == HostDatabases::Status::Failed) {
            err() << databases.errorText() << '\n';
            return DatabaseMissing;
        }
        return openFailure(databases, status);
    }
    if (audit && !databases.createAuditTrail(m_parser.value("operator"))) {
        err() << databases.errorText() << '\n';
        return DatabaseMissing;
    }
    out() << "Bases de muestra creadas:\n";
    for (const auto& [path, created] : {std::pair(dischargePath, databases.createdDischarge()),
                                        std::pair(hostPath, databases.createdHost())})
        out() << "  " << HostDatabases::shown(path) << (created ? "" : " (ya existía, se conserva)")
              << '\n';
    if (audit)
        out() << "Registro de auditoría (DIPAUD) en " << HostDatabases::shown(dischargePath)
              << '\n';
    return Success;
}

int InitCommand::addAuditTrail(const QString& dischargePath, const QString& hostPath)
{
    HostDatabases databases;
    const HostDatabases::Status status =
        databases.open(dischargePath, hostPath, HostDatabases::Missing::Fail);
    if (status != HostDatabases::Status::Opened)
        return openFailure(databases, status);
    const bool had = databases.hasAuditTrail();
    if (!had && !databases.createAuditTrail(m_parser.value("operator"))) {
        err() << databases.errorText() << '\n';
        return DatabaseMissing;
    }
    out() << "Registro de auditoría (DIPAUD) " << (had ? "ya existía" : "creado") << " en "
          << HostDatabases::shown(dischargePath) << '\n';
    return Success;
}
