#pragma once

#include <QDir>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QString>
#include <QTemporaryDir>
#include <QVariant>

struct sqlite3;

// A QSQLITE connection on a new database file in a folder of its own (under
// $OQUIVRAN_TEST_WORKDIR when set), with a connection name no other test uses. The connection
// is closed and removed, and the folder deleted, when it is destroyed: destroy every copy of
// database() first.
class TempDatabase
{
public:
    explicit TempDatabase(const QString& fileName = QStringLiteral("test.sqlite"))
        : m_dir(folderTemplate()), m_name(nextName())
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
        db.setDatabaseName(m_dir.filePath(fileName));
        m_open = m_dir.isValid() && db.open();
    }
    ~TempDatabase()
    {
        {
            QSqlDatabase db = QSqlDatabase::database(m_name, false);
            db.close();
        }
        QSqlDatabase::removeDatabase(m_name);
    }
    TempDatabase(const TempDatabase&) = delete;
    TempDatabase& operator=(const TempDatabase&) = delete;

    // True when the file was created and the connection opened.
    bool isOpen() const { return m_open; }
    QSqlDatabase database() const { return QSqlDatabase::database(m_name, false); }
    QString connectionName() const { return m_name; }
    QString filePath() const { return database().databaseName(); }
    QString folder() const { return m_dir.path(); }

    // The SQLite handle under an open QSQLITE connection; null when there is none.
    static sqlite3* handle(const QSqlDatabase& db)
    {
        const QVariant v = db.driver() ? db.driver()->handle() : QVariant();
        if (!v.isValid() || qstrcmp(v.typeName(), "sqlite3*") != 0)
            return nullptr;
        return *static_cast<sqlite3* const*>(v.constData());
    }
    sqlite3* handle() const { return handle(database()); }

private:
    static QString folderTemplate()
    {
        QString base = qEnvironmentVariable("OQUIVRAN_TEST_WORKDIR");
        if (base.isEmpty() || !QDir().mkpath(base))
            base = QDir::tempPath();
        return base + QStringLiteral("/db-XXXXXX");
    }
    static QString nextName()
    {
        static int counter = 0;
        return QStringLiteral("TempDatabase-%1").arg(++counter);
    }

    QTemporaryDir m_dir;
    QString m_name;
    bool m_open = false;
};
