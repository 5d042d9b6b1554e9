#pragma once

#include "StartProgram.h"

#include <QByteArray>
#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

// What one run of the sample host said: its exit code (-1 when it did not start, crashed or did
// not end within two minutes) and its two outputs, read as text.
struct HostRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

// Runs the sample host (OQUIVRAN_HOST_EXECUTABLE) as a script would, without a display, with its
// data and settings in folders of the test's own and the sample's day fixed, plus the extra
// variables.
inline HostRun runHost(const QStringList& arguments, const QDir& folder,
                       const QProcessEnvironment& extra = {})
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), folder.filePath(QStringLiteral("data")));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), folder.filePath(QStringLiteral("config")));
    // The sample's expiries are dated from this day, and the expiry check runs on it.
    env.insert(QStringLiteral("OQUIVRAN_HOST_TODAY"), QStringLiteral("2027-05-10"));
    env.insert(extra);
    process.setProcessEnvironment(env);
    if (!startProgram(process, QStringLiteral(OQUIVRAN_HOST_EXECUTABLE), arguments))
        return {-1, QString(), process.errorString()};
    if (!process.waitForFinished(120000)) {
        process.kill();
        process.waitForFinished();
    }
    // Read as text: a Windows program ends its lines with CR LF.
    const auto text = [](const QByteArray& bytes) {
        return QString::fromUtf8(bytes).replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    };
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            text(process.readAllStandardOutput()), text(process.readAllStandardError())};
}
