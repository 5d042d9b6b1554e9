#pragma once

#include <oquivran/SqlDataObject.h>

#include <QSqlDatabase>
#include <QString>

#include <memory>

namespace oquivran {
class clQUIVRAN;
}

// The host's two SQLite databases: the discharge database (the component's tables) and the
// host database (item, groupsubitems, facturas and the host's own grupos), each with the
// SqlDataObject the component runs its SQL through.
class HostDatabases
{
public:
    // What to do when a database file does not exist yet.
    enum class Missing {
        Fail,         // a missing file is an error
        CreateSample, // create the tables and seed the sample
    };
    enum class Status {
        Opened,
        Created,  // the files did not exist and were created with the sample
        NotFound, // a file does not exist (Missing::Fail)
        Failed,   // a file could not be opened or created
    };

    HostDatabases() = default;
    ~HostDatabases();
    HostDatabases(const HostDatabases&) = delete;
    HostDatabases& operator=(const HostDatabases&) = delete;

    // The user's data folder where the default databases live.
    static QString defaultFolder();
    static QString defaultDischargePath();
    static QString defaultHostPath();
    // The folder of the sample form images: the installed one next to the program when it
    // exists, else the one the build generated.
    static QString defaultFormsFolder();

    // Opens both databases; when missing is CreateSample and neither file exists, creates and
    // seeds them. errorText() tells what failed.
    Status open(const QString& dischargePath, const QString& hostPath, Missing missing);
    // Binds the two data objects to the component (the first binding stays).
    void bind(oquivran::clQUIVRAN& component);

    QSqlDatabase discharge() const { return m_discharge; }
    QSqlDatabase host() const { return m_host; }
    QString dischargePath() const { return m_dischargePath; }
    QString hostPath() const { return m_hostPath; }
    QString errorText() const { return m_errorText; }

private:
    bool openConnection(QSqlDatabase& database, const QString& name, const QString& path);
    bool runScript(const QSqlDatabase& database, const QString& script);

    QSqlDatabase m_discharge;
    QSqlDatabase m_host;
    QString m_dischargePath;
    QString m_hostPath;
    QString m_errorText;
    std::unique_ptr<oquivran::SqlDataObject> m_dischargeData;
    std::unique_ptr<oquivran::SqlDataObject> m_hostData;
};
