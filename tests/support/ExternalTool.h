#pragma once

#include "StartProgram.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QThread>
#include <QUuid>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

// What a program of the test machine did: its exit code (-1 when it did not run or end in
// time) and its standard output.
struct ExternalToolResult
{
    int exitCode = -1;
    QByteArray output;
};

namespace externaltool {

#ifdef Q_OS_WIN
// Wine's own functions, present only when the test runs under Wine.
using UnixFileName = char*(__cdecl*)(const wchar_t*);

inline UnixFileName wineUnixFileName()
{
    HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    return kernel ? reinterpret_cast<UnixFileName>(
                        reinterpret_cast<void*>(GetProcAddress(kernel, "wine_get_unix_file_name")))
                  : nullptr;
}

// The Linux path of a Windows path under Wine.
inline QString unixPath(const QString& path)
{
    const std::wstring native = QDir::toNativeSeparators(QDir(path).absolutePath()).toStdWString();
    char* name = wineUnixFileName()(native.c_str());
    if (!name)
        return path;
    const QString unix = QString::fromLocal8Bit(name);
    HeapFree(GetProcessHeap(), 0, name);
    return unix;
}

inline QString shellQuoted(const QString& text)
{
    QString quoted = text;
    quoted.replace(u'\'', QStringLiteral("'\\''"));
    return u'\'' + quoted + u'\'';
}

// Wine starts no Linux program through CreateProcess; "start /unix" does, but neither waits
// for it nor passes its exit code or output on. The program therefore runs in a shell script
// that writes both into files, and the test waits for the file that says it ended.
inline ExternalToolResult runUnderWine(const QString& program, const QStringList& arguments,
                                       int timeoutMs)
{
    ExternalToolResult result;
    const QString folder = QDir::tempPath() + QStringLiteral("/oquivran-tool-") +
                           QUuid::createUuid().toString(QUuid::Id128);
    if (!QDir().mkpath(folder))
        return result;
    const QString unixFolder = unixPath(folder);
    QString command = shellQuoted(program);
    for (const QString& argument : arguments) {
        // A Windows path among the arguments becomes the same file's Linux path.
        const bool path = argument.size() > 2 && argument.at(1) == u':' &&
                          (argument.at(2) == u'/' || argument.at(2) == u'\\');
        command += u' ' + shellQuoted(path ? unixPath(argument) : argument);
    }
    QFile script(folder + QStringLiteral("/run.sh"));
    if (!script.open(QIODevice::WriteOnly))
        return result;
    script.write((command + QStringLiteral(" >'%1/out' 2>'%1/err'\necho $? >'%1/status.new'\n"
                                           "mv '%1/status.new' '%1/status'\n")
                                .arg(unixFolder))
                     .toUtf8());
    script.close();
    // start.exe is a Windows program, which Wine now and then fails to start under load.
    QProcess start;
    if (!startProgram(
            start, QStringLiteral("start.exe"),
            {QStringLiteral("/unix"), QStringLiteral("/bin/sh"), unixPath(script.fileName())}) ||
        !start.waitForFinished(-1) || start.exitStatus() != QProcess::NormalExit ||
        start.exitCode() != 0)
        return result;
    QDeadlineTimer deadline(timeoutMs);
    QFile status(folder + QStringLiteral("/status"));
    while (!status.exists() && !deadline.hasExpired())
        QThread::msleep(20);
    if (status.open(QIODevice::ReadOnly)) {
        result.exitCode = status.readAll().trimmed().toInt();
        QFile output(folder + QStringLiteral("/out"));
        if (output.open(QIODevice::ReadOnly))
            result.output = output.readAll();
    }
    status.close();
    QDir(folder).removeRecursively();
    return result;
}
#endif

} // namespace externaltool

// Runs a program of the test machine (pdftotext, a shell script) and waits for it. A Windows
// build that runs under Wine runs the Linux program of that name or path; on Windows itself the
// program must be on the PATH.
inline ExternalToolResult runExternalTool(const QString& program, const QStringList& arguments,
                                          int timeoutMs = 30000)
{
#ifdef Q_OS_WIN
    if (externaltool::wineUnixFileName())
        return externaltool::runUnderWine(program, arguments, timeoutMs);
#endif
    ExternalToolResult result;
    QProcess process;
    process.start(program, arguments);
    if (process.waitForFinished(timeoutMs) && process.exitStatus() == QProcess::NormalExit) {
        result.exitCode = process.exitCode();
        result.output = process.readAllStandardOutput();
    }
    return result;
}
